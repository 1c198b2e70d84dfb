// What the call reads: textures, uniforms, buffers.
import { addressOf, ask } from "../api.js";
import { objectLink } from "../names.js";
import { make, short } from "../util.js";

export async function loadInputs(at, signal) {
    return (await ask("inputs", { at }, signal)).inputs;
}

export function picture(at, name, index = 0) {
    return make("img", { src: addressOf("image", { at, name, index, format: "png", placeholder: 1 }), alt: `texture ${name}`, loading: "lazy",
        error: event => { event.target.alt = "cannot be shown"; } });
}

function matrix(values) {
    const side = values.length === 16 ? 4 : values.length === 9 ? 3 : 0;
    if (!side) return values.map(short).join(", ");
    // Columns follow one another.
    return Array.from({ length: side }, (_, row) => Array.from({ length: side }, (_, column) =>
        short(values[column * side + row])).join("  ")).join("\n");
}

export function renderInputs(place, at, inputs, open) {
    const of = kind => inputs.filter(input => input.kind === kind);
    const parts = [];
    if (of("texture").length)
        parts.push(make("h3", {}, "Textures"), make("div", { class: "thumbs" }, of("texture").map(input => make("figure", {},
            make("button", { click: () => open("textures", input.object), "aria-label": `texture ${input.object}` }, picture(at, input.object)),
            make("figcaption", {}, `${input.name}: `, objectLink("textures", input.object, open))))));
    if (of("uniform").length)
        parts.push(make("h3", {}, "Uniforms of ", objectLink("programs", of("uniform")[0].object, open)),
            make("table", { class: "values" }, make("tbody", {}, of("uniform").map(input => make("tr", {},
                make("th", { scope: "row" }, input.name), make("td", {}, make("pre", { class: "plain" }, matrix(input.values))))))));
    if (of("buffer").length)
        parts.push(make("h3", {}, "Buffers"), make("table", { class: "values" }, make("tbody", {}, of("buffer").map(input => make("tr", {},
            make("th", { scope: "row" }, input.name), make("td", {}, objectLink("buffers", input.object, open)))))));
    if (!parts.length) parts.push(make("p", { class: "empty" }, "This call reads no texture, uniform or buffer."));
    place.replaceChildren(...parts);
}
