// The controls' building blocks. Each shows what the sight says, never what was only asked for: a
// control changes when the next state does, and one whose act failed goes back. One that a number is
// set with, or one of several, shows what was set while it is held or its act is on its way.
import { el, icon, setText, showAddress } from './dom.js';

/** Where a group of controls says what its last act came to; failures only. */
function answerPlace(group) {
    let place = group.querySelector(':scope > .answer');
    if (place === null) {
        place = el('p', { className: 'answer' });
        group.append(place);
    }
    return place;
}

export const isBusy = (control) => control.getAttribute('aria-busy') === 'true';

/** What an act of an earlier daemon came to says nothing of this one. */
export function forgetAnswers() {
    for (const place of document.querySelectorAll('.answer')) {
        setText(place, '');
    }
}

function showStateAgain(link) {
    if (link.state !== null) {
        link.tell('state', link.state);
    }
}

/** True when it went well. A failure is shown in the control's group; the transcript reads it out. */
async function actFor(link, control, message) {
    const { ok, text } = await link.act(message);
    setText(answerPlace(control.closest('fieldset')), ok ? '' : text || 'failed');
    return ok;
}

/**
 * Performs an act for a button: busy until the answer is there, and deaf meanwhile. After a failure all
 * controls show the last known state again.
 */
export async function perform(link, control, message) {
    if (isBusy(control)) {
        return;
    }
    control.setAttribute('aria-busy', 'true');
    const ok = await actFor(link, control, message);
    control.removeAttribute('aria-busy');
    if (!ok) {
        showStateAgain(link);
    }
}

// A state that tells of a change comes a moment after the answer; one that is late by more than
// this tells that there was none.
const SETTLE_MS = 1000;

/** The act that each control wants next; null when it only waits for an answer. */
const wanted = new WeakMap();

/**
 * Performs an act for a control with a value, be it on or off. Of values that are set meanwhile the last
 * is sent.
 */
export async function set(link, control, message) {
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
        ok = await actFor(link, control, next);
    }
    control.removeAttribute('aria-busy');
    setTimeout(() => showStateAgain(link), ok ? SETTLE_MS : 0);
}

/** Has a control with a value show each state, unless it is held or its act is on its way. */
export function follow(link, control, show, isHeld = () => false) {
    link.on('state', (state) => {
        if (!isHeld() && !isBusy(control)) {
            show(state);
        }
    });
}

export const command = (line) => ({ act: 'command', line });

/**
 * A switch. `read` gives true, false or null from the state; `ask` the act for on or off. Who presses it
 * wants the other of what it shows; that is asked for once, however often it is pressed until it shows.
 */
export function toggle(link, { id, name, drawing = null, read, ask, note = null }) {
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
            set(link, button, ask(isOn));
        }
    });
    const below = note === null ? null : el('p', { className: 'note number', id: `${id}-note` });
    if (below !== null) {
        button.setAttribute('aria-describedby', below.id);
    }
    link.on('state', (state) => {
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
 * One of a few: a group of radio buttons that look like a row of keys. `choices` are {text} or
 * {text, color}; `read` gives the index or null, `ask` the act for an index.
 */
export function choice(link, { id, name, choices, read, ask, className = '' }) {
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
    row.addEventListener('change', ({ target }) => set(link, row, ask(Number(target.value))));
    follow(link, row, (state) => {
        const chosen = read(state);
        inputs.forEach((input, index) => {
            input.checked = index === chosen;
        });
    });
    return el('div', { className: 'control' },
        el('span', { className: 'control-name', 'aria-hidden': 'true' }, name), row);
}

/** One of several, from a list. `choices` are texts, their index is the value. */
export function list(link, { id, name, choices, read, ask }) {
    const select = el('select', { id },
        ...choices.map((text, index) => el('option', { value: String(index) }, text)));
    select.addEventListener('change', () => set(link, select, ask(Number(select.value))));
    follow(link, select, (state) => {
        const chosen = read(state);
        select.value = chosen === null ? '' : String(chosen);
    });
    return el('div', { className: 'control' }, el('label', { className: 'control-name', htmlFor: id }, name), select);
}

/** A number from a range; it is sent when it is let go. */
export function slider(link, { id, name, max, step, read, ask, text }) {
    const input = el('input', { type: 'range', id, min: '0', max: String(max), step: String(step), value: '0' });
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
        set(link, input, ask(Number(input.value)));
    });
    // One that is let go where it was taken up has not changed.
    const letGo = () => setTimeout(() => {
        if (isHeld) {
            isHeld = false;
            showStateAgain(link);
        }
    });
    for (const end of ['pointerup', 'pointercancel', 'keyup', 'blur']) {
        input.addEventListener(end, letGo);
    }
    follow(link, input, (state) => {
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

/** A button that performs an act. `ask` gives the act. */
export function action(link, { id, name, drawing = null, ask, keys = null }) {
    const button = el('button', { type: 'button', id, className: 'action', 'aria-keyshortcuts': keys },
        ...(drawing === null ? [] : [icon(drawing)]), name);
    button.addEventListener('click', () => perform(link, button, ask()));
    return button;
}

/** A button that opens the browser's choice of files. `accept` as in HTML; `onFile` gets the one chosen. */
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
