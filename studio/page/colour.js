import { clamp, element, followPointer, setAttribute } from "./dom.js";
import { formatHex, parseHex } from "./units.js";
import { makeNumber } from "./slider.js";

/** @param {number[]} colour red, green, blue 0..1 @returns {number[]} hue 0..360, saturation and value 0..1 */
export function toHsv([red, green, blue]) {
  const most = Math.max(red, green, blue);
  const span = most - Math.min(red, green, blue);
  if (span === 0) return [0, 0, most];
  const sixth = most === red ? ((green - blue) / span + 6) % 6 : most === green ? (blue - red) / span + 2 : (red - green) / span + 4;
  return [sixth * 60, span / most, most];
}

/** @param {number[]} hsv hue 0..360, saturation and value 0..1 @returns {number[]} red, green, blue 0..1 */
export function fromHsv([hue, saturation, value]) {
  const part = (offset) => {
    const k = (offset + hue / 60) % 6;
    return value - value * saturation * clamp(Math.min(k, 4 - k), 0, 1);
  };
  return [part(5), part(3), part(1)];
}

/**
 * A well that opens a picker: a field of saturation and brightness, a hue, and numbers.
 * @param {string} label
 * @param {{begin: () => any, change: (token: any, colour: number[]) => void, reset: () => void}} sink
 * @returns {{node: HTMLElement, set: (colour: number[]) => void}}
 */
export function makeColour(label, sink) {
  const well = element("button", { type: "button", class: "well", "aria-haspopup": "dialog", "aria-expanded": "false", "aria-label": label });
  const hex = element("input", { type: "text", class: "hex", spellcheck: "false", autocomplete: "off", "aria-label": `${label}, as #rrggbb`, maxlength: 7 });
  const node = element("div", { class: "colour" }, well, hex);
  let colour = [0, 0, 0];
  let hsv = [0, 0, 0];
  let picker = null;

  const emit = (token, next) => {
    colour = next;
    show();
    sink.change(token, next.map((part) => Number(part.toFixed(4))));
  };
  const show = () => {
    const text = formatHex(colour);
    well.style.backgroundColor = text;
    setAttribute(well, "aria-label", `${label} ${text}`);
    if (document.activeElement !== hex) hex.value = text;
    picker?.show();
  };
  const commitHex = () => {
    const typed = parseHex(hex.value);
    if (typed && formatHex(typed) !== formatHex(colour)) emit(sink.begin(), typed);
    hex.value = formatHex(colour);
  };
  hex.addEventListener("keydown", (event) => {
    event.stopPropagation();
    if (event.key === "Enter") commitHex();
    if (event.key === "Escape") {
      hex.value = formatHex(colour);
      hex.blur();
    }
  });
  hex.addEventListener("focus", () => hex.select());
  hex.addEventListener("blur", commitHex);
  well.addEventListener("dblclick", () => sink.reset());

  const close = () => {
    if (!picker) return;
    picker.node.remove();
    picker = null;
    setAttribute(well, "aria-expanded", "false");
    document.removeEventListener("pointerdown", closeOutside, true);
    removeEventListener("resize", close);
  };
  const closeOutside = (event) => {
    if (!picker.node.contains(event.target) && event.target !== well) close();
  };
  well.addEventListener("click", () => {
    if (picker) return close();
    hsv = toHsv(colour);
    picker = makePicker(label, {
      get: () => ({ colour, hsv }),
      begin: sink.begin,
      change: (token, next, nextHsv) => {
        hsv = nextHsv ?? toHsv(next);
        emit(token, next);
      },
      close: () => {
        close();
        well.focus();
      },
    });
    document.body.append(picker.node);
    const box = well.getBoundingClientRect();
    const { offsetWidth, offsetHeight } = picker.node;
    picker.node.style.left = `${clamp(box.left, 8, innerWidth - offsetWidth - 8)}px`;
    picker.node.style.top = `${box.bottom + 6 + offsetHeight < innerHeight ? box.bottom + 6 : Math.max(8, box.top - offsetHeight - 6)}px`;
    setAttribute(well, "aria-expanded", "true");
    document.addEventListener("pointerdown", closeOutside, true);
    addEventListener("resize", close);
    picker.show();
    picker.focus();
  });
  return {
    node,
    set(next) {
      if (next.every((part, index) => Math.abs(part - colour[index]) < 1e-4) && hex.value) return;
      colour = next;
      // A grey has no hue, and black no saturation: the picker keeps those that it had.
      const [hue, saturation, value] = toHsv(next);
      hsv = [saturation && value ? hue : hsv[0], value ? saturation : hsv[1], value];
      show();
    },
  };
}

function makePicker(label, { get, begin, change, close }) {
  const dot = element("div", { class: "picker-dot" });
  const field = element("div", { class: "picker-field", role: "slider", tabindex: 0, "aria-label": `${label}: saturation and brightness` }, dot);
  const mark = element("div", { class: "picker-mark" });
  const hue = element("div", { class: "picker-hue", role: "slider", tabindex: 0, "aria-label": `${label}: hue`, "aria-valuemin": 0, "aria-valuemax": 360 }, mark);
  const numbers = ["Red", "Green", "Blue"].map((name, index) => {
    const range = { label: `${label}: ${name}`, minimum: 0, maximum: 255, sliderMinimum: 0, sliderMaximum: 255, step: 1, whole: true };
    const number = makeNumber(range, {
      begin,
      change: (token, value) => change(token, get().colour.map((part, at) => (at === index ? value / 255 : part))),
      reset: () => {},
    });
    return { node: element("label", { class: "picker-number" }, element("span", { text: name[0] }), number.node), set: number.set };
  });
  const node = element("div", { class: "picker", role: "dialog", "aria-label": label }, field, hue, element("div", { class: "picker-numbers" }, ...numbers.map((number) => number.node)));

  const setHsv = (token, hsv) => change(token, fromHsv(hsv), hsv);
  const drag = (target, place) => {
    target.addEventListener("pointerdown", (event) => {
      if (event.button !== 0) return;
      event.preventDefault();
      target.focus();
      const token = begin();
      const box = target.getBoundingClientRect();
      const move = ({ clientX, clientY }) => setHsv(token, place(clamp((clientX - box.left) / box.width, 0, 1), clamp((clientY - box.top) / box.height, 0, 1)));
      move(event);
      followPointer(event, { move });
    });
  };
  drag(field, (x, y) => [get().hsv[0], x, 1 - y]);
  drag(hue, (x) => [x * 359.9, get().hsv[1], get().hsv[2]]);
  field.addEventListener("keydown", (event) => {
    const by = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] }[event.key];
    if (!by) return;
    event.preventDefault();
    const [h, s, v] = get().hsv;
    const step = 0.01 * (event.shiftKey ? 10 : 1);
    setHsv(begin(), [h, clamp(s + by[0] * step, 0, 1), clamp(v + by[1] * step, 0, 1)]);
  });
  hue.addEventListener("keydown", (event) => {
    const by = { ArrowLeft: -1, ArrowRight: 1, ArrowUp: 1, ArrowDown: -1, PageUp: 10, PageDown: -10 }[event.key];
    if (!by) return;
    event.preventDefault();
    const [h, s, v] = get().hsv;
    setHsv(begin(), [clamp(h + by * (event.shiftKey ? 10 : 1), 0, 359.9), s, v]);
  });
  node.addEventListener("keydown", (event) => {
    if (event.key === "Escape") close();
    event.stopPropagation();
  });
  return {
    node,
    focus: () => field.focus(),
    show() {
      const { colour, hsv } = get();
      field.style.backgroundColor = formatHex(fromHsv([hsv[0], 1, 1]));
      dot.style.left = `${hsv[1] * 100}%`;
      dot.style.top = `${(1 - hsv[2]) * 100}%`;
      dot.style.backgroundColor = formatHex(colour);
      mark.style.left = `${(hsv[0] / 360) * 100}%`;
      setAttribute(field, "aria-valuenow", Math.round(hsv[1] * 100));
      setAttribute(field, "aria-valuetext", `saturation ${Math.round(hsv[1] * 100)} %, brightness ${Math.round(hsv[2] * 100)} %`);
      setAttribute(hue, "aria-valuenow", Math.round(hsv[0]));
      numbers.forEach((number, index) => number.set(Math.round(colour[index] * 255)));
    },
  };
}
