// What a second driver makes of the same call: both pictures, the difference, and the first draw that goes wrong.
import { addressOf, ask } from "../api.js";
import { bar, choice, empty, hint, make, select } from "../util.js";

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
            return place.replaceChildren(empty("There is no second driver to compare with. Start playback-inspect with --b-driver DIR or --b-env NAME=VALUE."));
        const target = this.targets[this.index];
        const parts = [this.searchBar(), hint(`A is the first driver, B: ${this.second}.`)];
        if (!target) parts.push(empty("This call writes to no image that can be read."));
        else if (this.problem) parts.push(empty(this.problem));
        else parts.push(this.toolBar(again), this.pictures());
        place.replaceChildren(...parts);
    }

    searchBar() {
        this.status = make("span", { class: "note", role: "status" }, this.search ?? "");
        const button = (text, from) => make("button", { click: () => this.find(from) }, text);
        return bar(button("First wrong draw", 1), button("From this frame", parseInt(this.at)),
            make("label", { class: "short" }, "Tolerance ", make("input", { inputmode: "numeric", size: 3, value: this.tolerance,
                change: event => { this.tolerance = Math.max(0, parseInt(event.target.value) || 0); } })), this.status);
    }

    toolBar(again) {
        const images = this.targets.map(({ object, what }, i) => [i, `${object} \u00B7 ${what}`]);
        return bar(select("Image", images, this.index, i => { this.what = this.targets[i].what; again(true); }),
            choice("Shown", Modes, this.mode, mode => { this.mode = mode; again(false); }));
    }

    pictures() {
        const { at, index, difference } = this;
        const image = (name, parameters, alt) => make("img", { src: addressOf(name, { at, ...parameters }), alt });
        const a = () => image("picture", { index }, "A"), b = () => image("picture", { index: difference.indexOfB, side: "b" }, "B");
        const summary = hint(difference.a === difference.b ? "Both are the same." : difference.text);
        const shown = (images, ...more) => make("div", {}, make("div", { class: "pair" }, images), more, summary);
        if (this.mode === "a") return shown(a());
        if (this.mode === "b") return shown(b());
        if (this.mode === "difference")
            return shown(image("difference", { index, tolerance: this.tolerance, format: "png" }, "Where A and B differ"));
        const upper = b();
        const cut = () => { upper.style.clipPath = `inset(0 0 0 ${this.position}%)`; };
        cut();
        return shown([a(), upper],
            make("input", { type: "range", min: 0, max: 100, value: this.position, "aria-label": "A is shown up to here, B from here on",
                input: event => { this.position = +event.target.value; cut(); } }));
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
