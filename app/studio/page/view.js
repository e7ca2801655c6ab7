// The picture: which one is asked for, how it is placed, and the frames that are kept for playing.
//
// One picture is on its way at a time, and the newest wish waits. While something moves a smaller
// picture follows the hand; the whole one, exact to the bit, comes once it rests.
import { askPicture, Refusal } from "./api.js";
import { emit, on, say, store } from "./store.js";

/** @typedef {{blob: Blob, facts: any}} Kept */
/** @typedef {{frame: number, edits: import("./types.js").Edit[], quick: boolean, alone: boolean, number: number, since: number}} Wish */

const stage = /** @type {HTMLElement} */ (document.getElementById("stage"));
const canvas = /** @type {HTMLCanvasElement} */ (document.getElementById("picture"));
const paper = /** @type {CanvasRenderingContext2D} */ (canvas.getContext("2d"));
const status = /** @type {HTMLElement} */ (document.getElementById("speed"));

/** A wish that takes longer is given up for a newer one, milliseconds. */
const PATIENCE = 150;
/** Frames that are kept take no more than this, bytes. */
const MOST_KEPT = 256 << 20;
/** Of the picture that follows the hand, milliseconds. */
const QUICK = { slow: 26, fast: 13 };
const SMALLEST = 4;
const AHEAD = 5;

const placing = { zoom: 1, x: 0, y: 0, fitted: true };
let quickStep = 2;
/** @type {Wish | null} */
let waiting = null;
/** @type {{since: number} | null} */
let onItsWay = null;
let hasGivenUp = false;
let told = 0;
let wishes = 0;
let painted = 0;
let alone = false;
let restTimer = 0;
/** @type {Map<string, Kept>} in order of their last use */
const kept = new Map();
let keptBytes = 0;

// --- Where it is ---

/** Screen pixels a layer pixel, and where the layer begins on the stage. */
export const place = () => ({
  scaleX: placing.zoom * store.state.pixelAspect,
  scaleY: placing.zoom,
  x: placing.x,
  y: placing.y,
});

/** @param {number[]} point of the layer */
export function toStage([x, y]) {
  const at = place();
  return [at.x + x * at.scaleX, at.y + y * at.scaleY];
}

/**
 * @param {{clientX: number, clientY: number}} event
 * @returns {[number, number]} pixels of the layer
 */
export function toLayer(event) {
  const box = stage.getBoundingClientRect();
  const at = place();
  return [(event.clientX - box.left - at.x) / at.scaleX, (event.clientY - box.top - at.y) / at.scaleY];
}

function applyPlace() {
  const at = place();
  canvas.style.width = `${store.state.width * at.scaleX}px`;
  canvas.style.height = `${store.state.height * at.scaleY}px`;
  canvas.style.transform = `translate(${at.x}px, ${at.y}px)`;
  canvas.classList.toggle("large", placing.zoom > 2);
  emit("choice");
}

export function fit() {
  const box = stage.getBoundingClientRect();
  const margin = 28;
  const { width, height, pixelAspect } = store.state;
  const zoom = Math.min((box.width - 2 * margin) / (width * pixelAspect), (box.height - 2 * margin) / height);
  placing.zoom = Math.max(zoom, 0.01);
  placing.x = (box.width - width * pixelAspect * placing.zoom) / 2;
  placing.y = (box.height - height * placing.zoom) / 2;
  placing.fitted = true;
  applyPlace();
}

/**
 * @param {number} zoom
 * @param {{x: number, y: number}} [about] a point of the stage that stays where it is
 */
export function zoomTo(zoom, about) {
  const box = stage.getBoundingClientRect();
  const { x, y } = about ?? { x: box.width / 2, y: box.height / 2 };
  const to = Math.max(0.02, Math.min(32, zoom));
  placing.x = x - ((x - placing.x) * to) / placing.zoom;
  placing.y = y - ((y - placing.y) * to) / placing.zoom;
  placing.zoom = to;
  placing.fitted = false;
  applyPlace();
}

export const zoomBy = (/** @type {number} */ factor, /** @type {{x: number, y: number}} */ about) =>
  zoomTo(placing.zoom * factor, about);

/**
 * @param {number} dx
 * @param {number} dy
 */
export function pan(dx, dy) {
  placing.x += dx;
  placing.y += dy;
  placing.fitted = false;
  applyPlace();
}

new ResizeObserver(() => store.state && placing.fitted && fit()).observe(stage);

// --- Which one ---

/** One of so many pixels in x and y, for frames that are played. */
function playStep() {
  const shown = store.state.width * place().scaleX * devicePixelRatio;
  return Math.max(1, Math.min(SMALLEST, Math.floor(store.state.width / shown)));
}

const keyOf = (/** @type {number} */ frame, step = playStep(), revision = store.state.revision) =>
  `${revision} ${store.over} ${step} ${frame}`;

/**
 * @param {string} key
 * @param {Kept} one
 */
function keep(key, one) {
  keptBytes += one.blob.size - (kept.get(key)?.blob.size ?? 0);
  kept.delete(key);
  kept.set(key, one);
  for (const [old, { blob }] of kept) {
    if (keptBytes <= MOST_KEPT) break;
    kept.delete(old);
    keptBytes -= blob.size;
  }
  emit("ready");
}

/**
 * Whether a frame is ready to be played.
 * @param {number} frame
 */
export const isReady = (frame) => kept.has(keyOf(frame));

/** @param {boolean} quick */
function want(quick) {
  clearTimeout(restTimer);
  waiting = { frame: store.frame, edits: store.preview, quick, alone, number: ++wishes, since: window.event?.timeStamp ?? performance.now() };
  pump();
}

/** The exact picture, once nothing has moved for a moment. */
function wantSoon(milliseconds = 80) {
  clearTimeout(restTimer);
  restTimer = window.setTimeout(() => want(false), milliseconds);
}

async function pump() {
  if (!waiting) return;
  // Never two in a row, or a slow machine would show nothing at all.
  if (onItsWay && (hasGivenUp || performance.now() - onItsWay.since < PATIENCE)) return;
  hasGivenUp = onItsWay !== null;
  const wish = waiting;
  waiting = null;
  const mine = { since: performance.now() };
  onItsWay = mine;
  const late = window.setTimeout(pump, PATIENCE + 1);
  try {
    await show(wish, mine.since);
  } catch (error) {
    if (!(error instanceof Refusal)) throw error;
    status.textContent = "no picture";
    say(error.message, "error");
  } finally {
    clearTimeout(late);
    if (onItsWay === mine) {
      onItsWay = null;
      hasGivenUp = false;
    }
    if (waiting) pump();
  }
}

/**
 * @param {Wish} wish
 * @param {number} since
 */
async function show(wish, since) {
  const step = wish.quick ? Math.max(quickStep, playStep()) : 1;
  const revision = store.state.revision;
  const result = await askPicture({
    frame: wish.frame,
    edits: wish.edits,
    alone: wish.alone,
    scale: [1, step],
    over: store.over,
    format: wish.quick ? "jpeg" : "raw",
    lane: "show",
  });
  if (!result || wish.number < painted) return;
  if (wish.quick && wish.edits.length === 0 && !wish.alone && result.facts.revision === revision) {
    keep(keyOf(wish.frame, step, revision), result);
  }
  const { width, height } = result.facts;
  const { pixels, blob, facts } = result;
  const picture = pixels ? new ImageData(pixels, width, height) : await createImageBitmap(blob);
  if (wish.number < painted) return;
  paint(picture, facts);
  painted = wish.number;
  // From the hand's move to the screen, for those who measure.
  const isLayer = wish.alone ? "layer" : wish.quick ? "quick" : "exact";
  requestAnimationFrame(() => setTimeout(() => performance.measure(`vorlin ${isLayer}`, { start: wish.since })));
  const took = performance.now() - since;
  if (wish.quick && took > QUICK.slow) quickStep = Math.min(SMALLEST, quickStep + 1);
  if (wish.quick && took < QUICK.fast) quickStep = Math.max(1, quickStep - 1);
  if (!wish.quick || performance.now() - told > 250) {
    told = performance.now();
    status.textContent = `${step === 1 ? "1:1" : `1/${step}`} · ${Math.round(took)} ms`;
  }
  document.body.dataset.painted = wish.quick ? "quick" : `exact ${revision} ${wish.frame}`;
  // Whatever becomes of the wish that made it, what rests is exact.
  if (wish.quick && !waiting && store.preview.length === 0 && !store.playing) wantSoon();
}

/**
 * @param {ImageBitmap | ImageData} picture
 * @param {any} facts
 */
function paint(picture, facts) {
  if (canvas.width !== picture.width) canvas.width = picture.width;
  if (canvas.height !== picture.height) canvas.height = picture.height;
  if (picture instanceof ImageData) {
    paper.putImageData(picture, 0, 0);
  } else {
    paper.drawImage(picture, 0, 0);
    picture.close();
  }
  canvas.dataset.paints = String(Number(canvas.dataset.paints ?? 0) + 1);
  if (facts.values) {
    store.state.values = facts.values;
    store.state.panel = facts.panel;
    emit("values");
  }
}

/**
 * Shows the layer without its stroke, as long as it is held.
 * @param {boolean} is
 */
export function showAlone(is) {
  if (alone === is) return;
  alone = is;
  want(false);
}

/** @param {string} over "layer", "checker" or a colour */
export function setOver(over) {
  store.over = over;
  want(false);
  fill();
}

on("preview", () => (store.preview.length > 0 ? want(true) : wantSoon(0)));
on("frame", () => {
  if (store.playing) return;
  const ready = kept.get(keyOf(store.frame));
  if (ready && store.preview.length === 0) {
    const number = ++wishes;
    createImageBitmap(ready.blob).then((bitmap) => {
      if (number >= painted) paint(bitmap, ready.facts);
      painted = Math.max(painted, number);
    });
    wantSoon(120);
  } else {
    want(true);
  }
});
on("state", (before) => {
  if (!before || before.width !== store.state.width || before.height !== store.state.height) fit();
  want(false);
  fill();
});

// --- Frames that are made ready, and played ---

let filling = false;

function nextMissing() {
  const { inFrame, outFrame } = store;
  const count = outFrame - inFrame + 1;
  const from = Math.min(Math.max(store.frame, inFrame), outFrame) - inFrame;
  for (let i = 0; i < count; ++i) {
    const frame = inFrame + ((from + i) % count);
    if (!isReady(frame)) return frame;
  }
  return -1;
}

/** Renders what is missing between in and out, while nothing else is wanted. */
export async function fill() {
  if (filling) return;
  filling = true;
  try {
    for (let frame = nextMissing(); frame >= 0; frame = nextMissing()) {
      const isBusy = store.preview.length > 0 || (onItsWay && !store.playing) || waiting;
      if (isBusy || document.hidden) {
        await new Promise((done) => setTimeout(done, 100));
        continue;
      }
      const step = playStep();
      const result = await askPicture({ frame, scale: [1, step], over: store.over, format: "jpeg", lane: "fill" });
      if (result) keep(keyOf(frame, step, result.facts.revision), result);
      if (keptBytes + (result?.blob.size ?? 0) > MOST_KEPT) break;
    }
  } catch (error) {
    if (!(error instanceof Refusal)) throw error; // The picture that is shown tells the same.
  } finally {
    filling = false;
  }
}

const play = { from: 0, since: 0, shown: -1, dropped: 0, loop: true };
/** @type {Map<number, Promise<ImageBitmap>>} */
const decoded = new Map();

export const playFacts = play;

export function togglePlay() {
  store.playing = !store.playing;
  emit("ready");
  if (!store.playing) {
    decoded.clear();
    wantSoon(0);
    return;
  }
  if (store.frame >= store.outFrame || store.frame < store.inFrame) store.frame = store.inFrame;
  Object.assign(play, { from: store.frame, since: performance.now(), shown: -1, dropped: 0 });
  fill();
  requestAnimationFrame(tick);
}

/** @param {number} frame */
function decode(frame) {
  const ready = kept.get(keyOf(frame));
  if (ready && !decoded.has(frame)) decoded.set(frame, createImageBitmap(ready.blob));
  return decoded.get(frame);
}

/** The frame that is due; one that is not ready is waited for, and none is left out meanwhile. */
async function tick() {
  if (!store.playing) return;
  const count = store.outFrame - store.inFrame + 1;
  const passed = Math.floor(((performance.now() - play.since) / 1000) * store.state.rate);
  const due = play.from + passed;
  if (due > store.outFrame && !play.loop) {
    togglePlay();
    return;
  }
  const frame = store.inFrame + ((due - store.inFrame) % count);
  for (let i = 0; i < AHEAD; ++i) decode(store.inFrame + ((frame - store.inFrame + i) % count));
  if (frame !== play.shown) {
    const bitmap = decoded.get(frame);
    if (!bitmap) {
      play.from = frame;
      play.since = performance.now();
    } else {
      const facts = kept.get(keyOf(frame))?.facts ?? {};
      const gap = (frame - play.shown + count) % count;
      if (play.shown >= 0 && gap > 1) play.dropped += gap - 1;
      const picture = await bitmap;
      decoded.delete(frame);
      if (!store.playing) return;
      paint(picture, facts);
      play.shown = frame;
      store.frame = frame;
      emit("frame");
    }
  }
  requestAnimationFrame(tick);
}
