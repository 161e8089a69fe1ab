import { element, freshId } from "./dom.js";
import { icon } from "./icons.js";

/**
 * Opens a dialog over the page; Escape and its cross close it, and the focus goes back to where it was.
 * @param {{title: string, body: Node[], actions?: HTMLElement[], className?: string, onClose?: () => void}} content
 * @returns {{node: HTMLDialogElement, close: () => void}}
 */
export function openDialog({ title, body, actions = [], className = "", onClose }) {
  const id = freshId("dialog");
  const close = () => node.close();
  const cross = element("button", { type: "button", class: "icon-button", "aria-label": "Close", title: "Close (Esc)", on: { click: close } }, icon("close"));
  const node = /** @type {HTMLDialogElement} */ (
    element(
      "dialog",
      { class: `dialog ${className}`, "aria-labelledby": id },
      element("header", { class: "dialog-head" }, element("h2", { id, text: title }), cross),
      element("div", { class: "dialog-body" }, ...body),
      actions.length ? element("footer", { class: "dialog-foot" }, ...actions) : null,
    )
  );
  node.addEventListener("close", () => {
    // Messages that went into the dialog outlive it.
    const toasts = node.querySelector("#toasts");
    if (toasts) document.body.append(toasts);
    node.remove();
    onClose?.();
  });
  // Keys of the page mean nothing behind a dialog.
  node.addEventListener("keydown", (event) => event.stopPropagation());
  document.body.append(node);
  node.showModal();
  return { node, close };
}

/**
 * @param {{title: string, message: string, yes: string, no?: string}} question
 * @returns {Promise<boolean>} false where the dialog is closed in any other way
 */
export function ask({ title, message, yes, no = "Cancel" }) {
  return new Promise((resolve) => {
    let answer = false;
    const accept = element("button", { type: "button", class: "button is-primary", text: yes });
    const decline = element("button", { type: "button", class: "button", text: no });
    const dialog = openDialog({ title, body: [element("p", { text: message })], actions: [decline, accept], className: "is-small", onClose: () => resolve(answer) });
    accept.addEventListener("click", () => {
      answer = true;
      dialog.close();
    });
    decline.addEventListener("click", dialog.close);
    accept.focus();
  });
}

/**
 * Says something for a while. Errors stay until they are closed or pushed out.
 * @param {string} message
 * @param {"note"|"error"} [kind]
 */
export function toast(message, kind = "note") {
  const list = document.querySelector("#toasts");
  for (const old of list.children) if (old.dataset.message === message) old.remove();
  while (list.children.length > 2) list.firstChild.remove();
  const cross = element("button", { type: "button", class: "icon-button", "aria-label": "Dismiss" }, icon("close"));
  const node = element("div", { class: `toast is-${kind}`, role: kind === "error" ? "alert" : "status", data: { message } }, kind === "error" ? icon("warning") : null, element("span", { text: sentence(message) }), cross);
  cross.addEventListener("click", () => node.remove());
  // A dialog lies above all else but what is in it.
  const dialogs = document.querySelectorAll("dialog[open]");
  (dialogs[dialogs.length - 1] ?? document.body).append(list);
  list.append(node);
  setTimeout(() => node.remove(), kind === "error" ? 12000 : 4000);
}

/** @param {string} message @returns {string} with a capital letter and a full stop */
export function sentence(message) {
  const trimmed = message.trim();
  return trimmed.charAt(0).toUpperCase() + trimmed.slice(1) + (/[.!?]$/.test(trimmed) ? "" : ".");
}

/**
 * A labelled field of a form.
 * @param {string} label
 * @param {HTMLElement} control
 * @param {string} [hint]
 * @returns {HTMLElement}
 */
export function field(label, control, hint) {
  control.id ||= freshId("field");
  return element("div", { class: "field" }, element("label", { for: control.id, text: label }), control, hint ? element("p", { class: "hint", text: hint }) : null);
}

/**
 * Buttons of which one is pressed.
 * @param {string} label
 * @param {{value: string, text?: string, icon?: string, title?: string}[]} choices
 * @param {(value: string) => void} onChoose
 * @returns {{node: HTMLElement, set: (value: string) => void}}
 */
export function segmented(label, choices, onChoose) {
  const buttons = choices.map((choice) =>
    element("button", { type: "button", role: "radio", class: "segment", title: choice.title ?? null, "aria-label": choice.text ? null : (choice.title ?? choice.value), data: { value: choice.value }, on: { click: () => onChoose(choice.value) } }, ...(choice.icon ? [icon(choice.icon)] : []), ...(choice.text ? [choice.text] : [])),
  );
  const node = element("div", { class: "segmented", role: "radiogroup", "aria-label": label }, ...buttons);
  node.addEventListener("keydown", (event) => {
    const by = { ArrowLeft: -1, ArrowUp: -1, ArrowRight: 1, ArrowDown: 1 }[event.key];
    if (!by) return;
    event.preventDefault();
    event.stopPropagation();
    const next = buttons[(buttons.indexOf(document.activeElement) + by + buttons.length) % buttons.length];
    next.focus();
    next.click();
  });
  return {
    node,
    set(value) {
      const chosen = choices.some((choice) => choice.value === value) ? value : choices[0].value;
      for (const button of buttons) {
        const isChosen = button.dataset.value === value;
        button.setAttribute("aria-checked", String(isChosen));
        button.tabIndex = button.dataset.value === chosen ? 0 : -1;
      }
    },
  };
}
