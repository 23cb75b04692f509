// Parses the control page's protocol document for the server's messages.
import { readFileSync } from 'node:fs';

const DOCUMENT = readFileSync(new URL('../../web/PROTOCOL.md', import.meta.url), 'utf8');

/** A message's fields in table order: types by path. */
export function documentedFields(type) {
    const [, section = ''] = DOCUMENT.split(`\n### \`${type}\`\n`);
    const [table] = section.split(/\n##/);
    return new Map([...table.matchAll(/^\| `([^`]+)` \| ([^|]+) \|/gm)].map(([, path, types]) => [path, types]));
}

const isOf = {
    boolean: (value) => typeof value === 'boolean',
    integer: (value) => Number.isInteger(value),
    null: (value) => value === null,
    number: (value) => typeof value === 'number',
    string: (value) => typeof value === 'string',
    'array of numbers': (value) => Array.isArray(value) && value.every(isOf.number),
    'array of strings': (value) => Array.isArray(value) && value.every(isOf.string),
    'array of points': (value) => Array.isArray(value) && value.every((each) => isOf['array of numbers'](each) && each.length === 2),
    'array of limits': (value) => Array.isArray(value) && value.every((each) => each === null || isOf.number(each)),
    object: (value) => value?.constructor === Object,
};

/** A message's values with their paths; values documented as a whole are not split. */
function leaves(value, path, documented) {
    if (documented.has(path) || value === null || typeof value !== 'object') {
        return [[path, value]];
    }
    if (Array.isArray(value)) {
        return value.flatMap((each) => leaves(each, `${path}[]`, documented));
    }
    return Object.entries(value).flatMap(([key, each]) =>
        leaves(each, path === '' ? key : `${path}.${key}`, documented));
}

/** Differences between a message and its table: missing or additional fields, other types. */
export function differencesFromDocument({ type, ...message }) {
    const documented = documentedFields(type);
    const found = leaves(message, '', documented);
    const wrong = found.filter(([path, value]) =>
        !documented.get(path)?.split(' or ').some((each) => isOf[each](value)));
    const missing = [...documented.keys()].filter((path) => !found.some(([each]) => each === path));
    return [...wrong.map(([path, value]) => `${type}: ${path} is ${JSON.stringify(value)}`),
        ...missing.map((path) => `${type}: there is no ${path}`)];
}
