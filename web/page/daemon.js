// Starts, stops and restarts the board's daemon; the page keeps running.
import { byId, setText } from './dom.js';
import { perform } from './fields.js';
import { condition } from './server_connection.js';

const NAMES = {
    start: ['Start', 'Starting'],
    stop: ['Stop', 'Stopping'],
    restart: ['Restart', 'Restarting'],
};

/** `pending` is the requested verb, or null. A hanging daemon can be stopped too. */
function show(buttons, server, pending) {
    const isRunning = ['up', 'silent'].includes(condition(server));
    for (const button of buttons) {
        const { verb } = button.dataset;
        const [name, doing] = NAMES[verb];
        setText(button, verb === pending ? doing : name);
        button.disabled = pending === null ? (verb === 'start') === isRunning : verb !== pending;
    }
}

export function startDaemonButtons(server) {
    const buttons = [...byId('daemon').querySelectorAll('button')];
    let pending = null;
    const showAll = () => show(buttons, server, pending);
    for (const button of buttons) {
        button.addEventListener('click', async () => {
            pending ??= button.dataset.verb;
            showAll();
            await perform(server, button, { request: 'daemon', verb: button.dataset.verb });
            pending = null;
            showAll();
        });
    }
    server.on('presence', showAll);
    server.on('state', showAll);
    showAll();
}
