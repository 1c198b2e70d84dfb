// The history of a pixel: the actions of the frame on its image, up to the call.
import { ask } from "../api.js";
import { make, short } from "../util.js";

export function loadHistory(at, index, [x, y], signal) {
    return ask("pixel", { at, index, x, y }, signal);
}

function swatch(values) {
    if (values.length !== 4) return null;
    const byte = value => Math.round(Math.min(Math.max(value, 0), 1) * 255);
    const mark = make("span", { class: "swatch" });
    mark.style.background = `rgb(${values.slice(0, 3).map(byte).join(" ")})`;
    return mark;
}

export function renderHistory(place, answer, go) {
    const rows = answer.actions.map(action => make("tr", {
        class: action.isChanged ? "changed" : "", tabindex: 0, click: () => go(action.at),
        keydown: event => { if (event.key === "Enter") go(action.at); },
    }, make("td", {}, action.at), make("td", {}, action.function),
    make("td", {}, swatch(action.after), action.after.map(short).join(", "),
        action.isChanged ? make("span", { class: "before" }, action.before.map(short).join(", ")) : ` (as before${action.obstacle ? `: ${action.obstacle}` : ""})`)));
    const changed = answer.actions.filter(action => action.isChanged).length;
    place.replaceChildren(
        make("p", { class: "hint" }, `Pixel ${answer.x}, ${answer.y} of ${answer.what}, ${answer.object}: ${changed} of ` +
            `${answer.actions.length} actions up to ${answer.at} changed it.`),
        make("table", { class: "values" }, make("thead", {}, make("tr", {}, ["Action", "Function", "Value after it"].map(text =>
            make("th", { scope: "col" }, text)))), make("tbody", {}, rows)));
}
