// The canvas with the map: its size, its layers of tiles, and when it is painted. Layers have roles:
// `map` is what the robot stands on, `over` lies above it, `searched` above that; `grown` is kept for
// its values and not drawn.
import { readColours, wordsOf } from "./palette.js";
import { paint, shownOf } from "./painter.js";
import { TileLayer } from "./tiles.js";
import { fitted, toCell } from "./view.js";

// Pixels that the whole map leaves free for what stands on it, and that the panel covers of it.
const WIDE = { margins: { left: 14, right: 58, top: 58, bottom: 52 }, foot: 0 };
const NARROW = { margins: { left: 12, right: 12, top: 62, bottom: 62 }, foot: 14 };
const narrow = matchMedia("(max-width: 799px)"); // as in style/layout.css
const DRAWN = ["map", "over", "searched"];

export class Board {
  /**
   * `drawMarks(pen, state)` draws what lies on the map, `afterPaint(frame)` follows each picture, and
   * `onLost(layer)` is told of a layer that the program has dropped.
   */
  constructor(canvas, store, api, { drawMarks, afterPaint, onLost }) {
    Object.assign(this, { canvas, store, api, drawMarks, afterPaint, onLost });
    this.context = canvas.getContext("2d", { alpha: false });
    this.layers = {};
    this.size = { width: 1, height: 1 };
    this.density = 1;
    this.isFrameDue = false;
    this.readTheme();
    new ResizeObserver(() => this.resize()).observe(canvas);
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.readTheme());
  }

  readTheme() {
    this.colours = readColours();
    for (const layer of Object.values(this.layers)) this.colour(layer);
    this.requestFrame();
  }

  colour(layer) {
    layer.recolour(this.wordsFor(layer.info.kind));
    layer.colours = this.colours;
  }

  wordsFor(kind) {
    return wordsOf(kind, this.colours, this.store.get().planner?.obstacleThreshold);
  }

  resize() {
    const { width, height } = this.canvas.getBoundingClientRect();
    this.density = Math.min(3, window.devicePixelRatio || 1);
    this.size = { width: Math.max(1, width), height: Math.max(1, height) };
    this.canvas.width = Math.round(this.size.width * this.density);
    this.canvas.height = Math.round(this.size.height * this.density);
    if (!this.store.get().viewIsChosen) this.showAll();
    this.paintNow();
  }

  /** Shows the whole map, until someone moves it. */
  showAll() {
    const { grid } = this.store.get();
    if (!grid) return;
    const whole = { left: 0, bottom: 0, right: grid.width, top: grid.height };
    this.store.set({ view: fitted(whole, this.size, this.shape.margins), viewIsChosen: false });
  }

  get shape() {
    return narrow.matches ? NARROW : WIDE;
  }

  requestFrame() {
    if (this.isFrameDue) return;
    this.isFrameDue = true;
    requestAnimationFrame(() => this.paintNow());
  }

  frame() {
    const { view, grid } = this.store.get();
    const { size, density, colours } = this;
    return { view, grid, size, density, colours, foot: this.shape.foot };
  }

  paintNow() {
    this.isFrameDue = false;
    const state = this.store.get();
    if (!state.grid || !state.view) return;
    const frame = this.frame();
    const roles = this.layers.map?.info.kind === "explored" ? ["map"] : DRAWN;
    const layers = roles.map((role) => this.layers[role]).filter(Boolean);
    paint(this.context, frame, layers, (pen) => this.drawMarks(pen, state));
    this.afterPaint(frame);
  }

  /** The world point below a pixel of the canvas. */
  worldAt(point) {
    const { view, grid } = this.store.get();
    return grid.toWorld(toCell(view, this.size, point));
  }

  /** Gives a role a layer, once what is on the screen of it has come; settles then. */
  async show(role, info) {
    const shown = this.layers[role];
    if (shown?.info.id === info.id) return shown;
    const layer = this.makeLayer(info);
    if (DRAWN.includes(role)) {
      const { level, cells } = shownOf(layer, this.frame());
      await layer.load(level, cells);
    }
    if (layer.colours !== this.colours) this.colour(layer); // the theme changed meanwhile
    this.layers[role] = layer;
    this.requestFrame();
    return layer;
  }

  makeLayer(info) {
    const fetchTile = async (level, x, y) => {
      const bytes = await this.api.tile(info.id, level, x, y, layer.revision);
      if (!bytes) this.onLost(layer);
      return bytes;
    };
    const layer = new TileLayer(info, fetchTile, this.wordsFor(info.kind), () => this.requestFrame());
    layer.revision = info.revision;
    layer.colours = this.colours;
    return layer;
  }

  hide(role) {
    if (!this.layers[role]) return;
    delete this.layers[role];
    this.requestFrame();
  }

  /** What changed in a layer: a rectangle of its cells [x, y, width, height], or all of it. */
  refresh(role, revision, rectangle) {
    const layer = this.layers[role];
    if (!layer) return;
    layer.revision = revision;
    layer.refresh(rectangle);
  }
}
