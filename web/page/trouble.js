// Shows why a control's last request failed, above the page, so that nothing moves.
import { byId, setText } from './dom.js';
import { wordsOf } from './transcript.js';

/** Not announced: the transcript is. */
export function showTrouble(message, text) {
    setText(byId('trouble-text'), `${wordsOf(message)}: ${text || 'failed'}`);
    byId('trouble').hidden = false;
}

export function endTrouble() {
    byId('trouble').hidden = true;
}

export function startTrouble() {
    byId('trouble-end').addEventListener('click', endTrouble);
}
