import { element, freshId, setAttribute, setText } from "./dom.js";
import { sentence } from "./dialogs.js";

// Where a field stands. Fields that are not named here come last, so that a new one is there without a change.
const groups = {
  Room: ["size", "canvas", "place", "fit", "pad", "flame-scale"],
  Fire: ["burn", "input-alpha", "seed"],
  Time: ["frames", "duration", "fps", "time-base", "ignite", "die", "loop", "loop-blend"],
  Text: ["text-position", "text-wrap", "line-spacing", "letter-spacing", "strict-fonts", "font-file", "text-file"],
};
// The input panel has controls for these.
const elsewhere = ["text", "font", "text-color", "text-align"];

// What may be written into an empty field; others show what stands for their value in the manual.
const samples = {
  size: "1920x1080", canvas: "1920x1080", place: "50,50", fit: "80%", pad: "auto, or 40,10%", seed: "0", "input-alpha": "auto", frames: "1-48", duration: "2s", fps: "24",
  "time-base": "24", ignite: "1.5s", die: "1s", "loop-blend": "12", "text-position": "50,50", "text-wrap": "60%", "line-spacing": "1", "letter-spacing": "0%",
};

/** @param {string} key @returns {string} "flame-scale" is "Flame scale" */
const labelOf = (key) => (key === "fps" ? "Frame rate" : key.charAt(0).toUpperCase() + key.slice(1).replace(/-/g, " "));

/**
 * What is around the fire: each field of the scene as the program declares it.
 * @param {HTMLElement} list
 * @param {{document: import("./document.js").StudioDocument}} parts
 */
export function makeScene(list, { document: studio }) {
  let fields = [];
  let declared = "";

  const build = () => {
    const declarations = JSON.stringify(studio.hello.scene);
    if (declarations === declared) return;
    declared = declarations;
    const shown = studio.hello.scene.filter((each) => !elsewhere.includes(each.key));
    const named = Object.values(groups).flat();
    const sections = [...Object.entries(groups).map(([title, keys]) => [title, shown.filter((each) => keys.includes(each.key)).sort((a, b) => keys.indexOf(a.key) - keys.indexOf(b.key))]), ["More", shown.filter((each) => !named.includes(each.key))]];
    list.replaceChildren(
      ...sections.filter(([, members]) => members.length).map(([title, members]) => {
        const id = freshId("group");
        return element("section", { class: "scene-group", "aria-labelledby": id }, element("h3", { id, text: title }), ...members.map((each) => makeField(each).node));
      }),
    );
    update();
  };

  function makeField(declaration) {
    const { key, value, brief, details, choices } = declaration;
    const label = labelOf(key);
    const id = freshId("scene");
    const problem = element("p", { class: "problem", id: `${id}-problem`, role: "alert" });
    const isFlag = value === "";
    // Words that end with "=" take more behind them; those that are listed alone leave nothing to type.
    const isMenu = !isFlag && choices.length > 0 && !choices.some((choice) => choice.endsWith("=")) && !/[A-Z]{2}|%/.test(value.replace(/KIND|SIDE|BITS/, ""));
    let input;
    if (isFlag) input = element("input", { type: "checkbox", id });
    else if (isMenu) input = element("select", { id }, element("option", { value: "", text: "Default" }), ...choices.map((choice) => element("option", { value: choice, text: choice })));
    else input = element("input", { type: "text", id, placeholder: samples[key] ?? value.toLowerCase(), autocomplete: "off", spellcheck: "false", list: choices.length ? `${id}-choices` : null });
    setAttribute(input, "aria-describedby", `${id}-problem`);
    const help = sentence(brief + (details ?? ""));
    const clear = element("button", { type: "button", class: "icon-button clear", "aria-label": `Clear ${label}`, title: "Back to the default", text: "×", on: { click: () => commit(null) } });
    const node = element("div", { class: "scene-field", data: { key } }, element("label", { for: id, text: label, title: help, on: { dblclick: () => commit(null) } }), input, clear, choices.length && !isMenu && !isFlag ? element("datalist", { id: `${id}-choices` }, ...choices.map((choice) => element("option", { value: choice }))) : null, problem);
    input.title = help;

    async function commit(text) {
      if (text === studio.sceneValue(key)) return setProblem("");
      try {
        await studio.edit(studio.gesture(label), [{ scene: key, value: text }]);
        setProblem("");
      } catch (error) {
        setProblem(sentence(error.message));
      }
    }
    function setProblem(text) {
      setText(problem, text);
      setAttribute(input, "aria-invalid", text ? "true" : null);
    }
    const read = () => (isFlag ? (input.checked ? "true" : null) : input.value.trim() || null);
    input.addEventListener("change", () => commit(read()));
    if (!isFlag && !isMenu) {
      input.addEventListener("keydown", (event) => {
        event.stopPropagation();
        if (event.key === "Escape") {
          input.value = studio.sceneValue(key) ?? "";
          setProblem("");
          input.blur();
        }
      });
    }
    const made = {
      node,
      update() {
        const current = studio.sceneValue(key);
        node.classList.toggle("is-set", current !== null);
        if (isFlag) input.checked = current === "true";
        else if (isMenu) input.value = current ?? "";
        else if (document.activeElement !== input && !input.hasAttribute("aria-invalid")) input.value = current ?? "";
      },
    };
    fields.push(made);
    return made;
  }

  const update = () => {
    if (studio.state) for (const each of fields) each.update();
  };
  studio.addEventListener("hello", () => {
    fields = declared === JSON.stringify(studio.hello.scene) ? fields : [];
    build();
  });
  studio.addEventListener("change", update);
}
