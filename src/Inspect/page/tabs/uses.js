// Which calls of the frame made, changed, wrote and read an object: a strip with marks, and a list of links.
import { ask } from "../api.js";
import { bar, clamp, colour, hint, make, prepare } from "../util.js";

const Lanes = [["made", "--compute"], ["changed", "--copy"], ["wrote", "--changed"], ["read", "--draw"], ["deleted", "--bad"]];
const LaneHeight = 9;
const MostLinks = 400;

export async function loadUses(frame, kind, name, signal) {
    return (await ask("uses", { frame, kind, name }, signal)).calls;
}

function doings(use) {
    return [" ", use.does.map(does => make("span", { class: `does ${does}` }, does)), use.as?.length ? ` as ${use.as.join(", ")}` : ""].flat();
}

/** A button that asks for the calls of the frames in front, as links. */
export function earlierUses(frame, kind, name) {
    const place = bar(make("button", { click: async event => {
        event.target.disabled = true;
        const { calls } = await ask("earlier-uses", { frame, kind, name });
        place.replaceWith(calls.length ? make("ol", { class: "uses earlier" }, calls.map(use => make("li", {},
            make("a", { href: `#${use.at}/call` }, `${use.at} ${use.function}`), doings(use))))
            : hint("No call of the frames in front made, changed or wrote it."));
    } }, "What earlier frames did with it"));
    return place;
}

function paint(canvas, uses, callCount, call) {
    const { context, width } = prepare(canvas, Lanes.length * LaneHeight);
    const at = number => (number - 1) / Math.max(callCount - 1, 1) * (width - 3);
    context.fillStyle = colour("--line");
    Lanes.forEach((_, lane) => context.fillRect(0, lane * LaneHeight + LaneHeight - 1, width, 1));
    for (const use of uses)
        for (const [lane, [does, name]] of Lanes.entries()) {
            if (!use.does.includes(does)) continue;
            context.fillStyle = colour(name);
            context.fillRect(at(use.call), lane * LaneHeight + 1, 3, LaneHeight - 2);
        }
    context.fillStyle = colour("--ink");
    context.fillRect(at(call) + 1, 0, 1, Lanes.length * LaneHeight);
}

/** `go(call)` shows a call of the frame. */
export function useStrip(uses, callCount, call, go) {
    if (!uses.length) return hint("No call of this frame makes, changes, writes or reads it.");
    const canvas = make("canvas", { "aria-hidden": "true", title: "The calls of the frame; the line is the call at hand", click: event => {
        const number = event.offsetX / canvas.clientWidth * callCount;
        const nearest = uses.reduce((best, use) => Math.abs(use.call - number) < Math.abs(best.call - number) ? use : best);
        go(nearest.call);
    } });
    const draw = () => canvas.isConnected && paint(canvas, uses, callCount, call);
    new ResizeObserver(draw).observe(canvas);
    const near = uses.findIndex(use => use.call >= call);
    const first = clamp((near < 0 ? uses.length : near) - MostLinks / 2, 0, Math.max(uses.length - MostLinks, 0));
    const links = uses.slice(first, first + MostLinks).map(use => make("li", { class: use.call === call ? "here" : "" },
        make("button", { class: "link", "aria-current": use.call === call ? "true" : undefined, click: () => go(use.call) }, `c${use.call} ${use.function}`),
        doings(use)));
    return make("div", { class: "uses" },
        make("div", { class: "strip" }, make("div", { class: "lanes", "aria-hidden": "true" }, Lanes.map(([name]) => make("span", {}, name))), canvas),
        make("ol", { class: "uses" }, links),
        uses.length > links.length && hint(`${links.length} of ${uses.length} calls, around the one at hand.`));
}
