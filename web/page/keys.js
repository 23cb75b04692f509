// Keyboard shortcuts, and the help that lists them.
import { byId, el, memory } from './dom.js';
import { toggleFullScreen } from './panel.js';

const press = (id) => () => byId(id)?.click(); // undefined before the controls exist
const focus = (id) => () => {
    byId(id).focus();
    byId(id).select();
};

const KEYS = [
    { key: 'z', name: 'Press the zoom button', run: press('button-zoom') },
    { key: 'n', name: 'Press the NUC button', run: press('button-nuc') },
    { key: 'p', name: 'Press the pol button', run: press('button-pol') },
    { key: 'r', name: 'Start or stop recording', run: press('record') },
    { key: 's', name: 'Take a snapshot', run: press('snapshot') },
    { key: 'f', name: 'Picture in full screen', run: toggleFullScreen },
    { key: '/', name: 'Go to the console', run: focus('console-line') },
    { key: 'l', name: 'Go to the log filter', run: focus('log-filter') },
    { key: '?', name: 'Show this help', run: () => byId('help').showModal() },
];

const LINE_KEYS = [
    { key: 'Tab', name: 'Complete a command' },
    { key: '↑ ↓', name: 'Previous commands, or move in the list' },
    { key: 'Alt ↓', name: 'All commands' },
    { key: 'Esc', name: 'Close the list, or clear the line' },
];

const takesText = (node) => node.matches('input:not([type=radio], [type=range], [type=checkbox]), select, textarea');

/** Ignores keys for the browser or for a text field. */
function isForUs(event) {
    return !event.ctrlKey && !event.altKey && !event.metaKey && !event.repeat && !event.defaultPrevented
        && !takesText(event.target) && document.querySelector('dialog[open]') === null;
}

function row({ key, name }) {
    const shown = key.length === 1 ? key.toUpperCase() : key;
    return el('div', {}, el('dt', {}, el('kbd', {}, shown)), el('dd', {}, name));
}

function startHelp() {
    byId('help-keys').append(...KEYS.map(row),
        el('div', { className: 'help-part' }, el('dt', {}, 'In the console'), el('dd', {}, '')),
        ...LINE_KEYS.map(row));
    byId('help-open').addEventListener('click', () => byId('help').showModal());
    byId('help-close').addEventListener('click', () => byId('help').close());
}

export function startKeys() {
    startHelp();
    const keysOn = byId('keys-on');
    keysOn.checked = memory.get('keys') !== 'off';
    keysOn.addEventListener('change', () => memory.set('keys', keysOn.checked ? 'on' : 'off'));
    addEventListener('keydown', (event) => {
        const key = KEYS.find((each) => each.key === event.key.toLowerCase());
        if (key !== undefined && keysOn.checked && isForUs(event)) {
            event.preventDefault();
            key.run();
        }
    });
}
