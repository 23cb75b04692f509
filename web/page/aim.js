// Sets the reticle's origin on the panel: drag the aim point, or use the arrow keys.
import { byId, setText } from './dom.js';
import { command, follow, set } from './fields.js';
import { setting } from './values.js';

const STEP = 1;
const LONG_STEP = 10; // with Shift

const ARROWS = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };

class Aim {
    #server;
    #panel = byId('panel');
    #handle = byId('aim-handle');
    #aims = []; // aim points of the reticle drawings, relative to their origin
    #origin = null;
    #isHeld = false;

    constructor(server) {
        this.#server = server;
        server.on('hello', ({ choices }) => {
            this.#aims = choices.reticle_aims;
        });
        follow(server, this.#handle, (state) => this.#take(state), () => this.#isHeld);
        new ResizeObserver(() => this.#place()).observe(this.#panel);
        byId('aim').addEventListener('click', () => this.#switch());
        this.#handle.addEventListener('keydown', (event) => this.#press(event));
        for (const node of [this.#panel, this.#handle]) {
            node.addEventListener('pointerdown', (event) => this.#hold(event));
            node.addEventListener('pointermove', (event) => this.#isHeld && this.#drag(event));
            node.addEventListener('pointerup', () => this.#letGo());
            node.addEventListener('pointercancel', () => this.#letGo());
        }
    }

    get #isOn() {
        return byId('aim').getAttribute('aria-pressed') === 'true';
    }

    /** Offset from the origin to the aim point. */
    get #offset() {
        return this.#aims[setting('reticle_source')(this.#server.state)] ?? [0, 0];
    }

    #take(state) {
        const origin = [setting('origin_x')(state), setting('origin_y')(state)];
        this.#origin = origin.includes(null) ? null : origin;
        this.#place();
    }

    #place() {
        const isShown = this.#isOn && this.#origin !== null;
        this.#handle.hidden = !isShown;
        if (!isShown) {
            return;
        }
        const { offsetLeft, offsetTop, clientWidth, width } = this.#panel;
        const [x, y] = this.#origin.map((each, axis) => each + this.#offset[axis]);
        this.#handle.style.left = `${offsetLeft + (x * clientWidth) / width}px`;
        this.#handle.style.top = `${offsetTop + (y * clientWidth) / width}px`;
        const words = `x ${this.#origin[0]}, y ${this.#origin[1]}`;
        this.#handle.setAttribute('aria-label', `Origin ${words}: drag it, or use the arrow keys`);
        setText(byId('picture-point'), `origin ${words}`);
    }

    #switch() {
        byId('aim').setAttribute('aria-pressed', String(!this.#isOn));
        this.#panel.classList.toggle('aiming', this.#isOn);
        byId('aim-note').hidden = !this.#isOn;
        setText(byId('picture-point'), '');
        this.#place();
        if (this.#isOn) {
            this.#handle.focus();
        }
    }

    #move(origin) {
        this.#origin = origin.map((each) => Math.round(each * 100) / 100);
        this.#place();
    }

    #send() {
        set(this.#server, this.#handle, command(`set_origin ${this.#origin.join(' ')}`));
    }

    #press(event) {
        const arrow = ARROWS[event.key];
        if (arrow !== undefined && this.#origin !== null) {
            event.preventDefault();
            const step = event.shiftKey ? LONG_STEP : STEP;
            this.#move(this.#origin.map((each, axis) => each + arrow[axis] * step));
            this.#send();
        }
    }

    #hold(event) {
        if (this.#isOn && this.#origin !== null && !byId('aim').disabled) {
            event.preventDefault();
            this.#handle.focus();
            event.target.setPointerCapture(event.pointerId);
            this.#isHeld = true;
            this.#drag(event);
        }
    }

    #drag({ clientX, clientY }) {
        const { left, top, width } = this.#panel.getBoundingClientRect();
        const scale = this.#panel.width / width;
        const point = [(clientX - left) * scale, (clientY - top) * scale];
        this.#move(point.map((each, axis) => Math.round(each) - this.#offset[axis]));
    }

    #letGo() {
        if (this.#isHeld) {
            this.#isHeld = false;
            this.#send();
        }
    }
}

export function startAim(server) {
    return new Aim(server);
}
