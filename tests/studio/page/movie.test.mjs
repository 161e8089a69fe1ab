// What moves: a movie that burns.

import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { after } from "node:test";
import { essential, useStudio } from "./support.mjs";

const frames = 24;
// Each frame is grey, and lighter than the one before.
const grey = `color=c=black:s=160x90:r=12:d=${frames / 12},format=gray,geq=lum='20+9*N',format=rgb24`;
const used = useStudio(["grey.mkv"], (folder) => execFileSync("ffmpeg", ["-v", "error", "-f", "lavfi", "-i", grey, "-c:v", "ffv1", "grey.mkv"], { cwd: folder }));
after(() => assert.deepEqual(used.page.errors, []));

/** The number of the frame whose source is left of the divider. */
const sourceFrame = () => {
  const canvas = document.querySelector("#stage canvas");
  const [width, height] = document.querySelector("#size").textContent.split("×").map(Number);
  const { data } = canvas.getContext("2d").getImageData(Math.round(canvas.width / 2 - width / 4), Math.round(canvas.height / 2 + height / 4), 1, 1);
  return Math.round((data[0] - 20) / 9) + 1;
};

essential("Before and after: the source is that of the frame that is shown, also while it plays", async () => {
  const { page } = used;
  await page.press("1");
  await page.press("w");
  for (const frame of [1, 7, 18]) {
    await page.goTo(frame);
    await page.settled();
    await page.until((read, wanted) => new Function(`return (${read})()`)() === wanted, String(sourceFrame), frame);
  }
  await page.press("Home");
  await page.settled();
  // What is drawn of a frame, and in which order, is looked at where it is drawn.
  await page.page.evaluate((read) => {
    const frameOf = new Function(`return (${read})()`);
    window.seen = [];
    const look = () => {
      const now = Number(document.querySelector("#ruler").getAttribute("aria-valuenow"));
      window.seen.push([frameOf(), now]);
      window.looking = requestAnimationFrame(look);
    };
    look();
  }, String(sourceFrame));
  await page.press("Space");
  await new Promise((resolve) => setTimeout(resolve, 6000));
  await page.press("Space");
  const seen = await page.page.evaluate(() => (cancelAnimationFrame(window.looking), window.seen));
  const shown = new Set(seen.map(([frame]) => frame));
  assert.ok(shown.size >= frames / 2, `the source showed ${[...shown].join(" ")} of ${frames} frames`);
  // In memory after the first time round, the source is that of the playhead.
  const late = seen.slice(Math.floor(seen.length * 0.7)).filter(([frame, now]) => Math.min(Math.abs(frame - now), frames - Math.abs(frame - now)) > 1);
  assert.ok(late.length < seen.length * 0.05, `the source was not that of the playhead: ${late.slice(0, 10).join("; ")}`);
});
