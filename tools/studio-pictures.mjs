// Takes the pictures of docs/studio.md and the README with a real browser. usage: studio-pictures.mjs FOLDER
import { mkdirSync } from "node:fs";
import { join } from "node:path";
import { closeAll, curve, draw, openStudio, rested } from "../tests/studio/browser.mjs";

const folder = process.argv[2];
mkdirSync(folder, { recursive: true });
const { page, close } = await openStudio(["dusk.jpg"], "dusk.jpg");
const filled = () => page.waitForFunction(() => Number(document.querySelector("#ready").dataset.count) >= 60, null, { timeout: 60000 });
async function take(name) {
  await rested(page);
  await page.waitForTimeout(2500); // the looks' small pictures
  await page.screenshot({ path: join(folder, `${name}.png`) });
}

// A hand that writes a loop or two, slower where it turns.
const hand = (t) => [0.09 + 0.8 * t + 0.06 * Math.sin(19 * t), 0.47 - 0.2 * Math.cos(19 * t) + 0.12 * t];
await take("studio-open");
await draw(page, curve(200, hand));
await filled();
await take("studio-draw");
await page.getByLabel("look honey", { exact: true }).click();
await take("studio-look");
await page.locator("[data-choose=edit]").click();
await page.locator("#overlay .key").nth(7).click();
await page.locator("#to-end").click();
await page.getByLabel("key of Stroke Width", { exact: true }).click();
await rested(page);
await page.locator("#to-start").click();
const width = page.locator('.row[aria-label="Stroke Width"] input.number');
await width.fill("4");
await width.press("Enter");
await page.locator("#to-end").click();
await filled();
await take("studio-edit");
await page.keyboard.press("Escape");
await page.locator("#export").click();
await take("studio-export");
await page.locator("#export-close").click();
await close();

const sample = await openStudio(["honey.json", "cloth.jpg"], "honey.json");
await sample.page.getByLabel("look honey", { exact: true }).click();
await rested(sample.page);
await sample.page.locator("#overlay .key").nth(6).click();
await sample.page.locator("#to-end").click();
await sample.page.waitForFunction(() => Number(document.querySelector("#ready").dataset.count) >= 88, null, { timeout: 60000 });
await sample.page.waitForTimeout(2500);
await sample.page.screenshot({ path: join(folder, "studio.png") });
await closeAll();
