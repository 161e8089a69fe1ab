import { element, followPointer, setAttribute } from "./dom.js";
import { formatHex, formatNumber, unitSign } from "./units.js";
import { withValue } from "./keyframes.js";
import { makeDragLabel } from "./timeline.js";

/** @param {import("./document.js").Parameter} parameter @param {any} value @returns {string} */
export function describeValue(parameter, value) {
  if (parameter.kind === "colour") return formatHex(value);
  if (parameter.kind === "point") return value.map((part) => `${formatNumber(part * 100, 1)} %`).join(", ");
  if (parameter.kind === "popup") return parameter.entries[value];
  return `${formatNumber(value, 2)}${unitSign(parameter.unit)}`;
}

/**
 * The dope sheet: a row for each animated parameter, a button for each keyframe.
 * @param {{names: HTMLElement, lanes: HTMLElement, timeline: import("./timeline.js").Timeline, selection: import("./selection.js").KeySelection,
 *   document: import("./document.js").StudioDocument, state: import("./state.js").PageState}} parts
 */
export function makeDopeSheet({ names, lanes, timeline, selection, document: studio, state }) {
  const rows = new Map();
  const sheet = element("div", { class: "dope" });
  const empty = element("p", { class: "timeline-empty", text: "Nothing is animated yet. Press a diamond beside a control to set its first keyframe." });
  const marquee = element("div", { class: "marquee" });
  marquee.hidden = true;
  lanes.append(sheet, empty, marquee);
  const label = makeDragLabel(lanes);

  const animated = () => studio.parameters.filter(({ slug }) => studio.isAnimated(slug));

  function makeRow(parameter) {
    const name = element("button", { type: "button", class: "lane-name", text: parameter.label, title: `Select the keyframes of ${parameter.label}`, data: { slug: parameter.slug } });
    name.addEventListener("click", (event) => {
      selection.select(studio.keyframes(parameter.slug).map(({ frame }) => [parameter.slug, frame]), event.shiftKey);
    });
    const lane = element("div", { class: "lane", data: { slug: parameter.slug } });
    lane.addEventListener("dblclick", (event) => {
      if (event.target !== lane) return;
      const frame = Math.round(timeline.frameAt(event.clientX - lane.getBoundingClientRect().left));
      const keyframes = withValue(studio.keyframes(parameter.slug), frame, studio.valueAt(parameter.slug, frame));
      studio.edit(studio.gesture(`Keyframe ${parameter.label}`), [{ parameter: parameter.slug, keyframes }]);
    });
    return { parameter, name, lane, keys: [] };
  }

  function makeKey(row) {
    const key = element("button", { type: "button", class: "key" });
    key.addEventListener("pointerdown", (event) => pressKey(event, row, key));
    key.addEventListener("keydown", (event) => keyDown(event, row, key));
    key.addEventListener("focus", () => {
      for (const other of row.keys) other.tabIndex = other === key ? 0 : -1;
    });
    return key;
  }

  function pressKey(event, row, key) {
    if (event.button !== 0) return;
    event.preventDefault();
    event.stopPropagation();
    key.focus({ preventScroll: true });
    const { slug } = row.parameter;
    const frame = Number(key.dataset.frame);
    if (event.shiftKey || event.ctrlKey || event.metaKey) return selection.toggle(slug, frame);
    if (!selection.has(slug, frame)) selection.select([[slug, frame]]);
    let move = null;
    let moved = 0;
    const box = lanes.getBoundingClientRect();
    followPointer(event, {
      move: ({ clientX, clientY, altKey }) => {
        if (!move && Math.abs(clientX - event.clientX) < 3) return;
        move ??= selection.beginMove();
        const targets = [state.get("playhead"), timeline.playRange.first, timeline.playRange.last, ...otherFrames(move)];
        const wanted = timeline.snap(frame + (clientX - event.clientX) / timeline.perFrame, targets, altKey);
        if (wanted - frame !== moved) move.by((moved = wanted - frame));
        label.show(`${timeline.label(wanted)}  ·  ${describeValue(row.parameter, studio.valueAt(slug, wanted))}`, timeline.xOf(wanted), clientY - box.top);
      },
      end: () => {
        label.hide();
        if (!move) selection.select([[slug, frame]]);
      },
    });
  }

  const otherFrames = (move) =>
    animated().flatMap(({ slug }) => (move.original.get(slug) ?? studio.keyframes(slug)).map(({ frame }) => frame).filter((frame) => !selection.has(slug, frame) || !move.original.has(slug)));

  function keyDown(event, row, key) {
    const frame = Number(key.dataset.frame);
    const { slug } = row.parameter;
    const index = row.keys.indexOf(key);
    const by = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
    if (by && event.altKey) {
      if (!selection.has(slug, frame)) selection.select([[slug, frame]]);
      selection.beginMove().by(by * (event.shiftKey ? 10 : 1));
    } else if (by && !event.ctrlKey) {
      row.keys[index + by]?.focus();
    } else if (event.key === "ArrowUp" || event.key === "ArrowDown") {
      const shown = [...rows.values()];
      const other = shown[shown.indexOf(row) + (event.key === "ArrowUp" ? -1 : 1)];
      other?.keys.reduce((near, each) => (Math.abs(each.dataset.frame - frame) < Math.abs(near.dataset.frame - frame) ? each : near)).focus();
    } else if (event.key === "Enter") {
      timeline.goTo(frame);
    } else if (event.key === " ") {
      selection.toggle(slug, frame);
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  }

  function build() {
    const wanted = animated();
    for (const slug of rows.keys()) if (!wanted.some((parameter) => parameter.slug === slug)) rows.delete(slug);
    const ordered = wanted.map((parameter) => rows.get(parameter.slug) ?? makeRow(parameter));
    rows.clear();
    for (const row of ordered) rows.set(row.parameter.slug, row);
    replaceChanged(names, ordered.map((row) => row.name));
    replaceChanged(sheet, ordered.map((row) => row.lane));
    empty.hidden = ordered.length > 0;
    update();
  }

  function update() {
    sheet.hidden = state.get("lane") !== "keys";
    for (const row of rows.values()) {
      const keyframes = studio.keyframes(row.parameter.slug);
      while (row.keys.length > keyframes.length) row.keys.pop().remove();
      while (row.keys.length < keyframes.length) {
        const key = makeKey(row);
        row.keys.push(key);
        row.lane.append(key);
      }
      if (!row.keys.some((key) => key.tabIndex === 0 && key.hasAttribute("tabindex"))) row.keys.forEach((key, index) => (key.tabIndex = index ? -1 : 0));
      keyframes.forEach((keyframe, index) => {
        const key = row.keys[index];
        key.dataset.frame = String(keyframe.frame);
        key.dataset.ease = index + 1 < keyframes.length ? keyframe.ease : "linear";
        key.style.transform = `translateX(${timeline.xOf(keyframe.frame)}px)`;
        const selected = selection.has(row.parameter.slug, keyframe.frame);
        key.classList.toggle("is-selected", selected);
        setAttribute(key, "aria-pressed", selected ? "true" : "false");
        const words = `${row.parameter.label}, ${timeline.label(keyframe.frame)}: ${describeValue(row.parameter, keyframe.value)}, ${keyframe.ease}`;
        setAttribute(key, "aria-label", words);
        setAttribute(key, "title", words);
      });
    }
  }

  // A press between the keys draws a frame around those that are meant.
  sheet.addEventListener("pointerdown", (event) => {
    if (event.button !== 0) return;
    event.preventDefault();
    const box = lanes.getBoundingClientRect();
    const scrolled = lanes.scrollTop;
    const adds = event.shiftKey;
    const before = adds ? selection.entries().flatMap(([slug, frames]) => [...frames].map((frame) => [slug, frame])) : [];
    if (!adds) selection.clear();
    followPointer(event, {
      move: ({ clientX, clientY }) => {
        const [left, right] = [event.clientX, clientX].sort((a, b) => a - b);
        const [top, bottom] = [event.clientY, clientY].sort((a, b) => a - b);
        marquee.hidden = false;
        Object.assign(marquee.style, { left: `${left - box.left}px`, top: `${top - box.top + scrolled}px`, width: `${right - left}px`, height: `${bottom - top}px` });
        const inside = [...rows.values()].flatMap((row) => {
          const lane = row.lane.getBoundingClientRect();
          if (lane.bottom < top || lane.top > bottom) return [];
          return studio.keyframes(row.parameter.slug).filter(({ frame }) => timeline.xOf(frame) + box.left >= left - 4 && timeline.xOf(frame) + box.left <= right + 4).map(({ frame }) => [row.parameter.slug, frame]);
        });
        selection.select([...before, ...inside]);
      },
      end: () => (marquee.hidden = true),
    });
  });

  studio.addEventListener("change", build);
  timeline.addEventListener("view", update);
  selection.addEventListener("change", update);
  state.on(["lane", "ruler"], update);
}

/** Leaves children alone where they are the same: a child that is put in anew loses its focus. */
function replaceChanged(parent, children) {
  if (children.length === parent.children.length && children.every((child, index) => parent.children[index] === child)) return;
  parent.replaceChildren(...children);
}
