// The page as a user sees it: looks, presses, types and drops, in a browser, with the real daemon.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { appendFileSync, existsSync, mkdirSync, readlinkSync, renameSync, rmdirSync, writeFileSync } from 'node:fs';
import { SimulatedBoard, until } from './board.mjs';
import {
    difference, hindrances, holdMessages, newPage, openPage, openBrowser, pictureWhen, takePicture,
} from './browser.mjs';
import { differencesFromDocument } from './protocol.mjs';

// Two pictures of the same scene differ by noise and movement, of different scenes by far more.
const OTHER_PICTURE = 8;

const board = new SimulatedBoard();
const complaints = [];
let browser;
let page;

before(async () => {
    await board.start();
    await board.logged('Display Pipeline set to playing');
    browser = await openBrowser();
    page = await newPage(browser, complaints);
    page.on('dialog', (dialog) => dialog.accept());
    await openPage(page, board);
});
after(async () => {
    await browser?.close();
    await board.remove();
});
afterEach(() => assert.deepEqual(complaints, []));

const lamp = (name, text) => page.locator(`#lamp-${name}`, { hasText: text }).waitFor();

async function command(line) {
    await page.getByRole('combobox', { name: 'Command' }).fill(line);
    await page.keyboard.press('Enter');
}

// Sends a command and waits for its reply.
async function answered(line, said) {
    const asked = page.locator('.asked').getByText(`> ${line}`, { exact: true });
    const entries = page.locator('#transcript > div', { has: asked });
    const before = await entries.count();
    await command(line);
    await entries.nth(before).getByText(said).waitFor();
}

// Returns what the overlay was told under a key.
const updates = (key) => board.text('var/log/overlay.log').split('\n').filter((line) => line.includes(key));
const lastUpdate = (key) => updates(key).at(-1) ?? '';

// A scene that covers the camera's picture, chosen as a file.
async function showScene(text) {
    await page.setInputFiles('#scene-file', {
        name: 'test.qml', mimeType: 'text/plain',
        buffer: Buffer.from(`import QtQuick\nRectangle { width: 1024; height: 768; ${text} }\n`),
    });
}

// Like dragging from a file manager.
async function dropFile(name, text) {
    const dropped = await page.evaluateHandle(([fileName, content]) => {
        const transfer = new DataTransfer();
        transfer.items.add(new File([content], fileName));
        return transfer;
    }, [name, text]);
    for (const type of ['dragenter', 'dragover', 'drop']) {
        await page.dispatchEvent('#panel', type, { dataTransfer: dropped });
    }
}

test('pressing zoom changes the picture', async () => {
    await takePicture(page, 'page');
    const footage = page.getByRole('combobox', { name: 'Footage' });
    await footage.selectOption('drawn-scene');
    await lamp('zoom', '× 1');
    const wide = await pictureWhen(page, () => true);
    await page.getByRole('button', { name: 'Zoom' }).click();
    await lamp('zoom', '× 2');
    await pictureWhen(page, (light) => difference(light, wide) > OTHER_PICTURE);
    await takePicture(page, 'page-zoom');
    await page.locator('body').press('z');
    await lamp('zoom', '× 4');
    await page.locator('body').press('z');
    await lamp('zoom', '× 1');
    await footage.selectOption('pedestrians.avi');
});

test('a recording plays in the page', async () => {
    const record = page.getByRole('switch', { name: 'Record' });
    await record.click();
    const row = page.locator('#recordings li').first();
    await row.waitFor();
    assert.ok(await row.getByRole('button', { name: /^Play/ }).isDisabled(), 'what grows can not be played yet');
    await lamp('recording', /0:0[2-9]/);
    await takePicture(page, 'page-recording');
    await record.click();
    await lamp('recording', 'off');
    await page.getByRole('button', { name: 'Take a snapshot' }).click();
    await page.locator('#snapshots li img').first().waitFor();
    await row.getByRole('button', { name: /^Play video_/ }).and(page.locator(':enabled')).click();
    const video = page.locator('dialog[open] video');
    await until('the recording plays', () => video.evaluate((each) => each.currentTime > 0.5));
    assert.deepEqual(await video.evaluate((each) => [each.videoWidth, each.videoHeight, each.error]),
        [1024, 768, null]);
    await takePicture(page, 'page-playback');
    const [download] = await Promise.all([
        page.waitForEvent('download'), page.locator('dialog[open]').getByRole('link').click()]);
    assert.match(download.suggestedFilename(), /^video_\d{14}_00\.mp4$/);
    await page.keyboard.press('Escape');
    await row.getByText(/^00:0\d · /).waitFor();
    writeFileSync(board.at('media/video/torn.mp4'), 'no end');
    const torn = page.locator('#recordings li', { hasText: 'torn.mp4' });
    await torn.getByText(/^incomplete/).waitFor();
    await torn.getByRole('button', { name: 'Delete torn.mp4' }).click();
    await torn.waitFor({ state: 'detached' });
    assert.ok(!existsSync(board.at('media/video/torn.mp4')));
});

test('the origin is dragged on the panel, and moved with keys', async () => {
    const stored = () => {
        const { settings } = JSON.parse(board.text('run/vtrdc.status'));
        return [settings.origin_x, settings.origin_y];
    };
    const handle = page.getByRole('button', { name: /^Origin x/ });
    await page.getByRole('button', { name: 'Set origin' }).click();
    const { x, y, width } = await page.locator('#panel').boundingBox();
    await handle.hover();
    await page.mouse.down();
    await page.mouse.move(x + width / 2, y + width / 4, { steps: 5 });
    await page.mouse.up();
    await until('it is where it was dragged to', () => Math.abs(stored()[0] - (512 - 185)) <= 2
        && Math.abs(stored()[1] - (256 - 185)) <= 2);
    const [before] = stored();
    await takePicture(page, 'page-origin');
    await handle.press('Shift+ArrowRight');
    await handle.press('ArrowLeft');
    await until('it is moved', () => stored()[0] === before + 9);
    await page.getByRole('button', { name: 'Set origin' }).click();
    await handle.waitFor({ state: 'hidden' });
});

test('unplugging the camera shows the no-input picture, and the live view can be restored', async () => {
    await page.getByRole('radio', { name: 'Red' }).check({ force: true });
    await until('the display is told', () => lastUpdate('COLOR_HEX').includes('#cc2c24'));
    const live = await pictureWhen(page, () => true);
    const cable = page.getByRole('switch', { name: 'Camera cable' });
    await cable.click();
    await lamp('camera', 'unplugged');
    await page.getByText('Input failed - showing no video indication').waitFor();
    const splash = await pictureWhen(page, (light) => difference(light, live) > OTHER_PICTURE);
    await takePicture(page, 'page-no-input');
    const before = updates('COLOR_HEX').length;
    await cable.click();
    await lamp('camera', 'not shown');
    await page.getByRole('button', { name: 'Restart live view' }).click();
    await lamp('camera', 'live');
    await pictureWhen(page, (light) => difference(light, splash) > OTHER_PICTURE);
    await until('the display is told again', () => updates('COLOR_HEX').length === before + 1);
    assert.match(lastUpdate('COLOR_HEX'), /#cc2c24/);
});

test('the console completes, hints, and shows errors', async () => {
    const line = page.getByRole('combobox', { name: 'Command' });
    await line.fill('set_r');
    await page.getByRole('option', { name: /set_reticle_src/ }).waitFor();
    await line.press('Tab');
    assert.equal(await line.inputValue(), 'set_reticle_');
    await line.press('Tab');
    assert.ok(await line.evaluate((node) => node !== document.activeElement), 'there is a way on from here');
    await line.fill('get_zo');
    await line.press('Tab');
    assert.equal(await line.inputValue(), 'get_zoom');
    await line.press('Enter');
    await page.getByRole('log', { name: 'Commands and replies' }).getByText('get_zoom').waitFor();
    await line.fill('set_lum ');
    await page.locator('#command-hint', { hasText: 'luminance array' }).waitFor();
    await takePicture(page, 'page-console');
    for (const [bad, error] of [
        ['dance', 'no such command: dance'],
        ['set_lum', 'takes 1 argument, not 0'],
        ['set_lum 99', 'takes 0 to 3, not 99'],
    ]) {
        await answered(bad, error);
    }
    await line.press('ArrowUp');
    assert.equal(await line.inputValue(), 'set_lum 99');
    await line.fill('');
});

test('a failing core, buttons and cables act as on the sight', async () => {
    const fault = page.getByRole('switch', { name: 'Thermal core fails' });
    await fault.click();
    await until('the fault is set', () => existsSync(board.at('var/lib/vtrcore/fail')));
    await answered('kbd_zoom', 'the thermal core refuses');
    await fault.click();
    await until('the fault is over', () => !existsSync(board.at('var/lib/vtrcore/fail')));
    await lamp('luminance', '75');
    await page.getByRole('button', { name: 'Pol' }).click();
    await lamp('luminance', '130');
    await page.getByRole('switch', { name: 'Monitor cable' }).click();
    await lamp('monitor', 'plugged');
    await page.getByRole('switch', { name: 'Monitor cable' }).click();
    await lamp('monitor', 'none');
});

test('a switch does what was requested last, even if responses are late', async () => {
    const other = await newPage(browser, complaints);
    const letGo = await holdMessages(other, ({ type }) => type === 'response');
    await openPage(other, board);
    const fault = other.getByRole('switch', { name: 'Thermal core fails' });
    await fault.evaluate((node) => {
        node.click();
        node.click(); // an impatient user
    });
    await fault.and(other.getByRole('switch', { checked: true })).waitFor();
    await fault.click();
    letGo();
    await fault.and(other.getByRole('switch', { checked: false })).waitFor();
    assert.ok(!existsSync(board.at('var/lib/vtrcore/fail')));
    assert.deepEqual(await other.locator('#transcript .asked').allInnerTexts(),
        ['scripts/sim core fail', 'scripts/sim core work']);
    await other.context().close();
});

test('a slider keeps the last value, and follows the sight otherwise', async () => {
    const volume = page.getByRole('slider', { name: 'Mic volume' });
    const stored = () => /mic_volume=(.*)/.exec(board.text('etc/vtrdc.conf'))?.[1];
    board.signal('SIGSTOP'); // no response comes before the last step
    for (const key of ['Home', ...Array(7).fill('ArrowRight')]) {
        await volume.press(key);
    }
    board.signal('SIGCONT');
    await until('the last value is stored', () => existsSync(board.at('etc/vtrdc.conf')) && stored() === '7');
    assert.equal(await volume.inputValue(), '7');

    const { x, y, width, height } = await volume.boundingBox();
    await page.mouse.move(x + width / 2, y + height / 2);
    await page.mouse.down();
    await page.mouse.move(x + width / 4, y + height / 2);
    await page.mouse.up();
    await until('it was let go elsewhere', () => stored() !== '7');
    const there = await volume.inputValue();
    await page.mouse.down();
    await page.mouse.move(x + width / 2, y + height / 2);
    await page.mouse.move(x + width / 4, y + height / 2);
    await page.mouse.up();
    assert.equal(await volume.inputValue(), there);
    board.ask('c:set_mic_volume:i:100'); // while the slider has the focus
    await until('it follows the command', async () => await volume.inputValue() === '100');
});

test('the footage chosen last is played', async () => {
    const names = ['f1.avi', 'f2.avi', 'f3.avi', 'f4.avi', 'f5.avi'];
    for (const name of names) {
        writeFileSync(board.at(`footage/${name}`), '');
    }
    const choice = page.getByRole('combobox', { name: 'Footage' });
    await until('all are listed', async () => await choice.locator('option[value="f5.avi"]').count() === 1);
    await choice.selectOption('f1.avi');
    for (let step = 1; step < names.length; ++step) {
        await choice.press('ArrowDown');
        assert.equal(await choice.inputValue(), names[step]);
    }
    await until('the last is shown', () => readlinkSync(board.at('dev/video0')) === '../footage/f5.avi');
    assert.equal(await choice.inputValue(), 'f5.avi');
    await choice.selectOption('pedestrians.avi');
});

test('chosen footage stays selected even if the new list is late', async () => {
    const other = await newPage(browser, complaints);
    await holdMessages(other, ({ chosen }) => chosen === 'drawn-scene');
    await openPage(other, board);
    const choice = other.getByRole('combobox', { name: 'Footage' });
    await choice.selectOption('drawn-scene');
    await choice.and(other.locator('[aria-busy]')).waitFor({ state: 'detached' });
    const cable = other.getByRole('switch', { name: 'Monitor cable' });
    for (const state of ['plugged', 'none']) { // each shows a newly received state
        await cable.click();
        await other.locator('#lamp-monitor', { hasText: state }).waitFor();
        assert.equal(await choice.inputValue(), 'drawn-scene');
    }
    await choice.selectOption('pedestrians.avi');
    await other.context().close();
});

test('a luminance that is only stored is indicated', async () => {
    await page.getByRole('switch', { name: 'Monitor cable' }).click();
    await lamp('monitor', 'plugged');
    await page.getByRole('radio', { name: '220' }).check({ force: true });
    await lamp('luminance', '220 stored');
    await page.getByRole('switch', { name: 'Monitor cable' }).click();
    await lamp('monitor', 'none');
    await page.getByRole('radio', { name: '130' }).check({ force: true });
    await lamp('luminance', /^130$/);
});

test('a push without a server is not shown as running', async () => {
    const push = page.getByRole('switch', { name: 'HTTP push' });
    await push.click();
    await lamp('http', 'no server');
    await push.click();
    await lamp('http', 'off');
});

test('an uploaded scene and footage are shown, and errors in them reported', async () => {
    const before = await pictureWhen(page, () => true);
    const uploads = page.locator('#uploads');
    await showScene('color: "white"');
    await pictureWhen(page, (light) => light.every((each) => each > 240));
    await showScene('Component.onCompleted: { console.log("hello of the scene"); nothing.there() }');
    const said = page.locator('.log-line[data-level=SCENE]');
    await said.filter({ hasText: 'hello of the scene' }).waitFor();
    await said.filter({ hasText: 'ReferenceError' }).waitFor();
    await showScene('color: nonsense(');
    await page.locator('#log-lines').getByText(/main\.qml:2/).first().waitFor();
    await uploads.getByText(/test\.qml: .*main\.qml:2/).waitFor();
    await page.getByRole('button', { name: 'Dismiss: test.qml' }).last().click();
    await page.getByRole('button', { name: /stock scene/i }).click();
    await pictureWhen(page, (light) => difference(light, before) < OTHER_PICTURE);

    await dropFile('own.avi', 'no video');
    await uploads.getByText(/own\.avi: .*can't be played/).waitFor();
    const choice = page.getByRole('combobox', { name: 'Footage' });
    assert.equal(await choice.inputValue(), 'pedestrians.avi');
    await dropFile('own.avi', '');
    await until('it is the choice', async () => await choice.inputValue() === 'own.avi');
    await choice.selectOption('pedestrians.avi');
    await page.getByText('Delete footage').click();
    await page.getByRole('button', { name: 'Delete own.avi' }).and(page.locator(':enabled')).click();
    await until('it is deleted', () => !existsSync(board.at('footage/own.avi')));
    await page.getByText('Delete footage').click();
    await dropFile('letter.txt', 'neither of the two');
    await page.getByText('is neither a video nor a .qml file').first().waitFor();
    await uploads.evaluate((node) => node.querySelectorAll('button').forEach((each) => each.click()));
});

test('a long log is followed to its end', async () => {
    const line = `${'Wed Nov 25 07:34:48 2026 [INFO]: something of little interest\n'.repeat(20_000)}`;
    for (let part = 0; part < 10; ++part) {
        appendFileSync(board.at('var/log/vtrdc.log'), line);
    }
    await page.locator('.log-line', { hasText: / × [0-9]{2,}$/ }).first().waitFor();
    appendFileSync(board.at('var/log/vtrdc.log'), `${'x'.repeat(8192)}y\nand this is its end\n`);
    await page.locator('#log-lines').getByText('and this is its end').waitFor();
    await page.locator('#log-lines').getByText('y', { exact: true }).waitFor();
});

test('messages match the protocol document', async () => {
    const messages = await page.evaluate(() => new Promise((resolve) => {
        const socket = new WebSocket(new URL('events', location.href).href.replace('http', 'ws'));
        const last = {};
        socket.onopen = () => socket.send(JSON.stringify({ id: 1, request: 'command', line: 'get_zoom' }));
        socket.onmessage = ({ data }) => {
            const message = JSON.parse(data);
            last[message.type] = message;
            if (last.response !== undefined) {
                socket.close();
                resolve(Object.values(last));
            }
        };
    }));
    assert.deepEqual(messages.map(({ type }) => type).sort(),
        ['footage', 'hello', 'log', 'media', 'response', 'state']);
    assert.deepEqual(messages.flatMap(differencesFromDocument), []);
});

test('the server survives invalid messages', async () => {
    const responses = await page.evaluate(() => new Promise((resolve) => {
        const socket = new WebSocket(new URL('events', location.href).href.replace('http', 'ws'));
        const given = [];
        socket.onopen = () => {
            const deep = '['.repeat(30_000) + ']'.repeat(30_000);
            for (const text of ['[', `{"id":${deep},"request":"deep"}`, '{"id":1,"request":5}', '{"id":2}']) {
                socket.send(text);
            }
        };
        socket.onmessage = ({ data }) => {
            const message = JSON.parse(data);
            if (message.type === 'response') {
                given.push([message.id, message.ok]);
            }
            if (message.id === 2) {
                socket.close();
                resolve(given);
            }
        };
    }));
    assert.deepEqual(responses, [[null, false], [1, false], [2, false]]);
});

test('the server survives a folder in place of the scene', async () => {
    const scene = board.at('opt/okr/osd_okr/qml/main.qml');
    renameSync(scene, `${scene}.kept`);
    mkdirSync(scene);
    await page.getByText('Your own scene.').waitFor();
    rmdirSync(scene);
    renameSync(`${scene}.kept`, scene);
    await page.getByText('The stock scene.').waitFor();
});

test('a status file left by a crash is ignored', async () => {
    const file = board.at('run/vtrdc.status');
    renameSync(file, `${file}.kept`);
    writeFileSync(file, JSON.stringify({ ...JSON.parse(board.text('run/vtrdc.status.kept')), pid: 4194305 }));
    await lamp('recording', '--');
    renameSync(`${file}.kept`, file);
    await lamp('recording', 'off');
});

test('a daemon that hangs, ends and restarts is shown correctly', async () => {
    board.signal('SIGSTOP');
    await command('get_zoom');
    await page.getByRole('status').filter({ hasText: /does not respond/ }).waitFor();
    board.signal('SIGCONT');
    await page.locator('body[data-link=up]').waitFor();

    const line = page.getByRole('combobox', { name: 'Command' });
    await line.fill('get_');
    assert.equal(await board.stop(), 0);
    await page.getByRole('status').filter({ hasText: `scripts/sim --board ${board.folder}` }).waitFor();
    await page.locator('#snapshots li img').first().waitFor(); // the page outlives the daemon
    assert.ok(await page.getByRole('switch', { name: 'Record' }).isDisabled());
    await takePicture(page, 'page-gone');
    await page.keyboard.type('?'); // not a shortcut of the page
    assert.ok(await line.evaluate((node) => node === document.activeElement));
    assert.equal(await line.inputValue(), 'get_');
    assert.equal(await page.getByRole('dialog').count(), 0);
    await page.getByRole('listbox').waitFor({ state: 'hidden' });
    for (const verb of ['Start', 'Restart']) {
        const before = existsSync(board.at('run/vtrdc.status')) && JSON.parse(board.text('run/vtrdc.status')).pid;
        await page.getByRole('button', { name: verb, exact: true }).click();
        await until('another daemon runs', () => existsSync(board.at('run/vtrdc.status'))
            && JSON.parse(board.text('run/vtrdc.status')).pid !== before);
        await lamp('camera', 'live');
        await page.getByRole('button', { name: 'Stop', exact: true }).and(page.locator(':enabled')).waitFor();
    }
    assert.ok(await page.getByRole('switch', { name: 'Record' }).isEnabled());
    await line.fill('');
    await page.getByRole('button', { name: 'Stop', exact: true }).click();
    await page.locator('body[data-link=gone]').waitFor();
    assert.ok(!existsSync(board.at('run/vtrdc.status')));
    await board.start();
    await page.locator('body[data-link=up]').waitFor();
});

test('a page with an old token reports it', async () => {
    assert.equal(new URL(page.url()).search, ''); // the token is not visible any more
    await page.context().clearCookies();
    await board.stop();
    await board.start();
    await page.getByRole('status').filter({ hasText: 'open the address' }).waitFor();
    await openPage(page, board);
    await page.reload(); // authorised by the cookie
    await page.locator('body[data-link=up]').waitFor();
});

test('everything fits from a phone to a large screen, and is accessible', async () => {
    for (const [width, height, colorScheme] of [
        [360, 740, 'dark'], [820, 1180, 'light'], [2560, 1440, 'dark'], [1440, 900, 'light'],
    ]) {
        await page.setViewportSize({ width, height });
        await page.emulateMedia({ colorScheme });
        const overflow = await page.evaluate(
            () => document.documentElement.scrollWidth - document.documentElement.clientWidth);
        assert.equal(overflow, 0, `at ${width} x ${height}`);
        await takePicture(page, `page-${width}`);
        assert.deepEqual(await hindrances(page), [], `at ${width} x ${height}, ${colorScheme}`);
    }
});
