// What was set in front of the call, by groups, with what differs from another call.
import { ask } from "../api.js";
import { objectLink } from "../names.js";
import { bar, empty, heading, hint, make, select, table, toggle } from "../util.js";

// The first pattern that fits decides. Names are those of the Khronos headers.
const Groups = [
    ["Program and vertices", /PROGRAM|VERTEX_ARRAY|VERTEX_ATTRIB|PRIMITIVE|PATCH|TRANSFORM_FEEDBACK|^vertex|^program/],
    ["Framebuffer", /FRAMEBUFFER|DRAW_BUFFER|READ_BUFFER|RENDERBUFFER/],
    ["Viewport and scissor", /VIEWPORT|SCISSOR|DEPTH_RANGE/],
    ["Blending", /BLEND/],
    ["Depth", /DEPTH/],
    ["Stencil", /STENCIL/],
    ["Rasterisation", /CULL|FRONT_FACE|POLYGON|LINE_WIDTH|RASTERIZER|SAMPLE|MULTISAMPLE|DITHER|COLOR_WRITEMASK/],
    ["Clearing", /CLEAR/],
    ["Textures and samplers", /^texture|^sampler|ACTIVE_TEXTURE|^image/],
    ["Buffers", /^buffer|BUFFER/],
    ["Pixel transfer", /PACK/],
    ["Other", /./],
];

/** Which kind of object a state's value names; empty for other values. */
export function kindNamed(state) {
    if (/^texture\[|^GL_IMAGE_BINDING_NAME/.test(state)) return "textures";
    if (/^buffer\[|^indexed_buffer\[|BUFFER_BINDING|VERTEX_BINDING_BUFFER/.test(state) && !/FRAMEBUFFER|RENDERBUFFER/.test(state)) return "buffers";
    if (/FRAMEBUFFER_BINDING/.test(state)) return "framebuffers";
    if (/RENDERBUFFER_BINDING/.test(state)) return "renderbuffers";
    if (/CURRENT_PROGRAM/.test(state)) return "programs";
    if (/^sampler\[|SAMPLER_BINDING/.test(state)) return "samplers";
    if (/VERTEX_ARRAY_BINDING/.test(state)) return "vertexArrays";
    return "";
}

export function textOf(value) {
    if (value === null || value === undefined) return "not set";
    return Array.isArray(value) ? value.map(textOf).join(", ") : String(value);
}

export class StateView {
    /** `open(kind, name)` shows an object. */
    constructor(open) {
        this.open = open;
        this.showsInitial = false;
        this.onlyChanged = false;
        this.showsSetters = false;
        this.hidesUnused = false;
        this.filter = "";
        this.others = []; // captures whose state may be compared with
        this.source = ""; // what is compared with: "" for a call of this capture, or one of them
        this.otherPlace = "";
    }

    /** `marked` is the place of a marked call, or undefined for the action in front. */
    async load(at, marked, signal) {
        if (this.at !== at) this.setters = undefined;
        this.at = at;
        this.marked = marked;
        const against = this.source ? `${this.source}:${this.otherPlace || at}` : marked;
        // What is not used, only a replay tells; the rest is there without it.
        const unused = ask("unused", { at }, signal).then(answer => answer.unused, () => []);
        this.answer = await ask("state", { at, against }, signal);
        this.unused = new Map((await unused).filter(one => !one.object).map(one => [one.state, one.why]));
        if (this.showsSetters) await this.loadSetters(signal);
    }

    async loadSetters(signal) {
        this.setters ??= await ask("setters", { at: this.at }, signal);
    }

    /** Which call, of which capture, the state is compared with. */
    sourceBar(reload) {
        if (!this.others.length) return null;
        return bar(select("Compared with", [["", "this capture"], ...this.others.map(name => [name])], this.source, name => { this.source = name; reload(); }),
        this.source && make("input", { size: 8, placeholder: this.answer.at, value: this.otherPlace, "aria-label": "Place in the other capture", spellcheck: "false",
            change: event => { this.otherPlace = event.target.value.trim(); reload(); } }));
    }

    /** `again` renders anew, `reload` asks anew. */
    render(place, again, reload) {
        const answer = this.answer;
        const differences = new Map(), others = [];
        for (const difference of answer.differences)
            if (difference.object) others.push(difference); else differences.set(difference.state, difference.before);
        const flag = (text, field) => toggle(text, this[field], () => { this[field] = !this[field]; again(); });
        const tools = bar(
            make("input", {
                type: "search", placeholder: "Filter", "aria-label": "Filter of the state", value: this.filter,
                input: event => { this.filter = event.target.value; this.fill(body, differences, others); },
            }),
            flag("Changed only", "onlyChanged"), flag("Used only", "hidesUnused"), flag("With initial", "showsInitial"),
            toggle("Set by", this.showsSetters, () => this.toggleSetters(again), { title: "The calls that set these values last" }));
        const body = make("div");
        const other = answer.againstFile ? ` of ${answer.againstFile}` : answer.against === this.marked ? ", the marked call" : "";
        place.replaceChildren(...[tools, this.sourceBar(reload),
            hint(`In front of ${answer.at}, on context ${answer.context}, thread ${answer.thread}. Coloured: ` +
                `what differs from ${answer.against}${other} (m marks the call to compare with). Grey: what was set and has no part in this call.`), body].filter(Boolean));
        this.fill(body, differences, others);
    }

    async toggleSetters(again) {
        this.showsSetters = !this.showsSetters;
        if (this.showsSetters) await this.loadSetters();
        again();
    }

    /** A link to the call that set the value, where that is shown and known. */
    setter(values, name) {
        const at = this.showsSetters && values?.[name];
        return at && make("a", { class: "setter", href: `#${at}/call`, "aria-label": `Set by call ${at}` }, at);
    }

    fill(body, differences, others) {
        const { state = {}, initial } = this.answer;
        const filter = this.filter.trim().toLowerCase();
        const rows = new Map(Groups.map(([name]) => [name, []]));
        const add = (name, value, isInitial) => {
            const isChanged = differences.has(name);
            if ((this.onlyChanged && !isChanged) || (this.hidesUnused && this.unused.has(name)) || (filter && !`${name} ${textOf(value)}`.toLowerCase().includes(filter))) return;
            const group = Groups.find(([, pattern]) => pattern.test(name))[0];
            rows.get(group).push(this.row(name, value, isChanged, differences.get(name), isInitial));
        };
        for (const [name, value] of Object.entries(state)) add(name, value, false);
        if (this.showsInitial)
            for (const [name, value] of Object.entries(initial))
                if (!(name in state) && !Object.keys(state).some(one => one.startsWith(name + "["))) add(name, value, true);
        const tables = [...rows].filter(([, list]) => list.length)
            .map(([name, list]) => [heading(name), table(list)]);
        const changedObjects = others.filter(({ object, state: name }) => !filter || `${object.kind} ${object.name} ${name}`.toLowerCase().includes(filter));
        if (changedObjects.length) tables.push(this.objects(changedObjects));
        if (!tables.length) tables.push([empty("Nothing to show.")]);
        body.replaceChildren(...tables.flat());
    }

    row(name, value, isChanged, before, isInitial) {
        const kind = kindNamed(name);
        const bound = Array.isArray(value) ? value[0] : value; // with offset and size
        const why = this.unused.get(name);
        return make("tr", { class: [isChanged && "changed", isInitial && "initial", why && "unused"].filter(Boolean).join(" "), title: why && `Not used: ${why}` },
            make("th", { scope: "row" }, name, why && make("small", {}, why)), make("td", {},
                kind && bound > 0 ? [objectLink(kind, bound, this.open, String(bound)), Array.isArray(value) ? `, ${textOf(value.slice(1))}` : ""] : textOf(value),
                isChanged && make("span", { class: "before" }, textOf(before)), this.setter(this.setters?.state, name)));
    }

    objects(list) {
        return [heading("Objects that differ"), table(list.map(one =>
            make("tr", { class: "changed" }, make("th", { scope: "row" },
                objectLink(one.object.kind, one.object.name, this.open), ` ${one.state}`),
            make("td", {}, textOf(one.after), make("span", { class: "before" }, textOf(one.before)),
                this.setter(this.setters?.objects[one.object.kind]?.[one.object.name], one.state)))))];
    }
}
