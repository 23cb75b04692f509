// Formats the sight's values.

const COLOR_NAMES = {
    '#000000': 'Black',
    '#ffffff': 'White',
    '#c8c8c7': 'Grey',
    '#cc2c24': 'Red',
    '#008351': 'Green',
    '#f67828': 'Orange',
    '#0089b6': 'Blue',
};

export const colorName = (color) => COLOR_NAMES[color] ?? color;

/** By type number. */
export const ENCODING_TYPES = ['Video and sound', 'Video only', 'Sound only'];

/** A setting of the sight; null if unknown. */
export const setting = (key) => (state) => state?.sight?.settings?.[key] ?? null;

/** Whether a setting with values 0 and 1 is 1; null if unknown. */
export const isSet = (key) => (state) => {
    const value = setting(key)(state);
    return value === null ? null : value !== 0;
};

/** Whether an output ('recording', 'tcp', 'http') is not off; null if unknown. */
export const isRunning = (output) => ({ sight }) => (sight === null ? null : sight.outputs[output].state !== 'off');

const two = (number) => String(number).padStart(2, '0');

export function durationText(seconds) {
    const whole = Math.max(0, Math.floor(seconds));
    const hours = Math.floor(whole / 3600);
    const rest = `${two(Math.floor(whole / 60) % 60)}:${two(whole % 60)}`;
    return hours > 0 ? `${hours}:${rest}` : rest;
}

export function sizeText(bytes) {
    if (bytes < 1000) {
        return `${bytes} B`;
    }
    const units = ['kB', 'MB', 'GB'];
    let size = bytes / 1000;
    let unit = 0;
    while (size >= 999.5 && unit < units.length - 1) {
        size /= 1000;
        ++unit;
    }
    return `${size.toFixed(size < 10 ? 1 : 0)} ${units[unit]}`;
}

/** Formats seconds since 1970 as local time. */
export function momentText(seconds) {
    const at = new Date(seconds * 1000);
    const day = `${at.getFullYear()}-${two(at.getMonth() + 1)}-${two(at.getDate())}`;
    return `${day} ${clockText(at)}`;
}

export function clockText(at) {
    return `${two(at.getHours())}:${two(at.getMinutes())}:${two(at.getSeconds())}`;
}
