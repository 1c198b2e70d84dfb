// The objects that the context can name at the call, and what is in them then.
import { addressOf, ask, askBytes } from "../api.js";
import { picture } from "./inputs.js";
import { givenName, giveName, labelOf, objectLink, objectText, singular } from "../names.js";
import { highlight } from "../source.js";
import { kindNamed, textOf } from "./state.js";
import { TypedBuffer } from "./typed.js";
import { earlierUses, loadUses, useStrip } from "./uses.js";
import { bar, bytes, clamp, counted, empty, heading, hint, make, row, select, short, table, toggle } from "../util.js";

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
    return table(list.map(one => row(one.name, [`${Types[one.type] ?? "0x" + one.type.toString(16)}` +
        (one.count > 1 ? `[${one.count}]` : "") + (one.location >= 0 ? ` at ${one.location}` : ""),
    one.values && make("pre", { class: "plain" }, one.values.map(short).join(", "))])));
}

export class ResourceView {
    /** `go(call)` shows a call of the frame; `callCount()` tells how many it has. */
    constructor(go, callCount) {
        this.go = go;
        this.callCount = callCount;
        this.typed = new TypedBuffer();
        this.kind = "textures";
        this.name = null;
        this.words = "float 32";
        this.columns = 4;
    }

    async load(at, call, signal) {
        this.at = at;
        this.call = call;
        this.signal = signal;
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
            make("div", { class: "bar", role: "group", "aria-label": "Kinds of objects" }, kinds.map(kind =>
                toggle(`${kind} ${Object.keys(this.objects[kind]).length}`, kind === this.kind, () => change(kind, null)))),
            make("div", { class: "objects" }, names.slice(0, 2000).map(name =>
                toggle(`${name} ${labelOf(this.kind, name)}`.trim(), name === this.name, () => change(this.kind, name)))), body);
        if (!kinds.length) return body.append(empty("No context is current."));
        if (this.name === null) {
            if (this.kind === "textures") body.append(this.thumbs(names.slice(0, 60), change));
            return;
        }
        body.append(this.heading(() => this.render(place, change)));
        await this.contents(body, list[this.name], change);
    }

    /** The object's name, and a field for one that people understand. */
    heading(again) {
        const { kind, name } = this;
        const field = make("input", { value: givenName(kind, name), placeholder: labelOf(kind, name) || "a name for it", "aria-label": "Your name for the object",
            spellcheck: "false", change: () => { giveName(kind, name, field.value.trim()); again(); } });
        return bar(make("b", {}, `${singular(kind)} ${name}`), field);
    }

    thumbs(names, change) {
        return make("div", { class: "thumbs" }, names.filter(name => /^\d+$/.test(name) && name !== "0").map(name => make("figure", {},
            make("button", { click: () => change("textures", name), "aria-label": objectText("textures", name) }, picture(this.at, name)),
            make("figcaption", {}, objectText("textures", name)))));
    }

    async contents(body, values, change) {
        const parts = { textures: () => this.texture(), buffers: () => this.buffer(), programs: () => this.program() };
        // Later ones must not wait for the replay of the frame.
        const uses = make("div"), contents = make("div");
        body.append(uses, contents, this.values(values, change));
        const show = async (place, load) => {
            try {
                place.replaceChildren(...await load());
            } catch (error) {
                if (error.name !== "AbortError") place.replaceChildren(hint(error.message));
            }
        };
        if (parts[this.kind] && /^\d+$/.test(this.name)) await show(contents, parts[this.kind]);
        await show(uses, async () => [heading("What calls of the frame did with it"),
            useStrip(await loadUses(parseInt(this.at), this.kind, this.name, this.signal), this.callCount(), this.call, this.go),
            earlierUses(parseInt(this.at), this.kind, this.name)]);
    }

    /** What calls have set of the object, with names of others as links. */
    values(values, change) {
        const kinds = { GL_TEXTURE: "textures", GL_RENDERBUFFER: "renderbuffers" };
        const line = ([name, value]) => {
            const type = values[name.replace("OBJECT_NAME", "OBJECT_TYPE")];
            const kind = name.startsWith("GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME") ? kinds[type] : kindNamed(name);
            return row(name, kind && value > 0 ? objectLink(kind, value, change, String(value)) : textOf(value));
        };
        const rows = Object.entries(values).map(line);
        return make("div", {}, rows.length ? [heading("What calls have set"), table(rows)] : []);
    }

    async texture() {
        const { images, format } = await ask("texture", { at: this.at, name: this.name });
        if (!images.length) return [hint("It has no image.")];
        const file = (type, address) => make("a", { class: "button", href: address, download: `texture ${this.name}.${type}` }, type.toUpperCase());
        return [heading(`${format}, ${counted(images.length, "image")}`),
            bar("Save as ", file("png", picture(this.at, this.name).src), file("ktx", addressOf("texture", { at: this.at, name: this.name, format: "ktx" }))),
            make("div", { class: "thumbs" }, images.slice(0, 120).map((image, index) => make("figure", {},
                make("a", { href: picture(this.at, this.name, index).src, target: "_blank", rel: "noopener", "aria-label": image.what },
                    picture(this.at, this.name, index)), make("figcaption", {}, image.what))))];
    }

    async buffer() {
        const again = make("div");
        const choices = await this.typed.choices(this.at, this.name, this.signal);
        const fill = async () => {
            const bar = this.typed.bar(choices, fill);
            try {
                const rows = this.typed.as === "bytes" ? await this.numbers() : await this.typed.table(this.at, this.name, fill);
                again.replaceChildren(bar, ...rows);
            } catch (error) {
                if (error.name !== "AbortError") again.replaceChildren(bar, make("p", { class: "hint", role: "alert" }, error.message));
            }
        };
        await fill();
        return [again];
    }

    async numbers() {
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
            this.columns = clamp(+columns.value || 1, 1, 16);
            again.replaceChildren(...await this.numbers());
        };
        const type = select("Type of an element", Object.keys(Words).map(name => [name]), this.words, choose);
        const columns = make("input", { type: "number", min: 1, max: 16, value: this.columns, "aria-label": "Elements in a line", change: choose });
        again.append(heading(bytes(answer.size) + (answer.size > BufferPart ? `, the first ${bytes(BufferPart)}` : "")),
            bar(type, columns), table(rows));
        return [again];
    }

    async program() {
        const answer = await ask("program", { at: this.at, name: this.name });
        const parts = [];
        if (answer.log) parts.push(heading("Log of linking"), make("pre", {}, answer.log));
        for (const shader of answer.shaders ?? [])
            parts.push(heading(`${shader.type}, shader ${shader.shader}${shader.edited === undefined ? "" : ", edited"}`),
                highlight(shader.edited ?? shader.source));
        if (answer.attributes?.length) parts.push(heading("Attributes"), variables(answer.attributes));
        if (answer.uniforms?.length) parts.push(heading("Uniforms"), variables(answer.uniforms));
        return parts;
    }
}
