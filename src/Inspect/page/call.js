// The call itself: its arguments in full, and where in the program it came from.
import { ask } from "./api.js";
import { highlight } from "./source.js";
import { make } from "./util.js";

export function loadCall(at, signal) {
    return ask("call", { at }, signal);
}

function textOf(value) {
    return value !== null && typeof value === "object" ? JSON.stringify(value) : String(value);
}

function argument(name, value) {
    const isSource = typeof value === "string" && value.includes("\n");
    return make("tr", {}, make("th", { scope: "row" }, name), make("td", {}, isSource ? highlight(value) : textOf(value)));
}

function frame({ address, module, offset, function: name, file, line }) {
    return make("li", {}, make("b", {}, name ?? address), file ? ` ${file}:${line}` : module ? ` ${module} +${offset}` : "");
}

export function renderCall(place, call) {
    const rows = Object.entries(call.args ?? {}).map(([name, value]) => argument(name, value));
    if ("return" in call) rows.push(argument("returned", call.return));
    place.replaceChildren(
        make("h3", {}, call.name ?? ""),
        make("p", { class: "hint" }, `Call ${call.call} of frame ${call.frame}, thread ${call.thread}, context ${call.context}` +
            (call.action ? `, action ${call.action}` : "")),
        make("table", { class: "values" }, make("tbody", {}, rows)),
        make("h3", {}, "Where it came from"),
        call.stack ? make("ol", { class: "stack" }, call.stack.map(frame))
            : make("p", { class: "hint" }, "The recording has no stack of this call; playback-record --stacks records them."));
}
