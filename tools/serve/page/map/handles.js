// What can be taken on the map and moved: start, goal, robot. Each is a button that lies, unseen,
// over its mark, so that mouse, finger and keyboard find it, and screen readers name it.
import { degrees, fixed } from "../format.js";
import { h } from "../panel/element.js";
import { toScreen } from "./view.js";
import { wrapAngle } from "./grid.js";

export const TURN_REACH = 44;            // pixels from a mark to what turns it
const KEY_TURN = Math.PI / 36;    // 5 degrees
const CELLS_WITH_SHIFT = 10;

/** Poses on the page are whole millimetres, so that links and code give exactly what is shown. */
export const rounded = ({ x, y, theta }) => ({
  x: Math.round(x * 1000) / 1000,
  y: Math.round(y * 1000) / 1000,
  theta: Math.round((theta ?? 0) * 1000) / 1000,
});

export class Handles {
  /** `marks()` lists { key, label, turns, byKeyboard } of what can be moved now. */
  constructor(parent, canvas, store, board, marks) {
    Object.assign(this, { parent, canvas, store, board, marks });
    this.buttons = new Map();
  }

  /** Puts the buttons where their marks are; called after each picture. */
  place({ view, size, grid }) {
    const state = this.store.get();
    const wanted = new Set();
    for (const mark of this.marks(state).filter(({ key }) => state[key])) {
      const pose = state[mark.key];
      const at = toScreen(view, size, grid.toCell(pose));
      wanted.add(this.put(mark, "move", at));
      if (!mark.turns) continue;
      const heading = grid.headingToCells(pose.theta);
      const ahead = { x: at.x + TURN_REACH * Math.cos(heading), y: at.y - TURN_REACH * Math.sin(heading) };
      wanted.add(this.put(mark, "turn", ahead));
    }
    for (const [name, button] of this.buttons) {
      if (wanted.has(name)) continue;
      button.remove();
      this.buttons.delete(name);
    }
  }

  put(mark, part, at) {
    const name = `${mark.key}-${part}`;
    if (!this.buttons.has(name)) this.buttons.set(name, this.make(mark, part));
    const button = this.buttons.get(name);
    button.style.transform = `translate(${at.x.toFixed(1)}px, ${at.y.toFixed(1)}px)`;
    const text = this.describe(mark, part);
    if (button.ariaLabel !== text) button.ariaLabel = text;
    return name;
  }

  describe(mark, part) {
    const { x, y, theta } = this.store.get()[mark.key];
    return part === "turn"
      ? `${mark.label}, heading ${degrees(theta)}`
      : `${mark.label} at ${fixed(x, 2)}, ${fixed(y, 2)} metres`;
  }

  make(mark, part) {
    const kind = `handle ${part}${mark.byKeyboard ? " unheld" : ""}`;
    const button = h("button", { type: "button", class: kind, id: `handle-${mark.key}-${part}` });
    const apply = part === "turn" ? (point) => this.turnTo(mark, point) : (point) => this.moveTo(mark, point);
    this.listen(button, apply);
    button.addEventListener("keydown", (event) => this.onKey(event, mark));
    this.parent.append(button);
    return button;
  }

  listen(button, apply) {
    let offset = null;
    const point = (event) => {
      const box = this.canvas.getBoundingClientRect();
      return { x: event.clientX - box.left, y: event.clientY - box.top };
    };
    button.addEventListener("pointerdown", (event) => {
      const box = button.getBoundingClientRect();
      offset = { x: event.clientX - box.left - box.width / 2, y: event.clientY - box.top - box.height / 2 };
      button.setPointerCapture(event.pointerId);
    });
    button.addEventListener("pointermove", (event) => {
      if (!offset) return;
      const at = point(event);
      apply({ x: at.x - offset.x, y: at.y - offset.y });
    });
    for (const end of ["pointerup", "pointercancel"]) button.addEventListener(end, () => (offset = null));
    button.addEventListener("wheel", (event) => {
      event.preventDefault(); // and not the page, when a wheel turns over a mark
      this.canvas.dispatchEvent(new WheelEvent("wheel", event));
    }, { passive: false });
  }

  change(mark, part) {
    this.store.set({ [mark.key]: rounded({ ...this.store.get()[mark.key], ...part }) });
  }

  moveTo(mark, point) {
    this.change(mark, this.board.worldAt(point));
  }

  turnTo(mark, point) {
    const pose = this.store.get()[mark.key];
    const towards = this.board.worldAt(point);
    this.change(mark, { theta: Math.atan2(towards.y - pose.y, towards.x - pose.x) });
  }

  onKey(event, mark) {
    const pose = this.store.get()[mark.key];
    const { grid } = this.store.get();
    const cells = event.shiftKey ? CELLS_WITH_SHIFT : 1;
    const step = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] }[event.key];
    const turn = { ",": KEY_TURN, ".": -KEY_TURN }[event.key];
    if (!step && !(turn && mark.turns)) return;
    event.preventDefault();
    if (turn) return void this.change(mark, { theta: wrapAngle(pose.theta + turn) });
    const cell = grid.toCell(pose);
    this.change(mark, grid.toWorld({ x: cell.x + cells * step[0], y: cell.y + cells * step[1] }));
  }
}
