// A studio with its page in a real browser, for tests, benchmarks and the pictures of the documentation.
import { spawn } from "node:child_process";
import { copyFileSync, mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { chromium } from "playwright-core";

export const PROGRAM = process.env.VORLIN ?? "vorlin";
export const SCENES = process.env.SCENES ?? "scenes";

let browser = null;
const open = [];

/** A folder of its own with these files from the scenes; `file` of them is opened. */
export async function openStudio(files, file, { size = [1280, 800], folder = mkdtempSync(join(tmpdir(), "vorlin_page_")) } = {}) {
  for (const one of files) copyFileSync(one.includes("/") ? one : join(SCENES, one), join(folder, one.split("/").pop()));
  const server = spawn(PROGRAM, ["studio", "--no-open", join(folder, file)], { stdio: ["ignore", "pipe", "inherit"] });
  const address = await new Promise((found, lost) => {
    let said = "";
    server.stdout.on("data", (text) => {
      said += text;
      const match = /http:\S+\n/.exec(said);
      if (match) found(match[0].trim());
    });
    server.on("exit", () => lost(new Error("the studio ended")));
  });
  browser ??= await chromium.launch({ executablePath: "/usr/bin/chromium", args: ["--disable-quic", "--disable-background-networking"] });
  const context = await browser.newContext({ viewport: { width: size[0], height: size[1] } });
  const faults = [];
  const openPage = async () => {
    const page = await context.newPage();
    page.on("pageerror", (error) => faults.push(error.stack));
    page.on("console", (message) => message.type() === "error" && !/Failed to load resource/.test(message.text()) && faults.push(message.text()));
    await page.goto(address);
    await page.waitForFunction(() => document.body.dataset.started && document.body.dataset.painted);
    return page;
  };
  const studio = { server, folder, address, faults, openPage, page: await openPage(), close };
  async function close() {
    await context.close();
    server.kill("SIGINT");
    rmSync(folder, { recursive: true, force: true });
    open.splice(open.indexOf(studio), 1);
  }
  open.push(studio);
  return studio;
}

export async function closeAll() {
  for (const studio of [...open]) await studio.close();
  await browser?.close();
  browser = null;
}

/** Until the exact picture of the scene as it is now is shown, and nothing is under way. */
export async function rested(page) {
  await page.waitForTimeout(150);
  await page.waitForFunction(() => document.body.dataset.painted?.startsWith("exact"));
}

/** Draws with the pointer, by points of the layer as shares of its size; a sample every 8 ms. */
export async function draw(page, points) {
  const box = await page.locator("#picture").boundingBox();
  const at = ([x, y]) => [box.x + x * box.width, box.y + y * box.height];
  const client = await page.context().newCDPSession(page);
  await page.mouse.move(...at(points[0]));
  await page.mouse.down();
  for (const point of points.slice(1)) {
    const [x, y] = at(point);
    await client.send("Input.dispatchMouseEvent", { type: "mouseMoved", x, y, button: "left", buttons: 1 });
    await new Promise((done) => setTimeout(done, 8));
  }
  await page.mouse.up();
  await rested(page);
}

/** Points of a curve: what `at` says for 0 to 1. */
export const curve = (steps, at) => Array.from({ length: steps + 1 }, (_, i) => at(i / steps));
