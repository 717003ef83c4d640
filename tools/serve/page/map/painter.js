// Puts one picture of the state on a canvas: the map, the layer over it, what the mode draws, and
// the scale bar. Knows nothing of how they came about.
import { short } from "../format.js";
import { Pen } from "./pen.js";
import { levelFor } from "./tiles.js";
import { scaleBar, toScreen, visibleCells } from "./view.js";

const GRID_FROM = 18; // pixels a cell from which the cells' borders are drawn
const MARGIN = 14;

/** The view of a layer whose cells are others than the map's, as a reduced map's are. */
function viewOfLayer(view, grid, layer) {
  const ratio = layer.resolution / grid.resolution;
  const { x: columns, y: rows } = grid.toCell({ x: layer.origin[0], y: layer.origin[1] });
  const left = columns - 0.5 * ratio; // where the layer begins, in cells of the map
  const bottom = rows - 0.5 * ratio;
  return { x: (view.x - left) / ratio, y: (view.y - bottom) / ratio, scale: view.scale * ratio };
}

/** What of a layer is on the screen: its view, the level to draw and the rectangle of its cells. */
export function shownOf(layer, { view, size, grid, density }) {
  const own = viewOfLayer(view, grid, layer.info);
  return { own, level: levelFor(own.scale * density, layer.info.levels), cells: visibleCells(own, size) };
}

function drawTile(context, frame, own, place, image) {
  const { size, density } = frame;
  const low = toScreen(own, size, { x: place.left, y: place.bottom });
  const high = toScreen(own, size, { x: place.left + place.side, y: place.bottom + place.side });
  const [left, right] = [low.x, high.x].map((x) => Math.round(x * density) / density);
  const [top, bottom] = [high.y, low.y].map((y) => Math.round(y * density) / density);
  context.drawImage(image, left, top, right - left, bottom - top);
}

/** Coarser tiles first, where finer ones are still on their way. */
export function drawLayer(context, frame, layer) {
  const { own, level, cells } = shownOf(layer, frame);
  const places = layer.placesIn(level, cells);
  const isComplete = places.map((place) => layer.find(place) !== null).every(Boolean);
  const side = layer.info.tileSize;
  context.imageSmoothingEnabled = false;
  const levels = isComplete ? [level] : [...Array(layer.info.levels).keys()].reverse();
  for (const each of levels.filter((number) => number >= level)) {
    for (const place of layer.placesIn(each, cells)) {
      const image = layer.tiles.get(`${each}/${place.x}/${place.y}`)?.image;
      if (image && place.side === side * 2 ** each) drawTile(context, frame, own, place, image);
    }
  }
}

function drawCellBorders(context, { view, size, grid, colours }) {
  const { left, bottom, right, top } = visibleCells(view, size);
  context.beginPath();
  for (let x = Math.max(0, Math.ceil(left)); x <= Math.min(grid.width, right); ++x) {
    const at = Math.round(toScreen(view, size, { x, y: 0 }).x) + 0.5;
    context.moveTo(at, 0);
    context.lineTo(at, size.height);
  }
  for (let y = Math.max(0, Math.ceil(bottom)); y <= Math.min(grid.height, top); ++y) {
    const at = Math.round(toScreen(view, size, { x: 0, y }).y) + 0.5;
    context.moveTo(0, at);
    context.lineTo(size.width, at);
  }
  context.strokeStyle = `rgb(${colours.faint.join(" ")} / 0.22)`;
  context.lineWidth = 1;
  context.stroke();
}

function drawScaleBar(context, { view, size, grid, colours, foot }) {
  const bar = scaleBar(view, grid.resolution, Math.min(160, size.width / 3));
  const text = bar.metres < 1 ? `${short(bar.metres * 100)} cm` : `${short(bar.metres, 6)} m`;
  const y = size.height - MARGIN - foot;
  context.fillStyle = `rgb(${colours.surface.join(" ")} / 0.85)`;
  context.beginPath();
  context.roundRect(MARGIN - 6, y - 22, bar.pixels + 12, 28, 6);
  context.fill();
  context.strokeStyle = context.fillStyle = `rgb(${colours.text.join(" ")})`;
  context.lineWidth = 2;
  context.beginPath();
  context.moveTo(MARGIN, y - 5);
  context.lineTo(MARGIN, y);
  context.lineTo(MARGIN + bar.pixels, y);
  context.lineTo(MARGIN + bar.pixels, y - 5);
  context.stroke();
  context.font = "12px system-ui, sans-serif";
  context.textBaseline = "alphabetic";
  context.fillText(text, MARGIN + 5, y - 7);
}

/**
 * Draws everything. `frame` is { view, size, grid, colours, density, foot }, `layers` go below what
 * `drawMarks(pen)` draws; `foot` is what covers the lower end of the canvas, in pixels.
 */
export function paint(context, frame, layers, drawMarks) {
  const { size, density, colours } = frame;
  context.setTransform(density, 0, 0, density, 0, 0);
  context.fillStyle = `rgb(${colours.beyond.join(" ")})`;
  context.fillRect(0, 0, size.width, size.height);
  for (const layer of layers) drawLayer(context, frame, layer);
  if (frame.view.scale >= GRID_FROM) drawCellBorders(context, frame);
  drawMarks(new Pen(context, frame));
  drawScaleBar(context, frame);
}
