// The WebSocket for state, lists, log and requests; reconnects automatically.

const RETRY_MS = 1000;

function socketAddress(path) {
    return new URL(path, location.href).href.replace(/^http/, 'ws');
}

/** A WebSocket that reconnects a second after each close. */
export function reconnectingSocket(path, { onOpen, onMessage, onClose }) {
    const open = () => {
        const socket = new WebSocket(socketAddress(path));
        socket.binaryType = 'blob';
        socket.onopen = () => onOpen(socket);
        socket.onmessage = ({ data }) => onMessage(data, socket);
        socket.onclose = () => {
            onClose();
            setTimeout(open, RETRY_MS);
        };
    };
    open();
}

/** True if the server runs but rejects this page because its token has changed. */
async function isRefused() {
    try {
        return (await fetch('.', { method: 'HEAD' })).status === 403;
    } catch {
        return false;
    }
}

/**
 * Emits each message of the server by type ('hello', 'state', 'log', 'media', 'footage'), 'presence' when
 * the server comes or goes, and 'asked' and 'response' for each request. See web/PROTOCOL.md.
 */
export class ServerConnection extends EventTarget {
    #socket = null;
    #nextId = 1;
    #waiting = new Map();

    /** The last known state; null before the first. */
    state = null;
    /** 'connecting' until the first connection, then 'there', 'lost' or 'refused'. */
    presence = 'connecting';
    /** The command name of scripts/sim, and the command that starts this board's daemon. */
    simCommand = 'scripts/sim';
    startCommand = 'scripts/sim';

    open() {
        reconnectingSocket('events', {
            onOpen: (socket) => {
                this.#socket = socket;
                this.#setPresence('there');
            },
            onMessage: (text) => this.#take(JSON.parse(text)),
            onClose: () => this.#lose(),
        });
    }

    /** Returns a function that removes the listener. */
    on(type, listener) {
        const listen = ({ detail }) => listener(detail);
        this.addEventListener(type, listen);
        return () => this.removeEventListener(type, listen);
    }

    emit(type, detail) {
        this.dispatchEvent(new CustomEvent(type, { detail }));
    }

    /** Sends a request; resolves to {ok, text}, never rejects. */
    async request(message) {
        this.emit('asked', message);
        const response = await this.#send(message);
        this.emit('response', { message, ...response });
        return response;
    }

    #send(message) {
        if (this.#socket?.readyState !== WebSocket.OPEN) {
            return Promise.resolve({ ok: false, text: 'not connected' });
        }
        const id = this.#nextId++;
        return new Promise((resolve) => {
            this.#waiting.set(id, resolve);
            this.#socket.send(JSON.stringify({ id, ...message }));
        });
    }

    #take(message) {
        if (message.type === 'response') {
            this.#waiting.get(message.id)?.({ ok: message.ok, text: message.text });
            this.#waiting.delete(message.id);
            return;
        }
        if (message.type === 'state') {
            this.state = message;
        } else if (message.type === 'hello') {
            this.simCommand = message.sim_command;
            this.startCommand = message.start_command;
        }
        this.emit(message.type, message);
    }

    async #lose() {
        this.#socket = null;
        this.#abandonRequests();
        const presence = await isRefused() ? 'refused' : 'lost';
        if (this.#socket === null) {
            this.#setPresence(presence);
        }
    }

    #abandonRequests() {
        for (const resolve of this.#waiting.values()) {
            resolve({ ok: false, text: 'connection closed before the response' });
        }
        this.#waiting.clear();
    }

    #setPresence(presence) {
        if (this.presence !== presence) {
            this.presence = presence;
            this.emit('presence', presence);
        }
    }
}

/**
 * Whether commands can reach the daemon: 'up', 'silent' (no response), 'gone' (no daemon), 'lost' (no
 * server), 'refused' (invalid token) or 'connecting'.
 */
export function condition(server) {
    if (server.presence !== 'there') {
        return server.presence;
    }
    return server.state?.daemon ?? 'connecting';
}
