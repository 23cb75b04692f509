// Whether server and daemon are there: banner, title, and which controls are enabled.
import { byId, el, setText } from './dom.js';
import { condition } from './server_connection.js';
import { endTrouble } from './trouble.js';
import { isRunning } from './values.js';

const LINK_TEXTS = {
    connecting: 'Connecting',
    lost: 'No server',
    gone: 'No daemon',
    refused: 'Not let in',
    silent: 'Daemon silent',
    up: 'Daemon up',
};

function bannerFor(server, now) {
    switch (now) {
    case 'lost':
        return ['This page’s server is not running: start it with ', el('code', {}, server.startCommand),
            '. This page comes back by itself.'];
    case 'gone':
        return ['The daemon is not running. Start it above, or with ', el('code', {}, server.startCommand), '.'];
    case 'refused':
        return ['This page needs another token: open the address that ', el('code', {}, server.startCommand), ' printed.'];
    case 'silent':
        return ['The daemon runs, but does not answer. What is shown may be out of date.'];
    default:
        return [];
    }
}

// What had the focus when it was disabled: it gets the focus back when it is enabled again.
let focused = null;

/** Enables or disables what needs the daemon (data-needs="daemon") or only the server ("server"). */
function switchNeeds(now) {
    const hasServer = !['lost', 'refused', 'connecting'].includes(now);
    const hasDaemon = now === 'up' || now === 'silent';
    focused = document.activeElement === document.body ? focused : document.activeElement;
    for (const node of document.querySelectorAll('[data-needs]')) {
        const isUsable = node.dataset.needs === 'daemon' ? hasDaemon : hasServer;
        if (node.type === 'text') {
            // It keeps the focus: further typing must not become keys of the sight.
            node.readOnly = !isUsable;
            node.setAttribute('aria-disabled', String(!isUsable));
        } else {
            node.disabled = !isUsable;
        }
    }
    // It scrolls, and then holds nothing else that could be focused.
    byId('rail').tabIndex = hasServer ? -1 : 0;
    if (document.activeElement === document.body && focused?.matches(':enabled')) {
        focused.focus({ preventScroll: true });
    }
}

function showBanner(server, now) {
    const parts = bannerFor(server, now);
    byId('banner').replaceChildren(...(parts.length > 0
        ? [el('p', { className: 'banner' }, ...parts)] : []));
}

function showTitle(server, now) {
    const mark = now === 'up' && isRunning('recording')(server.state) ? '● ' : '';
    const words = now === 'up' ? '' : `${LINK_TEXTS[now].toLowerCase()} – `;
    document.title = `${mark}${words}vtrdc control page`;
}

export function startPresence(server) {
    let shown = null;
    const show = () => {
        const now = condition(server);
        showTitle(server, now);
        if (now === shown) {
            return;
        }
        shown = now;
        document.body.dataset.link = now;
        setText(byId('link-text'), LINK_TEXTS[now]);
        showBanner(server, now);
        switchNeeds(now);
        if (['lost', 'refused', 'gone'].includes(now)) {
            endTrouble(); // of an earlier daemon it says nothing of this one
        }
    };
    server.on('presence', show);
    server.on('state', show);
    server.on('hello', ({ board }) => {
        setText(byId('board-path'), board);
        byId('board-path').title = `Board folder: ${board}`;
    });
    show();
}
