"use strict";
// Fills the page with a comparison. All text comes in as text, never as markup.
const data = JSON.parse(document.getElementById("data").textContent);
const find = (selector, within = document) => within.querySelector(selector);

function element(parent, tag, text = "", attributes = {}) {
  const made = document.createElement(tag);
  made.textContent = text;
  for (const [name, value] of Object.entries(attributes)) made.setAttribute(name, value);
  parent.append(made);
  return made;
}

function difference(d) {
  if (d.mismatch) return d.mismatch;
  if (d.pixels === 0 && d.most === 0) return "no pixel differs";
  const share = (100 * d.pixels / d.of).toPrecision(3);
  const most = d.most === null ? "values that are no numbers" : `up to ${+d.most.toPrecision(4)} steps`;
  return `${d.pixels} of ${d.of} pixels (${share} %) by ${most}, within ${d.width}×${d.height} at ${d.x}, ${d.y}` +
    (d.butteraugli === undefined ? "" : `, Butteraugli distance ${+d.butteraugli.toPrecision(3)}`);
}

const value = (v) => v === null ? "not set" : typeof v === "string" ? v : JSON.stringify(v);

const input = (i) => i.kind === "uniform" ? `uniform ${i.name} of program ${i.object}` : `${i.kind} ${i.object} (${i.name})`;

const place = (p) => `${p.function}, call ${p.call} of frame ${p.frame}`;

function table(section, heads, rows, markedRow = -1) {
  section.hidden = rows.length === 0;
  const head = element(find("thead", section), "tr");
  for (const text of heads) element(head, "th", text, { scope: "col" });
  rows.forEach((cells, i) => {
    const row = element(find("tbody", section), "tr");
    if (i === markedRow) row.className = "wrong";
    for (const text of cells) element(row, "td", text);
  });
}

function head() {
  const isEqual = data.verdict === "equal";
  const verdict = find("#verdict");
  verdict.textContent = data.verdict;
  verdict.className = data.verdict;
  const wrong = data.firstWrong;
  const title = isEqual ? `${data.framesCompared} frames are equal`
    : wrong ? `${(wrong.cause ?? wrong).function} goes wrong in frame ${(wrong.cause ?? wrong).frame}`
      : "Frames differ";
  find("h1").textContent = title;
  document.title = `${title}: ${data.capture}`;
  const sides = find("#sides");
  for (const [name, text] of [["Capture", data.capture], ["A, expected", data.b === null ? "as recorded" : data.a],
    ["B, found", data.b === null ? data.a : data.b]]) {
    element(sides, "dt", name);
    element(sides, "dd", text);
  }
}

function action() {
  const wrong = data.firstWrong;
  if (!wrong) return;
  const section = find("#action");
  section.hidden = false;
  if (wrong.cause) {
    const cause = find(".cause", section);
    element(cause, "strong", place(wrong.cause));
    cause.append(` made ${input(wrong.causeInput)} another one: expected `);
    element(cause, "code", wrong.causeInput.expected);
    cause.append(", found ");
    element(cause, "code", wrong.causeInput.found);
  }
  const what = find(".what", section);
  what.append(wrong.cause ? "It shows first after " : "");
  element(what, "strong", `${wrong.kind} ${wrong.number}`);
  what.append(` (${place(wrong)}), thread ${wrong.thread}: ${wrong.what} of ${wrong.object} differs in ${difference(wrong.difference)}.`);
  if (wrong.lastRight.call !== 0) element(section, "p", `The last one that is right is ${place(wrong.lastRight)}.`, { class: "hint" });
}

function pictures() {
  const shown = data.pictures;
  if (!shown || !shown.expected) return;
  const section = find("#pictures");
  section.hidden = false;
  const stage = find(".stage", section);
  const [under, over] = [find(".under", stage), find(".over", stage)];
  const slider = find(".slider", section);
  const hint = find(".hint", section);
  const url = (name) => `data:image/png;base64,${shown[name]}`;
  let blinking = 0;
  const modes = {
    Slider() {
      [under.src, over.src] = [url("found"), url("expected")];
      [under.alt, over.alt] = ["found", "expected"];
      slider.hidden = false;
      slide();
      hint.textContent = "Left of the edge is what was expected.";
    },
    Blink() {
      modes.Expected();
      blinking = setInterval(() => { over.hidden = !over.hidden; hint.textContent = over.hidden ? "found" : "expected"; }, 600);
      [under.src, over.src, over.hidden] = [url("found"), url("expected"), false];
      hint.textContent = "expected";
    },
    Expected() { alone("expected", "What was expected."); },
    Found() { alone("found", "What was found."); },
    Difference() { alone("difference", "White to red: further apart than tolerated; the rest is dark."); },
  };
  const slide = () => { over.style.clipPath = `inset(0 ${100 - find("input", slider).value}% 0 0)`; };
  function alone(name, text) {
    under.src = url(name);
    under.alt = name;
    over.hidden = true;
    hint.textContent = text;
  }
  const buttons = find(".modes", section);
  for (const name of Object.keys(modes)) {
    if (name === "Difference" && !shown.difference) continue;
    element(buttons, "button", name, { type: "button", "aria-pressed": "false" }).addEventListener("click", () => show(name));
  }
  const large = element(buttons, "button", "Large", { type: "button", "aria-pressed": "false" });
  large.addEventListener("click", () => large.setAttribute("aria-pressed", String(stage.classList.toggle("large"))));
  find("input", slider).addEventListener("input", slide);
  function show(name) {
    clearInterval(blinking);
    over.hidden = slider.hidden = false;
    over.style.clipPath = "";
    slider.hidden = name !== "Slider";
    modes[name]();
    for (const button of buttons.children)
      if (button !== large) button.setAttribute("aria-pressed", String(button.textContent === name));
  }
  show("Slider");
}

function frames() {
  const section = find("#frames");
  const over = data.frames.filter((frame) => !frame.difference.tolerated).length;
  find(".hint", section).textContent = `${data.framesCompared} frames compared, ${over} differ` +
    (data.frames.length > over ? `, ${data.frames.length - over} within the tolerance` : "") +
    (data.frames.length ? ". Height: part of the pixels, drawn as its square root." : ".");
  const bars = find(".bars", section);
  bars.hidden = data.frames.length === 0;
  for (const frame of data.frames) {
    const share = frame.difference.mismatch ? 1 : frame.difference.pixels / frame.difference.of;
    const text = `frame ${frame.frame}, ${frame.object}: ${difference(frame.difference)}`;
    const bar = element(bars, "div", "", { role: "listitem", title: text, "aria-label": text });
    bar.style.height = `${Math.max(3, 100 * Math.sqrt(share))}%`;
    if (!frame.difference.tolerated) bar.className = "over";
  }
}

function tables() {
  const wrong = data.firstWrong ?? {};
  const draws = data.actions ?? [];
  table(find("#draws"), ["Draw", "Call", "Where", "Differs in"],
    draws.map((d) => [`${d.kind} ${d.number}`, place(d), `${d.what} of ${d.object}`, difference(d.difference)]),
    draws.findIndex((d) => d.number === wrong.number));
  table(find("#inputs"), ["What", "Expected", "Found"],
    (wrong.inputs ?? []).map((i) => [input(i), i.expected, i.found]));
  find("#state .hint").textContent = "What the program set between the last call that is right and the wrong one, where it was another value before.";
  table(find("#state"), ["Object", "State", "Before", "There"],
    (wrong.state ?? []).map((s) => [s.object ? `${s.object.kind} ${s.object.name}` : "context", s.state, value(s.before), value(s.after)]));
  table(find("#answers"), ["Call", "Parameter", "Recorded", "A", "B"],
    (wrong.answers ?? []).map((a) => [place(a.place), a.parameter, a.recorded, a.expected || a.recorded, a.found || a.recorded]));
  const notes = find("#notes");
  notes.hidden = data.notes.length === 0;
  for (const note of data.notes) element(find("ul", notes), "li", note);
}

head();
action();
pictures();
frames();
tables();
