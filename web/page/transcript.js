// What was asked for and what came of it, from the console and from every control: who clicks sees
// the command behind it.
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

// Acts on the board are verbs of the front door, not commands of the daemon.
const ORIGINS = { command: '> ', refuse: '' };

function entry(frontDoor, { message, ok, text }) {
    const asked = el('p', { className: 'asked' },
        el('span', { className: 'origin' }, ORIGINS[message.act] ?? `${frontDoor} `), NAMES[message.act](message));
    const answer = el('p', { className: 'said' });
    if (!ok) {
        answer.append(el('strong', {}, 'Error'), ` ${text || 'failed'}`);
    } else {
        answer.append(text || 'done');
    }
    return el('div', { className: ok ? text ? 'ok' : 'ok mute' : 'error' }, asked, answer);
}

export function startTranscript(link) {
    const transcript = byId('transcript');
    const follower = new Follower(transcript);
    link.on('answered', (answered) => {
        transcript.append(entry(link.frontDoor, answered));
        while (transcript.childElementCount > ENTRIES_MAX) {
            transcript.firstElementChild.remove();
        }
        follower.toEnd();
    });
}
