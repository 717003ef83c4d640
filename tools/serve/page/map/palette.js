// The page's colours as numbers, and what each byte of a tile looks like. The colours themselves
// stand in style/colours.css; they change with the theme, and then they are read anew.

const NAMES = ["ink", "paper", "unknown", "beyond", "near", "costly", "path", "start", "goal", "robot",
  "accent", "early", "late", "cool", "warm", "hot", "faint", "rim", "surface", "text", "line"];

const HIGHEST = 250; // the byte of the highest value
const TOO_NEAR = 251;
const BLOCKED_UNKNOWN = 252;
const OUTSIDE = 255;
const CLEAR = [0, 0, 0, 0];
const BANDS = 25; // contours of a field

/** The colours of the theme in force, by name: [red, green, blue]. */
export function readColours() {
  const probe = document.body.appendChild(document.createElement("i"));
  const colours = {};
  for (const name of NAMES) {
    probe.style.color = `var(--${name})`;
    colours[name] = getComputedStyle(probe).color.match(/\d+(\.\d+)?/g).slice(0, 3).map(Number);
  }
  probe.remove();
  return colours;
}

/** The mix of two colours: `from` at share 0, `to` at share 1. */
export function mix(from, to, share) {
  return from.map((part, i) => Math.round(part + (to[i] - part) * share));
}

/** A colour from cool (0) to hot (1). */
export function heat(colours, share) {
  return share < 0.5
    ? mix(colours.cool, colours.warm, 2 * share)
    : mix(colours.warm, colours.hot, 2 * share - 1);
}

/** A colour for canvas and CSS. */
export const css = ([red, green, blue], opacity = 1) => `rgb(${red} ${green} ${blue} / ${opacity})`;

const opaque = (colour) => [...colour, 255];

/** Occupied, unknown, free: from ink over the colour of the unknown to paper. */
function cellColour(colours, byte) {
  if (byte === OUTSIDE) return CLEAR;
  if (byte > HIGHEST) return opaque(colours.ink);
  const share = byte / HIGHEST;
  return opaque(share < 0.5
    ? mix(colours.ink, colours.unknown, 2 * share)
    : mix(colours.unknown, colours.paper, 2 * share - 1));
}

function grownColour(colours, byte, threshold) {
  if (byte === TOO_NEAR) return opaque(colours.near);
  if (byte === BLOCKED_UNKNOWN) return opaque(colours.unknown);
  const share = byte / HIGHEST;
  if (byte > HIGHEST) return CLEAR;
  if (share < threshold) return opaque(colours.ink);
  return opaque(mix(colours.costly, colours.paper, (share - threshold) / (1 - threshold || 1)));
}

/** A field with contours: every other band is a little stronger. */
function fieldColour(from, to, byte) {
  if (byte > HIGHEST) return CLEAR;
  const band = Math.floor((byte / (HIGHEST + 1)) * BANDS);
  return [...mix(from, to, byte / HIGHEST), band % 2 === 0 ? 215 : 180];
}

function heatColour(colours, byte) {
  if (byte > HIGHEST) return CLEAR;
  const band = Math.floor((byte / (HIGHEST + 1)) * BANDS);
  return [...heat(colours, byte / HIGHEST), band % 2 === 0 ? 215 : 175];
}

const COLOUR_OF = {
  map: cellColour,
  explored: cellColour,
  grown: grownColour,
  cost: heatColour,
  distance: (colours, byte) => (byte === 0 ? CLEAR : fieldColour(colours.paper, colours.path, byte)),
  searched: (colours, byte) =>
    byte > HIGHEST ? CLEAR : [...mix(colours.early, colours.late, byte / HIGHEST), 115],
};

/** The 256 colours of a kind of layer, as the 32-bit words of an ImageData. */
export function wordsOf(kind, colours, threshold) {
  const bytes = new Uint8ClampedArray(4 * 256);
  for (let byte = 0; byte < 256; ++byte) bytes.set(COLOUR_OF[kind](colours, byte, threshold), 4 * byte);
  return new Uint32Array(bytes.buffer);
}
