import { element, setAttribute, setText } from "./dom.js";
import { ask, field, openDialog, sentence, toast } from "./dialogs.js";
import { makeFileList } from "./files.js";

/**
 * Opening, saving and recovering of project files.
 * @param {{title: HTMLElement, connection: import("./connection.js").Connection, document: import("./document.js").StudioDocument}} parts
 */
export function makeProjects({ title, connection, document: studio }) {
  let offered = "";
  let offer = null;

  const mayDiscard = () =>
    !studio.state?.dirty || ask({ title: "Unsaved changes", message: `The changes of ${studio.state.file ?? "this project"} are not saved. They can be brought back with Undo only until the studio ends.`, yes: "Go on without saving" });

  async function open() {
    const problem = element("p", { class: "problem", role: "alert" });
    const button = element("button", { type: "button", class: "button is-primary", text: "Open", disabled: true });
    let chosen = null;
    const openPath = async (path) => {
      if (!(await mayDiscard())) return;
      try {
        await connection.request({ type: "open", path });
        dialog.close();
      } catch (error) {
        setText(problem, sentence(error.message));
      }
    };
    const list = makeFileList({
      connection,
      purpose: "project",
      kinds: ["project"],
      rootName: studio.hello.root,
      onPick: (path) => {
        chosen = path;
        button.disabled = false;
        setText(problem, "");
      },
      onOpen: openPath,
    });
    button.addEventListener("click", () => openPath(chosen));
    const dialog = openDialog({ title: "Open a project", body: [list.node, problem], actions: [button] });
    await list.load();
    dialog.node.querySelector("[role=option]")?.focus();
  }

  async function save() {
    if (!studio.state?.file) return saveAs();
    try {
      await connection.request({ type: "save" });
      toast(`Saved ${studio.state.file}`);
    } catch (error) {
      toast(error.message, "error");
    }
  }

  async function saveAs() {
    const name = element("input", { type: "text", autocomplete: "off", spellcheck: "false" });
    name.value = studio.state.file?.split("/").pop() ?? "fire.json";
    const problem = element("p", { class: "problem", role: "alert" });
    const button = element("button", { type: "button", class: "button is-primary", text: "Save" });
    let replace = false;
    const list = makeFileList({ connection, purpose: "project", kinds: ["project"], rootName: studio.hello.root, onPick: (path) => ((name.value = path.split("/").pop()), forget()) });
    const forget = () => {
      replace = false;
      setText(problem, "");
      setText(button, "Save");
    };
    const submit = async () => {
      const file = /\.json$/i.test(name.value.trim()) ? name.value.trim() : `${name.value.trim()}.json`;
      const path = list.folder() === "." ? file : `${list.folder()}/${file}`;
      try {
        await connection.request({ type: "save", path, replace: replace || path === studio.state.file });
        dialog.close();
        toast(`Saved ${path}`);
      } catch (error) {
        setText(problem, sentence(error.message));
        if (!replace && /replace|exist|there already/i.test(error.message)) {
          replace = true;
          setText(button, "Replace it");
        }
      }
    };
    button.addEventListener("click", submit);
    name.addEventListener("input", forget);
    name.addEventListener("keydown", (event) => event.key === "Enter" && submit());
    const dialog = openDialog({ title: "Save the project", body: [list.node, field("Name", name), problem], actions: [button] });
    list.load();
    name.focus();
    name.setSelectionRange(0, name.value.replace(/\.json$/, "").length);
  }

  async function begin() {
    if (await mayDiscard()) connection.request({ type: "new" }).catch((error) => toast(error.message, "error"));
  }

  // An offer that is closed without an answer is made again when the page is loaded.
  function offerRecovery({ when, title: what }) {
    const date = new Date(when);
    const time = Number.isNaN(date.getTime()) ? when : date.toLocaleString(undefined, { dateStyle: "medium", timeStyle: "short" });
    const answer = (accept) => {
      offer.close();
      connection.request({ type: "recover", accept }).catch((error) => toast(error.message, "error"));
    };
    const discard = element("button", { type: "button", class: "button", text: "Discard", on: { click: () => answer(false) } });
    const recover = element("button", { type: "button", class: "button is-primary", text: "Recover", on: { click: () => answer(true) } });
    const message = `The studio ended before “${what}” was saved. It was last changed on ${time}.`;
    offer = openDialog({ title: "Recover unsaved work?", body: [element("p", { text: message })], actions: [discard, recover], className: "is-small", onClose: () => (offer = null) });
    recover.focus();
  }

  studio.addEventListener("hello", () => {
    const { recovery } = studio.hello;
    if (!recovery) offer?.close();
    if (!recovery || offered === recovery.when) return;
    offered = recovery.when;
    offerRecovery(recovery);
  });
  // By whichever page.
  connection.addEventListener("message", ({ detail }) => {
    if (detail.type === "recovery-answered") offer?.close();
  });
  studio.addEventListener("change", () => {
    const { file, dirty } = studio.state;
    const name = file?.split("/").pop() ?? "Untitled";
    setText(title.querySelector(".file-title"), name);
    title.classList.toggle("is-dirty", dirty);
    setAttribute(title, "title", dirty ? `${file ?? name}: has unsaved changes` : (file ?? name));
    setAttribute(title.querySelector(".dirty"), "aria-label", dirty ? "unsaved changes" : null);
    document.title = `${dirty ? "• " : ""}${name} – Pyrelux`;
  });
  return { open, save, saveAs, begin };
}
