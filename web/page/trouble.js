// Why a control's last request failed, over the page: nothing moves for it.
import { byId, setText } from './dom.js';
import { wordsOf } from './transcript.js';

/** The transcript reads it out. */
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
