// Runs the page's tests: node run.mjs [chromium|firefox] [part of a file's name…]. One file after the other: the machine has
// few cores, and playback is tested by the clock.

import { spawnSync } from "node:child_process";
import fs from "node:fs";
import path from "node:path";
import { fileURLToPath } from "node:url";

const here = path.dirname(fileURLToPath(import.meta.url));
const [browser = "chromium", ...parts] = process.argv.slice(2);
// Firefox runs what its engine may do otherwise.
const isMeant = (name) => name.endsWith(".test.mjs") && (browser === "chromium" || name !== "units.test.mjs");
const files = fs.readdirSync(here).filter((name) => isMeant(name) && (!parts.length || parts.some((part) => name.includes(part))));
let failed = 0;
for (const file of files) {
  const { status } = spawnSync(process.execPath, ["--test-reporter=spec", path.join(here, file)], { stdio: "inherit", env: { ...process.env, PYRELUX_BROWSER: browser } });
  if (status !== 0) ++failed;
}
console.log(failed ? `${failed} of ${files.length} files failed in ${browser}` : `All passed in ${browser}`);
process.exit(failed || !files.length ? 1 : 0);
