// Log: the scans of the recorded log that the program was started with, one by one.
import { newestOnly, poseOf } from "../api.js";
import { count, degrees, fixed } from "../format.js";
import { button, h } from "../panel/element.js";
import { numbers } from "../panel/readouts.js";
import { drawBeams } from "./beams.js";
import { drawLocated, locatedReadouts } from "./locate.js";

const FRAME = 80; // milliseconds from scan to scan while playing

export function keepReading({ store, api, fail }) {
  const readTrack = newestOnly(async () => {
    const { track, scanCount, mode } = store.get();
    if (mode !== "log" || track || scanCount === 0) return;
    const { poses, aligned } = await api.scans();
    store.set({ track: { poses: poses.map(poseOf), aligned } });
  }, fail);

  const readScan = newestOnly(async () => {
    const { scanNumber, scanCount, mode, logged } = store.get();
    const number = Math.min(scanNumber, scanCount - 1);
    if (mode !== "log" || number < 0 || logged?.number === number) return;
    store.set({ logged: await api.scan(number), located: null });
  }, fail);

  store.watch(["mode"], readTrack);
  store.watch(["mode", "scanNumber"], readScan);
  readTrack();
  readScan();
}

/** Steps through the scans while `isPlaying`. */
function makePlayer(store) {
  let timer = null;
  function step() {
    const { scanNumber, scanCount, mode } = store.get();
    if (mode !== "log" || scanNumber >= scanCount - 1) return void store.set({ isPlaying: false });
    store.set({ scanNumber: scanNumber + 1 });
  }
  store.watch(["isPlaying"], ({ isPlaying }) => {
    clearInterval(timer);
    if (isPlaying) timer = setInterval(step, FRAME);
  });
}

function buildPanel(app) {
  const { store, locator } = app;
  const { scanCount } = store.get();
  if (scanCount === 0) {
    return h("div", {},
      h("p", { class: "hint" }, "With a recorded laser log its scans are shown here, one by one:"),
      h("pre", { class: "command" }, "korrin serve robot.log.gz"));
  }
  makePlayer(store);
  const output = h("output", { for: "scan-number" });
  const input = h("input", { type: "range", id: "scan-number", min: 0, max: scanCount - 1, step: 1,
    oninput: () => store.set({ scanNumber: Number(input.value) }) });
  const play = button("Play", () => store.set({ isPlaying: !store.get().isPlaying }), { main: true, id: "play" });
  const step = (by) => () =>
    store.set({ scanNumber: Math.min(scanCount - 1, Math.max(0, store.get().scanNumber + by)), isPlaying: false });
  const results = numbers({ hits: "beams that hit", moved: "moved by aligning", time: "at" });
  const update = () => {
    input.value = store.get().scanNumber;
    output.textContent = `${count(store.get().scanNumber)} of ${count(scanCount)}`;
    play.textContent = store.get().isPlaying ? "Pause" : "Play";
  };
  store.watch(["scanNumber", "isPlaying"], update);
  store.watch(["logged"], ({ logged }) => results.show(numbersOf(logged)));
  update();
  return h("div", {},
    h("div", { class: "setting" },
      h("div", { class: "name" }, h("label", { for: "scan-number" }, "Scan"), output),
      h("div", { class: "track" }, input)),
    h("div", { class: "row" }, play, button("Previous", step(-1)), button("Next", step(1))),
    results.element,
    h("div", { class: "row" }, button("Where was it taken?", locator.find, { id: "where-taken" })),
    locatedReadouts(app));
}

/** Seconds since 1970 as a time of day; fewer are those of a robot's own clock. */
function timeOf(seconds) {
  if (seconds < 1e8) return [fixed(seconds, 1), "s"];
  return [new Date(seconds * 1000).toISOString().slice(11, 19), "UTC"];
}

function numbersOf(logged) {
  const [pose, before] = [logged.pose, logged.logged].map(poseOf);
  const hits = logged.hits.filter(Boolean).length;
  return {
    hits: [count(hits), `of ${logged.hits.length}`],
    moved: [fixed(Math.hypot(pose.x - before.x, pose.y - before.y), 2), "m"],
    time: timeOf(logged.time),
  };
}

export const logMode = {
  key: "log",
  label: "Log",
  icon: "M4 6h16M4 12h16M4 18h10",
  marks: [],
  buildPanel,
  leave: ({ store }) => store.set({ isPlaying: false, located: null }),
  draw(pen, { track, logged, located, locatedAt, scanNumber }, board) {
    if (track) {
      pen.line(track.poses, "robot", { width: 1.5, opacity: 0.45 });
      pen.line(track.poses.slice(0, scanNumber + 1), "robot", { width: 2.5 });
    }
    if (!logged) return;
    const pose = poseOf(logged.pose);
    if (located) drawLocated(pen, { located, locatedAt }, pose, board);
    else drawBeams(pen, pose, logged);
    pen.dart(pose, 15, "robot");
  },
};
