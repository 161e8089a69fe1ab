// What the tests share: a studio in a folder of its own, a browser, and hands.

import assert from "node:assert/strict";
import { execFileSync, spawn } from "node:child_process";
import fs from "node:fs";
import os from "node:os";
import path from "node:path";
import { after, before, test } from "node:test";
import { fileURLToPath } from "node:url";
import puppeteer from "puppeteer-core";

const here = path.dirname(fileURLToPath(import.meta.url));
const root = path.resolve(here, "../../..");

/** The program under test. */
export const program = process.env.PYRELUX ?? path.join(root, "build/release/bin/pyrelux");
/** "chromium", which runs every test, or "firefox", which runs the essential ones. */
export const browserName = process.env.PYRELUX_BROWSER ?? "chromium";
const patience = 20000;

/** @param {string} name @param {() => Promise<void>} body run in every browser */
export function essential(name, body) {
  test(name, { timeout: 60000 }, body);
}

/** @param {string} name @param {() => Promise<void>} body run in Chromium alone */
export function detail(name, body) {
  test(name, { timeout: 60000, skip: browserName === "chromium" ? false : "an essential test covers it here" }, body);
}

/** A folder that goes when the test file ends. */
export function makeFolder() {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), "pyrelux-page-"));
  after(() => fs.rmSync(folder, { recursive: true, force: true }));
  return folder;
}

/** A program that serves the page. */
export class Studio {
  /** @param {string} folder that it works in */
  constructor(folder) {
    this.folder = folder;
    this.home = path.join(folder, ".home");
    this.environment = { ...process.env, HOME: this.home, XDG_STATE_HOME: path.join(this.home, "state"), XDG_CONFIG_HOME: path.join(this.home, "config"), DISPLAY: "" };
  }

  /** @param {string[]} [options] @returns {Promise<string>} the address */
  async start(options = []) {
    fs.mkdirSync(this.home, { recursive: true });
    const port = this.port ? ["--port", String(this.port)] : [];
    this.process = spawn(program, ["studio", "--no-browser", ...port, ...options], { cwd: this.folder, env: this.environment });
    this.output = "";
    const address = await new Promise((resolve, reject) => {
      const take = (chunk) => {
        this.output += chunk;
        const match = /http:\/\/127\.0\.0\.1:(\d+)\/\S*/.exec(this.output);
        if (match) resolve(match[0]);
      };
      this.process.stdout.on("data", take);
      this.process.stderr.on("data", take);
      this.process.on("exit", (code) => reject(new Error(`The studio ended with ${code}: ${this.output}`)));
    });
    this.port = Number(new URL(address).port);
    return address;
  }

  /** @param {NodeJS.Signals} [signal] */
  async stop(signal = "SIGTERM") {
    const running = this.process;
    if (!running || running.exitCode !== null || running.signalCode !== null) return;
    const ended = new Promise((resolve) => running.on("exit", resolve));
    running.kill(signal);
    await ended;
  }

  /** @param {string[]} words of `pyrelux render` */
  render(words) {
    execFileSync(program, ["render", "--quiet", "--overwrite", ...words], { cwd: this.folder, env: this.environment, stdio: ["ignore", "pipe", "pipe"] });
  }

  /** @param {string} file in the folder @returns {{width: number, height: number, pixels: Buffer}} red, green, blue, alpha */
  pixelsOf(file) {
    const picture = path.join(this.folder, file);
    const header = fs.readFileSync(picture);
    const pixels = execFileSync("ffmpeg", ["-v", "error", "-i", picture, "-f", "rawvideo", "-pix_fmt", "rgba", "-"], { maxBuffer: 1 << 28 });
    return { width: header.readUInt32BE(16), height: header.readUInt32BE(20), pixels };
  }
}

/** @returns {Promise<import("puppeteer-core").Browser>} */
export function launch() {
  if (browserName === "firefox") return puppeteer.launch({ browser: "firefox", protocol: "webDriverBiDi", executablePath: "/usr/bin/firefox-esr", headless: true });
  return puppeteer.launch({ executablePath: "/usr/bin/chromium", headless: true, args: ["--no-sandbox", "--headless=new", "--force-color-profile=srgb"] });
}

/**
 * A studio and a browser for all tests of a file.
 * @param {string[]} options of the studio
 * @param {(folder: string) => void} [prepare] the folder
 * @returns {{studio: Studio, page: Hand, browser: import("puppeteer-core").Browser}} filled before the first test
 */
export function useStudio(options, prepare) {
  const used = {};
  const folder = makeFolder();
  before(async () => {
    prepare?.(folder);
    used.studio = new Studio(folder);
    const [address, browser] = await Promise.all([used.studio.start(options), launch()]);
    used.browser = browser;
    used.page = await open(browser, address);
  });
  after(async () => {
    await used.browser?.close();
    await used.studio?.stop("SIGKILL");
  });
  return used;
}

/**
 * @param {import("puppeteer-core").Browser} browser
 * @param {string} address
 * @param {{width?: number, height?: number, scheme?: "dark"|"light"}} [look]
 * @returns {Promise<Hand>} a page that shows its first settled frame
 */
export async function open(browser, address, { width = 1280, height = 720, scheme = "dark" } = {}) {
  const page = await browser.newPage();
  const hand = new Hand(page);
  await page.setViewport({ width, height });
  if (browserName === "chromium") await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: scheme }]);
  // The program may be away on purpose; what the page does then is tested.
  const note = (text) => /WebSocket|Failed to load resource|can.t establish a connection|NetworkError|interrupted while/.test(text) || hand.errors.push(text);
  page.on("pageerror", (error) => note(error.stack ?? error.message));
  page.on("console", (message) => message.type() === "error" && note(message.text()));
  await page.goto(address);
  await hand.settled();
  return hand;
}

// What both browsers' drivers call them.
const keyNames = { Space: " " };

/** A person at a page. */
export class Hand {
  /** What went wrong in the page's scripts. */
  errors = [];

  /** @param {import("puppeteer-core").Page} page */
  constructor(page) {
    this.page = page;
  }

  get mouse() {
    return this.page.mouse;
  }

  /** Waits until the canvas shows the lossless frame of the document as it is. */
  async settled() {
    await this.until(() => document.querySelector("#stage canvas")?.getAttribute("aria-busy") === "false");
  }

  /** @param {Function} condition in the page @param {...any} values for it */
  async until(condition, ...values) {
    try {
      await this.page.waitForFunction(condition, { timeout: patience, polling: 30 }, ...values);
    } catch (error) {
      throw new Error(`It never came true: ${condition} ${JSON.stringify(values)}; toasts: ${await this.texts(".toast")}; errors: ${this.errors.join("; ")}`, { cause: error });
    }
  }

  /** @param {string} selector @returns {Promise<string[]>} */
  texts(selector) {
    return this.page.$$eval(selector, (nodes) => nodes.map((node) => node.textContent));
  }

  /** @param {string} selector @param {string} name @returns {Promise<string|null>} */
  attribute(selector, name) {
    return this.page.$eval(selector, (node, wanted) => node.getAttribute(wanted), name);
  }

  /** @param {string} selector @returns {Promise<number>} */
  async count(selector) {
    return (await this.page.$$(selector)).length;
  }

  /** @param {string} selector of a field @returns {Promise<string>} */
  fieldValue(selector) {
    return this.page.$eval(selector, (node) => node.value);
  }

  /** @param {string} selector @param {{x: number, y: number}} [at] share of its box @returns {Promise<{x: number, y: number}>} */
  async pointOf(selector, at = { x: 0.5, y: 0.5 }) {
    await this.page.waitForSelector(selector, { timeout: patience });
    await this.page.$eval(selector, (node) => node.scrollIntoView({ block: "nearest" }));
    const box = await this.page.$eval(selector, (node) => {
      const { x, y, width, height } = node.getBoundingClientRect();
      return { x, y, width, height };
    });
    assert.ok(box.width > 0 && box.height > 0, `${selector} is not to be seen`);
    return { x: box.x + box.width * at.x, y: box.y + box.height * at.y };
  }

  /** @param {string} selector @param {{count?: number, button?: "left"|"middle"}} [how] */
  async click(selector, how = {}) {
    const { x, y } = await this.pointOf(selector);
    await this.mouse.click(x, y, how);
  }

  /**
   * @param {string} selector
   * @param {number} dx @param {number} dy pixels
   * @param {{key?: string, button?: "left"|"middle", release?: boolean, at?: {x: number, y: number}}} [how]
   */
  async drag(selector, dx, dy = 0, { key, button = "left", release = true, at } = {}) {
    const { x, y } = await this.pointOf(selector, at);
    await this.mouse.move(x, y);
    if (key) await this.page.keyboard.down(keyNames[key] ?? key);
    await this.mouse.down({ button });
    for (const share of [0.25, 0.5, 0.75, 1]) await this.mouse.move(x + dx * share, y + dy * share);
    if (release) await this.mouse.up({ button });
    if (key) await this.page.keyboard.up(keyNames[key] ?? key);
  }

  /** @param {string} keys such as "Control+Shift+z" */
  async press(keys) {
    const parts = keys === "+" ? ["+"] : keys.split("+");
    const last = parts.pop();
    for (const part of parts) await this.page.keyboard.down(part);
    await this.page.keyboard.press(keyNames[last] ?? last);
    for (const part of parts.reverse()) await this.page.keyboard.up(part);
  }

  /** @param {string} selector @param {string} text replaces what is there @param {string} [end] the key that ends it */
  async type(selector, text, end = "Enter") {
    await this.page.focus(selector);
    await this.press("Control+a");
    await this.page.keyboard.type(text);
    if (end) await this.press(end);
  }

  /** @param {number} frame that the playhead goes to */
  async goTo(frame) {
    await this.page.evaluate(() => document.activeElement.blur());
    await this.press("Home");
    const first = Number(await this.attribute("#ruler", "aria-valuenow"));
    for (let left = frame - first; left > 0; ) {
      const step = left >= 10 ? 10 : 1;
      await this.press(step === 10 ? "Shift+ArrowRight" : "ArrowRight");
      left -= step;
    }
    await this.until((wanted) => document.querySelector("#ruler").getAttribute("aria-valuenow") === String(wanted), frame);
  }

  /** @param {string} slug @returns {Promise<number>} what the row's number shows */
  async number(slug) {
    return Number(await this.fieldValue(`.row[data-slug="${slug}"] .number input`));
  }

  /** @param {string} slug @param {number} value */
  async untilNumber(slug, value) {
    await this.until((name, wanted) => Number(document.querySelector(`.row[data-slug="${name}"] .number input`).value) === wanted, slug, value);
  }

  /** Undoes all there is. */
  async undoAll() {
    await this.settled();
    while (!(await this.page.$eval("#undo", (button) => button.disabled))) {
      await this.press("Control+z");
      await this.settled();
    }
  }

  /** @returns {Promise<string>} the name of what would be undone */
  undoTitle() {
    return this.attribute("#undo", "title");
  }

  /** @returns {Promise<{width: number, height: number, pixels: Buffer}>} what the canvas shows of the picture, at 100 % */
  async picture() {
    const told = await this.page.evaluate(() => {
      const canvas = document.querySelector("#stage canvas");
      const [width, height] = document.querySelector("#size").textContent.split("×").map(Number);
      const x = Math.round(canvas.width / 2 - width / 2);
      const y = Math.round(canvas.height / 2 - height / 2);
      const { data } = canvas.getContext("2d").getImageData(x, y, width, height);
      let text = "";
      for (let at = 0; at < data.length; at += 8192) text += String.fromCharCode(...data.subarray(at, at + 8192));
      return { width, height, text: btoa(text) };
    });
    return { width: told.width, height: told.height, pixels: Buffer.from(told.text, "base64") };
  }
}

/**
 * @param {{width: number, height: number, pixels: Buffer}} actual
 * @param {{width: number, height: number, pixels: Buffer}} expected
 */
export function assertSamePicture(actual, expected) {
  assert.equal(`${actual.width}x${actual.height}`, `${expected.width}x${expected.height}`);
  let different = 0;
  let worst = 0;
  for (let at = 0; at < expected.pixels.length; ++at) {
    const by = Math.abs(actual.pixels[at] - expected.pixels[at]);
    if (by) ++different;
    worst = Math.max(worst, by);
  }
  assert.equal(different, 0, `${different} of ${expected.pixels.length} values differ, by up to ${worst}`);
}

/** @param {{pixels: Buffer}} one @param {{pixels: Buffer}} other @returns {boolean} */
export function isSamePicture(one, other) {
  return one.pixels.equals(other.pixels);
}

/**
 * @param {string} folder
 * @param {Object} [more] keys of the project
 * @returns {string} the name of a project file of a small title
 */
export function writeTitle(folder, more = {}) {
  const project = { version: 1, text: "FIRE", font: "Sans Bold 60", size: "320x180", ...more };
  fs.writeFileSync(path.join(folder, "title.json"), JSON.stringify(project));
  return "title.json";
}
