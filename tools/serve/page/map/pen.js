// Draws marks on the map at world places: lines, discs, darts, labels. Widths and radii are pixels of
// the screen; a light rim keeps marks apart from whatever lies below.
import { css } from "./palette.js";
import { toScreen } from "./view.js";

const FULL_TURN = 2 * Math.PI;

export class Pen {
  constructor(context, { view, size, grid, colours }) {
    Object.assign(this, { context, view, size, grid, colours });
  }

  /** The pixel of a world point, and the pixels of a metre. */
  pixel = (point) => toScreen(this.view, this.size, this.grid.toCell(point));
  pixels = (metres) => (metres / this.grid.resolution) * this.view.scale;

  /** A colour of the palette by its name, ready for the canvas. */
  colour = (name, opacity) => css(this.colours[name], opacity);

  trace(points) {
    this.context.beginPath();
    for (const point of points) {
      const { x, y } = this.pixel(point);
      this.context.lineTo(x, y);
    }
  }

  line(points, colour, { width = 2, opacity = 1, dash = [], rim = 0 } = {}) {
    if (points.length < 2) return;
    const { context } = this;
    this.trace(points);
    context.lineJoin = context.lineCap = "round";
    context.setLineDash(dash);
    if (rim > 0) this.stroke("rim", width + 2 * rim, 0.9);
    this.stroke(colour, width, opacity);
    context.setLineDash([]);
  }

  stroke(colour, width, opacity) {
    this.context.strokeStyle = this.colour(colour, opacity);
    this.context.lineWidth = width;
    this.context.stroke();
  }

  area(points, colour, opacity) {
    this.trace(points);
    this.context.closePath();
    this.context.fillStyle = this.colour(colour, opacity);
    this.context.fill();
  }

  disc(at, radius, colour, { rim = 2 } = {}) {
    const { x, y } = this.pixel(at);
    this.context.beginPath();
    this.context.arc(x, y, radius, 0, FULL_TURN);
    if (rim > 0) this.stroke("rim", 2 * rim, 1);
    this.context.fillStyle = this.colour(colour);
    this.context.fill();
  }

  /** A circle of a radius in metres: the room that a robot takes. */
  circle(at, metres, colour, { fill = 0, width = 1.5 } = {}) {
    const { x, y } = this.pixel(at);
    this.context.beginPath();
    this.context.arc(x, y, this.pixels(metres), 0, FULL_TURN);
    if (fill > 0) {
      this.context.fillStyle = this.colour(colour, fill);
      this.context.fill();
    }
    this.stroke(colour, width, 0.8);
  }

  /** Many small dots, all in one go. */
  dots(points, radius, colour) {
    this.context.fillStyle = this.colour(colour);
    for (const point of points) {
      const { x, y } = this.pixel(point);
      this.context.fillRect(x - radius, y - radius, 2 * radius, 2 * radius);
    }
  }

  /** A dart that points where a pose looks. */
  dart(pose, length, colour) {
    const { context } = this;
    const { x, y } = this.pixel(pose);
    const heading = this.grid.headingToCells(pose.theta);
    const corner = (turn, reach) =>
      context.lineTo(x + reach * Math.cos(heading + turn), y - reach * Math.sin(heading + turn));
    context.beginPath();
    corner(0, length);
    corner(2.5, 0.72 * length);
    corner(Math.PI, 0.35 * length);
    corner(-2.5, 0.72 * length);
    context.closePath();
    context.lineJoin = "round";
    this.stroke("rim", 4, 1);
    context.fillStyle = this.colour(colour);
    context.fill();
  }

  /** A name that belongs to the map itself, and stays in the background. */
  name(at, text) {
    const { context } = this;
    const { x, y } = this.pixel(at);
    context.font = "12px system-ui, sans-serif";
    context.textBaseline = "middle";
    context.fillStyle = this.colour("faint");
    context.fillText(text, x - context.measureText(text).width / 2, y);
  }

  /** The little ball ahead of a pose, on its stem, by which the pose is turned. */
  turner(pose, reach, colour) {
    const { context } = this;
    const { x, y } = this.pixel(pose);
    const heading = this.grid.headingToCells(pose.theta);
    const [ballX, ballY] = [x + reach * Math.cos(heading), y - reach * Math.sin(heading)];
    context.beginPath();
    context.moveTo(x, y);
    context.lineTo(ballX, ballY);
    this.stroke(colour, 1.5, 0.6);
    context.beginPath();
    context.arc(ballX, ballY, 4.5, 0, FULL_TURN);
    this.stroke("rim", 4, 1);
    context.fillStyle = this.colour(colour);
    context.fill();
  }

  /** Text beside a world point, on a plate of the page's own colour. */
  label(at, text, colour, { right = 14, down = 0 } = {}) {
    const { context } = this;
    const { x, y } = this.pixel(at);
    context.font = "600 12px system-ui, sans-serif";
    context.textBaseline = "middle";
    const width = context.measureText(text).width;
    context.fillStyle = this.colour("surface", 0.85);
    context.beginPath();
    context.roundRect(x + right - 4, y + down - 9, width + 8, 18, 5);
    context.fill();
    context.fillStyle = this.colour(colour);
    context.fillText(text, x + right, y + down);
  }
}
