import { clamp, element, followPointer, freshId, setAttribute } from "./dom.js";
import { decimalsOf, formatNumber, parseNumber, unitSign } from "./units.js";

/**
 * @typedef {{label: string, minimum: number, maximum: number, sliderMinimum: number, sliderMaximum: number, step: number, unit?: string,
 *   whole?: boolean}} Range
 * @typedef {{begin: () => any, change: (token: any, value: number) => void, reset: () => void}} Sink one gesture begins with
 *   begin(), whose token goes to each change
 */

/** What Shift and Alt make of an increment. */
const factorOf = (event) => (event.shiftKey ? 10 : event.altKey ? 0.1 : 1);

const round = (value, range) => {
  if (range.whole) return Math.round(value);
  // Alt goes a tenth of a step.
  const grain = range.step / 10;
  return Number((Math.round(value / grain) * grain).toFixed(8));
};

const limit = (value, range) => clamp(round(value, range), range.minimum, range.maximum);

const keyPause = 800;

/**
 * Keys that follow each other are one gesture.
 * @param {Sink} sink
 * @returns {() => any} the gesture that the next key belongs to
 */
function keyGestures(sink) {
  let token = null;
  let last = -Infinity;
  return () => {
    const now = performance.now();
    if (token === null || now - last > keyPause) token = sink.begin();
    last = now;
    return token;
  };
}

/**
 * Keys that move a value, as sliders have them.
 * @param {KeyboardEvent} event
 * @param {number} value
 * @param {Range} range
 * @returns {number|null} null for other keys
 */
function afterKey(event, value, range) {
  if (event.ctrlKey || event.metaKey) return null;
  const step = range.step * (range.whole ? Math.max(1, factorOf(event)) : factorOf(event));
  const steps = { ArrowRight: 1, ArrowUp: 1, ArrowLeft: -1, ArrowDown: -1, PageUp: 10, PageDown: -10 }[event.key];
  if (steps !== undefined) return value + steps * step;
  if (event.key === "Home") return range.sliderMinimum;
  return event.key === "End" ? range.sliderMaximum : null;
}

/**
 * Keys that move a control's value; Delete, Backspace and a double click take it back to the default.
 * @param {HTMLElement} node
 * @param {Sink} sink
 * @param {() => number} valueNow
 * @param {Range} range
 * @param {number} [step] of the arrow keys
 */
function takeKeys(node, sink, valueNow, range, step = range.step) {
  const keyGesture = keyGestures(sink);
  node.addEventListener("dblclick", () => sink.reset());
  node.addEventListener("keydown", (event) => {
    const isReset = event.key === "Delete" || event.key === "Backspace";
    const moved = isReset ? null : afterKey(event, valueNow(), { ...range, step });
    if (!isReset && moved === null) return;
    event.preventDefault();
    event.stopPropagation();
    if (isReset) sink.reset();
    else sink.change(keyGesture(), limit(moved, range));
  });
}

/**
 * Adds a drag whose changes are counted, move by move: a modifier that changes on the way changes the pace from there on.
 * @param {PointerEvent} event
 * @param {{value: number, perPixel: number, range: Range, sink: Sink, onEnd?: (moved: boolean) => void, threshold?: number}} drag
 */
function dragBy(event, { value, perPixel, range, sink, onEnd, threshold = 0 }) {
  let exact = value;
  let last = event.clientX;
  let token = null;
  followPointer(event, {
    move: (moved) => {
      if (token === null && Math.abs(moved.clientX - event.clientX) <= threshold) return;
      token ??= sink.begin();
      exact = clamp(exact + (moved.clientX - last) * perPixel * factorOf(moved), range.minimum, range.maximum);
      last = moved.clientX;
      sink.change(token, limit(exact, range));
    },
    end: () => onEnd?.(token !== null),
  });
}

/**
 * A track with a thumb.
 * @param {Range} range
 * @param {Sink} sink
 * @returns {{node: HTMLElement, set: (value: number) => void}}
 */
export function makeSlider(range, sink) {
  const fill = element("div", { class: "slider-fill" });
  const thumb = element("div", { class: "slider-thumb" });
  const node = element(
    "div",
    { class: "slider", role: "slider", tabindex: 0, "aria-label": range.label, "aria-valuemin": range.sliderMinimum, "aria-valuemax": range.sliderMaximum },
    element("div", { class: "slider-track" }, fill),
    thumb,
  );
  const span = range.sliderMaximum - range.sliderMinimum;
  let value = range.sliderMinimum;

  node.addEventListener("pointerdown", (event) => {
    if (event.button !== 0) return;
    event.preventDefault();
    node.focus({ preventScroll: true });
    const box = node.getBoundingClientRect();
    const usable = box.width - thumb.offsetWidth;
    const onThumb = event.target === thumb;
    const perPixel = span / usable;
    if (onThumb) return dragBy(event, { value, perPixel, range: { ...range, minimum: range.sliderMinimum, maximum: range.sliderMaximum }, sink });
    const token = sink.begin();
    const pressed = range.sliderMinimum + ((event.clientX - box.left - thumb.offsetWidth / 2) / usable) * span;
    const from = clamp(limit(pressed, range), range.sliderMinimum, range.sliderMaximum);
    sink.change(token, from);
    dragBy(event, { value: from, perPixel, range: { ...range, minimum: range.sliderMinimum, maximum: range.sliderMaximum }, sink: { ...sink, begin: () => token } });
  });
  takeKeys(node, sink, () => value, range);

  const decimals = decimalsOf(range.step) + (range.whole ? 0 : 1);
  return {
    node,
    set(next) {
      value = next;
      const share = clamp((next - range.sliderMinimum) / span, 0, 1);
      const zero = clamp(-range.sliderMinimum / span, 0, 1);
      node.style.setProperty("--share", String(share));
      fill.style.left = `${Math.min(share, zero) * 100}%`;
      fill.style.width = `${Math.abs(share - zero) * 100}%`;
      setAttribute(node, "aria-valuenow", formatNumber(next, decimals));
      setAttribute(node, "aria-valuetext", `${formatNumber(next, decimals)}${unitSign(range.unit)}`);
    },
  };
}

/**
 * A number that is typed, or dragged like a slider without an end.
 * @param {Range} range
 * @param {Sink} sink
 * @returns {{node: HTMLElement, input: HTMLInputElement, set: (value: number) => void}}
 */
export function makeNumber(range, sink) {
  const id = freshId("number");
  const input = /** @type {HTMLInputElement} */ (
    element("input", { id, type: "text", inputmode: "decimal", autocomplete: "off", spellcheck: "false", role: "spinbutton", "aria-label": range.label, "aria-valuemin": range.minimum, "aria-valuemax": range.maximum })
  );
  const sign = unitSign(range.unit);
  const node = element("span", { class: "number" }, input, sign ? element("span", { class: "unit", text: sign, "aria-hidden": "true" }) : null);
  const decimals = decimalsOf(range.step) + (range.whole ? 0 : 1);
  const span = range.sliderMaximum - range.sliderMinimum;
  const perPixel = Math.max(range.step, 10 ** Math.floor(Math.log10(span / 100)));
  let value = 0;
  const show = () => {
    input.value = formatNumber(value, decimals);
    setAttribute(input, "aria-valuenow", input.value);
  };
  const commit = () => {
    const typed = parseNumber(input.value);
    if (typed === null || formatNumber(typed, decimals) === formatNumber(value, decimals)) return show();
    value = limit(typed, range);
    show();
    sink.change(sink.begin(), value);
  };
  const keyGesture = keyGestures(sink);
  let isTyping = false;

  input.addEventListener("pointerdown", (event) => {
    if (event.button !== 0 || isTyping) return;
    event.preventDefault();
    node.classList.add("drags");
    dragBy(event, {
      value,
      perPixel,
      range,
      sink,
      threshold: 2,
      onEnd: (moved) => {
        node.classList.remove("drags");
        if (moved) return;
        input.focus();
        input.select();
      },
    });
  });
  input.addEventListener("focus", () => {
    isTyping = true;
    input.select();
  });
  input.addEventListener("blur", () => {
    isTyping = false;
    commit();
  });
  input.addEventListener("keydown", (event) => {
    event.stopPropagation();
    if (event.key === "Enter") {
      commit();
      input.select();
    } else if (event.key === "Escape") {
      show();
      input.blur();
    } else if (["ArrowUp", "ArrowDown", "PageUp", "PageDown"].includes(event.key)) {
      event.preventDefault();
      value = limit(afterKey(event, parseNumber(input.value) ?? value, range), range);
      show();
      sink.change(keyGesture(), value);
    } else if ((event.ctrlKey || event.metaKey) && "zys".includes(event.key.toLowerCase())) {
      // What is typed counts first; then the document's keys have their turn.
      commit();
      input.blur();
      node.dispatchEvent(new KeyboardEvent("keydown", event));
      event.preventDefault();
    }
  });
  return {
    node,
    input,
    set(next) {
      if (next === value && input.value !== "") return;
      value = next;
      if (document.activeElement !== input || !isTyping || node.classList.contains("drags")) show();
      else if (parseNumber(input.value) !== next) {
        show();
        input.select();
      }
    },
  };
}

/**
 * A dial for angles: one turn round is 360 degrees, and turning on goes on.
 * @param {Range} range degrees; 0 points up, and angles grow against the clock
 * @param {Sink} sink
 * @returns {{node: HTMLElement, set: (value: number) => void}}
 */
export function makeDial(range, sink) {
  const hand = element("div", { class: "dial-hand" });
  const node = element("div", { class: "dial", role: "slider", tabindex: 0, "aria-label": range.label, "aria-valuemin": range.minimum, "aria-valuemax": range.maximum }, hand);
  let value = 0;

  node.addEventListener("pointerdown", (event) => {
    if (event.button !== 0) return;
    event.preventDefault();
    node.focus({ preventScroll: true });
    const box = node.getBoundingClientRect();
    const angleOf = ({ clientX, clientY }) => (Math.atan2(box.left + box.width / 2 - clientX, box.top + box.height / 2 - clientY) * 180) / Math.PI;
    let last = angleOf(event);
    let exact = value;
    let token = null;
    followPointer(event, {
      move: (moved) => {
        token ??= sink.begin();
        const angle = angleOf(moved);
        exact = clamp(exact + ((angle - last + 540) % 360) - 180, range.minimum, range.maximum);
        last = angle;
        // Shift: steps of 15 degrees, as drawing programs have them.
        sink.change(token, limit(moved.shiftKey ? Math.round(exact / 15) * 15 : Math.round(exact), range));
      },
    });
  });
  takeKeys(node, sink, () => value, range, 1);
  return {
    node,
    set(next) {
      value = next;
      hand.style.transform = `rotate(${-next}deg)`;
      setAttribute(node, "aria-valuenow", formatNumber(next, 1));
      setAttribute(node, "aria-valuetext", `${formatNumber(next, 1)} degrees`);
    },
  };
}
