// Projects, undo over several pages, and what survives a studio that ends.

import assert from "node:assert/strict";
import fs from "node:fs";
import path from "node:path";
import { after } from "node:test";
import { detail, essential, open, useStudio, writeTitle } from "./support.mjs";

const used = useStudio(["--project", "title.json"], (folder) => writeTitle(folder));
after(() => assert.deepEqual(used.page.errors, []));

const isDirty = () => used.page.page.$eval("#title", (node) => node.classList.contains("is-dirty"));
const untilTitle = (name, dirty) =>
  used.page.until((wanted, mark) => document.querySelector(".file-title").textContent === wanted && document.querySelector("#title").classList.contains("is-dirty") === mark, name, dirty);
const glow = (value) => used.page.type('.row[data-slug="glow"] .number input', String(value));
const projectOf = (name) => JSON.parse(fs.readFileSync(path.join(used.studio.folder, name), "utf8"));

essential("A change marks the document, saving takes the mark away, and the file holds it", async () => {
  const { page } = used;
  await untilTitle("title.json", false);
  await glow(44);
  await untilTitle("title.json", true);
  assert.match(await page.page.title(), /^• title\.json/);
  await page.press("Control+s");
  await untilTitle("title.json", false);
  assert.equal(projectOf("title.json").parameters.glow, 44);
});

detail("Save as asks for a name and does not replace unasked; a project is opened again", async () => {
  const { page } = used;
  await glow(45);
  await page.press("Control+Shift+s");
  await page.type("dialog .field input", "other", "Enter");
  await untilTitle("other.json", false);
  assert.equal(projectOf("other.json").parameters.glow, 45);
  await glow(46);
  await page.press("Control+Shift+s");
  await page.type("dialog .field input", "title.json", "Enter");
  await page.until(() => document.querySelector("dialog .is-primary").textContent === "Replace it");
  assert.equal(projectOf("title.json").parameters.glow, 44);
  await page.press("Escape");
  await page.until(() => !document.querySelector("dialog"));

  await page.press("Control+o");
  await page.click('dialog [data-path="title.json"]', { count: 2 });
  await page.until(() => document.querySelectorAll("dialog").length === 2);
  await page.click("dialog.is-small .is-primary");
  await untilTitle("title.json", false);
  await page.untilNumber("glow", 44);
});

detail("Keys alone: the menu saves, the sheet of shortcuts opens and closes", async () => {
  const { page } = used;
  await page.page.focus("#title");
  await page.press("Enter");
  await page.press("End");
  await page.press("ArrowUp");
  assert.equal(await page.page.evaluate(() => document.activeElement.textContent), "Open in another browser…");
  await page.press("Escape");
  assert.equal(await page.page.evaluate(() => document.activeElement.id), "title");
  await page.page.evaluate(() => document.activeElement.blur());
  await page.press("?");
  await page.until(() => document.querySelectorAll("dialog.is-shortcuts kbd").length > 40);
  await page.press("Escape");
  await page.until(() => !document.querySelector("dialog"));
});

detail("The theme is chosen and stays", async () => {
  const { page } = used;
  const ground = () => page.page.evaluate(() => getComputedStyle(document.body).backgroundColor);
  await page.click("#theme");
  assert.equal(await page.attribute("html", "data-theme"), "dark");
  const dark = await ground();
  await page.click("#theme");
  assert.equal(await page.attribute("html", "data-theme"), "light");
  assert.notEqual(await ground(), dark);
  await page.page.reload();
  await page.settled();
  assert.equal(await page.attribute("html", "data-theme"), "light");
  await page.click("#theme");
});

essential("Two pages show one document, and share its undo", async () => {
  const { page, browser } = used;
  const other = await open(browser, `http://127.0.0.1:${used.studio.port}/`);
  await page.page.bringToFront();
  await page.type('.row[data-slug="tongues"] .number input', "11");
  await other.untilNumber("tongues", 11);
  assert.equal(await other.undoTitle(), "Undo: Tongues");
  const playhead = await page.attribute("#ruler", "aria-valuenow");
  await other.page.bringToFront();
  await other.press("End");
  await other.press("Control+z");
  await page.untilNumber("tongues", 6);
  await page.page.bringToFront();
  assert.equal(await page.attribute("#ruler", "aria-valuenow"), playhead, "each page has its own playhead");
  await page.settled();
  assert.deepEqual(other.errors, []);
  await other.page.close();
});

essential("A browser without WebSocket is told what it lacks", async () => {
  const page = await used.browser.newPage();
  const errors = [];
  page.on("pageerror", (error) => errors.push(error.message));
  await page.evaluateOnNewDocument(() => delete window.WebSocket);
  await page.goto(`http://127.0.0.1:${used.studio.port}/`);
  await page.waitForFunction(() => !document.querySelector("#lost").hidden);
  assert.equal(await page.$eval("#lost-title", (node) => node.textContent), "This browser can't connect");
  assert.match(await page.$eval("#lost-words", (node) => node.textContent), /no WebSocket/);
  assert.ok(await page.$eval("#retry", (node) => node.hidden), "trying again helps nobody");
  assert.deepEqual(errors, []);
  await page.close();
  await used.page.page.bringToFront();
});

detail("Another browser is let in by an address that works once", async () => {
  const { page, browser } = used;
  await page.click("#title");
  await page.press("End");
  await page.press("ArrowUp");
  await page.press("Enter");
  await page.until(() => document.querySelector("dialog .command")?.value.startsWith("http://127.0.0.1:"));
  const address = await page.fieldValue("dialog .command");
  await page.press("Escape");
  const context = await browser.createBrowserContext();
  const other = await open(context, address);
  await context.close();
  assert.deepEqual(other.errors, []);
});

essential("A studio that was killed offers what was not saved, and the page comes back by itself", async () => {
  const { page, studio } = used;
  await page.goTo(12);
  await page.press("1");
  await page.type('.row[data-slug="tongues"] .number input', "23");
  await page.settled();
  assert.ok(await isDirty());
  // The document is written beside every half second.
  await new Promise((resolve) => setTimeout(resolve, 1500));
  await studio.stop("SIGKILL");
  await page.until(() => !document.querySelector("#lost").hidden);
  assert.deepEqual(await page.texts("#lost-title"), ["Connection lost"]);
  await studio.start();
  await page.until(() => document.querySelector("#lost").hidden);
  await page.until(() => /Recover/.test(document.querySelector("dialog h2")?.textContent ?? ""));
  await page.click("dialog .is-primary");
  await page.untilNumber("tongues", 23);
  await page.settled();
  assert.equal(await page.attribute("#ruler", "aria-valuenow"), "12", "the playhead is where it was");
  assert.deepEqual(await page.texts("#zoom-value"), ["100 %"]);
  assert.ok(await isDirty());
});

detail("Of two pages the first answer to the offer counts, and closes it on the other", async () => {
  const { page, studio, browser } = used;
  for (const [title, tongues] of [["Discard", 6], ["Recover", 31]]) {
    await page.type('.row[data-slug="tongues"] .number input', "31");
    await page.settled();
    await new Promise((resolve) => setTimeout(resolve, 1500));
    await studio.stop("SIGKILL");
    await page.until(() => !document.querySelector("#lost").hidden);
    await studio.start();
    await page.until(() => /Recover/.test(document.querySelector("dialog h2")?.textContent ?? ""));
    const other = await open(browser, `http://127.0.0.1:${studio.port}/`);
    // Closing is no answer: another page is still asked.
    await page.page.bringToFront();
    await page.press("Escape");
    await page.until(() => !document.querySelector("dialog"));
    await page.page.reload();
    await page.until(() => /Recover/.test(document.querySelector("dialog h2")?.textContent ?? ""));
    await other.page.bringToFront();
    await other.page.evaluate((words) => [...document.querySelectorAll("dialog .button")].find((button) => button.textContent === words).click(), title);
    await other.untilNumber("tongues", tongues);
    await page.page.bringToFront();
    await page.until(() => !document.querySelector("dialog"));
    await page.untilNumber("tongues", tongues);
    assert.deepEqual([await page.texts(".toast.is-error"), await other.texts(".toast.is-error"), other.errors], [[], [], []]);
    await other.page.close();
  }
});

detail("A page is not asked about leaving when nothing would be lost", async () => {
  const { page } = used;
  let asked = false;
  page.page.on("dialog", async (dialog) => {
    asked = true;
    await dialog.accept();
  });
  await page.page.reload();
  await page.settled();
  assert.ok(!asked);
});

essential("A studio is stopped from its menu, and the page says so", async () => {
  const { page, studio } = used;
  await page.click("#title");
  await page.press("End");
  const ended = new Promise((resolve) => studio.process.on("exit", resolve));
  await page.press("Enter");
  await page.click("dialog .is-primary");
  await ended;
  await page.until(() => document.querySelector("#lost-title").textContent === "The studio has ended");
});
