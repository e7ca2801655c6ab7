// What the page knows, and the one way to change it: edits that the server checks.
import { ask, Refusal } from "./api.js";

/** @typedef {import("./types.js").State} State */
/** @typedef {import("./types.js").Edit} Edit */
/** @typedef {import("./types.js").Key} Key */

/** What the parts of the page listen to: the scene, the frame that is shown, values of that frame, and what else is chosen. */
/** @typedef {"state"|"frame"|"values"|"preview"|"choice"|"ready"|"message"} Topic */

/** @type {Map<Topic, ((detail: any) => void)[]>} */
const listeners = new Map();

/**
 * @param {Topic} topic
 * @param {(detail: any) => void} listener
 */
export function on(topic, listener) {
  listeners.set(topic, [...(listeners.get(topic) ?? []), listener]);
}

/**
 * @param {Topic} topic
 * @param {any} [detail]
 */
export function emit(topic, detail) {
  for (const listener of listeners.get(topic) ?? []) listener(detail);
}

export const store = {
  /** @type {State} */
  state: /** @type {any} */ (null),
  frame: 0,
  /**
   * Edits that are seen but not yet part of the scene: something is being dragged.
   * @type {Edit[]}
   */
  preview: [],
  over: "layer",
  /** @type {{control: string, index: number} | null} the key that is chosen */
  key: null,
  /** @type {number | null} the light that is chosen */
  light: null,
  inFrame: 0,
  /** The last frame that is played. */
  outFrame: 0,
  playing: false,
};

/** Seconds of the layer at a frame, as keys have them. */
export function layerSeconds(frame = store.frame) {
  return round(frame / store.state.rate - store.state.layerStart, 1e6);
}

/** @param {number} seconds of the layer */
export function frameAt(seconds) {
  return Math.round((seconds + store.state.layerStart) * store.state.rate);
}

export function round(/** @type {number} */ value, unit = 100) {
  return Math.round(value * unit) / unit;
}

/**
 * @param {string} text
 * @param {"error"|"note"} [kind]
 */
export function say(text, kind = "note") {
  emit("message", { text, kind });
}

/** @param {State} state */
function take(state) {
  const before = store.state;
  store.state = state;
  const wasWhole = !before || store.outFrame >= before.frames - 1;
  store.outFrame = wasWhole ? state.frames - 1 : Math.min(store.outFrame, state.frames - 1);
  store.inFrame = Math.min(store.inFrame, store.outFrame);
  store.frame = Math.min(store.frame, state.frames - 1);
  if (store.key && !keysOf(store.key.control)?.[store.key.index]) store.key = null;
  if (store.light !== null && !state.scene.lights?.[store.light]) store.light = null;
  emit("state", before);
}

/** Requests that change the scene wait for each other: each is about the scene that the last one left. */
let queue = Promise.resolve(false);

/**
 * @param {string} what
 * @param {() => object} request made when it is sent
 * @returns {Promise<boolean>} whether it was done
 */
function send(what, request) {
  queue = queue.then(async () => {
    try {
      take(await ask(what, { frame: store.frame, ...request() }));
      return true;
    } catch (error) {
      if (!(error instanceof Refusal)) throw error;
      say(error.message, "error");
      if (error.status === 409) take(await ask("state", { frame: store.frame }));
      else if (store.state) emit("state", store.state);
      return false;
    }
  });
  return queue;
}

/**
 * @param {string} what
 * @param {object} [request]
 */
export const command = (what, request = {}) => send(what, () => request);

/**
 * Changes the scene: one step that can be undone.
 * @param {string} name of the step
 * @param {Edit[]} edits
 * @param {string} [changed] the control that the user changed, which the effect is told of
 */
export async function edit(name, edits, changed) {
  const done = await send("edit", () => ({ revision: store.state.revision, name, edits, changed }));
  if (store.preview.length > 0) setPreview([]);
  return done;
}

/** @param {Edit[]} edits shown until edit() or the next preview; none: the scene as it is */
export function setPreview(edits) {
  store.preview = edits;
  emit("preview");
}

/** @param {number} frame */
export function goTo(frame) {
  const last = store.state.frames - 1;
  const to = Math.max(0, Math.min(last, Math.round(frame)));
  if (to === store.frame) return;
  store.frame = to;
  emit("frame");
}

/**
 * Of a control's keys; undefined when it has none.
 * @param {string} control
 * @returns {Key[] | undefined}
 */
export function keysOf(control) {
  const keys = store.state.scene.controls?.[control]?.keys;
  return Array.isArray(keys) ? keys : undefined; // lists have a method of that name
}

/** Names of the controls that have keys, in the effect's order. */
export const keyedControls = () =>
  store.state.controls.map((c) => c.name).filter((name) => name && keysOf(name));

/**
 * The key of a control at the frame that is shown, or -1.
 * @param {string} control
 */
export function keyHere(control, frame = store.frame) {
  return keysOf(control)?.findIndex((key) => frameAt(key.time) === frame) ?? -1;
}

/**
 * Edits that give a control a value: its key at this frame, a new one, or its only value.
 * @param {string} control
 * @param {any} value
 * @returns {Edit[]}
 */
export function valueEdits(control, value) {
  const keys = keysOf(control);
  if (!keys) return [{ path: ["controls", control], set: value }];
  const here = keyHere(control);
  if (here >= 0) return [{ path: ["controls", control, "keys", here, "value"], set: value }];
  const after = keys.filter((key) => key.time < layerSeconds()).length;
  return [{ path: ["controls", control, "keys", after], insert: { time: layerSeconds(), value } }];
}

/**
 * Chooses a key, or none.
 * @param {string} [control]
 * @param {number} [index]
 */
export function chooseKey(control, index = 0) {
  store.key = control === undefined ? null : { control, index };
  emit("choice");
}

/**
 * Removes a key; the last one leaves its value.
 * @param {string} control
 * @param {number} index
 */
export function removeKey(control, index) {
  const keys = keysOf(control) ?? [];
  const path = ["controls", control];
  if (keys.length > 1) return edit("delete key", [{ path: [...path, "keys", index], remove: true }]);
  return edit("delete key", [{ path, set: keys[0].value }]);
}
