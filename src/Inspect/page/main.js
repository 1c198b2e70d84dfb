// The page: one place in the capture, and the views of it. Its address says both, as #57:12/output.
import { ask, close } from "./api.js";
import { loadCall, renderCall } from "./tabs/call.js";
import { CompareView } from "./tabs/compare.js";
import { showExport } from "./export.js";
import { loadHistory, renderHistory } from "./tabs/history.js";
import { loadInputs, renderInputs } from "./tabs/inputs.js";
import { showKeys } from "./keys.js";
import { MeshView } from "./tabs/mesh.js";
import { beginNames, loadLabels } from "./names.js";
import { Output } from "./output/output.js";
import { ProgramView } from "./tabs/programs.js";
import { ResourceView } from "./tabs/resources.js";
import { watchSnapshots } from "./frames/snapshots.js";
import { StateView } from "./tabs/state.js";
import { Timeline } from "./frames/timeline.js";
import { CallTree } from "./frames/tree.js";
import { byId, clamp, empty, make, when } from "./util.js";

const place = { frame: 0, call: 0, at: "" };
let view = "output", tab = "state", marked, aborter = new AbortController(), shown = null;

const timeline = new Timeline(frame => { if (frame !== place.frame) go(String(frame)); });
const tree = new CallTree(call => { if (call !== place.call) go(`${place.frame}:c${call}`); }, alertUser, openObject);
const output = new Output({
    report: answer => answer ? tree.setFailed(answer.failed) : go(place.at, true),
    showHistory: () => { setTab("pixel"); fillTab(true); },
    fail: alertUser,
});
const state = new StateView(openObject);
const mesh = new MeshView({ open: openObject, again: () => fillTab() });
const resources = new ResourceView(call => go(`${place.frame}:c${call}`), () => tree.callCount);
const programs = new ProgramView({ changed: () => go(place.at, true), open: openObject, alertUser, spans: () => tree.spansOf(place.call) });
const comparison = new CompareView(at => go(at), alertUser);
const detail = byId("detail");

// What the tabs ask for at a place, and how they show it.
const Contents = {
    call: { load: loadCall, render: call => renderCall(detail, call, openObject) },
    state: { load: (at, signal) => state.load(at, marked, signal), render: renderState },
    inputs: { load: loadInputs, render: inputs => renderInputs(detail, place.at, inputs, openObject) },
    mesh: { load: (at, signal) => mesh.load(at, tree.textOfCall(place.call), signal), render: () => mesh.render(detail) },
    shaders: { load: (at, signal) => programs.load(at, signal), render: () => programs.render(detail) },
    resources: { load: (at, signal) => resources.load(at, place.call, signal), render: renderResources },
    pixel: { load: loadPixel, render: renderPixel },
    compare: { load: (at, signal) => comparison.load(at, signal), render: renderComparison },
};
const Tabs = Object.keys(Contents);
const Views = ["calls", "output", ...Tabs];

function alertUser(error) {
    if (error.name === "AbortError") return;
    byId("alert").hidden = false;
    byId("alert").querySelector("span").textContent = error.message;
}

function setView(name) {
    view = name;
    document.body.dataset.view = name;
    if (Tabs.includes(name)) setTab(name);
    for (const button of document.querySelectorAll("nav.views button"))
        button.setAttribute("aria-current", button.dataset.view === name);
}

function setTab(name) {
    tab = name;
    if (Tabs.includes(view) && view !== name) setView(name);
    for (const button of document.querySelectorAll("[data-tab]")) {
        button.setAttribute("aria-selected", button.dataset.tab === name);
        button.tabIndex = button.dataset.tab === name ? 0 : -1;
    }
}

function showAddress() {
    const more = view === "resources" && resources.name !== null ? `/${resources.kind}/${resources.name}` : "";
    history.replaceState(null, "", shown = `#${place.at}/${view}${more}`);
}

/** Goes to a place as an address names it. */
async function go(at, isForced = false) {
    if (at === place.at && !isForced) return;
    aborter.abort();
    aborter = new AbortController();
    const { signal } = aborter;
    document.body.classList.add("busy");
    byId("status").textContent = `Replaying to ${at}`;
    const begin = performance.now();
    try {
        const frame = parseInt(at);
        await tree.load(frame, signal);
        // What the address means is known from the calls; pictures come later.
        const call = callOf(at);
        if (call === null) throw new Error(`Frame ${frame} has ${tree.extent}, found ${at}.`);
        Object.assign(place, { frame, call, at: nameOf(frame, call) });
        byId("place").value = place.at;
        timeline.setFrame(frame);
        tree.select(call);
        showAddress();
        document.title = `${place.at} \u00B7 ${byId("file").textContent}`;
        byId("alert").hidden = true;
        await Promise.all([output.show(place.at, signal), fillTab()]);
        byId("status").textContent = `${place.at} in ${Math.round(performance.now() - begin)} ms`;
    } catch (error) {
        if (signal.aborted) return;
        byId("status").textContent = "";
        // Where nothing is shown yet, something near is.
        if (place.frame) showAddress();
        else if (at !== "1") await go(at.includes(":") && tree.frame === parseInt(at) ? String(tree.frame) : "1");
        alertUser(error);
    }
    if (!signal.aborted) document.body.classList.remove("busy");
}

function callOf(at) {
    const [, rest] = at.split(":");
    if (rest === undefined) return tree.callCount;
    if (rest.startsWith("c")) return +rest.slice(1) >= 1 && +rest.slice(1) <= tree.callCount ? +rest.slice(1) : null;
    return tree.actions.find(node => node.number === rest)?.call ?? null;
}

function nameOf(frame, call) {
    return `${frame}:${tree.actionAt(call)?.number ?? `c${call}`}`;
}

/** Fills the tab that is open; `isAsked`: with what takes long, too. */
async function fillTab(isAsked = false) {
    const { signal } = aborter, { at } = place, name = tab;
    try {
        const answer = await Contents[name].load(at, signal, isAsked);
        if (at === place.at && !signal.aborted && tab === name) Contents[name].render(answer);
    } catch (error) {
        alertUser(error);
    }
}

async function loadPixel(at, signal, isAsked) {
    if (!isAsked || !output.pixel || !output.pixels) return null;
    detail.replaceChildren(empty("Replaying the frame \u2026"));
    return loadHistory(output.at, output.index, output.pixel, signal);
}

function renderPixel(answer) {
    if (answer) return renderHistory(detail, answer, at => go(at));
    detail.replaceChildren(output.pixel && output.pixels
        ? empty(make("button", { click: () => fillTab(true) }, `History of pixel ${output.pixel.join(", ")}`))
        : empty("Click at a pixel of the output, or move to one with the arrow keys and press Enter, to see which actions changed it."));
}

function renderState() {
    state.render(detail, renderState, fillTab);
}

function renderComparison() {
    comparison.render(detail, isOther => isOther ? fillTab() : renderComparison());
}

function renderResources() {
    resources.render(detail, (kind, name) => {
        resources.kind = kind;
        resources.name = name;
        showAddress();
        renderResources();
    });
}

function openObject(kind, name) {
    resources.kind = kind;
    resources.name = String(name);
    setTab("resources");
    if (isNarrow()) setView("resources");
    fillTab();
}

function step(by) {
    const call = tree.neighbour(by);
    if (call !== null) return go(`${place.frame}:c${call}`);
    return stepFrame(by);
}

function stepFrame(by) {
    const frame = clamp(place.frame + by, 1, timeline.count);
    if (frame !== place.frame) go(String(frame));
}

function readAddress() {
    if (location.hash === shown) return;
    const [at, name, kind, object] = decodeURIComponent(location.hash.slice(1)).split("/");
    if (Views.includes(name)) setView(name);
    if (kind) { resources.kind = kind; resources.name = object ?? null; }
    go(/^[1-9]\d*(:c?\d+(\.\d+)?)?$/.test(at) ? at : "1", true);
}

const Themes = ["", "light", "dark"];
function setTheme(name) {
    if (name) document.documentElement.dataset.theme = name; else delete document.documentElement.dataset.theme;
    byId("theme").textContent = name ? name[0].toUpperCase() + name.slice(1) : "Theme";
    localStorage.setItem("theme", name);
    timeline.draw();
    output.draw();
}
const nextTheme = () => setTheme(Themes[(Themes.indexOf(document.documentElement.dataset.theme ?? "") + 1) % Themes.length]);

// What is told of the keys, and what they do; those without that are keys of the parts.
const Keys = [
    ["j / k", "next, previous action (or call, where all calls are shown)", { "j": () => step(1), "k": () => step(-1) }],
    ["] / [", "next, previous frame", { "]": () => stepFrame(1), "[": () => stepFrame(-1) }],
    ["g", "go to a place: 57:12 is action 12 of frame 57, 57:c345 a call, 57 the end of the frame", { "g": () => byId("place").select() }],
    ["/", "filter the lines", { "/": () => { if (isNarrow()) setView("calls"); byId("filter").focus(); } }],
    ["a", "actions, or all calls", { "a": () => tree.setMode(!tree.showsCalls) }],
    ["c", "what each action costs", { "c": () => tree.toggleTimes() }],
    ["1 \u2026 9", "lines, output, call, state, inputs, mesh, shaders, resources, pixel", { "1": () => focusOn("calls", "tree"), "2": () => focusOn("output", "view"),
        ...Object.fromEntries(Tabs.slice(0, 7).map((name, i) => [String(i + 3), () => openTab(name)])) }],
    ["v", "comparison with a second driver", { "v": () => openTab("compare") }],
    ["o", "next image of the call", { "o": () => nextTarget() }],
    ["r e b l", "red, green, blue, alpha", Object.fromEntries([..."rebl"].map((key, i) => [key, () => output.setChannel(i)]))],
    ["f", "range from the least to the largest value", { "f": () => output.fitRange() }],
    ["+ - 0", "zoom in, out, whole image", { "+": () => output.zoomBy(2), "=": () => output.zoomBy(2), "-": () => output.zoomBy(0.5), "0": () => output.fit() }],
    ["x / X", "next, previous overlay", { "x": () => chooseOverlay(1), "X": () => chooseOverlay(-1) }],
    ["F", "range of each image by itself", { "F": () => output.toggleAuto() }],
    ["s", "linear light, encoded as sRGB", { "s": () => output.toggleLinear() }],
    ["d", "show the image by a shader", { "d": () => output.shader.toggle() }],
    ["h", "hold the picture while the call changes", { "h": () => output.toggleHold() }],
    ["Ctrl Enter", "in a shader: draw the frame with it"],
    ["u", "take all edits and experiments back", { "u": () => programs.undo(place.at) }],
    ["p", "show the frame as it was recorded, or with them", { "p": () => programs.toggleVersion() }],
    ["m", "mark this call: the state is compared with it", { "m": () => { marked = marked === place.at ? undefined : place.at; fillTab(); } }],
    ["Arrows", "in the output: move to a pixel; Shift: by 10"],
    ["Enter", "in the output: history of the pixel"],
    ["w", "export: files of the call, the frame and the image", { "w": () => byId("export").click() }],
    ["t", "light, dark, as the system", { "t": nextTheme }],
    ["?", "this list", { "?": () => byId("help").click() }],
];
const Acts = Object.assign({}, ...Keys.map(([, , acts]) => acts));
const isNarrow = () => matchMedia("(max-width: 720px)").matches;

function openExport() {
    const target = output.targets[output.index];
    showExport(byId("exports"), { at: place.at, kind: tree.actionAt(place.call)?.kind ?? "",
        target: target?.width && `${target.object}, ${target.what}`, index: output.index });
}

function chooseOverlay(step) {
    const select = byId("overlay");
    select.selectedIndex = (select.selectedIndex + step + select.options.length) % select.options.length;
    output.paint();
}

function nextTarget() {
    if (output.targets.length) output.choose((output.index + 1) % output.targets.length).catch(alertUser);
}

function focusOn(name, id) {
    setView(name);
    byId(id).focus();
    showAddress();
}

function openTab(name) {
    focusOn(name, "detail");
    fillTab();
}

function listen() {
    const title = name => name[0].toUpperCase() + name.slice(1);
    byId("tabs").append(...Tabs.map(name => make("button", { role: "tab", "data-tab": name, click: () => { setTab(name); fillTab(); } }, title(name))));
    byId("views").append(...Views.map(name => make("button", { "data-view": name,
        click: () => { setView(name); showAddress(); if (Tabs.includes(view)) fillTab(); } }, title(name))));
    document.addEventListener("keydown", event => {
        const isTyping = event.target.matches("input, select, textarea") || document.querySelector("dialog[open]");
        if (event.key === "Escape" && isTyping) event.target.blur();
        if (isTyping || event.ctrlKey || event.metaKey || event.altKey || !(event.key in Acts)) return;
        event.preventDefault();
        Acts[event.key]();
    });
    when("place", event => {
        if (event.key === "Enter") { go(byId("place").value.trim().replace(/^#/, ""), true); event.target.blur(); }
    }, "keydown");
    for (const [id, act] of [["previous", () => step(-1)], ["next", () => step(1)], ["previous-frame", () => stepFrame(-1)],
        ["next-frame", () => stepFrame(1)], ["theme", nextTheme], ["help", () => showKeys(byId("keys"), Keys)], ["export", openExport],
        ["edited", () => openTab("shaders")]])
        when(id, act);
    when("close", async () => {
        await close();
        document.body.replaceChildren(empty("The server has ended. This page can be closed."));
    });
    byId("alert").querySelector("button").addEventListener("click", () => { byId("alert").hidden = true; });
    addEventListener("hashchange", readAddress);
}

async function begin() {
    listen();
    setView("output");
    setTab("state");
    setTheme(localStorage.getItem("theme") ?? "");
    const capture = await ask("capture");
    byId("file").textContent = capture.file;
    byId("file").title = [capture.command, capture.recordedOn.renderer, capture.recordedOn.version].filter(Boolean).join("\n");
    document.title = capture.file;
    beginNames(`${capture.file} ${capture.startTimeUs}`);
    comparison.second = capture.second ?? null;
    state.others = capture.others;
    await timeline.load();
    await programs.loadEdits();
    await loadLabels();
    loadLabels(1).then(hasMore => hasMore && place.at && fillTab()).catch(alertUser);
    if (timeline.trouble) alertUser(new Error(timeline.trouble));
    timeline.loadPictures();
    watchSnapshots().catch(() => {});
    if (timeline.count) readAddress();
    else alertUser(new Error("The capture has no calls."));
}

begin().catch(alertUser);
