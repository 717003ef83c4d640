// Plan: start and goal are dragged, and the path follows.
import { poseOf } from "../api.js";
import { count, duration, fixed, metres } from "../format.js";
import { TURN_REACH, rounded } from "../map/handles.js";
import { poseFields, settingsGroup } from "../panel/controls.js";
import { button, h } from "../panel/element.js";
import { pathPlot } from "../panel/plot.js";
import { asSentence, notice, numbers, withUnit } from "../panel/readouts.js";
import { PLANNER } from "../settings.js";

const points = (pairs) => pairs.map(([x, y]) => ({ x, y }));

function buildPanel(app) {
  const { store } = app;
  const results = numbers({ length: "length", cost: "cost", iterations: "iterations",
    time: "to plan", prepare: "to prepare", waypoints: "waypoints" });
  const problem = notice("plan-problem");
  const plot = pathPlot((spot) => store.set({ spot: spot?.at ?? null }));
  store.watch(["plan"], ({ plan }) => {
    results.show(numbersOf(plan));
    showProblem(store, problem, plan);
  });
  store.watch(["samples"], ({ samples, plan }) => plot.show(samples, plan.stats));
  return h("div", {},
    h("p", { class: "hint" }, "Drag the start and the goal, or click where the goal shall be."),
    problem.element, results.element, plot.element,
    h("h2", {}, "Ends"),
    poseFields(app, "plan", "start", "Start", true), poseFields(app, "plan", "goal", "Goal", false),
    settingsGroup(app, "plan", "How to plan", "planner", PLANNER),
    h("div", { class: "row" },
      button("Swap ends", () => swapEnds(store)),
      button("Reset settings", () => store.set({ planner: store.get().defaults.planner }))));
}

function swapEnds(store) {
  const { start, goal } = store.get();
  store.set({ start: { ...goal, theta: start.theta }, goal: { ...start, theta: 0 } });
}

function numbersOf(plan) {
  const times = {
    time: withUnit(duration(plan.milliseconds.plan)),
    prepare: withUnit(duration(plan.milliseconds.prepare)),
  };
  if (plan.outcome !== "found") return { ...times, iterations: plan.iterations ? count(plan.iterations) : undefined };
  return {
    ...times,
    length: withUnit(metres(plan.length)),
    cost: fixed(plan.cost, 2),
    iterations: count(plan.iterations),
    waypoints: [count(plan.waypoints.length), `of ${count(plan.path.length)}`],
  };
}

/** Says why there is no plan; offers the nearest free cell for an end that is blocked. */
export function showProblem(store, problem, { outcome, blocked }) {
  if (outcome === "noPath") return problem.show("Both ends are free, but no way leads from one to the other.");
  if (!blocked) return problem.show(null);
  const { end, sentence, nearestFree } = blocked;
  const name = end === "start" ? "The start is blocked" : "The goal is blocked";
  const move = () => {
    const [x, y] = nearestFree;
    store.set({ [end]: rounded({ ...store.get()[end], x, y }) });
  };
  problem.show(`${name}: ${asSentence(sentence)}`,
    nearestFree && button(`Move the ${end} to the nearest free cell`, move, { id: "move-to-free" }));
}

/** The path, its waypoints and both ends; other modes draw them, too. */
export function drawPlan(pen, { plan, start, goal, planner, spot }) {
  if (plan?.outcome === "found") {
    pen.line(points(plan.path), "path", { width: 1.5, opacity: 0.55 });
    pen.line(points(plan.waypoints), "path", { width: 4, rim: 1.5 });
    for (const waypoint of points(plan.waypoints)) pen.disc(waypoint, 4.5, "path", { rim: 1.5 });
  }
  drawNearestFree(pen, plan, { start, goal });
  for (const [pose, colour] of [[start, "start"], [goal, "goal"]]) {
    if (planner.robotRadius > 0) pen.circle(pose, planner.robotRadius, colour, { fill: 0.15 });
  }
  drawStart(pen, start);
  pen.disc(goal, 9, "goal");
  pen.label(goal, "goal", "goal", { right: 16 });
  if (spot) pen.disc(spot, 6, "accent");
}

function drawStart(pen, start) {
  pen.turner(start, TURN_REACH, "start");
  pen.dart(start, 17, "start");
  pen.label(start, "start", "start", { right: -14, down: 26 });
}

function drawNearestFree(pen, plan, ends) {
  const nearest = plan?.blocked?.nearestFree;
  if (!nearest) return;
  const free = poseOf(nearest);
  pen.line([ends[plan.blocked.end], free], "accent", { width: 2, dash: [4, 5], rim: 1 });
  pen.disc(free, 6, "accent");
}

export const planMode = {
  key: "plan",
  label: "Plan",
  icon: "M5 19v-6h8V6h6M5 19m-2 0a2 2 0 1 0 4 0a2 2 0 1 0-4 0M19 5m-2 0a2 2 0 1 0 4 0a2 2 0 1 0-4 0",
  marks: [
    { key: "start", label: "Start", turns: true },
    { key: "goal", label: "Goal", turns: false },
  ],
  clickMoves: "goal",
  buildPanel,
  draw: drawPlan,
};
