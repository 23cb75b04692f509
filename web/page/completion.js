// The list of commands below the console's line: a combobox with a list of options.
import { byId, el, setText } from './dom.js';

const MARKS = {
    '@': 'stored in the settings',
    '!': 'taken from the settings',
    '*': 'affects the overlay',
    '%': 'affects the overlay until disable_kbd',
};

/** The daemon's help, split into the text and the meaning of its marks. */
export function explain({ arguments: count, help }) {
    const marks = new Set([...help.matchAll(/\[([@!*%]+)\]/g)].flatMap(([, each]) => [...each]));
    const text = help.replace(/\s*\[[@!*%]+\]/g, '').replace(/,\s*$/, '');
    const needs = count === 0 ? 'no arguments' : count === 1 ? '1 argument' : `${count} arguments`;
    return { needs, text, marks: [...marks].map((mark) => MARKS[mark]) };
}

function commonBegin(one, other) {
    const end = [...one].findIndex((letter, index) => letter !== other[index]);
    return end < 0 ? one : one.slice(0, end);
}

function option(command, index) {
    const { needs, text } = explain(command);
    return el('li', { role: 'option', id: `command-${index}`, 'aria-selected': 'false' },
        el('span', { className: 'option-name' }, command.name),
        el('span', { className: 'option-needs' }, needs),
        el('span', { className: 'option-help' }, text));
}

export class Completion {
    #list = byId('command-list');
    #input;
    #shown = [];
    #active = -1;

    commands = [];

    /** `onPick` gets the name of a clicked command. */
    constructor(input, onPick) {
        this.#input = input;
        this.#list.addEventListener('mousedown', (event) => event.preventDefault()); // keep the focus
        this.#list.addEventListener('click', ({ target }) => {
            const index = [...this.#list.children].indexOf(target.closest('li'));
            if (index >= 0) {
                onPick(this.#shown[index].name);
            }
        });
    }

    get isOpen() {
        return !this.#list.hidden;
    }

    /** The option selected with the arrow keys, or null. */
    get chosen() {
        return this.#shown[this.#active]?.name ?? null;
    }

    /** The completion: the selected or only command, or null and the common prefix. */
    wayOn(typed) {
        const names = this.#shown.map(({ name }) => name);
        const begins = names.filter((name) => name.startsWith(typed));
        const left = begins.length > 0 ? begins : names;
        const name = this.chosen ?? (left.length === 1 ? left[0] : null);
        return { name, begin: begins.length > 0 ? begins.reduce(commonBegin) : typed };
    }

    /** Shows the commands that begin with the text, then those that contain it. */
    open(typed) {
        const begins = this.commands.filter(({ name }) => name.startsWith(typed));
        const holds = this.commands.filter(({ name }) => !name.startsWith(typed) && name.includes(typed));
        this.#shown = [...begins, ...holds];
        this.#list.replaceChildren(...this.#shown.map(option));
        this.#list.scrollTop = 0;
        this.#show(this.#shown.length > 0);
    }

    close() {
        this.#show(false);
    }

    move(step) {
        const count = this.#shown.length;
        this.#active = this.#active < 0 ? (step > 0 ? 0 : count - 1) : (this.#active + step + count) % count;
        [...this.#list.children].forEach((node, index) =>
            node.setAttribute('aria-selected', String(index === this.#active)));
        const node = this.#list.children[this.#active];
        node.scrollIntoView({ block: 'nearest' });
        this.#input.setAttribute('aria-activedescendant', node.id);
    }

    /** Describes arguments and effect of the command in a line. */
    hint(line) {
        const name = line.trim().split(/\s+/, 1)[0];
        const command = this.commands.find((each) => each.name === name);
        if (command === undefined) {
            setText(byId('command-hint'), name === '' || this.isOpen || this.commands.length === 0
                ? '' : 'No command has this name.');
            return;
        }
        const { needs, text, marks } = explain(command);
        setText(byId('command-hint'), [`${needs}: ${text}`, ...marks].join(' · '));
    }

    #show(isOpen) {
        this.#active = -1;
        this.#list.hidden = !isOpen;
        this.#input.removeAttribute('aria-activedescendant');
        for (const node of [this.#input, byId('command-all')]) {
            node.setAttribute('aria-expanded', String(isOpen));
        }
    }
}
