import { element, setAttribute } from "./dom.js";
import { field, openDialog, sentence, toast } from "./dialogs.js";

const requestAfter = 500;
const thumbnailSize = [224, 126];

/**
 * The looks, each as a picture of the document's own title.
 * @param {{list: HTMLElement, saveButton: HTMLElement, connection: import("./connection.js").Connection,
 *   document: import("./document.js").StudioDocument, state: import("./state.js").PageState}} parts
 */
export function makePresets({ list, saveButton, connection, document: studio, state }) {
  const cards = new Map();
  const addresses = new Map();
  let drawnFor = "";
  let timer = 0;
  let applied = { name: "", parameters: "" };

  const build = () => {
    for (const preset of studio.hello.presets) if (!cards.has(preset.name)) cards.set(preset.name, makeCard(preset));
    for (const name of cards.keys()) if (!studio.hello.presets.some((preset) => preset.name === name)) cards.delete(name);
    list.replaceChildren(...studio.hello.presets.map(({ name }) => cards.get(name)));
    // What a program that was started anew drew before, it draws again.
    drawnFor = "";
    requestSoon();
  };

  function makeCard(preset) {
    const picture = element("img", { alt: "", draggable: "false" });
    picture.hidden = true;
    return element("button", { type: "button", class: "preset", title: preset.description || preset.name, data: { name: preset.name }, on: { click: () => apply(preset.name) } }, element("span", { class: "preset-picture" }, picture), element("span", { class: "preset-name", text: preset.name }), preset.own ? element("span", { class: "badge", text: "own" }) : null);
  }

  function apply(name) {
    studio
      .edit(studio.gesture(`Preset ${name}`), [{ preset: name }])
      .then(() => {
        applied = { name, parameters: "" };
        update();
      })
      .catch(() => {});
  }

  // A look is in force until something of it changes.
  const update = () => {
    if (!studio.state) return;
    const parameters = JSON.stringify(studio.state.document.parameters);
    if (applied.name && !applied.parameters) applied.parameters = parameters;
    for (const [name, card] of cards) setAttribute(card, "aria-pressed", name === applied.name && applied.parameters === parameters ? "true" : "false");
    requestSoon();
  };

  const titleOf = () => {
    const { input, testPattern, scene } = studio.state.document;
    return JSON.stringify([input, testPattern, scene, studio.state.width, studio.state.height]);
  };

  function requestSoon() {
    if (!studio.state || !state.get("left") || drawnFor === titleOf()) return;
    clearTimeout(timer);
    timer = setTimeout(() => {
      const title = titleOf();
      if (studio.state.problem || title === drawnFor || !studio.hello.presets.length) return;
      drawnFor = title;
      list.classList.add("is-drawing");
      connection.send({ type: "thumbnails", width: thumbnailSize[0], height: thumbnailSize[1], names: studio.hello.presets.map(({ name }) => name) });
    }, requestAfter);
  }

  connection.addEventListener("picture", ({ detail: { header, blob } }) => {
    const card = header.kind === "thumbnail" ? cards.get(header.name) : null;
    if (!card) return;
    if (addresses.has(header.name)) URL.revokeObjectURL(addresses.get(header.name));
    addresses.set(header.name, URL.createObjectURL(blob));
    const picture = card.querySelector("img");
    picture.src = addresses.get(header.name);
    picture.hidden = false;
  });

  function openSave() {
    const name = element("input", { type: "text", autocomplete: "off", spellcheck: "false", placeholder: "my-look" });
    const description = element("input", { type: "text", autocomplete: "off", placeholder: "What it looks like, in one sentence" });
    const problem = element("p", { class: "problem", role: "alert" });
    const save = element("button", { type: "button", class: "button is-primary", text: "Save preset" });
    let replace = false;
    const dialog = openDialog({ title: "Save the look as a preset", body: [field("Name", name, "Small letters, digits and hyphens."), field("Description", description), problem], actions: [save], className: "is-small" });
    const submit = async () => {
      try {
        await connection.request({ type: "save-preset", name: name.value.trim(), description: description.value.trim(), replace });
        dialog.close();
        toast(`Saved the preset ${name.value.trim()}`);
      } catch (error) {
        problem.textContent = sentence(error.message);
        // Pressed once more, it is meant.
        if (studio.hello.presets.some((preset) => preset.own && preset.name === name.value.trim())) {
          replace = true;
          save.textContent = "Replace it";
        }
      }
    };
    name.addEventListener("input", () => {
      replace = false;
      save.textContent = "Save preset";
      problem.textContent = "";
    });
    save.addEventListener("click", submit);
    for (const input of [name, description]) input.addEventListener("keydown", (event) => event.key === "Enter" && submit());
    name.focus();
  }

  saveButton.addEventListener("click", openSave);
  studio.addEventListener("hello", build);
  studio.addEventListener("change", update);
  state.on(["left"], requestSoon);
}
