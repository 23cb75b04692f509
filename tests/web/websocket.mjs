// A WebSocket client that may misbehave: stops reading, or sends what no page sends.
import { once } from 'node:events';
import { connect } from 'node:net';

/** The header of a text frame, masked with zeros: clients must mask. */
function head(size) {
    const masked = 0x80;
    if (size < 126) {
        return Buffer.from([0x81, masked | size, 0, 0, 0, 0]);
    }
    const bytes = Buffer.alloc(14);
    bytes[0] = 0x81;
    bytes[1] = masked | 127;
    bytes.writeBigUInt64BE(BigInt(size), 2);
    return bytes;
}

export class WebSocketClient {
    #socket;
    #received = Buffer.alloc(0);

    /** The server's messages so far, parsed. */
    messages = [];
    isClosed = false;

    /** Connects to a path of the board's page, with its cookie. */
    static async open(board, path) {
        const client = new WebSocketClient();
        await client.#connect(new URL(board.origin), path, board.cookie);
        return client;
    }

    async #connect({ hostname, port, host }, path, cookie) {
        this.#socket = connect(Number(port), hostname);
        this.#socket.on('error', () => {}); // 'close' follows
        this.#socket.on('close', () => {
            this.isClosed = true;
        });
        this.#socket.write(`GET ${path} HTTP/1.1\r\nHost: ${host}\r\nCookie: ${cookie}\r\n`
            + 'Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n'
            + 'Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n');
        const [answer] = await once(this.#socket, 'data');
        const end = answer.indexOf('\r\n\r\n');
        if (!answer.toString().startsWith('HTTP/1.1 101 ') || end < 0) {
            throw new Error(`no WebSocket: ${answer}`);
        }
        this.#take(answer.subarray(end + 4));
        this.#socket.on('data', (bytes) => this.#take(bytes));
    }

    send(text) {
        this.#socket.write(Buffer.concat([head(Buffer.byteLength(text)), Buffer.from(text)]));
    }

    /** Stops reading. */
    stopReading() {
        this.#socket.pause();
    }

    readOn() {
        this.#socket.resume();
    }

    close() {
        this.#socket.destroy();
    }

    #take(bytes) {
        this.#received = Buffer.concat([this.#received, bytes]);
        for (let frame = this.#nextFrame(); frame !== null; frame = this.#nextFrame()) {
            if (frame.kind === 1) {
                this.messages.push(JSON.parse(frame.payload.toString()));
            }
        }
    }

    #nextFrame() {
        const short = this.#received.length >= 2 ? this.#received[1] : 0;
        const start = { 126: 4, 127: 10 }[short] ?? 2;
        if (this.#received.length < start) {
            return null;
        }
        const size = { 2: () => short, 4: () => this.#received.readUInt16BE(2),
            10: () => Number(this.#received.readBigUInt64BE(2)) }[start]();
        if (this.#received.length < start + size) {
            return null;
        }
        const frame = { kind: this.#received[0] & 0x0f, payload: this.#received.subarray(start, start + size) };
        this.#received = this.#received.subarray(start + size);
        return frame;
    }
}
