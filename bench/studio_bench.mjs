// How long a hand waits for its picture in the studio, in a real browser: a photograph of 1920 x 1080 pixels, a stroke
// of 60 frames, the default look. usage: studio_bench.mjs PICTURE [FILE]: writes its figures as JSON. VORLIN names the program.
import { readFileSync, writeFileSync } from "node:fs";
import { closeAll, openStudio, rested } from "../tests/studio/browser.mjs";

const [picture, out] = process.argv.slice(2);
const studio = await openStudio([picture], picture.split("/").pop());
const { page, server } = studio;

const sleep = (milliseconds) => new Promise((done) => setTimeout(done, milliseconds));
const part = (values, share) => [...values].sort((a, b) => a - b)[Math.min(values.length - 1, Math.floor(values.length * share))];
const measured = (name) => page.evaluate((n) => performance.getEntriesByName(`vorlin ${n}`).map((m) => m.duration), name);
const forget = () => page.evaluate(() => performance.clearMeasures());

/** Moves the pointer, a step every 8 ms. */
async function move(from, to, steps, bend = 0) {
  const client = await page.context().newCDPSession(page);
  await page.mouse.move(from[0], from[1]);
  await page.mouse.down();
  for (let i = 1; i <= steps; ++i) {
    const share = i / steps;
    const x = from[0] + share * (to[0] - from[0]);
    const y = from[1] + share * (to[1] - from[1]) + bend * Math.sin(share * 12);
    client.send("Input.dispatchMouseEvent", { type: "mouseMoved", x, y, button: "left", buttons: 1 });
    await sleep(8);
  }
  await page.mouse.up();
}

const figures = {};
const opened = await page.evaluate(() => {
  const [load] = performance.getEntriesByType("navigation");
  return performance.getEntriesByType("measure")[0].startTime + performance.getEntriesByType("measure")[0].duration - load.domContentLoadedEventEnd;
});
figures["first picture after the page has loaded"] = opened;
await page.locator("#reset-all").click();
await sleep(3000);
const box = await page.locator("#picture").boundingBox();
await forget();
await move([box.x + 0.1 * box.width, box.y + 0.5 * box.height], [box.x + 0.9 * box.width, box.y + 0.5 * box.height], 240, 0.3 * box.height);
await rested(page);
const drawn = await measured("quick");
figures["drawing, median"] = part(drawn, 0.5);
figures["drawing, 95 %"] = part(drawn, 0.95);
await page.getByLabel("duration").fill("2");
await page.getByLabel("duration").press("Enter");
await page.keyboard.press("Escape");
await sleep(500);
await page.locator("#to-end").click();
await sleep(500);
await rested(page);
await forget();
await page.locator("#looks").scrollIntoViewIfNeeded();
const slider = await page.getByRole("slider", { name: "Stroke Width" }).boundingBox();
const middle = slider.y + slider.height / 2;
await move([slider.x + 0.35 * slider.width, middle], [slider.x + 0.6 * slider.width, middle], 240);
await sleep(1000);
await rested(page);
const slid = await measured("quick");
figures["slider, median"] = part(slid, 0.5);
figures["slider, 95 %"] = part(slid, 0.95);
figures["slider, pictures a second"] = slid.length / (240 * 0.008);
await page.keyboard.press("Control+z");
const exact = [];
for (let i = 0; i < 8; ++i) {
  await sleep(400);
  await rested(page);
  await forget();
  await page.getByLabel("Density", { exact: true }).last().fill(String(30 + i));
  await page.getByLabel("Density", { exact: true }).last().press("Enter");
  await page.waitForFunction(() => performance.getEntriesByName("vorlin exact").length > 0);
  exact.push((await measured("exact"))[0]);
}
figures["full size, exact, after release"] = part(exact, 0.5);
await page.waitForFunction(() => document.querySelector("#ready").dataset.count === "60", null, { timeout: 60000 });
await page.evaluate(() => document.activeElement.blur());
const paints = () => page.evaluate(() => Number(document.querySelector("#picture").dataset.paints));
await page.locator("#play").click();
await sleep(500);
const before = await paints();
await sleep(5000);
figures["frames played a second"] = ((await paints()) - before) / 5;
figures["frames dropped in 5 s"] = Number(await page.locator("#play").getAttribute("data-dropped"));
await page.locator("#play").click();
const memory = (pid) => Number(/VmHWM:\s+(\d+)/.exec(readFileSync(`/proc/${pid}/status`, "utf8"))[1]) / 1024;
const children = readFileSync(`/proc/${server.pid}/task/${server.pid}/children`, "utf8").trim().split(/\s+/);
figures["memory of the server, MiB"] = memory(server.pid);
figures["memory of its workers, MiB"] = children.reduce((sum, pid) => sum + memory(pid), 0);

for (const [name, value] of Object.entries(figures)) console.log(`${name.padEnd(42)} ${value.toFixed(1).padStart(8)}`);
if (out) writeFileSync(out, `${JSON.stringify(figures, null, 2)}\n`);
await closeAll();
