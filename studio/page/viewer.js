import { clamp, followPointer, setAttribute, setText } from "./dom.js";

const smallest = 0.05;
const largest = 16;
const margin = 24;

/**
 * The picture on its stage: where it lies, how large, and what is drawn of it. Sizes are in device pixels, so that at 100 % a
 * pixel of the picture is a pixel of the screen.
 *
 * Emits "moved" when the picture's rectangle changes, and "painted" (detail: the Picture).
 */
export class Viewer extends EventTarget {
  #stage;
  #canvas;
  #context;
  #state;
  #preview;
  #divider;
  #shown = { fire: null, source: null };
  #size = [0, 0];
  #spaceHeld = false;
  #panned = false;

  /**
   * @param {HTMLElement} stage
   * @param {import("./state.js").PageState} state
   * @param {import("./preview.js").Preview} preview
   */
  constructor(stage, state, preview) {
    super();
    this.#stage = stage;
    this.#canvas = stage.querySelector("canvas");
    this.#context = this.#canvas.getContext("2d", { alpha: true, colorSpace: "srgb" });
    this.#divider = stage.querySelector("#divider");
    this.#state = state;
    this.#preview = preview;
    new ResizeObserver(() => this.#resize()).observe(stage);
    stage.addEventListener("wheel", (event) => this.#wheel(event), { passive: false });
    stage.addEventListener("pointerdown", (event) => this.#press(event));
    stage.addEventListener("auxclick", (event) => event.preventDefault());
    this.#wireDivider();
    state.on(["zoom", "centre"], () => this.#layOut());
    state.on(["wipe", "wipeAt"], () => this.#draw());
    preview.addEventListener("picture", ({ detail }) => this.show(detail));
  }

  /** The displayed size of the picture at 100 %, device pixels. */
  get pictureSize() {
    return this.#size;
  }

  /** Device pixels for a pixel of the picture. */
  get zoom() {
    const zoom = this.#state.get("zoom");
    if (zoom !== "fit") return zoom;
    const [width, height] = this.#size;
    if (!width) return 1;
    const room = margin * 2 * devicePixelRatio;
    return clamp(Math.min((this.#canvas.width - room) / width, (this.#canvas.height - room) / height), smallest, largest);
  }

  /** Where the picture lies on the stage: x, y, width and height in device pixels. */
  get rectangle() {
    const zoom = this.zoom;
    const [width, height] = this.#size.map((side) => Math.round(side * zoom));
    const centre = this.#state.get("zoom") === "fit" ? [0.5, 0.5] : this.#state.get("centre");
    return { x: Math.round(this.#canvas.width / 2 - centre[0] * width), y: Math.round(this.#canvas.height / 2 - centre[1] * height), width, height };
  }

  /** Whether the space bar drags the picture and does not play. */
  get hasPanned() {
    return this.#panned;
  }

  /** @param {boolean} held whether the space bar is down */
  holdSpace(held) {
    if (held && !this.#spaceHeld) this.#panned = false;
    this.#spaceHeld = held;
    this.#stage.classList.toggle("can-pan", held);
  }

  /** @param {number} width @param {number} height of the picture, pixels @param {number} aspect of a pixel, width by height */
  setPictureSize(width, height, aspect) {
    const size = [Math.round(width * aspect), height];
    if (size[0] === this.#size[0] && size[1] === this.#size[1]) return;
    this.#size = size;
    this.#layOut();
  }

  /** @param {...import("./cache.js").Picture} pictures decoded; of one frame */
  show(...pictures) {
    for (const picture of pictures) {
      const { view } = picture.header;
      if (this.#shown[view] === picture) continue;
      this.#preview.cache.release(this.#shown[view]);
      this.#shown[view] = picture;
      picture.shown = true;
    }
    this.#draw();
    for (const picture of pictures) this.dispatchEvent(new CustomEvent("painted", { detail: picture }));
  }

  /** The stage is empty until the next picture. */
  clear() {
    for (const view of ["fire", "source"]) {
      this.#preview.cache.release(this.#shown[view]);
      this.#shown[view] = null;
    }
    this.#draw();
  }

  /** @param {number|"fit"} zoom around the stage's middle */
  setZoom(zoom) {
    if (zoom === "fit") this.#state.set({ zoom, centre: [0.5, 0.5] });
    else this.#zoomTo(zoom, this.#canvas.width / 2, this.#canvas.height / 2);
  }

  /**
   * @param {number} clientX @param {number} clientY CSS pixels of the page
   * @returns {number[]} x and y of the picture, 0,0 upper left, 1,1 lower right
   */
  toPicture(clientX, clientY) {
    const box = this.#stage.getBoundingClientRect();
    const { x, y, width, height } = this.rectangle;
    return [((clientX - box.left) * devicePixelRatio - x) / width, ((clientY - box.top) * devicePixelRatio - y) / height];
  }

  #resize() {
    const { clientWidth, clientHeight } = this.#stage;
    const width = Math.round(clientWidth * devicePixelRatio);
    const height = Math.round(clientHeight * devicePixelRatio);
    if (this.#canvas.width === width && this.#canvas.height === height) return;
    this.#canvas.width = width;
    this.#canvas.height = height;
    this.#canvas.style.width = `${width / devicePixelRatio}px`;
    this.#canvas.style.height = `${height / devicePixelRatio}px`;
    this.#layOut();
  }

  #layOut() {
    const { width, height } = this.rectangle;
    const [fullWidth, fullHeight] = this.#size;
    const wanted = [clamp(width, 1, Math.max(1, fullWidth)), clamp(height, 1, Math.max(1, fullHeight))];
    const changed = wanted.some((side, index) => side !== this.#preview.wantedSize[index]);
    this.#preview.wantedSize = wanted;
    this.#draw();
    this.dispatchEvent(new CustomEvent("moved"));
    if (changed) this.#preview.refresh();
  }

  #draw() {
    const context = this.#context;
    const { x, y, width, height } = this.rectangle;
    context.clearRect(0, 0, this.#canvas.width, this.#canvas.height);
    const wipe = this.#state.get("wipe") && this.#shown.source?.bitmap;
    this.#paint(this.#shown.fire, x, y, width, height);
    this.#divider.hidden = !wipe;
    if (!wipe) return;
    const at = Math.round(this.#state.get("wipeAt") * width);
    context.save();
    context.beginPath();
    context.rect(x, y, at, height);
    context.clip();
    this.#paint(this.#shown.source, x, y, width, height);
    context.restore();
    this.#divider.style.left = `${(x + at) / devicePixelRatio}px`;
    this.#divider.style.top = `${y / devicePixelRatio}px`;
    this.#divider.style.height = `${height / devicePixelRatio}px`;
    setAttribute(this.#divider, "aria-valuenow", Math.round(this.#state.get("wipeAt") * 100));
  }

  #paint(picture, x, y, width, height) {
    if (!picture?.bitmap) return;
    // Pixels that are enlarged are to be seen as what they are; drafts of a smaller size are not.
    this.#context.imageSmoothingEnabled = picture.header.scale > 1 || this.zoom < 2;
    this.#context.imageSmoothingQuality = "high";
    this.#context.drawImage(picture.bitmap, x, y, width, height);
  }

  #wheel(event) {
    event.preventDefault();
    const lines = event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 16 : 1;
    const box = this.#stage.getBoundingClientRect();
    const factor = 2 ** ((-event.deltaY * lines) / (event.ctrlKey ? 60 : 240));
    this.#zoomTo(this.zoom * factor, (event.clientX - box.left) * devicePixelRatio, (event.clientY - box.top) * devicePixelRatio);
  }

  #zoomTo(wanted, atX, atY) {
    const { x, y, width, height } = this.rectangle;
    if (!width) return;
    const zoom = clamp(wanted, smallest, largest);
    const share = [(atX - x) / width, (atY - y) / height];
    const [newWidth, newHeight] = this.#size.map((side) => side * zoom);
    this.#state.set({
      zoom,
      centre: [share[0] + (this.#canvas.width / 2 - atX) / newWidth, share[1] + (this.#canvas.height / 2 - atY) / newHeight],
    });
  }

  #press(event) {
    const pans = event.button === 1 || (event.button === 0 && this.#spaceHeld);
    if (!pans) return;
    event.preventDefault();
    event.stopPropagation();
    const start = this.rectangle;
    const zoom = this.zoom;
    const centre = [(this.#canvas.width / 2 - start.x) / start.width, (this.#canvas.height / 2 - start.y) / start.height];
    this.#stage.classList.add("pans");
    followPointer(event, {
      move: ({ clientX, clientY }) => {
        this.#panned = true;
        const moved = [(clientX - event.clientX) * devicePixelRatio, (clientY - event.clientY) * devicePixelRatio];
        this.#state.set({ zoom, centre: [centre[0] - moved[0] / start.width, centre[1] - moved[1] / start.height] });
      },
      end: () => this.#stage.classList.remove("pans"),
    });
  }

  #wireDivider() {
    const place = (share) => this.#state.set({ wipeAt: clamp(share, 0, 1) });
    this.#divider.addEventListener("pointerdown", (event) => {
      if (event.button !== 0 || this.#spaceHeld) return;
      event.stopPropagation();
      followPointer(event, { move: ({ clientX, clientY }) => place(this.toPicture(clientX, clientY)[0]) });
    });
    this.#divider.addEventListener("keydown", (event) => {
      const by = { ArrowLeft: -0.01, ArrowRight: 0.01, PageUp: 0.1, PageDown: -0.1, Home: -1, End: 1 }[event.key];
      if (by === undefined) return;
      event.preventDefault();
      event.stopPropagation();
      place(this.#state.get("wipeAt") + by * (event.shiftKey ? 10 : 1));
    });
  }
}

/**
 * The words below the picture: zoom, what drew the preview, and how long it took.
 * @param {HTMLElement} bar
 * @param {Viewer} viewer
 */
export function wireViewerReadout(bar, viewer) {
  const scale = bar.querySelector("#preview-scale");
  const zoom = bar.querySelector("#zoom-value");
  viewer.addEventListener("moved", () => setText(zoom, `${Math.round(viewer.zoom * 100)} %`));
  viewer.addEventListener("painted", ({ detail }) => {
    const { scale: divisor, mime, milliseconds } = detail.header;
    const size = { 1: "Full", 2: "Half", 4: "Quarter" }[divisor] ?? "Full";
    setText(scale, mime === "image/png" ? "Full, lossless" : `${size} size, ${Math.round(milliseconds)} ms`);
  });
}
