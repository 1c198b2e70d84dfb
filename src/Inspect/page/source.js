// Shader sources with numbered lines.
import { make } from "./util.js";

const Tokens = /(\/\/.*|\/\*.*?(?:\*\/|$))|(#\s*\w+.*)|\b(void|bool|int|uint|float|[biu]?vec[234]|mat[234](?:x[234])?|[iu]?sampler\w+|uniform|in|out|inout|attribute|varying|const|precision|highp|mediump|lowp|layout|flat|smooth|if|else|for|while|do|return|discard|struct|break|continue|switch|case|default)\b|\b(\d+\.?\d*(?:[eE][-+]?\d+)?[uf]?|\.\d+)\b/g;
const Classes = ["comment", "directive", "word", "digit"];

function line(text) {
    const parts = [];
    let end = 0;
    for (const match of text.matchAll(Tokens)) {
        parts.push(text.slice(end, match.index));
        parts.push(make("span", { class: Classes[match.slice(1).findIndex(Boolean)] }, match[0]));
        end = match.index + match[0].length;
    }
    parts.push(text.slice(end));
    return make("span", {}, parts, "\n");
}

export function highlight(source) {
    return make("pre", { class: "source", tabindex: 0 }, source.split("\n").map(line));
}
