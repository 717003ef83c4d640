// Sense: what a laser scanner sees from where the robot is placed.
import { newestOnly, poseArray, poseOf } from "../api.js";
import { degrees, duration, fixed, metres } from "../format.js";
import { TURN_REACH } from "../map/handles.js";
import { poseFields, settingsGroup } from "../panel/controls.js";
import { button, h } from "../panel/element.js";
import { numbers, stageTable, table, withUnit } from "../panel/readouts.js";
import { SCANNER, sensorOf } from "../settings.js";
import { drawBeams } from "./beams.js";

const ARROW_METRES = 0.8;

/** What requests say of the scanner and the pose it is at. */
export function scanRequest({ robot, scanner, seed }) {
  return { pose: poseArray(robot), sensor: sensorOf(scanner), noise: scanner.noise, seed };
}

/** Asks for a scan whenever the robot or its scanner changes, in the modes that show one. */
export function keepSensing({ store, api, fail }) {
  const ask = newestOnly(async () => {
    const state = store.get();
    if (state.mode !== "sense") return;
    const sensed = await api.sense({ ...scanRequest(state), minWidth: state.scanner.minWidth });
    store.set({ sensed: { ...sensed, pose: state.robot } });
  }, fail);
  store.watch(["robot", "scanner", "seed", "revision", "mode"], ask);
  ask();
}

function buildPanel(app) {
  const { store } = app;
  const results = numbers({ hits: "beams that hit", nearest: "nearest hit", openings: "openings" });
  const openings = table(["opening", "width", "towards", "approach"], "openings");
  const sides = table(["around the robot", "where", ""], "around");
  const stages = stageTable("sense-stages");
  store.watch(["sensed"], ({ sensed }) => {
    results.show(numbersOf(sensed));
    openings.show(sensed.holes.map((hole, i) => [String(i + 1), metres(hole.width), degrees(hole.heading),
      `${fixed(hole.approach[0], 2)}, ${fixed(hole.approach[1], 2)}`]));
    sides.show(placesOf(sensed));
    stages.show(sensed.microseconds);
  });
  return h("div", {},
    h("p", { class: "hint" }, "Drag the robot, or click where it shall stand; drag the ball ahead of it to turn it."),
    results.element,
    poseFields(app, "sense", "robot", "Robot", true),
    h("h2", {}, "Openings to drive through"), openings.element, sides.element,
    settingsGroup(app, "sense", "Scanner", "scanner", SCANNER),
    h("div", { class: "row" },
      button("Another scan", () => store.set({ seed: store.get().seed + 1 })),
      button("Reset settings", () => store.set({ scanner: store.get().defaults.scanner }))),
    h("h2", {}, "What it cost"), stages.element);
}

function numbersOf(sensed) {
  const hits = sensed.ranges.filter((_, i) => sensed.hits[i]);
  return {
    hits: [String(hits.length), `of ${sensed.hits.length}`],
    nearest: hits.length ? withUnit(metres(Math.min(...hits))) : undefined,
    openings: String(sensed.holes.length),
  };
}

function placesOf({ obstacles, nearestFree, nearestUnknown, pose }) {
  const row = (name, at) => {
    if (!at) return [name, "none in sight", ""];
    const away = Math.hypot(at[0] - pose.x, at[1] - pose.y);
    return [name, `${fixed(at[0], 2)}, ${fixed(at[1], 2)}`, metres(away)];
  };
  return [
    ["side of near obstacles", obstacles ? degrees(obstacles.direction) : "none near", ""],
    row("nearest free cell", nearestFree),
    row("nearest unknown cell", nearestUnknown),
  ];
}

/** The robot: a dart, the room it takes, and what turns it. */
export function drawRobot(pen, { robot, planner }) {
  if (planner.robotRadius > 0) pen.circle(robot, planner.robotRadius, "robot", { fill: 0.2 });
  pen.turner(robot, TURN_REACH, "robot");
  pen.dart(robot, 17, "robot");
}

function drawOpening(pen, { begin, end, approach, width }) {
  const [from, to, before] = [begin, end, approach].map(poseOf);
  pen.line([from, to], "accent", { width: 4, rim: 1.5 });
  pen.dart(before, 10, "accent");
  pen.label({ x: (from.x + to.x) / 2, y: (from.y + to.y) / 2 }, metres(width), "text", { right: 8, down: -12 });
}

const isHere = ([x, y], pose, grid) => Math.hypot(x - pose.x, y - pose.y) < 2 * grid.resolution;

function drawAround(pen, { obstacles, nearestFree, nearestUnknown, pose }) {
  if (obstacles) {
    const tip = {
      x: pose.x + ARROW_METRES * Math.cos(obstacles.direction),
      y: pose.y + ARROW_METRES * Math.sin(obstacles.direction),
    };
    pen.line([pose, tip], "hot", { width: 4, rim: 1.5 });
    pen.dart({ ...tip, theta: obstacles.direction }, 11, "hot");
  }
  for (const [at, colour, text] of [[nearestFree, "start", "free"], [nearestUnknown, "late", "unknown"]]) {
    if (!at || isHere(at, pose, pen.grid)) continue;
    pen.disc(poseOf(at), 5, colour);
    pen.label(poseOf(at), text, colour, { right: 10, down: 12 });
  }
}

export const senseMode = {
  key: "sense",
  label: "Sense",
  icon: "M12 19a1.5 1.5 0 1 0 0-3a1.5 1.5 0 1 0 0 3M8 13a6 6 0 0 1 8 0M5 9.5a10.5 10.5 0 0 1 14 0M2 6a15 15 0 0 1 20 0",
  marks: [{ key: "robot", label: "Robot", turns: true }],
  clickMoves: "robot",
  buildPanel,
  draw(pen, state) {
    const { sensed } = state;
    if (sensed) {
      drawBeams(pen, sensed.pose, sensed);
      for (const hole of sensed.holes) drawOpening(pen, hole);
      drawAround(pen, sensed);
    }
    drawRobot(pen, state);
  },
};
