// The inspector: every kind of control by mouse and keyboard, keyframes, reset, fields of the scene.

import assert from "node:assert/strict";
import { after } from "node:test";
import { assertSamePicture, detail, essential, useStudio, writeTitle } from "./support.mjs";

const used = useStudio(["--project", "title.json"], (folder) => writeTitle(folder));
after(() => assert.deepEqual(used.page.errors, []));
const row = (slug, part) => `.row[data-slug="${slug}"] ${part}`;
essential("Rows stand in the filter's order, after its header", async () => {
  const { page } = used;
  const labels = await page.texts("#parameters .row-label");
  assert.deepEqual(labels.slice(0, 3), ["Tongues", "Tongue Length", "Turbulence: Amount"]);
  assert.equal(labels.length, 25);
  assert.ok(await page.page.$eval("#parameters > :first-child img", (image) => image.naturalWidth > 20), "the header's picture is there");
});

essential("A slider follows the mouse, is one step of undo, and changes the picture as the command does", async () => {
  const { page, studio } = used;
  await page.press("1");
  await page.page.select("#background select", "black");
  await page.drag(row("glow", ".slider-thumb"), 30);
  const glow = await page.number("glow");
  assert.ok(glow > 50, `the drag went to ${glow}`);
  await page.settled();
  studio.render(["--project", "title.json", "--set", `glow=${glow}`, "--over", "#000000", "--frames", "1", "-o", "expected.png"]);
  assertSamePicture(await page.picture(), studio.pixelsOf("expected.png"));
  assert.equal(await page.undoTitle(), "Undo: Glow");
  await page.press("Control+z");
  await page.untilNumber("glow", 20);
  assert.ok(await page.page.$eval("#undo", (button) => button.disabled), "the drag was one step");
  await page.press("Control+Shift+z");
  await page.untilNumber("glow", glow);
  await page.press("Control+z");
  await page.untilNumber("glow", 20);
});

essential("Keys of a slider: arrows, Shift, Alt, PageUp, Home, End, Delete", async () => {
  const { page } = used;
  await page.page.focus(row("tongue-length", ".slider"));
  const steps = [["ArrowRight", 31], ["ArrowDown", 30], ["Shift+ArrowUp", 40], ["Alt+ArrowLeft", 39.9], ["PageDown", 29.9], ["End", 100], ["PageUp", 100], ["Home", 0], ["Delete", 30]];
  for (const [key, value] of steps) {
    await page.press(key);
    await page.untilNumber("tongue-length", value);
    assert.equal(Number(await page.attribute(row("tongue-length", ".slider"), "aria-valuenow")), value);
  }
  await page.undoAll();
});

detail("Every slider of the inspector moves its parameter, and a double click takes it back", async () => {
  const { page } = used;
  const slugs = await page.page.$$eval(".row:has(.slider)", (rows) => rows.map((each) => each.dataset.slug));
  assert.ok(slugs.length >= 16, `${slugs.length} sliders`);
  for (const slug of slugs) {
    const before = await page.number(slug);
    await page.drag(row(slug, ".slider-thumb"), before > 50 ? -20 : 20);
    const moved = await page.number(slug);
    assert.notEqual(moved, before, slug);
    assert.ok(await page.page.$eval(`.row[data-slug="${slug}"]`, (node) => node.classList.contains("is-set")));
    await page.click(row(slug, ".row-label"), { count: 2 });
    await page.untilNumber(slug, before);
  }
  await page.undoAll();
});

detail("A number is dragged; Shift and Alt change the pace from where it is", async () => {
  const { page } = used;
  const input = row("glow", ".number input");
  const { x, y } = await page.pointOf(input);
  await page.mouse.move(x, y);
  await page.mouse.down();
  await page.mouse.move(x + 5, y);
  const first = await page.number("glow");
  assert.equal(first, 25);
  await page.page.keyboard.down("Shift");
  await page.mouse.move(x + 6, y);
  assert.equal(await page.number("glow"), 35, "the change of pace makes no jump");
  await page.page.keyboard.up("Shift");
  await page.page.keyboard.down("Alt");
  await page.mouse.move(x + 7, y);
  assert.equal(await page.number("glow"), 35.1);
  await page.page.keyboard.up("Alt");
  await page.mouse.up();
  await page.settled();
  await page.undoAll();
  assert.equal(await page.number("glow"), 20);
});

detail("A number is typed, reckoned with, limited, and given up with Escape", async () => {
  const { page } = used;
  const input = row("turbulence-amount", ".number input");
  for (const [text, value] of [["42", 42], ["40+2,5", 42.5], ["500", 100], ["nonsense", 100]]) {
    await page.type(input, text);
    await page.untilNumber("turbulence-amount", value);
  }
  await page.type(input, "7", "Escape");
  await page.settled();
  assert.equal(await page.number("turbulence-amount"), 100);
  await page.click(input);
  assert.ok(await page.page.$eval(input, (node) => document.activeElement === node), "a click lets type");
  await page.press("ArrowDown");
  await page.untilNumber("turbulence-amount", 99);
  await page.press("Escape");
  await page.undoAll();
});

detail("A dial turns with the mouse past a whole turn, and with keys", async () => {
  const { page } = used;
  const { x, y } = await page.pointOf(row("direction", ".dial"));
  await page.mouse.move(x, y - 14);
  await page.mouse.down();
  for (let turn = 0; turn <= 400; turn += 20) await page.mouse.move(x - 14 * Math.sin((turn * Math.PI) / 180), y - 14 * Math.cos((turn * Math.PI) / 180));
  await page.mouse.up();
  assert.ok(Math.abs((await page.number("direction")) - 400) <= 3, `it is at ${await page.number("direction")}`);
  await page.page.focus(row("direction", ".dial"));
  const before = await page.number("direction");
  await page.press("Shift+ArrowRight");
  await page.untilNumber("direction", before + 10);
  await page.click(row("direction", ".dial"), { count: 2 });
  await page.untilNumber("direction", 0);
  await page.undoAll();
});

detail("A colour is picked in the field, by hue, by numbers and as #rrggbb", async () => {
  const { page } = used;
  const hex = () => page.fieldValue(row("color-outer", ".hex"));
  await page.type(row("color-outer", ".hex"), "#2060ff");
  await page.settled();
  assert.equal(await page.page.$eval(row("color-outer", ".well"), (node) => getComputedStyle(node).backgroundColor), "rgb(32, 96, 255)");
  await page.click(row("color-outer", ".well"));
  const field = await page.pointOf(".picker-field", { x: 0.5, y: 0.5 });
  await page.mouse.click(field.x, field.y);
  await page.until(() => document.querySelector('.row[data-slug="color-outer"] .hex').value !== "#2060ff");
  const middle = await hex();
  assert.match(middle, /^#[34]/, "half as saturated, half as bright");
  const hue = await page.pointOf(".picker-hue", { x: 0.34, y: 0.5 });
  await page.mouse.click(hue.x, hue.y);
  await page.until((before) => document.querySelector('.row[data-slug="color-outer"] .hex').value !== before, middle);
  await page.type(".picker-number:nth-child(1) input", "255");
  await page.until(() => document.querySelector('.row[data-slug="color-outer"] .hex').value.startsWith("#ff"));
  await page.press("Escape");
  await page.press("Escape");
  if (await page.count(".picker")) await page.click("#now");
  await page.until(() => !document.querySelector(".picker"));
  await page.settled();
  await page.undoAll();
  assert.equal(await hex(), "#ff0000");
});

detail("A point is moved on its pad, with keys and by numbers", async () => {
  const { page } = used;
  const x = () => page.fieldValue(row("point-attract-repel", ".point-number:nth-child(2) input"));
  const spot = await page.pointOf(row("point-attract-repel", ".pad"), { x: 0.25, y: 0.25 });
  await page.mouse.click(spot.x, spot.y);
  await page.settled();
  assert.ok(Math.abs(Number(await x()) - 25) < 2, await x());
  await page.type(row("point-attract-repel", ".point-number:nth-child(2) input"), "80");
  await page.settled();
  await page.page.focus(row("point-attract-repel", ".pad"));
  await page.press("Shift+ArrowLeft");
  await page.until(() => document.querySelector('.row[data-slug="point-attract-repel"] .point-number input').value === "70");
  await page.undoAll();
});

detail("A menu chooses its entry", async () => {
  const { page } = used;
  await page.page.select(row("source-mode", "select"), "1");
  await page.settled();
  assert.equal(await page.undoTitle(), "Undo: Source: Mode");
  await page.undoAll();
  assert.equal(await page.fieldValue(row("source-mode", "select")), "0");
});

detail("The header opens the address that the filter wants opened, in a tab of its own", async () => {
  const { page, browser } = used;
  const opened = new Promise((resolve) => browser.once("targetcreated", resolve));
  await page.click(".header-button");
  const tab = await (await opened).page();
  await tab.waitForFunction(() => location.href !== "about:blank", { timeout: 5000 }).catch(() => {});
  assert.match(tab.url(), /morvane\.example|chrome-error/);
  await tab.close();
  await page.page.bringToFront();
});

detail("Diamonds set, show and remove keyframes at the playhead", async () => {
  const { page } = used;
  const diamond = row("glow", ".diamond");
  await page.press("Home");
  await page.click(diamond);
  await page.until(() => document.querySelector('.row[data-slug="glow"] .diamond').getAttribute("aria-pressed") === "true");
  await page.goTo(21);
  assert.equal(await page.attribute(diamond, "aria-pressed"), "false");
  await page.type(row("glow", ".number input"), "60");
  await page.until(() => document.querySelectorAll(".lane[data-slug=glow] .key").length === 2);
  await page.goTo(11);
  await page.untilNumber("glow", 40);
  await page.goTo(21);
  await page.click(diamond);
  await page.until(() => document.querySelectorAll(".lane[data-slug=glow] .key").length === 1);
  await page.undoAll();
  await page.press("Home");
});

detail("Rows tell their range and what they do", async () => {
  const title = await used.page.attribute(row("glow", ".row-label"), "title");
  assert.match(title, /Range: -100 to 100/);
  assert.match(title, /^How bright the fire is/);
  assert.match(await used.page.attribute('.row[data-slug="glow"]', "aria-description"), /^How bright the fire is/);
});

essential("Fields of the scene are set, refused with a reason beside them, and cleared", async () => {
  const { page } = used;
  await page.click("#tab-scene");
  const field = (key, part) => `.scene-field[data-key="${key}"] ${part}`;
  await page.type(field("size", "input"), "200x100");
  await page.until(() => document.querySelector("#size").textContent === "200 × 100");
  await page.type(field("seed", "input"), "minus one");
  await page.until(() => document.querySelector('.scene-field[data-key="seed"] .problem').textContent.length > 10);
  assert.equal(await page.attribute(field("seed", "input"), "aria-invalid"), "true");
  await page.type(field("seed", "input"), "7");
  await page.until(() => document.querySelector('.scene-field[data-key="seed"] .problem').textContent === "");
  await page.click(field("seed", ".clear"));
  await page.until(() => document.querySelector('.scene-field[data-key="seed"] input').value === "");
  await page.click(field("loop", "input"));
  await page.until(() => document.querySelector("#undo").title === "Undo: Loop");
  await page.page.select(field("burn", "select"), "shape");
  await page.until(() => document.querySelector("#undo").title === "Undo: Burn");
  await page.undoAll();
  await page.until(() => document.querySelector("#size").textContent === "320 × 180");
  await page.click("#tab-fire");
});

detail("Tab goes through the controls in order, and each shows its focus", async () => {
  const { page } = used;
  await page.page.focus(row("tongues", ".slider"));
  const seen = [];
  for (let step = 0; step < 4; ++step) {
    seen.push(await page.page.evaluate(() => document.activeElement.getAttribute("aria-label")));
    await page.press("Tab");
  }
  assert.deepEqual(seen, ["Tongues", "Tongues", "Keyframe for Tongues", "Tongue Length"]);
});
