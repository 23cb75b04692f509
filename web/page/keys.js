// Single keys for what is done often, and the help that lists them.
import { byId, el, memory } from './dom.js';
import { toggleFullScreen } from './panel.js';

const press = (id) => () => byId(id)?.click(); // none before there is anything to press
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
    { key: 'f', name: 'Picture on the full screen', run: toggleFullScreen },
    { key: '/', name: 'Into the console', run: focus('console-line') },
    { key: 'l', name: 'Into the log’s filter', run: focus('log-filter') },
    { key: '?', name: 'This help', run: () => byId('help').showModal() },
];

const LINE_KEYS = [
    { key: 'Tab', name: 'Complete a command' },
    { key: '↑ ↓', name: 'Earlier commands, or through the list' },
    { key: 'Alt ↓', name: 'All commands' },
    { key: 'Esc', name: 'Close the list, empty the line' },
];

const takesText = (node) => node.matches('input:not([type=radio], [type=range], [type=checkbox]), select, textarea');

/** Keys for the browser, or for a field, are not keys of the sight. */
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
