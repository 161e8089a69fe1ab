import { element } from "./dom.js";
import { icon } from "./icons.js";
import { sentence } from "./dialogs.js";
import { formatBytes } from "./units.js";

const lastFolders = new Map();

/** @param {string} folder @param {string} name @returns {string} */
const join = (folder, name) => (folder === "." ? name : `${folder}/${name}`);

/**
 * The files of the folder that the studio works in, folder by folder.
 * @param {{connection: import("./connection.js").Connection, purpose: string, kinds: string[], rootName: string,
 *   onPick: (path: string) => void, onOpen?: (path: string) => void}} options purpose: whose last folder it begins with; kinds: of
 *   the files that can be picked, the others are left out; onOpen: picked with a double click or Enter
 * @returns {{node: HTMLElement, load: () => Promise<void>, select: (path: string|null) => void, folder: () => string}}
 */
export function makeFileList({ connection, purpose, kinds, rootName, onPick, onOpen }) {
  const path = element("nav", { class: "crumbs", "aria-label": "Folder" });
  const list = element("div", { class: "file-list", role: "listbox", "aria-label": "Files", tabindex: -1 });
  const node = element("div", { class: "files" }, path, list);
  let folder = lastFolders.get(purpose) ?? ".";
  let chosen = null;
  let serial = 0;

  async function load() {
    const asked = ++serial;
    let answer;
    try {
      answer = await connection.request({ type: "files", folder });
    } catch (error) {
      if (asked !== serial) return;
      if (folder !== ".") {
        // The folder is gone: begin anew.
        folder = ".";
        return load();
      }
      list.replaceChildren(element("p", { class: "empty is-error", text: sentence(error.message) }));
      return;
    }
    if (asked !== serial) return;
    folder = answer.folder;
    lastFolders.set(purpose, folder);
    show(answer.entries);
  }

  function show(entries) {
    const parts = folder === "." ? [] : folder.split("/");
    const go = (to) => () => enter(to);
    path.replaceChildren(
      element("button", { type: "button", text: rootName || "Folder", on: { click: go(".") } }),
      ...parts.flatMap((part, index) => [element("span", { text: "/", "aria-hidden": "true" }), element("button", { type: "button", text: part, on: { click: go(parts.slice(0, index + 1).join("/")) } })]),
    );
    const shown = entries.filter((entry) => entry.folder || kinds.includes(entry.kind)).sort((a, b) => Number(b.folder) - Number(a.folder) || a.name.localeCompare(b.name, undefined, { numeric: true }));
    list.replaceChildren(...shown.map(makeEntry));
    if (!shown.length) list.append(element("p", { class: "empty", text: "Nothing here that can be used." }));
    list.querySelector("[role=option]")?.setAttribute("tabindex", "0");
    select(chosen);
  }

  function makeEntry(entry) {
    const full = join(folder, entry.name);
    const node = element(
      "div",
      { class: "file", role: "option", tabindex: -1, "aria-selected": "false", title: entry.name, data: { path: full } },
      icon(entry.folder ? "folder" : entry.kind),
      element("span", { class: "file-name", text: entry.name }),
      element("span", { class: "file-size", text: entry.folder ? "" : formatBytes(entry.size) }),
    );
    const pick = () => (entry.folder ? enter(full) : (select(full), onPick(full)));
    node.addEventListener("click", pick);
    if (!entry.folder && onOpen) node.addEventListener("dblclick", () => onOpen(full));
    node.addEventListener("keydown", (event) => {
      const by = { ArrowDown: 1, ArrowUp: -1 }[event.key];
      const options = [...list.querySelectorAll("[role=option]")];
      if (by) options[options.indexOf(node) + by]?.focus();
      else if (event.key === "Home") options[0].focus();
      else if (event.key === "End") options[options.length - 1].focus();
      else if (event.key === "Enter") entry.folder || !onOpen ? pick() : onOpen(full);
      else if (event.key === " ") pick();
      else return;
      event.preventDefault();
      event.stopPropagation();
    });
    node.addEventListener("focus", () => {
      for (const other of list.querySelectorAll("[role=option]")) other.tabIndex = other === node ? 0 : -1;
    });
    return node;
  }

  async function enter(to) {
    folder = to;
    await load();
    /** @type {HTMLElement|null} */ (list.querySelector("[role=option]"))?.focus();
  }

  function select(to) {
    chosen = to;
    for (const entry of list.querySelectorAll("[role=option]")) entry.setAttribute("aria-selected", String(entry.dataset.path === to));
  }

  return { node, load, select, folder: () => folder };
}

/**
 * @param {File} file
 * @param {(share: number) => void} [onProgress] 0 to 1
 * @returns {Promise<string>} its path in the studio's folder
 */
export function upload(file, onProgress) {
  // fetch() tells no progress of what it sends.
  return new Promise((resolve, reject) => {
    const request = new XMLHttpRequest();
    request.open("POST", `/upload?name=${encodeURIComponent(file.name)}`);
    request.responseType = "json";
    request.upload.onprogress = (event) => event.lengthComputable && onProgress?.(event.loaded / event.total);
    request.onload = () => (request.status === 200 ? resolve(request.response.path) : reject(new Error(request.response?.message ?? `The file was refused (${request.status})`)));
    request.onerror = () => reject(new Error("The file could not be sent"));
    request.send(file);
  });
}
