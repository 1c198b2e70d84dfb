// What the driver says of a draw's fragments, laid over a picture.

const Passed = [0, 158, 115], Failed = [213, 59, 40], Both = [240, 200, 40], One = [255, 0, 200];
const Counts = [[40, 80, 220], [30, 150, 220], [30, 190, 130], [150, 200, 50], [235, 200, 40], [240, 140, 30], [225, 70, 40], [200, 20, 90]];

/** The kinds that the server has. Those with `isTest` tell what passed and what failed. */
export const Overlays = {
    touched: { name: "Pixels that this draw touched", colours: [One], texts: ["touched"] },
    small: { name: "Triangles smaller than 4 pixels", colours: [One], texts: ["on such triangles"] },
    wireframe: { name: "Wireframe of this draw", colours: [One], texts: ["on a line"] },
    depth: { name: "Depth test", isTest: true },
    stencil: { name: "Stencil test", isTest: true },
    scissor: { name: "Scissor test", isTest: true },
    overdraw: { name: "Overdraw of the pass up to here", colours: Counts, texts: Counts.map((_, i) => i < Counts.length - 1 ? `${i + 1}\u00D7` : `${i + 1}\u00D7 or more`) },
};
for (const one of Object.values(Overlays))
    if (one.isTest) Object.assign(one, { colours: [Passed, Failed, Both], texts: ["passed", "failed", "passed and failed"] });

/**
 * Paints a mask, rows from the bottom up, over an upright image of its size; what has no mark is dimmed. Answers the
 * entries of a legend, `{ colour, text }`, with how many pixels each has; null where the sizes differ.
 */
export function paintOverlay(kind, mask, image) {
    if (mask.width !== image.width || mask.height !== image.height) return null;
    const { colours, texts } = Overlays[kind];
    const found = new Array(colours.length).fill(0);
    const { width, height } = image;
    for (let y = 0; y < height; ++y) {
        let to = (height - 1 - y) * width * 4;
        for (let x = 0; x < width; ++x, to += 4) {
            const value = mask.values[y * width + x];
            const at = Math.min(value, colours.length) - 1;
            for (let i = 0; i < 3; ++i)
                image.data[to + i] = value ? image.data[to + i] * 0.25 + colours[at][i] * 0.75 : image.data[to + i] * 0.4;
            if (value) ++found[at];
            image.data[to + 3] = 255;
        }
    }
    return colours.map((colour, i) => ({ colour, text: `${found[i]} ${texts[i]}`, count: found[i] })).filter((entry, i) => entry.count || i === 0 || Overlays[kind].isTest);
}
