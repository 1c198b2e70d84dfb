"use strict";
// Fills the page from the data in it. Text of the capture becomes text nodes only.
const data = JSON.parse(document.getElementById("data").textContent);
const { capture, results } = data;

function element(parent, name, text, className) {
    const made = document.createElement(name);
    if (text !== undefined) made.textContent = text;
    if (className) made.className = className;
    parent.append(made);
    return made;
}

function drop(id) {
    document.getElementById(id).remove();
}

const number = (value, digits = 0) =>
    value.toLocaleString("en", { minimumFractionDigits: digits, maximumFractionDigits: digits });
const milliseconds = value => value === null || value === undefined ? "–" : `${number(value, 3)} ms`;
const mean = values => values.reduce((sum, value) => sum + value, 0) / values.length;
const colour = name => getComputedStyle(document.documentElement).getPropertyValue(name).trim();

// A picture that opens larger.
function figure(place, picture, caption, isLarge) {
    const source = png => "data:image/png;base64," + png;
    const made = element(place, "figure");
    const image = element(made, "img");
    image.src = source(isLarge && picture.large || picture.png);
    image.alt = caption;
    image.onclick = () => {
        const viewer = document.getElementById("viewer");
        viewer.replaceChildren();
        element(viewer, "img").src = source(picture.large || picture.png);
        element(viewer, "p", caption);
        viewer.onclick = () => viewer.close();
        viewer.showModal();
    };
    element(made, "figcaption", caption);
}

function pictures(id, { pictures, all }, which, caption) {
    if (!pictures.length) return drop(id);
    if (all > pictures.length)
        document.querySelector(`#${id} h2`).textContent += `: ${which} ${pictures.length} of ${number(all)}`;
    for (const picture of pictures) figure(document.querySelector(`#${id} .pictures`), picture, caption(picture));
}

function plot(id, labels, rows, options) {
    if (!rows.length) return drop(id);
    const colours = () => ({ colors: [colour("--one"), colour("--two"), colour("--good")],
        gridLineColor: colour("--line"), axisLineColor: colour("--line") });
    const made = new Dygraph(document.querySelector(`#${id} .plot`), rows, {
        labels, labelsDiv: document.querySelector(`#${id} .legend`), legend: "always", xlabel: "frame",
        includeZero: true, fillGraph: true, fillAlpha: 0.1, strokeWidth: 1.5, highlightCircleSize: 4,
        clickCallback: (event, frame) => showFrame(frame), ...colours(), ...options });
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => made.updateOptions(colours()));
}

function table(columns, rows) {
    const head = element(document.querySelector("#calls thead"), "tr");
    const body = document.querySelector("#calls tbody");
    function sort(column) {
        const sign = column.isNumber ? -1 : 1;
        rows.sort((a, b) => sign * (a[column.key] > b[column.key] ? 1 : a[column.key] < b[column.key] ? -1 : 0));
        for (const cell of head.children) cell.removeAttribute("aria-sort");
        head.children[columns.indexOf(column)].setAttribute("aria-sort", column.isNumber ? "descending" : "ascending");
        body.replaceChildren();
        for (const row of rows) {
            const line = element(body, "tr");
            for (const { key, isNumber, digits } of columns)
                element(line, "td", isNumber ? number(row[key], digits) : row[key], isNumber ? "number" : "");
        }
    }
    for (const column of columns)
        element(head, "th", column.title, column.isNumber ? "number" : "").onclick = () => sort(column);
    sort(columns[1]);
}

// What went wrong, in the replay and before.
const trouble = results ? [
    ...Object.entries(results.errors || {}).map(([name, count]) => `${name}: ${count}`),
    ...Object.entries(results.skipped).map(([name, count]) => `${name} was not replayed: ${count}`),
    ...(results.refusedCalls ? [`Calls of the capture refused: ${results.refusedCalls}`] : []),
    ...(results.stopped && results.stopped !== "-stopframe" ? [`Replay was stopped: ${results.stopped}`] : []),
    ...(results.gpu && results.gpu.unavailable ? [`No times of the GPU: ${results.gpu.unavailable}`] : []),
    ...Object.entries(results.gpu && results.gpu.notMeasured || {}).map(([why, count]) =>
        `GPU times not taken (${why}): ${count}`),
] : [];
for (const name of Object.keys(capture.notRecorded)) trouble.push(`Not recorded: ${name}`);
if (!capture.complete) trouble.push("The capture is incomplete.");
for (const text of trouble) element(document.querySelector("#trouble ul"), "li", text);
if (!trouble.length) drop("trouble");

function verdict() {
    if (!results) return ["", "Not replayed: no results of playback -json are given."];
    const errors = results.errorMessages ? `, ${number(results.errorMessages)} errors` : "";
    if (results.verified === null) return [errors && "bad", `Replayed, not verified: without -verify${errors}`];
    return [results.verified && !errors ? "good" : "bad", results.verification.join("; ") + errors];
}

function summarise() {
    document.querySelector("h1").textContent = document.title = capture.file;
    document.getElementById("about").textContent =
        [capture.command, capture.started].filter(Boolean).join(" \u00b7 ");
    const [quality, text] = verdict();
    document.getElementById("verdict").textContent = text[0].toUpperCase() + text.slice(1);
    document.getElementById("verdict").className = quality;

    const place = document.getElementById("figures");
    function add(name, value, className = "") {
        const group = element(place, "div", undefined, className);
        element(group, "dt", name);
        element(group, "dd", value, className ? "text" : "");
    }
    const times = results && results.frameTimesMs;
    if (times) {
        add("Frame time, mean", milliseconds(times.mean));
        add("95 %", milliseconds(times.percentile95));
        add(`worst, frame ${times.worstFrame}`, milliseconds(times.worst));
        const gpu = results.measured.map(frame => frame.gpuMs).filter(ms => typeof ms === "number");
        if (gpu.length) add("GPU, mean", milliseconds(mean(gpu)));
    }
    add("Frames", number(capture.frames));
    if (data.work.length) {
        add("Calls a frame", number(mean(data.work.map(frame => frame.calls))));
        add("Draws a frame", number(mean(data.work.map(frame => frame.draws))));
    }
    add("Picture", `${capture.width} x ${capture.height}`);
    add("Capture", `${number(capture.bytes / 1024)} KiB`);
    const driver = capture.driver;
    if (driver && driver.glRenderer) add("Recorded on", `${driver.glRenderer}, ${driver.glVersion}`, "wide");
    if (results && results.driver.GL_RENDERER)
        add("Replayed on", `${results.driver.GL_RENDERER}, ${results.driver.GL_VERSION}`, "wide");
}

// Of each frame the means of its passes.
function timesByFrame(keys) {
    const frames = new Map();
    for (const cost of results ? results.measured : [])
        frames.set(cost.frame, [...(frames.get(cost.frame) || []), cost]);
    return [...frames].sort(([a], [b]) => a - b).map(([frame, costs]) => [frame, ...keys.map(key => {
        const values = costs.map(cost => cost[key]).filter(value => typeof value === "number");
        return values.length ? mean(values) : null;
    })]);
}

summarise();
const hasGpu = results && results.measured.some(frame => typeof frame.gpuMs === "number");
plot("times", ["Frame", "wall ms", "CPU ms", ...(hasGpu ? ["GPU ms"] : [])],
    timesByFrame(["wallMs", "cpuMs", ...(hasGpu ? ["gpuMs"] : [])]), { ylabel: "ms" });
plot("work", ["Frame", "draws", "uploaded KiB"],
    data.work.map((frame, index) => [index + 1, frame.draws, frame.uploadedBytes / 1024]),
    { series: { "uploaded KiB": { axis: "y2" } },
        axes: { y2: { independentTicks: true, drawGrid: false, axisLabelWidth: 64 } },
        ylabel: "draws", y2label: "KiB" });
pictures("frames", data.frames, "the first", picture => `frame ${picture.frame}`);
pictures("textures", data.textures, "the largest", ({ texture, layer, width, height, frame, uploads }) =>
    `texture ${texture}${layer ? `, layer ${layer}` : ""}: ${width} x ${height}, frame ${frame}` +
    (uploads > 1 ? `, ${number(uploads)} uploads` : ""));

const times = results && results.callTimesMs;
const sum = times ? Object.values(times).reduce((all, ms) => all + ms, 0) : 0;
table([
    { key: "name", title: "Function" },
    ...(times ? [{ key: "ms", title: "CPU ms", isNumber: true, digits: 3 },
        { key: "share", title: "%", isNumber: true, digits: 1 }] : []),
    { key: "count", title: "Calls", isNumber: true },
], Object.entries(capture.calls).map(([name, count]) => {
    const ms = times && times[name] || 0;
    return { name, count, ms, share: sum ? 100 * ms / sum : 0 };
}));

for (const { program, context, frame, label, shaders } of data.programs) {
    const details = element(document.getElementById("programs"), "details");
    const kinds = shaders.map(shader => shader.type.replace(/^GL_(.*)_SHADER$/, "$1").toLowerCase()).join(", ");
    element(details, "summary",
        `Program ${program}${label ? ` "${label}"` : ""}: ${kinds}, linked in frame ${frame}, context ${context}`);
    for (const shader of shaders) {
        element(details, "p", `${shader.type}, shader ${shader.shader}`, "hint");
        element(details, "pre", shader.source);
    }
}
if (!data.programs.length) drop("programs");
