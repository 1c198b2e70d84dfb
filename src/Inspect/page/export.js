// What can be taken out: files of the call, the frame and the image that are looked at.
import { addressOf, getFile } from "./api.js";
import { hint, make } from "./util.js";

/** A download whose trouble is told: what takes time, or may fail. */
function slow(text, about, name, parameters, file, say) {
    const button = make("button", { click: async () => {
        button.disabled = true;
        say(`Making ${file} \u2026`);
        try {
            const blob = await getFile(name, parameters);
            const link = make("a", { href: URL.createObjectURL(blob), download: file });
            link.click();
            setTimeout(() => URL.revokeObjectURL(link.href), 10_000);
            say(`${file}, ${blob.size} bytes`);
        } catch (error) {
            say(error.message);
        }
        button.disabled = false;
    } }, text);
    return make("li", {}, button, hint(about));
}

function link(text, about, name, parameters, file) {
    return make("li", {}, make("a", { class: "button", href: addressOf(name, parameters), download: file }, text), hint(about));
}

/** `kind` is that of the action at the place, empty for another call. */
export function showExport(dialog, { at, kind, target, index }) {
    const frame = parseInt(at), file = at.replaceAll(":", "-");
    const status = make("p", { role: "status", class: "hint" });
    const say = text => { status.textContent = text; };
    const items = [
        kind && slow("This call alone", "A capture of this call and what it depends on, checked: replayed, it shows the same.", "export", { at, what: "call" }, `${file}.glcap`, say),
        slow("This frame", "A capture of the frame alone, checked: replayed, its last action shows the same.", "export", { at, what: "frame" }, `${frame}.glcap`, say),
        target && link("Picture", `PNG of ${target}.`, "picture", { at, index }, `${file}.png`),
        link("State", "JSON of what was set in front of the call.", "state", { at }, `${file} state.json`),
        kind === "draw" && slow("Mesh as OBJ", "Vertices as the draw takes them.", "vertices", { at, format: "obj" }, `${file}.obj`, say),
        kind === "draw" && slow("Mesh as glTF", "The same with all arrays.", "vertices", { at, format: "gltf" }, `${file}.gltf`, say),
    ];
    dialog.replaceChildren(make("h2", {}, `Export of ${at}`), make("ul", { class: "exports" }, items.filter(Boolean)),
        hint("Textures are exported where Resources show them."), status,
        make("button", { autofocus: true, click: () => dialog.close() }, "Close"));
    dialog.showModal();
}
