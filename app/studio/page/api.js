// Talks to the server.

/** An error in the program's own words. */
export class Refusal extends Error {
  /**
   * @param {string} message
   * @param {number} status
   */
  constructor(message, status) {
    super(message);
    this.status = status;
  }
}

/** This window, among those of the same studio. */
const tab = Math.random().toString(36).slice(2);

/**
 * @param {string} what
 * @param {object} request
 * @returns {Promise<Response>}
 */
async function post(what, request) {
  let response;
  try {
    response = await fetch(`/api/${what}`, { method: "POST", body: JSON.stringify(request) });
  } catch {
    throw new Refusal("The studio does not answer: is it still running in its terminal?", 0);
  }
  if (response.ok) return response;
  const text = await response.text();
  let message = text;
  try {
    message = JSON.parse(text).error;
  } catch {
    // It is the sentence itself.
  }
  throw new Refusal(message, response.status);
}

/**
 * Most requests answer with the whole state.
 * @param {string} what
 * @param {object} request
 * @returns {Promise<import("./types.js").State>}
 */
export async function ask(what, request) {
  return (await post(what, request)).json();
}

/**
 * @typedef {object} PictureWish
 * @property {number} frame
 * @property {[number, number]} scale
 * @property {string} over
 * @property {"raw"|"jpeg"} format
 * @property {string} lane a newer wish of a lane cancels the older one
 * @property {boolean} [alone]
 * @property {import("./types.js").Edit[]} [edits]
 */

/**
 * A picture and what is known of it: pixels if they were asked for raw, else a file; null when a newer wish came.
 * @param {PictureWish} wish
 * @returns {Promise<{pixels: Uint8ClampedArray | null, blob: Blob, facts: {revision: string, width: number, height: number, values: Record<string, any>, panel: any[]}} | null>}
 */
export async function askPicture(wish) {
  const response = await post("picture", { ...wish, lane: `${wish.lane}-${tab}` });
  if (response.status === 204) return null;
  const facts = JSON.parse(response.headers.get("Vorlin-Frame") ?? "{}");
  if (wish.format === "raw") return { pixels: new Uint8ClampedArray(await response.arrayBuffer()), blob: new Blob(), facts };
  return { pixels: null, blob: await response.blob(), facts };
}

/**
 * Waits for a change after the one of that number.
 * @param {number} serial
 * @returns {Promise<any>}
 */
export async function nextEvents(serial) {
  const response = await fetch(`/api/events?after=${serial}`);
  if (!response.ok) throw new Refusal(await response.text(), response.status);
  return response.json();
}
