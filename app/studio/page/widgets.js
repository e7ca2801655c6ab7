// One editor for each kind of value, for the effect's controls and for lights alike.
import { drag, icon, make, short } from "./dom.js";

/** Between two numbers that are shown while a slider is dragged, milliseconds. */
const PAUSE = 100;

/**
 * An editor of a value. `show` gives it a value from elsewhere, unless the user is at it.
 * @typedef {{element: HTMLElement, show: (value: any) => void, disable: (is: boolean) => void}} Widget
 */

/**
 * What it tells: a value that is tried, and one that is meant.
 * @typedef {{label: string, onTry: (value: any) => void, onSet: (value: any) => void}} Listening
 */

/**
 * @param {{range?: [number, number], slider?: [number, number], unit?: string}} format
 * @param {Listening} to
 * @returns {Widget}
 */
export function numberWidget({ range, slider, unit }, to) {
  const parts = [];
  /** @type {HTMLInputElement | null} */
  let bar = null;
  const field = /** @type {HTMLInputElement} */ (
    make("input", { type: "number", step: "any", class: "number", min: range?.[0], max: range?.[1], "aria-label": unit ? `${to.label}, ${unit}` : to.label })
  );
  const fillBar = () => {
    if (!bar) return;
    const [min, max] = [Number(bar.min), Number(bar.max)];
    bar.style.setProperty("--part", `${(100 * (Number(bar.value) - min)) / (max - min)}%`);
  };
  if (slider) {
    const step = niceStep(slider[1] - slider[0]);
    bar = /** @type {HTMLInputElement} */ (make("input", { type: "range", min: slider[0], max: slider[1], step, "aria-label": to.label }));
    const input = bar;
    let isDragged = false;
    let told = 0;
    input.addEventListener("input", () => {
      isDragged = true;
      to.onTry(Number(input.value));
      // The picture comes first.
      if (performance.now() - told < PAUSE) return;
      told = performance.now();
      field.value = short(Number(input.value), 4);
      fillBar();
    });
    input.addEventListener("change", () => {
      isDragged = false;
      to.onSet(Number(input.value));
    });
    input.addEventListener("keydown", (event) => {
      if (event.key === "Escape" && isDragged) input.blur();
    });
    parts.push(input);
  }
  field.addEventListener("change", () => field.value !== "" && to.onSet(Number(field.value)));
  parts.push(field);
  if (unit) parts.push(make("span", { class: "unit", "aria-hidden": "true" }, unit));
  return {
    element: make("div", { class: slider ? "value" : "value plain" }, ...parts),
    show: (value) => {
      if (document.activeElement !== field) field.value = short(value, 4);
      if (bar && !bar.matches(":active")) bar.value = String(value);
      fillBar();
    },
    disable: (is) => {
      field.disabled = is;
      if (bar) bar.disabled = is;
    },
  };
}

/**
 * About a five-hundredth of a slider's reach, as a round number.
 * @param {number} reach
 */
const niceStep = (reach) => 10 ** Math.floor(Math.log10(reach / 200));

/**
 * @param {Listening} to
 * @returns {Widget}
 */
export function angleWidget(to) {
  const number = numberWidget({ unit: "°" }, to);
  const hand = make("line", { x1: 12, y1: 12, x2: 12, y2: 3 });
  const dial = make("svg", { class: "dial", viewBox: "0 0 24 24", "aria-hidden": "true" }, make("circle", { cx: 12, cy: 12, r: 10 }), hand);
  let now = 0;
  const turn = (/** @type {number} */ value) => {
    now = value;
    hand.setAttribute("transform", `rotate(${value} 12 12)`);
  };
  dial.addEventListener("pointerdown", (/** @type {PointerEvent} */ down) => {
    if (number.element.querySelector("input")?.disabled) return;
    const box = dial.getBoundingClientRect();
    const begin = now;
    const angleOf = (/** @type {PointerEvent} */ e) =>
      (Math.atan2(e.clientX - box.left - box.width / 2, -(e.clientY - box.top - box.height / 2)) * 180) / Math.PI;
    let last = angleOf(down);
    drag(down, {
      move: (event) => {
        const angle = angleOf(event);
        // Turns go on beyond a whole one.
        now += ((angle - last + 540) % 360) - 180;
        last = angle;
        const value = event.shiftKey ? Math.round(now / 15) * 15 : Math.round(now);
        number.show(value);
        hand.setAttribute("transform", `rotate(${value} 12 12)`);
        to.onTry(value);
      },
      end: (event) => to.onSet(event.shiftKey ? Math.round(now / 15) * 15 : Math.round(now)),
      cancel: () => {
        turn(begin);
        to.onTry(undefined);
      },
    });
  });
  number.element.prepend(dial);
  number.element.classList.add("angle");
  return { ...number, show: (value) => (number.show(value), turn(value)) };
}

/**
 * @param {string[]} choices
 * @param {Listening} to
 * @returns {Widget}
 */
export function choiceWidget(choices, to) {
  const select = /** @type {HTMLSelectElement} */ (
    make("select", { "aria-label": to.label }, ...choices.map((choice) => make("option", { value: choice }, choice)))
  );
  select.addEventListener("change", () => to.onSet(select.value));
  return {
    element: make("div", { class: "value" }, select),
    show: (value) => (select.value = value),
    disable: (is) => (select.disabled = is),
  };
}

/**
 * @param {Listening} to
 * @returns {Widget}
 */
export function colorWidget(to) {
  const swatch = /** @type {HTMLInputElement} */ (make("input", { type: "color", "aria-label": to.label }));
  const text = /** @type {HTMLInputElement} */ (make("input", { type: "text", class: "number", maxlength: 7, "aria-label": `${to.label}, as #rrggbb` }));
  swatch.addEventListener("input", () => to.onTry((text.value = swatch.value)));
  swatch.addEventListener("change", () => to.onSet(swatch.value));
  text.addEventListener("change", () => to.onSet(text.value));
  return {
    element: make("div", { class: "value" }, swatch, text),
    show: (value) => {
      if (document.activeElement !== text) text.value = value;
      if (document.activeElement !== swatch) swatch.value = value;
    },
    disable: (is) => (swatch.disabled = text.disabled = is),
  };
}

/**
 * Numbers side by side, as of a point.
 * @param {string[]} names
 * @param {Listening} to
 * @param {() => void} [pick] lets the user show the point on the picture
 * @returns {Widget}
 */
export function tupleWidget(names, to, pick) {
  const fields = names.map((name) => /** @type {HTMLInputElement} */ (make("input", { type: "number", step: "any", class: "number", "aria-label": `${to.label}, ${name}` })));
  /** @type {number[]} not as rounded as what is shown */
  let now = [];
  fields.forEach((field, i) => field.addEventListener("change", () => to.onSet(now.map((v, n) => (n === i ? Number(field.value) : v)))));
  const button = pick && make("button", { class: "quiet", title: "Pick it on the picture", "aria-label": `pick ${to.label} on the picture`, onclick: pick }, icon("target"));
  return {
    element: make("div", { class: "value" }, ...fields, ...(button ? [button] : [])),
    show: (value) => {
      now = value;
      fields.forEach((field, i) => {
        if (document.activeElement !== field) field.value = short(value[i], Math.abs(value[i]) < 100 ? 1 : 0);
      });
    },
    disable: (is) => {
      for (const field of fields) field.disabled = is;
      if (button) button.disabled = is;
    },
  };
}

/**
 * @param {Listening} to
 * @returns {Widget}
 */
export function textWidget(to) {
  const field = /** @type {HTMLInputElement} */ (make("input", { type: "text", "aria-label": to.label }));
  field.addEventListener("change", () => to.onSet(field.value));
  return {
    element: make("div", { class: "value" }, field),
    show: (value) => document.activeElement !== field && (field.value = value ?? ""),
    disable: (is) => (field.disabled = is),
  };
}
