// Controls for the board: cables, a failing thermal core, the camera's input (footage), and the
// on-screen display's scene.
import { byId, el, setText } from './dom.js';
import { action, fileChoice, follow, isBusy, set, toggle } from './fields.js';
import { deleteButton } from './delete.js';
import { sendFootage, sendScene } from './upload.js';

function plugs(server) {
    byId('plugs').append(
        toggle(server, {
            id: 'camera-plug', name: 'Camera cable', drawing: 'camera',
            read: ({ camera }) => camera, ask: (on) => ({ request: 'camera', on }),
        }),
        toggle(server, {
            id: 'monitor-plug', name: 'Monitor cable', drawing: 'monitor',
            read: ({ monitor }) => monitor, ask: (on) => ({ request: 'monitor', on }),
        }),
        toggle(server, {
            id: 'core-fails', name: 'Thermal core fails', drawing: 'fault',
            read: (state) => state.core_fails !== null, ask: (fails) => ({ request: 'core', fails }),
            note: () => 'Buttons that need it then end the daemon, as on the sight.',
        }),
    );
}

function footageFile(server, name) {
    return el('li', {}, el('span', { className: 'file-name number', title: name }, name),
        deleteButton(server, 'footage', { name }));
}

function footage(server) {
    const select = el('select', { id: 'footage-choice', 'aria-label': 'Footage' });
    select.addEventListener('change', () => set(server, select, { request: 'footage', name: select.value }));
    const files = el('ul', { className: 'footage-files', 'aria-label': 'Footage on the board' });
    const other = el('option', { value: '', disabled: true }, 'another');
    let chosen = null;
    let listed = null;
    const show = () => {
        other.hidden = chosen !== null;
        select.value = chosen ?? '';
    };
    server.on('footage', (now) => {
        chosen = now.chosen;
        const names = now.choices.join('/'); // no name contains a slash
        if (names !== listed) { // rebuild only then: it closes a list that the user has opened
            listed = names;
            const { value } = select;
            select.replaceChildren(other, ...now.choices.map((name) => el('option', { value: name }, name)));
            select.value = value;
            files.replaceChildren(...now.choices.map((name) => footageFile(server, name)));
        }
        for (const button of files.querySelectorAll('button')) {
            button.disabled = button.dataset.name === chosen;
        }
        if (!isBusy(select)) {
            show();
        }
    });
    // The `footage` message with the new choice comes after the response. A `state` message in between
    // must not show the old choice.
    server.on('response', ({ message, ok }) => {
        if (ok && message.request === 'footage') {
            chosen = message.name;
        }
    });
    follow(server, select, show);
    byId('footage').append(
        el('div', { className: 'control' }, select),
        fileChoice({
            id: 'footage-file', name: 'Use a video file', accept: 'video/*,.avi,.mkv,.ts',
            onFile: (file) => sendFootage(server, file),
        }),
        el('p', { className: 'note' }, 'Or drop one anywhere on this page.'),
        el('details', {}, el('summary', {}, 'Delete footage'), files),
    );
}

function scene(server) {
    const shown = el('p', { className: 'note', id: 'scene-shown' }, '--');
    const back = action(server, {
        id: 'scene-stock', name: 'Restore the stock scene', drawing: 'back',
        ask: () => ({ request: 'scene', stock: true }),
    });
    server.on('state', (state) => {
        setText(shown, state.scene === 'own' ? 'Your own scene.' : 'The stock scene.');
        back.hidden = state.scene !== 'own';
    });
    byId('scene').append(
        shown,
        fileChoice({
            id: 'scene-file', name: 'Use a .qml file', accept: '.qml',
            onFile: (file) => sendScene(server, file),
        }),
        back,
    );
}

export function startBoard(server) {
    plugs(server);
    footage(server);
    scene(server);
}
