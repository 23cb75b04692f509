// Building blocks of the controls. They show the sight's state, not what was requested: a control
// changes with the next state, and goes back if its request failed. A slider or choice shows the
// selected value while it is held or its request is pending.
import { el, icon, setText, showAddress } from './dom.js';
import { endTrouble, showTrouble } from './trouble.js';

export const isBusy = (control) => control.getAttribute('aria-busy') === 'true';

function showStateAgain(server) {
    if (server.state !== null) {
        server.emit('state', server.state);
    }
}

/** Returns true on success. */
async function requestFor(server, message) {
    const { ok, text } = await server.request(message);
    if (ok) {
        endTrouble();
    } else {
        showTrouble(message, text);
    }
    return ok;
}

/**
 * Sends a button's request. The button is busy, and ignores clicks, until the response. After a failure all
 * controls show the last known state.
 */
export async function perform(server, control, message) {
    if (isBusy(control)) {
        return;
    }
    control.setAttribute('aria-busy', 'true');
    const ok = await requestFor(server, message);
    control.removeAttribute('aria-busy');
    if (!ok) {
        showStateAgain(server);
    }
}

// The changed state comes shortly after the response, perhaps preceded by an older one. Without a
// change after this time, nothing has changed.
const SETTLE_MS = 1000;

/** Timers of controls whose change may not be in the state yet. */
const settling = new WeakMap();

function settle(server, control, time) {
    clearTimeout(settling.get(control));
    settling.set(control, setTimeout(() => {
        settling.delete(control);
        showStateAgain(server);
    }, time));
}

/** The next request of each control; null while it only waits for a response. */
const wanted = new WeakMap();

/**
 * Sends the request of a control with a value. Of values set while a request is pending, only the last is
 * sent.
 */
export async function set(server, control, message) {
    const wasBusy = isBusy(control);
    wanted.set(control, message);
    if (wasBusy) {
        return;
    }
    control.setAttribute('aria-busy', 'true');
    let ok = true;
    while (wanted.get(control) !== null) {
        const next = wanted.get(control);
        wanted.set(control, null);
        ok = await requestFor(server, next);
    }
    control.removeAttribute('aria-busy');
    settle(server, control, ok ? SETTLE_MS : 0);
}

/** Updates a control with each state, unless it is held or waits for its own change. */
export function follow(server, control, show, isHeld = () => false) {
    server.on('state', (state) => {
        if (!isHeld() && !isBusy(control) && !settling.has(control)) {
            show(state);
        }
    });
}

export const command = (line) => ({ request: 'command', line });

/**
 * A switch. `read` returns true, false or null from the state; `ask` returns the request for on or off. A
 * press requests the opposite once, however often it is pressed before the state changes.
 */
export function toggle(server, { id, name, drawing = null, read, ask, note = null }) {
    const words = el('span', { className: 'switch-text' }, '--');
    const button = el('button', { type: 'button', id, className: 'switch', role: 'switch', 'aria-checked': 'false' },
        ...(drawing === null ? [] : [icon(drawing)]),
        el('span', { className: 'switch-name' }, name),
        el('span', { className: 'switch-track', 'aria-hidden': 'true' }), words);
    words.setAttribute('aria-hidden', 'true');
    let asked = null;
    button.addEventListener('click', () => {
        const isOn = button.getAttribute('aria-checked') !== 'true';
        if (!isBusy(button) || isOn !== asked) {
            asked = isOn;
            set(server, button, ask(isOn));
        }
    });
    const below = note === null ? null : el('p', { className: 'note number', id: `${id}-note` });
    if (below !== null) {
        button.setAttribute('aria-describedby', below.id);
    }
    server.on('state', (state) => {
        const isOn = read(state);
        button.setAttribute('aria-checked', String(isOn === true));
        setText(words, isOn === null ? '--' : isOn ? 'on' : 'off');
        if (below !== null) {
            showAddress(below, note(state));
        }
    });
    return el('div', { className: 'control' }, button, ...(below === null ? [] : [below]));
}

/**
 * A few alternatives: radio buttons that look like a row of keys. `choices` are {text} or {text, color};
 * `read` returns the index or null, `ask` the request for an index.
 */
export function choice(server, { id, name, choices, read, ask, className = '' }) {
    const inputs = choices.map((_, index) =>
        el('input', { type: 'radio', name: id, id: `${id}-${index}`, value: String(index) }));
    const keys = inputs.map((input, index) => {
        const { text, color } = choices[index];
        const face = el('span', { className: 'face' }, text);
        if (color) {
            face.style.setProperty('--swatch', color);
        }
        return el('label', { title: text }, input, face);
    });
    const row = el('div', { className: `choice ${className}`, id, role: 'radiogroup', 'aria-label': name }, ...keys);
    row.addEventListener('change', ({ target }) => set(server, row, ask(Number(target.value))));
    follow(server, row, (state) => {
        const chosen = read(state);
        inputs.forEach((input, index) => {
            input.checked = index === chosen;
        });
    });
    return el('div', { className: 'control' },
        el('span', { className: 'control-name', 'aria-hidden': 'true' }, name), row);
}

/** Several alternatives in a list. `choices` are texts, their index is the value. */
export function list(server, { id, name, choices, read, ask }) {
    const select = el('select', { id },
        ...choices.map((text, index) => el('option', { value: String(index) }, text)));
    select.addEventListener('change', () => set(server, select, ask(Number(select.value))));
    follow(server, select, (state) => {
        const chosen = read(state);
        select.value = chosen === null ? '' : String(chosen);
    });
    return el('div', { className: 'control' }, el('label', { className: 'control-name', htmlFor: id }, name), select);
}

/** A number in a range [least, most], sent when the slider is released. */
export function slider(server, { id, name, range, step, read, ask, text }) {
    const [min, max] = range.map(String);
    const input = el('input', { type: 'range', id, min, max, step: String(step), value: min });
    const shown = el('output', { className: 'number', htmlFor: id }, '--');
    let isHeld = false;
    const showText = () => {
        setText(shown, text(Number(input.value)));
        input.setAttribute('aria-valuetext', shown.textContent);
    };
    input.addEventListener('input', () => {
        isHeld = true;
        showText();
    });
    input.addEventListener('change', () => {
        isHeld = false;
        set(server, input, ask(Number(input.value)));
    });
    // If released where it was, nothing has changed.
    const letGo = () => setTimeout(() => {
        if (isHeld) {
            isHeld = false;
            showStateAgain(server);
        }
    });
    for (const end of ['pointerup', 'pointercancel', 'keyup', 'blur']) {
        input.addEventListener(end, letGo);
    }
    follow(server, input, (state) => {
        const value = read(state);
        if (value !== null) {
            input.value = String(value);
            showText();
        }
    }, () => isHeld);
    return el('div', { className: 'control' },
        el('label', { className: 'control-name', htmlFor: id }, name),
        el('div', { className: 'slider' }, input, shown));
}

/** A button that sends the request returned by `ask`. */
export function action(server, { id, name, drawing = null, ask, keys = null }) {
    const button = el('button', { type: 'button', id, className: 'action', 'aria-keyshortcuts': keys },
        ...(drawing === null ? [] : [icon(drawing)]), name);
    button.addEventListener('click', () => perform(server, button, ask()));
    return button;
}

/** A button for choosing a file. `accept` as in HTML; `onFile` gets the file. */
export function fileChoice({ id, name, accept, onFile }) {
    const input = el('input', { type: 'file', id, accept, className: 'unseen' });
    input.addEventListener('change', () => {
        const [file] = input.files;
        input.value = ''; // the same file can be chosen again
        if (file !== undefined) {
            onFile(file);
        }
    });
    return el('label', { className: 'action file' }, input, icon('upload'), name);
}
