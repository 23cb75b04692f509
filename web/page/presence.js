// State of server and daemon: banner, title, and which controls are enabled.
import { byId, el, setText } from './dom.js';
import { condition } from './server_connection.js';
import { endTrouble } from './trouble.js';
import { isRunning } from './values.js';

const LINK_TEXTS = {
    connecting: 'Connecting',
    lost: 'No server',
    gone: 'No daemon',
    refused: 'Access denied',
    silent: 'Daemon not responding',
    up: 'Daemon running',
};

function bannerFor(server, now) {
    switch (now) {
    case 'lost':
        return ['This page’s server is not running. Start it with ', el('code', {}, server.startCommand),
            '; this page then reconnects.'];
    case 'gone':
        return ['The daemon is not running. Start it above, or with ', el('code', {}, server.startCommand), '.'];
    case 'refused':
        return ['This page’s token is not valid any more. Open the address printed by ', el('code', {}, server.startCommand), '.'];
    case 'silent':
        return ['The daemon is running but does not respond. This page may show old values.'];
    default:
        return [];
    }
}

// The element that was disabled while focused; it gets the focus back when enabled.
let focused = null;

/** Enables or disables elements that need the daemon (data-needs="daemon") or only the server ("server"). */
function switchNeeds(now) {
    const hasServer = !['lost', 'refused', 'connecting'].includes(now);
    const hasDaemon = now === 'up' || now === 'silent';
    focused = document.activeElement === document.body ? focused : document.activeElement;
    for (const node of document.querySelectorAll('[data-needs]')) {
        const isUsable = node.dataset.needs === 'daemon' ? hasDaemon : hasServer;
        if (node.type === 'text') {
            // Not disabled, to keep the focus: typed keys must not become shortcuts.
            node.readOnly = !isUsable;
            node.setAttribute('aria-disabled', String(!isUsable));
        } else {
            node.disabled = !isUsable;
        }
    }
    // A scrolling box without focusable content must be focusable itself.
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
            endTrouble(); // an error of an earlier daemon
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
