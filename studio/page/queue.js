import { element, setAttribute, setText } from "./dom.js";
import { icon } from "./icons.js";
import { sentence, toast } from "./dialogs.js";
import { copyText } from "./exports.js";
import { formatBytes, formatSeconds } from "./units.js";

const stateWords = { waiting: "Waiting", running: "Running", done: "Done", failed: "Failed", cancelled: "Cancelled" };
const isOpen = (job) => job.state === "waiting" || job.state === "running";

/**
 * What is being written, as a sheet under the button in the top bar.
 * @param {{button: HTMLElement, sheet: HTMLElement, connection: import("./connection.js").Connection}} parts
 * @returns {{show: () => void}}
 */
export function makeQueue({ button, sheet, connection }) {
  const rows = new Map();
  const list = element("div", { class: "jobs" });
  const empty = element("p", { class: "empty", text: "Nothing was exported yet." });
  const send = (message) => connection.request(message).catch((error) => toast(error.message, "error"));
  const cancelAll = element("button", { type: "button", class: "button is-quiet", text: "Cancel all", on: { click: () => send({ type: "cancel-export", id: "all" }) } });
  const clear = element("button", { type: "button", class: "button is-quiet", text: "Clear finished", on: { click: () => send({ type: "clear-exports" }) } });
  sheet.append(element("header", { class: "sheet-head" }, element("h2", { text: "Exports" }), cancelAll, clear), list, empty);
  const words = button.querySelector(".queue-words");
  const bar = button.querySelector(".queue-bar");
  let known = new Map();

  function makeRow(job) {
    const act = (type) => () => send({ type, id: job.id });
    const row = {
      name: element("span", { class: "job-name" }),
      words: element("span", { class: "job-words" }),
      bar: element("progress", { max: 1, value: 0, "aria-label": "Progress" }),
      message: element("p", { class: "job-message" }),
      cancel: element("button", { type: "button", class: "button is-quiet", text: "Cancel", on: { click: act("cancel-export") } }),
      reveal: element("button", { type: "button", class: "button is-quiet", text: "Reveal", title: "Show the file in its folder", on: { click: act("reveal") } }),
      copy: element("button", { type: "button", class: "icon-button", title: "Copy as command", "aria-label": "Copy as command", on: { click: () => copyText(job.command) } }, icon("copy")),
    };
    row.node = element("div", { class: "job", data: { id: job.id } }, element("div", { class: "job-line" }, row.name, row.words, row.copy, row.reveal, row.cancel), row.bar, row.message);
    return row;
  }

  function update(jobs) {
    for (const id of rows.keys()) if (!jobs.some((job) => job.id === id)) rows.delete(id);
    for (const job of jobs) {
      if (!rows.has(job.id)) rows.set(job.id, makeRow(job));
      const row = rows.get(job.id);
      setText(row.name, job.output);
      row.name.title = job.output;
      const left = job.state === "running" && job.secondsLeft !== null ? `, ${formatSeconds(job.secondsLeft)} left` : "";
      const count = job.state === "running" || job.state === "cancelled" ? `${job.done} of ${job.frames}${left}` : "";
      setText(row.words, job.state === "done" && job.bytes ? `Done, ${formatBytes(job.bytes)}` : [job.state === "running" ? "" : stateWords[job.state], count].filter(Boolean).join(", "));
      row.node.dataset.state = job.state;
      row.bar.value = job.frames ? job.done / job.frames : 0;
      row.bar.hidden = !isOpen(job);
      setText(row.message, job.message ? sentence(job.message) : (job.remarks ?? []).map(sentence).join(" "));
      row.message.hidden = !row.message.textContent;
      row.cancel.hidden = !isOpen(job);
      row.reveal.hidden = job.state !== "done";
      const before = known.get(job.id);
      if (before && before !== job.state && job.state === "done") toast(`Exported ${job.output}`);
      if (before && before !== job.state && job.state === "failed") toast(`${job.output}: ${job.message}`, "error");
    }
    known = new Map(jobs.map((job) => [job.id, job.state]));
    const ordered = [...jobs].reverse().map((job) => rows.get(job.id).node);
    if (ordered.length !== list.children.length || ordered.some((node, index) => list.children[index] !== node)) list.replaceChildren(...ordered);
    empty.hidden = jobs.length > 0;
    const open = jobs.filter(isOpen);
    cancelAll.hidden = open.length === 0;
    clear.hidden = open.length === jobs.length;
    const share = open.reduce((sum, job) => sum + job.done, 0) / Math.max(1, open.reduce((sum, job) => sum + job.frames, 0));
    setText(words, open.length ? `${Math.round(share * 100)} %` : "Exports");
    bar.style.width = open.length ? `${share * 100}%` : "0";
    button.classList.toggle("is-running", open.length > 0);
  }

  const setOpen = (open) => {
    sheet.hidden = !open;
    setAttribute(button, "aria-expanded", String(open));
  };
  button.addEventListener("click", () => setOpen(sheet.hidden));
  document.addEventListener("pointerdown", (event) => {
    if (!sheet.hidden && !sheet.contains(event.target) && !button.contains(event.target)) setOpen(false);
  });
  sheet.addEventListener("keydown", (event) => {
    if (event.key !== "Escape") return;
    setOpen(false);
    button.focus();
  });
  connection.addEventListener("message", ({ detail }) => detail.type === "exports" && update(detail.jobs));
  update([]);
  return { show: () => setOpen(true) };
}
