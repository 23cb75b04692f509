// Requests and results, from the console and from every control: each click shows the command
// behind it.
import { byId, el } from './dom.js';
import { Follower } from './follower.js';

const ENTRIES_MAX = 200;

const NAMES = {
    command: ({ line }) => line,
    press: ({ button }) => `press ${button}`,
    camera: ({ on }) => `camera ${on ? 'on' : 'off'}`,
    monitor: ({ on }) => `hdmi ${on ? 'on' : 'off'}`,
    core: ({ fails }) => `core ${fails ? 'fail' : 'work'}`,
    footage: ({ name }) => `footage ${name}`,
    scene: () => 'scene stock',
    delete: ({ kind, name }) => `rm ${kind}/${name}`,
    daemon: ({ verb }) => verb,
    upload: ({ words }) => words,
    refuse: ({ name }) => name,
};

// Requests for the board are verbs of scripts/sim, not commands of the daemon.
const ORIGINS = { command: '> ', delete: '', refuse: '' };

/** A request in words. */
export const wordsOf = (message) => NAMES[message.request](message);

// Don't show waiting for faster replies.
const WAITS_MS = 400;

/** A request in the transcript, with its reply when there is one. */
class Entry {
    #said = el('p', { className: 'said' });
    #waits = setTimeout(() => this.#said.append('waiting for the reply'), WAITS_MS);

    constructor(simCommand, message) {
        this.node = el('div', { className: 'mute' },
            el('p', { className: 'asked' },
                el('span', { className: 'origin' }, ORIGINS[message.request] ?? `${simCommand} `), wordsOf(message)),
            this.#said);
    }

    finish({ ok, text }) {
        clearTimeout(this.#waits);
        this.node.className = ok ? text ? 'ok' : 'ok mute' : 'error';
        this.#said.replaceChildren(...(ok ? [text || 'done'] : [el('strong', {}, 'Error'), ` ${text || 'failed'}`]));
    }
}

export function startTranscript(server) {
    const transcript = byId('transcript');
    const follower = new Follower(transcript);
    const waiting = new Map();
    const ask = (message) => {
        const entry = new Entry(server.simCommand, message);
        waiting.set(message, entry);
        transcript.append(entry.node);
        while (transcript.childElementCount > ENTRIES_MAX) {
            transcript.firstElementChild.remove();
        }
        follower.toEnd();
    };
    server.on('asked', ask);
    server.on('response', (response) => {
        if (!waiting.has(response.message)) {
            ask(response.message); // file uploads are reported when complete
        }
        waiting.get(response.message).finish(response);
        waiting.delete(response.message);
        follower.toEnd();
    });
}
