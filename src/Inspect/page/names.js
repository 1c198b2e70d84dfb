// Objects by their names: labels of the capture, and names that one gives, which this browser keeps for the capture.
import { ask } from "./api.js";
import { link } from "./util.js";

const Singular = {
    textures: "texture", buffers: "buffer", renderbuffers: "renderbuffer", framebuffers: "framebuffer", vertexArrays: "vertex array",
    shaders: "shader", programs: "program", programPipelines: "pipeline", samplers: "sampler", queries: "query",
    transformFeedbacks: "transform feedback", syncs: "sync",
};

let labels = {}, given = {}, key = "";

/** `capture` tells captures apart. */
export function beginNames(capture) {
    key = `names of ${capture}`;
    try {
        given = JSON.parse(localStorage.getItem(key)) ?? {};
    } catch {
        given = {};
    }
}

/** Those that are known, or with `wait` all of them; answers whether there are more than before. */
export async function loadLabels(wait = undefined) {
    const before = JSON.stringify(labels);
    labels = (await ask("labels", { wait })).labels;
    return JSON.stringify(labels) !== before;
}

export function givenName(kind, name) {
    return given[`${kind} ${name}`] ?? "";
}

export function giveName(kind, name, text) {
    if (text) given[`${kind} ${name}`] = text; else delete given[`${kind} ${name}`];
    localStorage.setItem(key, JSON.stringify(given));
}

/** The name that one gave, else the label of the capture; empty without both. */
export function labelOf(kind, name) {
    return givenName(kind, name) || labels[kind]?.[name] || "";
}

export function singular(kind) {
    return Singular[kind] ?? kind;
}

/** "texture 5 brick". */
export function objectText(kind, name) {
    const label = labelOf(kind, name);
    return `${singular(kind)} ${name}${label ? ` ${label}` : ""}`;
}

/** Leads to the object; `open(kind, name)` shows it. */
export function objectLink(kind, name, open, text = undefined) {
    const label = labelOf(kind, name);
    return link(() => open(kind, name), text ?? objectText(kind, name), text !== undefined && label ? ` ${label}` : "");
}
