// The page's server from an attacker's point of view.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { appendFileSync, chmodSync, closeSync, existsSync, mkdirSync, openSync, mkdtempSync, readFileSync, readdirSync, readlinkSync, rmSync, statSync, symlinkSync, truncateSync, writeFileSync } from 'node:fs';
import { Agent, get, request } from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { connect } from 'node:net';
import { SimulatedBoard, until } from './board.mjs';
import { WebSocketClient } from './websocket.mjs';

const board = new SimulatedBoard();

// Sends the path unchanged; fetch would normalise it.
function ask(path, { method = 'GET', headers = {}, body = null, cookie = board.cookie } = {}) {
    const { hostname, port } = new URL(board.address);
    return new Promise((resolve, reject) => {
        const asked = request({
            hostname, port, path, method, agent: false, headers: { Cookie: cookie, ...headers },
        });
        asked.on('error', reject);
        asked.on('upgrade', (answer, socket) => {
            socket.destroy();
            resolve({ status: answer.statusCode, headers: answer.headers });
        });
        asked.on('response', (answer) => {
            const parts = [];
            answer.on('data', (part) => parts.push(part));
            answer.on('end', () => resolve({
                status: answer.statusCode, headers: answer.headers, body: Buffer.concat(parts),
            }));
        });
        asked.end(body);
    });
}

// Sends bytes unchanged, then end of file; returns the response.
function send(text) {
    const { hostname, port } = new URL(board.address);
    return new Promise((resolve, reject) => {
        const parts = [];
        const socket = connect(Number(port), hostname, () => socket.end(text));
        socket.on('data', (part) => parts.push(part));
        socket.on('error', reject);
        socket.on('close', () => resolve(Buffer.concat(parts).toString()));
    });
}

const socket_headers = {
    Connection: 'Upgrade',
    Upgrade: 'websocket',
    'Sec-WebSocket-Version': '13',
    'Sec-WebSocket-Key': 'dGhlIHNhbXBsZSBub25jZQ==',
};

before(() => board.start());
after(() => board.remove());

test('only the page itself is served', async () => {
    const own = board.origin;
    const page = await ask('/');
    assert.equal(page.status, 200);
    assert.match(page.headers['content-security-policy'], /default-src 'self'/);
    for (const headers of [
        { Host: 'sight.example' },
        { Host: `sight.example:${new URL(own).port}` },
        { Origin: 'https://sight.example' },
        { Origin: 'null' },
        { Origin: own.replace('127.0.0.1', 'localhost') },
        { 'Sec-Fetch-Site': 'cross-site', 'Sec-Fetch-Mode': 'no-cors' },
    ]) {
        for (const path of ['/', '/events', '/media/video/x.mp4']) {
            const answer = await ask(path, { headers: { ...socket_headers, ...headers } });
            assert.equal(answer.status, 403, `${path} with ${JSON.stringify(headers)}`);
        }
        const scene = await ask('/scene', { method: 'POST', headers, body: 'Item {}' });
        assert.equal(scene.status, 403, `a scene with ${JSON.stringify(headers)}`);
    }
    // A link from elsewhere may be followed, but a form from elsewhere must not be accepted.
    const navigation = { 'Sec-Fetch-Site': 'cross-site', 'Sec-Fetch-Mode': 'navigate' };
    assert.equal((await ask('/', { headers: navigation })).status, 200);
    assert.equal((await ask('/scene', { method: 'POST', headers: navigation, body: 'Item {}' })).status, 403);
    for (const path of ['/events', '/picture']) {
        const answer = await ask(path, { headers: { ...socket_headers, Origin: own } });
        assert.equal(answer.status, 101, path);
    }
});

test('access needs the token', async () => {
    const { cookie, token } = board;
    const wrong = token.replace(/.$/, (last) => (last === '0' ? '1' : '0'));
    for (const path of ['/', '/main.js', '/media/video/x.mp4', '/events', '/picture', '/nothing']) {
        for (const bad of ['', cookie.replace(token, wrong), cookie.replace(token, token.slice(1)),
            cookie.replace(token, ''), `other=${token}`, `x${cookie}`]) {
            const answer = await ask(path, { headers: socket_headers, cookie: bad });
            assert.equal(answer.status, 403, `${path} with ${bad}`);
        }
        for (const bad of [wrong, '', token.toUpperCase(), `${token}0`]) {
            const answer = await ask(`${path}?token=${bad}`, { headers: socket_headers, cookie: '' });
            assert.equal(answer.status, 403, `${path} with ${bad}`);
        }
    }
    for (const path of ['/scene', '/footage/x.avi']) {
        assert.equal((await ask(path, { method: 'POST', body: 'Item {}', cookie: '' })).status, 403);
    }
    assert.match((await ask('/', { cookie: '' })).body.toString(), /open the address/);

    const first = await ask(`/?token=${token}`, { cookie: '' });
    assert.equal(first.status, 200);
    assert.deepEqual(first.headers['set-cookie'], [`${cookie}; Path=/; HttpOnly; SameSite=Strict`]);
    assert.equal((await ask('/', { cookie: `a=b; ${cookie}; c=d` })).status, 200);
    assert.equal(statSync(board.at('run/page.token')).mode & 0o777, 0o600);
});

test('no path leaves the folders of board and page', async () => {
    mkdirSync(board.at('media/video'), { recursive: true });
    writeFileSync(board.at('media/video/here.mp4'), 'here');
    symlinkSync('here.mp4', board.at('media/video/link.mp4'));
    symlinkSync('/etc/hostname', board.at('media/video/out.mp4'));
    symlinkSync('../../../../../../../../../../etc', board.at('media/video/etc'));
    assert.equal((await ask('/media/video/link.mp4')).body.toString(), 'here');
    for (const path of [
        '/media/video/out.mp4',
        '/media/video/etc/hostname',
        '/media/video/../../etc/vtrdc.conf',
        '/media/video/..%2f..%2fopt%2fokr%2fosd_okr%2fqml%2fmain.qml',
        '/media/video/%2e%2e/%2e%2e/dev/fb0',
        '/media/../dev/fb0',
        '/media/video',
        '/media/video/',
        '/media',
        '/../CMakeLists.txt',
        '/%2e%2e/CMakeLists.txt',
        '/..%2fCMakeLists.txt',
    ]) {
        const { status } = await ask(path);
        assert.ok(status === 404 || status === 400, `${path}: ${status}`);
    }
});

test('part of a recording can be requested', async () => {
    writeFileSync(board.at('media/video/parts.mp4'), '0123456789');
    for (const [range, status, body, content] of [
        ['bytes=3-5', 206, '345', 'bytes 3-5/10'],
        ['bytes=8-', 206, '89', 'bytes 8-9/10'],
        ['bytes=8-99', 206, '89', 'bytes 8-9/10'],
        ['bytes=-4', 206, '6789', 'bytes 6-9/10'],
        ['bytes=-99', 206, '0123456789', 'bytes 0-9/10'],
        ['bytes=10-12', 416, '', 'bytes */10'],
        ['bytes=0-1,4-5', 200, '0123456789', undefined],
        ['lines=1-2', 200, '0123456789', undefined],
    ]) {
        const answer = await ask('/media/video/parts.mp4', { headers: { Range: range } });
        assert.deepEqual([answer.status, answer.body.toString(), answer.headers['content-range']],
            [status, body, content], range);
    }
    const head = await ask('/media/video/parts.mp4', { method: 'HEAD' });
    assert.deepEqual([head.status, head.headers['content-length']], [200, '10']);
    const download = await ask('/media/video/parts.mp4?download');
    assert.match(download.headers['content-disposition'], /^attachment/);
    assert.equal((await ask('/media/video/parts.mp4', { method: 'POST', body: 'x' })).status, 405);
});

test('truncating a recording while it is sent only ends the connection', async () => {
    const file = board.at('media/video/cut.mp4');
    writeFileSync(file, '');
    truncateSync(file, 256 * 1024 * 1024); // more than socket buffers hold
    await assert.rejects(new Promise((resolve, reject) => {
        get(`${board.origin}/media/video/cut.mp4?token=${board.token}`, (answer) => {
            answer.once('data', () => truncateSync(file, 1));
            answer.on('error', reject);
            answer.on('end', resolve);
        });
    }), { code: 'ECONNRESET' });
    assert.equal((await ask('/')).status, 200);
});

test('a recording can\'t be played while it is written', async () => {
    const file = openSync(board.at('media/video/new.mp4'), 'w');
    const client = await WebSocketClient.open(board, '/events');
    const isGrowing = () => client.messages.filter(({ type }) => type === 'media').at(-1)
        ?.recordings.find(({ name }) => name === 'new.mp4')?.growing;
    await until('it is listed', () => isGrowing() !== undefined);
    assert.equal(isGrowing(), true);
    closeSync(file);
    await until('it can be played', () => isGrowing() === false);
    client.close();
});

test('the media folder may be the board itself', async () => {
    mkdirSync(board.at('video'));
    writeFileSync(board.at('video/here.mp4'), 'here');
    for (const folder of ['/', '']) {
        writeFileSync(board.at('etc/vtrdc.conf'), `media_path=${folder}\n`);
        assert.equal((await ask('/media/video/here.mp4')).body.toString(), 'here');
    }
    rmSync(board.at('etc/vtrdc.conf'));
});

test('a client that disconnects leaks nothing', async () => {
    const { server } = board;
    const descriptors = () => readdirSync(`/proc/${server}/fd`).length;
    await ask('/');
    const before = descriptors();
    for (let visit = 0; visit < 30; ++visit) {
        await new Promise((resolve) => {
            const headers = { Cookie: board.cookie };
            get(`${board.origin}/main.js`, { agent: new Agent({ keepAlive: true }), headers }, (answer) =>
                answer.once('data', () => answer.destroy()).once('close', resolve));
        });
    }
    await until('all is closed', () => descriptors() <= before);
});

test('a page that does not read is dropped, others still get news', async () => {
    const { server } = board;
    const kilobytes = () => Number(/VmRSS:\s*(\d+)/.exec(readFileSync(`/proc/${server}/status`, 'utf8'))[1]);
    const [deaf, reader] = [await WebSocketClient.open(board, '/events'), await WebSocketClient.open(board, '/events')];
    const told = (text) => reader.messages.some(({ lines }) => lines?.includes(text));
    await until('both are greeted', () => [deaf, reader].every(({ messages }) =>
        messages.some(({ type }) => type === 'log')));
    const before = kilobytes();
    deaf.stopReading();
    const lines = `${'x'.repeat(200)}\n`.repeat(1900);
    for (let part = 0; part < 40; ++part) { // much more than socket buffers hold
        appendFileSync(board.at('var/log/vtrdc.log'), `${lines}part ${part}\n`);
        await until('the reader is told', () => told(`part ${part}`));
    }
    if (process.env.VTRDC_SANITIZED !== 'ON') { // a sanitizer delays the release of memory
        assert.ok(kilobytes() - before < 8 * 1024, `the server has grown by ${kilobytes() - before} KiB`);
    }
    deaf.readOn();
    await until('it is dropped', () => deaf.isClosed);
    assert.equal(reader.isClosed, false);
    reader.close();
});

test('a client can have four pending requests, and messages of 64 KiB', async () => {
    const client = await WebSocketClient.open(board, '/events');
    const responses = () => client.messages.filter(({ type }) => type === 'response')
        .map(({ id, ok }) => [id, ok]);
    board.signal('SIGSTOP'); // the daemon doesn't reply
    try {
        for (const id of [1, 2, 3, 4, 5]) {
            client.send(JSON.stringify({ id, request: 'command', line: 'get_zoom' }));
        }
        await until('the fifth is refused', () => responses().length > 0);
        assert.deepEqual(responses(), [[5, false]]);
    } finally {
        board.signal('SIGCONT');
    }
    await until('the others are done', () => responses().length === 5);
    assert.deepEqual(responses().slice(1), [[1, true], [2, true], [3, true], [4, true]]);

    const padded = (size) => JSON.stringify({ id: 6, request: 'none' }).padEnd(size);
    client.send(padded(64 * 1024));
    await until('it is answered', () => responses().length === 6);
    client.send(padded(64 * 1024 + 1));
    await until('the connection ends', () => client.isClosed);
});

test('four uploads can run at once', async () => {
    const { hostname, port } = new URL(board.origin);
    const begin = () => new Promise((resolve) => {
        const asked = request({ hostname, port, path: '/scene', method: 'POST', agent: false,
            headers: { Cookie: board.cookie, 'Content-Length': 100, Expect: '100-continue' } });
        asked.on('continue', () => resolve(asked));
        asked.on('response', ({ statusCode }) => resolve(statusCode));
        asked.on('error', () => {});
        asked.flushHeaders();
    });
    const begun = [await begin(), await begin(), await begin(), await begin()];
    assert.deepEqual(begun.map((each) => typeof each), Array(4).fill('object'));
    assert.equal(await begin(), 503);
    begun.forEach((each) => each.destroy());
    await until('their places are free', async () => {
        const next = await begin();
        next.destroy?.();
        return typeof next === 'object';
    });
});

test('uploads don\'t overwrite each other, and invalid ones are refused', async () => {
    const footage = (name, body) => ask(`/footage/${name}`, { method: 'POST', body });
    const before = readlinkSync(board.at('dev/video0'));
    const broken = await footage('own.avi', 'no video');
    assert.equal(broken.status, 409);
    assert.match(broken.body.toString(), /can't be played/);
    assert.equal(readlinkSync(board.at('dev/video0')), before);
    assert.equal(existsSync(board.at('footage/own.avi')), false);
    for (const name of ['own.avi', 'own-2.avi']) {
        const { status, body } = await footage('own.avi', ''); // like the drawn scene
        assert.equal(status, 200);
        assert.equal(body.toString().includes(`kept as ${name}`), name !== 'own.avi');
        assert.equal(readlinkSync(board.at('dev/video0')), `../footage/${name}`);
    }
    for (const name of ['.hidden', '..', '%2e%2e%2fout.avi', '%ff%fe.avi', 'x'.repeat(201), '']) {
        const { status } = await footage(name, 'x');
        assert.ok(status === 400 || status === 405, `${name}: ${status}`);
    }
    assert.equal((await ask('/footage/own.avi')).status, 405);
    assert.equal((await ask('/scene')).status, 405);
    const large = await ask('/scene', { method: 'POST', body: Buffer.alloc(2 * 1024 * 1024) });
    assert.equal(large.status, 413);
    const endless = await ask('/scene', {
        method: 'POST', headers: { 'Transfer-Encoding': 'chunked' }, body: 'without an end',
    });
    assert.equal(endless.status, 411);
    for (const length of ['-1', '9223372036854775808', '18446744073709551615', '5x']) {
        const answer = await send(
            `POST /footage/odd.avi HTTP/1.1\r\nHost: ${new URL(board.address).host}\r\n` +
            `Cookie: ${board.cookie}\r\nContent-Length: ${length}\r\n\r\nhello`);
        assert.doesNotMatch(answer, /^HTTP\/1.1 2/, length);
    }
    assert.equal(existsSync(board.at('footage/odd.avi')), false);
});

test('an uploaded scene replaces the previous one, which is kept', async () => {
    const before = board.text('opt/okr/osd_okr/qml/main.qml');
    const own = 'import QtQuick\nItem {}\n';
    assert.equal((await ask('/scene', { method: 'POST', body: own })).status, 200);
    assert.equal(board.text('opt/okr/osd_okr/qml/main.qml'), own);
    assert.equal(board.text('opt/okr/osd_okr/qml/main.qml.~1~'), before);
});

test('only what is listed can be deleted, and not while it is in use', async () => {
    const client = await WebSocketClient.open(board, '/events');
    const remove = async (kind, name) => {
        client.send(JSON.stringify({ id: 7, request: 'delete', kind, name }));
        const isAnswer = ({ type }) => type === 'response';
        const { ok } = await until('the answer', () => client.messages.find(isAnswer));
        client.messages = client.messages.filter((each) => !isAnswer(each));
        return ok;
    };
    mkdirSync(board.at('media/video'), { recursive: true });
    writeFileSync(board.at('media/video/old.mp4'), 'old');
    writeFileSync(board.at('keep'), 'kept');
    symlinkSync('../../keep', board.at('media/video/to-keep.mp4'));
    assert.equal(await remove('video', 'old.mp4'), true);
    assert.equal(existsSync(board.at('media/video/old.mp4')), false);
    assert.equal(await remove('video', 'to-keep.mp4'), true); // only the link
    assert.equal(await remove('footage', 'own.avi'), true);
    const file = openSync(board.at('media/video/new.mp4'), 'w');
    for (const [kind, name] of [['video', 'new.mp4'], ['footage', 'own-2.avi'], ['video', 'missing'],
        ['video', '../../keep'], ['video', '..'], ['video', ''], ['..', 'keep'], ['', 'keep'], ['etc', 'vtrdc.conf'],
        ['video/..', 'video']]) {
        assert.equal(await remove(kind, name), false, `${kind} ${name}`);
    }
    closeSync(file);
    rmSync(board.at('media'), { recursive: true });
    const outside = mkdtempSync(join(tmpdir(), 'vtrdc-outside-'));
    mkdirSync(join(outside, 'image'));
    writeFileSync(join(outside, 'image/x.png'), 'kept');
    symlinkSync(outside, board.at('media'));
    assert.equal(await remove('image', 'x.png'), false);
    assert.equal(readFileSync(join(outside, 'image/x.png'), 'utf8'), 'kept');
    assert.equal(board.text('keep'), 'kept');
    rmSync(board.at('media'));
    rmSync(outside, { recursive: true });
    client.close();
});

test('the server outlives the daemon and is replaced at the next start', async () => {
    await board.logged('Display Pipeline set to playing');
    const shown = [...board.log].filter((line) => line.includes('[INFO]'));
    const status = await board.stop();
    assert.equal(status, 0);
    const kept = readFileSync(board.at('var/log/vtrdc.log'), 'utf8');
    for (const line of shown) {
        assert.ok(kept.includes(line), line);
    }
    assert.match(kept, /Goodbye\n$/);
    const { server } = board;
    assert.equal((await ask('/')).status, 200);
    await board.start();
    assert.notEqual(board.server, server); // the next start replaces it
    assert.equal((await ask('/')).status, 200);
    await board.stop();
});

test('a page stays authorised after a restart, unless others could read the token', async () => {
    const { token } = board;
    await board.start('page');
    assert.equal(board.token, token);
    await board.stop();
    for (const spoil of [
        (file) => chmodSync(file, 0o644),
        (file) => writeFileSync(file, 'x'.repeat(32)),
        (file) => writeFileSync(file, ''),
    ]) {
        const before = board.token;
        spoil(board.at('run/page.token'));
        await board.start('page');
        assert.match(board.token, /^[0-9a-f]{32}$/);
        assert.notEqual(board.token, before);
        assert.equal(statSync(board.at('run/page.token')).mode & 0o777, 0o600);
        await board.stop();
    }
});
