// A browser with a board's page.
import { chromium } from 'playwright-core';
import { mkdirSync, readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { PATIENCE_MS, until } from './board.mjs';

// Folder for the documents' pictures; if unset, none are taken.
const PICTURES = process.env.VTRDC_PICTURES;

const AXE = readFileSync(createRequire(import.meta.url).resolve('axe-core'), 'utf8');

// The distribution's browser, which makes no network requests. Without its sandbox, which doesn't
// work as root.
const OPTIONS = {
    executablePath: process.env.VTRDC_CHROMIUM ?? '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-sync',
        '--disable-background-networking', '--disable-component-update', '--mute-audio'],
};

export async function openBrowser() {
    return chromium.launch(OPTIONS);
}

/**
 * Holds the server's messages back of which `isHeld` is true. To be called before the page is opened; gives
 * the function that releases them, those to come as well.
 */
export async function holdMessages(page, isHeld) {
    let kept = [];
    await page.routeWebSocket(/\/events$/, (socket) => {
        const server = socket.connectToServer();
        server.onMessage((text) => {
            if (kept !== null && isHeld(JSON.parse(text))) {
                kept.push(() => socket.send(text));
            } else {
                socket.send(text);
            }
        });
    });
    return () => {
        kept.forEach((send) => send());
        kept = null;
    };
}

/** An empty page; errors of its scripts go to `complaints`. */
export async function newPage(browser, complaints) {
    const context = await browser.newContext({ viewport: { width: 1440, height: 900 }, colorScheme: 'dark' });
    const page = await context.newPage();
    page.setDefaultTimeout(PATIENCE_MS);
    page.on('pageerror', (error) => complaints.push(error.stack));
    return page;
}

/** Opens a board's page, and waits until it is connected and shows a picture. */
export async function openPage(page, board) {
    await page.goto(board.address);
    await page.locator('body[data-link=up]').waitFor();
    await pictureWhen(page, (light) => light.some((each) => each > 0));
}

/** Luminance (0 to 255) of the panel's picture on a grid of 32 x 24 points, line by line. */
function readPanel(page) {
    return page.evaluate(() => {
        const small = new OffscreenCanvas(32, 24).getContext('2d', { willReadFrequently: true });
        small.drawImage(document.getElementById('panel'), 0, 0, 32, 24);
        return Array.from(small.getImageData(0, 0, 32, 24).data).filter((_, index) => index % 4 === 1);
    });
}

/** Waits for a picture that satisfies `test`; returns its luminance. */
export async function pictureWhen(page, test) {
    let light = [];
    await until('the picture', async () => {
        light = await readPanel(page);
        return test(light);
    });
    return light;
}

/** The mean difference of two pictures, 0 to 255. */
export function difference(one, other) {
    return one.reduce((sum, light, index) => sum + Math.abs(light - other[index]), 0) / one.length;
}

/** Accessibility violations of the page. Not by a script tag, which the page's policy forbids. */
export async function hindrances(page) {
    await page.evaluate(AXE);
    const { violations } = await page.evaluate(() => globalThis.axe.run());
    return violations.map(({ id, nodes }) => `${id}: ${nodes.map(({ html }) => html).join(' | ')}`);
}

export async function takePicture(page, name) {
    if (PICTURES) {
        mkdirSync(PICTURES, { recursive: true });
        await page.screenshot({ path: join(PICTURES, `${name}.png`) });
    }
}
