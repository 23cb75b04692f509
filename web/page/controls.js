// Controls for commands: outputs, display, reticle, encoding and sound.
import { byId } from './dom.js';
import { action, choice, command, list, slider, toggle } from './fields.js';
import { httpAddress, tcpAddress } from './indicators.js';
import { ENCODING_TYPES, colorName, isRunning, isSet, setting } from './values.js';

/** The request of a command with a flag. */
const flag = (name) => (isOn) => command(`${name} ${isOn ? 1 : 0}`);
const index = (name) => (number) => command(`${name} ${number}`);

function outputs(server) {
    byId('outputs').append(
        toggle(server, {
            id: 'record', name: 'Record', drawing: 'record',
            read: isRunning('recording'), ask: flag('enable_record'),
        }),
        toggle(server, {
            id: 'tcp-stream', name: 'TCP stream', drawing: 'stream',
            read: isRunning('tcp'), ask: flag('enable_tcp_stream'), note: tcpAddress,
        }),
        toggle(server, {
            id: 'http-stream', name: 'HTTP push', drawing: 'push',
            read: isRunning('http'), ask: flag('enable_http_stream'), note: httpAddress,
        }),
        action(server, {
            id: 'snapshot', name: 'Take a snapshot', drawing: 'snapshot', keys: 'S',
            ask: () => command('make_snapshot'),
        }),
    );
}

function display(server, { luminance: levels }, [, lastNuc]) {
    byId('display').append(
        choice(server, {
            id: 'luminance', name: 'Luminance', choices: levels.map((level) => ({ text: String(level) })),
            read: setting('luminance'), ask: index('set_lum'), className: 'number',
        }),
        choice(server, {
            id: 'nuc-type', name: 'NUC type', className: 'number',
            choices: Array.from({ length: lastNuc + 1 }, (_, type) => ({ text: String(type) })),
            read: setting('nuc_type'),
            ask: index('set_nuc_type'),
        }),
        toggle(server, {
            id: 'pip', name: 'Picture in picture', drawing: 'pip',
            read: isSet('pip_mode'), ask: flag('enable_pip'),
        }),
    );
}

function reticle(server, { reticle_images: images, reticle_colors: colors }, opacity) {
    byId('reticle').append(
        toggle(server, {
            id: 'reticle-on', name: 'Reticle', drawing: 'sight',
            read: isSet('reticle'), ask: flag('enable_reticle'),
        }),
        toggle(server, {
            id: 'dot-on', name: 'Red dot', drawing: 'dot',
            read: isSet('red_dot'), ask: flag('enable_dot'),
        }),
        list(server, {
            id: 'reticle-image', name: 'Image', choices: images,
            read: setting('reticle_source'), ask: index('set_reticle_src'),
        }),
        choice(server, {
            id: 'reticle-color', name: 'Colour', className: 'swatches',
            choices: colors.map((color) => ({ text: colorName(color), color })),
            read: setting('reticle_color'), ask: index('set_reticle_color'),
        }),
        slider(server, {
            id: 'reticle-opacity', name: 'Opacity', range: opacity, step: 0.05,
            read: setting('reticle_opacity'), ask: (value) => command(`set_reticle_opacity ${value}`), text: (value) => value.toFixed(2),
        }),
    );
}

function sound(server, volume) {
    byId('sound').append(
        list(server, {
            id: 'encoding', name: 'Encoding', choices: ENCODING_TYPES,
            read: setting('enc_type'), ask: index('set_enc_type'),
        }),
        slider(server, {
            id: 'mic-volume', name: 'Mic volume', range: volume, step: 1, read: setting('mic_volume'),
            ask: index('set_mic_volume'), text: (value) => `${value} %`,
        }),
    );
}

/** Choices and ranges come from the server before the first state. */
export function startControls(server) {
    const stop = server.on('hello', ({ choices, commands }) => {
        const rangeOf = (name) => commands.find((each) => each.name === name).range;
        stop();
        outputs(server);
        display(server, choices, rangeOf('set_nuc_type'));
        reticle(server, choices, rangeOf('set_reticle_opacity'));
        sound(server, rangeOf('set_mic_volume'));
    });
}
