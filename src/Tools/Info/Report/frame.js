"use strict";
// One frame: its picture, what it cost on the GPU, and its calls.
const gpuOf = level => results && results.gpu && results.gpu[level] || [];
// A loop replays frames several times; its first pass through them is shown.
const ofFrame = (costs, frame) => {
    const found = costs.filter(cost => cost.frame === frame);
    return found.filter(cost => cost.pass === found[0].pass);
};
const byCost = (a, b) => (b.gpuMs || 0) - (a.gpuMs || 0);
const MOST = 12;

function bar(parent, name, value, most, text) {
    const made = element(parent, "div", undefined, "bar");
    element(made, "span", name, "name");
    element(element(made, "span"), "div", undefined, "length").style.width = `${most ? 100 * (value || 0) / most : 0}%`;
    element(made, "span", text, "value");
}

// Shows the first ones, and all when that is asked for.
function bars(place, rows, most, describe) {
    place.replaceChildren();
    const show = some => some.forEach(row => bar(place, ...describe(row, most)));
    show(rows.slice(0, MOST));
    if (rows.length <= MOST) return;
    element(place, "button", `${number(rows.length - MOST)} more`).onclick = event => {
        event.target.remove();
        show(rows.slice(MOST));
    };
}

const drawBar = (draw, most) => [`${draw.kind} ${draw.action}: ${draw.function}, call ${draw.call}`, draw.gpuMs, most,
    milliseconds(draw.gpuMs)];

function showPasses(place, passes, draws) {
    place.replaceChildren();
    const most = Math.max(...passes.map(pass => pass.gpuMs || 0));
    for (const pass of [...passes].sort(byCost)) {
        const inside = draws.filter(draw => draw.renderPass === pass.renderPass).sort(byCost);
        const details = element(place, inside.length ? "details" : "div");
        const target = pass.framebuffer ? `framebuffer ${pass.framebuffer}` : "the surface";
        bar(inside.length ? element(details, "summary") : details,
            `pass ${pass.renderPass}: ${target}, ${number(pass.actions)} action${pass.actions === 1 ? "" : "s"}`,
            pass.gpuMs, most, milliseconds(pass.gpuMs));
        if (inside.length) bars(element(details, "div", undefined, "bars"), inside, most, drawBar);
    }
}

function showGpu(frame) {
    const passes = ofFrame(gpuOf("passes"), frame);
    const draws = ofFrame(gpuOf("draws"), frame);
    document.getElementById("gpu").hidden = !passes.length;
    document.getElementById("dearest").hidden = !draws.length;
    if (!passes.length) return;
    const isWhole = passes.every(pass => typeof pass.gpuMs === "number");
    const all = passes.reduce((sum, pass) => sum + (pass.gpuMs || 0), 0);
    document.querySelector("#gpu h3").textContent = `Passes on the GPU, the dearest first: ${milliseconds(all)}`;
    document.querySelector("#gpu .hint").textContent = isWhole ? "" : "Not all were measured.";
    showPasses(document.querySelector("#gpu .bars"), passes, draws);
    const dearest = [...draws].sort(byCost);
    bars(document.querySelector("#dearest .bars"), dearest, dearest.length && dearest[0].gpuMs || 0, drawBar);
}

function showFrame(wanted) {
    const count = data.callsByFrame.length;
    if (!count) return drop("frame");
    const frame = Math.min(Math.max(Math.round(wanted) || 1, 1), count);
    document.getElementById("number").value = frame;
    const measured = results ? results.measured.find(cost => cost.frame === frame) : undefined;
    const work = data.work[frame - 1];
    document.querySelector("#frame .hint").textContent = [
        work && `${number(work.calls)} calls, ${number(work.draws)} draws, ` +
            `${number(work.uploadedBytes / 1024, 1)} KiB uploaded`,
        measured && `wall ${milliseconds(measured.wallMs)}, CPU ${milliseconds(measured.cpuMs)}`,
        measured && typeof measured.gpuMs === "number" && `GPU ${milliseconds(measured.gpuMs)}`,
    ].filter(Boolean).join(" \u00b7 ");

    const place = document.getElementById("picture");
    place.replaceChildren();
    const picture = data.frames.pictures.find(picture => picture.frame === frame);
    if (picture) figure(place, picture, `frame ${frame}`, true);
    showGpu(frame);
    const calls = [...data.callsByFrame[frame - 1]].sort((a, b) => b[1] - a[1]);
    bars(document.querySelector("#made .bars"), calls, calls.length ? calls[0][1] : 0,
        ([id, made], most) => [data.functions[id], made, most, number(made)]);
}

// The one that took longest, or draws most.
function firstFrame() {
    const longest = results && results.measured.length ? [...results.measured].sort((a, b) =>
        (b.gpuMs || 0) - (a.gpuMs || 0) || b.wallMs - a.wallMs)[0].frame : 0;
    const draws = data.work.map(frame => frame.draws);
    return longest || draws.indexOf(Math.max(...draws)) + 1;
}

const input = document.getElementById("number");
input.max = data.callsByFrame.length;
input.onchange = () => showFrame(input.valueAsNumber);
document.getElementById("before").onclick = () => showFrame(input.valueAsNumber - 1);
document.getElementById("after").onclick = () => showFrame(input.valueAsNumber + 1);
showFrame(firstFrame());
