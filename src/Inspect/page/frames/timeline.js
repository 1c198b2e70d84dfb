// The frames of the capture, one bar each, or the largest of several where there are more than pixels.
import { ask } from "../api.js";
import { FrameStrip } from "./thumbnails.js";
import { bytes, byId, clamp, colour, counted, prepare, when } from "../util.js";

const Again = 400; // ms, while the capture is being read

export class Timeline {
    constructor(choose) {
        this.choose = choose;
        this.canvas = document.querySelector("#timeline canvas");
        this.frames = { timeMs: [], draws: [], calls: [], uploadBytes: [], failed: [] };
        this.strip = new FrameStrip(byId("strip"), byId("preview"), frame => this.choose(frame));
        this.count = 0;
        this.frame = 1;
        this.hovered = 0;
        this.isDone = false;
        new ResizeObserver(() => this.draw()).observe(this.canvas);
        when("measure", () => this.draw(), "change");
        this.canvas.addEventListener("pointermove", event => { this.hover(event); if (event.buttons & 1) this.choose(this.hovered); });
        this.canvas.addEventListener("pointerleave", () => { this.hovered = 0; this.strip.show(0); this.draw(); });
        this.canvas.addEventListener("pointerdown", event => { this.canvas.setPointerCapture(event.pointerId); this.choose(this.frameAt(event)); });
        this.canvas.addEventListener("keydown", event => this.key(event));
    }

    /** Resolves when the first frames are known; goes on until all are. */
    async load() {
        const answer = await ask("frames", { first: this.count + 1 });
        let last = this.count ? this.lastTime : 0;
        answer.calls.forEach((calls, i) => {
            this.frames.calls.push(calls);
            this.frames.draws.push(answer.draws[i]);
            this.frames.uploadBytes.push(answer.uploadBytes[i]);
            this.frames.timeMs.push(Math.max(0, answer.timeUs[i] - last) / 1000);
            last = answer.timeUs[i] || last;
        });
        this.lastTime = last;
        this.count = answer.total;
        this.hasRest = answer.hasRest;
        this.isDone = answer.isDone;
        this.trouble = answer.trouble;
        this.canvas.setAttribute("aria-valuemax", this.count);
        this.draw();
        if (this.isDone) return;
        if (!this.count) return new Promise(resolve => setTimeout(resolve, Again / 4)).then(() => this.load());
        setTimeout(() => this.load().catch(() => {}), Again);
    }

    /** Begins with the pictures of frames. */
    loadPictures() {
        this.strip.load(() => this.count - (this.hasRest ? 1 : 0), () => { this.frames.failed = this.strip.failed; this.draw(); });
    }

    hover(event) {
        this.hovered = this.frameAt(event);
        const box = this.canvas.getBoundingClientRect();
        this.strip.show(this.hovered, event.clientX, box.right);
        this.draw();
    }

    setFrame(frame) {
        this.frame = frame;
        this.canvas.setAttribute("aria-valuenow", frame);
        this.canvas.setAttribute("aria-valuetext", this.describe(frame));
        this.draw();
    }

    frameAt(event) {
        const box = this.canvas.getBoundingClientRect();
        return clamp(Math.floor((event.clientX - box.left) / box.width * this.count) + 1, 1, this.count);
    }

    describe(frame) {
        const { draws, calls, uploadBytes, timeMs, failed } = this.frames;
        const i = frame - 1;
        if (calls[i] === undefined) return "";
        const name = this.hasRest && frame === this.count ? "After the last frame" : `Frame ${frame}`;
        return `${name}: ${draws[i]} draws, ${calls[i]} calls, ${bytes(uploadBytes[i])} uploaded` +
            (timeMs[i] ? `, ${timeMs[i].toFixed(2)} ms when recorded` : "") +
            (failed[i] ? `, ${counted(failed[i], "call")} failed` : "");
    }

    draw() {
        const { context, width, height } = prepare(this.canvas);
        byId("hovered").textContent = this.describe(this.hovered || this.frame);
        if (!this.count || !width) return;
        const values = this.frames[byId("measure").value];
        const column = Math.max(width / this.count, 1);
        const columns = Math.ceil(width / column);
        // A frame that took very long must not flatten all others.
        const sorted = [...values].sort((a, b) => a - b);
        const most = Math.min(sorted[sorted.length - 1], 4 * (sorted[Math.floor(sorted.length * 0.95)] || Infinity)) || 1;
        context.globalAlpha = 0.65;
        for (let i = 0; i < columns; ++i) {
            const first = Math.floor(i * column / width * this.count);
            const end = Math.max(first + 1, Math.floor((i + 1) * column / width * this.count));
            let value = 0;
            for (let k = first; k < Math.min(end, this.count); ++k) value = Math.max(value, values[k] ?? 0);
            const hasFailed = this.frames.failed.slice(first, end).some(Boolean);
            context.fillStyle = colour(hasFailed ? "--bad" : "--accent");
            const tall = Math.max(1, Math.min(value / most, 1) * (height - 8));
            context.fillRect(i * column, height - tall, Math.max(column - (column > 3 ? 1 : 0), 1), tall);
        }
        context.globalAlpha = 1;
        context.fillStyle = colour("--ink");
        const mark = frame => {
            const x = (frame - 1) / this.count * width, w = Math.max(width / this.count, 2);
            context.fillRect(x, 0, w, height);
        };
        if (this.hovered) { context.globalAlpha = 0.3; mark(this.hovered); context.globalAlpha = 1; }
        mark(this.frame);
    }

    key(event) {
        const steps = { ArrowRight: 1, ArrowLeft: -1, PageDown: 10, PageUp: -10, Home: -Infinity, End: Infinity };
        if (!(event.key in steps)) return;
        event.preventDefault();
        event.stopPropagation();
        this.choose(clamp(this.frame + steps[event.key], 1, this.count));
    }
}
