// The sight's three hardware buttons.
import { byId } from './dom.js';

// The verb presses and releases at once; show the press a little longer.
const SHOWN_MS = 160;

async function press(server, button) {
    if (button.matches(':disabled')) {
        return;
    }
    button.classList.add('pressed');
    const shown = new Promise((resolve) => setTimeout(resolve, SHOWN_MS));
    await Promise.all([server.request({ request: 'press', button: button.dataset.button }), shown]);
    button.classList.remove('pressed');
}

export function startButtons(server) {
    for (const button of document.querySelectorAll('.hard')) {
        button.addEventListener('click', () => press(server, button));
    }
    server.on('state', ({ sight }) => {
        byId('hand-over-note').hidden = !sight?.handed_over;
    });
}
