// What belongs to this page alone. What is about a document lasts as long as the tab, what is about a person as long as the
// browser's storage.

const ofTab = { playhead: 1, inPoint: null, outPoint: null, zoom: "fit", centre: [0.5, 0.5], background: { kind: "checker" }, wipe: false, wipeAt: 0.5, handles: true, quality: "auto" };
const ofPerson = { theme: "system", left: true, leftTab: "presets", timelineHeight: 232, loop: true, everyFrame: false, ruler: "frames", lane: "keys", inspector: "fire", input: "text" };
const tabKey = "pyrelux-tab";
const personKey = "pyrelux-person";

function load(storage, key) {
  try {
    return JSON.parse(storage.getItem(key)) ?? {};
  } catch {
    return {};
  }
}

/** Emits "change" (detail: the names of what changed). */
export class PageState extends EventTarget {
  #values = { ...ofTab, ...ofPerson, ...load(localStorage, personKey), ...load(sessionStorage, tabKey) };

  /** @param {string} name */
  get(name) {
    return this.#values[name];
  }

  /** @param {Object<string, any>} changes values by name */
  set(changes) {
    const names = Object.keys(changes).filter((name) => JSON.stringify(this.#values[name]) !== JSON.stringify(changes[name]));
    if (!names.length) return;
    for (const name of names) this.#values[name] = changes[name];
    this.#store(sessionStorage, tabKey, ofTab);
    this.#store(localStorage, personKey, ofPerson);
    this.dispatchEvent(new CustomEvent("change", { detail: new Set(names) }));
  }

  /**
   * @param {string[]} names
   * @param {() => void} listener called when one of them changes
   */
  on(names, listener) {
    this.addEventListener("change", ({ detail }) => {
      if (names.some((name) => detail.has(name))) listener();
    });
  }

  #store(storage, key, defaults) {
    try {
      storage.setItem(key, JSON.stringify(Object.fromEntries(Object.keys(defaults).map((name) => [name, this.#values[name]]))));
    } catch {
      // A browser that stores nothing forgets; nothing else depends on it.
    }
  }
}
