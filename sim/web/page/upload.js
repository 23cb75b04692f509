// Sends files to the server, with their progress and what came of it.
import { byId, el, setText } from './dom.js';
import { sizeText } from './values.js';

// As the server has it.
const SCENE_MAX_BYTES = 1024 * 1024;

// How long an upload that went well stays on the page.
const DONE_SHOWN_MS = 6000;

/** A row on the page for an upload. */
class UploadRow {
    constructor(file, onCancel) {
        this.text = el('p', { className: 'upload-text' }, `Sending ${file.name}`);
        this.bar = el('progress', { max: 1, value: 0, 'aria-label': `Sending ${file.name}` });
        this.end = el('button', { type: 'button', className: 'tool' }, 'Cancel');
        this.node = el('div', { className: 'upload' }, this.text, this.bar, this.end);
        this.end.addEventListener('click', () => {
            onCancel();
            this.node.remove();
        });
        byId('uploads').append(this.node);
    }

    finish(ok, text) {
        setText(this.text, text);
        this.node.classList.add(ok ? 'done' : 'failed');
        this.bar.remove();
        setText(this.end, 'Dismiss');
        if (ok) {
            setTimeout(() => this.node.remove(), DONE_SHOWN_MS);
        }
    }
}

/** What the server said; not each failure comes with a text of its own. */
function answerOf(request) {
    try {
        const { ok, text } = JSON.parse(request.responseText);
        return { ok: ok === true, text };
    } catch {
        const texts = { 0: 'the connection ended', 413: 'the file is too large' };
        return { ok: false, text: texts[request.status] ?? `refused with status ${request.status}` };
    }
}

function finish(link, row, file, words, { ok, text }) {
    link.tell('answered', { message: { act: 'upload', words }, ok, text });
    row.finish(ok, ok ? `${file.name} (${sizeText(file.size)}) is in use` : `${file.name}: ${text}`);
}

function send(link, file, path, words) {
    const request = new XMLHttpRequest();
    const row = new UploadRow(file, () => request.abort());
    request.upload.onprogress = ({ loaded, total }) => {
        row.bar.value = total > 0 ? loaded / total : 1;
    };
    request.onload = () => finish(link, row, file, words, answerOf(request));
    request.onerror = () => finish(link, row, file, words, { ok: false, text: 'the connection ended' });
    request.open('POST', path);
    request.send(file);
}

/** Keeps a video on the board and shows it to the camera. */
export function sendFootage(link, file) {
    send(link, file, `footage/${encodeURIComponent(file.name)}`, `footage ${file.name}`);
}

/** Makes a text of QML the on-screen display. */
export function sendScene(link, file) {
    const words = `scene ${file.name}`;
    if (file.size > SCENE_MAX_BYTES) {
        const row = new UploadRow(file, () => {});
        finish(link, row, file, words, { ok: false, text: 'a scene has at most 1 MiB' });
        return;
    }
    send(link, file, 'scene', words);
}

/** Says why a file is not sent at all. */
export function refuseFile(link, file, text) {
    link.tell('answered', { message: { act: 'refuse', name: file.name }, ok: false, text });
    new UploadRow(file, () => {}).finish(false, `${file.name}: ${text}`);
}
