// The indicators: a lamp for each value, always with a text as well as a colour.
import { byId, el, setText } from './dom.js';
import { durationText, isSet, setting } from './values.js';

const UNKNOWN = { tone: 'unknown', text: '--' };
const OFF = { tone: 'off', text: 'off' };

// A push without a server fails every second; after this long without a failure, it has one.
const PUSH_FAILS_MS = 3000;

const onOff = (flag) => (flag === null ? UNKNOWN : flag ? { tone: 'on', text: 'on' } : OFF);

/** An address without its scheme. */
const shortAddress = (address) => address.replace(/^\w+:\/\//, '');

export const tcpAddress = (state) => {
    const port = setting('tcp_stream_port')(state);
    return port === null ? '' : `tcp://${location.hostname}:${port}`;
};

export const httpAddress = (state) => setting('http_url')(state) ?? '';

/** A lamp for an output; `text` describes it while it is on. */
function output({ sight }, name, text, tone = 'on', title = '') {
    const state = sight?.outputs[name].state;
    return { undefined: UNKNOWN, off: OFF, on: { tone, text, title } }[state] ?? { tone: 'ready', text: state, title };
}

function stream(state, name, address) {
    return output(state, name, shortAddress(address) || 'on', 'on', address);
}

/** Without a server, the push keeps retrying. */
function push(state) {
    const lamp = stream(state, 'http', httpAddress(state));
    const failed = state.sight?.failures.http?.time;
    return lamp !== OFF && failed && Date.now() - Date.parse(failed) < PUSH_FAILS_MS
        ? { ...lamp, tone: 'warn', text: 'no server' } : lamp;
}

/** While a monitor is plugged in, the panel keeps its luminance and the level is only stored. */
function luminance(state, { luminance: levels }) {
    const level = levels[setting('luminance')(state)];
    if (level === undefined) {
        return UNKNOWN;
    }
    const { level: ofPanel } = state.panel;
    return ofPanel === null || ofPanel === level ? { tone: 'on', text: String(level) }
        : { tone: 'ready', text: `${level} stored`, title: `The panel is at ${ofPanel}` };
}

const VIEWS = {
    live: { tone: 'on', text: 'live' },
    frozen: { tone: 'warn', text: 'frozen' },
    no_input: { tone: 'warn', text: 'not shown' },
    none: { tone: 'warn', text: 'not shown' },
};

function camera({ camera: isPlugged, sight }) {
    return isPlugged ? VIEWS[sight?.live_view.state] ?? UNKNOWN : { tone: 'warn', text: 'unplugged' };
}

function factor(number) {
    return number === undefined ? UNKNOWN : { tone: number > 1 ? 'on' : 'ready', text: `× ${number}` };
}

function recording(state) {
    const since = Date.parse(state.sight?.outputs.recording.since);
    return output(state, 'recording', durationText((Date.now() - since) / 1000), 'record');
}

function handedOver({ sight }) {
    return sight === null ? UNKNOWN : sight.handed_over ? { tone: 'warn', text: 'yes' } : { tone: 'off', text: 'no' };
}

const thereOr = (flag, there, missing) => (flag ? { tone: 'on', text: there } : { tone: 'off', text: missing });

const LAMPS = [
    { id: 'recording', name: 'Recording', read: recording },
    { id: 'tcp', name: 'TCP stream', read: (state) => stream(state, 'tcp', tcpAddress(state)) },
    { id: 'http', name: 'HTTP push', read: push },
    { id: 'zoom', name: 'Zoom', read: ({ sight }) => factor(sight?.zoom) },
    { id: 'pip', name: 'PIP', read: ({ sight }) => (sight?.inset === 0 ? OFF : factor(sight?.inset)) },
    { id: 'luminance', name: 'Luminance', read: luminance },
    { id: 'reticle', name: 'Reticle', read: (state) => onOff(isSet('reticle')(state)) },
    { id: 'dot', name: 'Red dot', read: (state) => onOff(isSet('red_dot')(state)) },
    { id: 'camera', name: 'Camera', read: camera },
    { id: 'monitor', name: 'Monitor', read: ({ monitor }) => thereOr(monitor, 'plugged', 'none') },
    { id: 'broker', name: 'Broker', read: ({ broker }) => thereOr(broker, 'there', 'none') },
    { id: 'handed-over', name: 'Handed over', read: handedOver },
];

function build(lamp) {
    lamp.value = el('dd', { id: `lamp-${lamp.id}`, className: 'number' }, '--');
    lamp.node = el('div', { className: 'lamp-row' },
        el('dt', {}, el('span', { className: 'lamp', 'aria-hidden': 'true' }), lamp.name),
        lamp.value);
    lamp.node.dataset.tone = 'unknown';
    return lamp.node;
}

function show(lamp, { tone, text, title = '' }) {
    lamp.node.dataset.tone = tone;
    lamp.node.title = title;
    setText(lamp.value, text);
}

/** Updates with each state, and twice a second for durations. */
export function startIndicators(server) {
    byId('lamps').append(...LAMPS.map(build));
    let choices = {};
    server.on('hello', (hello) => {
        ({ choices } = hello);
    });
    const showAll = () => {
        for (const lamp of LAMPS) {
            show(lamp, server.state === null ? UNKNOWN : lamp.read(server.state, choices));
        }
    };
    server.on('state', showAll);
    setInterval(showAll, 500);
}
