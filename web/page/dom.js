// Helpers to create and update the page's elements.

export const byId = (id) => document.getElementById(id);

/**
 * Creates an element. `properties` are set as properties if the element has them, else as attributes;
 * null ones are skipped. Children are nodes or texts.
 */
export function el(tag, properties = {}, ...children) {
    const node = document.createElement(tag);
    for (const [name, value] of Object.entries(properties)) {
        if (value === null) {
            continue;
        }
        if (name in node && !name.includes('-')) {
            node[name] = value;
        } else {
            node.setAttribute(name, value);
        }
    }
    node.append(...children);
    return node;
}

const SVG = 'http://www.w3.org/2000/svg';

/** An icon of icons.svg; decorative only. */
export function icon(name) {
    const drawing = document.createElementNS(SVG, 'svg');
    drawing.setAttribute('aria-hidden', 'true');
    const use = document.createElementNS(SVG, 'use');
    use.setAttribute('href', `icons.svg#${name}`);
    drawing.append(use);
    return drawing;
}

/** Sets a text only if it differs, to avoid layout and repeated announcements by screen readers. */
export function setText(node, text) {
    if (node.textContent !== text) {
        node.textContent = text;
    }
}

/** An address that may be broken after a slash. */
export function showAddress(node, text) {
    if (node.textContent !== text) {
        node.replaceChildren(...text.split(/(?<=\/)/).flatMap((part) => [part, el('wbr')]));
    }
}

/** Settings of the page, kept between visits if the browser allows it. */
export const memory = {
    get(key) {
        try {
            return localStorage.getItem(`vtrdc.${key}`);
        } catch {
            return null;
        }
    },
    set(key, value) {
        try {
            localStorage.setItem(`vtrdc.${key}`, value);
        } catch {
            // It applies to this visit only.
        }
    },
};
