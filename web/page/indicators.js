// The state at a glance: a lamp for each value, always with a text beside its colour.
import { byId, el, setText } from './dom.js';
import { condition } from './server_connection.js';
import { beginningOf, durationText } from './values.js';

const UNKNOWN = { tone: 'unknown', text: '--' };
const OFF = { tone: 'off', text: 'off' };

const onOff = (flag, tone = 'on') => (flag === null ? UNKNOWN : flag ? { tone, text: 'on' } : OFF);

/** An address without its scheme. */
const shortAddress = (address) => address.replace(/^\w+:\/\//, '');

export const tcpAddress = (state) =>
    `tcp://${location.hostname}:${state?.settings?.tcp_stream_port ?? '?'}`;

export const httpAddress = (state) => state?.settings?.http_url ?? '';

function output(isOn, address) {
    const lamp = onOff(isOn);
    return isOn ? { ...lamp, text: shortAddress(address) || 'on', title: address } : lamp;
}

/** Without a server at its address the push keeps trying. */
function push(state) {
    const lamp = output(state.http_stream, httpAddress(state));
    return state.http_stream && state.push_fails ? { ...lamp, tone: 'warn', text: 'no server' } : lamp;
}

/** While a monitor is plugged in, the panel keeps its light and the level is only stored. */
function luminance({ luminance: { level }, panel: { level: ofPanel } }) {
    if (level === null) {
        return UNKNOWN;
    }
    return ofPanel === null || ofPanel === level ? { tone: 'on', text: String(level) }
        : { tone: 'ready', text: `${level} stored`, title: `The panel is at ${ofPanel}` };
}

function camera({ camera: { plugged, shown } }) {
    if (!plugged) {
        return { tone: 'warn', text: 'unplugged' };
    }
    return shown === null ? UNKNOWN
        : shown ? { tone: 'on', text: 'live' } : { tone: 'warn', text: 'not shown' };
}

const BROKER = {
    none: { tone: 'off', text: 'none' },
    there: { tone: 'ready', text: 'there' },
    connected: { tone: 'on', text: 'connected' },
};

function zoom({ zoom: { factor } }) {
    return factor === null ? UNKNOWN : { tone: factor > 1 ? 'on' : 'ready', text: `× ${factor}` };
}

function inset({ pip: { on, factor } }) {
    return on && factor !== null ? { tone: 'on', text: `× ${factor}` } : onOff(on);
}

function recording(state, began) {
    return state.recording && began !== null
        ? { tone: 'record', text: durationText(Date.now() / 1000 - began) }
        : onOff(state.recording, 'record');
}

function handedOver({ handed_over: flag }) {
    return flag === null ? UNKNOWN : flag ? { tone: 'warn', text: 'yes' } : { tone: 'off', text: 'no' };
}

const LAMPS = [
    { id: 'recording', name: 'Recording', read: recording },
    { id: 'tcp', name: 'TCP stream', read: (state) => output(state.tcp_stream, tcpAddress(state)) },
    { id: 'http', name: 'HTTP push', read: push },
    { id: 'zoom', name: 'Zoom', read: zoom },
    { id: 'pip', name: 'PIP', read: inset },
    { id: 'luminance', name: 'Luminance', read: luminance },
    { id: 'reticle', name: 'Reticle', read: ({ reticle }) => onOff(reticle) },
    { id: 'dot', name: 'Red dot', read: ({ dot }) => onOff(dot) },
    { id: 'camera', name: 'Camera', read: camera },
    { id: 'monitor', name: 'Monitor',
        read: ({ monitor }) => (monitor ? { tone: 'on', text: 'plugged' } : { tone: 'off', text: 'none' }) },
    { id: 'broker', name: 'Broker', read: ({ broker }) => BROKER[broker] ?? UNKNOWN },
    { id: 'handed-over', name: 'Handed over',
        read: handedOver },
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

// How much earlier than it was seen to start a recording can have begun.
const START_SLACK_S = 5;

/** When the running recording began, in seconds since 1970; null without one. */
class RecordingClock {
    #earliest = null;
    began = null;

    /** `before` is null for the first known state: the recording may have begun long ago. */
    takeState(isRecording, before) {
        if (!isRecording) {
            this.began = null;
        } else if (this.began === null) {
            this.began = Date.now() / 1000;
            this.#earliest = before === false ? this.began - START_SLACK_S : 0;
        }
    }

    /** The name of the running recording's file is more exact, also for a page that was opened later. */
    takeMedia({ recordings }) {
        const growing = recordings.find((each) => each.growing);
        const named = growing ? beginningOf(growing.name) : null;
        if (this.began !== null && named !== null && named >= this.#earliest) {
            this.began = named;
        }
    }
}

export function startIndicators(server) {
    byId('lamps').append(...LAMPS.map(build));
    const clock = new RecordingClock();
    let wasRecording = null;
    const showAll = () => {
        for (const lamp of LAMPS) {
            show(lamp, server.state === null ? UNKNOWN : lamp.read(server.state, clock.began));
        }
    };
    server.on('state', ({ recording: isRecording }) => {
        clock.takeState(isRecording, wasRecording);
        wasRecording = isRecording;
        showAll();
    });
    server.on('media', (media) => clock.takeMedia(media));
    setInterval(() => {
        if (condition(server) === 'up' && server.state.recording) {
            showAll();
        }
    }, 500);
}
