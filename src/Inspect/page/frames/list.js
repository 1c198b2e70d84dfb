// A list of any length of which only the visible lines are elements.
import { clamp, make } from "../util.js";

const RowHeight = 22;
// Browsers cannot show taller elements; longer lists scroll faster than they are tall.
const MostHeight = 4_000_000;

export class VirtualList {
    /** `render(index)` makes a line, an element; `onShow(first, count)` may fetch lines. */
    constructor(place, render, onShow = () => {}) {
        this.place = place;
        this.render = render;
        this.onShow = onShow;
        this.count = 0;
        this.top = 0; // in lines
        this.rows = make("div", { class: "rows" });
        this.height = make("div", { class: "height" });
        place.replaceChildren(this.rows, this.height);
        place.addEventListener("scroll", () => this.scrolled());
        place.addEventListener("wheel", event => this.wheel(event), { passive: false });
        this.wanted = null; // to be revealed when the list can be seen
        new ResizeObserver(() => this.wanted === null ? this.draw() : this.reveal(this.wanted)).observe(place);
    }

    get visible() { return Math.max(1, Math.floor(this.place.clientHeight / RowHeight)); }
    get scale() {
        const whole = this.count * RowHeight;
        return whole <= MostHeight ? 1 : (whole - this.place.clientHeight) / (MostHeight - this.place.clientHeight);
    }

    setCount(count, keepsPlace = false) {
        this.count = count;
        this.height.style.height = Math.min(count * RowHeight, MostHeight) + "px";
        if (!keepsPlace) this.scrollTo(0);
        this.draw();
    }

    scrolled() {
        const top = this.place.scrollTop * this.scale / RowHeight;
        // Unless it is this list that has scrolled.
        if (Math.abs(top - this.top) * RowHeight > this.scale + 1) this.top = top;
        this.draw();
    }

    wheel(event) {
        if (this.scale === 1 || event.ctrlKey) return;
        event.preventDefault();
        this.scrollTo(this.top + event.deltaY / RowHeight);
    }

    scrollTo(line) {
        this.top = clamp(line, 0, Math.max(0, this.count - this.place.clientHeight / RowHeight));
        this.place.scrollTop = this.top * RowHeight / this.scale;
        this.draw();
    }

    reveal(line) {
        this.wanted = this.place.clientHeight ? null : line;
        if (this.wanted !== null) return;
        if (line < this.top + 1) this.scrollTo(line - 3);
        else if (line > this.top + this.visible - 2) this.scrollTo(line - this.visible + 4);
        else this.draw();
    }

    draw() {
        const first = Math.floor(this.top);
        const count = Math.min(this.visible + 2, this.count - first);
        this.onShow(first, count);
        const rows = [];
        for (let i = first; i < first + count; ++i) {
            const row = this.render(i);
            row.style.top = (i - this.top) * RowHeight + "px";
            row.dataset.line = i;
            rows.push(row);
        }
        this.rows.replaceChildren(...rows);
    }
}
