// A simulated board for a test: folder, daemon, and the page's server.
import { spawn, execFileSync } from 'node:child_process';
import { existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { connect } from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';

const FRONT_DOOR = new URL('../../scripts/sim', import.meta.url).pathname;

// Time limit for anything on a loaded machine.
export const PATIENCE_MS = 60_000;

/** Waits until `probe` returns something true, and returns it; fails with `what` on timeout. */
export async function until(what, probe) {
    const end = Date.now() + PATIENCE_MS;
    for (;;) {
        const found = await probe();
        if (found) {
            return found;
        }
        if (Date.now() > end) {
            throw new Error(`never: ${what}`);
        }
        await new Promise((resolve) => setTimeout(resolve, 50));
    }
}

export class SimulatedBoard {
    #daemon = null;
    #ended = null;

    constructor() {
        this.folder = mkdtempSync(join(tmpdir(), 'vtrdc-web-'));
        // Pictures are compared: no noise.
        mkdirSync(this.at('var/lib/vtrcore'), { recursive: true });
        writeFileSync(this.at('var/lib/vtrcore/sensor'), '');
        /** The page's address with its token. */
        this.address = null;
        this.log = [];
    }

    at(path) {
        return join(this.folder, path);
    }

    text(path) {
        return readFileSync(this.at(path), 'utf8');
    }

    /** Runs a verb of scripts/sim; returns its status. */
    verb(...words) {
        execFileSync(FRONT_DOOR, [...words, '--board', this.folder], { stdio: 'inherit' });
    }

    /** Starts the daemon with its page or, with the verb page, only the page. */
    async start(...words) {
        const options = words.length > 0 ? words : ['--no-build'];
        if (this.address !== null) {
            options.push('--port', new URL(this.address).port);
        }
        const started = spawn(FRONT_DOOR, [...options, '--board', this.folder],
            { stdio: ['ignore', 'pipe', 'inherit'] });
        this.#ended = new Promise((resolve) => started.on('exit', (status, signal) =>
            resolve(status ?? signal)));
        this.#daemon = started;
        createInterface({ input: started.stdout }).on('line', (line) => this.log.push(line));
        await until('the page is served', () => {
            const line = this.log.find((each) => each.includes('http://127.0.0.1:'));
            this.address = line?.match(/http:\/\/127\.0\.0\.1:\d+\/\S*/)?.[0] ?? null;
            return this.address;
        });
    }

    /** The page's address without token and trailing slash. */
    get origin() {
        return new URL(this.address).origin;
    }

    get token() {
        return new URL(this.address).searchParams.get('token');
    }

    /** The cookie that a browser sends after opening the page. */
    get cookie() {
        return `vtrdc-page-${new URL(this.address).port}=${this.token}`;
    }

    /** Waits for a line of the daemon's log. */
    async logged(text) {
        return until(`"${text}" in the log`, () => this.log.find((line) => line.includes(text)));
    }

    /** Sends a request as another client. */
    ask(request) {
        connect(this.at('run/vtrdc.socket')).end(request);
    }

    signal(name) {
        this.#daemon.kill(name);
    }

    /** Ends what was started, by a signal; returns its exit status. */
    async stop(signal = 'SIGTERM') {
        const daemon = this.#daemon;
        this.#daemon = null;
        this.log = [];
        daemon?.kill(signal);
        return this.#ended;
    }

    /** Process id of the page's server, or undefined. */
    get server() {
        return readdirSync('/proc').find((pid) => /^\d+$/.test(pid) && this.#isServer(pid));
    }

    #isServer(pid) {
        try {
            const words = readFileSync(`/proc/${pid}/cmdline`, 'utf8').split('\0');
            return words[0].endsWith('/vtrdc-web') && words.includes(this.folder);
        } catch {
            return false; // it has ended meanwhile
        }
    }

    async remove() {
        if (this.#daemon !== null) {
            await this.stop();
        }
        if (existsSync(this.at('run/vtrdc.status'))) { // of a daemon started by the page
            this.verb('stop');
        }
        if (this.server !== undefined) {
            process.kill(Number(this.server));
        }
        rmSync(this.folder, { recursive: true, force: true });
    }
}
