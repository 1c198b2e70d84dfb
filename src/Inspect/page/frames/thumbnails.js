// Small pictures that the server makes while nobody waits for anything else: of frames, and of what actions changed.
import { addressOf, ask } from "../api.js";
import { clamp, make } from "../util.js";

const Again = 600; // ms, until the server is asked for more

/** Those of the actions of one frame. */
export class ActionThumbnails {
    /** `changed` is called when there are more of them, or when calls of the frame are known to have failed. */
    constructor(changed) {
        this.changed = changed;
        this.frame = 0;
        this.changes = new Map(); // by call
        this.images = new Map();
        this.failed = [];
    }

    /** Begins with another frame. */
    load(frame) {
        clearTimeout(this.timer);
        this.frame = frame;
        this.changes.clear();
        this.images.clear();
        this.failed = [];
        this.timer = setTimeout(() => this.poll(frame), Again / 2);
    }

    async poll(frame) {
        const answer = await ask("thumbnails", { frame }).catch(() => null);
        if (!answer || frame !== this.frame) return;
        const isMore = answer.actions.length > this.changes.size || answer.failed.length > this.failed.length;
        for (const action of answer.actions) this.changes.set(action.call, action);
        this.failed = answer.failed;
        if (isMore) this.changed();
        if (!answer.isDone) this.timer = setTimeout(() => this.poll(frame), Again);
    }

    /** An element for a line of the tree; the same one each time, so that it is loaded once. */
    of(call) {
        const change = this.changes.get(call);
        if (!change) return null;
        if (!this.images.has(call))
            this.images.set(call, change.width
                ? make("img", { class: "thumb", alt: `changed ${change.width} by ${change.height} pixels`, src: addressOf("thumbnail", { at: `${this.frame}:c${call}` }) })
                : make("span", { class: "thumb none", title: "changed no pixel" }));
        return this.images.get(call);
    }
}

/** Those of frames, below the timeline: as many as fit. */
export class FrameStrip {
    constructor(place, preview, choose) {
        this.place = place;
        this.preview = preview;
        this.choose = choose;
        this.failed = [];
        this.pictures = []; // frames that have one
        this.total = 0;
        new ResizeObserver(() => this.draw()).observe(place);
    }

    /** Asks until all are there; `changed` hears of it. */
    async load(total, changed) {
        const answer = await ask("thumbnails").catch(() => null);
        if (!answer) return;
        this.total = total();
        const isMore = answer.failed.length > this.failed.length;
        this.failed = answer.failed;
        this.pictures = answer.pictures;
        if (isMore) { this.draw(); changed(); }
        if (!answer.isDone) setTimeout(() => this.load(total, changed), 2 * Again);
    }

    /** The frame at or in front of this one that has a picture; 0 for none yet. */
    shown(frame) {
        if (frame > this.failed.length) return 0;
        return this.pictures.findLast(one => one <= frame) ?? 0;
    }

    draw() {
        const width = this.place.clientWidth;
        this.place.hidden = !this.pictures.length;
        if (!width || !this.total) return;
        const count = clamp(Math.floor(width / 84), 1, this.total);
        const frames = Array.from({ length: count }, (_, i) => this.shown(1 + Math.floor((i + 0.5) * this.total / count)));
        const key = frames.join();
        if (key === this.key) return;
        this.key = key;
        this.place.replaceChildren(...frames.map(frame => frame
            ? make("button", { "aria-label": `Frame ${frame}`, title: `Frame ${frame}`, tabindex: -1, click: () => this.choose(frame) },
                make("img", { alt: "", src: addressOf("thumbnail", { frame }) }))
            : make("span", {})));
    }

    /** A picture of a frame at a place of the timeline, in pixels from its left; none for frame 0. */
    show(frame, x, width) {
        const shown = frame ? this.shown(frame) : 0;
        this.preview.hidden = !shown;
        if (!shown) return;
        const address = addressOf("thumbnail", { frame: shown });
        if (this.preview.getAttribute("src") !== address) this.preview.src = address;
        this.preview.style.left = `${Math.min(Math.max(x - 72, 4), width - 148)}px`;
    }
}
