// What lies under the pointer: its place in the world, its cell, and what the map holds there.
import { newestOnly, pointArray } from "../api.js";
import { fixed } from "../format.js";

const CODES = {
  tooNear: "too near to an obstacle", unknown: "unknown, closed", notANumber: "not a number", none: "no way",
};
const UNKNOWN = [0.4, 0.6];

function meaningOf(value, threshold) {
  if (value < threshold) return "occupied";
  if (value >= UNKNOWN[0] && value <= UNKNOWN[1]) return "unknown";
  return value > UNKNOWN[1] ? "free" : "rather occupied";
}

function valueText({ value, code, inside }, kind, threshold) {
  if (!inside) return "outside the map";
  if (value === null) return CODES[code] ?? code;
  if (kind === "cost") return `cost ${fixed(value, 2)}`;
  if (kind === "distance") return `${fixed(value, 2)} m from obstacles`;
  return `${fixed(value, 2)} ${meaningOf(value, threshold)}`;
}

/** A function of the world point under the pointer, or null, that fills `output`. */
export function makePointer({ store, board, api }, output) {
  let place = null;
  const ask = newestOnly(async (at) => {
    const over = board.layers.over?.info;
    const answer = await api.cell(pointArray(at), over?.id);
    if (place !== at) return;
    const [column, row] = answer.cell;
    const value = valueText(answer, over?.kind, store.get().planner.obstacleThreshold);
    output.textContent = `${placeText(at)} \u00b7 cell ${column}, ${row} \u00b7 ${value}`;
  }, () => null);

  return (at) => {
    place = at;
    output.textContent = at ? placeText(at) : "";
    if (at) ask(at);
  };
}

const placeText = ({ x, y }) => `${fixed(x, 2)}, ${fixed(y, 2)} m`;
