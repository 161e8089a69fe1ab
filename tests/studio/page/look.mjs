// Draws the pictures of the documentation: node look.mjs FOLDER

import fs from "node:fs";
import os from "node:os";
import path from "node:path";
import { Studio, browserName, launch, open } from "./support.mjs";

const target = process.argv[2];
fs.mkdirSync(target, { recursive: true });
const folder = fs.mkdtempSync(path.join(os.tmpdir(), "pyrelux-look-"));
const project = {
  version: 1,
  text: "EMBER",
  font: "Sans Bold 240",
  "text-position": "50,36",
  size: "1280x720",
  parameters: {
    tongues: 16,
    "tongue-length": [{ frame: 1, value: 12, ease: "ease-out" }, { frame: 20, value: 34, ease: "ease" }, { frame: 48, value: 22 }],
    "turbulence-amount": 18,
    "wiggle-amount": 26,
    glow: [{ frame: 1, value: -30, ease: "ease-in" }, { frame: 24, value: 55, ease: "ease" }, { frame: 48, value: 10 }],
    "spread-degrees": 9,
    steps: 90,
    "color-inner": [{ frame: 1, value: "#ffe9a0" }, { frame: 36, value: "#ffd070" }],
    "color-center": "#ff8a1e",
    "color-outer": "#e02408",
    "source-opacity": 1,
  },
};
fs.writeFileSync(path.join(folder, "ember.json"), JSON.stringify(project));
const studio = new Studio(folder);
const address = await studio.start(["--project", "ember.json"]);
const browser = await launch();
const shot = async (hand, name) => {
  await hand.mouse.move(4, 890);
  await new Promise((resolve) => setTimeout(resolve, 300));
  await hand.page.screenshot({ path: path.join(target, `${name}.png`) });
};
try {
  const hand = await open(browser, address, { width: 1440, height: 900 });
  await hand.until(() => document.querySelectorAll(".preset img:not([hidden])").length >= 25);
  await hand.page.select("#background select", "black");
  await hand.goTo(24);
  await hand.settled();
  for (const theme of ["dark", "light"]) {
    await hand.click("#theme");
    await shot(hand, browserName === "chromium" ? theme : `${theme}-firefox`);
  }
  await hand.click("#theme");
  if (browserName === "chromium") {
    await hand.click("#theme");
    await hand.click("#lane-choice [data-value=curves]");
    await hand.click(".lane-name[data-slug=glow]");
    await hand.click(".curve-key:nth-child(2)");
    await shot(hand, "curves");
    await hand.click("#lane-choice [data-value=keys]");
    await hand.click("#tab-input");
    await hand.click("#tab-scene");
    await shot(hand, "input-and-scene");
    await hand.press("Control+e");
    await shot(hand, "export");
  }
  if (hand.errors.length) throw new Error(hand.errors.join("\n"));
} finally {
  await browser.close();
  await studio.stop("SIGKILL");
  fs.rmSync(folder, { recursive: true, force: true });
}
