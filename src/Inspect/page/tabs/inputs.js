// What the call reads: textures, uniforms, buffers.
import { addressOf, ask } from "../api.js";
import { objectLink } from "../names.js";
import { empty, heading, make, matrixText, row, short, table } from "../util.js";

export async function loadInputs(at, signal) {
    return (await ask("inputs", { at }, signal)).inputs;
}

export function picture(at, name, index = 0) {
    return make("img", { src: addressOf("image", { at, name, index, format: "png", placeholder: 1 }), alt: `texture ${name}`, loading: "lazy",
        error: event => { event.target.alt = "cannot be shown"; } });
}

function uniform(values) {
    const side = { 16: 4, 9: 3 }[values.length];
    return side ? matrixText(values.map(short), side) : make("pre", { class: "plain" }, values.map(short).join(", "));
}

export function renderInputs(place, at, inputs, open) {
    const of = kind => inputs.filter(input => input.kind === kind);
    const parts = [];
    if (of("texture").length)
        parts.push(heading("Textures"), make("div", { class: "thumbs" }, of("texture").map(input => make("figure", {},
            make("button", { click: () => open("textures", input.object), "aria-label": `texture ${input.object}` }, picture(at, input.object)),
            make("figcaption", {}, `${input.name}: `, objectLink("textures", input.object, open))))));
    if (of("uniform").length)
        parts.push(heading("Uniforms of ", objectLink("programs", of("uniform")[0].object, open)),
            table(of("uniform").map(input => row(input.name, uniform(input.values)))));
    if (of("buffer").length)
        parts.push(heading("Buffers"), table(of("buffer").map(input => row(input.name, objectLink("buffers", input.object, open)))));
    if (!parts.length) parts.push(empty("This call reads no texture, uniform or buffer."));
    place.replaceChildren(...parts);
}
