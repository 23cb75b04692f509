// The log: filtered by level and text, scrolled to the end unless the user scrolls up.
import { byId, el, memory, setText } from './dom.js';
import { Follower } from './follower.js';
import { Blocks, LINES_MAX } from './log_blocks.js';
import { LEVELS, parseLine } from './log_lines.js';

const FILTER_DELAY_MS = 120;

class Log {
    #box = byId('log-lines');
    #lines = new Blocks(this.#box);
    #added = [];
    #isDrawing = false;
    #words = '';
    #hidden = new Set((memory.get('log-hidden') ?? '').split(',').filter(Boolean));
    #follower = new Follower(this.#box, () => this.#showEnd());

    constructor() {
        byId('log-levels').append(...LEVELS.map((level) => this.#levelKey(level)));
        let waiting = 0;
        byId('log-filter').addEventListener('input', ({ target }) => {
            clearTimeout(waiting);
            waiting = setTimeout(() => this.#filter(target.value), FILTER_DELAY_MS);
        });
        this.#showChosen();
        byId('log-clear').addEventListener('click', () => this.#clear());
        byId('log-end').addEventListener('click', () => {
            this.#follower.toEnd();
            this.#showEnd();
        });
    }

    take({ fresh, lines }) {
        if (fresh) {
            this.#clear();
        }
        // A hidden page draws nothing; don't collect lines without limit.
        this.#added = [...this.#added, ...lines].slice(-LINES_MAX);
        if (!this.#isDrawing) {
            this.#isDrawing = true;
            requestAnimationFrame(() => this.#draw());
        }
    }

    /** Draws many lines with one layout. */
    #draw() {
        this.#isDrawing = false;
        this.#lines.add(this.#added.map(parseLine));
        this.#added = [];
        this.#settle();
    }

    #filter(words) {
        this.#words = words.trim().toLowerCase();
        this.#showChosen();
    }

    #showChosen() {
        const words = this.#words;
        this.#lines.choose(({ level, text }) =>
            !this.#hidden.has(level) && (words === '' || text.toLowerCase().includes(words)));
        this.#settle();
    }

    #clear() {
        this.#lines.clear();
        this.#added = [];
        this.#settle();
    }

    #settle() {
        if (this.#follower.isOn) {
            this.#follower.toEnd();
        }
        const { shown, count } = this.#lines;
        setText(byId('log-count'), shown === count ? `${shown}` : `${shown} of ${count}`);
        this.#showEnd();
    }

    #showEnd() {
        byId('log-end').hidden = this.#follower.isOn;
    }

    #levelKey(level) {
        const input = el('input', { type: 'checkbox', checked: !this.#hidden.has(level) });
        input.addEventListener('change', () => {
            this.#hidden[input.checked ? 'delete' : 'add'](level);
            memory.set('log-hidden', [...this.#hidden].join(','));
            this.#showChosen();
        });
        const key = el('label', {}, input, el('span', { className: 'face' }, level.toLowerCase()));
        key.dataset.level = level;
        return key;
    }
}

export function startLog(server) {
    const log = new Log();
    server.on('log', (message) => log.take(message));
}
