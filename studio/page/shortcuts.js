import { element, keyOwner } from "./dom.js";
import { openDialog } from "./dialogs.js";

/**
 * @typedef {{keys: string[], words: string, group: string, run: (event: KeyboardEvent) => void, evenTyping?: boolean}} Shortcut keys as
 *   "Ctrl+Shift+Z" or "Space"; the first is shown. Ctrl is Command on a Mac.
 */

const isMac = /Mac/.test(navigator.platform);
const groups = ["Playback", "Keyframes", "View", "Document"];

/** @param {KeyboardEvent} event @returns {string} */
function keysOf(event) {
  const key = event.key === " " ? "Space" : event.key.length === 1 ? event.key.toUpperCase() : event.key;
  // A sign that needs Shift is named by itself.
  const shift = event.shiftKey && (key.length > 1 || /[A-Z]/.test(key));
  return `${event.ctrlKey || event.metaKey ? "Ctrl+" : ""}${event.altKey ? "Alt+" : ""}${shift ? "Shift+" : ""}${key}`;
}

/**
 * Listens to the page's keys. A field that is typed into keeps all but those with Ctrl that are marked, a control that arrows move
 * keeps its arrows, and a button its Space and Enter. Space plays from a slider.
 * @param {Shortcut[]} shortcuts
 */
export function listen(shortcuts) {
  const byKeys = new Map(shortcuts.flatMap((shortcut) => shortcut.keys.map((keys) => [keys, shortcut])));
  addEventListener("keydown", (event) => {
    const shortcut = byKeys.get(keysOf(event));
    if (!shortcut || event.defaultPrevented) return;
    const owner = keyOwner(event);
    if (owner === "text" && !shortcut.evenTyping) return;
    if (["control", "button"].includes(owner) && ["Space", "Enter"].includes(keysOf(event))) return;
    if (["control", "slider"].includes(owner) && /Arrow|Home|End|Page/.test(event.key)) return;
    event.preventDefault();
    shortcut.run(event);
  });
}

const signs = { ArrowLeft: "←", ArrowRight: "→", ArrowUp: "↑", ArrowDown: "↓" };

/** @param {string} keys @returns {HTMLElement[]} */
function keyCaps(keys) {
  const parts = keys === "+" ? ["+"] : keys.split("+");
  return parts.map((part) => element("kbd", { text: signs[part] ?? (part === "Ctrl" && isMac ? "⌘" : part) }));
}

/** @param {Shortcut[]} shortcuts */
export function openShortcutSheet(shortcuts) {
  const inControls = [
    [["↑", "↓"], "On a slider, dial or number: a step up or down"],
    [["Shift"], "With it, steps and drags are ten times as large"],
    [["Alt"], "With it, a tenth as large; in the timeline, nothing snaps"],
    [["PageUp", "PageDown"], "Ten steps"],
    [["Home", "End"], "The least and the most"],
    [["Delete"], "Back to the default, as a double click"],
    [["Alt", "←"], "On a keyframe: moves it"],
  ];
  const row = (caps, words) => element("div", { class: "shortcut" }, element("dt", {}, ...caps), element("dd", { text: words }));
  const column = (title, rows) => element("section", {}, element("h3", { text: title }), element("dl", {}, ...rows));
  openDialog({
    title: "Shortcuts",
    className: "is-shortcuts",
    body: [
      ...groups.map((group) => column(group, shortcuts.filter((shortcut) => shortcut.group === group).map((shortcut) => row(keyCaps(shortcut.keys[0]), shortcut.words)))),
      column("In controls", inControls.map(([caps, words]) => row(caps.map((cap) => element("kbd", { text: cap })), words))),
    ],
  });
}
