import { replacing, withEase, withMoved, without } from "./keyframes.js";

/**
 * @typedef {import("./keyframes.js").Keyframe} Keyframe
 * @typedef {{by: (frames: number) => void, original: Map<string, Keyframe[]>}} Move
 */

/** The keyframes that are selected, and what is done with all of them. Emits "change". */
export class KeySelection extends EventTarget {
  #document;
  #keys = new Map();
  #clipboard = [];

  /** @param {import("./document.js").StudioDocument} document */
  constructor(document) {
    super();
    this.#document = document;
    document.addEventListener("change", () => this.#prune());
  }

  /** @returns {number} */
  get size() {
    return [...this.#keys.values()].reduce((sum, frames) => sum + frames.size, 0);
  }

  /** Whether something was copied. */
  get canPaste() {
    return this.#clipboard.length > 0;
  }

  /** @param {string} slug @param {number} frame */
  has(slug, frame) {
    return this.#keys.get(slug)?.has(frame) ?? false;
  }

  /** @returns {[string, Set<number>][]} frames by parameter */
  entries() {
    return [...this.#keys].filter(([, frames]) => frames.size);
  }

  /** @param {[string, number][]} keys @param {boolean} [add] to what is selected */
  select(keys, add = false) {
    if (!add) this.#keys.clear();
    for (const [slug, frame] of keys) {
      if (!this.#keys.has(slug)) this.#keys.set(slug, new Set());
      this.#keys.get(slug).add(frame);
    }
    this.#changed();
  }

  /** @param {string} slug @param {number} frame */
  toggle(slug, frame) {
    if (!this.has(slug, frame)) return this.select([[slug, frame]], true);
    this.#keys.get(slug).delete(frame);
    this.#changed();
  }

  clear() {
    if (this.size) this.select([]);
  }

  selectAll() {
    const animated = this.#document.parameters.filter(({ slug }) => this.#document.isAnimated(slug));
    this.select(animated.flatMap(({ slug }) => this.#document.keyframes(slug).map(({ frame }) => [slug, frame])));
  }

  /**
   * Begins a move of all that is selected. Each step counts from where it began: keyframes that are passed over come back.
   * @returns {Move}
   */
  beginMove() {
    const gesture = this.#document.gesture(this.size > 1 ? "Move keyframes" : "Move keyframe");
    const frames = new Map(this.entries().map(([slug, set]) => [slug, new Set(set)]));
    const original = new Map([...frames.keys()].map((slug) => [slug, this.#document.keyframes(slug)]));
    return {
      original,
      by: (delta) => {
        // The selection goes first: what the edit changes looks for it.
        this.#keys = new Map([...frames].map(([slug, set]) => [slug, new Set([...set].map((frame) => frame + delta))]));
        this.#document.edit(gesture, [...frames].map(([slug, set]) => ({ parameter: slug, keyframes: withMoved(original.get(slug), set, delta) })));
        this.#changed();
      },
    };
  }

  /** Takes the selected keyframes out. A parameter that loses its last one keeps that one's value. */
  remove() {
    const edits = this.entries().map(([slug, frames]) => {
      const keyframes = this.#document.keyframes(slug);
      const left = without(keyframes, frames);
      if (left.length) return { parameter: slug, keyframes: left };
      this.#document.setAnimated(slug, null);
      return { parameter: slug, value: keyframes[0].value };
    });
    if (!edits.length) return;
    const name = this.size > 1 ? "Delete keyframes" : "Delete keyframe";
    this.#keys.clear();
    this.#document.edit(this.#document.gesture(name), edits);
    this.#changed();
  }

  /** @returns {number} how many were copied */
  copy() {
    const first = Math.min(...this.entries().flatMap(([, frames]) => [...frames]));
    this.#clipboard = this.entries().map(([slug, frames]) => ({
      slug,
      keyframes: this.#document.keyframes(slug).filter(({ frame }) => frames.has(frame)).map((keyframe) => ({ ...keyframe, frame: keyframe.frame - first })),
    }));
    this.#changed();
    return this.size;
  }

  /** @param {number} frame where the first of what was copied goes */
  paste(frame) {
    if (!this.canPaste) return;
    const pasted = this.#clipboard.map(({ slug, keyframes }) => ({ slug, keyframes: keyframes.map((keyframe) => ({ ...keyframe, frame: keyframe.frame + frame })) }));
    const edits = pasted.map(({ slug, keyframes }) => {
      const old = this.#document.isAnimated(slug) ? this.#document.keyframes(slug) : [];
      this.#document.setAnimated(slug, keyframes[0].frame);
      return { parameter: slug, keyframes: replacing(old, keyframes) };
    });
    this.#keys = new Map(pasted.map(({ slug, keyframes }) => [slug, new Set(keyframes.map((keyframe) => keyframe.frame))]));
    this.#document.edit(this.#document.gesture("Paste keyframes"), edits);
    this.#changed();
  }

  /** @param {string} ease of the way from each selected keyframe to its next */
  setEase(ease) {
    const edits = this.entries().map(([slug, frames]) => ({ parameter: slug, keyframes: withEase(this.#document.keyframes(slug), frames, ease) }));
    if (edits.length) this.#document.edit(this.#document.gesture("Ease"), edits);
  }

  /** @returns {string|null} the ease that all selected have; null where they differ */
  get ease() {
    const eases = new Set(this.entries().flatMap(([slug, frames]) => this.#document.keyframes(slug).filter(({ frame }) => frames.has(frame)).map(({ ease }) => ease)));
    return eases.size === 1 ? [...eases][0] : null;
  }

  // What another page or an undo took away is selected no more.
  #prune() {
    let changed = false;
    for (const [slug, frames] of this.#keys) {
      const there = new Set(this.#document.keyframes(slug).map(({ frame }) => frame));
      for (const frame of frames) if (!there.has(frame)) changed = frames.delete(frame) || changed;
    }
    if (changed) this.#changed();
  }

  #changed() {
    this.dispatchEvent(new CustomEvent("change"));
  }
}
