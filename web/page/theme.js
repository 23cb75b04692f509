// Dark or light: as in the system, or as chosen here. Runs before the first drawing.
import { byId, memory } from './dom.js';

const CHOICES = ['automatic', 'dark', 'light'];

let choice = CHOICES.includes(memory.get('theme')) ? memory.get('theme') : 'automatic';

function apply() {
    document.documentElement.dataset.theme = choice;
    byId('theme')?.setAttribute('aria-label', `Theme: ${choice}`);
    byId('theme-name')?.replaceChildren(choice);
}

apply();
document.addEventListener('DOMContentLoaded', () => {
    apply();
    byId('theme').addEventListener('click', () => {
        choice = CHOICES[(CHOICES.indexOf(choice) + 1) % CHOICES.length];
        memory.set('theme', choice);
        apply();
    });
});
