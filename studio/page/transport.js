import { element, setAttribute, setText } from "./dom.js";
import { icon } from "./icons.js";
import { segmented, toast } from "./dialogs.js";

const easeWords = { hold: "Hold", linear: "Linear", "ease-in": "Ease in", "ease-out": "Ease out", ease: "Ease", bezier: "Bezier" };

/**
 * The bar over the timeline: playback, and what is done with keyframes.
 * @param {HTMLElement} root
 * @param {{document: import("./document.js").StudioDocument, state: import("./state.js").PageState,
 *   timeline: import("./timeline.js").Timeline, selection: import("./selection.js").KeySelection,
 *   playback: import("./playback.js").Playback}} parts
 * @returns {{toKeyframe: (direction: -1|1) => void}}
 */
export function wireTransport(root, { document: studio, state, timeline, selection, playback }) {
  const find = (id) => root.querySelector(id);
  const click = (id, run) => find(id).addEventListener("click", run);

  // Of the selected rows, or of all.
  function toKeyframe(direction) {
    const chosen = selection.entries().map(([slug]) => slug);
    const slugs = chosen.length ? chosen : studio.parameters.map(({ slug }) => slug).filter((slug) => studio.isAnimated(slug));
    const at = state.get("playhead");
    const frames = slugs.flatMap((slug) => studio.keyframes(slug).map(({ frame }) => frame)).filter((frame) => (direction < 0 ? frame < at : frame > at));
    if (!frames.length) return;
    playback.stop();
    timeline.goTo(direction < 0 ? Math.max(...frames) : Math.min(...frames));
  }

  click("#to-first", () => (playback.stop(), timeline.goTo(timeline.playRange.first)));
  click("#to-last", () => (playback.stop(), timeline.goTo(timeline.playRange.last)));
  click("#step-back", () => playback.step(-1));
  click("#step-on", () => playback.step(1));
  click("#play", () => playback.toggle());
  click("#loop", () => state.set({ loop: !state.get("loop") }));
  click("#every-frame", () => state.set({ everyFrame: !state.get("everyFrame") }));
  click("#set-in", () => state.set({ inPoint: state.get("playhead") }));
  click("#set-out", () => state.set({ outPoint: state.get("playhead") }));
  click("#copy-keys", () => toast(`${selection.copy()} keyframes copied`));
  click("#paste-keys", () => selection.paste(state.get("playhead")));
  click("#delete-keys", () => selection.remove());
  click("#timeline-fit", () => timeline.fit());
  click("#timeline-in", () => timeline.zoomBy(1.5));
  click("#timeline-out", () => timeline.zoomBy(1 / 1.5));

  const ruler = segmented("Ruler", [{ value: "frames", text: "Frames" }, { value: "timecode", text: "Timecode" }], (value) => state.set({ ruler: value }));
  const lane = segmented("Timeline shows", [{ value: "keys", text: "Keys", icon: "dope" }, { value: "curves", text: "Curves", icon: "curve" }], (value) => state.set({ lane: value }));
  find("#ruler-choice").append(ruler.node);
  find("#lane-choice").append(lane.node);

  const ease = find("#ease");
  ease.addEventListener("change", () => ease.value && selection.setEase(ease.value));
  studio.addEventListener("hello", () => ease.replaceChildren(element("option", { value: "", text: "Ease…" }), ...studio.hello.eases.map((name) => element("option", { value: name, text: easeWords[name] ?? name }))));

  const update = () => {
    const { isPlaying, speed } = playback;
    find("#play").replaceChildren(icon(isPlaying ? "pause" : "play"));
    setAttribute(find("#play"), "aria-label", isPlaying ? "Stop" : "Play");
    setAttribute(find("#play"), "title", isPlaying ? "Stop (Space)" : "Play (Space)");
    setText(find("#speed"), isPlaying && speed !== 1 ? `${speed}×` : "");
    for (const [id, on] of [["#loop", state.get("loop")], ["#every-frame", state.get("everyFrame")]]) setAttribute(find(id), "aria-pressed", String(on));
    ruler.set(state.get("ruler"));
    lane.set(state.get("lane"));
    const some = selection.size > 0;
    find("#copy-keys").disabled = !some;
    find("#delete-keys").disabled = !some;
    find("#paste-keys").disabled = !selection.canPaste;
    ease.disabled = !some;
    ease.value = selection.ease ?? "";
    if (!isPlaying) setText(find("#play-rate"), "");
  };
  playback.addEventListener("change", update);
  playback.addEventListener("rate", ({ detail }) => setText(find("#play-rate"), `${detail} fps`));
  selection.addEventListener("change", update);
  studio.addEventListener("change", update);
  state.on(["loop", "everyFrame", "ruler", "lane"], update);
  update();
  return { toKeyframe };
}
