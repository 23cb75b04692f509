// Requests and their results, from the console and from every control: each click shows the command
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
    upload: ({ words }) => words,
    refuse: ({ name }) => name,
};

// What acts on the board is a verb of scripts/sim, not a command of the daemon.
const ORIGINS = { command: '> ', refuse: '' };

function entry(simCommand, { message, ok, text }) {
    const { request } = message;
    const asked = el('p', { className: 'asked' },
        el('span', { className: 'origin' }, ORIGINS[request] ?? `${simCommand} `), NAMES[request](message));
    const reply = el('p', { className: 'said' });
    if (!ok) {
        reply.append(el('strong', {}, 'Error'), ` ${text || 'failed'}`);
    } else {
        reply.append(text || 'done');
    }
    return el('div', { className: ok ? text ? 'ok' : 'ok mute' : 'error' }, asked, reply);
}

export function startTranscript(server) {
    const transcript = byId('transcript');
    const follower = new Follower(transcript);
    server.on('response', (response) => {
        transcript.append(entry(server.simCommand, response));
        while (transcript.childElementCount > ENTRIES_MAX) {
            transcript.firstElementChild.remove();
        }
        follower.toEnd();
    });
}
