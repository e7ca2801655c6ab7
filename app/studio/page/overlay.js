// What lies over the picture: the brush's way with its keys and tangents, points and lights that can be moved.
import { drag, make } from "./dom.js";
import { chooseKey, edit, frameAt, goTo, keyHere, keysOf, layerSeconds, on, removeKey, round, setPreview, store, valueEdits } from "./store.js";
import { place, toLayer, toStage } from "./view.js";

/** @typedef {import("./types.js").Key} Key */
/** @typedef {[number, number]} Point */

const BRUSH = "Brush Position";
/** More handles than this would hide the picture. */
const MOST_HANDLES = 300;

const overlay = /** @type {SVGSVGElement} */ (/** @type {unknown} */ (document.getElementById("overlay")));

/**
 * Keys as they are while one is dragged.
 * @type {Key[] | null}
 */
let draft = null;
let isHidden = false;

const brushKeys = () => draft ?? keysOf(BRUSH) ?? [];

/** @param {number[]} point */
const at = (point) => toStage(point).map((v) => v.toFixed(1)).join(" ");

/**
 * @param {number[]} a
 * @param {number[] | undefined} b
 * @returns {Point}
 */
const plus = (a, b) => [a[0] + (b?.[0] ?? 0), a[1] + (b?.[1] ?? 0)];

/**
 * The way between keys, without the jumps between strokes.
 * @param {Key[]} keys
 */
function wayPath(keys) {
  let path = "";
  keys.forEach((key, i) => {
    const before = keys[i - 1];
    if (!before || before.ease === "hold") {
      path += `M${at(key.value)}`;
    } else if (!before.out_tangent && !key.in_tangent) {
      path += `L${at(key.value)}`;
    } else {
      const from = plus(before.value, before.out_tangent);
      path += `C${at(from)} ${at(plus(key.value, key.in_tangent))} ${at(key.value)}`;
    }
  });
  return path;
}

/**
 * Something round that can be moved with the pointer and with the arrow keys.
 * @param {Point} point of the layer
 * @param {{label: string, kind: string, move: (to: Point, event: PointerEvent | KeyboardEvent) => void, done: () => void,
 *   cancel?: () => void, choose?: () => void, remove?: () => void, size?: number}} what
 */
function handle(point, { label, kind, move, done, cancel, choose, remove, size = 5 }) {
  const [x, y] = toStage(point);
  const circle = make("circle", {
    cx: x,
    cy: y,
    r: size,
    class: `handle ${kind}`,
    tabindex: 0,
    role: "button",
    "aria-label": `${label}, ${round(point[0])}, ${round(point[1])}`,
  });
  circle.addEventListener("pointerdown", (/** @type {PointerEvent} */ down) => {
    if (down.button !== 0) return;
    down.stopPropagation();
    choose?.();
    const start = toLayer(down);
    let moved = false;
    const follow = (/** @type {PointerEvent} */ event) => {
      const [px, py] = toLayer(event);
      moved = true;
      move([point[0] + px - start[0], point[1] + py - start[1]], event);
    };
    // The handle itself is drawn anew meanwhile.
    drag(down, { move: follow, end: () => moved && done(), cancel }, overlay);
  });
  circle.addEventListener("keydown", (/** @type {KeyboardEvent} */ event) => {
    const step = event.shiftKey ? 10 : 1;
    /** @type {Record<string, Point>} */
    const steps = { ArrowLeft: [-step, 0], ArrowRight: [step, 0], ArrowUp: [0, -step], ArrowDown: [0, step] };
    if (steps[event.key]) {
      move(plus(point, steps[event.key]), event);
      done();
    } else if (event.key === "Enter" || event.key === " ") {
      choose?.();
    } else if ((event.key === "Delete" || event.key === "Backspace") && remove) {
      remove();
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  });
  return circle;
}

/**
 * @param {number} index
 * @param {Partial<Key>} changes
 */
function previewKey(index, changes) {
  draft = (draft ?? keysOf(BRUSH) ?? []).map((key, i) => (i === index ? { ...key, ...changes } : key));
  setPreview([{ path: ["controls", BRUSH, "keys", index], set: draft[index] }]);
  draw();
}

/**
 * @param {string} name
 * @param {number} index
 */
function commitKey(name, index) {
  if (!draft) return;
  const { in_tangent, out_tangent, ...rest } = draft[index];
  const key = { ...rest, value: rest.value.map((/** @type {number} */ v) => round(v)) };
  if (in_tangent) Object.assign(key, { in_tangent: in_tangent.map((v) => round(v)) });
  if (out_tangent) Object.assign(key, { out_tangent: out_tangent.map((v) => round(v)) });
  edit(name, [{ path: ["controls", BRUSH, "keys", index], set: key }], BRUSH).then(() => {
    draft = null;
    draw();
  });
}

function cancelDraft() {
  draft = null;
  setPreview([]);
  draw();
}

/**
 * @param {Key} key
 * @param {number} index
 */
function tangentHandles(key, index) {
  const parts = [];
  for (const side of /** @type {const} */ (["in_tangent", "out_tangent"])) {
    const keys = brushKeys();
    const neighbour = keys[index + (side === "in_tangent" ? -1 : 1)];
    if (!neighbour) continue;
    // Where there is none yet, it lies a third of the way to the neighbour.
    const tangent = key[side] ?? [(neighbour.value[0] - key.value[0]) / 3, (neighbour.value[1] - key.value[1]) / 3];
    const tip = plus(key.value, tangent);
    const [x1, y1] = toStage(key.value);
    const [x2, y2] = toStage(tip);
    parts.push(make("line", { x1, y1, x2, y2, class: "tangent" }));
    parts.push(
      handle(tip, {
        label: side === "in_tangent" ? "tangent before the key" : "tangent after the key",
        kind: "tip",
        size: 4,
        move: (to, event) => {
          const now = [to[0] - key.value[0], to[1] - key.value[1]];
          const other = side === "in_tangent" ? "out_tangent" : "in_tangent";
          /** @type {Partial<Key>} */
          const changes = { [side]: now };
          // Both stay in one line, unless Alt breaks them.
          if (!event.altKey && key[other]) {
            const length = Math.hypot(...(key[other] ?? []));
            const factor = -length / Math.max(Math.hypot(...now), 1e-6);
            changes[other] = [now[0] * factor, now[1] * factor];
          }
          previewKey(index, changes);
        },
        done: () => commitKey("tangent", index),
        cancel: cancelDraft,
      }),
    );
  }
  return parts;
}

/**
 * @param {Key} key
 * @param {number} index
 */
function keyHandle(key, index) {
  const chosen = store.key?.control === BRUSH && store.key.index === index;
  return handle(/** @type {Point} */ (key.value), {
    label: `key at ${round(key.time)} s`,
    kind: chosen ? "key chosen" : "key",
    move: (to) => previewKey(index, { value: to }),
    done: () => commitKey("move key", index),
    cancel: cancelDraft,
    choose: () => {
      chooseKey(BRUSH, index);
      goTo(frameAt(key.time));
    },
    remove: () => removeKey(BRUSH, index),
  });
}

/** Where the brush is now, when it has no keys to be moved by. */
function pointHandles() {
  return store.state.controls
    .filter((control) => control.type === "point" && !(keysOf(control.name) && keyHere(control.name) >= 0))
    .filter((control) => store.state.panel[control.index]?.enabled)
    .map((control) => {
      let to = store.state.values[control.name];
      return handle(to, {
        label: control.name,
        kind: "point",
        size: 6,
        move: (now) => {
          to = now.map((v) => round(v));
          setPreview(valueEdits(control.name, to));
        },
        done: () => edit(control.name, valueEdits(control.name, to), control.name),
        cancel: () => setPreview([]),
      });
    });
}

/** Of the light that is chosen. */
function lightHandles() {
  const index = store.light;
  const light = index === null ? null : store.state.scene.lights?.[index];
  if (!light) return [];
  const parts = [];
  const [from, to] = [light.position, light.target];
  if (Array.isArray(from) && Array.isArray(to)) {
    const [x1, y1] = toStage(from);
    const [x2, y2] = toStage(to);
    parts.push(make("line", { x1, y1, x2, y2, class: "tangent" }));
  }
  for (const name of ["target", "position"]) {
    const value = light[name];
    if (!Array.isArray(value)) continue;
    let now = value;
    const edits = () => [{ path: ["lights", index, name], set: now }];
    parts.push(
      handle([value[0], value[1]], {
        label: `${name} of the light`,
        kind: `light ${name}`,
        size: 7,
        move: (p) => {
          now = [round(p[0]), round(p[1]), value[2]];
          setPreview(/** @type {any} */ (edits()));
        },
        done: () => edit(`light's ${name}`, /** @type {any} */ (edits())),
        cancel: () => setPreview([]),
      }),
    );
  }
  return parts;
}

export function draw() {
  if (!store.state || isHidden) {
    overlay.replaceChildren();
    return;
  }
  const focused = document.activeElement?.getAttribute("aria-label");
  const parts = [];
  const isEditing = document.body.dataset.tool === "edit";
  const keys = brushKeys();
  if (!store.playing) {
    parts.push(make("path", { d: wayPath(keys), class: "way under" }), make("path", { d: wayPath(keys), class: "way" }));
    if (isEditing) {
      const chosen = store.key?.control === BRUSH ? store.key.index : -1;
      if (keys[chosen]) parts.push(...tangentHandles(keys[chosen], chosen));
      if (keys.length <= MOST_HANDLES) parts.push(...keys.map(keyHandle));
      else if (keys[chosen]) parts.push(keyHandle(keys[chosen], chosen));
      parts.push(...pointHandles());
    }
    parts.push(...lightHandles());
  }
  overlay.replaceChildren(...parts);
  if (focused) {
    const kind = focused.split(",")[0];
    const again = [...overlay.querySelectorAll("[tabindex]")].find((e) => e.getAttribute("aria-label")?.split(",")[0] === kind);
    /** @type {SVGElement | undefined} */ (again)?.focus();
  }
}

/** @param {boolean} is */
export function hideOverlay(is) {
  isHidden = is;
  draw();
}

/**
 * A line of the hand's own, until its stroke is there.
 * @param {number[][]} points
 */
export function drawHand(points) {
  const path = points.map((p, i) => `${i ? "L" : "M"}${at(p)}`).join("");
  overlay.replaceChildren(make("path", { d: path, class: "way under" }), make("path", { d: path, class: "way" }));
}

/**
 * Puts a key on the way where it is nearest to a point, without changing the way.
 * @param {Point} point
 */
export function insertKeyAt(point) {
  const keys = brushKeys();
  let best = { distance: Infinity, segment: -1, u: 0 };
  for (let i = 0; i + 1 < keys.length; ++i) {
    if (keys[i].ease === "hold") continue;
    const curve = curveOf(keys[i], keys[i + 1]);
    for (let n = 0; n <= 40; ++n) {
      const [x, y] = split(curve, n / 40)[0][3];
      const distance = Math.hypot(x - point[0], y - point[1]);
      if (distance < best.distance) best = { distance, segment: i, u: n / 40 };
    }
  }
  if (best.segment < 0 || best.distance * place().scaleY > 14 || best.u === 0 || best.u === 1) return false;
  const [from, to] = [keys[best.segment], keys[best.segment + 1]];
  insertKey(best.segment, best.u, from.time + best.u * (to.time - from.time));
  return true;
}

/** Puts a key where the brush is in the frame that is shown. */
export function insertKeyNow() {
  const now = layerSeconds();
  const keys = brushKeys();
  const segment = keys.findIndex((key, i) => key.time < now && now < (keys[i + 1]?.time ?? 0));
  if (segment < 0 || keys[segment].ease === "hold") {
    edit("add key", valueEdits(BRUSH, store.state.values[BRUSH].map((/** @type {number} */ v) => round(v))));
    return;
  }
  const curve = curveOf(keys[segment], keys[segment + 1]);
  const target = store.state.values[BRUSH];
  let best = { distance: Infinity, u: 0.5 };
  for (let n = 1; n < 200; ++n) {
    const [x, y] = split(curve, n / 200)[0][3];
    const distance = Math.hypot(x - target[0], y - target[1]);
    if (distance < best.distance) best = { distance, u: n / 200 };
  }
  insertKey(segment, best.u, now);
}

/**
 * @param {Key} from
 * @param {Key} to
 * @returns {Point[]}
 */
const curveOf = (from, to) => [from.value, plus(from.value, from.out_tangent), plus(to.value, to.in_tangent), to.value];

/**
 * Both halves of a cubic curve.
 * @param {Point[]} curve
 * @param {number} u
 * @returns {[Point[], Point[]]}
 */
function split([a, b, c, d], u) {
  const mix = (/** @type {Point} */ p, /** @type {Point} */ q) => /** @type {Point} */ ([p[0] + (q[0] - p[0]) * u, p[1] + (q[1] - p[1]) * u]);
  const [ab, bc, cd] = [mix(a, b), mix(b, c), mix(c, d)];
  const [abc, bcd] = [mix(ab, bc), mix(bc, cd)];
  const middle = mix(abc, bcd);
  return [
    [a, ab, abc, middle],
    [middle, bcd, cd, d],
  ];
}

/**
 * @param {number} segment
 * @param {number} u of its curve
 * @param {number} time
 */
function insertKey(segment, u, time) {
  const keys = brushKeys();
  const [from, to] = [keys[segment], keys[segment + 1]];
  const path = ["controls", BRUSH, "keys"];
  /** @type {import("./types.js").Edit[]} */
  const edits = [];
  /** @type {any} */
  const added = { time: round(time, 1e4) };
  const [first, second] = split(curveOf(from, to), u);
  added.value = first[3].map((v) => round(v));
  if (from.out_tangent || to.in_tangent) {
    const seen = (/** @type {Point} */ tip, /** @type {Point} */ base) => [round(tip[0] - base[0]), round(tip[1] - base[1])];
    added.in_tangent = seen(first[2], first[3]);
    added.out_tangent = seen(second[1], second[0]);
    edits.push({ path: [...path, segment, "out_tangent"], set: seen(first[1], first[0]) });
    edits.push({ path: [...path, segment + 1, "in_tangent"], set: seen(second[2], second[3]) });
  }
  edits.push({ path: [...path, segment + 1], insert: added });
  edit("add key", edits).then((done) => done && chooseKey(BRUSH, segment + 1));
}

for (const topic of /** @type {const} */ (["state", "choice"])) on(topic, () => !draft && draw());
let wasPlaying = false;
on("ready", () => {
  if (store.playing === wasPlaying) return;
  wasPlaying = store.playing;
  draw();
});
on("values", () => !draft && !store.playing && store.preview.length === 0 && draw());
