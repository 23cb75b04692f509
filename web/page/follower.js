// Keeps the end of what grows in view.

/** Keeps the end of a box in view until somebody scrolls up, and again from when somebody is back there. */
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

    /** In another size the same lines are elsewhere: that is no scrolling up. */
    #isResized() {
        const size = `${this.#box.clientWidth} ${this.#box.clientHeight}`;
        const isOther = size !== this.#size;
        this.#size = size;
        return isOther;
    }
}
