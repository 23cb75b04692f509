// Keeps the end of a growing box in view.

/** Follows the end of a box until the user scrolls up, and again after scrolling back to the end. */
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

    /** A resize moves the lines: that is not scrolling up. */
    #isResized() {
        const size = `${this.#box.clientWidth} ${this.#box.clientHeight}`;
        const isOther = size !== this.#size;
        this.#size = size;
        return isOther;
    }
}
