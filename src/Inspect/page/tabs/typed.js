// A buffer as a table of what its bytes mean.
import { ask } from "../api.js";
import { bar, clamp, counted, hint, make, matrixText, row, select, short, table } from "../util.js";

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
        const parts = [select("What the bytes mean", choices, this.as, as => { this.as = as; this.first = 0; again(); })];
        if (this.as !== "bytes" && this.as !== "vertices") parts.push(field("Offset", "offset", 5), field("Stride", "stride", 5));
        if (this.as !== "declaration") return bar(...parts);
        parts.push(select("Layout", [["", "as declared"], ["std140"], ["std430"], ["packed"]], this.layout, layout => { this.layout = layout; again(); }));
        const area = make("textarea", { rows: 4, spellcheck: "false", "aria-label": "Declaration of a block or of its members",
            keydown: event => { if (event.key === "Enter" && event.ctrlKey) apply(); } }, this.declaration);
        const apply = () => { this.declaration = area.value; this.first = 0; again(); };
        return make("div", {}, bar(...parts, make("button", { click: apply, title: "Ctrl+Enter" }, "Show")), area);
    }

    async table(at, name, again) {
        const as = this.as === "declaration" ? this.declaration : this.as;
        const answer = await ask("buffer", { at, name, as, layout: this.layout || undefined, offset: this.offset || undefined,
            stride: this.stride || undefined, first: this.first, count: Rows });
        const { columns, rows, total, isCut } = answer;
        const note = [`${counted(total, "row")} of ${answer.stride || "all"} bytes from ${answer.offset}`];
        if (isCut) note.push("some members are left out");
        // One row is read better from top to bottom.
        if (total === 1)
            return [hint(note.join("; ")), table(columns.map((column, i) =>
                row(make("span", { title: `${column.type} at ${column.offset}` }, `${column.type} ${column.name}`), this.cell(column, rows[0].values[i]))))];
        const headings = columns.map(column => make("th", { scope: "col", title: `at ${column.offset}` }, column.name, make("br"), column.type));
        const parts = [hint(note.join("; ")), make("div", { class: "wide" }, table(rows.map(({ offset, values }, i) =>
            make("tr", {}, [this.first + i, offset, ...values.map((value, k) => this.cell(columns[k], value))].map(cell => make("td", {}, cell)))),
        ["row", "offset", ...headings], "values mesh"))];
        if (total > Rows) {
            const move = by => { this.first = clamp(this.first + by, 0, Math.floor((total - 1) / Rows) * Rows); again(); };
            parts.push(bar(make("button", { click: () => move(-Rows), disabled: this.first === 0 }, "Earlier"),
                make("button", { click: () => move(Rows), disabled: this.first + Rows >= total }, "Later")));
        }
        return parts;
    }

    cell(column, values) {
        if (!values.length) return "outside";
        const matrix = /^mat(\d)(?:x(\d))?$/.exec(column.type);
        if (!matrix) return values.map(text).join(", ");
        return matrixText(values.map(text), +(matrix[2] ?? matrix[1]));
    }
}
