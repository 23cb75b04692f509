// What a line of the log says.
const LINE = /^\w{3} \w{3} [ \d]\d (\d\d:\d\d:\d\d) \d{4} \[(DEBUG|INFO|WARN|ERROR)\](\[errno=\d+\])?: ?(.*)$/s;

// GStreamer colours its own lines for terminals.
const COLORS = /\u001b\[[\d;]*m/g;

// What a scene says: of its own by console.log, or an error in its script.
const SCENE = /^scene: (.*)$/s;

export const LEVELS = ['DEBUG', 'INFO', 'WARN', 'ERROR', 'SCENE', 'other'];

/** A line taken apart: {time, level, text}; `level` is 'other' when it isn't the daemon's own form. */
export function parseLine(raw) {
    const line = raw.replace(COLORS, '');
    const parts = line.match(LINE);
    if (parts === null) {
        const scene = line.match(SCENE);
        return { time: '', level: scene === null ? 'other' : 'SCENE', text: scene?.[1] ?? line };
    }
    const [, time, level, errno = '', text] = parts;
    return { time, level, text: errno === '' ? text : `${errno} ${text}` };
}
