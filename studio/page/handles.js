import { clamp, element, followPointer, setAttribute } from "./dom.js";
import { formatNumber } from "./units.js";

const sides = { left: [0, 1], right: [0, -1], top: [1, 1], bottom: [1, -1] };

/**
 * The points and crops of the filter as handles over the picture. Which parameters they are is told by their kind and name.
 * @param {{stage: HTMLElement, viewer: import("./viewer.js").Viewer, document: import("./document.js").StudioDocument,
 *   state: import("./state.js").PageState}} parts
 */
export function makeHandles({ stage, viewer, document: studio, state }) {
  const layer = element("div", { class: "handles" });
  stage.append(layer);
  let handles = [];

  const build = () => {
    layer.replaceChildren();
    handles = studio.parameters.flatMap((parameter) => {
      const side = Object.keys(sides).find((name) => new RegExp(`\\bcrop\\b.*\\b${name}\\b`).test(parameter.slug.replace(/-/g, " ")));
      if (parameter.kind === "point") return [pointHandle(parameter)];
      return side ? [cropHandle(parameter, side)] : [];
    });
    layer.append(...handles.map((handle) => handle.node));
    update();
  };

  const update = () => {
    // Before and after are compared without them.
    layer.hidden = !state.get("handles") || state.get("wipe") || !studio.state?.hasFire;
    if (layer.hidden) return;
    const { x, y, width, height } = viewer.rectangle;
    const scale = 1 / devicePixelRatio;
    Object.assign(layer.style, { left: `${x * scale}px`, top: `${y * scale}px`, width: `${width * scale}px`, height: `${height * scale}px` });
    for (const handle of handles) handle.update();
  };

  function handleNode(parameter, className, drag, step) {
    const node = element("button", { type: "button", class: className, role: "slider", title: parameter.label, "aria-label": parameter.label, data: { slug: parameter.slug } });
    node.addEventListener("pointerdown", (event) => {
      if (event.button !== 0 || stage.classList.contains("can-pan")) return;
      event.preventDefault();
      event.stopPropagation();
      node.focus({ preventScroll: true });
      const gesture = studio.gesture(parameter.label);
      const frame = state.get("playhead");
      const start = viewer.toPicture(event.clientX, event.clientY);
      const value = studio.valueAt(parameter.slug, frame);
      followPointer(event, {
        move: ({ clientX, clientY }) => {
          const at = viewer.toPicture(clientX, clientY);
          studio.setValue(gesture, parameter.slug, drag(value, at[0] - start[0], at[1] - start[1]), frame);
        },
      });
    });
    node.addEventListener("keydown", (event) => {
      const arrow = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] }[event.key];
      if (!arrow) return;
      event.preventDefault();
      event.stopPropagation();
      const factor = 0.01 * (event.shiftKey ? 10 : event.altKey ? 0.1 : 1);
      const frame = state.get("playhead");
      studio.setValue(studio.gesture(parameter.label), parameter.slug, step(studio.valueAt(parameter.slug, frame), arrow[0] * factor, arrow[1] * factor), frame);
    });
    node.addEventListener("dblclick", () => studio.reset(parameter.slug));
    return node;
  }

  function pointHandle(parameter) {
    const move = (value, dx, dy) => [value[0] + dx, value[1] - dy].map((part) => Number(clamp(part, -10, 10).toFixed(4)));
    const node = handleNode(parameter, "point-handle", move, move);
    return {
      node,
      update() {
        const [x, y] = studio.valueAt(parameter.slug, state.get("playhead"));
        node.style.left = `${x * 100}%`;
        node.style.top = `${(1 - y) * 100}%`;
        setAttribute(node, "aria-valuenow", Math.round(x * 100));
        setAttribute(node, "aria-valuetext", `${formatNumber(x * 100, 1)} % from the left, ${formatNumber(y * 100, 1)} % from the bottom`);
      },
    };
  }

  function cropHandle(parameter, side) {
    const [axis, sign] = sides[side];
    const move = (value, dx, dy) => Number(clamp(value + sign * (axis === 0 ? dx : dy), parameter.minimum, parameter.maximum).toFixed(4));
    const node = handleNode(parameter, `crop-handle crop-${side}`, move, move);
    return {
      node,
      update() {
        const value = studio.valueAt(parameter.slug, state.get("playhead"));
        node.style[axis === 0 ? "left" : "top"] = `${(sign > 0 ? value : 1 - value) * 100}%`;
        node.classList.toggle("is-set", value > 0);
        setAttribute(node, "aria-valuemin", parameter.minimum);
        setAttribute(node, "aria-valuemax", parameter.maximum);
        setAttribute(node, "aria-valuenow", value);
      },
    };
  }

  studio.addEventListener("hello", build);
  studio.addEventListener("change", update);
  viewer.addEventListener("moved", update);
  state.on(["handles", "wipe", "playhead"], update);
}
