// What the keys do.
import { make } from "./util.js";

const Keys = [
    ["j / k", "next, previous action (or call, where all calls are shown)"], ["] / [", "next, previous frame"],
    ["g", "go to a place: 57:12 is action 12 of frame 57, 57:c345 a call, 57 the end of the frame"],
    ["/", "filter the lines"], ["a", "actions, or all calls"], ["c", "what each action costs"], ["1 \u2026 9", "lines, output, call, state, inputs, mesh, shaders, resources, pixel"], ["v", "comparison with a second driver"],
    ["o", "next image of the call"], ["r e b l", "red, green, blue, alpha"], ["f", "range from the least to the largest value"],
    ["+ - 0", "zoom in, out, whole image"], ["x / X", "next, previous overlay"], ["F", "range of each image by itself"], ["s", "linear light, encoded as sRGB"],
    ["d", "show the image by a shader"], ["h", "hold the picture while the call changes"],
    ["Ctrl Enter", "in a shader: draw the frame with it"], ["u", "take all edits and experiments back"], ["p", "show the frame as it was recorded, or with them"],
    ["m", "mark this call: the state is compared with it"], ["Arrows", "in the output: move to a pixel; Shift: by 10"],
    ["Enter", "in the output: history of the pixel"], ["w", "export: files of the call, the frame and the image"], ["t", "light, dark, as the system"], ["?", "this list"],
];

export function showKeys(dialog) {
    dialog.replaceChildren(make("h2", {}, "Keys"),
        make("dl", {}, Keys.map(([keys, text]) => [make("dt", {}, make("kbd", {}, keys)), make("dd", {}, text)])),
        make("button", { autofocus: true, click: () => dialog.close() }, "Close"));
    dialog.showModal();
}
