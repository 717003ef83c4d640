// Locate: the robot's scan is thrown back at a pose by chance, and the program finds where it was
// taken: on the whole map, or near that pose.
import { newestOnly, poseArray, poseOf } from "../api.js";
import { about, degrees, duration, fixed, metres } from "../format.js";
import { fromSensor, wrapAngle } from "../map/grid.js";
import { TURN_REACH, rounded } from "../map/handles.js";
import { poseFields, segments, settingsGroup } from "../panel/controls.js";
import { button, h } from "../panel/element.js";
import { notice, numbers, table, withUnit } from "../panel/readouts.js";
import { SCANNER } from "../settings.js";
import { beamEnds } from "./beams.js";
import { drawHeat } from "./heat.js";
import { drawRobot, scanRequest } from "./sense.js";

const WINDOW = { window: 2, turn: Math.PI / 2 }; // around the guess
const FLIGHT = 450;   // milliseconds in which the scan flies from the guess to where it fits
const ANSWERS = 3;

const VERDICTS = {
  clear: "Found: nowhere else does the scan fit as well.",
  ambiguous: "It fits in two places almost as well: here or there.",
  poor: "It fits nowhere well.",
};

/** A pose anywhere on the map. */
function poseByChance(grid) {
  const at = grid.toWorld({ x: Math.random() * grid.width, y: Math.random() * grid.height });
  return rounded({ ...at, theta: (2 * Math.random() - 1) * Math.PI });
}

/** What a state's search asks for: a scan of the log, or one simulated where the robot stands. */
function locateRequest(state) {
  const scan = state.logged && state.mode === "log" ? { scan: state.logged.number } : scanRequest(state);
  const near = state.searchArea === "near" ? { near: poseArray(state.guess), ...WINDOW } : {};
  return { ...scan, ...near, count: ANSWERS, heat: state.searchArea !== "near" };
}

export function makeLocator({ store, board, api, fail, say }) {
  const sense = newestOnly(async () => {
    const state = store.get();
    if (state.mode !== "locate") return;
    if (!state.guess) store.set({ guess: poseByChance(state.grid) });
    store.set({ thrown: await api.sense(scanRequest(state)), located: null });
  }, fail);
  store.watch(["robot", "scanner", "seed", "revision", "mode"], sense);
  sense();
  store.watch(["guess", "searchArea"], () => store.set({ located: null }));

  async function find() {
    store.set({ isSearching: true });
    try {
      const located = await api.locate(locateRequest(store.get()));
      store.set({ located, locatedAt: performance.now() });
      board.requestFrame();
      say(VERDICTS[located.verdict]);
    } catch (problem) {
      fail(problem);
    } finally {
      store.set({ isSearching: false });
    }
  }

  return {
    find,
    throwAgain: () => store.set({ guess: poseByChance(store.get().grid), seed: store.get().seed + 1 }),
  };
}

/** What was found, as a part of a panel. */
export function locatedReadouts({ store }) {
  const verdict = notice("verdict");
  const results = numbers({ search: "to search", poses: "poses", off: "off by" });
  const answers = table(["", "x, y [m]", "heading", "score"], "answers");
  const element = h("div", { hidden: true }, verdict.element, results.element, answers.element);
  store.watch(["located"], (state) => {
    const { located } = state;
    element.hidden = !located;
    if (!located) return;
    verdict.show(VERDICTS[located.verdict]);
    verdict.element.classList.toggle("good", located.verdict === "clear");
    results.show(numbersOf(state));
    answers.show(located.answers.map(({ pose: [x, y, theta], score }, i) =>
      [i === 0 ? "best" : "elsewhere", `${fixed(x, 2)}, ${fixed(y, 2)}`, degrees(theta), fixed(score, 3)]));
  });
  return element;
}

function numbersOf({ located, robot, logged, mode }) {
  const { milliseconds, poses, answers } = located;
  const truth = mode === "log" ? poseOf(logged.pose) : robot;
  const best = answers[0] && poseOf(answers[0].pose);
  return {
    search: withUnit(duration(milliseconds.search)),
    poses: about(poses),
    off: best && [fixed(Math.hypot(best.x - truth.x, best.y - truth.y), 2),
      `m, ${degrees(Math.abs(wrapAngle(best.theta - truth.theta)))}`],
  };
}

function buildPanel(app) {
  const { store, locator } = app;
  const find = button("Where am I?", locator.find, { main: true, id: "where-am-i" });
  const area = segments("search-area", "Where to search", ["everywhere", "near"], {
    get: () => store.get().searchArea,
    set: (searchArea) => store.set({ searchArea }),
  });
  store.watch(["searchArea"], area.update);
  store.watch(["isSearching"], ({ isSearching }) => (find.disabled = isSearching));
  area.update();
  return h("div", {},
    h("p", { class: "hint" },
      "The robot takes a scan where it stands. The scan lies somewhere else, by chance. Where was it taken?"),
    h("div", { class: "row" }, find, button("Throw it again", locator.throwAgain, { id: "throw-again" })),
    area.element,
    h("p", { class: "hint" },
      "\u201cNear\u201d looks 2 m and a quarter turn around where the scan lies: drag it there."),
    locatedReadouts(app),
    poseFields(app, "locate", "robot", "Robot", true), poseFields(app, "locate", "guess", "Thrown", true),
    settingsGroup(app, "locate", "Scanner", "scanner", SCANNER.filter(({ key }) => key !== "minWidth")));
}

/** Between the guess and the best answer while the scan is in flight. */
function inFlight(from, to, share) {
  const eased = 1 - (1 - share) ** 3;
  const part = (a, b) => a + (b - a) * eased;
  const turn = wrapAngle(to.theta - from.theta);
  return { x: part(from.x, to.x), y: part(from.y, to.y), theta: from.theta + turn * eased };
}

const isCalm = () => matchMedia("(prefers-reduced-motion: reduce)").matches;

/** The answers over the map, the best one last; the scan flies there from `from`. */
export function drawLocated(pen, { located, locatedAt }, from, board) {
  if (located.heat) drawHeat(pen, located.heat);
  const points = located.points.map(([x, y]) => ({ x, y }));
  const share = isCalm() ? 1 : Math.min(1, (performance.now() - locatedAt) / FLIGHT);
  if (share < 1) board.requestFrame();
  for (const [i, { pose, score }] of [...located.answers.entries()].reverse()) {
    const colour = i === 0 ? "path" : "goal";
    const at = i === 0 ? inFlight(from, poseOf(pose), share) : poseOf(pose);
    pen.dots(points.map((point) => fromSensor(at, point)), i === 0 ? 2 : 1.5, colour);
    pen.dart(at, 15, colour);
    pen.label(at, `${i + 1}: ${fixed(score, 3)}`, colour, { right: 14, down: -18 });
  }
}

function drawThrown(pen, { thrown, guess }) {
  const hits = beamEnds(guess, thrown).filter((_, i) => thrown.hits[i]);
  pen.dots(hits, 2, "late");
  pen.turner(guess, TURN_REACH, "late");
  pen.dart(guess, 15, "late");
  pen.label(guess, "?", "late", { right: 14, down: -18 });
}

export const locateMode = {
  key: "locate",
  label: "Locate",
  icon: "M12 21c4-4.5 6-8 6-11a6 6 0 1 0-12 0c0 3 2 6.500 6 11M12 12a2 2 0 1 0 0-4a2 2 0 1 0 0 4",
  marks: [
    { key: "robot", label: "Robot", turns: true },
    { key: "guess", label: "Thrown scan", turns: true },
  ],
  clickMoves: "robot",
  buildPanel,
  draw(pen, state, board) {
    if (state.located && state.guess) drawLocated(pen, state, state.guess, board);
    else if (state.thrown && state.guess) drawThrown(pen, state);
    drawRobot(pen, state);
  },
};
