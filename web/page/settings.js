// Lists all settings of the sight with their ranges.
import { byId, el, setText } from './dom.js';
import { setting } from './values.js';

function rangeText(range) {
    if (range === null) {
        return '';
    }
    const [least, most] = range;
    return most !== null ? `${least} to ${most}` : least !== null ? `from ${least}` : 'any number';
}

export function startSettings(server) {
    const values = new Map();
    server.on('hello', ({ settings }) => {
        values.clear();
        byId('settings').replaceChildren(...settings.map(({ key, range }) => {
            values.set(key, el('span', { className: 'number' }));
            return el('div', {}, el('dt', { className: 'number' }, key),
                el('dd', {}, values.get(key), el('span', { className: 'range' }, rangeText(range))));
        }));
    });
    server.on('state', (state) => {
        for (const [key, node] of values) {
            setText(node, String(setting(key)(state) ?? '--'));
        }
    });
}
