// Keeps the end of growing content in view.

/** Keeps the end of a box in view until the user scrolls up, and again after scrolling back to the end. */
export class Follower {
    #box;
    #top = 0;
    #size = '';
    isOn = true;

    constructor(box, onChange = () => {}) {
        this.#box = box;
        box.addEventListener('scroll', () => {
            const isAtEnd = box.scrollHeight - box.scrollTop - box.clientHeight < 16;
            const isUp = box.scrollTop < this.#top && !this.#isResized();
            this.#top = box.scrollTop;
            this.isOn = isAtEnd || (this.isOn && !isUp);
            onChange();
        });
        new ResizeObserver(() => this.isOn && this.toEnd()).observe(box);
    }

    toEnd() {
        this.isOn = true;
        this.#box.scrollTop = this.#box.scrollHeight;
        this.#top = this.#box.scrollTop;
    }

    /** After a change of size the same lines are elsewhere: that is not scrolling up. */
    #isResized() {
        const size = `${this.#box.clientWidth} ${this.#box.clientHeight}`;
        const isOther = size !== this.#size;
        this.#size = size;
        return isOther;
    }
}
