// A shader that shows an image as one likes: GLSL ES that the driver runs for each pixel.
import { byId, when } from "../util.js";

const Example = `// Two numbers of 16 bits, packed in RGBA8.
vec4 show(ivec2 at)
{
    vec4 texel = texelFetch(image, at, 0) * 255.0;
    vec2 packed = (texel.xz * 256.0 + texel.yw) / 65535.0;
    return vec4(packed, 0.0, 1.0);
}
`;

export class DisplayShader {
    /** `changed` is called when another shader is to be used, or none. */
    constructor(changed) {
        this.changed = changed;
        this.text = "";
        this.area = byId("shader-text");
        this.area.value = localStorage.getItem("shader") ?? Example;
        when("shader", () => this.toggle());
        when("shader-apply", () => this.apply());
        when("shader-off", () => this.use(""));
        this.area.addEventListener("keydown", event => {
            if (event.key !== "Enter" || !(event.ctrlKey || event.metaKey)) return;
            event.preventDefault();
            this.apply();
        });
    }

    toggle() {
        const isShown = byId("shader-panel").hidden;
        byId("shader-panel").hidden = !isShown;
        byId("shader").setAttribute("aria-expanded", isShown);
        if (isShown) this.area.focus();
    }

    apply() {
        localStorage.setItem("shader", this.area.value);
        this.use(this.area.value);
    }

    use(text) {
        this.text = text;
        this.say("");
        this.changed();
    }

    /** What the driver says of the shader; empty when all is well. */
    say(text) {
        byId("shader-log").textContent = text;
        byId("shader-log").hidden = !text;
        byId("shader").setAttribute("aria-pressed", Boolean(this.text));
    }
}
