// Puts the page together.

import { makeBackgroundPicker } from "./background.js";
import { isSettled } from "./cache.js";
import { Connection } from "./connection.js";
import { makeCurves } from "./curves.js";
import { ask, openDialog, sentence, toast } from "./dialogs.js";
import { clamp, element, followPointer, setAttribute, setText } from "./dom.js";
import { StudioDocument } from "./document.js";
import { makeDopeSheet } from "./dope.js";
import { copyText, openExport } from "./exports.js";
import { makeHandles } from "./handles.js";
import { icon } from "./icons.js";
import { isUploading, makeInput } from "./input.js";
import { makeInspector } from "./inspector.js";
import { wireMenu, wireTabs } from "./menu.js";
import { Playback } from "./playback.js";
import { makePresets } from "./presets.js";
import { Preview } from "./preview.js";
import { makeProjects } from "./projects.js";
import { makeQueue } from "./queue.js";
import { makeScene } from "./scene.js";
import { KeySelection } from "./selection.js";
import { listen, openShortcutSheet } from "./shortcuts.js";
import { PageState } from "./state.js";
import { Timeline } from "./timeline.js";
import { wireTransport } from "./transport.js";
import { formatRate } from "./units.js";
import { Viewer, wireViewerReadout } from "./viewer.js";

const find = (selector) => document.querySelector(selector);
for (const place of document.querySelectorAll("[data-icon]")) place.prepend(icon(place.dataset.icon));

const connection = new Connection();
const state = new PageState();
const studio = new StudioDocument(connection);
const preview = new Preview(connection, studio, state);
const viewer = new Viewer(find("#stage"), state, preview);
const timeline = new Timeline({ root: find("#timeline"), document: studio, state, preview });
const selection = new KeySelection(studio);
const playback = new Playback({ document: studio, state, preview, viewer, timeline, connection });
const parts = { connection, document: studio, state, preview, viewer, timeline, selection, playback };

const lanes = { names: find("#lane-names"), lanes: find("#lanes"), ...parts };
makeDopeSheet(lanes);
makeCurves(lanes);
makeInspector(find("#parameters"), { ...parts, pressHeader });
makeScene(find("#scene"), parts);
makeHandles({ stage: find("#stage"), ...parts });
makeInput({ panel: find("#input"), page: document.body, ...parts });
makePresets({ list: find("#preset-list"), saveButton: find("#save-preset"), ...parts });
const projects = makeProjects({ title: find("#title"), ...parts });
const queue = makeQueue({ button: find("#queue-button"), sheet: find("#queue"), connection });
wireViewerReadout(find("#viewer-bar"), viewer);
const transport = wireTransport(find("#timeline"), parts);

// Before anything waits: a window that opens later is taken for a pop-up.
function pressHeader() {
  const tab = window.open("", "_blank");
  connection.request({ type: "press-header" }).then(
    ({ url }) => {
      if (!url) tab?.close();
      else if (tab) {
        tab.opener = null;
        tab.location.href = url;
      }
    },
    (error) => {
      tab?.close();
      toast(error.message, "error");
    },
  );
}

const showExport = () => studio.state && openExport({ ...parts, playRange: timeline.playRange, showQueue: queue.show });

async function invite() {
  try {
    const { url } = await connection.request({ type: "invite" });
    const shown = element("textarea", { readonly: true, rows: 2, class: "command", "aria-label": "Address" });
    shown.value = url;
    const copy = element("button", { type: "button", class: "button is-primary", text: "Copy the address", on: { click: () => copyText(url, shown) } });
    openDialog({ title: "Open in another browser", body: [element("p", { text: "This address opens the studio once, in one more browser on this machine. Both show the same document." }), shown], actions: [copy], className: "is-small" });
    shown.select();
  } catch (error) {
    toast(error.message, "error");
  }
}

async function quit() {
  if (studio.state?.dirty && !(await ask({ title: "Stop the studio?", message: "The changes are not saved. They are offered when the studio starts again.", yes: "Stop" }))) return;
  try {
    await connection.request({ type: "quit" });
  } catch (error) {
    if (!connection.isOpen) return;
    if (await ask({ title: "Stop the studio?", message: sentence(error.message), yes: "Stop all the same" })) connection.request({ type: "quit", force: true }).catch(() => {});
  }
}

const zoomBy = (factor) => viewer.setZoom(viewer.zoom * factor);
const flip = (name) => state.set({ [name]: !state.get(name) });
const setPoint = (name) => state.set({ [name]: state.get("playhead") });
const atDocument = (name) => timeline.goTo(studio.frames[name]);
const shortcuts = [
  { group: "Playback", keys: ["Space"], words: "Play or stop", run: (event) => event.repeat || viewer.holdSpace(true) },
  { group: "Playback", keys: ["J"], words: "Backwards; again: twice as fast", run: () => playback.shuttle(-1) },
  { group: "Playback", keys: ["K"], words: "Stop", run: () => playback.stop() },
  { group: "Playback", keys: ["L"], words: "Forwards; again: twice as fast", run: () => playback.shuttle(1) },
  { group: "Playback", keys: ["ArrowLeft"], words: "One frame back", run: () => playback.step(-1) },
  { group: "Playback", keys: ["ArrowRight"], words: "One frame on", run: () => playback.step(1) },
  { group: "Playback", keys: ["Shift+ArrowLeft"], words: "Ten frames back", run: () => playback.step(-10) },
  { group: "Playback", keys: ["Shift+ArrowRight"], words: "Ten frames on", run: () => playback.step(10) },
  { group: "Playback", keys: ["Home"], words: "To the first frame", run: () => (playback.stop(), atDocument("first")) },
  { group: "Playback", keys: ["End"], words: "To the last frame", run: () => (playback.stop(), atDocument("last")) },
  { group: "Playback", keys: ["I"], words: "In point here", run: () => setPoint("inPoint") },
  { group: "Playback", keys: ["O"], words: "Out point here", run: () => setPoint("outPoint") },
  { group: "Playback", keys: ["X"], words: "No in and out points", run: () => state.set({ inPoint: null, outPoint: null }) },
  { group: "Keyframes", keys: [","], words: "To the keyframe before", run: () => transport.toKeyframe(-1) },
  { group: "Keyframes", keys: ["."], words: "To the next keyframe", run: () => transport.toKeyframe(1) },
  { group: "Keyframes", keys: ["Ctrl+A"], words: "Select all", run: () => selection.selectAll() },
  { group: "Keyframes", keys: ["Ctrl+C"], words: "Copy", run: () => selection.size && toast(`${selection.copy()} keyframes copied`) },
  { group: "Keyframes", keys: ["Ctrl+V"], words: "Paste at the playhead", run: () => selection.paste(state.get("playhead")) },
  { group: "Keyframes", keys: ["Delete", "Backspace"], words: "Delete", run: () => selection.remove() },
  { group: "Keyframes", keys: ["Escape"], words: "Select none", run: () => selection.clear() },
  { group: "Keyframes", keys: ["C"], words: "Keys or curves", run: () => state.set({ lane: state.get("lane") === "keys" ? "curves" : "keys" }) },
  { group: "View", keys: ["F"], words: "Fit the picture", run: () => viewer.setZoom("fit") },
  { group: "View", keys: ["1"], words: "Picture at 100 %", run: () => viewer.setZoom(1) },
  { group: "View", keys: ["+", "="], words: "Larger", run: () => zoomBy(1.25) },
  { group: "View", keys: ["-"], words: "Smaller", run: () => zoomBy(0.8) },
  { group: "View", keys: ["W"], words: "Before and after", run: () => flip("wipe") },
  { group: "View", keys: ["H"], words: "Handles", run: () => flip("handles") },
  { group: "View", keys: ["P"], words: "Presets and input", run: () => flip("left") },
  { group: "View", keys: ["?"], words: "This sheet", run: () => openShortcutSheet(shortcuts) },
  { group: "Document", keys: ["Ctrl+Z"], words: "Undo", run: () => studio.step("undo") },
  { group: "Document", keys: ["Ctrl+Shift+Z", "Ctrl+Y"], words: "Redo", run: () => studio.step("redo") },
  { group: "Document", keys: ["Ctrl+O"], words: "Open", evenTyping: true, run: () => projects.open() },
  { group: "Document", keys: ["Ctrl+S"], words: "Save", evenTyping: true, run: () => projects.save() },
  { group: "Document", keys: ["Ctrl+Shift+S"], words: "Save as", evenTyping: true, run: () => projects.saveAs() },
  { group: "Document", keys: ["Ctrl+E"], words: "Export", evenTyping: true, run: showExport },
];
listen(shortcuts);
// Space plays when it is let go, unless it dragged the picture meanwhile.
addEventListener("keyup", (event) => {
  if (event.key !== " " || !find("#stage").classList.contains("can-pan")) return;
  const panned = viewer.hasPanned;
  viewer.holdSpace(false);
  if (!panned) playback.toggle();
});
addEventListener("blur", () => viewer.holdSpace(false));

// A button that was clicked gives the keys back to the page; one that was reached by keyboard keeps them.
document.addEventListener("click", (event) => {
  const button = event.detail > 0 && event.target instanceof Element ? event.target.closest("button") : null;
  if (button && !button.closest("dialog, .menu, [role=tablist]") && !button.matches(".well, .key")) button.blur();
});

const click = (id, run) => find(id).addEventListener("click", run);
click("#undo", () => studio.step("undo"));
click("#redo", () => studio.step("redo"));
click("#open", () => projects.open());
click("#save", () => projects.save());
click("#export", showExport);
click("#help", () => openShortcutSheet(shortcuts));
click("#toggle-left", () => flip("left"));
click("#zoom-fit", () => viewer.setZoom("fit"));
click("#zoom-full", () => viewer.setZoom(1));
click("#wipe", () => flip("wipe"));
click("#handles", () => flip("handles"));
click("#retry", () => connection.retry());
wireMenu(find("#title"), [
  { words: "New", run: () => projects.begin() },
  { words: "Open…", keys: "Ctrl O", run: () => projects.open() },
  null,
  { words: "Save", keys: "Ctrl S", run: () => projects.save() },
  { words: "Save as…", keys: "Ctrl Shift S", run: () => projects.saveAs() },
  { words: "Export…", keys: "Ctrl E", run: showExport },
  null,
  { words: "Open in another browser…", run: invite },
  { words: "Stop the studio…", run: quit },
]);

const quality = find("#quality");
quality.addEventListener("change", () => state.set({ quality: quality.value }));
let background = null;
studio.addEventListener("hello", () => {
  background = makeBackgroundPicker({ connection, rootName: studio.hello.root, choices: ["checker", "black", "white", "color", "file"], purpose: "viewer", onChange: (value) => state.set({ background: value }) });
  background.set(state.get("background"));
  find("#background").replaceChildren(background.node);
});

const showLeft = wireTabs(find("#left-tabs"), (name) => state.set({ leftTab: name }));
const showRight = wireTabs(find("#right-tabs"), (name) => state.set({ inspector: name }));

const themes = { system: "as the system", dark: "dark", light: "light" };
click("#theme", () => {
  const names = Object.keys(themes);
  state.set({ theme: names[(names.indexOf(state.get("theme")) + 1) % names.length] });
});

function showState() {
  const theme = state.get("theme");
  setAttribute(document.documentElement, "data-theme", theme === "system" ? null : theme);
  setAttribute(find("#theme"), "title", `Theme: ${themes[theme]}`);
  setAttribute(find("#theme"), "aria-label", `Theme: ${themes[theme]}`);
  document.body.classList.toggle("has-left", state.get("left"));
  find("#left").inert = !state.get("left");
  document.body.style.setProperty("--timeline-height", `${state.get("timelineHeight")}px`);
  showLeft(state.get("leftTab"));
  showRight(state.get("inspector"));
  quality.value = state.get("quality");
  for (const [id, on] of [["#toggle-left", state.get("left")], ["#wipe", state.get("wipe")], ["#handles", state.get("handles")], ["#zoom-fit", state.get("zoom") === "fit"], ["#zoom-full", state.get("zoom") === 1]]) setAttribute(find(id), "aria-pressed", String(on));
  setAttribute(find("#splitter"), "aria-valuenow", state.get("timelineHeight"));
}
state.addEventListener("change", showState);
showState();

const splitter = find("#splitter");
const setHeight = (height) => state.set({ timelineHeight: Math.round(clamp(height, 132, innerHeight - 260)) });
splitter.addEventListener("pointerdown", (event) => {
  const height = state.get("timelineHeight");
  followPointer(event, { move: ({ clientY }) => setHeight(height + event.clientY - clientY) });
});
splitter.addEventListener("keydown", (event) => {
  const by = { ArrowUp: 16, ArrowDown: -16 }[event.key];
  if (!by) return;
  event.preventDefault();
  setHeight(state.get("timelineHeight") + by);
});

let problem = null;
studio.addEventListener("change", () => {
  const { state: told } = studio;
  viewer.setPictureSize(told.width, told.height, told.pixelAspect ?? 1);
  for (const [id, word] of [["undo", "Undo"], ["redo", "Redo"]]) {
    const what = told[id];
    find(`#${id}`).disabled = what === null;
    setAttribute(find(`#${id}`), "title", what === null ? `Nothing to ${id}` : `${word}: ${what}`);
  }
  setText(find("#size"), told.width ? `${told.width} × ${told.height}` : "");
  setText(find("#rate"), formatRate(told.rate));
  const remarks = (told.remarks ?? []).map(sentence).join("\n");
  find("#remarks").hidden = !remarks;
  setAttribute(find("#remarks"), "title", remarks);
  if (told.problem) setBusy(false);
  if (told.problem === problem) return;
  problem = told.problem;
  find("#problem").hidden = !problem;
  const isEmpty = !told.document.input && !told.document.testPattern && studio.sceneValue("text") === null && studio.sceneValue("text-file") === null;
  setText(find("#problem-title"), isEmpty ? "Nothing burns yet" : "This can't be drawn");
  setText(find("#problem-words"), isEmpty ? "Type a title, choose a file, or drop one anywhere on this page." : sentence(problem ?? ""));
  find("#stage").classList.toggle("is-empty", Boolean(problem));
  if (problem) viewer.clear();
  if (isEmpty && problem) state.set({ left: true, leftTab: "input" });
});
click("#problem-text", () => {
  state.set({ left: true, leftTab: "input", input: "text" });
  find("#input textarea").focus();
});
preview.addEventListener("failed", () => setBusy(false));
preview.addEventListener("failed", ({ detail }) => studio.state.problem || toast(`Frame ${detail.frame}: ${detail.message}`, "error"));

// Busy until the canvas shows the lossless frame of the document as it is.
const canvas = find("#stage canvas");
const setBusy = (busy) => setAttribute(canvas, "aria-busy", String(busy));
preview.addEventListener("stale", () => setBusy(true));
preview.addEventListener("picture", ({ detail: picture }) => {
  if (picture.header.view !== "fire") return;
  const isCurrent = !picture.dropped && picture.header.frame === state.get("playhead") && !studio.hasUnsent;
  setBusy(!(isCurrent && isSettled(picture)));
});
studio.addEventListener("change", () => studio.hasUnsent && setBusy(true));

studio.addEventListener("refused", ({ detail: { error, edits } }) => {
  // A field of the scene says it where it is.
  if (error.message && !edits.some((edit) => "scene" in edit && state.get("inspector") === "scene" && !["text", "font", "pad"].includes(edit.scene))) toast(error.message, "error");
});

connection.addEventListener("open", () => {
  document.body.classList.remove("is-lost");
  find("#lost").hidden = true;
});
function showLost(title, words) {
  document.body.classList.add("is-lost");
  find("#lost").hidden = false;
  setText(find("#lost-title"), title);
  setText(find("#lost-words"), words);
}
connection.addEventListener("lost", ({ detail: { refused, reason } }) => {
  const title = refused ? "This page is no longer let in" : reason ? "The studio has ended" : "Connection lost";
  showLost(title, refused ? "The studio was started anew. Open the address that it printed." : "It is tried again by itself. Everything stays as it is.");
});
addEventListener("beforeunload", (event) => {
  if (studio.hasUnsent || isUploading()) event.preventDefault();
});
if ("WebSocket" in window) {
  connection.start();
} else {
  find("#retry").hidden = true;
  showLost("This browser can't connect", "It has no WebSocket, or an add-on has taken it away. The studio sends its pictures through one. Any Firefox, Chrome, Edge or Safari of the last ten years has it.");
}
