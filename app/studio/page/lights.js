// The lights of the composition, built from the scene's own format of them.
import { byId, fillWith, icon, make } from "./dom.js";
import { edit, emit, on, setPreview, store } from "./store.js";
import { choiceWidget, colorWidget, numberWidget, textWidget, tupleWidget } from "./widgets.js";

/** @typedef {import("./types.js").Format} Format */

/**
 * @param {Format} format
 * @param {import("./widgets.js").Listening} to
 */
function widgetFor(format, to) {
  switch (format.type) {
    case "colour":
      return colorWidget(to);
    case "triple":
      return tupleWidget(["x", "y", "z"], to);
    case "text":
      return textWidget(to);
    case "popup":
      return choiceWidget(format.choices ?? [], to);
    default:
      return numberWidget({ range: format.range, unit: format.unit === "degrees" ? "°" : "" }, to);
  }
}

/**
 * @param {string} type
 * @param {any} light
 * @param {number} index
 */
function fields(type, light, index) {
  return store.state.lightFormats[type].filter((format) => format.name !== "type").map((format) => {
    const path = ["lights", index, format.name];
    const label = `${format.name.replace(/_/g, " ")} of light ${index + 1}`;
    const value = light[format.name];
    const widget = widgetFor(format, {
      label,
      onTry: (to) => setPreview([{ path, set: to }]),
      onSet: (to) => edit(format.name.replace(/_/g, " "), [to === "" ? { path, remove: true } : { path, set: to }]),
    });
    const isKeyed = Array.isArray(value?.keys);
    const shown = isKeyed ? value.keys[0].value : (value ?? format.default);
    if (shown !== null && shown !== undefined) widget.show(shown);
    widget.disable(isKeyed);
    const name = make("span", { class: "name", title: isKeyed ? "It has keys, which stay as they are" : format.says }, format.name.replace(/_/g, " "));
    return make("div", { class: "row" }, make("span"), name, widget.element);
  });
}

/**
 * @param {any} light
 * @param {number} index
 */
function lightRow(light, index) {
  const isChosen = store.light === index;
  const name = light.name || `${light.type} light`;
  const head = make("button", { class: "group-head", "aria-expanded": String(isChosen), onclick: () => choose(isChosen ? null : index) }, icon("fold"), icon("light"), name);
  const remove = make(
    "button",
    { class: "quiet", "aria-label": `remove light ${index + 1}, ${name}`, onclick: () => edit("remove light", [{ path: ["lights", index], remove: true }]) },
    icon("trash"),
  );
  return make("div", { class: "light-row" }, make("div", { class: "light-head" }, head, remove), ...(isChosen ? fields(light.type, light, index) : []));
}

/** @param {number | null} index */
function choose(index) {
  store.light = index;
  emit("choice");
  build();
}

/**
 * A new light of the format's own examples, at its defaults, where it lights the whole layer.
 * @param {string} type
 */
async function add(type) {
  const { lightFormats, scene, width, height } = store.state;
  /** @type {any} */
  const light = { type };
  for (const format of lightFormats[type]) {
    if (format.name === "position") light.position = [Math.round(width / 4), Math.round(height / 4), -Math.round(width / 2)];
    if (format.name === "target") light.target = [Math.round(width / 2), Math.round(height / 2), 0];
  }
  const index = scene.lights?.length ?? 0;
  const change = scene.lights ? { path: ["lights", index], insert: light } : { path: ["lights"], set: [light] };
  if (await edit(`add ${type} light`, [change])) choose(index);
}

function build() {
  const lights = store.state.scene.lights ?? [];
  fillWith(byId("lights"), ...lights.map(lightRow));
  if (lights.length === 0) fillWith(byId("lights"), make("p", { class: "quiet-text" }, "No lights in this composition."));
  const menu = byId("add-light");
  if (menu.options.length <= 1) {
    menu.append(...Object.keys(store.state.lightFormats).map((type) => make("option", { value: type }, `${type} light`)));
  }
}

byId("add-light").addEventListener("change", (/** @type {Event} */ event) => {
  const menu = /** @type {HTMLSelectElement} */ (event.target);
  if (menu.value) add(menu.value);
  menu.value = "";
});
on("state", build);
