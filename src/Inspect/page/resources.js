// The objects that the context can name at the call, and what is in them then.
import { ask, askBytes } from "./api.js";
import { picture } from "./inputs.js";
import { highlight } from "./source.js";
import { textOf } from "./state.js";
import { bytes, make, short } from "./util.js";

const Types = {
    0x1406: "float", 0x8B50: "vec2", 0x8B51: "vec3", 0x8B52: "vec4", 0x1404: "int", 0x8B53: "ivec2", 0x8B54: "ivec3", 0x8B55: "ivec4",
    0x1405: "uint", 0x8DC6: "uvec2", 0x8DC7: "uvec3", 0x8DC8: "uvec4", 0x8B56: "bool", 0x8B57: "bvec2", 0x8B58: "bvec3", 0x8B59: "bvec4",
    0x8B5A: "mat2", 0x8B5B: "mat3", 0x8B5C: "mat4", 0x8B5E: "sampler2D", 0x8B5F: "sampler3D", 0x8B60: "samplerCube",
    0x8B62: "sampler2DShadow", 0x8DC1: "sampler2DArray", 0x8DC4: "sampler2DArrayShadow", 0x8DC5: "samplerCubeShadow",
};
const Words = {
    "float 32": [Float32Array, 4], "int 32": [Int32Array, 4], "uint 32": [Uint32Array, 4], "int 16": [Int16Array, 2],
    "uint 16": [Uint16Array, 2], "int 8": [Int8Array, 1], "uint 8": [Uint8Array, 1],
};
const BufferPart = 16384;

/** Attributes or uniforms of a program. */
export function variables(list) {
    return make("table", { class: "values" }, make("tbody", {}, list.map(one => make("tr", {},
        make("th", { scope: "row" }, one.name), make("td", {}, `${Types[one.type] ?? "0x" + one.type.toString(16)}` +
            (one.count > 1 ? `[${one.count}]` : "") + (one.location >= 0 ? ` at ${one.location}` : ""),
        one.values && make("pre", { class: "plain" }, one.values.map(short).join(", ")))))));
}

export class ResourceView {
    constructor() {
        this.kind = "textures";
        this.name = null;
        this.words = "float 32";
        this.columns = 4;
    }

    async load(at, signal) {
        this.at = at;
        this.objects = (await ask("resources", { at }, signal)).objects;
    }

    async render(place, change) {
        const kinds = Object.keys(this.objects);
        if (!kinds.includes(this.kind)) this.kind = kinds.includes("textures") ? "textures" : kinds[0];
        const list = this.objects[this.kind] ?? {};
        const names = Object.keys(list).sort((a, b) => parseInt(a) - parseInt(b));
        if (this.name !== null && !(this.name in list)) this.name = null;
        const body = make("div");
        place.replaceChildren(
            make("div", { class: "bar", role: "group", "aria-label": "Kinds of objects" }, kinds.map(kind => make("button", {
                "aria-pressed": kind === this.kind, click: () => change(kind, null),
            }, `${kind} ${Object.keys(this.objects[kind]).length}`))),
            make("div", { class: "objects" }, names.slice(0, 2000).map(name => make("button", {
                "aria-pressed": name === this.name, click: () => change(this.kind, name),
            }, list[name].label ? `${name} ${list[name].label}` : name))), body);
        if (!kinds.length) return body.append(make("p", { class: "empty" }, "No context is current."));
        if (this.name === null) {
            if (this.kind === "textures") body.append(this.thumbs(names.slice(0, 60), change));
            return;
        }
        await this.contents(body, list[this.name]);
    }

    thumbs(names, change) {
        return make("div", { class: "thumbs" }, names.filter(name => /^\d+$/.test(name) && name !== "0").map(name => make("figure", {},
            make("button", { click: () => change("textures", name), "aria-label": `texture ${name}` }, picture(this.at, name)),
            make("figcaption", {}, `texture ${name}`))));
    }

    async contents(body, values) {
        const parts = { textures: () => this.texture(), buffers: () => this.buffer(), programs: () => this.program() };
        try {
            if (parts[this.kind] && /^\d+$/.test(this.name)) body.append(...await parts[this.kind]());
        } catch (error) {
            body.append(make("p", { class: "hint" }, error.message));
        }
        const rows = Object.entries(values);
        if (rows.length)
            body.append(make("h3", {}, "What calls have set"), make("table", { class: "values" }, make("tbody", {}, rows.map(([name, value]) =>
                make("tr", {}, make("th", { scope: "row" }, name), make("td", {}, textOf(value)))))));
    }

    async texture() {
        const { images } = await ask("texture", { at: this.at, name: this.name });
        if (!images.length) return [make("p", { class: "hint" }, "It has no image.")];
        return [make("h3", {}, `Texture ${this.name}: ${images.length} ${images.length === 1 ? "image" : "images"}`),
            make("div", { class: "thumbs" }, images.slice(0, 120).map((image, index) => make("figure", {},
                make("a", { href: picture(this.at, this.name, index).src, target: "_blank", rel: "noopener", "aria-label": image.what },
                    picture(this.at, this.name, index)), make("figcaption", {}, image.what))))];
    }

    async buffer() {
        const answer = await askBytes("buffer", { at: this.at, name: this.name, size: BufferPart });
        const [array, size] = Words[this.words];
        const values = new array(answer.data.slice(0, Math.floor(answer.data.byteLength / size) * size));
        const rows = [];
        for (let i = 0; i < values.length; i += this.columns)
            rows.push(make("tr", {}, make("th", { scope: "row" }, i * size),
                Array.from({ length: this.columns }, (_, k) => make("td", { class: "number" }, i + k < values.length ? short(values[i + k]) : ""))));
        const again = make("div");
        const choose = async () => {
            this.words = type.value;
            this.columns = Math.min(Math.max(+columns.value || 1, 1), 16);
            again.replaceChildren(...await this.buffer());
        };
        const type = make("select", { "aria-label": "Type of an element", change: choose }, Object.keys(Words).map(name =>
            make("option", { selected: name === this.words }, name)));
        const columns = make("input", { type: "number", min: 1, max: 16, value: this.columns, "aria-label": "Elements in a line", change: choose });
        again.append(make("h3", {}, `Buffer ${this.name}: ${bytes(answer.size)}` + (answer.size > BufferPart ? `, the first ${bytes(BufferPart)}` : "")),
            make("div", { class: "bar" }, type, columns), make("table", { class: "values" }, make("tbody", {}, rows)));
        return [again];
    }

    async program() {
        const answer = await ask("program", { at: this.at, name: this.name });
        const parts = [];
        if (answer.log) parts.push(make("h3", {}, "Log of linking"), make("pre", {}, answer.log));
        for (const shader of answer.shaders ?? [])
            parts.push(make("h3", {}, `${shader.type}, shader ${shader.shader}${shader.edited === undefined ? "" : ", edited"}`),
                highlight(shader.edited ?? shader.source));
        if (answer.attributes?.length) parts.push(make("h3", {}, "Attributes"), variables(answer.attributes));
        if (answer.uniforms?.length) parts.push(make("h3", {}, "Uniforms"), variables(answer.uniforms));
        return parts;
    }
}
