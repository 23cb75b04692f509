// The panel's live picture, as bright as the panel shows it.
import { byId, memory, setText } from './dom.js';
import { condition, reconnectingSocket } from './server_connection.js';
import { restartLiveView } from './live_view.js';
import { clockText } from './values.js';

// The live picture changes thirty times a second: after this long without a new one it stands still.
const STILL_MS = 3000;

const panel = byId('panel');
const pen = panel.getContext('2d', { alpha: false });

/** Takes pictures from the server, one after the other, while somebody can see them. */
class Pictures {
    #socket = null;
    #isAsked = false;

    /** Pictures drawn so far, and when the last came. */
    count = 0;
    lastAt = null;

    open() {
        reconnectingSocket('picture', {
            onOpen: (socket) => {
                this.#socket = socket;
                this.#isAsked = false;
                this.askNext();
            },
            onMessage: (picture) => this.#draw(picture),
            onClose: () => {
                this.#socket = null;
            },
        });
    }

    askNext() {
        if (this.#socket?.readyState === WebSocket.OPEN && !this.#isAsked && !document.hidden) {
            this.#isAsked = true;
            this.#socket.send('next');
        }
    }

    async #draw(picture) {
        try {
            const bitmap = await createImageBitmap(picture);
            pen.drawImage(bitmap, 0, 0, panel.width, panel.height);
            bitmap.close();
            ++this.count;
            this.lastAt = new Date();
        } catch {
            // A picture that can't be decoded is skipped.
        }
        this.#isAsked = false;
        this.askNext();
    }
}

/** The note over the picture: its text, whether the picture is old, and whether a restart would help. */
function noteFor(server, pictures, watchedSince) {
    const now = condition(server);
    const last = pictures.lastAt === null ? '' : ` Last picture at ${clockText(pictures.lastAt)}.`;
    if (now === 'connecting') {
        return { text: 'Connecting', isOld: true };
    }
    if (now === 'refused') {
        return { text: `No picture: this page is not let in.${last}`, isOld: true };
    }
    if (now === 'lost' || now === 'gone') {
        const missing = now === 'lost' ? 'page’s server' : 'daemon';
        return { text: `No picture: the ${missing} is not running.${last}`, isOld: true };
    }
    if (server.state.panel?.on === false) {
        return { text: 'The panel is off', isOff: true };
    }
    const { sight, camera } = server.state;
    if (['none', 'no_input'].includes(sight?.live_view.state)) {
        return camera ? { text: 'The camera is plugged in, but not shown', hasWayOut: true }
            : { text: 'The camera is unplugged' };
    }
    if (sight?.live_view.state === 'frozen'
        || Date.now() - Math.max(watchedSince, pictures.lastAt ?? 0) > STILL_MS) {
        return { text: pictures.lastAt ? `The picture stands still.${last}` : 'No picture yet' };
    }
    return null;
}

function showNote(note) {
    byId('picture-note').hidden = note === null;
    byId('bezel').classList.toggle('old', note?.isOld === true);
    byId('bezel').classList.toggle('off', note?.isOff === true);
    const hasFocus = document.activeElement === byId('live-view');
    byId('live-view').hidden = note?.hasWayOut !== true;
    if (hasFocus && byId('live-view').hidden) {
        byId('full-light').focus(); // else it would be nowhere
    }
    setText(byId('picture-note-text'), note?.text ?? '');
}

/** Dims an sRGB picture to a fraction of the full light, over black. */
function showLight(light, isFull) {
    const known = typeof light === 'number';
    panel.style.opacity = known && !isFull ? Math.min(1, light) ** (1 / 2.2) : 1;
    setText(byId('picture-light'), known ? `light ${Math.round(light * 100)} %` : 'light --');
}

function followPointer() {
    panel.addEventListener('pointermove', ({ offsetX, offsetY }) => {
        if (panel.classList.contains('aiming')) {
            return; // the origin is said there
        }
        const x = Math.floor((offsetX / panel.clientWidth) * panel.width);
        const y = Math.floor((offsetY / panel.clientHeight) * panel.height);
        setText(byId('picture-point'), `x ${x} y ${y}`);
    });
    panel.addEventListener('pointerleave', () =>
        panel.classList.contains('aiming') || setText(byId('picture-point'), ''));
}

function startFullLight(onChange) {
    const button = byId('full-light');
    const show = (isFull) => {
        button.setAttribute('aria-pressed', String(isFull));
        onChange(isFull);
    };
    button.addEventListener('click', () => {
        const isFull = button.getAttribute('aria-pressed') !== 'true';
        memory.set('full-light', isFull ? '1' : '0');
        show(isFull);
    });
    show(memory.get('full-light') === '1');
}

export function toggleFullScreen() {
    if (document.fullscreenElement !== null) {
        document.exitFullscreen();
    } else {
        byId('bezel').requestFullscreen();
    }
}

/** Shows the rate, and updates the note: only the clock tells that a picture stands still. */
function eachSecond(pictures, show) {
    let counted = 0;
    setInterval(() => {
        setText(byId('picture-rate'), `${String(pictures.count - counted).padStart(2)} fps`);
        counted = pictures.count;
        show();
    }, 1000);
}

export function startPicture(server) {
    const pictures = new Pictures();
    let watchedSince = Date.now();
    let isFull = false;
    const show = () => {
        showNote(noteFor(server, pictures, watchedSince));
        showLight(server.state?.panel?.light, isFull);
    };
    document.addEventListener('visibilitychange', () => {
        watchedSince = Date.now();
        pictures.askNext();
    });
    eachSecond(pictures, show);
    server.on('state', show);
    server.on('presence', () => {
        watchedSince = Date.now();
        show();
    });
    startFullLight((full) => {
        isFull = full;
        show();
    });
    followPointer();
    byId('full-screen').addEventListener('click', toggleFullScreen);
    byId('live-view').addEventListener('click', () => restartLiveView(server, byId('live-view')));
    pictures.open();
}
