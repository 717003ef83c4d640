// How well a scan fits where: a tint over the map, from what half of all places reach to the best.
import { heat as heatColour } from "../map/palette.js";
import { toScreen } from "../map/view.js";

const NOWHERE = 255; // no robot can stand there
const OPACITY = 150;

let last = { heat: null, colours: null, picture: null };

function rangeOf(scores) {
  const sorted = scores.filter((score) => score !== NOWHERE).sort();
  return { low: sorted[sorted.length >> 1] ?? 0, high: sorted.at(-1) ?? 1 };
}

function pictureOf({ width, height, scores }, colours) {
  const bytes = Uint8Array.from(atob(scores), (letter) => letter.charCodeAt(0));
  const { low, high } = rangeOf(bytes);
  const picture = new ImageData(width, height);
  for (let row = 0; row < height; ++row) {
    for (let column = 0; column < width; ++column) {
      const score = bytes[row * width + column];
      if (score === NOWHERE || score <= low) continue;
      const colour = heatColour(colours, (score - low) / Math.max(1, high - low));
      picture.data.set([...colour, OPACITY], 4 * ((height - 1 - row) * width + column));
    }
  }
  const canvas = Object.assign(document.createElement("canvas"), { width, height });
  canvas.getContext("2d").putImageData(picture, 0, 0);
  return canvas;
}

export function drawHeat(pen, heat) {
  const { context, view, size, colours } = pen;
  if (last.heat !== heat || last.colours !== colours) last = { heat, colours, picture: pictureOf(heat, colours) };
  const low = toScreen(view, size, { x: 0, y: 0 });
  const high = toScreen(view, size, { x: heat.width * heat.side, y: heat.height * heat.side });
  context.imageSmoothingEnabled = false;
  context.drawImage(last.picture, low.x, high.y, high.x - low.x, low.y - high.y);
}
