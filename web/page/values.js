// The sight's values as texts.

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

/** In the order of the types' numbers. */
export const ENCODING_TYPES = ['Video and sound', 'Video only', 'Sound only'];

/** A setting as a number; null when it isn't known. */
export function settingNumber(state, key) {
    const text = state?.settings?.[key];
    const number = text === undefined || text === '' ? NaN : Number(text);
    return Number.isFinite(number) ? number : null;
}

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

/** A moment given in seconds since 1970, in local time. */
export function momentText(seconds) {
    const at = new Date(seconds * 1000);
    const day = `${at.getFullYear()}-${two(at.getMonth() + 1)}-${two(at.getDate())}`;
    return `${day} ${clockText(at)}`;
}

export function clockText(at) {
    return `${two(at.getHours())}:${two(at.getMinutes())}:${two(at.getSeconds())}`;
}

/** When a recording began, in seconds since 1970, according to its file name; null without. */
export function beginningOf(recordingName) {
    const digits = recordingName.match(/_(\d{4})(\d\d)(\d\d)(\d\d)(\d\d)(\d\d)_/);
    if (digits === null) {
        return null;
    }
    const [year, month, day, hour, minute, second] = digits.slice(1).map(Number);
    return new Date(year, month - 1, day, hour, minute, second).getTime() / 1000;
}
