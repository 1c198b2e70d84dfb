// The programs that a call runs: their shaders, which can be edited, experiments with its draws, and what they read.
import { ask, send, version } from "../api.js";
import { Editor, loadEditor } from "./editor.js";
import { renderInputs } from "./inputs.js";
import { variables } from "./resources.js";
import { bar, byId, choice, counted, heading, hint, link, make, row, table, toggle } from "../util.js";

const Experiments = [
    ["skip", "Skip it", "Nothing is drawn"],
    ["scissor", "1\u00D71 scissor", "One pixel is drawn: what is left is the cost of the vertices"],
    ["textures", "2\u00D72 textures", "Small grey textures: what is left is without waiting for texels"],
    ["simple", "Simple shader", "One colour from the fragment shader"],
    ["no-blending", "Blending off", "Pixels are written and not read"],
];
/** "tessellation control" of "GL_TESS_CONTROL_SHADER". */
const stageName = type => type.slice(3, -7).toLowerCase().replace("tess_", "tessellation ");

export class ProgramView {
    /** `changed()` when what is drawn is another picture from now on; `spans()` are lists of calls by what they are. */
    constructor({ changed, open, alertUser, spans }) {
        Object.assign(this, { changed, open, alertUser, spans });
        this.costs = null;
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
        byId("edited").textContent = `${counted(count, "change")}${version.isEdited ? "" : ", not shown"}`;
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
            parts.push(hint(this.programs.length
                ? "The program was loaded from a binary: its sources are not known." : "This call runs no program."));
        }
        parts.push(...this.experiments(), this.costTable());
        const attributes = this.programs.flatMap(program => program.attributes ?? []);
        if (attributes.length) parts.push(heading("Attributes"), variables(attributes));
        for (const program of this.programs) parts.push(...this.blocks(program));
        const rest = make("div");
        if (this.inputs.length) renderInputs(rest, this.at, this.inputs, this.open);
        place.replaceChildren(...parts, rest);
        if (this.editor && shaders.length) this.editor.mirror.refresh();
    }

    /** What is drawn, and the ways back to what was recorded. */
    states() {
        const count = this.edits.length;
        return bar(make("span", { class: "spacer" }, count && version.isEdited ? "Drawn with changes" : "Drawn as recorded"),
            toggle("As recorded", !version.isEdited, () => this.toggleVersion(), { disabled: !count, title: "The picture as it was recorded (p)" }),
            make("button", { disabled: !count, title: "Take all changes back (u)", click: () => this.undo() }, "Undo all"));
    }

    source(place, shaders) {
        const { shader } = this;
        this.editor ??= new Editor({ apply: () => this.apply() });
        this.editor.show(shader.key, shader.type, shader.edited ?? shader.source);
        if (this.faults?.key === shader.key) this.editor.showErrors(this.faults.errors.map(one => one.line));
        const name = one => `${stageName(one.type)}${one.edited === undefined ? "" : " *"}${this.programs.length > 1 ? ` of ${one.program}` : ""}`;
        return [
            bar(link(() => this.open("programs", shader.program), `Program ${shader.program}`),
                choice("Shaders", shaders.map(one => [one.key, name(one)]), shader.key, key => { this.chosen = key; this.render(place); }), make("span", { class: "spacer" }),
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
        const change = (kind, at) => this.set(has(kind, at) ? this.edits.filter(edit => edit.kind !== kind || edit.at !== at)
            : [...this.edits, at ? { kind, at } : { kind }]);
        const button = (kind, name, at, text) => toggle(text, has(kind, at), () => change(kind, at), { "aria-label": `${name}, ${text}` });
        return [heading("Experiments"), table(Experiments.map(([kind, name, why]) => row(make("span", { title: why }, name),
            make("div", { class: "choice" }, button(kind, name, this.at, "this call"), button(kind, name, undefined, "the frame")))),
        null, "values experiments")];
    }

    /** What the call, its pass and the frame cost as recorded and with the changes, where that was measured. */
    costTable() {
        const costs = this.costs?.edits === this.edits && this.costs.at === this.at ? this.costs : null;
        const measure = make("button", { disabled: !this.edits.length, title: "Replay the frame three times each way", click: event => this.measure(event.target) }, "Measure");
        const about = bar(measure, make("span", {}, !this.edits.length ? "the time of changes, once there are some"
            : costs?.note ?? "before and after the changes"));
        const line = ([name, before, after]) => row(name, before.toFixed(3), after.toFixed(3), before ? `${(100 * after / before).toFixed(0)} %` : "");
        return make("div", { class: "costs" }, about, costs && table(costs.rows.map(line), ["ms", "before", "after", ""]));
    }

    async measure(button) {
        const { edits, at } = this;
        button.disabled = true;
        button.textContent = "Measuring \u2026";
        try {
            const runs = [[], []];
            let note = "by the clock of the GPU, each action alone";
            for (let i = 0; i < 6; ++i) {
                const answer = await ask("times", { frame: parseInt(at), edited: i % 2 });
                if (answer.note) note = `until the driver was done with each action alone: ${answer.note}`;
                runs[i % 2].push(new Map(answer.actions.map(({ call, gpuMs, doneMs }) => [call, gpuMs ?? doneMs])));
            }
            const sum = (run, calls) => calls.reduce((all, call) => all + (run.get(call) ?? 0), 0);
            const median = (some, calls) => some.map(run => sum(run, calls)).sort((a, b) => a - b)[1];
            this.costs = { edits, at, note, rows: Object.entries(this.spans()).map(([name, calls]) => [name, median(runs[0], calls), median(runs[1], calls)]) };
        } catch (error) {
            this.alertUser(error);
        }
        document.querySelector(".costs")?.replaceWith(this.costTable());
    }

    /** The uniforms that lie in buffers. */
    blocks({ uniforms = [] }) {
        const names = new Set(uniforms.map(one => one.block).filter(Boolean));
        return [...names].flatMap(name => {
            const buffer = this.inputs.find(input => input.kind === "buffer" && input.name === `block ${name}`)?.object;
            const source = buffer ? link(() => this.open("buffers", buffer), `buffer ${buffer}`) : "no buffer";
            return [heading(`Block ${name}: `, source), variables(uniforms.filter(one => one.block === name))];
        });
    }

    /** The edits of everything but the shader that is shown. */
    get others() { return this.edits.filter(edit => edit.program !== this.shader.program || edit.type !== this.shader.type); }

    apply() {
        const { program, type, source, key } = this.shader;
        const { text } = this.editor;
        return this.set(text === source ? this.others : [...this.others, { kind: "shader", program, type, source: text }], key);
    }

    revert() {
        const { source, key } = this.shader;
        this.editor.text = source;
        return this.set(this.others, key);
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
