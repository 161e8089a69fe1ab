import { rateOf } from "./units.js";

const mostAhead = 12;
const decodedAhead = 3;
const fastest = 8;

/**
 * Plays by the clock: a frame that is not there at its time is dropped, so that time never slows down; or, with "every frame"
 * on, waits for each. Frames come from memory where they are there.
 *
 * Emits "change" when it starts, stops or changes its pace, and "rate" (detail: frames shown in the last second).
 */
export class Playback extends EventTarget {
  #parts;
  #speed = 0;
  #clockStart = 0;
  #frameStart = 0;
  #shown = null;
  #drawTime = 20;
  #shownTimes = [];
  #lastRate = -1;

  /**
   * @param {{document: import("./document.js").StudioDocument, state: import("./state.js").PageState,
   *   preview: import("./preview.js").Preview, viewer: import("./viewer.js").Viewer, timeline: import("./timeline.js").Timeline,
   *   connection: import("./connection.js").Connection}} parts
   */
  constructor(parts) {
    super();
    this.#parts = parts;
    parts.preview.addEventListener("arrived", ({ detail }) => {
      if (detail.header.view === "fire") this.#drawTime += (detail.header.milliseconds - this.#drawTime) * 0.2;
      if (this.isPlaying) parts.preview.cache.prepare(detail);
    });
    parts.connection.addEventListener("lost", () => this.stop());
    parts.timeline.addEventListener("scrub", () => this.stop());
    parts.state.on(["everyFrame", "inPoint", "outPoint"], () => this.#restartClock());
  }

  get isPlaying() {
    return this.#speed !== 0;
  }

  /** Times the real rate; below 0 backwards, 0 while it stands. */
  get speed() {
    return this.#speed;
  }

  toggle() {
    if (this.isPlaying) this.stop();
    else this.play(1);
  }

  /** @param {number} speed times the real rate */
  play(speed) {
    const { document: studio, state, timeline, preview } = this.#parts;
    if (!studio.state) return;
    const wasPlaying = this.isPlaying;
    const { first, last } = timeline.playRange;
    const at = state.get("playhead");
    const isAtEnd = speed > 0 ? at >= last : at <= first;
    if (!wasPlaying && (isAtEnd || at < first || at > last)) state.set({ playhead: speed > 0 ? first : last });
    this.#speed = speed;
    preview.isPlaying = true;
    this.#restartClock();
    this.dispatchEvent(new CustomEvent("change"));
    if (wasPlaying) return;
    this.#shown = null;
    this.#shownTimes = [];
    requestAnimationFrame((now) => this.#tick(now));
  }

  stop() {
    if (!this.isPlaying) return;
    this.#speed = 0;
    this.#parts.preview.isPlaying = false;
    this.#parts.preview.refresh();
    this.dispatchEvent(new CustomEvent("change"));
  }

  /** @param {-1|1} direction the keys J and L: once more is twice as fast; against the direction it turns round */
  shuttle(direction) {
    const again = Math.sign(this.#speed) === direction;
    this.play(again ? Math.sign(direction) * Math.min(fastest, Math.abs(this.#speed) * 2) : direction);
  }

  /** @param {number} by frames; stops what plays */
  step(by) {
    this.stop();
    this.#parts.timeline.goTo(this.#parts.state.get("playhead") + by);
  }

  #restartClock() {
    this.#clockStart = performance.now();
    this.#frameStart = this.#parts.state.get("playhead");
  }

  #tick(now) {
    if (!this.isPlaying) return;
    const { state, timeline } = this.#parts;
    const range = timeline.playRange;
    const frame = state.get("everyFrame") ? this.#nextInTurn(now, range) : this.#byTheClock(now, range);
    if (frame === null) return this.stop();
    this.#askAhead(frame, range);
    this.#show(frame, now);
    requestAnimationFrame((next) => this.#tick(next));
  }

  #rate() {
    return rateOf(this.#parts.document.state.rate);
  }

  // The frame of this moment; null at the end.
  #byTheClock(now, range) {
    const count = Math.floor(((now - this.#clockStart) / 1000) * this.#rate() * Math.abs(this.#speed));
    return this.#within(this.#frameStart + Math.sign(this.#speed) * Math.max(0, count), range);
  }

  // The frame after the one that is shown, once its time has come.
  #nextInTurn(now, range) {
    if (this.#shown === null) return this.#frameStart;
    if (now - this.#clockStart < 1000 / (this.#rate() * Math.abs(this.#speed)) - 4) return this.#shown;
    return this.#within(this.#shown + Math.sign(this.#speed), range);
  }

  #within(frame, { first, last }) {
    if (frame >= first && frame <= last) return frame;
    if (!this.#parts.state.get("loop")) return null;
    const length = last - first + 1;
    return first + ((((frame - first) % length) + length) % length);
  }

  // Before and after of a movie go together; the source of a still stands anyway.
  #views() {
    const { state, document: studio } = this.#parts;
    return state.get("wipe") && studio.state.kind !== "still" ? ["fire", "source"] : ["fire"];
  }

  #askAhead(frame, range) {
    const { preview, state } = this.#parts;
    const views = this.#views();
    const direction = Math.sign(this.#speed);
    const perFrame = 1000 / (this.#rate() * Math.abs(this.#speed));
    // What can't come in time is not asked for.
    const lead = state.get("everyFrame") ? 0 : preview.cache.has("fire", frame) ? 1 : Math.ceil((preview.latency + this.#drawTime) / perFrame);
    const past = state.get("everyFrame") ? mostAhead : Math.max(mostAhead, lead + 2);
    for (let ahead = lead; ahead < past; ++ahead) {
      const wanted = this.#within(frame + direction * ahead, range);
      if (wanted === null) return;
      for (const view of views) {
        if (preview.cache.has(view, wanted) || preview.isUnderWay(view, wanted)) continue;
        if (!preview.ask(view, wanted)) return;
      }
    }
  }

  // The pictures of the frame itself, or by the clock of the last one before it that is there and was not shown: what comes
  // late is better than what stands still.
  #newest(frame, views) {
    const { preview, state, timeline } = this.#parts;
    const { first, last } = timeline.playRange;
    const most = state.get("everyFrame") ? 1 : mostAhead;
    for (let back = 0; back < most; ++back) {
      const candidate = frame - Math.sign(this.#speed) * back;
      if (candidate === this.#shown || candidate < first || candidate > last) return null;
      const pictures = views.map((view) => preview.cache.get(view, candidate));
      if (pictures.every((picture) => picture?.bitmap)) return pictures;
    }
    return null;
  }

  #show(frame, now) {
    const { preview, viewer, state, timeline } = this.#parts;
    const direction = Math.sign(this.#speed);
    const views = this.#views();
    for (let ahead = 0; ahead < decodedAhead; ++ahead) {
      const next = this.#within(frame + direction * ahead, timeline.playRange);
      for (const view of views) {
        const picture = next === null ? null : preview.cache.get(view, next);
        if (picture && !picture.bitmap) preview.cache.prepare(picture);
      }
    }
    if (!state.get("everyFrame")) timeline.goTo(frame);
    const pictures = this.#newest(frame, views);
    if (!pictures) return;
    viewer.show(...pictures);
    this.#shown = pictures[0].header.frame;
    if (state.get("everyFrame")) {
      this.#clockStart = now;
      timeline.goTo(frame);
    }
    this.#shownTimes.push(now);
    while (this.#shownTimes[0] < now - 1000) this.#shownTimes.shift();
    if (this.#shownTimes.length === this.#lastRate) return;
    this.#lastRate = this.#shownTimes.length;
    this.dispatchEvent(new CustomEvent("rate", { detail: this.#lastRate }));
  }
}
