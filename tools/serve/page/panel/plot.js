// The values of the cells below a path as a small plot: how free it is where. Moving along the plot
// shows the place on the map.
import { fixed, metres } from "../format.js";
import { h } from "./element.js";

const WIDTH = 300;
const HEIGHT = 92;
const PAD = 2;
const MOST_POINTS = 600;

/** Distance along a path of [x, y] at each of its poses, metres. */
export function distancesAlong(path) {
  let sum = 0;
  return path.map(([x, y], i) => {
    if (i > 0) sum += Math.hypot(x - path[i - 1][0], y - path[i - 1][1]);
    return sum;
  });
}

/** At most `most` of the samples; of those that share a place the one of the lowest value stays. */
export function thinned(samples, most) {
  const share = Math.ceil(samples.length / most);
  const kept = [];
  for (let i = 0; i < samples.length; i += share) {
    kept.push(samples.slice(i, i + share).reduce((low, each) => (each.value < low.value ? each : low)));
  }
  return kept;
}

/** `onPlace(sample or null)` is told which { distance, value, at } the pointer is at. */
export function pathPlot(onPlace) {
  const area = h("path", { class: "area" });
  const curve = h("path", { class: "curve" });
  const mean = h("line", { class: "mean", x1: 0, x2: WIDTH });
  const here = h("line", { class: "here", y1: 0, y2: HEIGHT, visibility: "hidden" });
  const rule = (y) => h("line", { class: "rule", x1: 0, x2: WIDTH, y1: y, y2: y });
  const rules = [0, 0.5, 1].map((value) => rule(up(value)));
  const plot = h("svg", { class: "plot", viewBox: `0 0 ${WIDTH} ${HEIGHT}`, preserveAspectRatio: "none", role: "img" },
    ...rules, area, mean, curve, here);
  const left = h("span");
  const right = h("span");
  const element = h("div", { id: "path-plot", hidden: true },
    h("h2", {}, "Cells under the path: 1 is free, 0 is occupied"), plot, h("div", { class: "caption" }, left, right));
  let samples = [];
  let stats = null;

  function showHere(sample) {
    here.setAttribute("visibility", sample ? "visible" : "hidden");
    if (sample) {
      const x = across(sample.distance);
      here.setAttribute("x1", x);
      here.setAttribute("x2", x);
    }
    right.textContent = sample
      ? `${fixed(sample.value, 2)} at ${metres(sample.distance, 1)}`
      : `mean ${fixed(stats.mean, 2)}`;
    onPlace(sample);
  }

  const across = (distance) => (WIDTH * distance) / (samples.at(-1).distance || 1);

  plot.addEventListener("pointermove", (event) => {
    const box = plot.getBoundingClientRect();
    const distance = ((event.clientX - box.left) / box.width) * samples.at(-1).distance;
    showHere(samples.reduce((best, each) =>
      Math.abs(each.distance - distance) < Math.abs(best.distance - distance) ? each : best));
  });
  plot.addEventListener("pointerleave", () => showHere(null));

  /** Shows samples { distance, value, at } with the program's own statistics; nothing hides it. */
  function show(newSamples, newStats) {
    element.hidden = !newSamples || newSamples.length < 2;
    if (element.hidden) return;
    samples = thinned(newSamples, MOST_POINTS);
    stats = newStats;
    const corner = ({ distance, value }) => `${across(distance).toFixed(1)} ${up(value).toFixed(1)}`;
    const line = samples.map(corner).join("L");
    curve.setAttribute("d", `M${line}`);
    area.setAttribute("d", `M0 ${HEIGHT}L${line}L${WIDTH} ${HEIGHT}Z`);
    mean.setAttribute("y1", up(stats.mean));
    mean.setAttribute("y2", up(stats.mean));
    left.textContent = `from ${fixed(stats.min, 2)} to ${fixed(stats.max, 2)}`;
    plot.ariaLabel = `Values of the cells under the path: ${left.textContent}, mean ${fixed(stats.mean, 2)}`;
    showHere(null);
  }

  return { element, show };
}

function up(value) {
  return HEIGHT - PAD - (HEIGHT - 2 * PAD) * Math.min(1, Math.max(0, value));
}
