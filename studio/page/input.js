import { clamp, element, setText } from "./dom.js";
import { field, segmented, toast } from "./dialogs.js";
import { makeColour } from "./colour.js";
import { makeFileList, upload } from "./files.js";
import { makeNumber } from "./slider.js";
import { formatHex, parseHex } from "./units.js";

const styles = ["Regular", "Bold", "Italic", "Bold Italic"];
const typingPause = 1200;
const names = { white: "#ffffff", black: "#000000", red: "#ff0000", orange: "#ffa500", yellow: "#ffff00", gold: "#ffd700" };

/** In options a line feed is \n and a backslash is doubled. */
const escapeText = (text) => text.replace(/\\/g, "\\\\").replace(/\n/g, "\\n");
const unescapeText = (text) => text.replace(/\\(n|\\)/g, (_, letter) => (letter === "n" ? "\n" : "\\"));

/**
 * @param {string} font a family, style and size such as "Serif Bold Italic 120"
 * @returns {{family: string, style: string, size: number|null}}
 */
export function parseFont(font) {
  const match = /^(.*?)((?:\s+(?:Regular|Bold|Italic))*)(?:\s+(\d+(?:\.\d+)?))?$/i.exec(` ${font.trim()}`);
  const style = styles.find((each) => each.toLowerCase() === match[2].trim().toLowerCase().replace(/\s+/g, " ")) ?? "Regular";
  return { family: match[1].trim(), style, size: match[3] ? Number(match[3]) : null };
}

/** @param {{family: string, style: string, size: number|null}} font @returns {string} */
export function formatFont({ family, style, size }) {
  return [family, style === "Regular" ? "" : style, size === null ? "" : String(size)].filter(Boolean).join(" ");
}

/**
 * What burns: a text, a file, or a pattern for tests.
 * @param {{panel: HTMLElement, page: HTMLElement, connection: import("./connection.js").Connection,
 *   document: import("./document.js").StudioDocument, state: import("./state.js").PageState}} parts page: files may be dropped on it
 */
export function makeInput({ panel, page, connection, document: studio, state }) {
  const kind = segmented("What burns", [{ value: "text", text: "Text" }, { value: "file", text: "File" }, { value: "pattern", text: "Pattern" }], (value) => state.set({ input: value }));
  const textPart = makeText(studio);
  const filePart = makeFile(studio, connection);
  const patterns = element("div", { class: "pattern-list" });
  const parts = { text: textPart.node, file: filePart.node, pattern: patterns };
  panel.append(kind.node, ...Object.values(parts));

  const showPart = () => {
    kind.set(state.get("input"));
    for (const [name, node] of Object.entries(parts)) node.hidden = name !== state.get("input");
    if (state.get("input") === "file" && connection.isOpen) filePart.load();
  };
  state.on(["input"], showPart);
  showPart();

  let burning = "";
  studio.addEventListener("hello", () => {
    patterns.replaceChildren(
      ...studio.hello.testPatterns.map((name) => element("button", { type: "button", class: "button", text: name, data: { pattern: name }, on: { click: () => studio.edit(studio.gesture(`Pattern ${name}`), [{ testPattern: name }]) } })),
    );
    textPart.takeFonts();
    if (state.get("input") === "file") filePart.load();
  });
  studio.addEventListener("change", () => {
    const { input, testPattern } = studio.state.document;
    for (const button of patterns.children) button.setAttribute("aria-pressed", String(button.dataset.pattern === testPattern));
    filePart.update();
    textPart.update();
    // When another thing burns, its controls come forward.
    const now = input ? "file" : testPattern ? "pattern" : studio.sceneValue("text") === null ? "" : "text";
    if (now && now !== burning) state.set({ input: now });
    burning = now || burning;
  });
  wireDrop(page, filePart.take, state);
}

function makeText(studio) {
  const text = element("textarea", { rows: 3, spellcheck: "false", placeholder: "Your title" });
  const family = element("select");
  const style = element("select", {}, ...styles.map((name) => element("option", { value: name, text: name })));
  const sizeRange = { label: "Size in pixels; 0 fits the picture", minimum: 0, maximum: 4000, sliderMinimum: 0, sliderMaximum: 400, step: 1, unit: "pixels", whole: true };
  const fontSink = { begin: () => studio.gesture("Font"), reset: () => {} };
  const fontNow = () => parseFont(studio.sceneValue("font") ?? "Sans Bold");
  const setFont = (change, gesture = studio.gesture("Font")) => studio.edit(gesture, [{ scene: "font", value: formatFont({ ...fontNow(), ...change }) }]);
  const size = makeNumber(sizeRange, { ...fontSink, change: (gesture, value) => setFont({ size: value || null }, gesture) });
  const colour = makeColour("Text colour", { begin: () => studio.gesture("Text colour"), change: (gesture, value) => studio.edit(gesture, [{ scene: "text-color", value: formatHex(value) }]), reset: () => studio.edit(studio.gesture("Text colour"), [{ scene: "text-color", value: null }]) });
  const align = segmented("Alignment", ["left", "center", "right"].map((value) => ({ value, text: value.charAt(0).toUpperCase() + value.slice(1) })), (value) => studio.edit(studio.gesture("Alignment"), [{ scene: "text-align", value }]));
  const pad = element("input", { type: "text", placeholder: "0, auto, 40,10%", autocomplete: "off", spellcheck: "false", "aria-label": "Padding" });
  pad.addEventListener("change", () => studio.edit(studio.gesture("Padding"), [{ scene: "pad", value: pad.value.trim() || null }]));
  for (const input of [text, pad]) input.addEventListener("keydown", (event) => event.key === "Escape" && input.blur());

  let gesture = null;
  let lastTyped = 0;
  text.addEventListener("input", () => {
    const now = performance.now();
    if (!gesture || now - lastTyped > typingPause) gesture = studio.gesture("Text");
    lastTyped = now;
    studio.edit(gesture, [{ scene: "text", value: escapeText(text.value) || null }]);
  });
  text.addEventListener("blur", () => (gesture = null));
  family.addEventListener("change", () => setFont({ family: family.value }));
  style.addEventListener("change", () => setFont({ style: style.value }));

  const textField = field("Text", text);
  const node = element(
    "div",
    { class: "input-text" },
    textField,
    field("Font", family),
    element("div", { class: "field-pair" }, field("Style", style), field("Size", size.input.closest(".number"))),
    element("div", { class: "field" }, element("span", { class: "field-label", text: "Colour" }), colour.node),
    element("div", { class: "field" }, element("span", { class: "field-label", text: "Alignment" }), align.node),
    field("Padding", pad),
  );
  return {
    node,
    takeFonts: () => family.replaceChildren(...["Sans", "Serif", "Monospace", ...studio.hello.fonts.filter((name) => !["Sans", "Serif", "Monospace"].includes(name))].map((name) => element("option", { value: name, text: name }))),
    update() {
      const font = fontNow();
      if (document.activeElement !== text) text.value = unescapeText(studio.sceneValue("text") ?? "");
      if (font.family && ![...family.options].some((option) => option.value === font.family)) family.append(element("option", { value: font.family, text: font.family }));
      family.value = font.family || "Sans";
      style.value = font.style;
      size.set(clamp(font.size ?? 0, 0, 4000));
      const told = studio.sceneValue("text-color") ?? "white";
      colour.set(parseHex(names[told] ?? told) ?? parseParts(told) ?? [1, 1, 1]);
      align.set(studio.sceneValue("text-align") ?? "center");
      if (document.activeElement !== pad) pad.value = studio.sceneValue("pad") ?? "";
    },
  };
}

const parseParts = (text) => {
  const parts = text.split(",").map(Number);
  return parts.length === 3 && parts.every(Number.isFinite) ? parts : null;
};

function makeFile(studio, connection) {
  const useFile = (path) => studio.edit(studio.gesture(`Input ${path.split("/").pop()}`), [{ input: path }]);
  const picker = element("input", { type: "file", class: "visually-hidden", tabindex: -1, "aria-hidden": "true" });
  const browse = element("button", { type: "button", class: "button", text: "Upload a file…", on: { click: () => picker.click() } });
  const progress = element("progress", { max: 1, value: 0, "aria-label": "Upload" });
  progress.hidden = true;
  const current = element("p", { class: "current-file" });
  const files = makeFileList({ connection, purpose: "input", kinds: ["picture", "movie"], rootName: "", onPick: useFile });
  let list = files;
  const place = element("div", { class: "files-place" }, files.node);

  async function take(dropped) {
    const file = dropped[0];
    if (!file) return;
    if (dropped.length > 1) toast(`Only ${file.name} is taken: one file burns at a time`);
    progress.hidden = false;
    uploading = true;
    try {
      const path = await upload(file, (share) => (progress.value = share));
      await useFile(path);
      list.load();
    } catch (error) {
      toast(error.message, "error");
    }
    uploading = false;
    progress.hidden = true;
    progress.value = 0;
  }
  picker.addEventListener("change", () => {
    take([...picker.files]);
    picker.value = "";
  });
  studio.addEventListener("hello", () => {
    list = makeFileList({ connection, purpose: "input", kinds: ["picture", "movie"], rootName: studio.hello.root, onPick: useFile });
    place.replaceChildren(list.node);
  });
  return {
    node: element("div", { class: "input-file" }, current, place, element("p", { class: "hint", text: "Or drop a picture or movie anywhere on the page." }), browse, picker, progress),
    load: () => list.load(),
    take,
    update() {
      const { input } = studio.state.document;
      setText(current, input ? `Burns: ${input}` : "No file burns.");
      current.title = input ?? "";
      list.select(input);
    },
  };
}

let uploading = false;

/** Whether a file is on its way, which closing the page would cut off. */
export function isUploading() {
  return uploading;
}

function wireDrop(page, take, state) {
  const veil = element("div", { class: "drop-veil" }, element("p", { text: "Drop it to set it on fire" }));
  veil.hidden = true;
  page.append(veil);
  const hasFiles = (event) => event.dataTransfer?.types.includes("Files");
  page.addEventListener("dragover", (event) => {
    if (!hasFiles(event)) return;
    event.preventDefault();
    event.dataTransfer.dropEffect = "copy";
    veil.hidden = false;
  });
  page.addEventListener("dragleave", (event) => {
    if (!event.relatedTarget) veil.hidden = true;
  });
  page.addEventListener("drop", (event) => {
    veil.hidden = true;
    if (!hasFiles(event)) return;
    event.preventDefault();
    state.set({ left: true, leftTab: "input", input: "file" });
    take([...event.dataTransfer.files]);
  });
}
