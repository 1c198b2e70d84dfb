// Small helpers. Text of the capture becomes text nodes only.

export const byId = id => document.getElementById(id);

/** Has an element act on an event. */
export function when(id, act, event = "click") {
    byId(id).addEventListener(event, act);
}

/** An element with text or children, and attributes; those that are functions listen to an event. */
export function make(name, attributes = {}, ...children) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) {
        if (typeof value === "function") made.addEventListener(key, value);
        else if (key.startsWith("aria-") && value !== undefined) made.setAttribute(key, value);
        else if (value === true) made.setAttribute(key, "");
        else if (value !== undefined && value !== false && value !== null) made.setAttribute(key, value);
    }
    made.append(...children.flat().filter(child => child !== undefined && child !== null && child !== false));
    return made;
}

export const heading = (...children) => make("h3", {}, ...children);
export const hint = (...children) => make("p", { class: "hint" }, ...children);
export const empty = (...children) => make("p", { class: "empty" }, ...children);
export const bar = (...children) => make("div", { class: "bar" }, ...children);

/** A table of lines; `headings` are texts or elements of the columns. */
export function table(rows, headings = null, name = "values") {
    return make("table", { class: name }, headings && make("thead", {}, make("tr", {}, headings.map(one =>
        one instanceof Element ? one : make("th", { scope: "col" }, one)))), make("tbody", {}, rows));
}

/** A line of a table: what it is about, and its cells. */
export function row(name, ...cells) {
    return make("tr", {}, make("th", { scope: "row" }, name), cells.map(cell => make("td", {}, cell)));
}

/** A button that is on or off. */
export function toggle(text, isOn, click, more = {}) {
    return make("button", { "aria-pressed": isOn, click, ...more }, text);
}

/** Buttons one of which is on; `options` are pairs of value and text. */
export function choice(label, options, chosen, choose) {
    return make("div", { class: "choice", role: "group", "aria-label": label }, options.map(([value, text]) =>
        toggle(text, value === chosen, () => choose(value))));
}

/** The same as a list that opens; without a text, the value is shown. */
export function select(label, options, chosen, choose) {
    return make("select", { "aria-label": label, change: event => choose(event.target.value) }, options.map(([value, text = value]) =>
        make("option", { value, selected: value === chosen }, text)));
}

/** What leads somewhere else on the page. */
export function link(act, ...children) {
    return make("a", { href: "#", click: event => { event.preventDefault(); event.stopPropagation(); act(); } }, ...children);
}

/** As sharp as the screen is: `{ context, width, height }`, in CSS pixels. */
export function prepare(canvas, height = canvas.clientHeight) {
    const width = canvas.clientWidth, context = canvas.getContext("2d");
    canvas.width = width * devicePixelRatio;
    canvas.height = height * devicePixelRatio;
    context.scale(devicePixelRatio, devicePixelRatio);
    return { context, width, height };
}

/** A colour of the theme, such as "--accent". */
export const colour = name => getComputedStyle(document.documentElement).getPropertyValue(name);

/** A mark of a colour, of numbers from 0 to 255. */
export function swatch(rgb) {
    const mark = make("span", { class: "swatch", "aria-hidden": "true" });
    mark.style.background = `rgb(${rgb.join(" ")})`;
    return mark;
}

/** A matrix whose columns follow one another, as lines of text. */
export function matrixText(texts, rows) {
    return make("pre", { class: "plain" }, Array.from({ length: rows }, (_, row) =>
        texts.filter((_, i) => i % rows === row).join("  ")).join("\n"));
}

/** "1 call", "2 calls". */
export const counted = (count, word) => `${count} ${word}${count === 1 ? "" : "s"}`;

/** A number as people read it, with at most six digits that count. */
export function short(value) {
    if (value === null || value === undefined) return "NaN";
    if (!Number.isFinite(value)) return String(value);
    return Number.isInteger(value) ? String(value) : String(+value.toPrecision(6));
}

export function bytes(count) {
    if (count < 1024) return `${count} B`;
    if (count < 1024 * 1024) return `${(count / 1024).toFixed(1)} KiB`;
    return `${(count / 1024 / 1024).toFixed(1)} MiB`;
}

export const clamp = (value, low, high) => Math.min(Math.max(value, low), high);
