// Deletes a file of the board after a confirmation.
import { el, icon } from './dom.js';
import { perform } from './fields.js';

/** `kind` is 'video', 'image' or 'footage', as in the request. */
export function deleteButton(server, kind, { name }) {
    const label = `Delete ${name}`;
    const button = el('button', { type: 'button', className: 'tool', 'aria-label': label, title: 'Delete' },
        icon('delete'));
    button.dataset.name = name;
    button.addEventListener('click', () => confirm(`Delete ${name} from the board?`)
        && perform(server, button, { request: 'delete', kind, name }));
    return button;
}
