import { clamp, element, followPointer, setAttribute, setText, svg } from "./dom.js";
import { curveOf, progress, withEase, withMoved, withValue } from "./keyframes.js";
import { describeValue } from "./dope.js";
import { makeDragLabel } from "./timeline.js";
import { formatNumber } from "./units.js";

const padding = 18;
const componentColours = { colour: ["#f26d6d", "#5fc27a", "#6f9df5"], point: ["var(--accent)", "var(--key)"] };

/**
 * The curve of one animated parameter, with handles for its eases. Numbers move up and down; colours and points show their
 * parts and move in time alone.
 * @param {{names: HTMLElement, lanes: HTMLElement, timeline: import("./timeline.js").Timeline, selection: import("./selection.js").KeySelection,
 *   document: import("./document.js").StudioDocument, state: import("./state.js").PageState}} parts
 */
export function makeCurves({ names, lanes, timeline, selection, document: studio, state }) {
  const drawing = svg("svg", { class: "curves", role: "group", "aria-label": "Curve" });
  const grid = svg("g", { class: "curve-grid" });
  const lines = svg("g", { class: "curve-lines" });
  const arms = svg("g", { class: "curve-arms" });
  const points = svg("g", { class: "curve-points" });
  drawing.append(grid, lines, arms, points);
  const remark = element("p", { class: "curve-remark" });
  lanes.append(drawing, remark);
  const label = makeDragLabel(lanes);
  let active = null;
  let frozen = null;

  const parameterOf = () => {
    const animated = studio.parameters.filter(({ slug }) => studio.isAnimated(slug));
    return animated.find(({ slug }) => slug === active) ?? animated[0] ?? null;
  };
  const partsOf = (value) => (Array.isArray(value) ? value : [value]);

  function rangeOf(parameter, keyframes) {
    // While something is dragged the scale stands still.
    if (frozen) return frozen;
    const values = [];
    for (const keyframe of keyframes) values.push(...partsOf(keyframe.value));
    keyframes.slice(0, -1).forEach((keyframe, index) => {
      for (let step = 1; step < 10; ++step) values.push(...partsOf(studio.valueAt(parameter.slug, keyframe.frame + ((keyframes[index + 1].frame - keyframe.frame) * step) / 10)));
    });
    const low = Math.min(...values);
    const high = Math.max(...values);
    const span = high - low || Math.max(1, Math.abs(high) * 0.2);
    return high === low ? { low: low - span / 2, high: high + span / 2 } : { low, high };
  }

  function update() {
    const isShown = state.get("lane") === "curves";
    const parameter = isShown ? parameterOf() : null;
    lanes.parentElement.classList.toggle("is-curves", Boolean(parameter));
    drawing.style.display = parameter ? "" : "none";
    for (const name of names.children) setAttribute(name, "aria-current", isShown && name.dataset.slug === parameter?.slug ? "true" : null);
    remark.hidden = true;
    if (!parameter) return;
    const keyframes = studio.keyframes(parameter.slug);
    const height = lanes.clientHeight;
    const width = lanes.clientWidth;
    drawing.setAttribute("width", String(width));
    drawing.setAttribute("height", String(height));
    const range = rangeOf(parameter, keyframes);
    const yOf = (value) => height - padding - ((value - range.low) / (range.high - range.low)) * (height - 2 * padding);
    drawGrid(range, yOf, width);
    drawLines(parameter, keyframes, yOf, width);
    drawKeys(parameter, keyframes, range, yOf, height);
    remark.hidden = keyframes.length > 1;
    setText(remark, "One keyframe is a constant. Go to another frame and change the value to get a curve.");
  }

  function drawGrid(range, yOf, width) {
    grid.replaceChildren(
      ...[range.low, (range.low + range.high) / 2, range.high].flatMap((value) => {
        const text = svg("text", { x: 6, y: yOf(value) - 4 });
        text.textContent = formatNumber(value, 2);
        return [svg("line", { x1: 0, x2: width, y1: yOf(value), y2: yOf(value) }), text];
      }),
    );
  }

  function drawLines(parameter, keyframes, yOf, width) {
    const colours = componentColours[parameter.kind] ?? ["var(--key)"];
    lines.replaceChildren(
      ...partsOf(keyframes[0].value).map((_, part) => {
        const valueOf = (keyframe) => yOf(partsOf(keyframe.value)[part]);
        let path = `M0 ${valueOf(keyframes[0])} H${timeline.xOf(keyframes[0].frame)}`;
        keyframes.slice(0, -1).forEach((keyframe, index) => {
          const next = keyframes[index + 1];
          const [fromX, toX, fromY, toY] = [timeline.xOf(keyframe.frame), timeline.xOf(next.frame), valueOf(keyframe), valueOf(next)];
          const curve = parameter.kind === "popup" ? null : curveOf(keyframe);
          if (!curve) path += ` H${toX} V${toY}`;
          else path += ` C${fromX + (toX - fromX) * curve[0]} ${fromY + (toY - fromY) * curve[1]} ${fromX + (toX - fromX) * curve[2]} ${fromY + (toY - fromY) * curve[3]} ${toX} ${toY}`;
        });
        return svg("path", { d: `${path} H${width}`, stroke: colours[part % colours.length] });
      }),
    );
  }

  const reuse = (group, count, make) => {
    while (group.children.length > count) group.lastChild.remove();
    while (group.children.length < count) group.append(make());
    return [...group.children];
  };

  function drawKeys(parameter, keyframes, range, yOf, height) {
    const isNumber = !Array.isArray(keyframes[0].value);
    const nodes = reuse(points, keyframes.length, () => {
      const node = svg("path", { d: "M0-6 6 0 0 6-6 0z", class: "curve-key", tabindex: 0, role: "button" });
      node.addEventListener("pointerdown", (event) => dragKey(event, Number(node.dataset.index)));
      node.addEventListener("keydown", (event) => nudgeKey(event, Number(node.dataset.index)));
      return node;
    });
    nodes.forEach((node, index) => {
      const keyframe = keyframes[index];
      node.dataset.index = String(index);
      node.setAttribute("transform", `translate(${timeline.xOf(keyframe.frame)} ${yOf(partsOf(keyframe.value)[0])})`);
      node.classList.toggle("is-selected", selection.has(parameter.slug, keyframe.frame));
      setAttribute(node, "aria-label", `${parameter.label}, ${timeline.label(keyframe.frame)}: ${describeValue(parameter, keyframe.value)}`);
    });

    const wanted = [];
    keyframes.slice(0, -1).forEach((keyframe, index) => {
      const next = keyframes[index + 1];
      const near = selection.has(parameter.slug, keyframe.frame) || selection.has(parameter.slug, next.frame) || keyframes.length === 2;
      const curve = curveOf(keyframe);
      if (!isNumber || parameter.kind === "popup" || !near || !curve) return;
      const at = (x, y) => [timeline.xOf(keyframe.frame + (next.frame - keyframe.frame) * x), yOf(keyframe.value + (next.value - keyframe.value) * y)];
      wanted.push({ index, end: 0, from: at(0, 0), to: besideKey(at(0, 0), at(curve[0], curve[1]), 1) }, { index, end: 1, from: at(1, 1), to: besideKey(at(1, 1), at(curve[2], curve[3]), -1) });
    });
    const groups = reuse(arms, wanted.length, () => {
      const group = svg("g", {}, svg("line"), svg("circle", { r: 4.5, tabindex: 0, role: "button" }));
      group.lastChild.addEventListener("pointerdown", (event) => dragHandle(event, JSON.parse(group.dataset.arm)));
      group.lastChild.addEventListener("keydown", (event) => nudgeHandle(event, JSON.parse(group.dataset.arm)));
      return group;
    });
    groups.forEach((group, order) => {
      const { index, end, from, to } = wanted[order];
      const y = clamp(to[1], 4, height - 4);
      group.dataset.arm = JSON.stringify({ index, end });
      const [line, circle] = group.children;
      for (const [name, value] of Object.entries({ x1: from[0], y1: from[1], x2: to[0], y2: y })) line.setAttribute(name, String(value));
      circle.setAttribute("cx", String(to[0]));
      circle.setAttribute("cy", String(y));
      setAttribute(circle, "aria-label", `${parameter.label}: ${end ? "arriving" : "leaving"} handle of the curve from ${timeline.label(keyframes[index].frame)}`);
    });
  }

  // A handle that lies on its keyframe could not be taken.
  const besideKey = (key, handle, direction) => (Math.hypot(handle[0] - key[0], handle[1] - key[1]) < 12 ? [key[0] + 16 * direction, key[1]] : handle);

  const freeze = (parameter) => (frozen = rangeOf(parameter, studio.keyframes(parameter.slug)));
  const thaw = () => {
    frozen = null;
    label.hide();
    update();
  };

  function dragKey(event, index) {
    if (event.button !== 0) return;
    event.preventDefault();
    event.stopPropagation();
    event.currentTarget.focus({ preventScroll: true });
    const parameter = parameterOf();
    const { slug } = parameter;
    const original = studio.keyframes(slug);
    const { frame, value } = original[index];
    if (event.shiftKey) return selection.toggle(slug, frame);
    selection.select([[slug, frame]]);
    const range = freeze(parameter);
    const perPixel = (range.high - range.low) / (lanes.clientHeight - 2 * padding);
    const gesture = studio.gesture("Move keyframe");
    followPointer(event, {
      move: ({ clientX, clientY, shiftKey, altKey }) => {
        const to = timeline.snap(frame + (clientX - event.clientX) / timeline.perFrame, [state.get("playhead")], altKey);
        // Shift: up and down only.
        const by = shiftKey ? 0 : to - frame;
        const moved = withMoved(original, new Set([frame]), by);
        const isNumber = typeof value === "number" && parameter.kind !== "popup";
        const raised = isNumber ? withValue(moved, frame + by, rounded(parameter, value - (clientY - event.clientY) * perPixel)) : moved;
        studio.edit(gesture, [{ parameter: slug, keyframes: raised }]);
        selection.select([[slug, frame + by]]);
        label.show(`${timeline.label(frame + by)}  ·  ${describeValue(parameter, studio.valueAt(slug, frame + by))}`, timeline.xOf(frame + by), clientY - lanes.getBoundingClientRect().top);
      },
      end: thaw,
    });
  }

  const rounded = (parameter, value) => {
    const grain = parameter.kind === "integer" ? 1 : (parameter.step || 1) / 10;
    return clamp(Number((Math.round(value / grain) * grain).toFixed(6)), parameter.minimum, parameter.maximum);
  };

  function nudgeKey(event, index) {
    const parameter = parameterOf();
    const { slug, step } = parameter;
    const keyframe = studio.keyframes(slug)[index];
    const by = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] }[event.key];
    if (event.key === " ") selection.toggle(slug, keyframe.frame);
    else if (event.key === "Enter") timeline.goTo(keyframe.frame);
    else if (by?.[0]) {
      selection.select([[slug, keyframe.frame]]);
      selection.beginMove().by(by[0] * (event.shiftKey ? 10 : 1));
    } else if (by && typeof keyframe.value === "number" && parameter.kind !== "popup") {
      const value = rounded(parameter, keyframe.value + by[1] * (step || 1) * (event.shiftKey ? 10 : event.altKey ? 0.1 : 1));
      studio.edit(studio.gesture(parameter.label), [{ parameter: slug, keyframes: withValue(studio.keyframes(slug), keyframe.frame, value) }]);
    } else return;
    event.preventDefault();
    event.stopPropagation();
  }

  function setCurve(gesture, parameter, index, curve) {
    const keyframes = studio.keyframes(parameter.slug);
    studio.edit(gesture, [{ parameter: parameter.slug, keyframes: withEase(keyframes, new Set([keyframes[index].frame]), "bezier", curve.map((part) => Number(part.toFixed(3)))) }]);
  }

  function dragHandle(event, { index, end }) {
    if (event.button !== 0) return;
    event.preventDefault();
    event.stopPropagation();
    event.currentTarget.focus({ preventScroll: true });
    const parameter = parameterOf();
    const keyframes = studio.keyframes(parameter.slug);
    const [keyframe, next] = [keyframes[index], keyframes[index + 1]];
    const range = freeze(parameter);
    const gesture = studio.gesture("Curve");
    const box = lanes.getBoundingClientRect();
    const height = lanes.clientHeight;
    followPointer(event, {
      move: ({ clientX, clientY }) => {
        const x = clamp((timeline.frameAt(clientX - box.left) - keyframe.frame) / (next.frame - keyframe.frame), 0, 1);
        const value = range.low + ((height - padding - (clientY - box.top)) / (height - 2 * padding)) * (range.high - range.low);
        const y = next.value === keyframe.value ? end : clamp((value - keyframe.value) / (next.value - keyframe.value), -5, 5);
        const curve = [...(curveOf(studio.keyframes(parameter.slug)[index]) ?? [0, 0, 1, 1])];
        curve[end * 2] = x;
        curve[end * 2 + 1] = y;
        setCurve(gesture, parameter, index, curve);
        label.show(`${formatNumber(x, 2)}, ${formatNumber(y, 2)}  ·  half-way ${formatNumber(progress(curve, 0.5) * 100, 0)} %`, clientX - box.left, clientY - box.top);
      },
      end: thaw,
    });
  }

  function nudgeHandle(event, { index, end }) {
    const by = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] }[event.key];
    if (!by) return;
    event.preventDefault();
    event.stopPropagation();
    const parameter = parameterOf();
    const curve = [...(curveOf(studio.keyframes(parameter.slug)[index]) ?? [0, 0, 1, 1])];
    const step = 0.01 * (event.shiftKey ? 10 : 1);
    curve[end * 2] = clamp(curve[end * 2] + by[0] * step, 0, 1);
    curve[end * 2 + 1] += by[1] * step;
    setCurve(studio.gesture("Curve"), parameter, index, curve);
  }

  names.addEventListener("click", (event) => {
    const name = /** @type {Element} */ (event.target).closest("[data-slug]");
    if (!name) return;
    active = name.dataset.slug;
    update();
  });
  drawing.addEventListener("pointerdown", () => selection.clear());
  studio.addEventListener("change", update);
  timeline.addEventListener("view", update);
  selection.addEventListener("change", () => {
    const first = selection.entries()[0]?.[0];
    if (first && !frozen) active = first;
    update();
  });
  state.on(["lane", "ruler", "timelineHeight"], update);
  new ResizeObserver(update).observe(lanes);
}
