// The actions of a frame in their passes and debug groups, or all of its calls.
import { ask } from "../api.js";
import { VirtualList } from "./list.js";
import { labelOf, objectLink } from "../names.js";
import { ActionThumbnails } from "./thumbnails.js";
import { byId, clamp, counted, make, when } from "../util.js";

const PageRows = 500;

export class CallTree {
    /** `choose(call)` is told of the call that the user picked; `fail` gets errors; `open(kind, name)` shows an object. */
    constructor(choose, fail, open) {
        this.choose = choose;
        this.open = open;
        this.fail = fail;
        this.thumbnails = new ActionThumbnails(() => this.setFailed(this.thumbnails.failed));
        this.times = null; // milliseconds by call, where they were asked for
        this.isDearestFirst = false;
        this.place = byId("tree");
        this.nodes = [];
        this.actions = []; // of them
        this.visible = []; // nodes, where actions are shown
        this.closed = new Set();
        this.failed = new Map();
        this.showsCalls = false;
        this.pages = new Map(); // of all calls
        this.total = 0;
        this.frame = 0;
        this.call = 0;
        this.cursor = 0;
        this.list = new VirtualList(this.place, line => this.row(line), (first, count) => this.fetchRows(first, count));
        this.place.addEventListener("click", event => this.click(event));
        this.place.addEventListener("keydown", event => this.key(event));
        when("filter", () => this.refilter(), "input");
        when("show-actions", () => this.setMode(false));
        when("show-calls", () => this.setMode(true));
        when("times", () => this.toggleTimes());
        when("dearest", () => { this.isDearestFirst = !this.isDearestFirst; this.showTimes(); });
    }

    get filter() { return byId("filter").value.trim().toLowerCase(); }

    async load(frame, signal) {
        if (this.frame === frame) return;
        const answer = await ask("actions", { frame }, signal);
        this.frame = frame;
        this.nodes = answer.tree;
        this.callCount = answer.calls;
        this.closed.clear();
        this.failed.clear();
        this.thumbnails.load(frame);
        this.arrange();
        if (this.times) this.loadTimes();
        await this.refresh();
    }

    /** The times of the frame's actions, and of what they are in. */
    async loadTimes() {
        const { frame } = this;
        this.times = new Map();
        byId("times").setAttribute("aria-busy", true);
        try {
            const answer = await ask("times", { frame });
            if (frame !== this.frame || !this.times) return;
            this.times = new Map(answer.actions.map(({ call, gpuMs, doneMs }) => [call, gpuMs ?? doneMs]));
            byId("times").title = answer.note ? `Measured alone, until the driver was done with each: ${answer.note}` : "By the clock of the GPU, each action alone";
            this.setFailed(answer.failed);
            this.addTimes();
        } catch (error) {
            this.times = null;
            this.fail(error);
        }
        byId("times").setAttribute("aria-busy", false);
        this.showTimes();
    }

    /** The calls of the actions in what a call is in. */
    spansOf(call) {
        const { actions } = this, action = this.actionAt(call);
        const passOf = node => { while (node && node.type !== "pass") node = this.nodes[node.parent]; return node; };
        const calls = some => some.map(node => node.call);
        return { "this call": [call], "its pass": action ? calls(actions.filter(node => passOf(node) === passOf(action))) : [], "the frame": calls(actions) };
    }

    addTimes() {
        for (const node of this.nodes) node.ms = 0;
        for (const node of this.actions) {
            node.ms = this.times.get(node.call) ?? 0;
            for (const above of this.above(node)) above.ms += node.ms;
        }
        this.mostMs = Math.max(0, ...this.times.values());
    }

    toggleTimes() {
        if (!this.times) return this.loadTimes();
        this.times = null;
        this.isDearestFirst = false;
        this.showTimes();
    }

    async showTimes() {
        byId("times").setAttribute("aria-pressed", Boolean(this.times));
        byId("dearest").hidden = !this.times || this.showsCalls;
        byId("dearest").setAttribute("aria-pressed", this.isDearestFirst);
        await this.refresh();
        this.select(this.call);
    }

    /** Which nodes are above and below one another. */
    arrange() {
        const open = [];
        this.nodes.forEach((node, index) => {
            open.length = node.depth;
            node.parent = open.length ? open[open.length - 1] : -1;
            node.actions = 0;
            open.push(index);
            if (node.type === "action")
                for (const above of this.above(node)) ++above.actions;
        });
        this.actions = this.nodes.filter(node => node.type === "action");
    }

    /** The nodes that one is in, from the inside out. */
    *above(node) {
        for (let up = this.nodes[node.parent]; up; up = this.nodes[up.parent]) yield up;
    }

    /** Nothing for another call. */
    actionAt(call) {
        return this.actions.find(node => node.call === call);
    }

    /** What there is to be found. */
    get extent() {
        const { actions } = this;
        return `${actions.length} actions${actions.length ? `, the last one ${actions.at(-1).number},` : ""} and ${this.callCount} calls`;
    }

    textOf(node) {
        if (node.type === "pass") return node.framebuffer ? `Framebuffer ${node.framebuffer}` : "Default framebuffer";
        return node.text;
    }

    async setMode(showsCalls) {
        this.showsCalls = showsCalls;
        byId("show-actions").setAttribute("aria-pressed", !showsCalls);
        byId("show-calls").setAttribute("aria-pressed", showsCalls);
        await this.showTimes();
    }

    async refilter() {
        await this.refresh();
        this.select(this.call);
    }

    async refresh() {
        const filter = this.filter;
        if (this.showsCalls) {
            this.pages.clear();
            const answer = await ask("calls", { frame: this.frame, filter, first: 0, count: PageRows });
            if (filter !== this.filter || !this.showsCalls) return;
            this.pages.set(0, answer.rows);
            this.total = answer.total;
            this.list.setCount(this.total);
            byId("call-count").textContent = filter ? `${this.total} of ${this.callCount} calls` : `${this.total} calls`;
            return;
        }
        const matches = node => !filter ||
            `${node.number ?? ""} ${this.textOf(node)} ${node.label ?? ""} ${node.program ? `program ${node.program}` : ""} ${node.kind ?? ""}${this.failed.has(node.call) ? " failed" : ""}`
                .toLowerCase().includes(filter);
        const shown = new Set();
        for (const node of this.nodes) {
            // What is in a group that matches is shown too.
            node.matched = matches(node) || Boolean(filter && this.nodes[node.parent]?.matched);
            if (node.matched) for (const one of [node, ...this.above(node)]) shown.add(one);
        }
        this.visible = this.isDearestFirst ? this.actions.filter(node => node.matched).sort((a, b) => b.ms - a.ms)
            : this.nodes.filter(node => shown.has(node) && ![...this.above(node)].some(above => this.closed.has(above)));
        this.list.setCount(this.visible.length, true);
        const failed = this.failed.size ? `, ${this.failed.size} failed` : "";
        byId("call-count").textContent = `${this.actions.length} actions, ${this.callCount} calls${failed}`;
    }

    async fetchRows(first, count) {
        if (!this.showsCalls || count <= 0) return;
        const frame = this.frame, filter = this.filter;
        for (let page = Math.floor(first / PageRows); page <= Math.floor((first + count) / PageRows); ++page) {
            if (this.pages.has(page) || page * PageRows >= this.total) continue;
            this.pages.set(page, null);
            const answer = await ask("calls", { frame, filter, first: page * PageRows, count: PageRows });
            if (frame !== this.frame || filter !== this.filter) return;
            this.pages.set(page, answer.rows);
            this.list.draw();
        }
    }

    nodeAt(line) {
        if (!this.showsCalls) return this.visible[line];
        return this.pages.get(Math.floor(line / PageRows))?.[line % PageRows];
    }

    row(line) {
        const node = this.nodeAt(line);
        if (!node) return make("div", { class: "row" }, "\u2026");
        const isParent = node.type === "pass" || node.type === "group";
        const isOpen = isParent && !this.closed.has(node);
        const depth = this.showsCalls || this.isDearestFirst ? 0 : node.depth;
        const row = make("div", {
            class: `row ${node.type ?? "call"}`, role: "treeitem", id: `line-${line}`, title: node.text,
            "aria-level": depth + 1, "aria-selected": String(line === this.cursor),
            "aria-expanded": isParent ? String(isOpen) : undefined,
        });
        if (this.times && node.ms !== undefined && node.type !== "marker" && !this.showsCalls)
            row.append(make("span", { class: `time${node.type === "action" && node.ms > this.mostMs / 2 ? " dear" : ""}` }, `${node.ms.toFixed(node.ms < 10 ? 2 : 1)} ms`));
        if (isParent) {
            row.append(make("span", { class: "twist", "aria-hidden": "true" }, isOpen ? "\u25BE" : "\u25B8"),
                node.framebuffer ? this.link("framebuffers", node.framebuffer, this.textOf(node)) : this.textOf(node),
                make("span", { class: "note" }, [!node.framebuffer && node.label, counted(node.actions, "action")].filter(Boolean).join(" \u00B7 ")));
        } else if (node.type === "marker") {
            row.append(node.text);
        } else {
            row.append(make("span", { class: "number" }, node.number ?? (this.showsCalls ? `c${node.call}` : "")));
            const thumbnail = !this.showsCalls && this.thumbnails.of(node.call);
            if (thumbnail) row.append(thumbnail);
            if (this.failed.has(node.call)) row.append(make("span", { class: "failed", role: "img", "aria-label": "failed", title: "Refused, or raised an error" }, "\u26A0"));
            const name = node.text.indexOf("(");
            row.append(make("span", { class: node.kind ?? "" }, node.text.slice(0, name < 0 ? undefined : name)));
            if (name >= 0) row.append(node.text.slice(name));
            const label = node.program ? labelOf("programs", node.program) : "";
            if (label) row.append(make("span", { class: "note" }, this.link("programs", node.program, "")));
        }
        row.style.paddingLeft = 6 + depth * 14 + "px";
        return row;
    }

    /** To an object; the keys of the tree pass over it. */
    link(kind, name, text) {
        const link = objectLink(kind, name, this.open, text);
        link.tabIndex = -1;
        return link;
    }

    /** The line of the call at hand, or of the action at or in front of it. */
    async select(call) {
        this.call = call;
        if (this.showsCalls) {
            if (!this.total) return;
            let line = call - 1;
            if (this.filter)
                line = (await ask("calls", { frame: this.frame, filter: this.filter, first: 0, count: 0, around: call })).indexOfCall;
            this.cursor = line;
        } else {
            let line = -1;
            this.visible.forEach((node, at) => {
                if (node.type === "action" && (this.isDearestFirst ? node.call === call : node.call <= call)) line = at;
            });
            this.cursor = Math.max(line, 0);
        }
        this.place.setAttribute("aria-activedescendant", `line-${this.cursor}`);
        this.list.reveal(this.cursor);
    }

    /** Of an action; empty for another call. */
    textOfCall(call) {
        return this.actionAt(call)?.text ?? "";
    }

    /** Calls that failed, as far as is known; more may follow. */
    setFailed(failed) {
        for (const one of failed) this.failed.set(one.call, one.function);
        this.list.draw();
    }

    /** The call of the next line that is one, `step` lines on; null at an end. */
    neighbour(step) {
        if (this.showsCalls || this.isDearestFirst) return this.nodeAt(this.cursor + step)?.call ?? null;
        const actions = this.actions.filter(node => !this.filter || node.matched);
        if (step > 0) return actions.find(node => node.call > this.call)?.call ?? null;
        return actions.findLast(node => node.call < this.call)?.call ?? null;
    }

    toggle(line, wanted = undefined) {
        const node = this.nodeAt(line);
        if (node?.type !== "pass" && node?.type !== "group") return false;
        const isOpen = wanted ?? this.closed.has(node);
        if (isOpen) this.closed.delete(node); else this.closed.add(node);
        this.refresh();
        return true;
    }

    pick(line) {
        const node = this.nodeAt(line);
        if (!node) return;
        this.cursor = line;
        this.place.setAttribute("aria-activedescendant", `line-${line}`);
        this.list.reveal(line);
        if (node.type !== "pass" && node.type !== "group") this.choose(node.call);
    }

    click(event) {
        const row = event.target.closest(".row");
        if (!row) return;
        const line = +row.dataset.line;
        this.cursor = line;
        if (!this.toggle(line)) this.pick(line);
    }

    key(event) {
        const page = this.list.visible - 1;
        const steps = { ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page, Home: -Infinity, End: Infinity };
        const count = this.list.count;
        if (event.key in steps) {
            this.pick(clamp(this.cursor + steps[event.key], 0, count - 1));
        } else if (event.key === "ArrowRight" || event.key === "ArrowLeft" || event.key === "Enter") {
            const wanted = event.key === "Enter" ? undefined : event.key === "ArrowRight";
            if (!this.toggle(this.cursor, wanted) && event.key === "ArrowLeft" && !this.showsCalls) {
                const parent = this.visible.indexOf(this.nodes[this.nodeAt(this.cursor)?.parent]);
                if (parent >= 0) this.pick(parent);
            }
        } else {
            return;
        }
        event.preventDefault();
        event.stopPropagation();
    }
}
