// What the pointer does on the picture: it draws, edits or moves; what is dropped there is drawn.
import { drag, byId, short } from "./dom.js";
import { chooseKey, edit, goTo, keysOf, on, say, setPreview, store, valueEdits } from "./store.js";
import { draw, drawHand, insertKeyAt } from "./overlay.js";
import { pan, toLayer, zoomBy } from "./view.js";

const stage = /** @type {HTMLElement} */ (byId("stage"));
const hint = /** @type {HTMLElement} */ (byId("hint"));

/** What a drawing tool is set to. */
export const drawing = { smoothing: 2.4, length: 0, goesOn: true };

/** Less than this between two samples tells nothing, milliseconds. */
const CLOSEST = 3;

/** @type {{name: string, take: (point: [number, number]) => void} | null} */
let picking = null;

/** @param {string} tool "draw", "edit" or "pan" */
export function chooseTool(tool) {
  document.body.dataset.tool = tool;
  for (const button of document.querySelectorAll("[data-choose]")) {
    button.setAttribute("aria-pressed", String(/** @type {HTMLElement} */ (button).dataset.choose === tool));
  }
  byId("drawing-options").hidden = tool !== "draw";
  draw();
}

/**
 * The next press on the picture gives a control its point.
 * @param {string} name
 */
export function pick(name) {
  picking = { name, take: (point) => edit(name, valueEdits(name, point), name) };
  document.body.dataset.picking = name;
  say(`Press on the picture where "${name}" shall be`);
}

export function stopPicking() {
  picking = null;
  delete document.body.dataset.picking;
}

/** @param {number[][]} points seconds, x, y */
function strokeEdit(points) {
  const { smoothing, length, goesOn } = drawing;
  const start = store.frame / store.state.rate;
  return { draw: { points, start, length, goesOn: goesOn && strokes() > 0, smoothing } };
}

const strokes = () => (keysOf("Brush Position") ?? []).length;

/** @param {PointerEvent} down */
function drawStroke(down) {
  const began = down.timeStamp;
  /** @type {number[][]} */
  const points = [];
  const add = (/** @type {PointerEvent} */ event) => {
    const last = points.at(-1);
    const seconds = Math.max(0, event.timeStamp - began) / 1000;
    if (last && seconds - last[0] < CLOSEST / 1000) return;
    points.push([Math.round(seconds * 1e5) / 1e5, ...toLayer(event).map((v) => Math.round(v * 100) / 100)]);
  };
  add(down);
  // The frame in which the stroke is done; when it begins the server decides alike.
  const shown = store.frame;
  drag(down, {
    move: (event) => {
      const all = event.getCoalescedEvents?.() ?? [];
      for (const one of all.length > 0 ? all : [event]) add(one);
      drawHand(points.map(([, x, y]) => [x, y]));
      if (points.length < 2) return;
      const end = drawing.length || points[points.length - 1][0];
      // Strokes that go on begin after what there is; a moment later all of it is there.
      const edits = [strokeEdit(points)];
      store.frame = shown + Math.ceil(end * store.state.rate) + (strokes() > 0 ? Math.ceil(store.state.rate / 4) + 2 : 1);
      setPreview(edits);
      store.frame = shown;
    },
    end: async () => {
      if (points.length < 3) {
        setPreview([]);
        draw();
        return;
      }
      const done = await edit("stroke", [strokeEdit(points)], "Brush Position");
      const keys = keysOf("Brush Position") ?? [];
      if (!done) return;
      byId("key-count").textContent = `${keys.length} keys`;
      goTo(Math.ceil((keys[keys.length - 1].time + store.state.layerStart) * store.state.rate));
    },
    cancel: () => {
      setPreview([]);
      draw();
    },
  });
}

stage.addEventListener("pointerdown", (down) => {
  if (!store.state || store.playing) return;
  const tool = document.body.dataset.tool;
  if (down.button === 1 || tool === "pan") {
    let last = down;
    const move = (/** @type {PointerEvent} */ event) => {
      pan(event.clientX - last.clientX, event.clientY - last.clientY);
      last = event;
    };
    drag(down, { move, end: () => {} });
  } else if (down.button !== 0) {
    return;
  } else if (picking) {
    const [x, y] = toLayer(down);
    picking.take([Math.round(x * 100) / 100, Math.round(y * 100) / 100]);
    stopPicking();
  } else if (tool === "draw") {
    /** @type {HTMLElement | null} */ (document.activeElement)?.blur();
    drawStroke(down);
  } else {
    chooseKey();
  }
});
stage.addEventListener("dblclick", (event) => {
  if (document.body.dataset.tool === "edit" && !insertKeyAt(toLayer(event))) chooseKey();
});
stage.addEventListener(
  "wheel",
  (event) => {
    event.preventDefault();
    const box = stage.getBoundingClientRect();
    zoomBy(Math.exp(-event.deltaY / (event.ctrlKey ? 120 : 500)), { x: event.clientX - box.left, y: event.clientY - box.top });
  },
  { passive: false },
);

// --- Drawings that are dropped ---

/** @param {File} file */
export async function takeDrawing(file) {
  if (!/\.(svg|csv)$/i.test(file.name)) {
    say(`"${file.name}" is neither an .svg nor a .csv drawing`, "error");
    return;
  }
  const { rate } = store.state;
  const from = store.inFrame / rate;
  const to = Math.max(store.outFrame / rate, from + 1);
  const text = await file.text();
  if (await edit("drawing", [{ drawing: { name: file.name, text, from, to } }], "Brush Position")) {
    goTo(store.state.frames - 1);
    say(`"${file.name}" is drawn from ${short(from)} to ${short(to)} s`);
  }
}

document.addEventListener("dragover", (event) => {
  event.preventDefault();
  document.body.classList.add("dropping");
});
document.addEventListener("dragleave", (event) => !event.relatedTarget && document.body.classList.remove("dropping"));
document.addEventListener("drop", (event) => {
  event.preventDefault();
  document.body.classList.remove("dropping");
  const file = event.dataTransfer?.files[0];
  if (file) takeDrawing(file);
});

on("state", () => {
  hint.hidden = strokes() > 1;
  byId("key-count").textContent = strokes() > 0 ? `${strokes()} keys` : "";
});
