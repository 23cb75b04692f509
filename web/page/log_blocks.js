// The log's rows in blocks: a new line only changes the layout of the last block.
import { el } from './dom.js';

const BLOCK_LINES = 100;
const BLOCKS_MAX = 50;

/** Maximum number of lines kept. */
export const LINES_MAX = BLOCK_LINES * BLOCKS_MAX;

// To estimate the height of a block out of view; wrapped lines are higher.
const ROW_HEIGHT_PX = 18;

// The last blocks are always rendered: the view of the end must not depend on estimates.
const OPEN_BLOCKS = 2;

function rowOf({ time, level, text }) {
    const row = el('div', { className: 'log-line' },
        el('span', { className: 'log-time' }, time),
        el('span', { className: 'log-level' }, level === 'other' ? '' : level),
        el('span', { className: 'log-text' }, text, el('span', { className: 'log-times' })));
    row.dataset.level = level;
    return row;
}

/** A repeated line: its row shows how often it came, and when last. */
function repeat(entry, { time }) {
    entry.times += 1;
    entry.row.querySelector('.log-time').textContent = time;
    entry.row.querySelector('.log-times').textContent = ` × ${entry.times}`;
}

class Block {
    node = el('div', { className: 'log-block' });
    entries = [];
    shown = 0;

    add(entry, isShown) {
        const row = rowOf(entry);
        row.hidden = !isShown;
        this.entries.push({ ...entry, row, times: 1 });
        this.shown += isShown ? 1 : 0;
        this.node.append(row);
    }

    choose(isShown) {
        this.shown = 0;
        for (const entry of this.entries) {
            const shows = isShown(entry);
            entry.row.hidden = !shows;
            this.shown += shows ? 1 : 0;
        }
        this.#estimate();
    }

    seal() {
        this.node.classList.add('sealed');
        this.#estimate();
    }

    #estimate() {
        this.node.style.containIntrinsicBlockSize = `${this.shown * ROW_HEIGHT_PX}px`;
    }
}

/** The latest lines in a box; hides those that `isShown` rejects. */
export class Blocks {
    #box;
    #isShown = () => true;
    #blocks = [];

    constructor(box) {
        this.#box = box;
    }

    get count() {
        return this.#blocks.reduce((sum, { entries }) => sum + entries.length, 0);
    }

    get shown() {
        return this.#blocks.reduce((sum, { shown }) => sum + shown, 0);
    }

    add(entries) {
        for (const entry of entries) {
            const before = this.#blocks.at(-1)?.entries.at(-1);
            if (before?.text === entry.text && before.level === entry.level) {
                repeat(before, entry);
            } else {
                this.#last().add(entry, this.#isShown(entry));
            }
        }
    }

    choose(isShown) {
        this.#isShown = isShown;
        this.#blocks.forEach((block) => block.choose(isShown));
    }

    clear() {
        this.#blocks = [];
        this.#box.replaceChildren();
    }

    #last() {
        const last = this.#blocks.at(-1);
        return last !== undefined && last.entries.length < BLOCK_LINES ? last : this.#append();
    }

    #append() {
        const block = new Block();
        this.#blocks.at(-OPEN_BLOCKS)?.seal();
        this.#blocks.push(block);
        this.#box.append(block.node);
        if (this.#blocks.length > BLOCKS_MAX) {
            this.#blocks.shift().node.remove();
        }
        return block;
    }
}
