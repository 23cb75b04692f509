// The console: a line for any command, with completion and history.
import { byId } from './dom.js';
import { Completion } from './completion.js';
import { command } from './fields.js';

const HISTORY_MAX = 200;

/** Sent lines, for the arrow keys; the last one is the line being edited. */
class History {
    #lines = [];
    #at = 0;
    #typed = '';

    add(line) {
        this.#lines = [...this.#lines.filter((each) => each !== line), line].slice(-HISTORY_MAX);
        this.#at = this.#lines.length;
    }

    /** The line a step away; null at either end. */
    walk(step, current) {
        const next = this.#at + step;
        if (next < 0 || next > this.#lines.length) {
            return null;
        }
        if (this.#at === this.#lines.length) {
            this.#typed = current;
        }
        this.#at = next;
        return this.#lines[next] ?? this.#typed;
    }
}

class Console {
    #server;
    #input = byId('console-line');
    #history = new History();
    #completion = new Completion(this.#input, (name) => this.#accept(name));

    constructor(server) {
        this.#server = server;
        server.on('hello', ({ commands }) => {
            this.#completion.commands = commands;
        });
        this.#input.addEventListener('input', () => this.#suggest());
        this.#input.addEventListener('keydown', (event) => this.#take(event));
        this.#input.addEventListener('blur', () => this.#completion.close());
        for (const news of ['presence', 'state']) {
            server.on(news, () => this.#input.readOnly && this.#completion.close());
        }
        byId('prompt').addEventListener('submit', (event) => {
            event.preventDefault();
            this.#send();
        });
        byId('command-all').addEventListener('mousedown', (event) => event.preventDefault());
        byId('command-all').addEventListener('click', () => this.#showAll());
    }

    #write(line) {
        this.#input.value = line;
        this.#input.setSelectionRange(line.length, line.length);
        this.#completion.close();
        this.#completion.hint(line);
    }

    #accept(name) {
        if (this.#input.readOnly) {
            return;
        }
        const { arguments: count } = this.#completion.commands.find((each) => each.name === name);
        this.#write(count > 0 ? `${name} ` : name);
        this.#input.focus();
    }

    /** Offers commands while the first word is being typed and incomplete. */
    #suggest() {
        const line = this.#input.value;
        const isWhole = this.#completion.commands.some(({ name }) => name === line);
        if (line === '' || isWhole || /\s/.test(line)) {
            this.#completion.close();
        } else {
            this.#completion.open(line);
        }
        this.#completion.hint(line);
    }

    #showAll() {
        this.#input.focus();
        if (this.#completion.isOpen) {
            this.#completion.close();
        } else {
            this.#completion.open('');
        }
    }

    #take(event) {
        if (this.#input.readOnly) {
            return;
        }
        const handle = {
            ArrowDown: () => this.#arrow(1, event.altKey),
            ArrowUp: () => this.#arrow(-1, event.altKey),
            Tab: () => !event.shiftKey && this.#tab(),
            Enter: () => this.#complete(this.#completion.chosen),
            Escape: () => this.#escape(),
        }[event.key];
        if (handle?.() === true) {
            event.preventDefault();
        }
    }

    /** Returns true if the key was used, like the other handlers. */
    #arrow(step, isAlt) {
        if (isAlt && !this.#completion.isOpen) {
            this.#completion.open('');
        } else if (this.#completion.isOpen) {
            this.#completion.move(step);
        } else {
            const line = this.#history.walk(step, this.#input.value);
            if (line !== null) {
                this.#write(line);
            }
        }
        return true;
    }

    /** Completes as far as possible, like a shell. */
    #tab() {
        if (!this.#completion.isOpen) {
            return false;
        }
        const { name, begin } = this.#completion.wayOn(this.#input.value);
        if (name === null && begin === this.#input.value) {
            return false; // nothing to complete: Tab keeps its usual meaning
        }
        if (name !== null) {
            this.#accept(name);
        } else {
            this.#input.value = begin;
            this.#suggest();
        }
        return true;
    }

    #complete(name) {
        if (!this.#completion.isOpen || name === null) {
            return false;
        }
        this.#accept(name);
        return true;
    }

    #escape() {
        if (!this.#completion.isOpen) {
            this.#write('');
        }
        this.#completion.close();
        return true;
    }

    #send() {
        const line = this.#input.value.trim();
        if (line !== '' && !this.#input.readOnly) {
            this.#history.add(line);
            this.#write('');
            this.#server.request(command(line));
        }
    }
}

export function startConsole(server) {
    return new Console(server);
}
