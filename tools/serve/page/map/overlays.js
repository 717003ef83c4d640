// The layers that the program works out: which of them lies over the map, and the grown map whose
// values the plot of a path shows. One request at a time, and none for what is there already.
import { newestOnly, pointArray } from "../api.js";

const KEPT = 3;         // answers
const PLANS_A_TOUCH = 5; // searched layers after which the program would soon drop the others

/** What to ask for so as to show a layer of a kind in a state. */
function requestFor(kind, { planner, goal }) {
  const request = { kind, settings: planner };
  return kind === "cost" ? { ...request, goal: pointArray(goal) } : request;
}

export function makeOverlays({ store, board, api, fail }) {
  const answers = new Map();

  async function infoOf(kind) {
    const state = store.get();
    const request = requestFor(kind, state);
    const key = JSON.stringify([request, state.revision]);
    if (!answers.has(key)) {
      const { layer } = await api.layer(request);
      answers.set(key, layer);
      if (answers.size > KEPT) answers.delete(answers.keys().next().value);
    }
    return answers.get(key);
  }

  const showOver = newestOnly(async () => {
    const { layer } = store.get();
    if (layer === "map") return board.hide("over");
    const info = await infoOf(layer);
    if (store.get().layer === layer) await board.show("over", info);
  }, fail);

  store.watch(["layer", "planner", "goal", "revision"], showOver);
  let plans = 0;

  return {
    showOver,

    /** Called after each plan: now and then looks at the layers in use, so that the program keeps them. */
    async keepAlive({ start }) {
      if (++plans % PLANS_A_TOUCH !== 0) return;
      const inUse = [board.layers.over, board.layers.grown].filter(Boolean);
      await Promise.all(inUse.map(({ info }) => api.cell(pointArray(start), info.id)));
    },

    /** The program no longer has a layer that is on the screen: asks for it anew. */
    renew() {
      answers.clear();
      showOver();
    },

    /** The layer of the grown map, for its values. */
    async grown() {
      return board.show("grown", await infoOf("grown"));
    },
  };
}
