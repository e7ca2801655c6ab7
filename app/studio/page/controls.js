// The effect's controls, as it set them up and arranges them itself.
import { icon, make, byId, fillWith } from "./dom.js";
import { chooseKey, command, edit, emit, frameAt, goTo, keyHere, keysOf, layerSeconds, on, removeKey, setPreview, store, valueEdits } from "./store.js";
import { angleWidget, choiceWidget, colorWidget, numberWidget, tupleWidget } from "./widgets.js";
import { pick } from "./tools.js";

/** @typedef {import("./types.js").Control} Control */

/** @type {Map<string, {control: Control, row: HTMLElement, widget: import("./widgets.js").Widget, key: HTMLButtonElement | null, steps: HTMLButtonElement[]}>} */
const rows = new Map();
/**
 * What the user opened or closed, until the effect says otherwise.
 * @type {Map<number, boolean>}
 */
const collapsed = new Map();
/** @type {boolean[]} */
let said = [];

/** @param {Control} control */
function widgetFor(control) {
  const { name } = control;
  const to = {
    label: name,
    onTry: (/** @type {any} */ value) => setPreview(value === undefined ? [] : valueEdits(name, value)),
    onSet: (/** @type {any} */ value) => edit(name, valueEdits(name, value), name),
  };
  switch (control.type) {
    case "slider":
      return numberWidget({ range: control.range, slider: control.slider, unit: control.percent ? "%" : "" }, to);
    case "angle":
      return angleWidget(to);
    case "popup":
      return choiceWidget(control.choices, to);
    case "colour":
      return colorWidget(to);
    default:
      return tupleWidget(["x", "y"], to, () => pick(name));
  }
}

/** @param {Control} control */
function toggleKeys({ name }) {
  const keys = keysOf(name);
  const here = keyHere(name);
  if (keys && here >= 0) return removeKey(name, here);
  const value = store.state.values[name];
  if (keys) return edit(`${name} key`, valueEdits(name, value), name);
  return edit(`${name} key`, [{ path: ["controls", name], set: { keys: [{ time: layerSeconds(), value }] } }], name);
}

/**
 * Goes to the next key, or the one before.
 * @param {string} name
 * @param {number} direction
 */
export function stepToKey(name, direction) {
  const frames = (keysOf(name) ?? []).map((key) => frameAt(key.time));
  const to = direction > 0 ? frames.find((f) => f > store.frame) : frames.reverse().find((f) => f < store.frame);
  if (to === undefined) return;
  goTo(to);
  chooseKey(name, keyHere(name));
}

/** @param {Control} control */
function reset({ name }) {
  if (store.state.scene.controls?.[name] === undefined) return;
  edit(`reset ${name}`, [{ path: ["controls", name], remove: true }], name);
}

/** @param {Control} control */
function makeRow(control) {
  const widget = widgetFor(control);
  const { name } = control;
  const key = control.animated
    ? make("button", { class: "key-toggle", "aria-label": `key of ${name}`, "aria-pressed": "false", title: "Set or remove a key here", onclick: () => toggleKeys(control) }, icon("key"))
    : null;
  const steps = [-1, 1].map((direction) =>
    make(
      "button",
      { class: "step quiet", "aria-label": direction < 0 ? `key of ${name} before this frame` : `key of ${name} after this frame`, hidden: true, onclick: () => stepToKey(name, direction) },
      icon(direction < 0 ? "before" : "after"),
    ),
  );
  const label = make("button", { class: "name quiet", title: `${name}: double-click for the default`, "aria-label": `${name}: reset with Enter` }, name);
  label.addEventListener("dblclick", () => reset(control));
  label.addEventListener("keydown", (/** @type {KeyboardEvent} */ event) => event.key === "Enter" && reset(control));
  const row = make("div", { class: "row", role: "group", "aria-label": name }, key ?? make("span"), label, widget.element, make("span", { class: "steps" }, ...steps));
  rows.set(name, { control, row, widget, key, steps });
  return row;
}

/** All rows, groups in groups. */
function build() {
  rows.clear();
  const top = make("div");
  const stack = [top];
  for (const control of store.state.controls) {
    if (control.type === "group") {
      const body = make("div", { class: "group-body" });
      const head = make("button", { class: "group-head", "data-group": control.index, "aria-expanded": "true" }, icon("fold"), control.name);
      head.addEventListener("click", () => {
        collapsed.set(control.index, head.getAttribute("aria-expanded") === "true");
        showPanel();
      });
      stack[stack.length - 1].append(make("section", { class: "group" }, head, body));
      stack.push(body);
    } else if (control.type === "group end") {
      stack.pop();
    } else {
      stack[stack.length - 1].append(makeRow(control));
    }
  }
  fillWith(byId("controls"), top);
}

/** What is grey and what is folded: the effect's own answer. */
function showPanel() {
  const { panel } = store.state;
  panel.forEach((state, i) => {
    if (said[i] !== undefined && said[i] !== state.collapsed) collapsed.delete(i);
    said[i] = state.collapsed;
  });
  for (const head of /** @type {NodeListOf<HTMLElement>} */ (byId("controls").querySelectorAll("[data-group]"))) {
    const index = Number(head.dataset.group);
    const isClosed = collapsed.get(index) ?? panel[index].collapsed;
    head.setAttribute("aria-expanded", String(!isClosed));
    /** @type {HTMLElement} */ (head.nextElementSibling).hidden = isClosed;
    head.classList.toggle("off", !panel[index].enabled);
  }
  for (const { control, row, widget } of rows.values()) {
    const isOff = !panel[control.index].enabled;
    row.classList.toggle("off", isOff);
    row.setAttribute("aria-disabled", String(isOff));
    widget.disable(isOff);
  }
}

function showValues() {
  // What is dragged shows its own value.
  if (!store.state || store.preview.length > 0) return;
  for (const [name, { widget, key, steps, row }] of rows) {
    const value = store.state.values[name];
    if (value !== undefined) widget.show(value);
    const keys = keysOf(name);
    row.classList.toggle("keyed", Boolean(keys));
    row.classList.toggle("changed", store.state.scene.controls?.[name] !== undefined);
    key?.setAttribute("aria-pressed", String(keyHere(name) >= 0));
    for (const step of steps) step.hidden = !keys;
  }
  showPanel();
}

on("state", (before) => {
  const shape = (/** @type {any} */ state) => JSON.stringify(state?.controls ?? null);
  if (rows.size === 0 || shape(before) !== shape(store.state)) build();
  showValues();
});
on("values", showValues);
on("frame", () => !store.playing && showValues());

byId("reset-all").addEventListener("click", () => edit("defaults", [{ look: "" }]));

// --- Looks ---

const LOOK_WIDTH = 200;
let lookTimer = 0;
let lookedAt = "";

/** Small pictures of the frame that is shown, in every look, once nothing else is to be done. */
async function drawLooks() {
  const { askPicture } = await import("./api.js");
  const { state, frame } = store;
  // A frame in which the stroke is there.
  const shown = frame > 0 ? frame : state.frames - 1;
  const asked = `${state.revision} ${store.over} ${shown}`;
  if (asked === lookedAt || store.playing || document.hidden) return;
  lookedAt = asked;
  const step = Math.max(1, Math.min(64, Math.floor(state.width / LOOK_WIDTH)));
  for (const image of /** @type {NodeListOf<HTMLImageElement>} */ (byId("looks").querySelectorAll("img"))) {
    const look = image.dataset.look ?? "";
    const result = await askPicture({ frame: shown, scale: [1, step], over: "layer", format: "jpeg", lane: `fill-look-${look}`, edits: [{ look }] }).catch(() => null);
    if (store.state.revision !== state.revision) return;
    if (!result) continue;
    URL.revokeObjectURL(image.src);
    image.src = URL.createObjectURL(result.blob);
  }
}

/** Is a look's effect on the scene what it has already? */
function buildLooks() {
  const box = byId("looks");
  const names = store.state.looks;
  if (box.dataset.names !== names.join()) {
    box.dataset.names = names.join();
    fillWith(
      box,
      ...names.map((look) =>
        make(
          "button",
          { class: "look", "aria-label": `look ${look}`, onclick: () => edit(`look ${look}`, [{ look }]) },
          make("img", { alt: "", "data-look": look }),
          make("span", {}, look.replace(/-/g, " ")),
        ),
      ),
    );
    lookedAt = "";
  }
  clearTimeout(lookTimer);
  lookTimer = window.setTimeout(drawLooks, 500);
}

on("state", buildLooks);
on("frame", () => {
  clearTimeout(lookTimer);
  lookTimer = window.setTimeout(drawLooks, 900);
});

byId("save-look").addEventListener("click", async () => {
  const dialog = byId("look-dialog");
  dialog.showModal();
});
byId("look-form").addEventListener("submit", async () => {
  const field = byId("look-name");
  if (await command("look", { name: field.value.trim() })) emit("message", { text: `The look "${field.value.trim()}" lies in the folder "looks" beside the scene`, kind: "note" });
});
