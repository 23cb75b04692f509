// Restarts the live view after a lost camera.
import { isBusy } from './fields.js';

// The no-input picture stays until these have run, even if the camera is plugged in again.
const START = ['kill_pipe 6', 'create_pipe 0', 'create_pipe 1'];

export async function restartLiveView(server, button) {
    if (isBusy(button)) {
        return;
    }
    button.setAttribute('aria-busy', 'true');
    for (const line of START) {
        const { ok } = await server.request({ request: 'command', line });
        if (!ok) {
            break;
        }
    }
    button.removeAttribute('aria-busy');
}
