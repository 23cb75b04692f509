// What a line of the log says.
const LINE = /^\w{3} \w{3} [ \d]\d (\d\d:\d\d:\d\d) \d{4} \[(DEBUG|INFO|WARN|ERROR)\](\[errno=\d+\])?: ?(.*)$/s;

// GStreamer colours its own lines for terminals.
const COLORS = /\u001b\[[\d;]*m/g;

export const LEVELS = ['DEBUG', 'INFO', 'WARN', 'ERROR', 'other'];

/** A line taken apart: {time, level, text}; `level` is 'other' when it isn't the daemon's own form. */
export function parseLine(raw) {
    const line = raw.replace(COLORS, '');
    const parts = line.match(LINE);
    if (parts === null) {
        return { time: '', level: 'other', text: line };
    }
    const [, time, level, errno = '', text] = parts;
    return { time, level, text: errno === '' ? text : `${errno} ${text}` };
}
