// What part of the map is on the screen: the cell in its middle and the pixels a cell has. All
// functions are pure; y points up on the map and down on the screen.

const LARGEST_SCALE = 96; // pixels a cell

/** Screen pixels of a place among the cells. */
export function toScreen(view, size, cell) {
  return {
    x: size.width / 2 + (cell.x - view.x) * view.scale,
    y: size.height / 2 - (cell.y - view.y) * view.scale,
  };
}

/** The place among the cells below a pixel of the screen. */
export function toCell(view, size, point) {
  return {
    x: view.x + (point.x - size.width / 2) / view.scale,
    y: view.y - (point.y - size.height / 2) / view.scale,
  };
}

/** The view moved so that the map follows a pointer by (dx, dy) pixels. */
export function panned(view, dx, dy) {
  return { ...view, x: view.x - dx / view.scale, y: view.y + dy / view.scale };
}

/** The view made `factor` times as large around a pixel that stays on its cell. */
export function zoomed(view, size, point, factor, limits) {
  const scale = Math.min(limits.largest, Math.max(limits.smallest, view.scale * factor));
  const fixed = toCell(view, size, point);
  return {
    scale,
    x: fixed.x - (point.x - size.width / 2) / scale,
    y: fixed.y + (point.y - size.height / 2) / scale,
  };
}

/** How far one may zoom: out to half the map's fit, in to a cell as large as a thumb. */
export function zoomLimits(grid, size) {
  const fit = Math.min(size.width / grid.width, size.height / grid.height);
  return { smallest: Math.min(fit, 1) / 2, largest: Math.max(LARGEST_SCALE, fit) };
}

/** The view that shows a rectangle of cells as large as fits, with `margins` pixels left around. */
export function fitted({ left, bottom, right, top }, size, margins) {
  const width = Math.max(1, size.width - margins.left - margins.right);
  const height = Math.max(1, size.height - margins.top - margins.bottom);
  const scale = Math.min(width / Math.max(1, right - left), height / Math.max(1, top - bottom), LARGEST_SCALE);
  return {
    x: (left + right) / 2 + (margins.right - margins.left) / 2 / scale,
    y: (bottom + top) / 2 + (margins.top - margins.bottom) / 2 / scale,
    scale,
  };
}

/** The view kept so near that some of the map stays below the middle of the screen. */
export function kept(view, grid) {
  return {
    scale: view.scale,
    x: Math.min(grid.width, Math.max(0, view.x)),
    y: Math.min(grid.height, Math.max(0, view.y)),
  };
}

/** The cells on the screen, as a rectangle that may reach beyond the map. */
export function visibleCells(view, size) {
  const corner = toCell(view, size, { x: 0, y: size.height });
  const opposite = toCell(view, size, { x: size.width, y: 0 });
  return { left: corner.x, bottom: corner.y, right: opposite.x, top: opposite.y };
}

/** A round number of metres whose bar is at most `longest` pixels, and the bar's length. */
export function scaleBar(view, resolution, longest) {
  const metres = (longest / view.scale) * resolution;
  const power = 10 ** Math.floor(Math.log10(metres));
  const round = [5, 2, 1].find((step) => step * power <= metres * (1 + 1e-9)) * power;
  return { metres: round, pixels: (round / resolution) * view.scale };
}
