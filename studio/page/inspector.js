import { clamp, element, followPointer, freshId, setAttribute } from "./dom.js";
import { icon } from "./icons.js";
import { keyframeAt, withValue, without } from "./keyframes.js";
import { makeColour } from "./colour.js";
import { makeDial, makeNumber, makeSlider } from "./slider.js";
import { formatNumber, unitSign } from "./units.js";

/**
 * The filter's parameters in the order of its declarations, one row each.
 * @param {HTMLElement} list
 * @param {{document: import("./document.js").StudioDocument, state: import("./state.js").PageState,
 *   pressHeader: () => void}} parts
 */
export function makeInspector(list, { document: studio, state, pressHeader }) {
  let rows = [];
  let declared = "";

  const build = () => {
    // The same declarations again, as after a lost connection: what has the focus keeps it.
    const declarations = JSON.stringify(studio.hello.parameters);
    if (declarations === declared) return;
    declared = declarations;
    rows = studio.hello.parameters.map((parameter) => (parameter.kind === "custom" ? headerRow(parameter, pressHeader) : makeRow(parameter, studio, state)));
    list.replaceChildren(...rows.map((row) => row.node));
    update();
  };
  const update = () => {
    if (studio.state) for (const row of rows) row.update();
  };
  studio.addEventListener("hello", build);
  studio.addEventListener("change", update);
  state.on(["playhead"], update);
}

function headerRow(parameter, pressHeader) {
  const picture = element("img", { src: "/header.png", alt: parameter.label, draggable: "false" });
  const button = element("button", { type: "button", class: "header-button", title: `Open ${parameter.label}`, on: { click: pressHeader } }, picture);
  picture.addEventListener("error", () => button.replaceChildren(parameter.label), { once: true });
  return { node: element("div", { class: "header-row" }, button), update: () => {} };
}

/** The sink of a control: edits of one gesture are one step of undo. */
function sinkOf(parameter, studio, state, merge = (value) => value) {
  return {
    begin: () => studio.gesture(parameter.label),
    change: (gesture, value) => studio.setValue(gesture, parameter.slug, merge(value), state.get("playhead")),
    reset: () => studio.reset(parameter.slug),
  };
}

/** @param {import("./document.js").Parameter} parameter */
function rangeOf(parameter) {
  const { label, minimum, maximum, sliderMinimum, sliderMaximum, step, unit, kind } = parameter;
  return { label, minimum, maximum, sliderMinimum: sliderMinimum ?? minimum, sliderMaximum: sliderMaximum ?? maximum, step: step || (kind === "integer" ? 1 : (maximum - minimum) / 100), unit, whole: kind === "integer" };
}

const makers = {
  integer: makeFloat,
  float: makeFloat,
  angle(parameter, sink) {
    const range = { ...rangeOf(parameter), unit: "degrees", step: 1 };
    const dial = makeDial(range, sink);
    // Angles may turn many times; the number is dragged by degrees.
    const number = makeNumber({ ...range, sliderMinimum: 0, sliderMaximum: 100 }, sink);
    return { nodes: [element("div", { class: "dial-cell" }, dial.node), number.node], set: (value) => (dial.set(value), number.set(value)) };
  },
  colour(parameter, sink) {
    const colour = makeColour(parameter.label, sink);
    return { nodes: [colour.node], set: colour.set, wide: true };
  },
  point: makePoint,
  popup(parameter, sink) {
    const select = element("select", { "aria-label": parameter.label }, ...parameter.entries.map((entry, index) => element("option", { value: index, text: entry })));
    select.addEventListener("change", () => sink.change(sink.begin(), Number(select.value)));
    return { nodes: [select], set: (value) => (select.value = String(value)), wide: true };
  },
};

function makeFloat(parameter, sink) {
  const range = rangeOf(parameter);
  const slider = makeSlider(range, sink);
  const number = makeNumber(range, sink);
  return { nodes: [slider.node, number.node], set: (value) => (slider.set(value), number.set(value)) };
}

function makePoint(parameter, sink) {
  let value = [0, 0];
  const dot = element("div", { class: "pad-dot" });
  const pad = element("div", { class: "pad", role: "slider", tabindex: 0, "aria-label": parameter.label }, dot);
  const numbers = ["X", "Y"].map((name, axis) => {
    // A point is told in percent of the picture. Outside of it is legal where the filter says so.
    const range = { label: `${parameter.label} ${name}`, minimum: -1000, maximum: 1000, sliderMinimum: 0, sliderMaximum: 100, step: 1, unit: "%" };
    const set = (token, percent) => sink.change(token, value.map((part, at) => (at === axis ? percent / 100 : part)));
    const number = makeNumber(range, { ...sink, change: set });
    return { node: element("label", { class: "point-number" }, element("span", { text: name }), number.node), set: number.set };
  });
  pad.addEventListener("pointerdown", (event) => {
    if (event.button !== 0) return;
    event.preventDefault();
    pad.focus({ preventScroll: true });
    const token = sink.begin();
    const box = pad.getBoundingClientRect();
    const move = ({ clientX, clientY }) =>
      sink.change(token, [clamp((clientX - box.left) / box.width, 0, 1), clamp(1 - (clientY - box.top) / box.height, 0, 1)].map((part) => Number(part.toFixed(3))));
    move(event);
    followPointer(event, { move });
  });
  pad.addEventListener("dblclick", () => sink.reset());
  pad.addEventListener("keydown", (event) => {
    const by = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] }[event.key];
    if (!by) return;
    event.preventDefault();
    event.stopPropagation();
    const step = 0.01 * (event.shiftKey ? 10 : event.altKey ? 0.1 : 1);
    sink.change(sink.begin(), value.map((part, at) => Number((part + by[at] * step).toFixed(4))));
  });
  return {
    nodes: [element("div", { class: "point" }, pad, ...numbers.map((number) => number.node))],
    wide: true,
    set(next) {
      value = next;
      dot.style.left = `${clamp(next[0], 0, 1) * 100}%`;
      dot.style.top = `${clamp(1 - next[1], 0, 1) * 100}%`;
      numbers.forEach((number, axis) => number.set(next[axis] * 100));
      setAttribute(pad, "aria-valuenow", Math.round(next[0] * 100));
      setAttribute(pad, "aria-valuetext", next.map((part) => `${formatNumber(part * 100, 1)} %`).join(", "));
    },
  };
}

function tooltipOf(parameter) {
  const unit = unitSign(parameter.unit);
  const range = ["integer", "float"].includes(parameter.kind) ? `${parameter.minimum} to ${parameter.maximum}${unit}` : "";
  return [parameter.help, range && `Range: ${range}`, "Double-click: back to the default"].filter(Boolean).join("\n");
}

function makeRow(parameter, studio, state) {
  const { slug, label } = parameter;
  const sink = sinkOf(parameter, studio, state);
  const control = (makers[parameter.kind] ?? makeFloat)(parameter, sink);
  const id = freshId("row");
  const name = element("span", { class: "row-label", id, text: label, title: tooltipOf(parameter), on: { dblclick: () => studio.reset(slug) } });
  const diamond = element("button", { type: "button", class: "diamond", "aria-label": `Keyframe for ${label}`, on: { click: () => toggleKeyframe(parameter, studio, state) } }, icon("diamond"));
  if (!parameter.animates) diamond.hidden = true;
  const node = element("div", { class: `row row-${parameter.kind}${control.wide ? " row-wide" : ""}`, role: "group", "aria-labelledby": id, "aria-description": parameter.help, data: { slug } }, name, ...control.nodes, diamond);
  return {
    node,
    update() {
      const frame = state.get("playhead");
      const keyframes = studio.keyframes(slug);
      control.set(studio.valueAt(slug, frame));
      const animated = studio.isAnimated(slug);
      const here = animated && Boolean(keyframeAt(keyframes, frame));
      node.classList.toggle("is-set", studio.isSet(slug));
      diamond.classList.toggle("is-animated", animated);
      setAttribute(diamond, "aria-pressed", here ? "true" : "false");
      setAttribute(diamond, "title", here ? "Remove this keyframe" : animated ? "Add a keyframe here" : "Animate: add a keyframe here");
    },
  };
}

/** Adds a keyframe at the playhead, or removes the one that is there. */
export function toggleKeyframe(parameter, studio, state) {
  const { slug, label } = parameter;
  const frame = state.get("playhead");
  const keyframes = studio.keyframes(slug);
  if (!studio.isAnimated(slug)) {
    studio.setAnimated(slug, frame);
    studio.edit(studio.gesture(`Animate ${label}`), [{ parameter: slug, keyframes: [{ frame, value: studio.valueAt(slug, frame), ease: "linear" }] }]);
  } else if (keyframeAt(keyframes, frame)) {
    const left = without(keyframes, new Set([frame]));
    if (!left.length) studio.setAnimated(slug, null);
    const edit = left.length ? { parameter: slug, keyframes: left } : { parameter: slug, value: studio.valueAt(slug, frame) };
    studio.edit(studio.gesture(`Remove keyframe of ${label}`), [edit]);
  } else {
    studio.edit(studio.gesture(`Keyframe ${label}`), [{ parameter: slug, keyframes: withValue(keyframes, frame, studio.valueAt(slug, frame)) }]);
  }
}
