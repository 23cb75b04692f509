// Restarts the live view after the camera was lost, with all that the display showed before.

import { isBusy } from './fields.js';

// The no-input picture stays until these have run, also when the cable is back.
const START = ['kill_pipe 6', 'create_pipe 0', 'create_pipe 1'];

// The display's scene is loaded again, with its own defaults, and is told of changes only. These send
// also what didn't change.
const SETTINGS = [
    ['set_lum', 'luminance'],
    ['enable_reticle', 'reticle'],
    ['enable_dot', 'red_dot'],
    ['set_reticle_src', 'reticle_source'],
    ['set_reticle_color', 'reticle_color'],
    ['set_reticle_opacity', 'reticle_opacity'],
];

/** Factor, place and size come with steps of the zoom, the inset's frame when it is switched. */
function zoomSteps({ pip, zoom }) {
    const inset = pip.on ? ['enable_pip 1'] : [];
    const index = (pip.on ? pip.index : zoom.index) ?? 0;
    return ['enable_pip 0', ...inset, ...Array(index).fill('kbd_zoom')];
}

/** None when an outside controller drives the display. */
function repetition(state) {
    if (state.handed_over || state.settings === null) {
        return [];
    }
    return [...SETTINGS.map(([name, key]) => `${name} ${state.settings[key]}`), ...zoomSteps(state)];
}

export async function restartLiveView(server, button) {
    if (isBusy(button)) {
        return;
    }
    button.setAttribute('aria-busy', 'true');
    for (const line of [...START, ...repetition(server.state)]) {
        const { ok } = await server.request({ request: 'command', line });
        if (!ok) {
            break;
        }
    }
    button.removeAttribute('aria-busy');
}
