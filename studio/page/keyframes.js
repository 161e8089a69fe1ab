// Keyframes as the program has them: what a value is between them, and lists with one of them changed. Nothing here changes
// the lists that it is given.

/**
 * @typedef {number|number[]} Value a number, [red, green, blue] or [x, y]
 * @typedef {{frame: number, value: Value, ease: string, curve?: number[]}} Keyframe
 */

const curves = { linear: [0, 0, 1, 1], "ease-in": [0.42, 0, 1, 1], "ease-out": [0, 0, 0.58, 1], ease: [0.42, 0, 0.58, 1] };

/**
 * @param {Keyframe} keyframe
 * @returns {number[]|null} x1, y1, x2, y2 of the way to the next keyframe; null where the value is held
 */
export function curveOf(keyframe) {
  if (keyframe.ease === "hold") return null;
  return keyframe.ease === "bezier" && keyframe.curve ? keyframe.curve : (curves[keyframe.ease] ?? curves.linear);
}

const bezier = (a, b, t) => 3 * (1 - t) * (1 - t) * t * a + 3 * (1 - t) * t * t * b + t * t * t;

/**
 * @param {number[]} curve x1, y1, x2, y2
 * @param {number} x share of the time, 0 to 1
 * @returns {number} share of the way; may be below 0 and above 1
 */
export function progress([x1, y1, x2, y2], x) {
  // Exact, so that what lies half-way is rounded as the program rounds it.
  if (x1 === y1 && x2 === y2) return x;
  // x grows with t, so halving finds it; thirty steps are finer than a pixel of any screen.
  let low = 0;
  let high = 1;
  for (let step = 0; step < 30; ++step) {
    const middle = (low + high) / 2;
    if (bezier(x1, x2, middle) < x) low = middle;
    else high = middle;
  }
  return bezier(y1, y2, (low + high) / 2);
}

const mix = (from, to, share) => (Array.isArray(from) ? from.map((part, index) => part + (to[index] - part) * share) : from + (to - from) * share);

/**
 * @param {Keyframe[]} keyframes at least one, by growing frames
 * @param {number} frame
 * @param {string} kind the parameter's kind: menus hold, whole numbers are rounded
 * @returns {Value}
 */
export function valueAt(keyframes, frame, kind) {
  const next = keyframes.findIndex((keyframe) => keyframe.frame > frame);
  if (next === 0) return keyframes[0].value;
  const from = keyframes[next < 0 ? keyframes.length - 1 : next - 1];
  const curve = kind === "popup" ? null : curveOf(from);
  if (next < 0 || !curve) return from.value;
  const to = keyframes[next];
  const value = mix(from.value, to.value, progress(curve, (frame - from.frame) / (to.frame - from.frame)));
  return kind === "integer" ? Math.round(value) : value;
}

const byFrame = (a, b) => a.frame - b.frame;

/**
 * @param {Keyframe[]} keyframes
 * @param {number} frame
 * @returns {Keyframe|undefined}
 */
export function keyframeAt(keyframes, frame) {
  return keyframes.find((keyframe) => Math.abs(keyframe.frame - frame) < 1e-6);
}

/**
 * @param {Keyframe[]} keyframes
 * @param {number} frame
 * @param {Value} value
 * @returns {Keyframe[]} with that value at that frame; a new keyframe goes on as the one before it
 */
export function withValue(keyframes, frame, value) {
  if (keyframeAt(keyframes, frame)) return keyframes.map((keyframe) => (Math.abs(keyframe.frame - frame) < 1e-6 ? { ...keyframe, value } : keyframe));
  const before = keyframes.filter((keyframe) => keyframe.frame < frame).pop();
  const added = { frame, value, ease: before && before.ease !== "bezier" ? before.ease : "linear" };
  return [...keyframes, added].sort(byFrame);
}

/**
 * @param {Keyframe[]} keyframes
 * @param {Set<number>} frames those that move
 * @param {number} by frames
 * @returns {Keyframe[]} what moves takes the place of what lies where it arrives
 */
export function withMoved(keyframes, frames, by) {
  const moved = keyframes.filter((keyframe) => frames.has(keyframe.frame)).map((keyframe) => ({ ...keyframe, frame: keyframe.frame + by }));
  return replacing(keyframes.filter((keyframe) => !frames.has(keyframe.frame)), moved);
}

/**
 * @param {Keyframe[]} keyframes
 * @param {Keyframe[]} added
 * @returns {Keyframe[]} the added ones take the place of those at their frames
 */
export function replacing(keyframes, added) {
  return [...keyframes.filter((keyframe) => !keyframeAt(added, keyframe.frame)), ...added].sort(byFrame);
}

/**
 * @param {Keyframe[]} keyframes
 * @param {Set<number>} frames
 * @returns {Keyframe[]} empty where nothing is left
 */
export function without(keyframes, frames) {
  return keyframes.filter((keyframe) => !frames.has(keyframe.frame));
}

/**
 * @param {Keyframe[]} keyframes
 * @param {Set<number>} frames
 * @param {string} ease
 * @param {number[]} [curve] of a bezier; otherwise it begins with the shape that the keyframe has
 * @returns {Keyframe[]}
 */
export function withEase(keyframes, frames, ease, curve) {
  return keyframes.map((keyframe) => {
    if (!frames.has(keyframe.frame)) return keyframe;
    const { frame, value } = keyframe;
    return ease === "bezier" ? { frame, value, ease, curve: curve ?? curveOf(keyframe) ?? curves.ease } : { frame, value, ease };
  });
}
