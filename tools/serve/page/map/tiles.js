// One layer of cells, in tiles at several levels of detail. A tile is asked for when it is first
// drawn; until it is there, a coarser one or an older one stands in.

const MOST_TILES = 320; // of a layer, at a third of a megabyte each

/** The level whose pixels are at least one pixel of the screen, and less than two where it can. */
export function levelFor(pixelsPerCell, levels) {
  return Math.min(levels - 1, Math.max(0, Math.ceil(Math.log2(1 / pixelsPerCell) - 1e-6)));
}

export class TileLayer {
  /**
   * `info` is the program's word on the layer, `fetchTile(level, x, y)` gives bytes, `words` the
   * colours of bytes, and `onArrival()` is called when there is more to draw.
   */
  constructor(info, fetchTile, words, onArrival) {
    this.info = info;
    this.fetchTile = fetchTile;
    this.words = words;
    this.onArrival = onArrival;
    this.tiles = new Map();
    this.clock = 0;
  }

  /** New colours for the bytes that are there. */
  recolour(words) {
    this.words = words;
    for (const tile of this.tiles.values()) {
      if (tile.bytes) this.paint(tile);
    }
  }

  /** Has the tiles that touch a rectangle of cells asked for anew, or all of them without one. */
  refresh(rectangle) {
    for (const tile of this.tiles.values()) {
      if (!rectangle || this.touches(tile, rectangle)) tile.isStale = true;
    }
    this.onArrival();
  }

  touches({ level, x, y }, [left, bottom, width, height]) {
    const side = this.info.tileSize * 2 ** level;
    return left < (x + 1) * side && left + width > x * side &&
      bottom < (y + 1) * side && bottom + height > y * side;
  }

  /** The tiles of a level that lie in a rectangle of the layer's cells. */
  placesIn(level, { left, bottom, right, top }) {
    const side = this.info.tileSize * 2 ** level;
    const first = (cell) => Math.max(0, Math.floor(cell / side));
    const last = (cell, cells) => Math.min(Math.ceil(cells / side) - 1, Math.floor(cell / side));
    const places = [];
    for (let y = first(bottom); y <= last(top, this.info.height); ++y) {
      for (let x = first(left); x <= last(right, this.info.width); ++x) {
        places.push({ level, x, y, left: x * side, bottom: y * side, side });
      }
    }
    return places;
  }

  /** What can be drawn at a place now; asks for what is missing or stale. */
  find({ level, x, y }) {
    const tile = this.tileAt(level, x, y);
    tile.used = ++this.clock;
    if (tile.isStale && !tile.arrival) this.ask(tile);
    return tile.image;
  }

  /** Settles when every tile of a level in a rectangle of cells is there. */
  async load(level, rectangle) {
    const tiles = this.placesIn(level, rectangle).map(({ x, y }) => this.tileAt(level, x, y));
    for (const tile of tiles) tile.used = ++this.clock;
    await Promise.all(tiles.map((tile) => (tile.isStale ? this.ask(tile) : tile.arrival)));
  }

  /** The bytes of cells [column, row] of level 0, once their tiles are there. */
  async bytesAt(cells) {
    const side = this.info.tileSize;
    const tiles = cells.map(([column, row]) => this.tileAt(0, Math.floor(column / side), Math.floor(row / side)));
    await Promise.all([...new Set(tiles)].map((tile) => (tile.isStale ? this.ask(tile) : tile.arrival)));
    return cells.map(([column, row], i) => tiles[i].bytes?.[(row % side) * side + (column % side)]);
  }

  tileAt(level, x, y) {
    const key = `${level}/${x}/${y}`;
    if (!this.tiles.has(key)) {
      this.forgetOldest();
      this.tiles.set(key, { level, x, y, image: null, bytes: null, isStale: true, arrival: null, used: 0 });
    }
    return this.tiles.get(key);
  }

  ask(tile) {
    tile.arrival ??= this.receive(tile).finally(() => {
      tile.arrival = null;
      this.onArrival();
    });
    return tile.arrival;
  }

  async receive(tile) {
    tile.isStale = false;
    const bytes = await this.fetchTile(tile.level, tile.x, tile.y).catch(() => null);
    if (!bytes) return;
    tile.bytes = bytes;
    this.paint(tile);
  }

  paint(tile) {
    const side = this.info.tileSize;
    tile.image ??= Object.assign(document.createElement("canvas"), { width: side, height: side });
    const context = tile.image.getContext("2d");
    const picture = context.createImageData(side, side);
    const pixels = new Uint32Array(picture.data.buffer);
    const { bytes } = tile;
    for (let row = 0; row < side; ++row) {
      const above = (side - 1 - row) * side; // rows of pictures go down, those of maps up
      for (let column = 0; column < side; ++column) pixels[above + column] = this.words[bytes[row * side + column]];
    }
    context.putImageData(picture, 0, 0);
  }

  forgetOldest() {
    if (this.tiles.size < MOST_TILES) return;
    const idle = [...this.tiles].filter(([, tile]) => !tile.arrival).sort(([, a], [, b]) => a.used - b.used);
    for (const [key] of idle.slice(0, MOST_TILES / 8)) this.tiles.delete(key);
  }
}
