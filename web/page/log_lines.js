// Parses the lines of the log.
const LINE = /^\w{3} \w{3} [ \d]\d (\d\d:\d\d:\d\d) \d{4} \[(DEBUG|INFO|WARN|ERROR)\](\[errno=\d+\])?: ?(.*)$/s;

// GStreamer colours its lines for terminals.
const COLORS = /\u001b\[[\d;]*m/g;

// Messages of a scene: console.log, or script errors.
const SCENE = /^scene: (.*)$/s;

export const LEVELS = ['DEBUG', 'INFO', 'WARN', 'ERROR', 'SCENE', 'other'];

/** Parses a line into {time, level, text}; `level` is 'other' for lines not in the daemon's format. */
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
