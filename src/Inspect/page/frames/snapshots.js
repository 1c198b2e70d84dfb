// How far the server is with keeping the states from which jumps begin.
import { ask } from "../api.js";
import { bytes, byId, counted } from "../util.js";

const Again = 1000; // ms

export async function watchSnapshots() {
    const answer = await ask("snapshots");
    const count = counted(answer.frames.length, "snapshot");
    const how = answer.isDone ? "" : `, at frame ${answer.framesDone}`;
    const place = byId("snapshots");
    place.textContent = answer.frames.length || !answer.isDone ? `${count}, ${bytes(answer.bytes)}${how}` : "";
    place.title = [`States from which a jump begins, at most ${bytes(answer.mostBytes)}`, answer.trouble].filter(Boolean).join("\n");
    place.classList.toggle("problem", Boolean(answer.trouble));
    setTimeout(() => watchSnapshots().catch(() => {}), answer.isDone ? 5 * Again : Again);
}
