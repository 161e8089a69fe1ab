import { valueAt, withValue } from "./keyframes.js";

/**
 * @typedef {import("./keyframes.js").Keyframe} Keyframe
 * @typedef {{slug: string, label: string, kind: string, minimum: number, maximum: number, sliderMinimum: number, sliderMaximum: number,
 *   step: number, unit: string, default: any, entries: string[], animates: boolean, help: string}} Parameter
 * @typedef {{number: number, name: string}} Gesture
 */

const targetOf = (edit) =>
  "parameter" in edit ? `parameter ${edit.parameter}` : "scene" in edit ? `scene ${edit.scene}` : Object.keys(edit)[0];

/**
 * The document as this page shows it: what the program told last, with the edits over it that are on their way. At most one
 * edit is under way; what a drag changes meanwhile waits, merged, so that a slow line never falls behind the hand.
 *
 * Emits "hello", "change", "sent" (an edit went to the program: pictures asked for from now on have it) and "refused"
 * (detail: {error, edits}).
 */
export class StudioDocument extends EventTarget {
  #connection;
  #lastGesture = 0;
  #waiting = [];
  #underWay = null;
  #done = [];
  #armed = new Map();

  /** What the program said first; null before. */
  hello = null;
  /** The last "document" message; null before. */
  state = null;

  /** @param {import("./connection.js").Connection} connection */
  constructor(connection) {
    super();
    this.#connection = connection;
    connection.addEventListener("message", ({ detail }) => this.#take(detail));
    connection.addEventListener("lost", () => {
      this.#waiting = [];
      this.#done = [];
      this.#changed();
    });
  }

  /** @returns {Parameter[]} in the inspector's order, without the header row */
  get parameters() {
    return this.hello ? this.hello.parameters.filter((parameter) => parameter.kind !== "custom") : [];
  }

  /** @param {string} slug @returns {Parameter|undefined} */
  parameter(slug) {
    return this.hello?.parameters.find((parameter) => parameter.slug === slug);
  }

  /** @returns {{first: number, last: number}} */
  get frames() {
    return this.state?.frames ?? { first: 1, last: 1 };
  }

  /** Whether edits are on their way, which closing the page would lose. */
  get hasUnsent() {
    return this.#underWay !== null || this.#waiting.length > 0;
  }

  /** Whether the document that came last is the answer to this page's own edit, which was "sent" before. */
  get isOwnEdit() {
    return this.#underWay !== null && !this.#underWay.step && this.state.client === this.hello.client;
  }

  /** @param {string} slug @returns {Keyframe[]} those in force; at least one */
  keyframes(slug) {
    let keyframes = this.state?.inForce[slug];
    for (const edit of this.#pending()) {
      if (edit.parameter !== slug) continue;
      if (edit.reset) keyframes = null;
      else keyframes = edit.keyframes ?? [{ frame: this.frames.first, value: edit.value, ease: "linear" }];
    }
    if (keyframes?.length === 1 && this.#armed.has(slug)) return [{ ...keyframes[0], frame: this.#armed.get(slug) }];
    return keyframes?.length ? keyframes : [{ frame: this.frames.first, value: this.parameter(slug).default, ease: "linear" }];
  }

  /** @param {string} slug @param {number} frame */
  valueAt(slug, frame) {
    return valueAt(this.keyframes(slug), frame, this.parameter(slug).kind);
  }

  /** @param {string} slug @returns {boolean} whether the document says it, rather than the filter's default */
  isSet(slug) {
    let isSet = Boolean(this.state?.document.parameters[slug]);
    for (const edit of this.#pending()) if (edit.parameter === slug) isSet = !edit.reset;
    return isSet;
  }

  /**
   * One keyframe is a constant to the program, wherever it lies. So this page remembers for which parameters its user wants
   * keyframes, and where the first one is.
   * @param {string} slug
   */
  isAnimated(slug) {
    return this.#armed.has(slug) || this.keyframes(slug).length > 1;
  }

  /** @param {string} slug @param {number|null} frame of its first keyframe; null: it is a constant */
  setAnimated(slug, frame) {
    if (frame === null) this.#armed.delete(slug);
    else this.#armed.set(slug, frame);
  }

  /** @param {string} key @returns {string|null} the field's text; null where it is not set */
  sceneValue(key) {
    let value = this.state?.document.scene[key] ?? null;
    for (const edit of this.#pending()) if (edit.scene === key) value = edit.value;
    return value === null ? null : String(value);
  }

  /** @param {string} name what the undo button says @returns {Gesture} edits with it are one step of undo */
  gesture(name) {
    return { number: ++this.#lastGesture, name };
  }

  /**
   * @param {Gesture} gesture
   * @param {Object[]} edits
   * @returns {Promise<void>} settled with the program's answer; may be left alone: refusals are emitted, too
   */
  edit(gesture, edits) {
    if (!this.#connection.isOpen) return Promise.resolve();
    const answer = new Promise((resolve, reject) => {
      for (const { parameter, keyframes } of edits) if (keyframes?.length === 1) this.#armed.set(parameter, keyframes[0].frame);
      const last = this.#waiting[this.#waiting.length - 1];
      if (last?.gesture?.number === gesture.number) {
        const targets = new Set(edits.map(targetOf));
        last.edits = [...last.edits.filter((edit) => !targets.has(targetOf(edit))), ...edits];
        last.answers.push({ resolve, reject });
      } else {
        this.#waiting.push({ gesture, edits, answers: [{ resolve, reject }] });
      }
    });
    answer.catch(() => {});
    this.#sendNext();
    this.#changed();
    return answer;
  }

  /**
   * Sets a value as a control does: a keyframe at the frame where the parameter is animated, a constant where not.
   * @param {Gesture} gesture
   * @param {string} slug
   * @param {any} value
   * @param {number} frame
   */
  setValue(gesture, slug, value, frame) {
    const animated = this.isAnimated(slug);
    this.edit(gesture, [animated ? { parameter: slug, keyframes: withValue(this.keyframes(slug), frame, value) } : { parameter: slug, value }]);
  }

  /** @param {string} slug back to the filter's default */
  reset(slug) {
    this.setAnimated(slug, null);
    this.edit(this.gesture(`Reset ${this.parameter(slug).label}`), [{ parameter: slug, reset: true }]);
  }

  /** After the edits that are on their way. @param {"undo"|"redo"} which */
  step(which) {
    this.#waiting.push({ step: which, edits: [], answers: [] });
    this.#sendNext();
    this.#changed();
  }

  *#pending() {
    for (const batch of [...this.#done, ...(this.#underWay ? [this.#underWay] : []), ...this.#waiting]) yield* batch.edits;
  }

  async #sendNext() {
    if (this.#underWay || !this.#waiting.length) return;
    const batch = this.#waiting.shift();
    this.#underWay = batch;
    const { step, gesture, edits } = batch;
    const answer = this.#connection.request(step ? { type: step } : { type: "edit", gesture: gesture.number, name: gesture.name, edits });
    this.dispatchEvent(new CustomEvent("sent"));
    try {
      const { revision } = await answer;
      // Until the document with the edit is here, the page shows the edit.
      if (!step && !(this.state?.revision >= revision)) {
        this.#done.push(batch);
        setTimeout(() => this.#forget(batch), 1000);
      }
      for (const { resolve } of batch.answers) resolve();
    } catch (error) {
      for (const { reject } of batch.answers) reject(error);
      this.#refuse(error, edits);
    }
    this.#underWay = null;
    this.#sendNext();
    this.#changed();
  }

  #forget(batch) {
    const at = this.#done.indexOf(batch);
    if (at < 0) return;
    this.#done.splice(at, 1);
    this.#changed();
  }

  #take(message) {
    if (message.type === "hello") {
      this.hello = message;
      this.dispatchEvent(new CustomEvent("hello"));
    } else if (message.type === "presets") {
      this.hello.presets = message.presets;
      this.dispatchEvent(new CustomEvent("hello"));
    } else if (message.type === "document") {
      this.state = message;
      this.#done = [];
      this.#changed();
    }
  }

  #refuse(error, edits) {
    this.dispatchEvent(new CustomEvent("refused", { detail: { error, edits } }));
  }

  #changed() {
    if (this.state) this.dispatchEvent(new CustomEvent("change"));
  }
}
