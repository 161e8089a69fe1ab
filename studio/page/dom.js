/**
 * Builds an element. Keys of `properties`: "class", "text", "on" (listeners by event), "data" (data attributes); the rest are
 * attributes, where true sets an empty one and false or null none.
 * @param {string} tag
 * @param {Object<string, any>} [properties]
 * @param {...(Node|string|null)} children
 * @returns {HTMLElement}
 */
export function element(tag, properties = {}, ...children) {
  const made = document.createElement(tag);
  for (const [key, value] of Object.entries(properties)) {
    if (key === "class") made.className = value;
    else if (key === "text") made.textContent = value;
    else if (key === "on") for (const [event, listener] of Object.entries(value)) made.addEventListener(event, listener);
    else if (key === "data") Object.assign(made.dataset, value);
    else setAttribute(made, key, value);
  }
  made.append(...children.filter((child) => child !== null));
  return made;
}

/**
 * Sets an attribute only where it changes, so that assistive technology hears no repetition.
 * @param {Element} target
 * @param {string} name
 * @param {string|number|boolean|null} value false and null remove it, true sets it without a value
 */
export function setAttribute(target, name, value) {
  if (value === null || value === undefined || value === false) target.removeAttribute(name);
  else {
    const text = value === true ? "" : String(value);
    if (target.getAttribute(name) !== text) target.setAttribute(name, text);
  }
}

/** @param {Element} target @param {string} text */
export function setText(target, text) {
  if (target.textContent !== text) target.textContent = text;
}

/**
 * @param {string} tag
 * @param {Object<string, string|number>} [attributes]
 * @param {...Node} children
 * @returns {SVGElement}
 */
export function svg(tag, attributes = {}, ...children) {
  const made = document.createElementNS("http://www.w3.org/2000/svg", tag);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, String(value));
  made.append(...children);
  return made;
}

let lastId = 0;

/** @param {string} prefix @returns {string} an id that no other element has */
export function freshId(prefix) {
  return `${prefix}-${++lastId}`;
}

/** @param {number} value @param {number} low @param {number} high @returns {number} */
export function clamp(value, low, high) {
  return Math.min(Math.max(value, low), high);
}

/**
 * Follows a press until it is released, wherever the pointer goes.
 * @param {PointerEvent} start its button is down
 * @param {{move: (event: PointerEvent) => void, end?: (event: PointerEvent, cancelled: boolean) => void}} handlers
 */
export function followPointer(start, { move, end }) {
  const target = /** @type {Element} */ (start.currentTarget);
  target.setPointerCapture(start.pointerId);
  const onMove = (event) => {
    if (event.pointerId === start.pointerId) move(event);
  };
  const onEnd = (event) => {
    if (event.pointerId !== start.pointerId) return;
    target.removeEventListener("pointermove", onMove);
    target.removeEventListener("pointerup", onEnd);
    target.removeEventListener("pointercancel", onEnd);
    end?.(event, event.type === "pointercancel");
  };
  target.addEventListener("pointermove", onMove);
  target.addEventListener("pointerup", onEnd);
  target.addEventListener("pointercancel", onEnd);
}

/**
 * Whether keys belong to what is focused: to a field that is typed into, or to a control that arrows change.
 * @param {Event} event
 * @returns {"text"|"slider"|"control"|"button"|null}
 */
export function keyOwner(event) {
  const target = event.target;
  if (!(target instanceof Element)) return null;
  if (target.closest("textarea, input:not([type=checkbox]):not([type=radio]):not([type=range]):not([type=file])")) return "text";
  if (target.closest("[role=slider], [role=separator]")) return "slider";
  if (target.closest("select, [role=tab], [role=option], [role=radio], input")) return "control";
  return target.closest("button, a, summary") ? "button" : null;
}
