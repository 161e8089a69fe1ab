import { element, setText } from "./dom.js";
import { field, openDialog, sentence, toast } from "./dialogs.js";
import { makeBackgroundPicker } from "./background.js";

const alphaWords = {
  straight: "Straight: for editors; loses no light",
  exact: "Exact: as the filter draws it, for mattes",
  premultiplied: "Premultiplied: for compositors",
  none: "None: over black, for Screen or Add",
};

let last = { extension: "mov", codec: "" };

/** @param {import("./document.js").StudioDocument} studio @returns {string} a file's name without its extension */
function nameOf(studio) {
  const { input } = studio.state.document;
  const said = studio.state.file ?? input ?? studio.sceneValue("text") ?? "fire";
  const base = said.split("/").pop().replace(/\.[a-z0-9]+$/i, "").replace(/_?(#+|%0\d+d)/, "");
  const plain = base.toLowerCase().replace(/\\n/g, " ").replace(/[^a-z0-9]+/g, "-").replace(/^-+|-+$/g, "").slice(0, 40);
  return plain || "fire";
}

/**
 * Asks what is to be written, and how.
 * @param {{connection: import("./connection.js").Connection, document: import("./document.js").StudioDocument,
 *   playRange: {first: number, last: number}, showQueue: () => void}} parts
 */
export function openExport({ connection, document: studio, playRange, showQueue }) {
  const formats = studio.hello.formats;
  const keyOf = ({ extension, codec }) => `${extension} ${codec}`;
  let format = formats.find((each) => keyOf(each) === keyOf(last)) ?? formats[0];
  let base = nameOf(studio);
  let replace = false;

  const list = element("div", { class: "format-list", role: "radiogroup", "aria-label": "Format" });
  const output = element("input", { type: "text", autocomplete: "off", spellcheck: "false" });
  const frames = element("input", { type: "text", autocomplete: "off", spellcheck: "false" });
  const bits = element("select");
  const alpha = element("select");
  const level = element("input", { type: "number" });
  const density = element("input", { type: "number", min: 0, max: 100, step: 5, placeholder: "0" });
  const background = makeBackgroundPicker({ connection, rootName: studio.hello.root, choices: ["none", "color", "file"], purpose: "export" });
  const problem = element("p", { class: "problem", role: "alert" });
  const command = element("textarea", { class: "command", readonly: true, rows: 2, "aria-label": "Command" });
  command.hidden = true;
  const levelField = field("Quality", level);
  frames.value = playRange.first === playRange.last ? String(playRange.first) : `${playRange.first}-${playRange.last}`;

  // A file of one picture needs a number in its name for each of many.
  const isNumbered = () => !format.many && !/^\d+$/.test(frames.value.trim());
  const fileName = () => `${base}${isNumbered() ? "_%04d" : ""}.${format.extension}`;
  const isNameOurs = () => output.value === "" || formats.some((each) => output.value === `${base}.${each.extension}` || output.value === `${base}_%04d.${each.extension}`);

  const cards = formats.map((each, index) => {
    const input = element("input", { type: "radio", name: "format", value: index });
    input.checked = each === format;
    input.addEventListener("change", () => choose(each));
    return element("label", { class: "format", data: { format: keyOf(each) } }, input, element("span", { class: "format-words" }, element("span", { class: "format-name" }, element("strong", { text: each.label }), element("span", { class: "format-extension", text: `.${each.extension}` })), element("span", { class: "format-keeps", text: each.keeps ? sentence(each.keeps) : "" })));
  });
  list.append(...cards);

  function choose(each) {
    const named = isNameOurs();
    format = each;
    last = { extension: each.extension, codec: each.codec };
    if (named) output.value = fileName();
    else output.value = output.value.replace(/\.[a-z0-9]+$/i, `.${each.extension}`);
    refill(bits, [["", "Automatic"], ...each.bits.map((count) => [String(count), `${count} bit`])]);
    bits.disabled = each.bits.length < 2;
    refill(alpha, [["", "Automatic"], ...each.alpha.map((name) => [name, alphaWords[name] ?? name])]);
    alpha.disabled = each.alpha.length < 2;
    const range = each.crf ?? each.quality;
    level.disabled = !range;
    level.value = "";
    level.placeholder = range ? `${range[0]} to ${range[1]}` : "Not for this format";
    [level.min, level.max] = range ?? ["", ""];
    setText(levelField.querySelector("label"), each.crf ? "CRF, less is better" : "Quality, more is better");
    forget();
  }
  function forget() {
    setText(problem, "");
    command.hidden = true;
    replace = false;
    setText(start, "Export");
  }

  const message = (type) => ({
    type,
    output: output.value.trim(),
    codec: format.codec,
    alpha: alpha.value || null,
    bits: bits.value ? Number(bits.value) : null,
    frames: frames.value.trim(),
    density: density.value === "" ? null : Number(density.value) / 100,
    crf: format.crf && level.value !== "" ? Number(level.value) : null,
    quality: !format.crf && format.quality && level.value !== "" ? Number(level.value) : null,
    background: background.get(),
    replace,
  });
  const fail = (error) => setText(problem, sentence(error.message));

  const copy = element("button", { type: "button", class: "button", text: "Copy as command" });
  copy.addEventListener("click", async () => {
    try {
      const { text } = await connection.request(message("command"));
      command.value = text;
      command.hidden = false;
      await copyText(text, command);
    } catch (error) {
      fail(error);
    }
  });
  const start = element("button", { type: "button", class: "button is-primary", text: "Export" });
  start.addEventListener("click", async () => {
    try {
      await connection.request(message("export"));
      dialog.close();
      showQueue();
    } catch (error) {
      fail(error);
      if (!replace && /replace|exist|there already/i.test(error.message)) {
        replace = true;
        setText(start, "Replace it");
      }
    }
  });

  const settings = element(
    "div",
    { class: "export-settings" },
    field("File", output),
    element("div", { class: "field-pair" }, field("Frames", frames), field("Bits per channel", bits)),
    field("Alpha", alpha),
    element("div", { class: "field-pair" }, levelField, field("Density, %", density)),
    element("div", { class: "field" }, element("span", { class: "field-label", text: "Background" }), background.node),
    command,
    problem,
  );
  const dialog = openDialog({ title: "Export", body: [list, settings], actions: [copy, start], className: "is-export" });
  choose(format);
  for (const control of [output, frames, bits, alpha, level, density]) control.addEventListener("input", forget);
  background.node.addEventListener("change", forget);
  frames.addEventListener("change", () => isNameOurs() && (output.value = fileName()));
  list.querySelector("input:checked").focus();
}

function refill(select, options) {
  const before = select.value;
  select.replaceChildren(...options.map(([value, text]) => element("option", { value, text })));
  if (options.some(([value]) => value === before)) select.value = before;
}

/**
 * @param {string} text
 * @param {HTMLTextAreaElement} [shown] holds the text; it is selected where the page may not write to the clipboard
 */
export async function copyText(text, shown) {
  try {
    await navigator.clipboard.writeText(text);
    toast("Copied");
  } catch {
    shown?.select();
    toast("Press Ctrl+C to copy the selected text");
  }
}
