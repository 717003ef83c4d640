// Keeps the plan on the screen up to date: whatever it depends on changes, and the program is asked
// again, one request at a time, always with the newest state.
import { newestOnly, pointArray, poseArray, poseOf } from "../api.js";
import { makeGrid } from "../map/grid.js";
import { distancesAlong } from "../panel/plot.js";

const MODES_WITH_PLAN = ["plan", "draw"];
const HIGHEST_BYTE = 250;

export const hasPlan = (state) => MODES_WITH_PLAN.includes(state.mode);

export function keepPlanning({ store, board, api, overlays, fail }) {
  const ask = newestOnly(async () => {
    const { start, goal, planner, searched, mode } = store.get();
    if (!MODES_WITH_PLAN.includes(mode)) return;
    const request = { start: poseArray(start), goal: pointArray(goal), settings: planner, searched };
    const plan = await api.plan(request);
    if (plan.revision > store.get().revision) board.refresh("map", plan.revision); // drawn on elsewhere
    store.set({ plan, revision: plan.revision });
    showSearched(plan.layer);
    showSamples(plan);
    await overlays.keepAlive(store.get());
  }, fail);

  // What is shown of a plan does not keep the next one waiting.
  const showSearched = newestOnly(async (layer) => {
    if (layer) await board.show("searched", layer);
    if (!layer || !hasPlan(store.get())) board.hide("searched");
  }, fail);

  const showSamples = newestOnly(async (plan) => {
    const samples = plan.outcome === "found" ? await samplesAlong(plan.path, await overlays.grown()) : null;
    store.set({ samples });
  }, fail);

  store.watch(["start", "goal", "planner", "revision", "searched", "mode"], (state) => {
    if (hasPlan(state)) ask();
    else showSearched(null);
  });
  ask();
}

/** What the searched map holds below each pose of a path: { distance, value, at }. */
async function samplesAlong(path, layer) {
  const { origin, ...size } = layer.info;
  const grid = makeGrid({ ...size, origin: poseOf(origin) });
  const cells = path.map(([x, y]) => grid.toCell({ x, y })).map(({ x, y }) => [Math.floor(x), Math.floor(y)]);
  const bytes = await layer.bytesAt(cells);
  const distances = distancesAlong(path);
  const samples = bytes.map((byte, i) => ({
    distance: distances[i],
    value: (byte / HIGHEST_BYTE) * layer.info.scale,
    at: { x: path[i][0], y: path[i][1] },
  }));
  return samples.every(({ value }) => Number.isFinite(value)) ? samples : null;
}
