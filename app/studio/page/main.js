// Puts the page together: the head, messages, keys of the keyboard, and what happens elsewhere.
import { nextEvents, Refusal } from "./api.js";
import { byId } from "./dom.js";
import { stepToKey } from "./controls.js";
import { openExport, showExport } from "./export.js";
import "./lights.js";
import { hideOverlay, insertKeyNow } from "./overlay.js";
import { command, edit, keysOf, on, removeKey, say, setPreview, store } from "./store.js";
import { copyKey, scrubTo, setRange } from "./timeline.js";
import { chooseTool, drawing, stopPicking, takeDrawing } from "./tools.js";
import { fill, fit, setOver, showAlone, togglePlay, zoomBy, zoomTo } from "./view.js";

// --- Messages ---

let messageTimer = 0;
on("message", ({ text, kind }) => {
  const box = byId("message");
  box.textContent = text;
  box.className = kind;
  box.hidden = false;
  clearTimeout(messageTimer);
  messageTimer = window.setTimeout(() => (box.hidden = true), kind === "error" ? 12000 : 5000);
});
byId("message").addEventListener("click", () => (byId("message").hidden = true));

/**
 * A question that stays until it is answered.
 * @param {string} text
 * @param {Record<string, () => void>} answers
 */
function offer(text, answers) {
  const box = byId("offer");
  const buttons = Object.entries(answers).map(([name, act]) => {
    const button = document.createElement("button");
    button.textContent = name;
    button.addEventListener("click", () => {
      box.hidden = true;
      act();
    });
    return button;
  });
  box.replaceChildren(text, ...buttons);
  box.hidden = false;
}

// --- Head ---

/** @param {boolean} [replace] */
async function save(replace = false) {
  if (await command("save", { replace })) say(`Saved: ${store.state.file}`);
  else if (byId("message").textContent?.includes("changed by another program")) offerReload();
}

function offerReload() {
  offer("Another program has changed this scene's file.", {
    "Load it": () => command("reload"),
    "Save over it": () => save(true),
    "Not now": () => {},
  });
}

function showHead() {
  const { state } = store;
  document.title = `${state.saved ? "" : "• "}${state.name} – Vorlin studio`;
  byId("name").textContent = state.name;
  byId("name").title = state.file;
  byId("unsaved").hidden = state.saved;
  byId("undo").disabled = !state.undo;
  byId("redo").disabled = !state.redo;
  byId("undo").title = state.undo ? `Undo ${state.undo} (Ctrl+Z)` : "Nothing to undo";
  byId("redo").title = state.redo ? `Redo ${state.redo} (Ctrl+Shift+Z)` : "Nothing to do again";
  byId("facts").textContent = `${state.width} × ${state.height} · ${state.rateText} fps · ${(state.frames / state.rate).toFixed(1)} s`;
  for (const name of ["duration", "frame_rate"]) {
    const field = byId(name);
    const shown = name === "duration" ? Number((state.frames / state.rate).toFixed(4)) : state.rateText;
    if (document.activeElement !== field) field.value = state.scene[name] ?? shown;
  }
}

on("state", (before) => {
  showHead();
  if (!before && store.state.recovered) say("Work that was not saved is taken up again; undo brings the file's own state back");
  const notes = store.state.notes?.filter((/** @type {string} */ note) => !note.includes("never moves")) ?? [];
  byId("notes").textContent = notes.join(". ");
});

byId("undo").addEventListener("click", () => command("undo"));
byId("redo").addEventListener("click", () => command("redo"));
byId("save").addEventListener("click", () => save());
byId("duration").addEventListener("change", (/** @type {any} */ e) => edit("duration", [{ path: ["duration"], set: Number(e.target.value) }]));
byId("frame_rate").addEventListener("change", (/** @type {any} */ e) => {
  const text = e.target.value.trim();
  edit("frame rate", [{ path: ["frame_rate"], set: /^[\d.]+$/.test(text) ? Number(text) : text }]);
});
byId("quit").addEventListener("click", async () => {
  if (!store.state.saved && !confirm("There is work that is not saved. It is kept for the next time. End the studio?")) return;
  hasEnded = true;
  await command("quit");
  document.body.replaceChildren("The studio has ended. This page can be closed.");
});
window.addEventListener("beforeunload", (event) => {
  if (store.state && !store.state.saved && !hasEnded) event.preventDefault();
});

// --- Over what, and tools ---

const over = byId("over");
over.addEventListener("change", () => {
  byId("over-color").hidden = over.value !== "colour";
  setOver(over.value === "colour" ? byId("over-color").value : over.value);
});
byId("over-color").addEventListener("change", () => setOver(byId("over-color").value));
byId("fit").addEventListener("click", fit);
byId("whole").addEventListener("click", () => zoomTo(1 / devicePixelRatio));
for (const [kind, is] of /** @type {const} */ ([["pointerdown", true], ["pointerup", false], ["pointerleave", false]])) {
  byId("compare").addEventListener(kind, () => showAlone(is));
}
for (const button of /** @type {NodeListOf<HTMLElement>} */ (document.querySelectorAll("[data-choose]"))) {
  button.addEventListener("click", () => chooseTool(button.dataset.choose ?? "draw"));
}
byId("smoothing").addEventListener("input", () => {
  drawing.smoothing = Number(byId("smoothing").value);
  byId("smoothing-text").textContent = drawing.smoothing ? `${drawing.smoothing} px` : "off";
});
byId("length").addEventListener("change", () => (drawing.length = Math.max(0, Number(byId("length").value))));
byId("goes-on").addEventListener("change", () => (drawing.goesOn = byId("goes-on").checked));
byId("clear").addEventListener("click", () => {
  /** @type {import("./types.js").Edit[]} */
  const edits = [];
  if (keysOf("Brush Position")) edits.push({ path: ["controls", "Brush Position"], remove: true });
  if (store.state.scene.pen) edits.push({ path: ["pen"], remove: true });
  if (edits.length > 0) edit("clear", edits).then(() => scrubTo(store.inFrame));
});
byId("open-drawing").addEventListener("change", (/** @type {any} */ event) => {
  const file = event.target.files[0];
  if (file) takeDrawing(file);
  event.target.value = "";
});

// --- Keyboard ---

/** @type {Record<string, () => void>} */
const KEYS = {
  " ": togglePlay,
  ArrowLeft: () => scrubTo(store.frame - 1),
  ArrowRight: () => scrubTo(store.frame + 1),
  Home: () => scrubTo(store.inFrame),
  End: () => scrubTo(store.outFrame),
  b: () => chooseTool("draw"),
  v: () => chooseTool("edit"),
  h: () => chooseTool("pan"),
  f: fit,
  1: () => zoomTo(1 / devicePixelRatio),
  "+": () => zoomBy(1.25, centre()),
  "-": () => zoomBy(0.8, centre()),
  i: () => setRange("inFrame", store.frame),
  o: () => setRange("outFrame", store.frame),
  l: () => byId("loop").click(),
  k: insertKeyNow,
  ",": () => stepToKey(store.key?.control ?? "Brush Position", -1),
  ".": () => stepToKey(store.key?.control ?? "Brush Position", 1),
  d: copyKey,
  Delete: () => store.key && removeKey(store.key.control, store.key.index),
  e: openExport,
  "?": () => byId("keys-dialog").showModal(),
  Escape: () => {
    stopPicking();
    setPreview([]);
  },
};

function centre() {
  const box = byId("stage").getBoundingClientRect();
  return { x: box.width / 2, y: box.height / 2 };
}

document.addEventListener("keydown", (event) => {
  const target = /** @type {HTMLElement} */ (event.target);
  if (event.ctrlKey || event.metaKey) {
    const act = { s: () => save(), z: () => command(event.shiftKey ? "redo" : "undo"), y: () => command("redo") }[event.key.toLowerCase()];
    if (!act) return;
    event.preventDefault();
    // What is being typed counts.
    if (target instanceof HTMLInputElement) target.blur();
    act();
    return;
  }
  const isTyping = target.closest("input:not([type=range]):not([type=color]):not([type=checkbox]), select, dialog");
  const isOnButton = target.closest("button, [role=button], input[type=checkbox]") && (event.key === " " || event.key === "Enter");
  const isOnSlider = target.closest("input[type=range]") && /^(Arrow|Home|End)/.test(event.key);
  if (isTyping || isOnButton || isOnSlider || event.altKey || !store.state) return;
  if (event.key === "c" && !event.repeat) {
    showAlone(true);
    hideOverlay(true);
  }
  const act = KEYS[event.key];
  if (!act) return;
  event.preventDefault();
  act();
});
document.addEventListener("keyup", (event) => {
  if (event.key !== "c") return;
  showAlone(false);
  hideOverlay(false);
});
byId("help").addEventListener("click", () => byId("keys-dialog").showModal());
byId("overlays").addEventListener("click", () => {
  const isOn = byId("overlays").getAttribute("aria-pressed") === "true";
  byId("overlays").setAttribute("aria-pressed", String(!isOn));
  hideOverlay(isOn);
});

// --- What happens elsewhere ---

let hasEnded = false;
let wasOutside = false;
let crash = "";

/** @param {any} events */
async function take(events) {
  if (events.outside && !wasOutside) offerReload();
  if (!events.outside && wasOutside) byId("offer").hidden = true;
  wasOutside = events.outside;
  const hasCrashed = events.crash !== crash;
  crash = events.crash;
  if (events.journalFault) say(events.journalFault, "error");
  showExport(events.export);
  if (events.revision !== store.state.revision || events.saved !== store.state.saved || hasCrashed) await command("state");
  if (hasCrashed) say(crash, "error");
}

/** A hidden window lets go: browsers have few connections for all windows together. */
async function listen() {
  let serial = 0;
  while (!hasEnded) {
    if (document.hidden) {
      await new Promise((done) => document.addEventListener("visibilitychange", done, { once: true }));
    }
    try {
      const events = await nextEvents(serial);
      serial = events.serial;
      await take(events);
      byId("offline").hidden = true;
    } catch (error) {
      if (hasEnded) return;
      byId("offline").hidden = false;
      await new Promise((done) => setTimeout(done, error instanceof Refusal ? 5000 : 1000));
    }
  }
}

async function start() {
  chooseTool("draw");
  while (!(await command("state"))) {
    await new Promise((done) => setTimeout(done, 2000));
  }
  fill();
  const keys = keysOf("Brush Position");
  if (keys) {
    scrubTo(store.state.frames - 1);
    chooseTool("edit");
  }
  document.body.dataset.started = "true";
  listen();
}

start();
