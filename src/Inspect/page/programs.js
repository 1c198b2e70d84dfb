// The programs that a call runs: their shaders, which can be edited, experiments with its draws, and what they read.
import { ask, send, version } from "./api.js";
import { Editor, loadEditor } from "./editor.js";
import { renderInputs } from "./inputs.js";
import { variables } from "./resources.js";
import { byId, make } from "./util.js";

const Experiments = [
    ["skip", "Skip it", "Nothing is drawn"],
    ["scissor", "1\u00D71 scissor", "One pixel is drawn: what is left is the cost of the vertices"],
    ["textures", "2\u00D72 textures", "Small grey textures: what is left is without waiting for texels"],
    ["simple", "Simple shader", "One colour from the fragment shader"],
    ["no-blending", "Blending off", "Pixels are written and not read"],
];
const StageNames = {
    GL_VERTEX_SHADER: "vertex", GL_FRAGMENT_SHADER: "fragment", GL_COMPUTE_SHADER: "compute", GL_GEOMETRY_SHADER: "geometry",
    GL_TESS_CONTROL_SHADER: "tessellation control", GL_TESS_EVALUATION_SHADER: "tessellation evaluation",
};

export class ProgramView {
    /** `changed()` when what is drawn is another picture from now on. */
    constructor({ changed, open, alertUser }) {
        Object.assign(this, { changed, open, alertUser });
        this.edits = [];
        this.chosen = ""; // "5/GL_FRAGMENT_SHADER"
        this.faults = null;
    }

    async load(at, signal) {
        this.at = at;
        const { inputs, programs } = await ask("inputs", { at }, signal);
        this.inputs = inputs;
        await this.loadEdits(signal);
        this.programs = [];
        for (const name of programs) this.programs.push({ name, ...await ask("program", { at, name }, signal) });
        if (this.programs.some(program => program.shaders.length)) await loadEditor();
    }

    async loadEdits(signal) {
        this.edits = (await ask("edits", {}, signal)).edits;
        this.tell();
    }

    /** What is in force, on every view. */
    tell() {
        const count = this.edits.length;
        byId("edited").hidden = !count;
        byId("edited").textContent = `${count} ${count === 1 ? "change" : "changes"}${version.isEdited ? "" : ", not shown"}`;
    }

    get shaders() {
        return this.programs.flatMap(program => program.shaders.map(shader => ({ ...shader, program: program.name, key: `${program.name}/${shader.type}` })));
    }

    render(place) {
        const parts = [this.states()];
        const { shaders } = this;
        if (shaders.length) {
            this.shader = shaders.find(shader => shader.key === this.chosen) ??
                shaders.find(shader => shader.type === "GL_FRAGMENT_SHADER") ?? shaders[0];
            parts.push(...this.source(place, shaders));
        } else {
            parts.push(make("p", { class: "hint" }, this.programs.length
                ? "The program was loaded from a binary: its sources are not known." : "This call runs no program."));
        }
        parts.push(...this.experiments());
        const attributes = this.programs.flatMap(program => program.attributes ?? []);
        if (attributes.length) parts.push(make("h3", {}, "Attributes"), variables(attributes));
        for (const program of this.programs) parts.push(...this.blocks(program));
        const rest = make("div");
        if (this.inputs.length) renderInputs(rest, this.at, this.inputs, this.open);
        place.replaceChildren(...parts, rest);
        if (this.editor && shaders.length) this.editor.mirror.refresh();
    }

    /** What is drawn, and the ways back to what was recorded. */
    states() {
        const count = this.edits.length;
        return make("div", { class: "bar" }, make("span", { class: "spacer" }, count && version.isEdited ? "Drawn with changes" : "Drawn as recorded"),
        make("button", { "aria-pressed": !version.isEdited, disabled: !count, title: "The picture as it was recorded (p)", click: () => this.toggleVersion() }, "As recorded"),
        make("button", { disabled: !count, title: "Take all changes back (u)", click: () => this.undo() }, "Undo all"));
    }

    source(place, shaders) {
        const { shader } = this;
        this.editor ??= new Editor({ apply: () => this.apply() });
        this.editor.show(shader.key, shader.type, shader.edited ?? shader.source);
        if (this.faults?.key === shader.key) this.editor.showErrors(this.faults.errors.map(one => one.line));
        const choose = one => make("button", { "aria-pressed": one.key === shader.key, click: () => { this.chosen = one.key; this.render(place); } },
            `${StageNames[one.type] ?? one.type}${one.edited === undefined ? "" : " *"}`, this.programs.length > 1 ? ` of ${one.program}` : "");
        return [
            make("div", { class: "bar" }, make("a", { href: "#", click: event => { event.preventDefault(); this.open("programs", shader.program); } }, `Program ${shader.program}`),
                make("div", { class: "choice", role: "group", "aria-label": "Shaders" }, shaders.map(choose)), make("span", { class: "spacer" }),
                make("button", { title: "Draw the frame with this source (Control and Enter)", click: () => this.apply() }, "Apply"),
                make("button", { disabled: shader.edited === undefined, click: () => this.revert() }, "Revert")),
            this.editor.place, this.faultList()];
    }

    faultList() {
        const { faults } = this;
        if (faults?.key !== this.shader.key) return make("div", { role: "status" });
        const line = one => make("li", {}, make("button", { click: () => this.editor.goToLine(one.line) }, `line ${one.line}`), " ", one.text);
        return make("div", { class: "faults", role: "alert" }, faults.errors.length
            ? make("ul", {}, faults.errors.map(line)) : make("pre", {}, faults.log));
    }

    experiments() {
        const has = (kind, at) => this.edits.some(edit => edit.kind === kind && edit.at === at);
        const toggle = (kind, at) => this.set(has(kind, at) ? this.edits.filter(edit => edit.kind !== kind || edit.at !== at)
            : [...this.edits, at ? { kind, at } : { kind }]);
        const button = (kind, name, at, text) => make("button", { "aria-pressed": has(kind, at), "aria-label": `${name}, ${text}`, click: () => toggle(kind, at) }, text);
        return [make("h3", {}, "Experiments"), make("table", { class: "values experiments" }, make("tbody", {}, Experiments.map(([kind, name, why]) =>
            make("tr", {}, make("th", { scope: "row", title: why }, name),
                make("td", {}, make("div", { class: "choice" }, button(kind, name, this.at, "this call"), button(kind, name, undefined, "the frame")))))))];
    }

    /** The uniforms that lie in buffers. */
    blocks({ uniforms = [] }) {
        const names = new Set(uniforms.map(one => one.block).filter(Boolean));
        return [...names].flatMap(name => {
            const buffer = this.inputs.find(input => input.kind === "buffer" && input.name === `block ${name}`)?.object;
            const link = buffer && make("a", { href: "#", click: event => { event.preventDefault(); this.open("buffers", buffer); } }, `buffer ${buffer}`);
            return [make("h3", {}, `Block ${name}: `, link ?? "no buffer"), variables(uniforms.filter(one => one.block === name))];
        });
    }

    apply() {
        const { program, type, source, key } = this.shader;
        const { text } = this.editor;
        const others = this.edits.filter(edit => edit.program !== program || edit.type !== type);
        return this.set(text === source ? others : [...others, { kind: "shader", program, type, source: text }], key);
    }

    revert() {
        const { program, type, source, key } = this.shader;
        this.editor.text = source;
        return this.set(this.edits.filter(edit => edit.program !== program || edit.type !== type), key);
    }

    undo(at = this.at) {
        this.at = at;
        return this.edits.length ? this.set([]) : undefined;
    }

    toggleVersion() {
        if (!this.edits.length) return;
        version.isEdited = !version.isEdited;
        this.tell();
        this.changed();
    }

    async set(edits, key) {
        try {
            this.edits = (await send("edits", { at: this.at }, { edits })).edits;
            this.faults = null;
            version.isEdited = true;
            this.tell();
            this.changed();
        } catch (error) {
            const { errors, log } = error.details ?? {};
            if (!key || log === undefined) return this.alertUser(error);
            this.faults = { key, errors, log };
            this.editor.showErrors(errors.map(one => one.line));
            this.editor.place.nextSibling.replaceWith(this.faultList());
        }
    }
}
