// Dark or light: as the system has it, or as chosen here. It runs before the page is first drawn.
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
