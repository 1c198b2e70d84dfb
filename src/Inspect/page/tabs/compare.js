// What a second driver makes of the same call: both pictures, the difference, and the first draw that goes wrong.
import { addressOf, ask } from "../api.js";
import { make } from "../util.js";

const Modes = [["slider", "Slider"], ["a", "A"], ["b", "B"], ["difference", "Difference"]];
const Again = 500; // ms, while the search is at work

export class CompareView {
    /** `go(at)` shows a place; `report(error)` tells of trouble. */
    constructor(go, report) {
        this.go = go;
        this.report = report;
        this.mode = "slider";
        this.position = 50;
        this.what = "";
        this.tolerance = 0;
        this.second = null;
        this.search = null;
    }

    async load(at, signal) {
        this.at = at;
        this.problem = "";
        this.targets = [];
        if (!this.second) return;
        this.targets = (await ask("targets", { at }, signal)).targets.filter(target => target.width && target.components !== "bytes");
        this.index = Math.max(this.targets.findIndex(target => target.what === this.what), 0);
        if (!this.targets.length) return;
        try {
            this.difference = await ask("difference", { at, index: this.index, tolerance: this.tolerance }, signal);
        } catch (error) {
            if (error.name === "AbortError") throw error;
            this.problem = error.message;
        }
    }

    render(place, again) {
        if (!this.second)
            return place.replaceChildren(make("p", { class: "empty" }, "There is no second driver to compare with. Start playback-inspect with --b-driver DIR or --b-env NAME=VALUE."));
        const target = this.targets[this.index];
        const parts = [this.searchBar(), make("p", { class: "hint" }, `A is the first driver, B: ${this.second}.`)];
        if (!target) parts.push(make("p", { class: "empty" }, "This call writes to no image that can be read."));
        else if (this.problem) parts.push(make("p", { class: "empty" }, this.problem));
        else parts.push(this.toolBar(again), this.pictures());
        place.replaceChildren(...parts);
    }

    searchBar() {
        this.status = make("span", { class: "note", role: "status" }, this.search ?? "");
        const button = (text, from) => make("button", { click: () => this.find(from) }, text);
        return make("div", { class: "bar" }, button("First wrong draw", 1), button("From this frame", parseInt(this.at)),
            make("label", { class: "short" }, "Tolerance ", make("input", { inputmode: "numeric", size: 3, value: this.tolerance,
                change: event => { this.tolerance = Math.max(0, parseInt(event.target.value) || 0); } })), this.status);
    }

    toolBar(again) {
        return make("div", { class: "bar" },
            make("select", { "aria-label": "Image", change: event => { this.what = this.targets[event.target.selectedIndex].what; again(true); } },
                this.targets.map((target, i) => make("option", { selected: i === this.index }, `${target.object} \u00B7 ${target.what}`))),
            make("div", { class: "choice", role: "group", "aria-label": "Shown" }, Modes.map(([mode, text]) => make("button", {
                "aria-pressed": mode === this.mode, click: () => { this.mode = mode; again(false); } }, text))));
    }

    pictures() {
        const { at, index, difference } = this;
        const image = (name, parameters, alt) => make("img", { src: addressOf(name, { at, ...parameters }), alt });
        const a = () => image("picture", { index }, "A"), b = () => image("picture", { index: difference.indexOfB, side: "b" }, "B");
        const summary = make("p", { class: "hint" }, difference.a === difference.b ? "Both are the same." : difference.text);
        if (this.mode === "a") return make("div", {}, make("div", { class: "pair" }, a()), summary);
        if (this.mode === "b") return make("div", {}, make("div", { class: "pair" }, b()), summary);
        if (this.mode === "difference")
            return make("div", {}, make("div", { class: "pair" }, image("difference", { index, tolerance: this.tolerance, format: "png" }, "Where A and B differ")), summary);
        const upper = b();
        const cut = () => { upper.style.clipPath = `inset(0 0 0 ${this.position}%)`; };
        cut();
        return make("div", {}, make("div", { class: "pair" }, a(), upper),
            make("input", { type: "range", min: 0, max: 100, value: this.position, "aria-label": "A is shown up to here, B from here on",
                input: event => { this.position = +event.target.value; cut(); } }), summary);
    }

    say(text) {
        this.search = text;
        if (this.status) this.status.textContent = text;
    }

    async find(from) {
        this.say("Comparing \u2026");
        try {
            for (;;) {
                const answer = await ask("wrong", { from, tolerance: this.tolerance });
                if (!answer.isDone) {
                    this.say(answer.progress || "Comparing \u2026");
                    await new Promise(resolve => { setTimeout(resolve, Again); });
                    continue;
                }
                if (answer.at) {
                    this.say(`The first wrong draw is ${answer.at}.`);
                    return this.go(answer.at);
                }
                return this.say(answer.result.verdict === "equal" ? `${answer.result.framesCompared} frames are the same.`
                    : answer.result.notes.join(" ") || "Frames differ, and no draw by itself.");
            }
        } catch (error) {
            this.say("");
            this.report(error);
        }
    }
}
