// Lists recordings and snapshots, to view, play, download and delete.
import { deleteButton } from './delete.js';
import { byId, el, icon, setText } from './dom.js';
import { durationText, momentText, sizeText } from './values.js';
import { startViewer } from './viewer.js';

// Thumbnails are full-size pictures, so limit how many are loaded at once.
const SHOWN_AT_ONCE = 48;

const downloadUrl = (url) => `${url}?download`;

function downloadLink({ name, url }) {
    const label = `Download ${name}`;
    return el('a', { className: 'tool', href: downloadUrl(url), download: name, 'aria-label': label, title: 'Download' },
        icon('download'));
}

const length = ({ seconds }) => (seconds === null ? 'incomplete' : durationText(seconds));

function recordingRow(server, file, view) {
    const isSound = file.name.startsWith('audio_');
    const play = el('button', { type: 'button', className: 'tool', 'aria-label': `Play ${file.name}` },
        icon(isSound ? 'sound' : 'play'));
    const facts = el('span', { className: 'facts number' });
    const remove = deleteButton(server, 'video', file);
    const node = el('li', {}, play,
        el('span', { className: 'file' }, el('span', { className: 'file-name number' }, file.name), facts),
        downloadLink(file), remove);
    play.addEventListener('click', () => view(isSound ? 'audio' : 'video', file));
    return {
        node,
        update(now) {
            play.disabled = now.growing;
            remove.disabled = now.growing;
            node.classList.toggle('growing', now.growing);
            setText(facts, now.growing ? `${sizeText(now.bytes)} · recording`
                : [length(now), sizeText(now.bytes), momentText(now.time).slice(5)].join(' · '));
        },
    };
}

function snapshotTile(server, file, view) {
    const show = el('button', { type: 'button', className: 'thumbnail', 'aria-label': `Show ${file.name}` },
        el('img', { src: file.url, alt: '', loading: 'lazy', decoding: 'async', width: 160, height: 120 }));
    const moment = el('span');
    const size = el('span');
    show.addEventListener('click', () => view('img', file));
    const node = el('li', {}, show, el('span', { className: 'tile-foot' },
        el('span', { className: 'facts number' }, moment, size),
        el('span', { className: 'tile-tools' }, downloadLink(file), deleteButton(server, 'image', file))));
    return {
        node,
        update(now) {
            node.title = now.name;
            setText(moment, momentText(now.time).slice(5));
            setText(size, sizeText(now.bytes));
        },
    };
}

/** A list that keeps the nodes of unchanged files, and with them focus and loaded pictures. */
class FileList {
    #node;
    #rows = new Map();
    #build;
    #files = [];
    #limit = SHOWN_AT_ONCE;
    #more = el('button', { type: 'button', className: 'action more' }, 'Show more');

    constructor(node, build) {
        this.#node = node;
        this.#build = build;
        this.#more.addEventListener('click', () => {
            this.#limit += SHOWN_AT_ONCE;
            this.show(this.#files);
        });
        node.after(this.#more);
        this.show([]);
    }

    show(files) {
        this.#files = files;
        const shown = files.slice(0, this.#limit);
        this.#dropOthers(new Set(shown.map(({ url }) => url)));
        shown.forEach((file, index) => this.#place(file, index));
        this.#more.hidden = files.length <= this.#limit;
        this.#node.classList.toggle('empty', files.length === 0);
    }

    #dropOthers(urls) {
        for (const [url, row] of this.#rows) {
            if (!urls.has(url)) {
                row.node.remove();
                this.#rows.delete(url);
            }
        }
    }

    #place(file, index) {
        if (!this.#rows.has(file.url)) {
            this.#rows.set(file.url, this.#build(file));
        }
        const row = this.#rows.get(file.url);
        row.update(file);
        if (this.#node.children[index] !== row.node) {
            this.#node.insertBefore(row.node, this.#node.children[index] ?? null);
        }
    }
}

/** Without the server, files are not available. */
function followServer(server) {
    const away = el('p', { className: 'note', hidden: true }, 'Available when this page’s server is running again.');
    byId('media-lists').before(away);
    server.on('presence', (presence) => {
        away.hidden = presence !== 'lost';
        byId('media-lists').inert = presence !== 'there';
    });
}

export function startMedia(server) {
    followServer(server);
    const view = startViewer(server, downloadUrl);
    const recordings = new FileList(byId('recordings'), (file) => recordingRow(server, file, view));
    const snapshots = new FileList(byId('snapshots'), (file) => snapshotTile(server, file, view));
    server.on('media', (media) => {
        recordings.show(media.recordings);
        snapshots.show(media.snapshots);
        setText(byId('recordings-count'), String(media.recordings.length));
        setText(byId('snapshots-count'), String(media.snapshots.length));
    });
}
