// The history of a pixel: the actions of the frame on its image, up to the call.
import { ask } from "../api.js";
import { clamp, hint, make, short, swatch, table } from "../util.js";

export function loadHistory(at, index, [x, y], signal) {
    return ask("pixel", { at, index, x, y }, signal);
}

const colourOf = values => values.length === 4 && swatch(values.slice(0, 3).map(value => Math.round(clamp(value, 0, 1) * 255)));

export function renderHistory(place, answer, go) {
    const rows = answer.actions.map(action => make("tr", {
        class: action.isChanged ? "changed" : "", tabindex: 0, click: () => go(action.at),
        keydown: event => { if (event.key === "Enter") go(action.at); },
    }, make("td", {}, action.at), make("td", {}, action.function),
    make("td", {}, colourOf(action.after), action.after.map(short).join(", "),
        action.isChanged ? make("span", { class: "before" }, action.before.map(short).join(", ")) : ` (as before${action.obstacle ? `: ${action.obstacle}` : ""})`)));
    const changed = answer.actions.filter(action => action.isChanged).length;
    place.replaceChildren(
        hint(`Pixel ${answer.x}, ${answer.y} of ${answer.what}, ${answer.object}: ${changed} of ` +
            `${answer.actions.length} actions up to ${answer.at} changed it.`),
        table(rows, ["Action", "Function", "Value after it"]));
}
