// The call itself: its arguments in full, and where in the program it came from.
import { ask } from "../api.js";
import { objectLink } from "../names.js";
import { highlight } from "../source.js";
import { heading, hint, make, row, table } from "../util.js";

export function loadCall(at, signal) {
    return ask("call", { at }, signal);
}

function textOf(value) {
    return value !== null && typeof value === "object" ? JSON.stringify(value) : String(value);
}

// Parameters that name objects; of other types their values are no numbers.
const Kinds = {
    texture: "textures", buffer: "buffers", framebuffer: "framebuffers", renderbuffer: "renderbuffers", program: "programs",
    shader: "shaders", sampler: "samplers", array: "vertexArrays", pipeline: "programPipelines",
};

/** A value, with names of objects as links. */
function shown(name, value, open) {
    const kind = Kinds[name.replace(/s$/, "")];
    const isName = one => Number.isInteger(one) && one > 0;
    if (kind && isName(value)) return objectLink(kind, value, open, String(value));
    if (kind && Array.isArray(value) && value.every(Number.isInteger))
        return value.map((one, i) => [i ? ", " : "", isName(one) ? objectLink(kind, one, open, String(one)) : one]).flat();
    return typeof value === "string" && value.includes("\n") ? highlight(value) : textOf(value);
}

function frame({ address, module, offset, function: name, file, line }) {
    return make("li", {}, make("b", {}, name ?? address), file ? ` ${file}:${line}` : module ? ` ${module} +${offset}` : "");
}

/** `open(kind, name)` shows an object. */
export function renderCall(place, call, open) {
    const rows = Object.entries(call.args ?? {}).map(([name, value]) => row(name, shown(name, value, open)));
    if ("return" in call) {
        const name = /Create(Program|Shader)/.exec(call.name)?.[1].toLowerCase() ?? "returned";
        rows.push(row(name, shown(name, call.return, open)));
    }
    place.replaceChildren(heading(call.name ?? ""),
        hint(`Call ${call.call} of frame ${call.frame}, thread ${call.thread}, context ${call.context}` +
            (call.action ? `, action ${call.action}` : "")),
        table(rows), heading("Where it came from"),
        call.stack ? make("ol", { class: "stack" }, call.stack.map(frame))
            : hint("The recording has no stack of this call; playback-record --stacks records them."));
}
