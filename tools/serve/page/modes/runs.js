// A robot that drives or explores in the program: one session at a time, told by its events. What the
// page shows of it stands in the state as `run`.
import { pointArray, poseArray, poseOf } from "../api.js";
import { sensorOf } from "../settings.js";

const LONGEST_TRAIL = 20000; // poses
const SMOOTHING = 0.1;       // share of the newest step in the mean of its stages

/** What a run is when it has just begun. */
function newRun(kind, { session, layer }) {
  return { kind, session, layer: layer ?? null, isPaused: false, isOver: false, steps: 0, driven: 0,
    knownCells: null, plan: null, scan: null, trail: [], means: {}, stages: {}, sentence: "" };
}

/** The means of stages with those of one more step. */
export function blended(means, stages) {
  const next = { ...means };
  for (const [name, microseconds] of Object.entries(stages)) {
    next[name] = name in next ? next[name] + SMOOTHING * (microseconds - next[name]) : microseconds;
  }
  return next;
}

function afterStep(run, step) {
  const pose = poseOf(step.pose);
  const trail = run.trail.length < LONGEST_TRAIL ? [...run.trail, pose] : run.trail;
  return { ...run, trail, scan: { ...step, pose }, waypoint: step.waypoint, steps: step.step,
    driven: step.driven, knownCells: step.knownCells ?? run.knownCells,
    stages: step.microseconds, means: blended(run.means, step.microseconds) };
}

export function makeRuns({ store, board, api, fail, say }) {
  let source = null;

  const change = (part) => store.set({ run: { ...store.get().run, ...part } });

  function onStep(step) {
    const run = afterStep(store.get().run, step);
    store.set({ run });
    if (run.layer && step.changed) board.refresh("map", step.gridRevision, step.changed);
  }

  function onEnd({ sentence, driven, steps }) {
    change({ isOver: true, sentence, driven, steps });
    say(sentence);
  }

  function onLost() {
    if (!store.get().run?.isOver) change({ isOver: true, sentence: "the program no longer tells of the robot" });
  }

  /** Starts a robot of a kind, "drive" or "explore", where the start is. */
  async function begin(kind) {
    await stop();
    const { start, goal, planner, scanner, speed } = store.get();
    const sensing = { sensor: sensorOf(scanner), noise: scanner.noise };
    const request = { start: poseArray(start), settings: planner, ...sensing, speed };
    try {
      const answer = await api[kind](kind === "drive" ? { ...request, goal: pointArray(goal) } : request);
      store.set({ run: newRun(kind, answer) });
      if (answer.layer) await board.show("map", answer.layer);
      source = api.events(answer.events, { plan: (plan) => change({ plan }), step: onStep, end: onEnd }, onLost);
    } catch (problem) {
      fail(problem);
    }
  }

  /** Ends the robot's session; what it did stays on the screen. */
  async function stop() {
    const { run } = store.get();
    if (!run || run.isOver) return;
    await api.stop(run.session).catch(() => null); // it may just have ended by itself
    source?.close();
    change({ isOver: true, sentence: run.sentence || "stopped" });
  }

  async function control(request) {
    const { run } = store.get();
    if (!run || run.isOver) return;
    const { paused } = await api.control(run.session, request);
    change({ isPaused: paused });
  }

  /** Takes the robot and its grid off the screen. */
  async function clear() {
    await stop();
    store.set({ run: null });
    await board.show("map", store.get().mapLayer);
  }

  return {
    begin,
    stop,
    clear,
    togglePause: () => control({ paused: !store.get().run.isPaused }).catch(fail),
    setSpeed(speed) {
      store.set({ speed });
      control({ speed }).catch(fail);
    },
    setGoal: () => control({ goal: pointArray(store.get().goal) }).catch(fail),
  };
}
