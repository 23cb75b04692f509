// Short ways to build and touch the page's elements.

export const byId = (id) => document.getElementById(id);

/**
 * An element. `properties` are set as properties where the element has them, as attributes
 * otherwise; one that is null is left out. Children are nodes or texts.
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

/** A drawing of icons.svg; for the eye only. */
export function icon(name) {
    const drawing = document.createElementNS(SVG, 'svg');
    drawing.setAttribute('aria-hidden', 'true');
    const use = document.createElementNS(SVG, 'use');
    use.setAttribute('href', `icons.svg#${name}`);
    drawing.append(use);
    return drawing;
}

/** Sets a text only when it differs: what doesn't change isn't laid out or read out again. */
export function setText(node, text) {
    if (node.textContent !== text) {
        node.textContent = text;
    }
}

/** A text that may be broken after a slash. */
export function showAddress(node, text) {
    if (node.textContent !== text) {
        node.replaceChildren(...text.split(/(?<=\/)/).flatMap((part) => [part, el('wbr')]));
    }
}

/** Settings of the page that are kept between visits, if the browser stores them. */
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
            // Then it applies to this visit.
        }
    },
};
