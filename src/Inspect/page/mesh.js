// The vertices of a draw: a table of what its arrays hold, and the primitives from any side.
import { ask } from "./api.js";
import { make, short } from "./util.js";

const Rows = 300;
const Shown = 10_000;

export class MeshView {
    constructor(open) {
        this.open = open;
        this.turn = [0.4, 0.6];
        this.first = 0;
    }

    async load(at, text, signal) {
        this.problem = "";
        this.first = 0;
        this.mode = /mode=GL_(\w+)/.exec(text)?.[1] ?? "POINTS";
        try {
            this.answer = await ask("vertices", { at, count: Shown }, signal);
        } catch (error) {
            if (error.name === "AbortError") throw error;
            this.answer = null;
            this.problem = error.message;
        }
    }

    render(place) {
        if (!this.answer) return place.replaceChildren(make("p", { class: "empty" }, this.problem));
        const { arrays, rows, count } = this.answer;
        if (!arrays.length) return place.replaceChildren(make("p", { class: "empty" }, `${count} vertices, and no vertex array is enabled.`));
        const position = make("select", { "aria-label": "Array with the places", change: () => this.draw() }, arrays.map((array, i) =>
            make("option", { value: i, selected: /pos|vert/i.test(array.name) }, array.name || `array ${array.location}`)));
        this.position = position;
        this.canvas = make("canvas", { class: "mesh", tabindex: 0, role: "img", "aria-label": "The primitives of the draw before the vertex shader; arrow keys turn them",
            pointermove: event => event.buttons & 1 && this.rotate(event.movementX / 100, event.movementY / 100), keydown: event => this.key(event) });
        const body = make("tbody");
        place.replaceChildren(
            make("div", { class: "bar" }, `${this.mode}, ${count} vertices; places in`, position), this.canvas,
            make("table", { class: "values mesh" }, make("thead", {}, make("tr", {}, make("th", { scope: "col" }, "vertex"), make("th", { scope: "col" }, "index"),
                arrays.map(array => make("th", { scope: "col", title: `${array.size} of ${array.type}, stride ${array.stride}, offset ${array.offset}` },
                    array.name || `array ${array.location}`, make("br"),
                    array.buffer ? make("a", { href: "#", click: event => { event.preventDefault(); this.open("buffers", array.buffer); } }, `buffer ${array.buffer}`) : "memory",
                    array.divisor ? `, each ${array.divisor} instances` : "")))), body));
        const fill = () => body.replaceChildren(...rows.slice(this.first, this.first + Rows).map((row, i) => make("tr", {},
            make("td", {}, this.first + i), make("td", {}, row.index < 0 ? "\u2013" : row.index),
            row.values.map(values => make("td", {}, values.length ? values.map(short).join(", ") : "outside")))));
        fill();
        if (rows.length > Rows)
            place.append(make("div", { class: "bar" }, make("button", { click: () => { this.first = Math.max(0, this.first - Rows); fill(); } }, "Earlier"),
                make("button", { click: () => { if (this.first + Rows < rows.length) this.first += Rows; fill(); } }, "Later"),
                rows.length < count ? `the first ${rows.length} of ${count}` : ""));
        new ResizeObserver(() => this.draw()).observe(this.canvas);
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

    draw() {
        const scale = devicePixelRatio, width = this.canvas.clientWidth, height = this.canvas.clientHeight;
        this.canvas.width = width * scale;
        this.canvas.height = height * scale;
        const context = this.canvas.getContext("2d");
        context.scale(scale, scale);
        const points = this.answer.rows.map(row => row.values[+this.position.value]).map(values =>
            values?.length && values.every(Number.isFinite) ? [values[0], values[1] ?? 0, values[2] ?? 0] : null);
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
        const flat = points.map(point => point && project(point));
        const colour = getComputedStyle(document.documentElement).getPropertyValue("--accent");
        context.strokeStyle = context.fillStyle = colour;
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
    }
}
