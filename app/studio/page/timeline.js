// Time: what is played, the keys of everything that moves, the pen, and which frames are ready.
import { byId, drag, fillWith, icon, make, short } from "./dom.js";
import { chooseKey, edit, frameAt, goTo, keyedControls, keysOf, on, removeKey, round, setPreview, store } from "./store.js";
import { fill, isReady, playFacts, togglePlay } from "./view.js";

const rows = byId("rows");
const ready = /** @type {HTMLCanvasElement} */ (byId("ready"));
const head = byId("playhead");

/** @param {number} frame the part of the timeline that is before it */
const partOf = (frame) => frame / Math.max(1, store.state.frames - 1);
const percent = (/** @type {number} */ frame) => `${(100 * partOf(frame)).toFixed(3)}%`;

/** @param {PointerEvent} event */
function frameUnder(event) {
  const box = ready.getBoundingClientRect();
  return ((event.clientX - box.left) / box.width) * (store.state.frames - 1);
}

const clampFrame = (/** @type {number} */ frame) => Math.max(0, Math.min(store.state.frames - 1, Math.round(frame)));

// --- Transport ---

const timeText = () => {
  const { firstNumber, rate, frames } = store.state;
  return `${(store.frame / rate).toFixed(2)} s · frame ${store.frame + firstNumber} of ${frames}`;
};

function showFrame() {
  byId("time").textContent = timeText();
  head.style.left = percent(store.frame);
  byId("scrub").setAttribute("aria-valuenow", String(store.frame));
  byId("scrub").setAttribute("aria-valuetext", timeText());
}

function showReady() {
  if (!store.state) return;
  const { frames } = store.state;
  const box = ready.getBoundingClientRect();
  ready.width = Math.max(1, Math.round(box.width));
  const paper = /** @type {CanvasRenderingContext2D} */ (ready.getContext("2d"));
  paper.clearRect(0, 0, ready.width, ready.height);
  paper.fillStyle = "#5f9e77";
  let count = 0;
  for (let frame = 0; frame < frames; ++frame) {
    if (!isReady(frame)) continue;
    ++count;
    const x = Math.floor((frame / frames) * ready.width);
    paper.fillRect(x, 0, Math.ceil(ready.width / frames) + 1, ready.height);
  }
  ready.setAttribute("aria-label", `${count} of ${frames} frames are ready to be played`);
  ready.dataset.count = String(count);
  const play = byId("play");
  play.dataset.dropped = String(playFacts.dropped);
  fillWith(play, icon(store.playing ? "pause" : "play"));
  play.setAttribute("aria-label", store.playing ? "pause" : "play");
}

function showRange() {
  const isWhole = store.inFrame === 0 && store.outFrame === store.state.frames - 1;
  const range = byId("range");
  range.style.left = percent(store.inFrame);
  range.style.right = `${100 - 100 * partOf(store.outFrame)}%`;
  range.classList.toggle("whole", isWhole);
}

/**
 * @param {"inFrame"|"outFrame"} end
 * @param {number} frame
 */
export function setRange(end, frame) {
  store[end] = end === "inFrame" ? Math.min(clampFrame(frame), store.outFrame) : Math.max(clampFrame(frame), store.inFrame);
  showRange();
  fill();
}

/** @param {number} frame */
export function scrubTo(frame) {
  if (store.playing) togglePlay();
  goTo(clampFrame(frame));
}

byId("play").addEventListener("click", togglePlay);
byId("to-start").addEventListener("click", () => scrubTo(store.inFrame));
byId("back").addEventListener("click", () => scrubTo(store.frame - 1));
byId("forward").addEventListener("click", () => scrubTo(store.frame + 1));
byId("to-end").addEventListener("click", () => scrubTo(store.outFrame));
byId("loop").addEventListener("click", () => {
  playFacts.loop = !playFacts.loop;
  byId("loop").setAttribute("aria-pressed", String(playFacts.loop));
});
byId("scrub").addEventListener("pointerdown", (/** @type {PointerEvent} */ down) => {
  scrubTo(frameUnder(down));
  drag(down, { move: (event) => scrubTo(frameUnder(event)), end: () => {} });
});
for (const end of /** @type {const} */ (["inFrame", "outFrame"])) {
  const grip = byId(end === "inFrame" ? "in" : "out");
  grip.addEventListener("pointerdown", (/** @type {PointerEvent} */ down) => {
    down.stopPropagation();
    drag(down, { move: (event) => setRange(end, frameUnder(event)), end: () => {} });
  });
  grip.addEventListener("keydown", (/** @type {KeyboardEvent} */ event) => {
    const step = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
    if (!step) return;
    event.stopPropagation();
    event.preventDefault();
    setRange(end, store[end] + step);
  });
}

// --- Keys ---

/**
 * Where a key may go: between its neighbours, a frame from each; nothing else shifts.
 * @param {import("./types.js").Key[]} keys
 * @param {number} index
 * @param {number} frame
 */
function timeBetween(keys, index, frame) {
  const one = 1 / store.state.rate;
  const low = index > 0 ? keys[index - 1].time + Math.min(one, (keys[index].time - keys[index - 1].time) / 2) : 0;
  const high = index + 1 < keys.length ? keys[index + 1].time - Math.min(one, (keys[index + 1].time - keys[index].time) / 2) : Infinity;
  const wanted = Math.round(frame) / store.state.rate - store.state.layerStart;
  return round(Math.max(low, Math.min(high, wanted)), 1e4);
}

/**
 * @param {string} control
 * @param {number} index
 * @param {number} time
 */
const retime = (control, index, time) => [{ path: ["controls", control, "keys", index, "time"], set: time }];

/**
 * @param {string} control
 * @param {number} index
 */
function keyDot(control, index) {
  const keys = keysOf(control) ?? [];
  const key = keys[index];
  const isChosen = store.key?.control === control && store.key.index === index;
  const dot = make("button", {
    class: `dot ${key.ease ?? (key.in || key.out ? "bent" : "linear")}`,
    "aria-label": `key of ${control} at ${short(key.time)} s`,
    "aria-pressed": String(isChosen),
    title: `${short(key.time)} s`,
  });
  dot.style.left = `min(${percent(frameAt(key.time))}, 100%)`;
  const choose = () => {
    chooseKey(control, index);
    scrubTo(frameAt(key.time));
  };
  dot.addEventListener("pointerdown", (/** @type {PointerEvent} */ down) => {
    down.stopPropagation();
    let time = key.time;
    drag(down, {
      move: (event) => {
        time = timeBetween(keys, index, frameUnder(event));
        dot.style.left = percent((time + store.state.layerStart) * store.state.rate);
        setPreview(retime(control, index, time));
      },
      end: async () => {
        if (time !== key.time) await edit("retime key", retime(control, index, time), control);
        chooseKey(control, index);
        scrubTo(frameAt(time));
      },
      cancel: () => {
        setPreview([]);
        build();
      },
    });
  });
  dot.addEventListener("click", (/** @type {MouseEvent} */ event) => event.detail === 0 && choose());
  dot.addEventListener("keydown", (/** @type {KeyboardEvent} */ event) => {
    const step = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
    if (step) {
      edit("retime key", retime(control, index, timeBetween(keys, index, frameAt(key.time) + step)), control);
    } else if (event.key === "Delete" || event.key === "Backspace") {
      removeKey(control, index);
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  });
  return dot;
}

function build() {
  const pen = store.state.scene.pen;
  const parts = [];
  if (pen) {
    const spans = pen.map((/** @type {number[]} */ [from, to]) => {
      const span = make("span", { class: "span" });
      span.style.left = percent((from + store.state.layerStart) * store.state.rate);
      span.style.right = `${Math.max(0, 100 - 100 * partOf((to + store.state.layerStart) * store.state.rate))}%`;
      return span;
    });
    parts.push(make("div", { class: "track", role: "img", "aria-label": `the pen is down ${pen.length} times` }, make("span", { class: "track-name" }, "Pen"), make("div", { class: "lane" }, ...spans)));
  }
  for (const control of keyedControls()) {
    const keys = keysOf(control) ?? [];
    // More would not be told apart.
    const dots = keys.length <= 400 ? keys.map((_, i) => keyDot(control, i)) : [];
    parts.push(make("div", { class: "track" }, make("span", { class: "track-name" }, control), make("div", { class: "lane", role: "group", "aria-label": `keys of ${control}` }, ...dots)));
  }
  const focused = document.activeElement?.closest(".dot")?.getAttribute("aria-label")?.replace(/ at .*/, "");
  fillWith(rows, ...parts);
  if (focused) /** @type {HTMLElement | null} */ (rows.querySelector(`.dot[aria-pressed=true][aria-label^="${focused}"]`))?.focus();
  showEase();
}

/** How the chosen key is come to and left: choices from the scene's own format. */
function showEase() {
  const box = byId("ease");
  const { key } = store;
  const format = store.state.keyFormat.find((f) => f.name === "ease");
  const chosen = key && keysOf(key.control)?.[key.index];
  box.hidden = !chosen || !format;
  if (!key || !chosen || !format?.choices) return;
  const isBent = !chosen.ease && (chosen.in || chosen.out);
  const options = [...(isBent ? ["by hand"] : []), ...format.choices].map((choice) => make("option", { value: choice }, choice));
  const select = /** @type {HTMLSelectElement} */ (make("select", { "aria-label": "ease of the key" }, ...options));
  select.value = isBent ? "by hand" : (chosen.ease ?? format.default);
  select.addEventListener("change", () => {
    const { in: _in, out: _out, ease: _ease, ...rest } = chosen;
    const set = select.value === format.default ? rest : { ...rest, ease: select.value };
    if (select.value !== "by hand") edit("ease", [{ path: ["controls", key.control, "keys", key.index], set }], key.control);
  });
  const copy = make("button", { class: "quiet", title: "Copy the key to the frame that is shown", "aria-label": "copy the key to this frame", onclick: copyKey }, icon("copy"));
  const remove = make("button", { class: "quiet", title: "Delete the key", "aria-label": "delete the key", onclick: () => removeKey(key.control, key.index) }, icon("trash"));
  fillWith(box, make("span", { class: "label" }, `Key at ${short(chosen.time)} s`), select, copy, remove);
}

/** Puts a copy of the chosen key at the frame that is shown. */
export function copyKey() {
  const { key } = store;
  const keys = key && keysOf(key.control);
  if (!key || !keys) return;
  const time = round(store.frame / store.state.rate - store.state.layerStart, 1e4);
  const same = keys.findIndex((k) => frameAt(k.time) === store.frame);
  const copied = { ...keys[key.index], time };
  const path = ["controls", key.control, "keys"];
  const after = keys.filter((k) => k.time < time).length;
  const change = same >= 0 ? { path: [...path, same], set: { ...copied, time: keys[same].time } } : { path: [...path, after], insert: copied };
  if (same !== key.index) edit("copy key", [change], key.control);
}

on("state", () => {
  build();
  showFrame();
  showReady();
  showRange();
  const scrub = byId("scrub");
  scrub.setAttribute("aria-valuemax", String(store.state.frames - 1));
});
on("choice", () => {
  if (!store.state) return;
  for (const dot of rows.querySelectorAll(".dot")) {
    const isChosen = store.key && dot.getAttribute("aria-label") === `key of ${store.key.control} at ${short(keysOf(store.key.control)?.[store.key.index]?.time ?? -1)} s`;
    dot.setAttribute("aria-pressed", String(Boolean(isChosen)));
  }
  showEase();
});
on("frame", showFrame);
let readyTimer = 0;
on("ready", () => {
  if (readyTimer) return;
  readyTimer = window.setTimeout(() => {
    readyTimer = 0;
    showReady();
  }, 60);
});
new ResizeObserver(showReady).observe(ready);
