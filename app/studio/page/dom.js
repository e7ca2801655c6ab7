// Small helpers for elements and for things that are dragged.

const SVG = "http://www.w3.org/2000/svg";

/**
 * An element with attributes, listeners (onclick) and children.
 * @param {string} tag
 * @param {Record<string, any>} [attributes]
 * @param {...(Node|string)} children
 * @returns {any}
 */
export function make(tag, attributes = {}, ...children) {
  const isSvg = ["svg", "path", "circle", "line", "g", "use", "rect"].includes(tag);
  const element = isSvg ? document.createElementNS(SVG, tag) : document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
    else if (value === true) element.setAttribute(name, "");
    else if (value !== false && value !== undefined) element.setAttribute(name, String(value));
  }
  element.append(...children);
  return element;
}

/**
 * A drawing of the page's own set.
 * @param {string} name
 */
export const icon = (name) => make("svg", { class: "icon", "aria-hidden": "true" }, make("use", { href: `#i-${name}` }));

/**
 * @param {string} id
 * @returns {any}
 */
export const byId = (id) => document.getElementById(id);

/**
 * Follows the pointer from a pointerdown until it is lifted. Escape gives up.
 * @param {PointerEvent} down
 * @param {{move: (event: PointerEvent) => void, end: (event: PointerEvent) => void, cancel?: () => void}} handlers
 * @param {Element} [target] what stays there meanwhile
 */
export function drag(down, { move, end, cancel }, target = /** @type {Element} */ (down.currentTarget)) {
  if (down.button !== 0 && down.button !== 1) return;
  down.preventDefault();
  const stop = new AbortController();
  const { signal } = stop;
  target.setPointerCapture(down.pointerId);
  const finish = (/** @type {() => void} */ how) => {
    stop.abort();
    how();
  };
  const listen = (/** @type {string} */ kind, /** @type {(event: any) => void} */ listener, /** @type {any} */ on = target) =>
    on.addEventListener(kind, listener, { signal });
  listen("pointermove", move);
  listen("pointerup", (event) => finish(() => end(event)));
  listen("pointercancel", () => finish(() => cancel?.()));
  listen("keydown", (event) => event.key === "Escape" && finish(() => cancel?.()), window);
}

/**
 * Takes the place of what an element holds.
 * @param {Element} element
 * @param {...(Node|string)} children
 */
export const fillWith = (element, ...children) => element.replaceChildren(...children);

/**
 * A number without needless digits.
 * @param {number} value
 * @param {number} [digits]
 */
export const short = (value, digits = 2) => String(Number(value.toFixed(digits)));
