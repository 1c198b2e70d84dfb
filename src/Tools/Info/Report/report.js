"use strict";
// Fills the page from the data in it. Text of the capture becomes text nodes only.
const data = JSON.parse(document.getElementById("data").textContent);
const results = data.results;

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

function pictures(id, list, caption) {
    if (!list.length) return drop(id);
    const place = document.querySelector(`#${id} .pictures`);
    const most = data.maxPictures;
    if (list.length > most)
        document.querySelector(`#${id} h2`).textContent += `: the first ${most}, there are more`;
    for (const picture of list.slice(0, most)) {
        const figure = element(place, "figure");
        element(figure, "img").src = "data:image/png;base64," + picture.png;
        element(figure, "figcaption", caption(picture));
    }
}

function plot(id, labels, rows, options) {
    if (!rows.length) return drop(id);
    new Dygraph(document.querySelector(`#${id} .plot`), rows, {
        labels, labelsDiv: document.querySelector(`#${id} .legend`), legend: "always",
        colors: ["#1f6fb5", "#c8741a"], xlabel: "frame", includeZero: true, fillGraph: true, fillAlpha: 0.1,
        strokeWidth: 1.5, highlightCircleSize: 4, ...options });
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
            for (const { key, isNumber, digits } of columns) {
                const value = row[key];
                const text = digits && value !== undefined ? value.toFixed(digits) : value;
                element(line, "td", text, isNumber ? "number" : "");
            }
        }
    }
    for (const column of columns)
        element(head, "th", column.title, column.isNumber ? "number" : "").onclick = () => sort(column);
    sort(columns[1]);
}

const capture = data.capture;
document.querySelector("h1").textContent = document.title = capture.file;
document.getElementById("about").textContent = [
    `${capture.frames} frames, ${capture.callCount} calls`, `${capture.width} x ${capture.height}`,
    capture.command, capture.driver && capture.driver.glRenderer, results && `replayed on ${results.driver.GL_RENDERER}`
].filter(Boolean).join(" \u00b7 ");

pictures("frames", data.frames, picture => `frame ${picture.frame}`);
pictures("textures", data.textures, picture =>
    `texture ${picture.texture}, level ${picture.level}, layer ${picture.layer}: ` +
    `${picture.width} x ${picture.height}, frame ${picture.frame}`);
plot("times", ["Frame", "wall ms", "CPU ms"],
    results ? results.measured.map(frame => [frame.frame, frame.wallMs, frame.cpuMs]) : [], { ylabel: "ms" });
plot("work", ["Frame", "draws", "uploaded KiB"],
    data.work.map((frame, index) => [index + 1, frame.draws, frame.uploadedBytes / 1024]),
    { series: { "uploaded KiB": { axis: "y2" } },
        axes: { y2: { independentTicks: true, drawGrid: false, axisLabelWidth: 64 } },
        ylabel: "draws", y2label: "KiB" });

const trouble = results ? [
    ...Object.entries(results.errors || {}).map(([name, count]) => `${name}: ${count}`),
    ...Object.entries(results.skipped).map(([name, count]) => `${name} was not replayed: ${count}`),
    ...results.verification,
    ...(results.stopped ? [`Replay was stopped: ${results.stopped}`] : []),
] : [];
for (const name of Object.keys(capture.notRecorded)) trouble.push(`Not recorded: ${name}`);
if (!capture.complete) trouble.push("The capture is incomplete.");
if (!trouble.length) trouble.push(results ? "None." : "None known: no results of a replay are given.");
for (const text of trouble) element(document.querySelector("#trouble ul"), "li", text);

const times = results && results.callTimesMs;
table([
    { key: "name", title: "Function" },
    { key: "count", title: "Calls", isNumber: true },
    ...(times ? [{ key: "ms", title: "CPU ms", isNumber: true, digits: 3 }] : []),
], Object.entries(capture.calls).map(([name, count]) => ({ name, count, ms: times && times[name] || 0 })));

for (const program of data.programs) {
    const details = element(document.getElementById("programs"), "details");
    element(details, "summary", `Program ${program.program}: ${program.shaders.map(shader => shader.type).join(", ")}`);
    for (const shader of program.shaders) {
        element(details, "p", `${shader.type}, shader ${shader.shader}`, "hint");
        element(details, "pre", shader.source);
    }
}
if (!data.programs.length) drop("programs");
