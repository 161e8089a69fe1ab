// The timeline: keyframes, curves, in and out points, playback.

import assert from "node:assert/strict";
import { after, beforeEach } from "node:test";
import { detail, essential, useStudio, writeTitle } from "./support.mjs";

const glow = [
  { frame: 5, value: 0, ease: "linear" },
  { frame: 21, value: 40, ease: "hold" },
  { frame: 41, value: -20, ease: "linear" },
];
const used = useStudio(["--project", "title.json"], (folder) =>
  writeTitle(folder, { parameters: { glow, "tongue-length": [{ frame: 5, value: 20 }, { frame: 31, value: 60 }] } }),
);
after(() => assert.deepEqual(used.page.errors, []));
beforeEach(async () => {
  const { page } = used;
  if (!page) return;
  await page.page.evaluate(() => document.activeElement.blur());
  await page.press("Escape");
  await page.press("x");
  await page.undoAll();
  await page.press("Home");
});

const key = (slug, index) => `.lane[data-slug="${slug}"] .key:nth-child(${index})`;
const framesOf = (slug) => used.page.page.$$eval(`.lane[data-slug="${slug}"] .key`, (keys) => keys.map((each) => Number(each.dataset.frame)));
const untilFrames = (slug, frames) =>
  used.page.until((name, wanted) => [...document.querySelectorAll(`.lane[data-slug="${name}"] .key`)].map((each) => Number(each.dataset.frame)).join() === wanted, slug, frames.join());
const selected = () => used.page.count(".key.is-selected");
const playhead = async () => Number(await used.page.attribute("#ruler", "aria-valuenow"));
const untilPlayhead = (frame) => used.page.until((wanted) => document.querySelector("#ruler").getAttribute("aria-valuenow") === String(wanted), frame);
/** Notes each frame that the playhead comes to from now on, in window.passed. */
const watchPlayhead = () =>
  used.page.page.evaluate(() => {
    window.passed = [];
    window.watcher?.disconnect();
    const ruler = document.querySelector("#ruler");
    window.watcher = new MutationObserver(() => window.passed.push(Number(ruler.getAttribute("aria-valuenow"))));
    window.watcher.observe(ruler, { attributeFilter: ["aria-valuenow"] });
  });
/** Pixels of a frame. */
const perFrame = async () => {
  const [from, to] = [await used.page.pointOf(key("glow", 1)), await used.page.pointOf(key("glow", 2))];
  return (to.x - from.x) / 16;
};

essential("Animated rows show their keyframes; clicks, Shift and a frame select", async () => {
  const { page } = used;
  assert.deepEqual(await page.texts(".lane-name"), ["Tongue Length", "Glow"]);
  assert.deepEqual(await framesOf("glow"), [5, 21, 41]);
  await page.click(key("glow", 1));
  assert.equal(await selected(), 1);
  await page.page.keyboard.down("Shift");
  await page.click(key("glow", 3));
  await page.page.keyboard.up("Shift");
  assert.equal(await selected(), 2);
  const from = await page.pointOf(key("tongue-length", 1));
  const to = await page.pointOf(key("glow", 2));
  await page.mouse.move(from.x - 12, from.y - 6);
  await page.mouse.down();
  await page.mouse.move(to.x, to.y);
  await page.mouse.move(to.x + 8, to.y + 4);
  await page.mouse.up();
  assert.equal(await selected(), 3, "the frame takes those inside it alone");
  await page.press("Control+a");
  assert.equal(await selected(), 5);
  await page.press("Escape");
  assert.equal(await selected(), 0);
});

essential("Selected keyframes move together, a gesture at a time, and say where they are", async () => {
  const { page } = used;
  await page.press("Control+a");
  const step = await perFrame();
  await page.drag(key("glow", 1), step * 4, 0, { release: false, key: "Alt" });
  assert.match((await page.texts(".drag-label:not([hidden])"))[0], /^9\s+·\s+0$/);
  await page.mouse.up();
  await untilFrames("glow", [9, 25, 45]);
  await untilFrames("tongue-length", [9, 35]);
  assert.equal(await page.undoTitle(), "Undo: Move keyframes");
  await page.press("Control+z");
  await untilFrames("glow", [5, 21, 41]);
  await untilFrames("tongue-length", [5, 31]);
});

detail("A keyframe snaps to the playhead, takes the place of another, and undo brings that back", async () => {
  const { page } = used;
  await page.goTo(13);
  const step = await perFrame();
  await page.drag(key("glow", 1), step * 8 - 4, 0);
  await untilFrames("glow", [13, 21, 41]);
  await page.press("Control+z");
  await untilFrames("glow", [5, 21, 41]);
  await page.drag(key("glow", 1), step * 16, 0, { key: "Alt" });
  await untilFrames("glow", [21, 41]);
  await page.press("Control+z");
  await untilFrames("glow", [5, 21, 41]);
});

detail("Copy, paste at the playhead, delete", async () => {
  const { page } = used;
  await page.click(key("glow", 1));
  await page.page.keyboard.down("Shift");
  await page.click(key("glow", 2));
  await page.page.keyboard.up("Shift");
  await page.press("Control+c");
  await page.goTo(25);
  await page.press("Control+v");
  await untilFrames("glow", [5, 21, 25, 41]);
  await page.press("Control+z");
  await untilFrames("glow", [5, 21, 41]);
  await page.goTo(28);
  await page.click("#paste-keys");
  await untilFrames("glow", [5, 21, 28, 41, 44]);
  await page.press("Delete");
  await untilFrames("glow", [5, 21, 41]);
  await page.click(".lane-name[data-slug=tongue-length]");
  await page.click("#delete-keys");
  await page.until(() => !document.querySelector(".lane[data-slug=tongue-length]"));
});

detail("An ease is chosen for what is selected, and the value follows it", async () => {
  const { page } = used;
  await page.click(key("glow", 1));
  assert.equal(await page.fieldValue("#ease"), "linear");
  await page.goTo(9);
  await page.untilNumber("glow", 10);
  await page.page.select("#ease", "hold");
  await page.untilNumber("glow", 0);
  await page.page.select("#ease", "ease-in");
  await page.until(() => {
    const value = Number(document.querySelector('.row[data-slug="glow"] .number input').value);
    return value > 2 && value < 6;
  });
});

detail("Keyframes by keyboard: focus, select, move, go to", async () => {
  const { page } = used;
  await page.page.focus(key("glow", 1));
  await page.press("ArrowRight");
  await page.press("Space");
  assert.equal(await selected(), 1);
  await page.press("Alt+ArrowRight");
  await untilFrames("glow", [5, 22, 41]);
  await page.press("Alt+Shift+ArrowLeft");
  await untilFrames("glow", [5, 12, 41]);
  await page.press("Enter");
  await untilPlayhead(12);
  await page.press("ArrowUp");
  assert.match(await page.page.evaluate(() => document.activeElement.getAttribute("aria-label")), /^Tongue Length, 5/);
});

detail("The curve view: keys move up and down, handles bend the curve", async () => {
  const { page } = used;
  await page.click("#lane-choice [data-value=curves]");
  await page.click(".lane-name[data-slug=glow]");
  assert.equal(await page.count(".curve-key"), 3);
  await page.drag(".curve-key:nth-child(2)", 0, 30);
  await page.until(() => /Glow, 21: (?!40)/.test(document.querySelector(".curve-key:nth-child(2)").getAttribute("aria-label")));
  assert.deepEqual(await framesOf("glow"), [5, 21, 41]);
  await page.press("Control+z");
  await page.until(() => /Glow, 21: 40/.test(document.querySelector(".curve-key:nth-child(2)").getAttribute("aria-label")));
  await page.click(".curve-key:nth-child(1)");
  const before = await page.attribute(".curve-lines path", "d");
  await page.drag(".curve-arms g:nth-child(1) circle", 30, 20);
  await page.until((path) => document.querySelector(".curve-lines path").getAttribute("d") !== path, before);
  await page.settled();
  assert.equal(await page.fieldValue("#ease"), "bezier");
  await page.page.$eval(".curve-key:nth-child(1)", (node) => node.focus());
  await page.press("ArrowUp");
  await page.until(() => /Glow, 5: 1,/.test(`${document.querySelector(".curve-key:nth-child(1)").getAttribute("aria-label")},`));
  await page.click("#lane-choice [data-value=keys]");
});

essential("Keys of playback: arrows, Shift, Home, End, I, O, comma and point", async () => {
  const { page } = used;
  const steps = [["ArrowRight", 2], ["Shift+ArrowRight", 12], ["ArrowLeft", 11], ["Shift+ArrowLeft", 1], ["End", 48], ["ArrowRight", 48], [",", 41], [",", 31], ["Home", 1], [".", 5]];
  for (const [keys, frame] of steps) {
    await page.press(keys);
    assert.equal(await playhead(), frame, keys);
  }
  await page.press("i");
  await page.goTo(15);
  await page.press("o");
  assert.equal(await page.attribute("#in-mark", "aria-valuenow"), "5");
  assert.equal(await page.attribute("#out-mark", "aria-valuenow"), "15");
  await page.page.focus("#out-mark");
  await page.press("Shift+ArrowLeft");
  assert.equal(await page.attribute("#out-mark", "aria-valuenow"), "5");
  await page.press("x");
  assert.equal(await page.attribute("#out-mark", "aria-valuenow"), "48");
});

detail("The ruler scrubs, counts timecode, zooms and fits", async () => {
  const { page } = used;
  const end = await page.pointOf("#ruler", { x: 0.5, y: 0.5 });
  await page.drag("#ruler", end.x - (await page.pointOf("#ruler", { x: 0.05, y: 0.5 })).x, 0, { at: { x: 0.05, y: 0.5 } });
  const scrubbed = await playhead();
  assert.ok(scrubbed > 15 && scrubbed < 35, String(scrubbed));
  await page.settled();
  await page.goTo(26);
  await page.click("#ruler-choice [data-value=timecode]");
  assert.deepEqual(await page.texts("#now"), ["00:00:01:01"]);
  await page.click("#ruler-choice [data-value=frames]");
  assert.deepEqual(await page.texts("#now"), ["26"]);
  const before = await perFrame();
  await page.click("#timeline-in");
  assert.ok(Math.abs((await perFrame()) / before - 1.5) < 0.05);
  await page.click("#timeline-fit");
  assert.ok(Math.abs((await perFrame()) / before - 1) < 0.01);
});

essential("Playing goes on by the clock within in and out points, from memory the second time", async () => {
  const { page } = used;
  await page.goTo(3);
  await page.press("i");
  await page.goTo(10);
  await page.press("o");
  await watchPlayhead();
  // A slider that was just moved has the focus, and leaves Space to playback.
  await page.page.focus('.row[data-slug="steps"] .slider');
  await page.press("Space");
  await page.until(() => document.querySelector("#play").getAttribute("aria-label") === "Stop");
  // Two times round, however fast the machine is.
  await page.until(() => window.passed.filter((frame, at) => at > 0 && frame < window.passed[at - 1]).length >= 2);
  await page.press("Space");
  await page.until(() => document.querySelector("#play").getAttribute("aria-label") === "Play");
  const passed = await page.page.evaluate(() => window.passed);
  for (const frame of passed) assert.ok(frame >= 3 && frame <= 10, `${frame} lies outside`);
  assert.ok(new Set(passed).size >= 4, `only ${passed} were passed`);
  await page.settled();
});

detail("J, K and L shuttle; every frame is played when that is asked for", async () => {
  const { page } = used;
  await page.press("End");
  await page.press("j");
  await page.until(() => document.querySelector("#ruler").getAttribute("aria-valuenow") < 44);
  await page.press("j");
  assert.deepEqual(await page.texts("#speed"), ["-2×"]);
  await page.press("l");
  assert.deepEqual(await page.texts("#speed"), [""]);
  await page.press("l");
  assert.deepEqual(await page.texts("#speed"), ["2×"]);
  await page.press("k");
  const stopped = await playhead();
  await page.settled();
  assert.equal(await playhead(), stopped);

  await page.goTo(1);
  await page.press("i");
  await page.goTo(12);
  await page.press("o");
  await page.press("Home");
  await page.click("#loop");
  await page.click("#every-frame");
  await watchPlayhead();
  await page.press("Space");
  await page.until(() => document.querySelector("#play").getAttribute("aria-label") === "Play");
  assert.deepEqual(await page.page.evaluate(() => window.passed), [2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12]);
  await page.click("#loop");
  await page.click("#every-frame");
});
