// One editor for all shaders, each of which keeps its text and its own steps back.
import { make } from "../util.js";

const Modes = { GL_VERTEX_SHADER: "x-shader/x-vertex" };
let library = null;

/** It is large, and not everybody edits shaders. */
export async function loadEditor() {
    if (!library) {
        library = (async () => {
            document.head.append(make("link", { rel: "stylesheet", href: "codemirror.css" }));
            await import("../codemirror.js");
            await import("../clike.js");
        })();
    }
    await library;
}

export class Editor {
    constructor({ apply }) {
        this.place = make("div", { class: "editor" });
        this.docs = new Map();
        this.marked = [];
        this.mirror = new CodeMirror(this.place, {
            theme: "page", lineNumbers: true, lineWrapping: true, indentUnit: 4, viewportMargin: 60,
            screenReaderLabel: "Source of the shader; Control and Enter apply it, Escape leaves it",
            // Tab goes on to what follows, as everywhere.
            extraKeys: { Tab: false, "Shift-Tab": false, "Ctrl-Enter": apply, "Cmd-Enter": apply },
        });
        new ResizeObserver(() => this.mirror.refresh()).observe(this.place);
    }

    /** Shows a text by a name; `text` is what it is where nothing was typed. */
    show(name, type, text) {
        const known = this.docs.get(name);
        if (!known || known.start !== text)
            this.docs.set(name, { start: text, doc: new CodeMirror.Doc(text, Modes[type] ?? "x-shader/x-fragment") });
        this.clearErrors();
        if (this.mirror.getDoc() !== this.docs.get(name).doc) this.mirror.swapDoc(this.docs.get(name).doc);
        this.mirror.refresh();
    }

    get text() { return this.mirror.getValue(); }
    set text(value) { this.mirror.setValue(value); }

    clearErrors() {
        for (const line of this.marked) this.mirror.removeLineClass(line, "wrap", "wrong");
        this.marked = [];
    }

    showErrors(lines) {
        this.clearErrors();
        this.marked = lines.map(line => this.mirror.addLineClass(line - 1, "wrap", "wrong"));
        if (lines.length) this.mirror.scrollIntoView({ line: lines[0] - 1, ch: 0 }, 40);
    }

    goToLine(line) {
        this.mirror.setCursor(line - 1, 0);
        this.mirror.focus();
    }
}
