// What burns, and the looks: text, files, patterns, presets.

import assert from "node:assert/strict";
import fs from "node:fs";
import path from "node:path";
import { after } from "node:test";
import { assertSamePicture, detail, essential, isSamePicture, useStudio, writeTitle } from "./support.mjs";

const drawing = (colour) => `<svg xmlns="http://www.w3.org/2000/svg" width="320" height="180"><circle cx="160" cy="120" r="40" fill="${colour}"/></svg>`;
const used = useStudio(["--project", "title.json"], (folder) => {
  writeTitle(folder);
  fs.mkdirSync(path.join(folder, "logos"));
  fs.writeFileSync(path.join(folder, "logos/dot.svg"), drawing("#fff"));
  fs.writeFileSync(path.join(folder, "notes.txt"), "no picture");
});
after(() => assert.deepEqual(used.page.errors, []));

const matches = async (words) => {
  const { page, studio } = used;
  await page.page.evaluate(() => document.activeElement.blur());
  await page.press("1");
  await page.page.select("#background select", "black");
  await page.settled();
  studio.render([...words, "--over", "#000000", "--frames", "1", "-o", "expected.png"]);
  assertSamePicture(await page.picture(), studio.pixelsOf("expected.png"));
};

essential("A title is typed, and burns while it is typed", async () => {
  const { page } = used;
  await page.click("#tab-input");
  const before = await page.picture();
  await page.type("#input textarea", "Hot\\\nICE", "Escape");
  await page.settled();
  assert.ok(!isSamePicture(before, await page.picture()));
  assert.equal(await page.undoTitle(), "Undo: Text");
  await matches(["--project", "title.json", "--text", "Hot\\\\\\nICE"]);
});

detail("Font, style, size, colour, alignment and padding", async () => {
  const { page } = used;
  await page.page.select("#input .field:nth-of-type(2) select", "Serif");
  await page.page.select("#input .field-pair select", "Italic");
  await page.type("#input .field-pair .number input", "40");
  await page.type("#input .hex", "#ffc080");
  await page.click("#input .segment[data-value=right]");
  await page.type('#input [aria-label="Padding"]', "10,20");
  await page.until(() => document.querySelector("#size").textContent === "360 × 200");
  await matches(["--project", "title.json", "--text", "Hot\\\\\\nICE", "--font", "Serif Italic 40", "--text-color", "#ffc080", "--text-align", "right", "--pad", "10,20"]);
});

detail("A pattern burns in the place of the text", async () => {
  const { page } = used;
  await page.click("#input .segment[data-value=pattern]");
  await page.click("[data-pattern=circle]");
  await page.until(() => document.querySelector("[data-pattern=circle]").getAttribute("aria-pressed") === "true");
  await page.settled();
  assert.ok(await page.page.$eval("#problem", (node) => node.hidden), "it is drawn");
  await matches(["--input-test-pattern", "circle", "--size", "320x180", "--pad", "10,20"]);
});

detail("A file is found in a folder and burns", async () => {
  const { page } = used;
  await page.click("#input .segment[data-value=file]");
  await page.until(() => document.querySelector('[data-path="logos"]'));
  assert.equal(await page.count('[data-path="notes.txt"]'), 0, "what can't burn is not offered");
  await page.click('#input [data-path="logos"]');
  await page.until(() => document.querySelector('#input [data-path="logos/dot.svg"]'));
  await page.page.focus('#input [data-path="logos/dot.svg"]');
  await page.press("Enter");
  await page.until(() => document.querySelector(".current-file").textContent === "Burns: logos/dot.svg");
  await page.settled();
});

essential("A file that is dropped on the page is taken in and burns", async () => {
  const { page, studio } = used;
  await page.page.evaluate((text) => {
    const data = new DataTransfer();
    data.items.add(new File([text], "dropped.svg", { type: "image/svg+xml" }));
    for (const type of ["dragover", "drop"]) document.body.dispatchEvent(new DragEvent(type, { dataTransfer: data, bubbles: true, cancelable: true }));
  }, drawing("#8f8"));
  await page.until(() => /dropped\.svg$/.test(document.querySelector(".current-file").textContent));
  const burns = (await page.texts(".current-file"))[0].replace("Burns: ", "");
  assert.equal(fs.readFileSync(path.join(studio.folder, burns), "utf8"), drawing("#8f8"));
  await page.settled();
});

detail("A file that is no picture is refused with a reason, and nothing changes", async () => {
  const { page } = used;
  const before = await page.texts(".current-file");
  await page.page.evaluate(() => {
    const data = new DataTransfer();
    data.items.add(new File(["no picture"], "broken.png", { type: "image/png" }));
    document.body.dispatchEvent(new DragEvent("drop", { dataTransfer: data, bubbles: true, cancelable: true }));
  });
  await page.until(() => [...document.querySelectorAll(".toast.is-error")].some((toast) => toast.textContent.length > 10) || !document.querySelector("#problem").hidden);
  if (await page.page.$eval("#problem", (node) => node.hidden)) assert.deepEqual(await page.texts(".current-file"), before);
  else await page.press("Control+z");
  await page.settled();
});

essential("Presets are drawn with the document's own title, and one is put on", async () => {
  const { page } = used;
  await page.click("#tab-presets");
  await page.until(() => document.querySelectorAll(".preset img:not([hidden])").length === 25);
  const sizes = await page.page.$$eval(".preset img", (images) => images.map((image) => image.naturalWidth));
  assert.ok(Math.min(...sizes) > 50, String(sizes));
  await page.click(".preset[data-name=torch]");
  await page.until(() => document.querySelector(".preset[data-name=torch]").getAttribute("aria-pressed") === "true");
  await page.untilNumber("tongues", 18);
  assert.equal(await page.undoTitle(), "Undo: Preset torch");
  await page.press("Control+z");
  await page.untilNumber("tongues", 6);
});

detail("A look is saved as a preset of one's own", async () => {
  const { page } = used;
  await page.type('.row[data-slug="tongues"] .number input', "9");
  await page.click("#save-preset");
  await page.type("dialog .field:nth-of-type(1) input", "nine", "Tab");
  await page.page.keyboard.type("Nine tongues");
  await page.click("dialog .is-primary");
  await page.until(() => document.querySelector(".preset[data-name=nine] .badge"));
  await page.press("Control+z");
  await page.untilNumber("tongues", 6);
  await page.click(".preset[data-name=nine]");
  await page.untilNumber("tongues", 9);
});
