// A buffer as a table of what its bytes mean.
import { ask } from "../api.js";
import { make, short } from "../util.js";

const Rows = 200;
const Example = "vec3 position;\nfloat weight;";
const text = value => typeof value === "number" ? short(value) : String(value);

/** Kept while one looks at other buffers and calls. */
export class TypedBuffer {
    constructor() {
        this.as = "bytes";
        this.declaration = Example;
        this.layout = "";
        this.offset = "";
        this.stride = "";
        this.first = 0;
    }

    /** What may be chosen: the blocks that the call reads from the buffer, its vertices, a declaration. */
    async choices(at, name, signal) {
        const inputs = await ask("inputs", { at }, signal).then(answer => answer.inputs, () => []);
        const uses = inputs.filter(input => input.kind === "buffer" && String(input.object) === String(name)).map(input => input.name);
        const choices = [["bytes", "Plain numbers"], ["declaration", "By a declaration"]];
        if (uses.some(use => use.startsWith("vertex attribute"))) choices.push(["vertices", "Vertices of this draw"]);
        for (const use of uses) if (use.startsWith("block ")) choices.push([`block:${use.slice(6)}`, `Block ${use.slice(6)}`]);
        return choices;
    }

    bar(choices, again) {
        if (!choices.some(([value]) => value === this.as)) this.as = "bytes";
        const field = (label, name, width) => make("label", { class: "short" }, label, " ", make("input", { inputmode: "numeric", size: width, value: this[name],
            change: event => { this[name] = event.target.value.trim(); this.first = 0; again(); } }));
        const parts = [make("select", { "aria-label": "What the bytes mean", change: event => { this.as = event.target.value; this.first = 0; again(); } },
            choices.map(([value, name]) => make("option", { value, selected: value === this.as }, name)))];
        if (this.as !== "bytes" && this.as !== "vertices") parts.push(field("Offset", "offset", 5), field("Stride", "stride", 5));
        if (this.as !== "declaration") return make("div", { class: "bar" }, parts);
        parts.push(make("select", { "aria-label": "Layout", change: event => { this.layout = event.target.value; again(); } },
            ["", "std140", "std430", "packed"].map(layout => make("option", { value: layout, selected: layout === this.layout }, layout || "as declared"))));
        const area = make("textarea", { rows: 4, spellcheck: "false", "aria-label": "Declaration of a block or of its members",
            keydown: event => { if (event.key === "Enter" && event.ctrlKey) apply(); } }, this.declaration);
        const apply = () => { this.declaration = area.value; this.first = 0; again(); };
        return make("div", {}, make("div", { class: "bar" }, parts, make("button", { click: apply, title: "Ctrl+Enter" }, "Show")), area);
    }

    async table(at, name, again) {
        const as = this.as === "declaration" ? this.declaration : this.as;
        const answer = await ask("buffer", { at, name, as, layout: this.layout || undefined, offset: this.offset || undefined,
            stride: this.stride || undefined, first: this.first, count: Rows });
        const { columns, rows, total, isCut } = answer;
        const note = [`${total} ${total === 1 ? "row" : "rows"} of ${answer.stride || "all"} bytes from ${answer.offset}`];
        if (isCut) note.push("some members are left out");
        // One row is read better from top to bottom.
        if (total === 1)
            return [make("p", { class: "hint" }, note.join("; ")), make("table", { class: "values" }, make("tbody", {}, columns.map((column, i) =>
                make("tr", {}, make("th", { scope: "row", title: `${column.type} at ${column.offset}` }, `${column.type} ${column.name}`),
                    make("td", {}, this.cell(column, rows[0].values[i]))))))];
        const parts = [make("p", { class: "hint" }, note.join("; ")), make("div", { class: "wide" }, make("table", { class: "values mesh" },
            make("thead", {}, make("tr", {}, make("th", { scope: "col" }, "row"), make("th", { scope: "col" }, "offset"),
                columns.map(column => make("th", { scope: "col", title: `at ${column.offset}` }, column.name, make("br"), column.type)))),
            make("tbody", {}, rows.map((row, i) => make("tr", {}, make("td", {}, this.first + i), make("td", {}, row.offset),
                row.values.map((values, k) => make("td", {}, this.cell(columns[k], values))))))))];
        if (total > Rows) {
            const move = by => { this.first = Math.min(Math.max(this.first + by, 0), Math.floor((total - 1) / Rows) * Rows); again(); };
            parts.push(make("div", { class: "bar" }, make("button", { click: () => move(-Rows), disabled: this.first === 0 }, "Earlier"),
                make("button", { click: () => move(Rows), disabled: this.first + Rows >= total }, "Later")));
        }
        return parts;
    }

    cell(column, values) {
        if (!values.length) return "outside";
        const matrix = /^mat(\d)(?:x(\d))?$/.exec(column.type);
        if (!matrix) return values.map(text).join(", ");
        // Columns follow one another.
        const rows = +(matrix[2] ?? matrix[1]);
        return make("pre", { class: "plain" }, Array.from({ length: rows }, (_, row) =>
            values.filter((_, i) => i % rows === row).map(text).join("  ")).join("\n"));
    }
}
