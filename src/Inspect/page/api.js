// What the server answers; docs/inspect-api.md has it all.

async function get(name, parameters, signal) {
    const address = new URL(`api/${name}`, document.baseURI);
    for (const [key, value] of Object.entries(parameters))
        if (value !== undefined) address.searchParams.set(key, value);
    let response;
    try {
        response = await fetch(address, { signal });
    } catch (error) {
        if (error.name === "AbortError") throw error;
        throw new Error("The server does not answer: it has ended, or the way to it is closed.");
    }
    if (!response.ok) {
        const answer = await response.json().catch(() => ({}));
        throw new Error(answer.error || `The server answered with status ${response.status}.`);
    }
    return response;
}

export async function ask(name, parameters = {}, signal = undefined) {
    return (await get(name, parameters, signal)).json();
}

/** Contents with what their pixels are: { components, width, height, data }. */
export async function askBytes(name, parameters, signal) {
    const response = await get(name, parameters, signal);
    return {
        components: response.headers.get("Playback-Components"),
        width: +response.headers.get("Playback-Width"),
        height: +response.headers.get("Playback-Height"),
        size: +response.headers.get("Playback-Size"),
        data: await response.arrayBuffer(),
    };
}

export function addressOf(name, parameters) {
    const address = new URL(`api/${name}`, document.baseURI);
    for (const [key, value] of Object.entries(parameters)) address.searchParams.set(key, value);
    return address.href;
}

export function close() {
    return fetch(new URL("api/close", document.baseURI), { method: "POST" });
}
