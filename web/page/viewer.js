// Shows a snapshot or plays a recording in a dialog.
import { byId, el } from './dom.js';

const FAILED = 'This file can’t be shown: it was deleted, is incomplete, or is outside of the board folder.';
const AWAY = 'This file is not available while this page’s server is not running.';

function content(kind, { name, url }, onFail) {
    const node = kind === 'img' ? el('img', { src: url, alt: `Snapshot ${name}` })
        : el(kind, { src: url, controls: true, autoplay: true, 'aria-label': name });
    node.addEventListener('error', onFail, { once: true });
    return node;
}

/** Returns a function that shows a file as 'img', 'video' or 'audio'. */
export function startViewer(server, downloadUrl) {
    const dialog = byId('viewer');
    const body = byId('viewer-body');
    byId('viewer-close').addEventListener('click', () => dialog.close());
    dialog.addEventListener('close', () => body.replaceChildren()); // ends playback
    dialog.addEventListener('click', ({ target }) => target === dialog && dialog.close());
    return (kind, file) => {
        byId('viewer-title').textContent = file.name;
        byId('viewer-download').href = downloadUrl(file.url);
        byId('viewer-download').download = file.name;
        body.replaceChildren(content(kind, file, () => body.replaceChildren(
            el('p', { className: 'viewer-failed', role: 'alert' }, server.presence === 'there' ? FAILED : AWAY))));
        dialog.showModal();
    };
}
