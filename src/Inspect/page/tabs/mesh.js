// The vertices of a draw, before the vertex shader and after it: a table, and the primitives from any side.
import { ask } from "../api.js";
import { objectLink } from "../names.js";
import { bar, choice, clamp, colour, empty, make, prepare, select, short, table } from "../util.js";

const Rows = 300;
const Shown = 10_000;
const Near = 12; // of the pointer, in pixels

const nameOf = array => array.name || `array ${array.location}`;

export class MeshView {
    constructor({ open, again }) {
        Object.assign(this, { open, again });
        this.turn = [0.4, 0.6];
        this.first = 0;
        this.isShaded = false;
        this.instance = 0;
    }

    async load(at, text, signal) {
        this.problem = "";
        this.first = 0;
        this.mode = /mode=GL_(\w+)/.exec(text)?.[1] ?? "POINTS";
        this.instances = +(/instancecount=(\d+)/.exec(text)?.[1] ?? 1);
        this.instance = Math.min(this.instance, Math.max(this.instances - 1, 0));
        if (!/^glDraw(?!\w*Indirect)/.test(text)) {
            this.answer = null;
            this.problem = /Draw/.test(text) ? "The vertices of multiple and indirect draws are not listed." : "Only a draw has vertices.";
            return;
        }
        try {
            this.answer = await ask("vertices", { at, count: Shown, ...this.isShaded && { shaded: 1, instance: this.instance } }, signal);
        } catch (error) {
            if (error.name === "AbortError") throw error;
            this.answer = null;
            this.problem = error.message;
        }
    }

    render(place) {
        const { arrays, count } = this.answer ?? {};
        if (!this.answer) return place.replaceChildren(this.choices(), empty(this.problem));
        if (!arrays.length) return place.replaceChildren(this.choices(), empty(`${count} vertices, and no vertex array is enabled.`));
        const likely = [/pos/i, /vert/i].map(name => arrays.findIndex(array => name.test(array.name))).find(index => index >= 0) ?? 0;
        this.position = select("Values that are places", arrays.map((array, i) => [i, nameOf(array)]), this.isShaded ? 0 : likely, () => this.draw());
        this.canvas = make("canvas", {
            class: "mesh", tabindex: 0, role: "img", "aria-label": "The primitives of the draw; arrow keys turn them",
            pointermove: event => this.point(event), pointerleave: () => this.mark(null), keydown: event => this.key(event),
        });
        this.pointed = make("p", { class: "foot", "aria-live": "polite" });
        place.replaceChildren(this.choices(), bar(`${this.mode}, ${count} vertices; places in`, this.position),
            this.canvas, this.pointed, this.table(), this.pages());
        this.fill();
        this.mark(null);
        new ResizeObserver(() => this.draw()).observe(this.canvas);
    }

    choices() {
        const instance = make("input", { type: "number", min: 0, max: this.instances - 1, value: this.instance, "aria-label": "Instance",
            change: () => { this.instance = clamp(Math.trunc(+instance.value) || 0, 0, this.instances - 1); this.again(); } });
        return bar(choice("Vertices", [[false, "Before the vertex shader"], [true, "After it"]], this.isShaded,
            isShaded => { this.isShaded = isShaded; this.again(); }),
        this.isShaded && this.instances > 1 && make("label", {}, "instance ", instance, ` of ${this.instances}`));
    }

    table() {
        const heading = array => make("th", { scope: "col", title: this.isShaded ? `${array.size} of ${array.type}` : `${array.size} of ${array.type}, stride ${array.stride}, offset ${array.offset}` },
            nameOf(array), make("br"), this.isShaded ? "" : this.source(array));
        const whole = table([], ["vertex", "index", ...this.answer.arrays.map(heading)], "values mesh");
        this.body = whole.tBodies[0];
        return whole;
    }

    source(array) {
        const place = array.buffer ? objectLink("buffers", array.buffer, this.open) : "memory";
        return make("span", {}, place, array.divisor ? `, each ${array.divisor} instances` : "");
    }

    fill() {
        this.body.replaceChildren(...this.answer.rows.slice(this.first, this.first + Rows).map((row, i) => make("tr", {},
            make("td", {}, this.first + i), make("td", {}, row.index < 0 ? "\u2013" : row.index),
            row.values.map(values => make("td", {}, values.length ? values.map(short).join(", ") : row.index < 0 ? "" : "outside")))));
    }

    pages() {
        const { rows, count } = this.answer;
        const go = by => { if (this.first + by >= 0 && this.first + by < rows.length) this.first += by; this.fill(); };
        return rows.length <= Rows ? "" : bar(make("button", { click: () => go(-Rows) }, "Earlier"), make("button", { click: () => go(Rows) }, "Later"),
            rows.length < count ? `the first ${rows.length} of ${count}` : "");
    }

    rotate(x, y) {
        this.turn[0] += y;
        this.turn[1] += x;
        this.draw();
    }

    key(event) {
        const steps = { ArrowLeft: [-0.2, 0], ArrowRight: [0.2, 0], ArrowUp: [0, -0.2], ArrowDown: [0, 0.2] };
        if (!(event.key in steps)) return;
        event.preventDefault();
        this.rotate(...steps[event.key]);
    }

    /** Turns the mesh with the button, and otherwise reads the vertex that is nearest. */
    point(event) {
        if (event.buttons & 1) return this.rotate(event.movementX / 100, event.movementY / 100);
        let nearest = null, least = Near;
        (this.flat ?? []).forEach((point, i) => {
            const distance = point ? Math.hypot(point[0] - event.offsetX, point[1] - event.offsetY) : Infinity;
            if (distance < least) [nearest, least] = [i, distance];
        });
        this.mark(nearest);
    }

    mark(vertex) {
        const { rows } = this.answer;
        this.marked = vertex;
        this.pointed.textContent = vertex === null ? "Point at a vertex to read it."
            : `vertex ${vertex}, index ${rows[vertex].index}, instance ${this.isShaded ? this.instance : 0}: ${(rows[vertex].values[+this.position.value] ?? []).map(short).join(", ")}`;
        this.draw();
    }

    /** Pairs of rows that are joined by a line. */
    edges() {
        const { rows } = this.answer;
        const edges = [];
        const triangle = (a, b, c) => edges.push([a, b], [b, c], [c, a]);
        for (let i = 0; i < rows.length; ++i) {
            if (this.mode === "TRIANGLES" && i % 3 === 2) triangle(i - 2, i - 1, i);
            else if (this.mode === "TRIANGLE_STRIP" && i > 1) triangle(i - 2, i - 1, i);
            else if (this.mode === "TRIANGLE_FAN" && i > 1) triangle(0, i - 1, i);
            else if (this.mode === "LINES" && i % 2) edges.push([i - 1, i]);
            else if (this.mode.startsWith("LINE_") && i) edges.push([i - 1, i]);
        }
        if (this.mode === "LINE_LOOP" && rows.length > 2) edges.push([rows.length - 1, 0]);
        return edges;
    }

    /** Where the vertices are; what is behind the eye is nowhere. */
    points() {
        const isClip = this.answer.arrays[+this.position.value].name === "gl_Position";
        return this.answer.rows.map(row => row.values[+this.position.value]).map(values => {
            if (!values?.length || !values.every(Number.isFinite)) return null;
            const [x, y = 0, z = 0, w = 1] = values;
            if (isClip) return w > 0 ? [x / w, y / w, z / w] : null;
            return [x, y, z];
        });
    }

    draw() {
        const { context, width, height } = prepare(this.canvas);
        const points = this.points();
        this.flat = [];
        const there = points.filter(Boolean);
        if (!there.length) return;
        const low = [0, 1, 2].map(axis => there.reduce((least, point) => Math.min(least, point[axis]), Infinity));
        const high = [0, 1, 2].map(axis => there.reduce((most, point) => Math.max(most, point[axis]), -Infinity));
        const middle = low.map((value, axis) => (value + high[axis]) / 2);
        const size = Math.hypot(...high.map((value, axis) => value - low[axis])) || 1;
        const isFlat = high[2] === low[2];
        const [tilt, turn] = isFlat ? [0, 0] : this.turn;
        const project = point => {
            const [x, y, z] = point.map((value, axis) => (value - middle[axis]) / size);
            const across = x * Math.cos(turn) + z * Math.sin(turn), deep = z * Math.cos(turn) - x * Math.sin(turn);
            const up = y * Math.cos(tilt) - deep * Math.sin(tilt);
            const reach = Math.min(width, height) * 0.95;
            return [width / 2 + across * reach, height / 2 - up * reach];
        };
        this.flat = points.map(point => point && project(point));
        this.paint(context);
    }

    paint(context) {
        const { flat } = this;
        context.strokeStyle = context.fillStyle = colour("--accent");
        context.lineWidth = 0.7;
        context.beginPath();
        const edges = this.edges();
        for (const [a, b] of edges) {
            if (!flat[a] || !flat[b]) continue;
            context.moveTo(...flat[a]);
            context.lineTo(...flat[b]);
        }
        context.stroke();
        if (!edges.length) for (const point of flat) if (point) context.fillRect(point[0] - 1, point[1] - 1, 3, 3);
        if (!flat[this.marked]) return;
        context.strokeStyle = colour("--bad");
        context.lineWidth = 2;
        context.beginPath();
        context.arc(...flat[this.marked], 5, 0, 2 * Math.PI);
        context.stroke();
    }
}
