// Images as the driver has them: rows from the bottom up, and pixels of several kinds.
import { short } from "../util.js";

const Kinds = {
    unorm8: { array: Uint8Array, components: 4, one: 255 },
    snorm8: { array: Int8Array, components: 4, one: 127 },
    float: { array: Float32Array, components: 4, one: 1 },
    int: { array: Int32Array, components: 4, one: 1, isInteger: true },
    uint: { array: Uint32Array, components: 4, one: 1, isInteger: true },
    depth16: { array: Uint16Array, components: 1, one: 65535 },
    depth32: { array: Uint32Array, components: 1, one: 4294967295 },
    depthfloat: { array: Float32Array, components: 1, one: 1 },
    stencil8: { array: Uint8Array, components: 1, one: 1, isInteger: true },
};

export class Pixels {
    constructor({ components, width, height, data }) {
        this.kind = Kinds[components];
        this.name = components;
        this.width = width;
        this.height = height;
        this.values = new this.kind.array(data);
    }

    get isColour() { return this.kind.components === 4; }

    /** Components of a pixel counted from the lower left corner; normalised ones as numbers. */
    at(x, y) {
        const first = (y * this.width + x) * this.kind.components;
        return [...this.values.subarray(first, first + this.kind.components)].map(value => value / this.kind.one);
    }

    textAt(x, y) {
        const values = this.at(x, y);
        const raw = this.kind.one > 1 ? values.map(value => Math.round(value * this.kind.one)) : null;
        const names = this.isColour ? ["R", "G", "B", "A"] : [this.name.startsWith("depth") ? "depth" : "stencil"];
        return values.map((value, i) => `${names[i]} ${this.kind.isInteger ? value : +value.toPrecision(6)}` +
            (raw ? ` (${raw[i]})` : "")).join("  ");
    }

    /** Least and largest finite number of the chosen channels. */
    range(channels) {
        const count = this.kind.components;
        let low = Infinity, high = -Infinity;
        for (let i = 0; i < this.values.length; ++i) {
            const value = this.values[i];
            if ((count === 4 && !channels[i & 3]) || !Number.isFinite(value)) continue;
            if (value < low) low = value;
            if (value > high) high = value;
        }
        return low <= high ? [low / this.kind.one, high / this.kind.one] : [0, 1];
    }

    histogram(channels, bins, low, high) {
        const counts = new Array(bins).fill(0);
        const step = Math.max(1, Math.floor(this.values.length / 400_000)) | 1;
        for (let i = 0; i < this.values.length; i += step) {
            if (this.isColour && !channels[i & 3]) continue;
            const bin = Math.floor((this.values[i] / this.kind.one - low) / (high - low) * bins);
            if (bin >= 0 && bin < bins) ++counts[bin];
        }
        return counts;
    }

    /** An upright picture. `channels` are four flags; one alone is shown in grey. Linear light is encoded as sRGB. */
    toImage({ channels, low, high, showsAlpha, isLinear }) {
        const image = new ImageData(this.width, this.height);
        const { values, width, height } = this;
        const scale = 255 / ((high - low || 1) * this.kind.one), shift = low * this.kind.one;
        const chosen = channels.flatMap((isOn, i) => isOn ? [i] : []);
        const grey = !this.isColour || chosen.length === 1;
        const single = this.isColour ? chosen[0] : 0, count = this.kind.components;
        const shown = isLinear ? value => toSrgb((value - shift) * scale / 255) * 255 : value => (value - shift) * scale;
        for (let y = 0; y < height; ++y) {
            let to = (height - 1 - y) * width * 4, from = y * width * count;
            for (let x = 0; x < width; ++x, to += 4, from += count) {
                if (grey) {
                    image.data[to] = image.data[to + 1] = image.data[to + 2] = shown(values[from + single]);
                    image.data[to + 3] = 255;
                } else {
                    for (let i = 0; i < 3; ++i) image.data[to + i] = channels[i] ? shown(values[from + i]) : 0;
                    image.data[to + 3] = showsAlpha ? values[from + 3] / this.kind.one * 255 : 255;
                }
            }
        }
        return image;
    }

    /** Marks pixels that differ from another image of the same kind and size, over a dimmed picture. */
    mark(image, isMarked) {
        for (let y = 0; y < this.height; ++y) {
            let to = (this.height - 1 - y) * this.width * 4;
            for (let x = 0; x < this.width; ++x, to += 4) {
                const mark = isMarked((y * this.width + x) * this.kind.components);
                if (mark) [image.data[to], image.data[to + 1], image.data[to + 2]] = mark;
                else for (let i = 0; i < 3; ++i) image.data[to + i] = image.data[to + i] * 0.3;
                image.data[to + 3] = 255;
            }
        }
    }

    /** Pixels that differ from another image of the same kind and size, as a legend; null for another image. */
    markDifferences(image, other) {
        if (!other || other.name !== this.name || other.width !== this.width || other.height !== this.height) return null;
        const count = this.kind.components;
        const differs = { colour: [255, 0, 200], text: "differ", pixels: 0 };
        this.mark(image, first => {
            for (let i = first; i < first + count; ++i)
                if (this.values[i] !== other.values[i]) return tell(differs);
            return null;
        });
        return legendOf([differs]);
    }

    /** Pixels with a component that is no number or infinite, or outside of the range that is shown, as a legend. */
    markOdd(image, low, high) {
        const { one, components } = this.kind;
        const nan = { colour: [255, 0, 255], text: "NaN", pixels: 0 }, infinite = { colour: [255, 220, 0], text: "infinite", pixels: 0 };
        const below = { colour: [60, 120, 255], text: `below ${short(low)}`, pixels: 0 }, above = { colour: [255, 60, 40], text: `above ${short(high)}`, pixels: 0 };
        // The range is shown in six digits.
        const least = low * one - Math.abs(low) * 1e-6, most = high * one + Math.abs(high * one) * 1e-6;
        this.mark(image, first => {
            for (let i = first; i < first + components; ++i) {
                const value = this.values[i];
                if (Number.isNaN(value)) return tell(nan);
                if (!Number.isFinite(value)) return tell(infinite);
                if (value < least) return tell(below);
                if (value > most) return tell(above);
            }
            return null;
        });
        return legendOf([nan, infinite, below, above]);
    }
}

function tell(mark) {
    ++mark.pixels;
    return mark.colour;
}

const legendOf = marks => marks.map(({ colour, text, pixels }) => ({ colour, text: `${pixels} ${text}` }));

/** From linear light to sRGB (IEC 61966-2-1), both from 0 to 1. */
const toSrgb = value => value <= 0.0031308 ? 12.92 * value : 1.055 * value ** (1 / 2.4) - 0.055;
