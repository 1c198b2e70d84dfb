// Small helpers. Text of the capture becomes text nodes only.

export const byId = id => document.getElementById(id);

/** An element with text or children, and attributes; those that are functions listen to an event. */
export function make(name, attributes = {}, ...children) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) {
        if (typeof value === "function") made.addEventListener(key, value);
        else if (key.startsWith("aria-") && value !== undefined) made.setAttribute(key, value);
        else if (value === true) made.setAttribute(key, "");
        else if (value !== undefined && value !== false && value !== null) made.setAttribute(key, value);
    }
    made.append(...children.flat().filter(child => child !== undefined && child !== null && child !== false));
    return made;
}

/** A number as people read it, with at most six digits that count. */
export function short(value) {
    if (value === null || value === undefined) return "NaN";
    if (!Number.isFinite(value)) return String(value);
    return Number.isInteger(value) ? String(value) : String(+value.toPrecision(6));
}

export function bytes(count) {
    if (count < 1024) return `${count} B`;
    if (count < 1024 * 1024) return `${(count / 1024).toFixed(1)} KiB`;
    return `${(count / 1024 / 1024).toFixed(1)} MiB`;
}

export const clamp = (value, low, high) => Math.min(Math.max(value, low), high);
