// Numbers and times as text, and back.

const short = { degrees: "°", percent: "%", pixels: "px", seconds: "s", frames: "f" };

/** @param {string|null|undefined} unit @returns {string} as it stands behind a number */
export function unitSign(unit) {
  return unit ? (short[unit] ?? unit) : "";
}

/**
 * @param {number} step
 * @returns {number} how many digits behind the point show every step
 */
export function decimalsOf(step) {
  return Math.max(0, Math.min(4, -Math.floor(Math.log10(step) + 1e-9)));
}

/**
 * @param {number} value
 * @param {number} decimals the most that are shown; zeros at the end are left out
 * @returns {string}
 */
export function formatNumber(value, decimals) {
  const text = value.toFixed(decimals);
  const plain = text.includes(".") ? text.replace(/\.?0+$/, "") : text;
  return plain === "-0" ? "0" : plain;
}

/**
 * @param {string} text a number, with a comma or a point, or a sum such as "20+5" or "48/2"
 * @returns {number|null}
 */
export function parseNumber(text) {
  const match = /^\s*([-+]?[\d.,]+)\s*(?:([-+*/])\s*([-+]?[\d.,]+))?\s*[°%a-z]*\s*$/i.exec(text);
  if (!match) return null;
  const left = Number(match[1].replace(",", "."));
  const right = match[3] === undefined ? 0 : Number(match[3].replace(",", "."));
  const value = { "+": left + right, "-": left - right, "*": left * right, "/": left / right }[match[2] ?? "+"];
  return Number.isFinite(value) ? value : null;
}

/** @param {string} rate "24" or "30000/1001" @returns {number} frames per second */
export function rateOf(rate) {
  const [over, under = "1"] = rate.split("/");
  return Number(over) / Number(under);
}

/** @param {string} rate @returns {string} "23.976 fps" */
export function formatRate(rate) {
  return `${formatNumber(rateOf(rate), 3)} fps`;
}

const two = (number) => String(number).padStart(2, "0");

/**
 * @param {number} frame
 * @param {number} first the frame at 00:00:00:00
 * @param {number} rate frames per second; the code counts whole frames and drops none
 * @returns {string} hours, minutes, seconds and frames
 */
export function timecode(frame, first, rate) {
  const perSecond = Math.max(1, Math.round(rate));
  const count = Math.round(frame - first);
  const whole = Math.abs(count);
  const seconds = Math.floor(whole / perSecond);
  const code = [Math.floor(seconds / 3600), Math.floor(seconds / 60) % 60, seconds % 60, whole % perSecond].map(two).join(":");
  return count < 0 ? `-${code}` : code;
}

/** @param {number} bytes @returns {string} */
export function formatBytes(bytes) {
  if (bytes < 1000) return `${bytes} B`;
  for (const unit of ["kB", "MB", "GB"]) {
    bytes /= 1000;
    if (bytes < 1000 || unit === "GB") return `${bytes < 10 ? bytes.toFixed(1) : Math.round(bytes)} ${unit}`;
  }
  return "";
}

/** @param {number} seconds @returns {string} "1 min 5 s" */
export function formatSeconds(seconds) {
  const whole = Math.ceil(seconds);
  return whole < 60 ? `${whole} s` : `${Math.floor(whole / 60)} min ${whole % 60} s`;
}

/** @param {number[]} colour red, green, blue in 0..1 @returns {string} "#rrggbb" */
export function formatHex(colour) {
  return `#${colour.map((part) => Math.round(Math.min(Math.max(part, 0), 1) * 255).toString(16).padStart(2, "0")).join("")}`;
}

/** @param {string} text "#rgb" or "#rrggbb", with or without # @returns {number[]|null} */
export function parseHex(text) {
  const digits = text.trim().replace(/^#/, "");
  const full = digits.length === 3 ? [...digits].map((digit) => digit + digit).join("") : digits;
  if (!/^[0-9a-f]{6}$/i.test(full)) return null;
  return [0, 2, 4].map((at) => parseInt(full.slice(at, at + 2), 16) / 255);
}
