// Draw: a brush for walls, free and unknown cells. The path of the plan answers at once.
import { pointArray } from "../api.js";
import { count, metres } from "../format.js";
import { rounded } from "../map/handles.js";
import { segments } from "../panel/controls.js";
import { button, h } from "../panel/element.js";
import { numbers, notice } from "../panel/readouts.js";
import { drawPlan, showProblem } from "./plan.js";

const KINDS = ["wall", "free", "unknown"];
const COLOURS = { wall: "ink", free: "paper", unknown: "unknown" };
const WIDTHS = { min: 0.05, max: 3, step: 0.05 };

export function makeBrush({ store, board, api, fail, say }) {
  function takeOver({ revision, undo, changed, changedCells }) {
    store.set({ revision, undo });
    if (changed) board.refresh("map", revision, changed);
    if (changedCells !== undefined) say(`${count(changedCells)} cells changed`);
  }

  /** Draws a stroke through world points with the brush that is chosen. */
  async function paint(points) {
    const { brush } = store.get();
    try {
      takeOver(await api.draw([{ ...brush, points: points.map(pointArray) }]));
    } catch (problem) {
      fail(problem);
    } finally {
      store.set({ stroke: null });
    }
  }

  /** What follows one pointer while it draws; see gestures.js. */
  function stroke() {
    if (store.get().mode !== "draw") return null;
    const add = (point) => store.set({ stroke: [...(store.get().stroke ?? []), rounded(board.worldAt(point))] });
    return {
      begin: (point) => (store.set({ stroke: null }), add(point)),
      move: add,
      end: () => paint(store.get().stroke),
      cancel: () => store.set({ stroke: null }),
    };
  }

  return { stroke, paint, undo: () => api.undo().then(takeOver).catch(fail) };
}

function widthSlider(store) {
  const output = h("output", { for: "brush-width" });
  const set = () => store.set({ brush: { ...store.get().brush, width: Number(input.value) } });
  const input = h("input", { type: "range", id: "brush-width", ...WIDTHS, oninput: set });
  const update = () => {
    input.value = store.get().brush.width;
    output.textContent = metres(store.get().brush.width);
    input.ariaValueText = output.textContent;
  };
  store.watch(["brush"], update);
  update();
  return h("div", { class: "setting" },
    h("div", { class: "name" }, h("label", { for: "brush-width" }, "Width"), output),
    h("div", { class: "track" }, input));
}

function buildPanel(app) {
  const { store, brush } = app;
  const kinds = segments("brush", "What to draw", KINDS, {
    get: () => store.get().brush.value,
    set: (value) => store.set({ brush: { ...store.get().brush, value } }),
  });
  const undo = button("Undo", brush.undo, { id: "undo" });
  const update = () => {
    undo.disabled = store.get().undo === 0;
    undo.textContent = store.get().undo ? `Undo (${store.get().undo})` : "Undo";
  };
  store.watch(["undo"], update);
  update();
  store.watch(["brush"], kinds.update);
  kinds.update();
  const problem = notice("draw-problem");
  const results = numbers({ drawnLength: "length", drawnCost: "cost", drawnTime: "to plan" });
  store.watch(["plan"], ({ plan }) => {
    showProblem(store, problem, plan);
    const isFound = plan.outcome === "found";
    results.show({
      drawnLength: isFound ? [plan.length.toFixed(2), "m"] : undefined,
      drawnCost: isFound ? plan.cost.toFixed(2) : undefined,
      drawnTime: [plan.milliseconds.plan.toFixed(1), "ms"],
    });
  });
  return h("div", {},
    h("p", { class: "hint" },
      "Draw on the map; the path goes round it. Two fingers, or the mouse with Shift, move the map."),
    kinds.element, widthSlider(store),
    h("div", { class: "row" },
      button("Draw at the brush", () => brush.paint([store.get().brushAt]), { id: "dab" }), undo),
    problem.element, results.element,
    h("h2", {}, "Take the map home"),
    h("div", { class: "row" },
      h("a", { class: "button", href: "/api/download/map.yaml", download: "map.yaml" }, "map.yaml"),
      h("a", { class: "button", href: "/api/download/map.pgm", download: "map.pgm" }, "map.pgm")),
    h("p", { class: "hint" }, "Both files in one directory are a map for korrin and for other programs."));
}

function drawBrush(pen, { brush, brushAt, stroke }) {
  const width = Math.max(brush.width, pen.grid.resolution);
  if (stroke?.length === 1) pen.disc(stroke[0], pen.pixels(width) / 2, COLOURS[brush.value], { rim: 0 });
  else if (stroke) pen.line(stroke, COLOURS[brush.value], { width: pen.pixels(width), opacity: 0.9 });
  if (brushAt) pen.circle(brushAt, width / 2, "accent");
}

export const drawMode = {
  key: "draw",
  label: "Draw",
  icon: "M4 20l1-5L16 4l4 4L9 19zM14 6l4 4",
  marks: [
    { key: "start", label: "Start", turns: true },
    { key: "goal", label: "Goal", turns: false },
    { key: "brushAt", label: "Brush", turns: false, byKeyboard: true },
  ],
  draws: true,
  buildPanel,
  enter({ store, board }) {
    const centre = { x: board.size.width / 2, y: board.size.height / 2 };
    store.set({ brushAt: rounded(board.worldAt(centre)) });
  },
  leave: ({ store }) => store.set({ brushAt: null, stroke: null }),
  draw(pen, state) {
    drawPlan(pen, state);
    drawBrush(pen, state);
  },
};
