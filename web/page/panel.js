// The panel's live picture, with the panel's luminance.
import { byId, memory, setText } from './dom.js';
import { condition, reconnectingSocket } from './server_connection.js';
import { restartLiveView } from './live_view.js';
import { clockText } from './values.js';

// The live picture changes thirty times a second: without a new one for this long, it is frozen.
const STILL_MS = 3000;

const panel = byId('panel');
const pen = panel.getContext('2d', { alpha: false });

/** Requests pictures from the server one by one while the page is visible. */
class Pictures {
    #socket = null;
    #isAsked = false;

    /** Number of drawn pictures, and the time of the last. */
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
            // Skip pictures that can't be decoded.
        }
        this.#isAsked = false;
        this.askNext();
    }
}

/** The note on the picture: text, whether the picture is old, whether a restart would help. */
function noteFor(server, pictures, watchedSince) {
    const now = condition(server);
    const last = pictures.lastAt === null ? '' : ` Last picture at ${clockText(pictures.lastAt)}.`;
    if (now === 'connecting') {
        return { text: 'Connecting', isOld: true };
    }
    if (now === 'refused') {
        return { text: `No picture: access denied.${last}`, isOld: true };
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
        return camera ? { text: 'The camera is plugged in but not shown', hasWayOut: true }
            : { text: 'The camera is unplugged' };
    }
    if (sight?.live_view.state === 'frozen'
        || Date.now() - Math.max(watchedSince, pictures.lastAt ?? 0) > STILL_MS) {
        return { text: pictures.lastAt ? `The picture is frozen.${last}` : 'No picture yet' };
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
        byId('full-light').focus(); // focus would be lost otherwise
    }
    setText(byId('picture-note-text'), note?.text ?? '');
}

/** Dims an sRGB picture to a fraction of full luminance, on black. */
function showLight(light, isFull) {
    const known = typeof light === 'number';
    panel.style.opacity = known && !isFull ? Math.min(1, light) ** (1 / 2.2) : 1;
    setText(byId('picture-light'), known ? `light ${Math.round(light * 100)} %` : 'light --');
}

function followPointer() {
    panel.addEventListener('pointermove', ({ offsetX, offsetY }) => {
        if (panel.classList.contains('aiming')) {
            return; // shows the origin instead
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

/** Updates rate and note every second: no event tells that a picture is frozen. */
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
