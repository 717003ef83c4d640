// Keeps the address bar in step with the state, so that a link shows the same; and follows a link
// that is opened while the page is there.
import { screenOf } from "../beginning.js";
import { fromFragment, toFragment } from "./link.js";

const PATIENCE = 300; // milliseconds; browsers take only so many changes
const SHOWN = ["mode", "layer", "searched", "view", "viewIsChosen", "start", "goal", "robot", "planner",
  "scanner", "scanNumber"];

export function keepAddress(store) {
  let timer = null;

  function write() {
    clearTimeout(timer);
    timer = null;
    const fragment = toFragment(store.get());
    history.replaceState(null, "", fragment ? `#${fragment}` : location.pathname);
  }

  store.watch(SHOWN, () => (timer ??= setTimeout(write, PATIENCE)));
  addEventListener("hashchange", () => {
    const { map, defaults, view } = store.get();
    const screen = screenOf(map, defaults, fromFragment(location.hash));
    store.set({ ...screen, view: screen.view ?? view });
  });
  return write;
}
