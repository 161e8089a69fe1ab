import { clamp, element, followPointer, setAttribute, setText } from "./dom.js";
import { rateOf, timecode } from "./units.js";

const snapPixels = 6;
const edge = 16;

/**
 * The time under the picture: which frame lies where, the ruler, the playhead, in and out points. Rows lie in dope.js and
 * curves.js, which ask this for places.
 *
 * Emits "view" when places change.
 */
export class Timeline extends EventTarget {
  #parts;
  #start = 1;
  #perFrame = 8;
  #isFitted = true;
  #frames = "";

  /**
   * @param {{root: HTMLElement, document: import("./document.js").StudioDocument, state: import("./state.js").PageState,
   *   preview: import("./preview.js").Preview}} parts
   */
  constructor({ root, document: studio, state, preview }) {
    super();
    const find = (name) => root.querySelector(name);
    this.#parts = { root, studio, state, preview, ruler: find("#ruler"), playhead: find("#playhead"), inMark: find("#in-mark"), outMark: find("#out-mark"), range: find("#range"), now: find("#now"), lanes: find("#lanes") };
    const { ruler, lanes } = this.#parts;
    new ResizeObserver(() => this.#resize()).observe(ruler);
    ruler.addEventListener("pointerdown", (event) => this.#scrub(event));
    for (const target of [ruler, lanes]) target.addEventListener("wheel", (event) => this.#wheel(event, target === ruler), { passive: false });
    this.#wireMark(this.#parts.inMark, "inPoint");
    this.#wireMark(this.#parts.outMark, "outPoint");
    studio.addEventListener("change", () => this.#takeFrames());
    state.on(["playhead", "inPoint", "outPoint", "ruler"], () => this.#update());
    // The ruler is drawn, with the colours of the scheme.
    state.on(["theme"], () => this.#drawSoon());
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.#drawSoon());
    preview.addEventListener("arrived", () => this.#drawSoon());
  }

  /** The frames between the in and out points, or all. */
  get playRange() {
    const { studio, state } = this.#parts;
    const { first, last } = studio.frames;
    const from = clamp(state.get("inPoint") ?? first, first, last);
    return { first: from, last: Math.max(from, clamp(state.get("outPoint") ?? last, first, last)) };
  }

  /** @param {number} frame @returns {number} CSS pixels from the left of the lanes */
  xOf(frame) {
    return edge + (frame - this.#start) * this.#perFrame;
  }

  /** @param {number} x CSS pixels from the left of the lanes @returns {number} not rounded */
  frameAt(x) {
    return this.#start + (x - edge) / this.#perFrame;
  }

  /** CSS pixels of a frame. */
  get perFrame() {
    return this.#perFrame;
  }

  /** @param {number} frame goes to it, within the document's frames */
  goTo(frame) {
    const { first, last } = this.#parts.studio.frames;
    this.#parts.state.set({ playhead: clamp(Math.round(frame), first, last) });
    this.#keepInSight();
  }

  /**
   * Where a dragged thing goes: whole frames, and what is near attracts.
   * @param {number} frame
   * @param {number[]} targets frames that attract
   * @param {boolean} freely without attraction
   * @returns {number}
   */
  snap(frame, targets, freely) {
    const whole = Math.round(frame);
    if (freely) return whole;
    let best = whole;
    let distance = snapPixels / this.#perFrame;
    for (const target of targets) {
      if (Math.abs(target - frame) > distance) continue;
      distance = Math.abs(target - frame);
      best = target;
    }
    return best;
  }

  /** @param {number} factor zooms around the playhead */
  zoomBy(factor) {
    this.#zoomAround(factor, this.xOf(this.#parts.state.get("playhead")));
  }

  /** Shows all frames. */
  fit() {
    const { first, last } = this.#parts.studio.frames;
    this.#isFitted = true;
    this.#start = first;
    this.#perFrame = clamp((this.#parts.ruler.clientWidth - 2 * edge) / Math.max(1, last - first), 0.02, 60);
    this.#update();
    this.dispatchEvent(new CustomEvent("view"));
  }

  /** @param {number} frame @returns {string} as the ruler counts */
  label(frame) {
    const { studio, state } = this.#parts;
    return state.get("ruler") === "frames" ? String(Math.round(frame)) : timecode(frame, studio.frames.first, rateOf(studio.state.rate));
  }

  #takeFrames() {
    const { studio, state } = this.#parts;
    const { first, last } = studio.frames;
    const frames = `${first} ${last} ${studio.state.rate}`;
    if (frames !== this.#frames) {
      this.#frames = frames;
      state.set({ playhead: clamp(state.get("playhead"), first, last) });
      this.fit();
    }
    this.#drawSoon();
  }

  #zoomAround(factor, x) {
    const { first, last } = this.#parts.studio.frames;
    const frame = this.frameAt(x);
    this.#isFitted = false;
    this.#perFrame = clamp(this.#perFrame * factor, this.#parts.ruler.clientWidth / (4 * Math.max(1, last - first + 1)), 80);
    this.#start = frame - (x - edge) / this.#perFrame;
    this.#update();
    this.dispatchEvent(new CustomEvent("view"));
  }

  #wheel(event, onRuler) {
    const zooms = event.ctrlKey || (onRuler && !event.shiftKey && !event.deltaX);
    const along = event.deltaX || (event.shiftKey ? event.deltaY : 0);
    if (!zooms && !along) return;
    event.preventDefault();
    if (zooms) return this.#zoomAround(2 ** (-event.deltaY / 200), event.clientX - this.#parts.ruler.getBoundingClientRect().left);
    this.#isFitted = false;
    this.#start += along / this.#perFrame;
    this.#update();
    this.dispatchEvent(new CustomEvent("view"));
  }

  #keepInSight() {
    const x = this.xOf(this.#parts.state.get("playhead"));
    const width = this.#parts.ruler.clientWidth;
    if (this.#isFitted || (x >= 0 && x <= width)) return;
    this.#start += (x < 0 ? x - width * 0.1 : x - width * 0.9) / this.#perFrame;
    this.#update();
    this.dispatchEvent(new CustomEvent("view"));
  }

  #scrub(event) {
    if (event.button !== 0) return;
    event.preventDefault();
    this.#parts.ruler.focus({ preventScroll: true });
    const left = this.#parts.ruler.getBoundingClientRect().left;
    this.dispatchEvent(new CustomEvent("scrub"));
    const move = ({ clientX }) => this.goTo(this.frameAt(clientX - left));
    move(event);
    followPointer(event, { move });
  }

  #wireMark(mark, name) {
    const { state, ruler } = this.#parts;
    const place = (frame) => {
      const { first, last } = this.#parts.studio.frames;
      const other = state.get(name === "inPoint" ? "outPoint" : "inPoint");
      const low = name === "outPoint" ? (other ?? first) : first;
      const high = name === "inPoint" ? (other ?? last) : last;
      state.set({ [name]: clamp(Math.round(frame), low, high) });
    };
    mark.addEventListener("pointerdown", (event) => {
      if (event.button !== 0) return;
      event.stopPropagation();
      const left = ruler.getBoundingClientRect().left;
      followPointer(event, { move: ({ clientX, altKey }) => place(this.snap(this.frameAt(clientX - left), [state.get("playhead")], altKey)) });
    });
    mark.addEventListener("keydown", (event) => {
      const by = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
      if (event.key === "Delete") state.set({ [name]: null });
      else if (by) place(this.playRange[name === "inPoint" ? "first" : "last"] + by * (event.shiftKey ? 10 : 1));
      else return;
      event.preventDefault();
      event.stopPropagation();
    });
    mark.addEventListener("dblclick", () => state.set({ [name]: null }));
  }

  #resize() {
    const { ruler } = this.#parts;
    const width = Math.round(ruler.clientWidth * devicePixelRatio);
    const height = Math.round(ruler.clientHeight * devicePixelRatio);
    const canvas = ruler.querySelector("canvas");
    canvas.width = width;
    canvas.height = height;
    if (this.#isFitted && this.#parts.studio.state) this.fit();
    else this.#update();
  }

  #drawSoon() {
    this.drawing ??= requestAnimationFrame(() => {
      this.drawing = null;
      this.#drawRuler();
    });
  }

  #update() {
    const { studio, state, playhead, inMark, outMark, range, now, ruler } = this.#parts;
    if (!studio.state) return;
    const frame = state.get("playhead");
    const { first, last } = this.playRange;
    playhead.style.transform = `translateX(${this.xOf(frame)}px)`;
    inMark.style.transform = `translateX(${this.xOf(first)}px)`;
    outMark.style.transform = `translateX(${this.xOf(last)}px)`;
    inMark.classList.toggle("is-set", state.get("inPoint") !== null);
    outMark.classList.toggle("is-set", state.get("outPoint") !== null);
    for (const [mark, value] of [[inMark, first], [outMark, last], [ruler, frame]]) {
      setAttribute(mark, "aria-valuemin", studio.frames.first);
      setAttribute(mark, "aria-valuemax", studio.frames.last);
      setAttribute(mark, "aria-valuenow", value);
      setAttribute(mark, "aria-valuetext", this.label(value));
    }
    range.hidden = state.get("inPoint") === null && state.get("outPoint") === null;
    range.style.left = `${this.xOf(first)}px`;
    range.style.width = `${(last - first) * this.#perFrame}px`;
    setText(now, this.label(frame));
    this.#drawSoon();
  }

  #drawRuler() {
    const { ruler, studio, state, preview } = this.#parts;
    if (!studio.state) return;
    const canvas = ruler.querySelector("canvas");
    const context = canvas.getContext("2d");
    const ratio = devicePixelRatio;
    const width = canvas.width / ratio;
    const height = canvas.height / ratio;
    const style = getComputedStyle(ruler);
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    context.clearRect(0, 0, width, height);
    const { first, last } = studio.frames;

    // Frames that play from memory.
    context.fillStyle = style.getPropertyValue("--kept");
    const wide = Math.max(1, this.#perFrame);
    preview.cache.forEach(({ header }) => context.fillRect(this.xOf(header.frame) - wide / 2, height - 3, wide + 0.5, 3));

    const isTimecode = state.get("ruler") === "timecode";
    const rate = Math.max(1, Math.round(rateOf(studio.state.rate)));
    const least = (isTimecode ? 84 : 44) / this.#perFrame;
    const steps = isTimecode ? [1, 2, 5, 10, rate, rate * 2, rate * 5, rate * 10, rate * 30, rate * 60, rate * 300, rate * 600] : [1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000];
    const major = steps.find((step) => step >= least) ?? steps[steps.length - 1];
    const minor = [...steps].reverse().find((step) => step < major && major % step === 0 && step * this.#perFrame >= 5) ?? major;
    const origin = isTimecode ? first : 0;
    const from = Math.floor((this.frameAt(0) - origin) / minor) * minor + origin;
    context.font = `11px ${style.fontFamily}`;
    context.textBaseline = "middle";
    for (let frame = from; this.xOf(frame) <= width; frame += minor) {
      const x = Math.round(this.xOf(frame)) + 0.5;
      const isMajor = (frame - origin) % major === 0;
      const isInside = frame >= first && frame <= last;
      context.globalAlpha = isInside ? 1 : 0.4;
      context.fillStyle = style.getPropertyValue(isMajor ? "--dim" : "--line-strong");
      context.fillRect(x - 0.5, isMajor ? height - 11 : height - 7, 1, isMajor ? 7 : 3);
      if (isMajor && isInside) context.fillText(this.label(frame), Math.min(x + 4, width - context.measureText(this.label(frame)).width - 2), 9);
    }
    context.globalAlpha = 1;
  }
}

/**
 * A line that says where something is while it is dragged.
 * @param {HTMLElement} parent
 * @returns {{show: (text: string, x: number, y: number) => void, hide: () => void}} places in CSS pixels of the parent
 */
export function makeDragLabel(parent) {
  const node = element("div", { class: "drag-label", role: "status" });
  node.hidden = true;
  parent.append(node);
  return {
    show(text, x, y) {
      setText(node, text);
      node.hidden = false;
      node.style.left = `${clamp(x - node.offsetWidth / 2, 2, parent.clientWidth - node.offsetWidth - 2)}px`;
      node.style.top = `${y < node.offsetHeight + 8 ? y + 12 : y - node.offsetHeight - 8}px`;
    },
    hide: () => (node.hidden = true),
  };
}
