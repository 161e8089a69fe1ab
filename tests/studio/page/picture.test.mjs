// The picture: what the canvas shows, zoom, backgrounds, before and after, handles.

import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import path from "node:path";
import { after, afterEach } from "node:test";
import { assertSamePicture, detail, essential, isSamePicture, useStudio, writeTitle } from "./support.mjs";

const used = useStudio(["--project", "title.json"], (folder) => {
  writeTitle(folder, { parameters: { "color-inner": "#ffe080", "crop-left": 0.05 } });
  execFileSync("ffmpeg", ["-v", "error", "-f", "lavfi", "-i", "testsrc=size=320x180", "-frames:v", "1", path.join(folder, "plate.png")]);
});
afterEach(async () => {
  await used.page.press("1");
  await used.page.settled();
});
after(() => assert.deepEqual(used.page.errors, []));

const render = (words) => {
  used.studio.render(["--project", "title.json", "-o", "expected.png", ...words]);
  return used.studio.pixelsOf("expected.png");
};
const choose = async (name) => {
  await used.page.page.select("#background select", name);
  await used.page.settled();
};
const zoomValue = async () => parseInt((await used.page.texts("#zoom-value"))[0], 10);

essential("At 100 % the canvas shows what the command writes, pixel by pixel", async () => {
  const { page } = used;
  await page.press("1");
  await choose("white");
  for (const frame of [1, 17, 48]) {
    await page.goTo(frame);
    await page.settled();
    assertSamePicture(await page.picture(), render(["--frames", String(frame), "--over", "#ffffff"]));
  }
});

essential("Backgrounds lie behind the fire as the command lays them", async () => {
  const { page } = used;
  await page.press("1");
  await page.press("Home");
  await choose("black");
  assertSamePicture(await page.picture(), render(["--frames", "1", "--over", "#000000"]));
  await page.page.select("#background select", "color");
  await page.type("#background .hex", "#205080");
  await page.settled();
  assertSamePicture(await page.picture(), render(["--frames", "1", "--over", "#205080"]));
  await page.page.select("#background select", "file");
  await page.click('dialog [data-path="plate.png"]');
  await page.click("dialog .is-primary");
  await page.settled();
  assertSamePicture(await page.picture(), render(["--frames", "1", "--over", "plate.png"]));
});

detail("The checkerboard is behind the fire only", async () => {
  await choose("black");
  const black = await used.page.picture();
  await choose("checker");
  const checker = await used.page.picture();
  assert.ok(!isSamePicture(black, checker));
  const corners = new Set([0, 8, 16, 24].map((x) => checker.pixels[x * 4]));
  assert.ok(corners.size > 1, "the corner of the picture shows no squares");
});

detail("Fit and 100 % by key and button, the wheel zooms around the pointer", async () => {
  const { page } = used;
  await page.press("f");
  const fitted = await zoomValue();
  assert.ok(fitted > 100, `a small picture fits larger, not at ${fitted} %`);
  await page.click("#zoom-full");
  assert.equal(await zoomValue(), 100);
  const spot = await page.pointOf(".handles", { x: 0.25, y: 0.25 });
  await page.mouse.move(spot.x, spot.y);
  await page.mouse.wheel({ deltaY: -240 });
  await page.until(() => document.querySelector("#zoom-value").textContent === "200 %");
  const moved = await page.pointOf(".handles", { x: 0.25, y: 0.25 });
  assert.ok(Math.hypot(moved.x - spot.x, moved.y - spot.y) < 1.5, "what was under the pointer stays there");
  await page.press("-");
  assert.equal(await zoomValue(), 160);
  await page.click("#zoom-fit");
  assert.equal(await zoomValue(), fitted);
});

detail("Space and drag, and the middle button, move the picture; Space alone plays", async () => {
  const { page } = used;
  const before = await page.pointOf(".handles");
  await page.drag("#stage", 40, 30, { key: "Space", at: { x: 0.5, y: 0.2 } });
  const dragged = await page.pointOf(".handles");
  assert.deepEqual([dragged.x - before.x, dragged.y - before.y].map(Math.round), [40, 30]);
  assert.equal(await page.attribute("#play", "aria-label"), "Play");
  await page.drag("#stage", -15, 10, { button: "middle", at: { x: 0.5, y: 0.2 } });
  const again = await page.pointOf(".handles");
  assert.deepEqual([again.x - dragged.x, again.y - dragged.y].map(Math.round), [-15, 10]);
  await page.press("f");
});

detail("Before and after: the divider parts the source from the fire", async () => {
  const { page } = used;
  await choose("black");
  await page.press("1");
  const fire = await page.picture();
  await page.press("w");
  await page.until(() => !document.querySelector("#divider").hidden);
  await page.settled();
  const left = (picture) => picture.pixels.subarray(0, 4 * 320 * 180).filter((_, at) => (at / 4) % 320 < 150);
  const right = (picture) => picture.pixels.filter((_, at) => (at / 4) % 320 >= 170);
  const half = await page.picture();
  assert.ok(right(half).equals(right(fire)), "the fire stays at the right");
  assert.ok(!left(half).equals(left(fire)), "the source is at the left");
  await page.drag("#divider", 120);
  assert.ok(Number(await page.attribute("#divider", "aria-valuenow")) > 80);
  await page.page.focus("#divider");
  await page.press("Home");
  assert.equal(await page.attribute("#divider", "aria-valuenow"), "0");
  assert.ok(isSamePicture(await page.picture(), fire));
  await page.press("w");
  await page.until(() => document.querySelector("#divider").hidden);
});

detail("Handles move the point and the crops, a gesture at a time", async () => {
  const { page } = used;
  await page.press("1");
  await page.drag(".point-handle", 32, -18);
  await page.until(() => document.querySelector('.row[data-slug="point-attract-repel"] .number input').value === "60");
  assert.equal(await page.undoTitle(), "Undo: Point (Attract <> Repel)");
  await page.drag(".crop-left", 32);
  await page.untilNumber("crop-left", 0.15);
  await page.page.focus(".crop-top");
  await page.press("Shift+ArrowDown");
  await page.untilNumber("crop-top", 0.1);
  for (let step = 0; step < 3; ++step) await page.press("Control+z");
  await page.untilNumber("crop-left", 0.05);
  await page.until(() => document.querySelector('.row[data-slug="point-attract-repel"] .number input').value === "50");
  await page.press("h");
  await page.until(() => document.querySelector(".handles").hidden);
  await page.press("h");
});

detail("The preview says how large it was drawn", async () => {
  const { page } = used;
  await page.press("f");
  await page.page.select("#quality", "quarter");
  await page.until(() => /Quarter size, \d+ ms/.test(document.querySelector("#preview-scale").textContent));
  await page.settled();
  assert.deepEqual(await page.texts("#preview-scale"), ["Full, lossless"]);
  await page.page.select("#quality", "auto");
});
