// Drive: a robot drives to the goal, or explores the building from an empty grid, ten steps a second.
import { count, fixed, metres } from "../format.js";
import { TURN_REACH } from "../map/handles.js";
import { poseFields, settingsGroup } from "../panel/controls.js";
import { button, h } from "../panel/element.js";
import { asSentence, notice, numbers, stageTable, withUnit } from "../panel/readouts.js";
import { PLANNER } from "../settings.js";
import { drawBeams } from "./beams.js";

const SPEEDS = { min: 0.1, max: 20 }; // metres a second

function buildPanel(app) {
  const { store, runs } = app;
  const drive = button("Drive to the goal", () => runs.begin("drive"), { main: true, id: "drive" });
  const explore = button("Explore", () => runs.begin("explore"), { main: true, id: "explore" });
  const pause = button("Pause", runs.togglePause, { id: "pause" });
  const stop = button("Stop", runs.stop, { id: "stop" });
  const clear = button("Back to the map", runs.clear, { id: "clear-run" });
  const ending = notice("run-end");
  const results = numbers({ driven: "driven", steps: "steps", known: "cells known" });
  const stages = stageTable("run-stages");
  store.watch(["run"], ({ run }) => {
    const isRunning = Boolean(run) && !run.isOver;
    pause.textContent = run?.isPaused ? "Play" : "Pause";
    pause.disabled = stop.disabled = !isRunning;
    clear.hidden = !run?.isOver;
    ending.show(run?.isOver && run.sentence ? asSentence(run.sentence) : null);
    results.show(run ? numbersOf(run) : {});
    stages.show(run?.means ?? {});
  });
  pause.disabled = stop.disabled = clear.hidden = true;
  return h("div", {},
    h("p", { class: "hint" },
      "The robot starts where the start is. Driving, it scans and follows the path; ",
      "exploring, it knows nothing at first."),
    h("div", { class: "row" }, drive, explore),
    h("div", { class: "row" }, pause, stop, clear),
    speedSlider(store, runs), ending.element, results.element,
    h("h2", {}, "What a step costs, on the average"), stages.element,
    poseFields(app, "drive", "start", "Start", true), poseFields(app, "drive", "goal", "Goal", false),
    settingsGroup(app, "drive", "How to plan", "planner", PLANNER));
}

/** Speeds from slow to twenty metres a second, evenly by their logarithm. */
function speedSlider(store, runs) {
  const output = h("output", { for: "speed" });
  const input = h("input", {
    type: "range", id: "speed", min: Math.log10(SPEEDS.min), max: Math.log10(SPEEDS.max), step: "any",
    oninput: () => runs.setSpeed(Number((10 ** input.value).toPrecision(2))),
  });
  const update = () => {
    input.value = Math.log10(store.get().speed);
    output.textContent = `${fixed(store.get().speed, 1)} m/s`;
    input.ariaValueText = output.textContent;
  };
  store.watch(["speed"], update);
  update();
  return h("div", { class: "setting" },
    h("div", { class: "name" }, h("label", { for: "speed" }, "Speed"), output), h("div", { class: "track" }, input));
}

function numbersOf(run) {
  return {
    driven: withUnit(metres(run.driven, 1)),
    steps: count(run.steps),
    known: run.kind === "explore" && run.knownCells !== null ? count(run.knownCells) : undefined,
  };
}

function drawRun(pen, { trail, plan, scan, isOver }, planner) {
  pen.line(trail, "robot", { width: 2, opacity: 0.8 });
  if (scan && !isOver) drawBeams(pen, scan.pose, scan);
  if (plan && !isOver) {
    const waypoints = plan.waypoints.map(([x, y]) => ({ x, y }));
    pen.line(waypoints, "path", { width: 3, rim: 1.5 });
    for (const waypoint of waypoints) pen.disc(waypoint, 3.5, "path", { rim: 1.5 });
    if (plan.goal) pen.disc({ x: plan.goal[0], y: plan.goal[1] }, 7, "goal");
  }
  if (!scan) return;
  if (planner.robotRadius > 0) pen.circle(scan.pose, planner.robotRadius, "robot", { fill: 0.25 });
  pen.dart(scan.pose, 15, "robot");
}

export const driveMode = {
  key: "drive",
  label: "Drive",
  icon: "M7 4l12 8-12 8z",
  marks: [
    { key: "start", label: "Start", turns: true },
    { key: "goal", label: "Goal", turns: false },
  ],
  clickMoves: "goal",
  buildPanel,
  leave: ({ runs }) => runs.clear(),
  draw(pen, { run, start, goal, planner }) {
    if (run) drawRun(pen, run, planner);
      pen.turner(start, TURN_REACH, "start");
    pen.dart(start, 17, "start");
    if (run?.kind === "explore") return;
    pen.disc(goal, 9, "goal");
    pen.label(goal, "goal", "goal", { right: 16 });
  },
};
