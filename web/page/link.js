// The connection for state, lists, log and acts; it comes back by itself.

const RETRY_MS = 1000;

function socketAddress(path) {
    return new URL(path, location.href).href.replace(/^http/, 'ws');
}

/** A socket to the server that is opened anew, a second after each close, for as long as the page lives. */
export function keepSocket(path, { onOpen, onMessage, onClose }) {
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

/**
 * Tells of each message of the server by its type ('hello', 'state', 'log', 'media', 'footage'), of
 * 'presence' when the server comes or goes, and of 'answered' after each act.
 */
export class Link extends EventTarget {
    #socket = null;
    #nextId = 1;
    #waiting = new Map();

    /** The last known state; null before the first. */
    state = null;
    /** 'connecting' until the first connection, then 'there' or 'lost'. */
    presence = 'connecting';
    /** The program that a person acts on the board with, and how this board's daemon is started. */
    frontDoor = 'scripts/sim';
    startCommand = 'scripts/sim';

    open() {
        keepSocket('events', {
            onOpen: (socket) => {
                this.#socket = socket;
                this.#setPresence('there');
            },
            onMessage: (text) => this.#take(JSON.parse(text)),
            onClose: () => {
                this.#socket = null;
                this.#abandonActs();
                this.#setPresence('lost');
            },
        });
    }

    /** Gives the function that ends it. */
    on(type, listener) {
        const listen = ({ detail }) => listener(detail);
        this.addEventListener(type, listen);
        return () => this.removeEventListener(type, listen);
    }

    tell(type, detail) {
        this.dispatchEvent(new CustomEvent(type, { detail }));
    }

    /** Has the server do something; resolves to {ok, text}, never rejects. */
    async act(message) {
        const answer = await this.#send(message);
        this.tell('answered', { message, ...answer });
        return answer;
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
        if (message.type === 'answer') {
            this.#waiting.get(message.id)?.({ ok: message.ok, text: message.text });
            this.#waiting.delete(message.id);
            return;
        }
        if (message.type === 'state') {
            this.state = message;
        } else if (message.type === 'hello') {
            this.frontDoor = message.front_door;
            this.startCommand = message.start_command;
        }
        this.tell(message.type, message);
    }

    #abandonActs() {
        for (const resolve of this.#waiting.values()) {
            resolve({ ok: false, text: 'the connection ended before the answer' });
        }
        this.#waiting.clear();
    }

    #setPresence(presence) {
        if (this.presence !== presence) {
            this.presence = presence;
            this.tell('presence', presence);
        }
    }
}

/**
 * Whether commands can be expected to reach the daemon: 'up', 'silent', 'gone', 'lost' (the server,
 * too) or 'connecting'.
 */
export function condition(link) {
    if (link.presence !== 'there') {
        return link.presence;
    }
    return link.state?.daemon ?? 'connecting';
}
