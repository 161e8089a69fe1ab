import { element } from "./dom.js";
import { makeColour } from "./colour.js";
import { makeFileList } from "./files.js";
import { formatHex } from "./units.js";
import { openDialog } from "./dialogs.js";

const words = { none: "None", checker: "Checkerboard", black: "Black", white: "White", color: "Colour", file: "Picture or movie…" };

/**
 * @typedef {{kind: "checker"}|{kind: "color", value: string}|{kind: "file", path: string}|null} Background
 */

/**
 * Chooses what lies behind the fire.
 * @param {{connection: import("./connection.js").Connection, rootName: string, choices: string[], purpose: string,
 *   onChange?: (background: Background) => void}} options
 * @returns {{node: HTMLElement, get: () => Background, set: (background: Background) => void}} the node emits "change"
 */
export function makeBackgroundPicker({ connection, rootName, choices, purpose, onChange }) {
  const select = element("select", { "aria-label": "Background" }, ...choices.map((name) => element("option", { value: name, text: words[name] })));
  let colour = "#203040";
  let path = null;
  let before = choices[0];
  const well = makeColour("Background colour", {
    begin: () => null,
    change: (_, value) => {
      colour = formatHex(value);
      emit();
    },
    reset: () => {},
  });
  const file = element("button", { type: "button", class: "button is-file" });
  const node = element("div", { class: "background" }, select, well.node, file);

  const get = () => {
    if (select.value === "none") return null;
    if (select.value === "checker") return { kind: "checker" };
    if (select.value === "file") return { kind: "file", path };
    return { kind: "color", value: { black: "#000000", white: "#ffffff" }[select.value] ?? colour };
  };
  const show = () => {
    well.node.hidden = select.value !== "color";
    file.hidden = select.value !== "file";
    file.textContent = path ? path.split("/").pop() : "Choose…";
    file.title = path ?? "";
  };
  const emit = () => {
    before = select.value;
    show();
    onChange?.(get());
    node.dispatchEvent(new CustomEvent("change"));
  };

  function chooseFile() {
    let chosen = null;
    const use = element("button", { type: "button", class: "button is-primary", text: "Use it", disabled: true });
    const take = (picked) => {
      path = picked;
      select.value = "file";
      dialog.close();
    };
    const list = makeFileList({
      connection,
      purpose: `background ${purpose}`,
      kinds: ["picture", "movie"],
      rootName,
      onPick: (picked) => {
        chosen = picked;
        use.disabled = false;
      },
      onOpen: take,
    });
    const dialog = openDialog({
      title: "Background",
      body: [list.node],
      actions: [use],
      onClose: () => {
        if (select.value === "file" && !path) select.value = before;
        if (select.value === "file") emit();
        else show();
      },
    });
    use.addEventListener("click", () => take(chosen));
    list.load();
  }
  select.addEventListener("change", () => (select.value === "file" && !path ? chooseFile() : emit()));
  file.addEventListener("click", chooseFile);

  const set = (background) => {
    if (!background) select.value = "none";
    else if (background.kind === "checker") select.value = "checker";
    else if (background.kind === "file") {
      select.value = "file";
      path = background.path;
    } else {
      const named = { "#000000": "black", "#ffffff": "white" }[background.value];
      select.value = named && choices.includes(named) && select.value !== "color" ? named : "color";
      colour = background.value;
    }
    well.set([1, 3, 5].map((at) => parseInt(colour.slice(at, at + 2), 16) / 255));
    before = select.value;
    show();
  };
  set(choices[0] === "none" ? null : { kind: "checker" });
  return { node, get, set };
}
