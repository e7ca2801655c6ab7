// The finished thing: a movie, pictures or one frame, by the program's own render.
import { byId } from "./dom.js";
import { command, on, say, store } from "./store.js";

const dialog = /** @type {HTMLDialogElement} */ (byId("export-dialog"));
const form = /** @type {HTMLFormElement} */ (byId("export-form"));

/** Endings and depths of each kind. */
const KINDS = {
  movie: { endings: ["mp4", "mov", "mkv", "webm", "gif", "apng"], name: (/** @type {string} */ stem) => stem },
  pictures: { endings: ["png", "jpg", "webp", "tif", "exr"], name: (/** @type {string} */ stem) => `${stem}.####` },
  frame: { endings: ["png", "jpg", "webp", "tif", "exr"], name: (/** @type {string} */ stem) => `${stem}-frame` },
};

/**
 * @param {string} name
 * @returns {any}
 */
const field = (name) => form.elements.namedItem(name);

function showKind() {
  const kind = /** @type {keyof typeof KINDS} */ (field("kind").value);
  const { endings, name } = KINDS[kind];
  const before = field("ending").value;
  field("ending").replaceChildren(...endings.map((ending) => new Option(`.${ending}`, ending)));
  if (endings.includes(before)) field("ending").value = before;
  field("output").value = name(store.state.name.replace(/\.json$/, ""));
  for (const part of /** @type {NodeListOf<HTMLElement>} */ (form.querySelectorAll("[data-for]"))) {
    part.hidden = !(part.dataset.for ?? "").split(" ").includes(kind);
  }
}

export function openExport() {
  showKind();
  byId("export-error").textContent = "";
  dialog.showModal();
}

function options() {
  const kind = field("kind").value;
  const { firstNumber, frames } = store.state;
  /** @type {Record<string, string | boolean>} */
  const all = {
    output: `${field("output").value}.${field("ending").value}`,
    over: field("over").value === "none" ? "" : field("over").value,
    depth: field("depth").value,
    supersample: field("supersample").value,
    downsample: field("downsample").value,
    overwrite: field("overwrite").checked,
  };
  if (kind === "movie") Object.assign(all, { quality: field("quality").value, codec: field("codec").value.trim(), "no-sound": !field("sound").checked });
  if (kind === "frame") all.frames = String(store.frame + firstNumber);
  else if (store.inFrame > 0 || store.outFrame < frames - 1) all.frames = `${store.inFrame + firstNumber}-${store.outFrame + firstNumber}`;
  return all;
}

byId("export").addEventListener("click", openExport);
field("kind").addEventListener("change", showKind);
byId("export-close").addEventListener("click", () => dialog.close());
form.addEventListener("submit", async (event) => {
  event.preventDefault();
  if (await command("export", { options: options() })) dialog.close();
  else byId("export-error").textContent = byId("message").textContent;
});
byId("export-cancel").addEventListener("click", () => command("cancel"));

/** @param {number} seconds */
const minutes = (seconds) => `${Math.floor(seconds / 60)}:${String(Math.round(seconds % 60)).padStart(2, "0")}`;

let wasRunning = false;

/** @param {import("./types.js").ExportStatus | undefined} status */
export function showExport(status) {
  const bar = byId("export-bar");
  bar.hidden = !status?.running;
  if (status?.running) {
    const { done = 0, frames = store.state.frames, left } = status;
    byId("export-progress").max = frames;
    byId("export-progress").value = done;
    const rest = left === undefined || left === null ? "" : `, ${minutes(left)} left`;
    byId("export-text").textContent = `Export ${Math.floor(done)}/${frames}${rest}`;
  } else if (wasRunning && status) {
    if (status.cancelled) say("The export was cancelled; nothing was left");
    else if (status.error) say(status.error, "error");
    else say(["The export is done, beside the scene", ...(status.notes ?? [])].join(". "));
  }
  wasRunning = Boolean(status?.running);
}

on("state", () => showExport(store.state.export));
