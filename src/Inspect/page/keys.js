// What the keys do.
import { make } from "./util.js";

/** `keys` are lists of keys, what they do, and more. */
export function showKeys(dialog, keys) {
    dialog.replaceChildren(make("h2", {}, "Keys"),
        make("dl", {}, keys.map(([names, text]) => [make("dt", {}, make("kbd", {}, names)), make("dd", {}, text)])),
        make("button", { autofocus: true, click: () => dialog.close() }, "Close"));
    dialog.showModal();
}
