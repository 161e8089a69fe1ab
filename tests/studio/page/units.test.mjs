// What needs no browser: keyframes, numbers, the memory for frames, and the order of what is sent.

import assert from "node:assert/strict";
import { test } from "node:test";
import { FrameCache } from "../../../studio/page/cache.js";
import { StudioDocument } from "../../../studio/page/document.js";
import { progress, replacing, valueAt, withEase, withMoved, withValue } from "../../../studio/page/keyframes.js";
import { decimalsOf, formatBytes, formatHex, formatNumber, formatRate, parseHex, parseNumber, timecode } from "../../../studio/page/units.js";

const key = (frame, value, ease = "linear", curve = undefined) => (curve ? { frame, value, ease, curve } : { frame, value, ease });

test("Values stay before the first keyframe and after the last, and follow the ease between them", () => {
  const keyframes = [key(1, 10, "hold"), key(11, 20), key(21, 40)];
  assert.deepEqual([0, 1, 10.9, 11, 21, 99].map((frame) => valueAt(keyframes, frame, "float")), [10, 10, 10, 20, 40, 40]);
  assert.ok(Math.abs(valueAt(keyframes, 16, "float") - 30) < 1e-6);
});

test("Whole numbers are rounded, menus hold, colours go by their parts", () => {
  assert.equal(valueAt([key(1, 1), key(3, 4)], 2, "integer"), 3);
  assert.equal(valueAt([key(1, 0), key(3, 1)], 2.9, "popup"), 0);
  const colour = valueAt([key(1, [0, 1, 0.5]), key(3, [1, 0, 0.5])], 2, "colour");
  for (const part of colour) assert.ok(Math.abs(part - 0.5) < 1e-6);
});

test("A curve goes through its ends, is even in the middle, and may overshoot", () => {
  const ease = [0.42, 0, 0.58, 1];
  assert.ok(progress(ease, 0) < 1e-6 && progress(ease, 1) > 1 - 1e-6);
  assert.ok(Math.abs(progress(ease, 0.5) - 0.5) < 1e-6);
  assert.ok(progress(ease, 0.25) < 0.2);
  assert.ok(progress([0.3, 1.6, 0.6, 1.4], 0.6) > 1);
});

test("What moves takes the place of what lies there, and comes from where it began", () => {
  const keyframes = [key(1, 1), key(5, 2), key(9, 3)];
  assert.deepEqual(withMoved(keyframes, new Set([1]), 4).map(({ frame, value }) => [frame, value]), [[5, 1], [9, 3]]);
  assert.deepEqual(withMoved(keyframes, new Set([1, 5]), 4).map(({ frame }) => frame), [5, 9]);
  assert.deepEqual(keyframes.map(({ frame }) => frame), [1, 5, 9]);
});

test("A value is set at a frame, with the ease of the keyframe before it", () => {
  assert.deepEqual(withValue([key(1, 1, "hold")], 4, 7), [key(1, 1, "hold"), key(4, 7, "hold")]);
  assert.deepEqual(withValue([key(1, 1)], 1, 7), [key(1, 7)]);
  assert.deepEqual(replacing([key(1, 1), key(2, 2)], [key(2, 5)]), [key(1, 1), key(2, 5)]);
});

test("A bezier begins with the shape of the ease that it replaces", () => {
  assert.deepEqual(withEase([key(1, 1, "ease-in")], new Set([1]), "bezier"), [key(1, 1, "bezier", [0.42, 0, 1, 1])]);
  assert.deepEqual(withEase([key(1, 1, "bezier", [0, 0, 1, 1])], new Set([1]), "hold"), [key(1, 1, "hold")]);
});

test("Numbers as they are typed and shown", () => {
  assert.deepEqual(["12", " -3,5 ", "48/2", "10+2.5", "30°", "5-", "", "1e999"].map(parseNumber), [12, -3.5, 24, 12.5, 30, null, null, null]);
  assert.deepEqual([formatNumber(1.5, 2), formatNumber(-0.001, 2), formatNumber(100, 2), formatNumber(20, 0)], ["1.5", "0", "100", "20"]);
  assert.deepEqual([1, 0.1, 0.01, 5].map(decimalsOf), [0, 1, 2, 0]);
  assert.deepEqual([formatBytes(999), formatBytes(1500), formatBytes(12e6)], ["999 B", "1.5 kB", "12 MB"]);
});

test("Timecode counts whole frames of the nominal rate", () => {
  assert.equal(timecode(1, 1, 24), "00:00:00:00");
  assert.equal(timecode(25 + 24 * 60, 1, 24), "00:01:01:00");
  assert.equal(timecode(31, 1, 30000 / 1001), "00:00:01:00");
  assert.equal(timecode(-23, 1, 24), "-00:00:01:00");
  assert.equal(formatRate("24000/1001"), "23.976 fps");
});

test("Colours as hexadecimal digits", () => {
  assert.equal(formatHex([1, 0.5, 0]), "#ff8000");
  assert.deepEqual(parseHex("f80"), [1, 0x88 / 255, 0]);
  assert.equal(parseHex("#12345"), null);
});

/** Bitmaps that are counted until they are closed. */
function useBitmaps(t) {
  const open = new Set();
  const usual = globalThis.createImageBitmap;
  t.after(() => (globalThis.createImageBitmap = usual));
  globalThis.createImageBitmap = async (blob) => {
    await new Promise((resolve) => setImmediate(resolve));
    const bitmap = { bytes: blob.pixels * 4, close: () => open.delete(bitmap) };
    open.add(bitmap);
    return bitmap;
  };
  return { bytes: () => [...open].reduce((sum, { bytes }) => sum + bytes, 0) };
}

const pictureOf = (frame, side, view = "fire", mime = "image/jpeg") => ({
  header: { view, frame, width: side, height: side, mime },
  blob: { size: side * 3, pixels: side * side },
  bitmap: null,
  shown: false,
  dropped: false,
});

test("Frames in memory never take more than the limit, whatever comes, is decoded, shown and forgotten", async (t) => {
  const bitmaps = useBitmaps(t);
  const cache = new FrameCache();
  const side = 32;
  const whole = side * side * 4 + side * 3;
  cache.limit = whole * 5;
  let shown = null;
  let mostHeld = 0;
  // The same numbers each time.
  let seed = 12345;
  const random = (count) => {
    seed = (seed * 16807) % 2147483647;
    return Math.floor(seed / 1000) % count;
  };
  for (let step = 0; step < 3000; ++step) {
    const picture = pictureOf(random(40), 8 * (1 + random(4)), random(4) ? "fire" : "source", random(3) ? "image/jpeg" : "image/png");
    cache.put(picture);
    assert.ok(cache.bytes <= cache.limit, `${cache.bytes} bytes after ${step} steps`);
    const wanted = cache.get("fire", random(40));
    if (random(3)) await cache.prepare(picture);
    if (wanted && random(2)) {
      await cache.decode(wanted);
      cache.release(shown);
      shown = wanted;
      shown.shown = true;
    }
    if (random(200) === 0) cache.clear();
    assert.ok(cache.bytes <= cache.limit, `${cache.bytes} bytes after ${step} steps`);
    // What is shown stays, even if it was forgotten.
    assert.ok(bitmaps.bytes() <= cache.limit + side * side * 4, `${bitmaps.bytes()} bytes of bitmaps after ${step} steps`);
    mostHeld = Math.max(mostHeld, cache.bytes);
  }
  assert.ok(mostHeld > cache.limit * 0.9, `the limit was never reached: ${mostHeld} of ${cache.limit}`);
  cache.clear();
  cache.release(shown);
  assert.deepEqual([cache.bytes, bitmaps.bytes()], [0, 0]);
});

test("The frames that were used last stay, and lossless ones are not replaced by drafts", async (t) => {
  useBitmaps(t);
  const cache = new FrameCache();
  cache.limit = 300;
  const draft = (frame) => pictureOf(frame, 32);
  for (const frame of [1, 2, 3]) cache.put(draft(frame));
  cache.get("fire", 1);
  cache.put(draft(4));
  assert.deepEqual([1, 2, 3, 4].filter((frame) => cache.has("fire", frame)), [1, 3, 4]);
  const settled = pictureOf(3, 32, "fire", "image/png");
  cache.put(settled);
  cache.put(draft(3));
  assert.equal(cache.get("fire", 3), settled);
});

test("A picture that is forgotten while it is decoded is closed, and can be decoded again", async (t) => {
  const bitmaps = useBitmaps(t);
  const cache = new FrameCache();
  const picture = pictureOf(1, 8);
  cache.put(picture);
  const decoding = Promise.all([cache.prepare(picture), cache.decode(picture)]);
  cache.clear();
  await decoding;
  assert.equal(bitmaps.bytes(), 0);
  await cache.decode(picture);
  assert.equal(bitmaps.bytes(), 256);
});

test("What is undone right after a drag is the drag, also while its last edit waits for the one before", async () => {
  const sent = [];
  const connection = new EventTarget();
  connection.isOpen = true;
  connection.request = (message) => new Promise((resolve) => sent.push({ message, answer: () => resolve({ revision: sent.length }) }));
  const document = new StudioDocument(connection);
  const gesture = document.gesture("Glow");
  document.edit(gesture, [{ parameter: "glow", value: 1 }]);
  document.edit(gesture, [{ parameter: "glow", value: 2 }]);
  document.step("undo");
  document.edit(document.gesture("Glow"), [{ parameter: "glow", value: 3 }]);
  for (let count = 1; count <= 4; ++count) {
    assert.equal(sent.length, count);
    sent[count - 1].answer();
    await new Promise((resolve) => setTimeout(resolve));
  }
  assert.deepEqual(
    sent.map(({ message }) => message.edits?.[0].value ?? message.type),
    [1, 2, "undo", 3],
  );
  assert.equal(document.hasUnsent, false);
});
