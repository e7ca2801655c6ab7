// The studio as a person uses it.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { existsSync, readFileSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, afterEach, test } from "node:test";
import { closeAll, curve, draw, openStudio, PROGRAM, rested, SCENES } from "./browser.mjs";

let studio = null;
afterEach(async () => {
  const faults = studio?.faults ?? [];
  await studio?.close();
  studio = null;
  assert.deepEqual(faults, []);
});
after(closeAll);

async function start(files, file, options) {
  studio = await openStudio(files, file, options);
  await rested(studio.page);
  return studio.page;
}

const scene = (page) => page.evaluate(async () => (await import("/store.js")).store.state.scene);
const frame = (page) => page.evaluate(async () => (await import("/store.js")).store.frame);
async function pixels(page) {
  const text = await page.evaluate(() => {
    const canvas = document.querySelector("#picture");
    const { data } = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
    let bytes = "";
    for (let i = 0; i < data.length; i += 32768) bytes += String.fromCharCode(...data.subarray(i, i + 32768));
    return btoa(bytes);
  });
  return Buffer.from(text, "base64");
}
const wave = curve(100, (t) => [0.15 + 0.7 * t, 0.5 + 0.25 * Math.sin(9 * t)]);
const settled = (page, what, ...given) => page.waitForFunction(what, ...given, { timeout: 8000 });
const revision = (page) => page.evaluate(async () => (await import("/store.js")).store.state.revision);
/** Does something that changes the scene, and waits for it. */
async function changing(page, act) {
  const before = await revision(page);
  await act();
  await settled(page, async (old) => (await import("/store.js")).store.state.revision !== old, before);
  await rested(page);
}

test("what is drawn is a stroke, and the saved scene renders to the same bytes", async () => {
  const page = await start(["dusk.jpg"], "dusk.jpg");
  const before = await pixels(page);
  await changing(page, () => draw(page, wave));
  const after = await pixels(page);
  const changedAt = (x, y) => [0, 1, 2].some((c) => after[4 * (960 * Math.round(y) + Math.round(x)) + c] !== before[4 * (960 * Math.round(y) + Math.round(x)) + c]);
  for (const [x, y] of wave.slice(5, -5)) assert.ok(changedAt(x * 960, y * 540), `no stroke at ${x}, ${y}`);
  assert.ok(!changedAt(480, 20));
  const shown = await frame(page);
  await page.keyboard.press("Control+s");
  await page.waitForFunction(() => document.querySelector("#unsaved").hidden);
  const file = join(studio.folder, "dusk.json");
  execFileSync(PROGRAM, ["render", file, "-q", "--over", "layer", "-F", String(shown), "-o", join(studio.folder, "a.png")]);
  const rendered = execFileSync("ffmpeg", ["-v", "error", "-i", join(studio.folder, "a.png"), "-f", "rawvideo", "-pix_fmt", "rgba", "-"], { maxBuffer: 1 << 26 });
  assert.ok(after.equals(rendered));
  await changing(page, () => draw(page, curve(40, (t) => [0.2 + 0.5 * t, 0.9])));
  assert.equal((await scene(page)).pen.length, 2); // lifted between both
});

test("the effect greys and folds its controls itself", async () => {
  const page = await start(["honey.json", "cloth.jpg"], "honey.json");
  const isOff = (name) => page.locator(`#controls .row[aria-label="${name}"]`).getAttribute("aria-disabled");
  for (const [popup, choice, off, on] of [
    ["Paint Style", "Wobbly", [], ["Wobble Width", "Wobble Speed"]],
    ["Paint Style", "Plain", ["Wobble Width", "Wobble Speed"], []],
    ["Light Type", "Point Light", ["Light Direction"], ["Light Position"]],
    ["Using", "AE Lights", ["Light Type", "Light Position", "Light Color"], []],
    ["Using", "Effect Light", [], ["Light Type", "Light Position", "Light Color"]],
    ["Light Type", "Distant Light", ["Light Position"], ["Light Direction"]],
  ]) {
    await changing(page, () => page.getByLabel(popup, { exact: true }).getByRole("combobox").selectOption(choice));
    for (const name of off) assert.equal(await isOff(name), "true", `${name} with ${choice}`);
    for (const name of on) assert.equal(await isOff(name), "false", `${name} with ${choice}`);
    assert.equal(await page.locator('.row[aria-label="Wobble Width"] input[type=range]').isDisabled(), (await isOff("Wobble Width")) === "true");
  }
});

test("all is undone and done again from the keyboard; values are tried, keyed, stepped and reset", async () => {
  const page = await start(["honey.json", "cloth.jpg"], "honey.json");
  const first = await revision(page);
  const row = page.locator('.row[aria-label="Stroke Width"]');
  const slider = row.getByRole("slider");
  await slider.scrollIntoViewIfNeeded();
  const box = await slider.boundingBox();
  await changing(page, async () => {
    await page.mouse.move(box.x + box.width / 2, box.y + 14);
    await page.mouse.down();
    await page.mouse.move(box.x + box.width * 0.7, box.y + 14, { steps: 12 });
    await page.mouse.up();
  });
  await page.locator("#to-start").click();
  await changing(page, () => row.getByLabel("key of Stroke Width", { exact: true }).click());
  await page.locator("#to-end").click();
  await changing(page, async () => {
    await row.locator("input.number").fill("25");
    await row.locator("input.number").press("Enter");
  });
  const { keys } = (await scene(page)).controls["Stroke Width"];
  assert.equal(keys.length, 2);
  assert.equal(keys[1].value, 25);
  await row.getByLabel("key of Stroke Width before this frame").click();
  assert.equal(await frame(page), 0);
  await changing(page, () => row.locator(".name").dblclick());
  assert.equal((await scene(page)).controls["Stroke Width"], undefined);
  await changing(page, () => page.getByLabel("look neon", { exact: true }).click());
  await page.locator("#stage").focus();
  const last = await revision(page);
  let steps = 0;
  for (; await page.locator("#undo").isEnabled(); ++steps) await changing(page, () => page.keyboard.press("Control+z"));
  assert.equal(await revision(page), first);
  assert.ok(await page.locator("#unsaved").isHidden());
  for (; steps > 0; --steps) await changing(page, () => page.keyboard.press("Control+Shift+z"));
  assert.equal(await revision(page), last);
  assert.ok(await page.locator("#redo").isDisabled());
});

test("keys are dragged on the picture and in time, added, copied, deleted; nothing else shifts", async () => {
  const page = await start(["honey.json", "cloth.jpg"], "honey.json");
  const keysOf = async () => (await scene(page)).controls["Brush Position"].keys;
  const before = await keysOf();
  const drag = async (locator, dx, dy) => {
    const box = await locator.boundingBox();
    await page.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
    await page.mouse.down();
    await page.mouse.move(box.x + box.width / 2 + dx, box.y + box.height / 2 + dy, { steps: 6 });
    await page.mouse.up();
  };
  await changing(page, () => drag(page.locator("#overlay .key").nth(2), 40, 30));
  let now = await keysOf();
  assert.ok(now[2].value[0] > before[2].value[0] + 20 && now[2].value[1] > before[2].value[1] + 20);
  assert.deepEqual(now.toSpliced(2, 1), before.toSpliced(2, 1));
  await changing(page, () => drag(page.locator("#overlay .tip").first(), 0, -40));
  assert.notDeepEqual((await keysOf())[2].in_tangent, now[2].in_tangent);
  now = await keysOf();
  await changing(page, () => drag(page.locator("#rows .dot").nth(2), 12, 0));
  const retimed = await keysOf();
  assert.ok(retimed[2].time > now[2].time && retimed[2].time < now[3].time);
  assert.deepEqual(retimed.map((key) => key.value), now.map((key) => key.value));
  await changing(page, () => drag(page.locator("#rows .dot").nth(2), 900, 0)); // not past its neighbour
  assert.ok((await keysOf())[2].time < now[3].time);
  await page.locator("#rows .dot").nth(5).focus();
  await changing(page, () => page.keyboard.press("ArrowRight"));
  await changing(page, () => page.keyboard.press("Delete"));
  assert.equal((await keysOf()).length, before.length - 1);
  await page.locator("#stage").focus();
  await page.keyboard.press("Home");
  for (let i = 0; i < 11; ++i) await page.keyboard.press("ArrowRight");
  await rested(page);
  const where = await page.evaluate(async () => (await import("/store.js")).store.state.values["Brush Position"]);
  await changing(page, () => page.keyboard.press("k"));
  const added = (await keysOf()).find((key) => Math.abs(key.time - 11 / 30) < 1e-3);
  assert.ok(Math.hypot(added.value[0] - where[0], added.value[1] - where[1]) < 3); // the way stays
  await changing(page, () => page.getByLabel("ease of the key").selectOption("smooth"));
  await page.keyboard.press("Escape");
  await page.locator("#stage").focus();
  for (let i = 0; i < 5; ++i) await page.keyboard.press("ArrowRight");
  await changing(page, () => page.keyboard.press("d"));
  assert.equal((await keysOf()).length, before.length + 1);
});

test("a clip is scrubbed and played", async () => {
  const clip = join(tmpdir(), "vorlin_clip.mp4");
  execFileSync("ffmpeg", ["-v", "error", "-y", "-f", "lavfi", "-i", "testsrc2=s=320x180:r=25:d=2", "-pix_fmt", "yuv420p", clip]);
  const page = await start([clip], "vorlin_clip.mp4");
  assert.equal(await page.locator("#scrub").getAttribute("aria-valuemax"), "49");
  const first = await pixels(page);
  await page.keyboard.press("End");
  await rested(page);
  assert.ok(!first.equals(await pixels(page)));
  await page.waitForFunction(() => document.querySelector("#ready").dataset.count === "50", null, { timeout: 20000 });
  await page.keyboard.press("l");
  await page.keyboard.press("Home");
  const began = Date.now();
  await page.keyboard.press(" ");
  await page.waitForFunction(() => document.querySelector("#play").getAttribute("aria-label") === "pause");
  await page.waitForFunction(() => document.querySelector("#play").getAttribute("aria-label") === "play", null, { timeout: 10000 });
  assert.equal(await frame(page), 49);
  assert.ok(Date.now() - began > 1800);
});

test("lights, looks, drawings, what is behind, and export", async () => {
  const page = await start(["honey.json", "cloth.jpg", "letters.svg"], "honey.json");
  const row = page.locator('.row[aria-label="Stroke Width"] input.number');
  await changing(page, async () => (await row.fill("9"), await row.press("Enter")));
  await changing(page, () => page.locator("#add-light").selectOption("spot"));
  await page.locator("#overlay .light.position").focus();
  await changing(page, () => page.keyboard.press("Shift+ArrowRight"));
  assert.equal((await scene(page)).lights[0].position[0], 250);
  await changing(page, () => page.getByLabel("remove light 1").click());
  await changing(page, () => page.locator("#open-drawing").setInputFiles(join(SCENES, "letters.svg")));
  assert.ok((await scene(page)).pen.length > 1);
  const over = await pixels(page);
  await page.locator("#over").selectOption("checker");
  await page.waitForTimeout(300);
  await rested(page);
  assert.ok(!over.equals(await pixels(page)));
  await page.locator("#save-look").click();
  await page.locator("#look-name").fill("mine");
  await page.locator("#look-form button").click();
  await page.getByLabel("look mine", { exact: true }).waitFor();
  const { controls } = JSON.parse(readFileSync(join(studio.folder, "looks/mine.json")));
  assert.deepEqual(Object.keys(controls), ["Stroke Width"]); // a look has no way of its own
  await page.keyboard.press("e");
  await page.locator("[name=kind]").selectOption("frame");
  await page.locator("[name=output]").fill("one");
  await page.locator("#export-form button.main").click();
  await page.waitForFunction(() => /export is done/.test(document.querySelector("#message").textContent), null, { timeout: 20000 });
  assert.ok(existsSync(join(studio.folder, "one.png")));
});

test("other programs, other tabs and a killed worker are survived", async () => {
  const page = await start(["honey.json", "cloth.jpg"], "honey.json");
  const file = join(studio.folder, "honey.json");
  writeFileSync(file, readFileSync(file, "utf8").replace('"duration": 3.0', '"duration": 2.0'));
  await page.getByRole("button", { name: "Load it" }).click();
  await settled(page, async () => (await import("/store.js")).store.state.frames === 60);
  const other = await studio.openPage();
  await changing(other, () => other.getByLabel("look ink", { exact: true }).click());
  const theirs = await revision(other);
  await settled(page, async (wanted) => (await import("/store.js")).store.state.revision === wanted, theirs);
  await other.close();
  const [worker] = readFileSync(`/proc/${studio.server.pid}/task/${studio.server.pid}/children`, "utf8").trim().split(" ");
  process.kill(Number(worker), "SIGKILL");
  await page.keyboard.press("Home");
  await page.waitForFunction(() => /signal 9/.test(document.querySelector("#message").textContent));
  await page.keyboard.press("End");
  await page.waitForFunction(() => /ms/.test(document.querySelector("#speed").textContent));
});

test("it can be read and reached at three sizes", async () => {
  for (const size of [[1280, 720], [1920, 1080], [834, 1112]]) {
    const page = await start(["honey.json", "cloth.jpg"], "honey.json", { size });
    const { small, nameless, wide } = await page.evaluate(() => {
      const shown = [...document.querySelectorAll("body *")].filter((e) => e.checkVisibility());
      const hasText = (e) => [...e.childNodes].some((n) => n.nodeType === 3 && n.textContent.trim());
      return {
        small: shown.filter((e) => hasText(e) && parseFloat(getComputedStyle(e).fontSize) < 12).map((e) => e.outerHTML.slice(0, 80)),
        nameless: shown
          .filter((e) => e.matches("button, input, select, [role=slider]"))
          .filter((e) => !(e.getAttribute("aria-label") || e.textContent.trim() || e.labels?.length))
          .map((e) => e.outerHTML.slice(0, 80)),
        wide: document.documentElement.scrollWidth > innerWidth || document.querySelector("aside").scrollWidth > document.querySelector("aside").clientWidth,
      };
    });
    assert.deepEqual({ small, nameless, wide }, { small: [], nameless: [], wide: false }, String(size));
    await studio.close();
    studio = null;
  }
});
