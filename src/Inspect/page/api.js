// What the server answers; docs/inspect-api.md has it all.

/** Whether answers are about the frame with what was edited, or as it was recorded. */
export const version = { isEdited: true };

async function get(name, parameters, options) {
    let response;
    try {
        response = await fetch(addressOf(name, parameters), options);
    } catch (error) {
        if (error.name === "AbortError") throw error;
        throw new Error("The server does not answer: it has ended, or the way to it is closed.");
    }
    if (!response.ok) {
        const answer = await response.json().catch(() => ({}));
        const error = new Error(answer.error || `The server answered with status ${response.status}.`);
        throw Object.assign(error, { details: answer });
    }
    return response;
}

export async function ask(name, parameters = {}, signal = undefined) {
    return (await get(name, parameters, { signal })).json();
}

export async function send(name, parameters, body) {
    return (await get(name, parameters, { method: "POST", headers: { "Content-Type": "application/json" }, body: JSON.stringify(body) })).json();
}

/** Contents with what their pixels are: { components, width, height, data }, and a note that may be null. */
export async function askBytes(name, parameters, signal) {
    const response = await get(name, parameters, { signal });
    return {
        components: response.headers.get("Playback-Components"),
        width: +response.headers.get("Playback-Width"),
        height: +response.headers.get("Playback-Height"),
        size: +response.headers.get("Playback-Size"),
        note: response.headers.get("Playback-Note"),
        data: await response.arrayBuffer(),
    };
}

export async function getFile(name, parameters) {
    return (await get(name, parameters)).blob();
}

export function addressOf(name, parameters) {
    const address = new URL(`api/${name}`, document.baseURI);
    for (const [key, value] of Object.entries(parameters))
        if (value !== undefined) address.searchParams.set(key, value);
    if (!version.isEdited && parameters.edited === undefined) address.searchParams.set("edited", 0);
    return address.href;
}

export function close() {
    return fetch(new URL("api/close", document.baseURI), { method: "POST" });
}
