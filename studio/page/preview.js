import { FrameCache, isSettled } from "./cache.js";

const settleAfter = 200;
const mostUnderWay = 2;
// A frame that has no answer by then is lost with its request. Large frames are slow to draw.
const lostAfter = 10000;

/**
 * Asks the program for frames, and hands over what comes. Each view has a lane whose newest request counts; "ahead" is what
 * playback wants before its time.
 *
 * Emits "picture" (detail: a Picture that is to be shown), "arrived" (detail: a Picture that is kept), "stale" (what is
 * shown may not be what is wanted) and "failed" (detail: the message).
 */
export class Preview extends EventTarget {
  #connection;
  #document;
  #state;
  #lastId = 0;
  #lanes = new Map();
  #underWay = new Map();
  #decoding = { fire: null, source: null };
  #waiting = { fire: null, source: null };
  #shownId = { fire: 0, source: 0 };
  #epoch = 0;
  #revision = -1;
  #settleTimer = 0;

  cache = new FrameCache();
  /** How many milliseconds a frame took lately, from the request to its arrival. */
  latency = 40;
  /** Whether playback decides what is shown. */
  isPlaying = false;
  /** Device pixels of the picture on the screen. */
  wantedSize = [1, 1];

  /**
   * @param {import("./connection.js").Connection} connection
   * @param {import("./document.js").StudioDocument} document
   * @param {import("./state.js").PageState} state
   */
  constructor(connection, document, state) {
    super();
    this.#connection = connection;
    this.#document = document;
    this.#state = state;
    connection.addEventListener("picture", ({ detail }) => this.#arrive(detail));
    connection.addEventListener("message", ({ detail }) => {
      if (detail.type === "hello") this.cache.limit = (detail.memory ?? 512) * 1e6;
      if (detail.type === "frame-error") this.#fail(detail);
    });
    connection.addEventListener("lost", () => {
      this.#underWay.clear();
      this.#lanes.clear();
      this.#revision = -1;
    });
    document.addEventListener("sent", () => this.invalidate());
    document.addEventListener("change", () => {
      if (document.state.revision === this.#revision) return;
      this.#revision = document.state.revision;
      // Its frame was asked for when the edit was sent.
      if (!document.isOwnEdit) this.invalidate();
    });
    state.on(["background", "quality"], () => this.invalidate());
    state.on(["playhead", "wipe"], () => this.refresh());
    setInterval(() => this.#pump(), lostAfter / 4);
  }

  /** What was drawn is not what would be drawn now. */
  invalidate() {
    ++this.#epoch;
    this.cache.clear();
    this.#lanes.clear();
    this.refresh();
  }

  /** Shows the playhead's frame: from memory, or asks for it. */
  refresh() {
    if (!this.#document.state || this.isPlaying) return;
    this.dispatchEvent(new CustomEvent("stale"));
    for (const view of this.#views()) this.#want(view, false);
    clearTimeout(this.#settleTimer);
    this.#settleTimer = setTimeout(() => {
      if (!this.isPlaying) for (const view of this.#views()) this.#want(view, true);
    }, settleAfter);
  }

  /**
   * Asks for a frame that playback will want.
   * @param {"fire"|"source"} view
   * @param {number} frame
   * @returns {boolean} false where enough is under way
   */
  ask(view, frame) {
    if (this.#underWay.size >= mostUnderWay || !this.#connection.isOpen) return false;
    this.#lanes.set("ahead", { view, frame, settled: false });
    this.#pump();
    return true;
  }

  /** @param {"fire"|"source"} view @param {number} frame @returns {boolean} whether it is on its way */
  isUnderWay(view, frame) {
    return [...this.#underWay.values()].some((request) => request.frame === frame && request.view === view && request.epoch === this.#epoch);
  }

  #views() {
    return this.#state.get("wipe") ? ["fire", "source"] : ["fire"];
  }

  #want(view, settled) {
    const frame = this.#state.get("playhead");
    const kept = this.cache.get(view, frame);
    if (kept) {
      this.#lanes.delete(view);
      this.#show(kept);
      if (!settled || isSettled(kept)) return;
    }
    this.#lanes.set(view, { view, frame, settled });
    this.#pump();
  }

  #pump() {
    for (const lane of ["fire", "source", "ahead"]) {
      const wanted = this.#lanes.get(lane);
      if (!wanted) continue;
      this.#giveUpLost();
      if (this.#underWay.size >= mostUnderWay) return;
      const id = ++this.#lastId;
      const [width, height] = this.wantedSize;
      const message = { type: "frame", id, frame: wanted.frame, width, height, size: wanted.settled ? "full" : this.#state.get("quality"), background: this.#state.get("background"), view: wanted.view, settled: wanted.settled };
      if (!this.#connection.send(message)) return;
      this.#lanes.delete(lane);
      this.#underWay.set(id, { ...wanted, lane, epoch: this.#epoch, since: performance.now() });
    }
  }

  #giveUpLost() {
    const now = performance.now();
    for (const [id, request] of this.#underWay) if (now - request.since > lostAfter) this.#underWay.delete(id);
  }

  // Frames come in the order of their requests, so earlier ones that are still open were dropped for newer ones.
  #close(id) {
    const request = this.#underWay.get(id);
    for (const [other, dropped] of this.#underWay) {
      if (other >= id || dropped.arrived) continue;
      this.#underWay.delete(other);
      const stillWanted = dropped.lane !== "ahead" && dropped.epoch === this.#epoch && dropped.frame === this.#state.get("playhead");
      if (stillWanted && !this.#lanes.has(dropped.lane) && dropped.lane !== request?.lane) this.#lanes.set(dropped.lane, dropped);
    }
    return request;
  }

  #arrive({ header, blob }) {
    if (header.kind !== "frame") return;
    const request = this.#close(header.id);
    const picture = { header, blob, bitmap: null, shown: false, dropped: false };
    if (request) {
      request.arrived = true;
      this.latency += (performance.now() - request.since - this.latency) * 0.2;
      if (request.epoch === this.#epoch) {
        this.cache.put(picture);
        this.dispatchEvent(new CustomEvent("arrived", { detail: picture }));
      } else {
        picture.dropped = true;
      }
    }
    if (this.isPlaying || !request || request.lane === "ahead") this.#acknowledge(header.id);
    else this.#show(picture);
  }

  #acknowledge(id) {
    this.#connection.send({ type: "shown", id });
    this.#underWay.delete(id);
    this.#pump();
  }

  // One is decoded and one waits: pictures that are decoded at once may overtake each other.
  async #show(picture) {
    const { view, id } = picture.header;
    if (this.#decoding[view]) {
      if (this.#waiting[view] && this.#waiting[view] !== picture) this.#finish(this.#waiting[view]);
      this.#waiting[view] = picture;
      return;
    }
    this.#decoding[view] = picture;
    try {
      await this.cache.decode(picture);
      const isOfPlayhead = picture.header.frame === this.#state.get("playhead");
      if (picture.bitmap && !this.isPlaying && (isOfPlayhead || id > this.#shownId[view])) {
        this.#shownId[view] = Math.max(id, this.#shownId[view]);
        this.dispatchEvent(new CustomEvent("picture", { detail: picture }));
      }
    } catch (error) {
      this.dispatchEvent(new CustomEvent("failed", { detail: { message: `The picture can't be decoded: ${error.message}`, frame: picture.header.frame } }));
    }
    this.#decoding[view] = null;
    if (!picture.shown) this.cache.release(picture);
    this.#finish(picture);
    const next = this.#waiting[view];
    this.#waiting[view] = null;
    if (next) this.#show(next);
  }

  #finish(picture) {
    if (this.#underWay.has(picture.header.id)) this.#acknowledge(picture.header.id);
  }

  #fail({ id, frame, message }) {
    this.#close(id);
    this.#underWay.delete(id);
    this.dispatchEvent(new CustomEvent("failed", { detail: { frame, message } }));
    this.#pump();
  }
}
