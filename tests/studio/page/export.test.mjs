// Exports: the same files as the command's, a queue, and the command itself.

import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import fs from "node:fs";
import path from "node:path";
import { after } from "node:test";
import { detail, essential, program, useStudio, writeTitle } from "./support.mjs";

const used = useStudio(["--project", "title.json"], (folder) => writeTitle(folder, { parameters: { glow: [{ frame: 1, value: 0 }, { frame: 12, value: 60 }] } }));
after(() => assert.deepEqual(used.page.errors, []));

const bytes = (name) => fs.readFileSync(path.join(used.studio.folder, name));
const choose = (label) => used.page.click(`.format[data-format="${label}"]`);
const field = (label) => `::-p-xpath(//dialog//label[text()="${label}"]/following-sibling::*[1])`;
const fill = async (label, text) => {
  const input = await used.page.page.$(field(label));
  await input.focus();
  await used.page.press("Control+a");
  await used.page.page.keyboard.type(text);
  await used.page.press("Tab");
};
const untilJob = (output, state) =>
  used.page.until((name, wanted) => [...document.querySelectorAll(".job")].some((job) => job.querySelector(".job-name").textContent === name && job.dataset.state === wanted), output, state);

essential("A movie is exported from the dialog, and equals the command's to the byte", async () => {
  const { page, studio } = used;
  await page.press("Control+e");
  await choose("mp4 ");
  await fill("Frames", "1-12");
  await fill("File", "from-page.mp4");
  await page.click("dialog .is-primary");
  await page.until(() => !document.querySelector("dialog"));
  await untilJob("from-page.mp4", "done");
  assert.match((await page.texts(".job-words"))[0], /^Done, [\d.]+ kB$/);
  studio.render(["--project", "title.json", "--frames", "1-12", "-o", "from-command.mp4"]);
  assert.ok(bytes("from-page.mp4").equals(bytes("from-command.mp4")));
  await page.press("Escape");
});

detail("A numbered sequence with bits, alpha and a background", async () => {
  const { page, studio } = used;
  await page.press("Control+e");
  await choose("png ");
  assert.match(await page.fieldValue("dialog .export-settings input"), /_%04d\.png$/);
  await fill("Frames", "3-4");
  await fill("File", "page_%04d.png");
  const bits = await page.page.$(field("Bits per channel"));
  await bits.select("16");
  const alpha = await page.page.$(field("Alpha"));
  await alpha.select("exact");
  await page.click("dialog .is-primary");
  await page.until(() => !document.querySelector("dialog"));
  await untilJob("page_%04d.png", "done");
  studio.render(["--project", "title.json", "--frames", "3-4", "--bits", "16", "--alpha", "exact", "-o", "command_%04d.png"]);
  for (const frame of ["0003", "0004"]) assert.ok(bytes(`page_${frame}.png`).equals(bytes(`command_${frame}.png`)));
});

detail("The command that is copied makes the same file", async () => {
  const { page, studio } = used;
  await page.press("Control+e");
  await choose("mov ");
  await fill("Frames", "1-6");
  await fill("File", "copied.mov");
  await page.click("dialog footer .button:not(.is-primary)");
  await page.until(() => document.querySelector("dialog .command").value.startsWith("pyrelux render"));
  const command = await page.fieldValue("dialog .command");
  await page.click("dialog .is-primary");
  await page.until(() => !document.querySelector("dialog"));
  await untilJob("copied.mov", "done");
  const exported = bytes("copied.mov");
  fs.rmSync(path.join(studio.folder, "copied.mov"));
  execFileSync("sh", ["-c", `pyrelux() { "${program}" "$@"; }; ${command}`], { cwd: studio.folder, env: studio.environment, stdio: "pipe" });
  assert.ok(exported.equals(bytes("copied.mov")));
});

detail("What is there already is replaced only when it is said twice", async () => {
  const { page } = used;
  const before = bytes("from-page.mp4");
  await page.press("Control+e");
  await choose("mp4 ");
  await fill("Frames", "1-2");
  await fill("File", "from-page.mp4");
  await page.click("dialog .is-primary");
  await page.until(() => document.querySelector("dialog .is-primary").textContent === "Replace it");
  assert.ok(bytes("from-page.mp4").equals(before));
  await page.click("dialog .is-primary");
  await page.until(() => !document.querySelector("dialog"));
  await page.until(() => [...document.querySelectorAll(".job")][0].dataset.state === "done");
  assert.ok(!bytes("from-page.mp4").equals(before));
});

detail("Wrong settings are told in the dialog", async () => {
  const { page } = used;
  await page.press("Control+e");
  await fill("Frames", "9-1");
  await page.click("dialog .is-primary");
  await page.until(() => document.querySelector("dialog .problem").textContent.length > 10);
  await page.press("Escape");
  await page.until(() => !document.querySelector("dialog"));
});

essential("An export that runs shows its progress and is cancelled without a rest", async () => {
  const { page, studio } = used;
  for (const name of ["long-a.mov", "long-b.mov"]) {
    await page.press("Control+e");
    await choose("mov ");
    await fill("Frames", "1-4000");
    await fill("File", name);
    await page.click("dialog .is-primary");
    await page.until(() => !document.querySelector("dialog"));
  }
  await page.until(() => /\d+ of 4000, .* left/.test(document.querySelector('.job[data-state="running"] .job-words')?.textContent ?? ""));
  assert.match((await page.texts(".queue-words"))[0], /^\d+ %$/);
  await page.click(".sheet-head .button");
  await untilJob("long-a.mov", "cancelled");
  await untilJob("long-b.mov", "cancelled");
  await page.click(".sheet-head .button:not([hidden])");
  await page.until(() => document.querySelectorAll(".job").length === 0);
  assert.ok(!fs.existsSync(path.join(studio.folder, "long-b.mov")));
});
