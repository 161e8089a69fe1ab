import { element, setAttribute } from "./dom.js";

/**
 * Makes a button open a menu.
 * @param {HTMLElement} button
 * @param {({words: string, keys?: string, run: () => void}|null)[]} items null draws a line
 */
export function wireMenu(button, items) {
  const menu = element(
    "div",
    { class: "menu", role: "menu" },
    ...items.map((item) =>
      item
        ? element("button", { type: "button", role: "menuitem", tabindex: -1, on: { click: () => (close(), item.run()) } }, element("span", { text: item.words }), element("span", { class: "menu-keys", text: item.keys ?? "" }))
        : element("hr"),
    ),
  );
  menu.hidden = true;
  button.after(menu);
  setAttribute(button, "aria-haspopup", "menu");
  setAttribute(button, "aria-expanded", "false");
  const entries = [...menu.querySelectorAll("[role=menuitem]")];

  const open = () => {
    menu.hidden = false;
    setAttribute(button, "aria-expanded", "true");
    const box = button.getBoundingClientRect();
    menu.style.left = `${box.left}px`;
    menu.style.top = `${box.bottom + 4}px`;
    entries[0].focus();
  };
  const close = () => {
    menu.hidden = true;
    setAttribute(button, "aria-expanded", "false");
  };
  button.addEventListener("click", () => (menu.hidden ? open() : close()));
  menu.addEventListener("keydown", (event) => {
    event.stopPropagation();
    const at = entries.indexOf(document.activeElement);
    const to = { ArrowDown: at + 1, ArrowUp: at - 1 + entries.length, Home: 0, End: entries.length - 1 }[event.key];
    if (to !== undefined) {
      event.preventDefault();
      entries[to % entries.length].focus();
    } else if (event.key === "Escape" || event.key === "Tab") {
      close();
      button.focus();
    }
  });
  document.addEventListener("pointerdown", (event) => {
    if (!menu.hidden && !menu.contains(event.target) && !button.contains(event.target)) close();
  });
}

/**
 * Tabs and their panels: a tab's data-panel names its panel.
 * @param {HTMLElement} list role tablist
 * @param {(name: string) => void} onChoose
 * @returns {(name: string) => void} shows one
 */
export function wireTabs(list, onChoose) {
  const tabs = [...list.querySelectorAll("[role=tab]")];
  const panelOf = (tab) => document.getElementById(tab.dataset.panel);
  for (const tab of tabs) {
    setAttribute(tab, "aria-controls", tab.dataset.panel);
    setAttribute(panelOf(tab), "aria-labelledby", tab.id);
    tab.addEventListener("click", () => onChoose(tab.dataset.name));
  }
  list.addEventListener("keydown", (event) => {
    const by = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
    if (!by) return;
    event.preventDefault();
    event.stopPropagation();
    const next = tabs[(tabs.indexOf(document.activeElement) + by + tabs.length) % tabs.length];
    onChoose(next.dataset.name);
    next.focus();
  });
  return (name) => {
    for (const tab of tabs) {
      const isChosen = tab.dataset.name === name;
      setAttribute(tab, "aria-selected", String(isChosen));
      tab.tabIndex = isChosen ? 0 : -1;
      panelOf(tab).hidden = !isChosen;
    }
  };
}
