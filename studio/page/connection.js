// The socket to the program: messages, requests with answers, and coming back after it was lost.

const firstDelay = 250;
const longestDelay = 5000;

/** What the program refused, with the field that it names. */
export class Refusal extends Error {
  /** @param {string} message @param {string|null} field */
  constructor(message, field) {
    super(message);
    this.field = field;
  }
}

/**
 * Emits "message" (detail: the JSON of a message without an answer's number), "picture" (detail: {header, blob}), "open" and
 * "lost" (detail: {refused, reason}).
 */
export class Connection extends EventTarget {
  #socket = null;
  #requests = new Map();
  #lastRequest = 0;
  #delay = firstDelay;
  #timer = 0;
  #reason = null;

  /** Whether the program said hello and is still there. */
  isOpen = false;

  /** Connects, and again whenever the socket is lost. */
  start() {
    clearTimeout(this.#timer);
    const url = new URL("socket", location.href);
    url.protocol = url.protocol === "https:" ? "wss:" : "ws:";
    const socket = new WebSocket(url);
    socket.binaryType = "arraybuffer";
    socket.onmessage = (event) => (typeof event.data === "string" ? this.#takeText(event.data) : this.#takePicture(event.data));
    socket.onclose = () => {
      if (socket === this.#socket) this.#lose();
    };
    this.#socket = socket;
  }

  /** Tries again at once instead of waiting. */
  retry() {
    if (this.isOpen || this.#socket?.readyState === WebSocket.CONNECTING) return;
    this.#delay = firstDelay;
    this.start();
  }

  /**
   * @param {Object} message
   * @returns {boolean} whether it was sent; a page that is cut off sends nothing
   */
  send(message) {
    if (!this.isOpen || this.#socket.readyState !== WebSocket.OPEN) return false;
    this.#socket.send(JSON.stringify(message));
    return true;
  }

  /**
   * @param {Object} message
   * @returns {Promise<Object>} the answer; rejected with a Refusal where the program refuses, or is not there
   */
  request(message) {
    const request = ++this.#lastRequest;
    return new Promise((resolve, reject) => {
      if (!this.send({ ...message, request })) reject(new Refusal("The studio is not connected", null));
      else this.#requests.set(request, { resolve, reject });
    });
  }

  #takeText(text) {
    const message = JSON.parse(text);
    const waiting = message.request === undefined ? undefined : this.#requests.get(message.request);
    if (waiting) {
      this.#requests.delete(message.request);
      if (message.type === "error") waiting.reject(new Refusal(message.message, message.field ?? null));
      else waiting.resolve(message);
      return;
    }
    if (message.type === "hello") {
      this.isOpen = true;
      this.#delay = firstDelay;
      this.#reason = null;
      this.dispatchEvent(new CustomEvent("open"));
    }
    if (message.type === "bye") this.#reason = message.reason;
    this.dispatchEvent(new CustomEvent("message", { detail: message }));
  }

  #takePicture(buffer) {
    const length = new DataView(buffer).getUint32(0, true);
    const header = JSON.parse(new TextDecoder().decode(new Uint8Array(buffer, 4, length)));
    const blob = new Blob([new Uint8Array(buffer, 4 + length)], { type: header.mime });
    this.dispatchEvent(new CustomEvent("picture", { detail: { header, blob } }));
  }

  async #lose() {
    const wasOpen = this.isOpen;
    this.isOpen = false;
    for (const { reject } of this.#requests.values()) reject(new Refusal("The connection was lost", null));
    this.#requests.clear();
    this.#timer = setTimeout(() => this.start(), this.#delay);
    this.#delay = Math.min(this.#delay * 2, longestDelay);
    const refused = wasOpen ? false : await this.#isRefused();
    if (!this.isOpen) this.dispatchEvent(new CustomEvent("lost", { detail: { refused, reason: this.#reason } }));
  }

  // A program that answers and lets nobody in was started anew: only its new address helps.
  async #isRefused() {
    try {
      return (await fetch("/", { cache: "no-store", redirect: "manual" })).status === 403;
    } catch {
      return false;
    }
  }
}
