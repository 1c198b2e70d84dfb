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
import { byId, clamp, make } from "./util.js";

const Tabs = ["call", "state", "inputs", "mesh", "shaders", "resources", "pixel", "compare"];
const Views = ["calls", "output", ...Tabs];
const place = { frame: 0, call: 0, at: "" };
let view = "output", tab = "state", marked, aborter = new AbortController(), shown = null;

const timeline = new Timeline(frame => { if (frame !== place.frame) go(String(frame)); });
const tree = new CallTree(call => { if (call !== place.call) go(`${place.frame}:c${call}`); }, error => alertUser(error), openObject);
const output = new Output({
    report: answer => answer ? tree.setFailed(answer.failed) : go(place.at, true),
    showHistory: () => { setTab("pixel"); fillTab(true); },
    fail: error => alertUser(error),
});
const state = new StateView(openObject);
const mesh = new MeshView({ open: openObject, again: () => fillTab() });
const resources = new ResourceView(call => go(`${place.frame}:c${call}`), () => tree.callCount);
const programs = new ProgramView({ changed: () => go(place.at, true), open: openObject, alertUser, spans: () => tree.spansOf(place.call) });
const comparison = new CompareView(at => go(at), alertUser);

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

function address() {
    const more = view === "resources" && resources.name !== null ? `/${resources.kind}/${resources.name}` : "";
    return `#${place.at}/${view}${more}`;
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
        history.replaceState(null, "", shown = address());
        document.title = `${place.at} \u00B7 ${byId("file").textContent}`;
        byId("alert").hidden = true;
        await Promise.all([output.show(place.at, signal), fillTab()]);
        byId("status").textContent = `${place.at} in ${Math.round(performance.now() - begin)} ms`;
    } catch (error) {
        if (signal.aborted) return;
        byId("status").textContent = "";
        // Where nothing is shown yet, something near is.
        if (place.frame) history.replaceState(null, "", shown = address());
        else if (at !== "1") await go(at.includes(":") && tree.frame === parseInt(at) ? String(tree.frame) : "1");
        alertUser(error);
    }
    if (!signal.aborted) document.body.classList.remove("busy");
}

function callOf(at) {
    const [, rest] = at.split(":");
    if (rest === undefined) return tree.callCount;
    if (rest.startsWith("c")) return +rest.slice(1) >= 1 && +rest.slice(1) <= tree.callCount ? +rest.slice(1) : null;
    return tree.nodes.find(node => node.number === rest)?.call ?? null;
}

function nameOf(frame, call) {
    const action = tree.nodes.find(node => node.type === "action" && node.call === call);
    return `${frame}:${action ? action.number : `c${call}`}`;
}

/** Fills the tab that is open. */
async function fillTab(isAsked = false) {
    const { signal } = aborter;
    const { at } = place;
    const detail = byId("detail");
    const isCurrent = () => at === place.at && !signal.aborted;
    try {
        if (tab === "call") {
            const call = await loadCall(at, signal);
            if (isCurrent() && tab === "call") renderCall(detail, call, openObject);
        } else if (tab === "mesh") {
            await mesh.load(at, tree.textOfCall(place.call), signal);
            if (isCurrent() && tab === "mesh") mesh.render(detail);
        } else if (tab === "shaders") {
            await programs.load(at, signal);
            if (isCurrent() && tab === "shaders") programs.render(detail);
        } else if (tab === "state") {
            await state.load(at, marked, signal);
            if (isCurrent() && tab === "state") renderState();
        } else if (tab === "inputs") {
            const inputs = await loadInputs(at, signal);
            if (isCurrent() && tab === "inputs") renderInputs(detail, at, inputs, openObject);
        } else if (tab === "resources") {
            await resources.load(at, place.call, signal);
            if (isCurrent() && tab === "resources") renderResources();
        } else if (tab === "compare") {
            await comparison.load(at, signal);
            if (isCurrent() && tab === "compare") renderComparison();
        } else if (!output.pixel || !output.pixels) {
            detail.replaceChildren(make("p", { class: "empty" }, "Click at a pixel of the output, or move to one with the arrow keys and press Enter, to see which actions changed it."));
        } else if (isAsked) {
            detail.replaceChildren(make("p", { class: "empty" }, "Replaying the frame \u2026"));
            const answer = await loadHistory(output.at, output.index, output.pixel, signal);
            if (isCurrent() && tab === "pixel") renderHistory(detail, answer, there => go(there));
        } else {
            detail.replaceChildren(make("p", { class: "empty" }, make("button", { click: () => fillTab(true) },
                `History of pixel ${output.pixel.join(", ")}`)));
        }
    } catch (error) {
        alertUser(error);
    }
}

function renderState() {
    state.render(byId("detail"), renderState, fillTab);
}

function renderComparison() {
    comparison.render(byId("detail"), isOther => isOther ? fillTab() : renderComparison());
}

function renderResources() {
    resources.render(byId("detail"), (kind, name) => {
        resources.kind = kind;
        resources.name = name;
        history.replaceState(null, "", shown = address());
        renderResources();
    });
}

function openObject(kind, name) {
    resources.kind = kind;
    resources.name = String(name);
    setTab("resources");
    if (matchMedia("(max-width: 720px)").matches) setView("resources");
    fillTab();
}

function step(by) {
    const call = tree.neighbour(by);
    if (call !== null) return go(`${place.frame}:c${call}`);
    if (by > 0) return stepFrame(1);
    return stepFrame(-1);
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

const Keys = {
    "j": () => step(1), "k": () => step(-1), "]": () => stepFrame(1), "[": () => stepFrame(-1),
    "/": () => { if (matchMedia("(max-width: 720px)").matches) setView("calls"); byId("filter").focus(); },
    "g": () => byId("place").select(), "a": () => tree.setMode(!tree.showsCalls),
    "u": () => programs.undo(place.at), "p": () => programs.toggleVersion(),
    "m": () => { marked = marked === place.at ? undefined : place.at; fillTab(); },
    "h": () => output.toggleHold(), "f": () => output.fitRange(), "+": () => output.zoomBy(2), "=": () => output.zoomBy(2),
    "-": () => output.zoomBy(0.5), "0": () => output.fit(), "r": () => output.setChannel(0), "e": () => output.setChannel(1),
    "b": () => output.setChannel(2), "l": () => output.setChannel(3), "x": () => chooseOverlay(1), "X": () => chooseOverlay(-1), "t": nextTheme,
    "s": () => output.toggleLinear(), "F": () => output.toggleAuto(), "d": () => output.shader.toggle(), "c": () => tree.toggleTimes(),
    "o": () => nextTarget(), "1": () => focusOn("calls", "tree"), "2": () => focusOn("output", "view"),
    ...Object.fromEntries(Tabs.slice(0, 7).map((name, i) => [String(i + 3), () => openTab(name)])), "v": () => openTab("compare"),
    "w": () => byId("export").click(), "?": () => byId("help").click(),
};

function openExport() {
    const target = output.targets[output.index];
    showExport(byId("exports"), { at: place.at, kind: tree.nodes.find(node => node.type === "action" && node.call === place.call)?.kind ?? "",
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
    history.replaceState(null, "", shown = address());
}

function openTab(name) {
    setView(name);
    byId("detail").focus();
    history.replaceState(null, "", shown = address());
    fillTab();
}

function listen() {
    document.addEventListener("keydown", event => {
        const isTyping = event.target.matches("input, select, textarea") || document.querySelector("dialog[open]");
        if (event.key === "Escape" && isTyping) event.target.blur();
        if (isTyping || event.ctrlKey || event.metaKey || event.altKey || !(event.key in Keys)) return;
        event.preventDefault();
        Keys[event.key]();
    });
    byId("place").addEventListener("keydown", event => {
        if (event.key === "Enter") { go(byId("place").value.trim().replace(/^#/, ""), true); event.target.blur(); }
    });
    for (const [id, act] of [["previous", () => step(-1)], ["next", () => step(1)], ["previous-frame", () => stepFrame(-1)],
        ["next-frame", () => stepFrame(1)], ["theme", nextTheme], ["help", () => showKeys(byId("keys"))], ["export", openExport]])
        byId(id).addEventListener("click", act);
    byId("close").addEventListener("click", async () => {
        await close();
        document.body.replaceChildren(make("p", { class: "empty" }, "The server has ended. This page can be closed."));
    });
    byId("alert").querySelector("button").addEventListener("click", () => { byId("alert").hidden = true; });
    for (const button of document.querySelectorAll("nav.views button"))
        button.addEventListener("click", () => { setView(button.dataset.view); history.replaceState(null, "", shown = address()); if (Tabs.includes(view)) fillTab(); });
    for (const button of document.querySelectorAll("[data-tab]"))
        button.addEventListener("click", () => { setTab(button.dataset.tab); fillTab(); });
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
    byId("edited").addEventListener("click", () => openTab("shaders"));
    await loadLabels();
    loadLabels(1).then(hasMore => hasMore && place.at && fillTab()).catch(alertUser);
    if (timeline.trouble) alertUser(new Error(timeline.trouble));
    timeline.loadPictures();
    watchSnapshots().catch(() => {});
    if (timeline.count) readAddress();
    else alertUser(new Error("The capture has no calls."));
}

begin().catch(alertUser);
