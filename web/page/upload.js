// Uploads files to the server, with progress and result.
import { byId, el, setText } from './dom.js';
import { sizeText } from './values.js';

// The server's limit.
const SCENE_MAX_BYTES = 1024 * 1024;

// How long a successful upload stays visible: the receiving element may still report an error.
const DONE_SHOWN_MS = 6000;

// Such errors in the daemon's log, by element.
const complaintOf = (element) => new RegExp(`from element \\S*${element}\\S*: (.*)`);

/** A row for an upload. */
class UploadRow {
    constructor(file, onCancel) {
        this.text = el('p', { className: 'upload-text' }, `Sending ${file.name}`);
        this.bar = el('progress', { max: 1, value: 0, 'aria-label': `Sending ${file.name}` });
        this.name = file.name;
        this.end = el('button', { type: 'button', className: 'tool' });
        this.#nameEnd('Cancel');
        this.node = el('div', { className: 'upload' }, this.text, this.bar, this.end);
        this.end.addEventListener('click', () => {
            onCancel();
            this.node.remove();
        });
        byId('uploads').append(this.node);
    }

    get isShown() {
        return this.node.isConnected;
    }

    finish(ok, text) {
        setText(this.text, text);
        this.node.classList.toggle('done', ok);
        this.node.classList.toggle('failed', !ok);
        this.bar.remove();
        this.#nameEnd('Dismiss');
        clearTimeout(this.removal);
        if (ok) {
            this.removal = setTimeout(() => this.node.remove(), DONE_SHOWN_MS);
        }
    }

    #nameEnd(does) {
        setText(this.end, does);
        this.end.setAttribute('aria-label', `${does}: ${this.name}`);
    }
}

/** The server's response; some failures have no text. */
function responseOf(request) {
    try {
        const { ok, text } = JSON.parse(request.responseText);
        return { ok: ok === true, text };
    } catch {
        const texts = { 0: 'connection closed', 413: 'the file is too large' };
        return { ok: false, text: texts[request.status] ?? `refused with status ${request.status}` };
    }
}

/** Functions that stop waiting for an error, by element. */
const enders = new Map();

/** Reports the first error in the log from now on, until the element gets another file. */
function awaitComplaint(server, element, onComplaint) {
    const pattern = complaintOf(element);
    const stop = server.on('log', ({ fresh, lines }) => {
        const complaint = fresh ? undefined : lines.map((line) => line.match(pattern)).find(Boolean);
        if (complaint !== undefined) {
            stop();
            onComplaint(complaint[1]);
        }
    });
    enders.get(element)?.();
    enders.set(element, stop);
}

/** A file being sent to an element. The log's error may come before the server's response. */
class Sending {
    #server;
    #sent;
    #row;
    #request = new XMLHttpRequest();
    #complaint = null;
    #isTaken = false;

    constructor(server, path, sent) {
        this.#server = server;
        this.#sent = sent;
        this.#row = new UploadRow(sent.file, () => this.#request.abort());
        const { upload } = this.#request;
        upload.onprogress = ({ loaded, total }) => {
            this.#row.bar.value = total > 0 ? loaded / total : 1;
        };
        upload.onload = () => awaitComplaint(server, sent.element, (text) => {
            this.#complaint = text;
            this.#judge();
        });
        this.#request.onload = () => this.#finish(responseOf(this.#request));
        this.#request.onerror = () => this.#finish({ ok: false, text: 'connection closed' });
        this.#request.open('POST', path);
        this.#request.send(sent.file);
    }

    #finish({ ok, text }) {
        const { file, words, use } = this.#sent;
        this.#server.emit('response', { message: { request: 'upload', words }, ok, text });
        this.#isTaken = ok;
        this.#row.finish(ok, ok
            ? [`${file.name} (${sizeText(file.size)}) ${use(this.#server.state)}`, text].filter(Boolean).join(', ')
            : `${file.name}: ${text}`);
        this.#judge();
    }

    #judge() {
        if (this.#isTaken && this.#complaint !== null && this.#row.isShown) {
            this.#row.finish(false, `${this.#sent.file.name}: ${this.#complaint}`);
        }
    }
}

const footageUse = (state) => (state?.camera === false
    ? 'becomes the camera’s input when its cable is plugged in' : 'is the camera’s input');

/** Stores a video on the board and plays it as the camera. */
export function sendFootage(server, file) {
    new Sending(server, `footage/${encodeURIComponent(file.name)}`,
        { file, words: `footage ${file.name}`, use: footageUse, element: 'SimCamera' });
}

/** Installs a QML text as the on-screen display. */
export function sendScene(server, file) {
    if (file.size > SCENE_MAX_BYTES) {
        refuseFile(server, file, 'a scene can have at most 1 MiB');
        return;
    }
    new Sending(server, 'scene',
        { file, words: `scene ${file.name}`, use: () => 'is the on-screen display', element: 'SimQtOverlay' });
}

/** Reports why a file is not sent. */
export function refuseFile(server, file, text) {
    server.emit('response', { message: { request: 'refuse', name: file.name }, ok: false, text });
    new UploadRow(file, () => {}).finish(false, `${file.name}: ${text}`);
}
