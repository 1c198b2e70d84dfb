// Images as the driver has them: rows from the bottom up, and pixels of several kinds.

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

    /** Least and largest of the chosen channels; without alpha where colours are chosen. */
    range(channels) {
        const count = this.kind.components;
        let low = Infinity, high = -Infinity;
        for (let i = 0; i < this.values.length; ++i) {
            const value = this.values[i];
            if (count === 4 && !channels[i & 3]) continue;
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

    /** An upright picture. `channels` are four flags; one alone is shown in grey. */
    toImage({ channels, low, high, showsAlpha }) {
        const image = new ImageData(this.width, this.height);
        const { values, width, height } = this;
        const scale = 255 / ((high - low || 1) * this.kind.one), shift = low * this.kind.one;
        const chosen = channels.flatMap((isOn, i) => isOn ? [i] : []);
        const grey = !this.isColour || chosen.length === 1;
        const single = this.isColour ? chosen[0] : 0, count = this.kind.components;
        for (let y = 0; y < height; ++y) {
            let to = (height - 1 - y) * width * 4, from = y * width * count;
            for (let x = 0; x < width; ++x, to += 4, from += count) {
                if (grey) {
                    image.data[to] = image.data[to + 1] = image.data[to + 2] = (values[from + single] - shift) * scale;
                    image.data[to + 3] = 255;
                } else {
                    for (let i = 0; i < 3; ++i) image.data[to + i] = channels[i] ? (values[from + i] - shift) * scale : 0;
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

    markDifferences(image, other) {
        if (!other || other.name !== this.name || other.width !== this.width || other.height !== this.height) return -1;
        const count = this.kind.components;
        let marked = 0;
        this.mark(image, first => {
            for (let i = first; i < first + count; ++i)
                if (this.values[i] !== other.values[i]) { ++marked; return [255, 0, 200]; }
            return null;
        });
        return marked;
    }

    /** NaN magenta, infinite yellow, negative blue, above one red. */
    markOdd(image) {
        const one = this.kind.one, count = this.kind.components;
        let marked = 0;
        this.mark(image, first => {
            for (let i = first; i < first + count; ++i) {
                const value = this.values[i];
                const mark = Number.isNaN(value) ? [255, 0, 255] : !Number.isFinite(value) ? [255, 220, 0]
                    : value < 0 ? [60, 120, 255] : value > one && !this.kind.isInteger ? [255, 60, 40] : null;
                if (mark) { ++marked; return mark; }
            }
            return null;
        });
        return marked;
    }
}
