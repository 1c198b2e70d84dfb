// The images that a call could write to: zoom, channels, range, overlays, and the value under the pointer.
import { addressOf, ask, askBytes } from "../api.js";
import { Overlays, paintOverlay } from "./overlay.js";
import { Pixels } from "./pixels.js";
import { DisplayShader } from "./shader.js";
import { byId, clamp, colour, make, prepare, short, swatch, toggle, when } from "../util.js";

const Channels = ["R", "G", "B", "A"];
const MostZoom = 64;

export class Output {
    /** `report` gets the answer to "targets"; `showHistory` is asked to show that of a pixel; `fail` gets errors. */
    constructor({ report, showHistory, fail }) {
        this.report = report;
        this.fail = fail;
        this.showHistory = showHistory;
        this.view = byId("view");
        this.canvas = this.view.querySelector("canvas");
        this.empty = this.view.querySelector(".empty");
        this.channels = [true, true, true, false];
        this.what = ""; // of the image that is shown, kept from call to call
        this.targets = [];
        this.index = -1;
        this.range = null; // null: as it is for the kind of image
        this.zoom = null; // null: the whole image
        this.pan = [0, 0];
        this.pixel = null;
        this.held = null;
        this.isHeld = false;
        this.isAuto = false; // the range is that of each image
        this.isLinear = false; // values are encoded as sRGB to be shown
        this.masks = new Map(); // of the call at hand, by kind
        this.shader = new DisplayShader(() => this.again());
        this.build();
    }

    build() {
        for (const [i, name] of Channels.entries())
            byId("channels").append(toggle(name, this.channels[i], () => this.setChannel(i),
                { title: `${name} (${name.toLowerCase()}); double-click: it alone`, dblclick: () => this.soloChannel(i) }));
        for (const id of ["low", "high"])
            when(id, () => this.setRange(+byId("low").value || 0, +byId("high").value || 0), "change");
        when("fit-range", () => this.fitRange());
        when("auto-range", () => this.toggleAuto());
        byId("overlays").append(...Object.entries(Overlays).map(([value, { name }]) => make("option", { value }, name)));
        when("srgb", () => this.toggleLinear());
        when("overlay", () => this.paint(), "change");
        when("hold", () => this.toggleHold());
        when("zoom-in", () => this.zoomBy(2));
        when("zoom-out", () => this.zoomBy(0.5));
        when("zoom-fit", () => this.fit());
        this.view.addEventListener("wheel", event => {
            event.preventDefault();
            this.zoomBy(event.deltaY < 0 ? 1.25 : 0.8, this.pointOf(event));
        }, { passive: false });
        this.view.addEventListener("pointermove", event => this.move(event));
        this.view.addEventListener("pointerdown", event => { this.dragged = 0; this.view.setPointerCapture(event.pointerId); });
        this.view.addEventListener("pointerup", event => this.dragged < 4 && this.choosePixel(event));
        this.view.addEventListener("keydown", event => this.key(event));
        new ResizeObserver(() => this.draw()).observe(this.view);
    }

    async show(at, signal) {
        const answer = await ask("targets", { at }, signal);
        this.report(answer);
        if (this.isHeld) return;
        this.masks.clear();
        this.at = answer.at;
        this.call = answer.call;
        this.frame = +at.split(":")[0];
        this.targets = answer.targets;
        const same = this.targets.findIndex(target => target.what === this.what);
        await this.choose(Math.max(same, 0), signal, false);
    }

    async choose(index, signal = undefined, isChosen = true) {
        this.index = index;
        const target = this.targets[index];
        if (isChosen) { this.what = target.what; this.range = null; }
        byId("targets").replaceChildren(...this.targets.map((one, i) => make("button", {
            role: "tab", "aria-selected": i === index, click: () => this.choose(i),
            title: `${one.object}, ${one.what}`,
        }, `${one.object.replace("default framebuffer", "default")} \u00B7 ${one.what}`)));
        byId("targets").append(make("span", { class: "spacer" }), make("span", { class: "note" },
            target?.width ? `${target.width} \u00D7 ${target.height}, ${target.components}` : ""));
        this.before = null;
        if (!target || target.problem || target.components === "bytes") {
            this.pixels = null;
            this.say(!target ? "This call writes to no image that can be read." : target.problem ||
                `${target.object} is a buffer: Resources show it.`);
            return this.draw();
        }
        byId("save").href = addressOf("picture", { at: this.at, index });
        byId("save").download = `${this.at} ${target.what}.png`.replaceAll(":", "-");
        const pixels = await this.load(index, signal);
        if (this.index !== index) return;
        const isOther = !this.pixels || this.pixels.name !== pixels.name;
        this.pixels = pixels;
        if (isOther) this.range = null;
        this.empty.hidden = true;
        await this.paint();
    }

    /** The image, or what the shader makes of it. */
    async load(index, signal) {
        const { at } = this;
        const shader = this.shader.text;
        this.shader.say("");
        if (shader) {
            try {
                return new Pixels(await askBytes("show", { at, index, shader }, signal));
            } catch (error) {
                if (error.name === "AbortError") throw error;
                this.shader.say(error.message);
            }
        }
        return new Pixels(await askBytes("pixels", { at, index }, signal));
    }

    again() {
        if (this.index >= 0 && this.targets.length) this.choose(this.index, undefined, false).catch(this.fail);
    }

    say(text) {
        this.empty.textContent = text;
        this.empty.hidden = false;
    }

    // Channels and range.
    setChannel(i) {
        this.channels[i] = !this.channels[i];
        this.showChannels();
    }
    soloChannel(i) {
        this.channels = this.channels.map((_, k) => k === i);
        this.showChannels();
    }
    showChannels() {
        [...byId("channels").children].forEach((button, k) => button.setAttribute("aria-pressed", this.channels[k]));
        this.paint();
    }
    setRange(low, high) {
        this.range = [low, high];
        this.paint();
    }
    fitRange() {
        if (this.pixels) this.setRange(...this.pixels.range(this.channels));
    }
    toggleAuto() {
        this.isAuto = !this.isAuto;
        byId("auto-range").setAttribute("aria-pressed", this.isAuto);
        this.range = null;
        this.paint();
    }
    toggleLinear() {
        this.isLinear = !this.isLinear;
        byId("srgb").setAttribute("aria-pressed", this.isLinear);
        this.paint();
    }
    get shownRange() {
        if (this.range) return this.range;
        if (this.isAuto) return this.pixels.range(this.channels);
        return this.pixels.isColour && !this.pixels.kind.isInteger ? [0, 1] : this.pixels.range(this.channels);
    }

    toggleHold() {
        this.isHeld = !this.isHeld;
        byId("hold").setAttribute("aria-pressed", this.isHeld);
        if (this.isHeld) this.held = { pixels: this.pixels, at: this.at };
        else this.report(null);
        this.value();
    }

    // Painting: the image in its own size, then the part of it that is in view.
    async paint() {
        const pixels = this.pixels;
        if (!pixels) return;
        const [low, high] = this.shownRange;
        if (document.activeElement !== byId("low")) byId("low").value = short(low);
        if (document.activeElement !== byId("high")) byId("high").value = short(high);
        const showsAlpha = this.channels[3] && this.channels.filter(Boolean).length > 1;
        const image = pixels.toImage({ channels: this.channels, low, high, showsAlpha, isLinear: this.isLinear });
        const legend = await this.overlay(image, low, high);
        if (this.pixels !== pixels) return;
        this.showLegend(legend);
        this.picture = new OffscreenCanvas(pixels.width, pixels.height);
        this.picture.getContext("2d").putImageData(image, 0, 0);
        this.paintHistogram(low, high);
        this.draw();
    }

    /** Paints the overlay that is chosen, and answers its legend: `{ entries, note }`. */
    async overlay(image, low, high) {
        const kind = byId("overlay").value;
        if (kind in Overlays) return this.overlayOfDraw(kind, image);
        if (kind === "odd") return { entries: this.pixels.markOdd(image, low, high) };
        const other = kind === "changed" ? await this.pixelsBefore() : kind === "held" ? this.held?.pixels : undefined;
        if (other === undefined) return { note: kind === "held" ? "Hold a picture to compare with it." : "" };
        const entries = this.pixels.markDifferences(image, other);
        return entries ? { entries } : { note: "There is nothing to compare with: another size or kind." };
    }

    async overlayOfDraw(kind, image) {
        const { at, masks } = this;
        if (!masks.has(kind)) {
            try {
                const answer = await askBytes("overlay", { at, kind });
                masks.set(kind, { pixels: new Pixels(answer), note: answer.note ?? "" });
            } catch (error) {
                masks.set(kind, { note: error.message });
            }
        }
        const { pixels, note } = masks.get(kind);
        if (!pixels) return { note };
        const entries = paintOverlay(kind, pixels, image);
        return entries ? { entries, note } : { note: "This image has another size than what is drawn to." };
    }

    showLegend(legend) {
        const { entries = [], note = "" } = legend;
        byId("legend").hidden = !entries.length && !note;
        byId("legend").replaceChildren(...entries.map(entry => make("span", { class: "entry" }, swatch(entry.colour), entry.text)), note);
    }

    /** The same image in front of the call. */
    async pixelsBefore() {
        if (this.before) return this.before;
        const { object, what } = this.targets[this.index];
        if (this.call < 2) return null;
        const at = `${this.frame}:c${this.call - 1}`;
        const { targets } = await ask("targets", { at });
        const index = targets.findIndex(target => target.object === object && target.what === what);
        if (index < 0) return null;
        return this.before = new Pixels(await askBytes("pixels", { at, index }));
    }

    paintHistogram(low, high) {
        const canvas = byId("histogram");
        const context = canvas.getContext("2d");
        const counts = this.pixels.histogram(this.channels, canvas.width, low, high);
        const most = Math.log1p(Math.max(...counts)) || 1;
        context.clearRect(0, 0, canvas.width, canvas.height);
        context.fillStyle = colour("--quiet");
        counts.forEach((count, i) => context.fillRect(i, canvas.height, 1, -Math.log1p(count) / most * canvas.height));
    }

    /** Size and place of the image in the view. */
    get box() {
        const width = this.view.clientWidth, height = this.view.clientHeight;
        const whole = Math.min(width / this.picture.width, height / this.picture.height);
        const zoom = this.zoom ?? (whole > 4 ? Math.floor(whole) : whole);
        const w = this.picture.width * zoom, h = this.picture.height * zoom;
        return { zoom, w, h, x: Math.round((width - w) / 2 + this.pan[0]), y: Math.round((height - h) / 2 + this.pan[1]) };
    }

    draw() {
        const { context, width, height } = prepare(this.canvas);
        if (!this.picture || !this.pixels) return this.value();
        const { zoom, x, y, w, h } = this.box;
        context.fillStyle = colour("--panel");
        context.fillRect(0, 0, width, height);
        context.clearRect(x, y, w, h);
        context.imageSmoothingEnabled = zoom < 2 && zoom !== 1;
        context.drawImage(this.picture, x, y, w, h);
        if (this.isInside(this.pixel)) {
            const side = Math.max(zoom, 5), grow = (side - zoom) / 2;
            const left = x + this.pixel[0] * zoom - grow, top = y + (this.pixels.height - 1 - this.pixel[1]) * zoom - grow;
            context.strokeStyle = "#000";
            context.strokeRect(left - 1.5, top - 1.5, side + 3, side + 3);
            context.strokeStyle = "#fff";
            context.strokeRect(left - 0.5, top - 0.5, side + 1, side + 1);
        }
        byId("zoom").textContent = zoom >= 1 ? `${+zoom.toFixed(1)}\u00D7` : `${Math.round(zoom * 100)} %`;
        this.value();
    }

    value() {
        const parts = [];
        if (this.isHeld) parts.push(`Held: ${this.held.at}`);
        const place = this.hover ?? this.pixel;
        if (this.isInside(place))
            parts.push(`${place[0]}, ${place[1]}: ${this.pixels.textAt(...place)}`);
        else if (this.pixels) parts.push("Point at a pixel for its value; click for its history. Pixels count from the lower left.");
        if (this.shader.text) parts.push("by the shader");
        byId("value").textContent = parts.join(" \u00B7 ");
    }

    pointOf(event) {
        const box = this.view.getBoundingClientRect();
        return [event.clientX - box.left, event.clientY - box.top];
    }

    pixelAt(point) {
        if (!this.picture || !this.pixels) return null;
        const { zoom, x, y } = this.box;
        const pixel = [Math.floor((point[0] - x) / zoom), this.pixels.height - 1 - Math.floor((point[1] - y) / zoom)];
        return this.isInside(pixel) ? pixel : null;
    }

    isInside(pixel) {
        return this.pixels && pixel?.every((value, i) => value >= 0 && value < [this.pixels.width, this.pixels.height][i]);
    }

    zoomBy(factor, point = [this.view.clientWidth / 2, this.view.clientHeight / 2]) {
        if (!this.picture) return;
        const old = this.box;
        this.zoom = clamp(old.zoom * factor, 1 / 16, MostZoom);
        const at = [(point[0] - old.x) / old.zoom, (point[1] - old.y) / old.zoom];
        const box = this.box;
        this.pan[0] += point[0] - at[0] * box.zoom - box.x;
        this.pan[1] += point[1] - at[1] * box.zoom - box.y;
        this.draw();
    }

    fit() {
        this.zoom = null;
        this.pan = [0, 0];
        this.draw();
    }

    move(event) {
        if (event.buttons & 1) {
            this.dragged += Math.abs(event.movementX) + Math.abs(event.movementY);
            this.pan[0] += event.movementX;
            this.pan[1] += event.movementY;
            return this.draw();
        }
        this.hover = this.pixelAt(this.pointOf(event));
        this.value();
    }

    choosePixel(event) {
        const pixel = this.pixelAt(this.pointOf(event));
        if (!pixel) return;
        this.pixel = pixel;
        this.draw();
        this.showHistory();
    }

    key(event) {
        const steps = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] };
        if (event.key in steps && this.pixels) {
            const far = event.shiftKey ? 10 : 1;
            const from = this.pixel ?? [this.pixels.width >> 1, this.pixels.height >> 1];
            this.pixel = from.map((value, i) =>
                clamp(value + steps[event.key][i] * far, 0, [this.pixels.width, this.pixels.height][i] - 1));
            this.hover = null;
            this.draw();
        } else if (event.key === "Enter" && this.pixel) {
            this.showHistory();
        } else {
            return;
        }
        event.preventDefault();
        event.stopPropagation();
    }
}
