// Words, icons and the parts of controls stand out from what is behind them, in both schemes.

import assert from "node:assert/strict";
import { after } from "node:test";
import { detail, useStudio, writeTitle } from "./support.mjs";

const animated = { parameters: { glow: [{ frame: 1, value: 0, ease: "ease" }, { frame: 20, value: 60 }], "tongue-length": [{ frame: 1, value: 10, ease: "hold" }, { frame: 30, value: 40 }], tongues: 9 } };
const used = useStudio(["--project", "title.json"], (folder) => writeTitle(folder, animated));
after(() => assert.deepEqual(used.page.errors, []));

/** Runs in the page: what can be seen and stands out too little. */
function faults() {
  // [red, green, blue, alpha] of 0 to 1, whatever way the colour is written in.
  const context = Object.assign(document.createElement("canvas"), { width: 1, height: 1 }).getContext("2d", { willReadFrequently: true });
  const known = new Map();
  const read = (text) => {
    if (known.has(text)) return known.get(text);
    context.clearRect(0, 0, 1, 1);
    context.fillStyle = text;
    context.fillRect(0, 0, 1, 1);
    const colour = [...context.getImageData(0, 0, 1, 1).data].map((part) => part / 255);
    known.set(text, colour);
    return colour;
  };
  const over = (front, back) => [0, 1, 2].map((part) => front[part] * front[3] + back[part] * (1 - front[3])).concat(1);
  const light = (colour) => colour.slice(0, 3).map((part) => (part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4)).reduce((sum, part, at) => sum + part * [0.2126, 0.7152, 0.0722][at], 0);
  const contrast = (one, other) => {
    const [low, high] = [light(one), light(other)].sort((a, b) => a - b);
    return (high + 0.05) / (low + 0.05);
  };
  /** The colour behind a node's content; with its own background, or without. */
  const ground = (node, withOwn = true) => {
    const layers = [];
    for (let at = withOwn ? node : node.parentElement; at; at = at.parentElement) {
      const colour = read(getComputedStyle(at).backgroundColor);
      layers.push(colour);
      if (colour[3] === 1) break;
      // Dialogs lie over the page, and not in it.
      if (at.matches("dialog")) break;
    }
    return layers.reverse().reduce((back, layer) => over(layer, back), read(getComputedStyle(document.body).backgroundColor));
  };
  const name = (node) => {
    const own = node.id ? `#${node.id}` : `${node.tagName.toLowerCase()}.${[...node.classList].join(".")}`;
    const place = node.closest("dialog, [id]");
    return `${place && place !== node ? `${place.id ? `#${place.id}` : "dialog"} ` : ""}${own} "${(node.textContent || node.value || "").trim().slice(0, 20)}"`;
  };
  const isSeen = (node) => {
    if (!node.checkVisibility({ checkVisibilityCSS: true }) || node.closest("[inert], :disabled, [aria-disabled=true], .visually-hidden")) return false;
    const box = node.getBoundingClientRect();
    return box.width > 0 && box.height > 0 && box.right > 0 && box.bottom > 0 && box.left < innerWidth && box.top < innerHeight;
  };
  const found = new Set();
  const counts = { words: 0, icons: 0, edges: 0, parts: 0 };
  const check = (kind, node, colour, back, least) => {
    ++counts[kind];
    let opacity = 1;
    for (let at = node; at; at = at.parentElement) opacity *= Number(getComputedStyle(at).opacity);
    const ratio = contrast(over([colour[0], colour[1], colour[2], colour[3] * opacity], back), back);
    if (ratio < least) found.add(`${kind} of ${name(node)}: ${ratio.toFixed(2)} of ${least}`);
  };
  const shadow = (style) => /(?:rgb|color|oklab|oklch|hsl)[a-z]*\([^)]*\)|#\w+/.exec(style.boxShadow)?.[0];

  for (const node of document.querySelectorAll("body *")) {
    if (!isSeen(node) || node.closest("#stage > canvas, .badge")) continue;
    const style = getComputedStyle(node);
    const isField = node.matches("input:not([type=checkbox], [type=range]), textarea, select");
    const hasWords = isField || [...node.childNodes].some((child) => child.nodeType === Node.TEXT_NODE && child.textContent.trim());
    if (hasWords && node.tagName !== "OPTION") {
      const size = parseFloat(style.fontSize);
      const isLarge = size >= 24 || (size >= 18.66 && Number(style.fontWeight) >= 700);
      check("words", node, read(style.color), ground(node), isLarge ? 3 : 4.5);
      if (node.placeholder) {
        const placeholder = getComputedStyle(node, "::placeholder");
        const [red, green, blue, alpha] = read(placeholder.color);
        check("words", node, [red, green, blue, alpha * Number(placeholder.opacity)], ground(node), 4.5);
      }
    }
    if (node.matches("svg.icon")) check("icons", node, read(style.stroke === "none" ? style.color : style.stroke), ground(node), 3);
    // What shows where a field is.
    if (isField || node.matches(".segmented, .dial")) {
      const edge = shadow(style) ?? style.borderTopColor;
      check("edges", node, read(edge), ground(node, false), 3);
    }
    // What shows a value.
    if (node.matches(".slider-thumb, .slider-track, .dial-hand")) check("parts", node, read(style.backgroundColor), ground(node.parentElement), 3);
    if (node.matches(".slider-fill")) check("parts", node, read(style.backgroundColor), ground(node.parentElement, false), 3);
  }
  const ruler = document.querySelector("#ruler canvas");
  const { data } = ruler.getContext("2d").getImageData(0, 0, ruler.width, ruler.height);
  let ink = 0;
  for (let at = 0; at < data.length; at += 4) {
    if (data[at + 3] < 250) continue;
    ink = Math.max(ink, contrast([data[at] / 255, data[at + 1] / 255, data[at + 2] / 255, 1], ground(ruler)));
  }
  if (ink < 4.5) found.add(`words of the ruler: ${ink.toFixed(2)} of 4.5`);
  return { found: [...found], counts };
}

for (const scheme of ["dark", "light"]) {
  detail(`In the ${scheme} scheme everything can be read and found`, async () => {
    const { page } = used;
    await page.page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: scheme }]);
    const look = async (where) => {
      await page.mouse.move(4, 718);
      await page.page.evaluate(() => new Promise((resolve) => requestAnimationFrame(() => requestAnimationFrame(resolve))));
      await page.page.evaluate(() => Promise.all(document.getAnimations().map((animation) => animation.finished.catch(() => {}))));
      const { found, counts } = await page.page.evaluate(faults);
      assert.deepEqual(found, [], `${where}: ${JSON.stringify(counts)}`);
      assert.ok(counts.words > 40 && counts.icons > 20 && counts.edges > 5, `${where}: ${JSON.stringify(counts)}`);
    };
    await page.page.evaluate(() => document.querySelector("#tab-fire").click());
    await look("the inspector and the timeline");
    await page.page.evaluate(() => document.querySelector("#parameters").scrollTo(0, 1e6));
    await look("the inspector's end");
    await page.click("#lane-choice [data-value=curves]");
    await page.click("#tab-input");
    await page.click("#tab-scene");
    await look("curves, input and scene");
    for (const [keys, where] of [["Control+e", "the dialog for exports"], ["?", "the sheet of shortcuts"], ["Control+o", "the dialog for files"]]) {
      await page.page.evaluate(() => document.activeElement.blur());
      await page.press(keys);
      await page.until(() => document.querySelector("dialog"));
      await look(where);
      await page.press("Escape");
      await page.until(() => !document.querySelector("dialog"));
    }
    await page.page.evaluate(() => {
      document.querySelector("#lane-choice [data-value=keys]").click();
      document.querySelector("#tab-presets").click();
    });
    await look("presets");
    // Said while something is wrong.
    await page.page.evaluate(() => document.querySelector("#tab-scene").click());
    await page.type('.scene-field[data-key="size"] input', "0x0");
    await page.until(() => [...document.querySelectorAll(".problem")].some((node) => node.textContent));
    await look("a mistake");
    await page.type('.scene-field[data-key="size"] input', "320x180");
    await page.settled();
  });
}
