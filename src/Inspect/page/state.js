// What was set in front of the call, by groups, with what differs from another call.
import { ask } from "./api.js";
import { byId, make } from "./util.js";

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
    if (/^texture\[|^image\[/.test(state)) return "textures";
    if (/^buffer\[|BUFFER_BINDING|ATTRIB_ARRAY_BUFFER/.test(state) && !/FRAMEBUFFER|RENDERBUFFER/.test(state)) return "buffers";
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
        this.filter = "";
    }

    async load(at, against, signal) {
        if (this.at !== at) this.setters = undefined;
        this.at = at;
        this.answer = await ask("state", { at, against }, signal);
        if (this.showsSetters) await this.loadSetters(signal);
    }

    async loadSetters(signal) {
        this.setters ??= await ask("setters", { at: this.at }, signal);
    }

    render(place, again) {
        const answer = this.answer;
        const differences = new Map(), others = [];
        for (const difference of answer.differences)
            if (difference.object) others.push(difference); else differences.set(difference.state, difference.before);
        const tools = make("div", { class: "bar" },
            make("input", {
                type: "search", placeholder: "Filter", "aria-label": "Filter of the state", value: this.filter,
                input: event => { this.filter = event.target.value; this.fill(body, differences, others); },
            }),
            this.toggle("Changed only", "onlyChanged", again), this.toggle("With initial", "showsInitial", again),
            make("button", { "aria-pressed": this.showsSetters, title: "The calls that set these values last", click: () => this.toggleSetters(again) }, "Set by"));
        const body = make("div");
        place.replaceChildren(tools,
            make("p", { class: "hint" }, `In front of ${answer.at}, on context ${answer.context}, thread ${answer.thread}. Marked: ` +
                `what differs from ${answer.against} (m sets the call to compare with).`), body);
        this.fill(body, differences, others);
    }

    toggle(text, field, again) {
        return make("button", { "aria-pressed": this[field], click: () => { this[field] = !this[field]; again(); } }, text);
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
            if ((this.onlyChanged && !isChanged) || (filter && !`${name} ${textOf(value)}`.toLowerCase().includes(filter))) return;
            const group = Groups.find(([, pattern]) => pattern.test(name))[0];
            rows.get(group).push(this.row(name, value, isChanged, differences.get(name), isInitial));
        };
        for (const [name, value] of Object.entries(state)) add(name, value, false);
        if (this.showsInitial)
            for (const [name, value] of Object.entries(initial))
                if (!(name in state) && !Object.keys(state).some(one => one.startsWith(name + "["))) add(name, value, true);
        const tables = [...rows].filter(([, list]) => list.length)
            .map(([name, list]) => [make("h3", {}, name), make("table", { class: "values" }, make("tbody", {}, list))]);
        const changedObjects = others.filter(({ object, state: name }) => !filter || `${object.kind} ${object.name} ${name}`.toLowerCase().includes(filter));
        if (changedObjects.length) tables.push(this.objects(changedObjects));
        if (!tables.length) tables.push([make("p", { class: "empty" }, "Nothing to show.")]);
        body.replaceChildren(...tables.flat());
    }

    row(name, value, isChanged, before, isInitial) {
        const kind = kindNamed(name);
        const isLink = kind && value !== 0;
        return make("tr", { class: [isChanged && "changed", isInitial && "initial"].filter(Boolean).join(" ") },
            make("th", { scope: "row" }, name), make("td", {},
                isLink ? make("a", { href: "#", click: event => { event.preventDefault(); this.open(kind, value); } }, textOf(value)) : textOf(value),
                isChanged && make("span", { class: "before" }, textOf(before)), this.setter(this.setters?.state, name)));
    }

    objects(list) {
        return [make("h3", {}, "Objects that differ"), make("table", { class: "values" }, make("tbody", {}, list.map(one =>
            make("tr", { class: "changed" }, make("th", { scope: "row" },
                make("a", { href: "#", click: event => { event.preventDefault(); this.open(one.object.kind, one.object.name); } },
                    `${one.object.kind} ${one.object.name}`), ` ${one.state}`),
            make("td", {}, textOf(one.after), make("span", { class: "before" }, textOf(one.before)),
                this.setter(this.setters?.objects[one.object.kind]?.[one.object.name], one.state))))))];
    }
}
