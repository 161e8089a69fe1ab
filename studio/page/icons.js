import { svg } from "./dom.js";

// Drawn on 16 by 16, with strokes of 1.5 in the colour of the text.
const strokes = {
  undo: "M3 6h6.5a3.5 3.5 0 0 1 0 7H6 M6 3 3 6l3 3",
  redo: "M13 6H6.500a3.5 3.5 0 0 0 0 7H10 M10 3l3 3-3 3",
  open: "M2 12.500V4h4l1.5 2H14v6.500z",
  save: "M3 3h8l2 2v8H3z M5.5 3v3.500h4V3 M5.5 13V9.500h5V13",
  export: "M8 10V2.5 M5 5.500l3-3 3 3 M3 9.500V13h10V9.5",
  add: "M8 3v10 M3 8h10",
  help: "M6 6.200a2 2 0 1 1 2.9 1.800c-.6.3-.9.7-.9 1.5 M8 12v.1",
  theme: "M8 2.500v11 M8 2.500a5.5 5.5 0 0 0 0 11 5.5 5.5 0 0 0 0-11",
  loop: "M4 11.500h6a3 3 0 0 0 3-3v-.5 M6 9.500l-2 2 2 2 M12 4.500H6a3 3 0 0 0-3 3V8 M10 6.500l2-2-2-2",
  previous: "M10.5 3.5 6 8l4.5 4.5",
  next: "M5.5 3.5 10 8l-4.5 4.5",
  first: "M11.5 3.5 7 8l4.5 4.5 M4.5 3.500v9",
  last: "M4.5 3.5 9 8l-4.5 4.5 M11.5 3.500v9",
  close: "M4 4l8 8 M12 4l-8 8",
  panel: "M2.5 3.500h11v9h-11z M6.5 3.500v9",
  wipe: "M2.5 3.500h11v9h-11z M8 2v12",
  handles: "M4.5 2v9.500H14 M2 4.500h9.500V14",
  fit: "M2.5 6V2.500H6 M10 2.500h3.500V6 M13.5 10v3.500H10 M6 13.500H2.500V10",
  copy: "M5.5 5.500h7v8h-7z M10.5 5.500v-3h-7v8h2",
  paste: "M4 3.500h8v10H4z M6 2.500h4v2H6z",
  remove: "M3 4.500h10 M6.5 4.500v-2h3v2 M4.5 4.500l.5 9h6l.5-9",
  folder: "M2 12.500V4h4l1.5 2H14v6.500z",
  picture: "M2.5 3.500h11v9h-11z M2.5 11l3.5-3.5 3 3 2-1.5 2.5 2 M10.5 6v.1",
  movie: "M2.5 3.500h11v9h-11z M5.5 3.500v9 M10.5 3.500v9 M2.5 8h3 M10.5 8h3",
  project: "M4 2.500h5l3 3v8H4z M6 8h4 M6 10.500h4",
  other: "M4 2.500h5l3 3v8H4z",
  up: "M8 13V3.5 M4.5 7 8 3.5 11.5 7",
  more: "M4 6.5 8 10.500l4-4",
  check: "M3 8.5 6.5 12 13 4.5",
  warning: "M8 2.5 14 13H2z M8 6.500v3 M8 11.300v.1",
  dope: "M2.5 5h11 M2.5 11h11 M5 3.2 6.8 5 5 6.8 3.2 5z M11 9.200l1.8 1.8-1.8 1.800L9.2 11z",
  curve: "M2.5 12.500c5 0 5-9 11-9",
  invite: "M6.5 9.500l6-6 M8.5 3h4.500v4.5 M11 9.500V13H3V5h3.5",
  reset: "M3.5 8a4.5 4.5 0 1 0 1.5-3.4 M5 2v2.800h2.8",
};

const fills = {
  play: "M4.5 2.800v10.400L13 8z",
  pause: "M4 3h3v10H4z M9 3h3v10H9z",
  reverse: "M11.5 2.800v10.400L3 8z",
  flame: "M8.6 1.500c.5 2.2 3.9 4.1 3.9 7.900a4.5 4.5 0 0 1-9 .2c0-1.9 1-3 1.9-4.2.2 1 .6 1.7 1.3 2C6.5 5.3 7 3 8.6 1.500z",
  diamond: "M8 2.5 13.5 8 8 13.5 2.5 8z",
};

/**
 * @param {string} name
 * @returns {SVGElement} hidden from assistive technology: the button around it has the words
 */
export function icon(name) {
  const fill = fills[name];
  return svg(
    "svg",
    { viewBox: "0 0 16 16", class: "icon", "aria-hidden": "true", focusable: "false" },
    svg("path", fill ? { d: fill, fill: "currentColor" } : { d: strokes[name], fill: "none", stroke: "currentColor", "stroke-width": 1.5, "stroke-linecap": "round", "stroke-linejoin": "round" }),
  );
}
