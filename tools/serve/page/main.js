// Puts the page together: state, map, modes and panel, and starts them.
import { api } from "./api.js";
import { firstState } from "./beginning.js";
import { Board } from "./map/board.js";
import { listenToGestures } from "./map/gestures.js";
import { Handles, rounded } from "./map/handles.js";
import { makeOverlays } from "./map/overlays.js";
import { kept, panned, zoomed, zoomLimits } from "./map/view.js";
import { drawMode, makeBrush } from "./modes/draw.js";
import { driveMode } from "./modes/drive.js";
import { keepReading, logMode } from "./modes/log.js";
import { locateMode, makeLocator } from "./modes/locate.js";
import { planMode } from "./modes/plan.js";
import { keepPlanning } from "./modes/planning.js";
import { makeRuns } from "./modes/runs.js";
import { keepSensing, senseMode } from "./modes/sense.js";
import { layerChoice, showLegend } from "./panel/layers.js";
import { makeMessages } from "./panel/messages.js";
import { makePointer } from "./panel/pointer.js";
import { makeSheet } from "./panel/sheet.js";
import { makeTabs } from "./panel/tabs.js";
import { keepAddress } from "./share/address.js";
import { makeCodeDialog } from "./share/code.js";
import { fromFragment } from "./share/link.js";
import { fillTools, startTheme } from "./share/tools.js";
import { createStore } from "./state.js";

const MODES = [planMode, senseMode, locateMode, driveMode, drawMode, logMode];
const byId = (id) => document.getElementById(id);
const modeOf = ({ mode }) => MODES.find(({ key }) => key === mode);

function drawMarks(app) {
  return (pen, state) => {
    for (const { name, at } of state.map.rooms) pen.name({ x: at[0], y: at[1] }, name);
    modeOf(state).draw(pen, state, app.board);
  };
}

/** The state, the map and all that talks to the program. */
function makeApp(store) {
  const app = { store, api, ...makeMessages(byId("status"), byId("toast")) };
  const handles = { place: () => null };
  app.board = new Board(byId("map"), store, api, {
    drawMarks: drawMarks(app),
    afterPaint(frame) {
      handles.place(frame);
      showLegend(byId("legend"), app.board);
    },
    onLost: (layer) => layer === app.board.layers.over && app.overlays.renew(),
  });
  const explores = ({ run }) => run && !run.isOver && run.kind === "explore";
  const marksOf = (state) => (explores(state) ? [] : modeOf(state).marks);
  const moving = new Handles(byId("handles"), byId("map"), store, app.board, marksOf);
  handles.place = (frame) => moving.place(frame);
  app.overlays = makeOverlays(app);
  app.runs = makeRuns(app);
  app.locator = makeLocator(app);
  app.brush = makeBrush(app);
  return app;
}

function moveMap({ store, board }) {
  const look = (view) => store.set({ view: kept(view, store.get().grid), viewIsChosen: true });
  return {
    pan: (dx, dy) => look(panned(store.get().view, dx, dy)),
    zoom(point, factor) {
      const { view, grid } = store.get();
      look(zoomed(view, board.size, point, factor, zoomLimits(grid, board.size)));
    },
  };
}

function listen(app, { pan, zoom }) {
  const { store, board, brush } = app;
  const showPointer = makePointer(app, byId("pointer"));
  listenToGestures(byId("map"), {
    pan,
    zoom,
    showAll: () => board.showAll(),
    hover: (point) => {
      showPointer(point && board.worldAt(point));
      if (point && modeOf(store.get()).draws) store.set({ brushAt: rounded(board.worldAt(point)) });
    },
    click(point) {
      const key = modeOf(store.get()).clickMoves;
      if (key) store.set({ [key]: rounded({ ...store.get()[key], ...board.worldAt(point) }) });
    },
    stroke: brush.stroke,
  });
}

/** Shows the mode of the state, and tells modes when they come and go. */
function followMode(app, showTab) {
  let shown = null;
  const follow = (state) => {
    const mode = modeOf(state);
    if (mode === shown) return;
    shown?.leave?.(app);
    shown = mode;
    showTab(mode);
    byId("map").classList.toggle("draws", Boolean(mode.draws));
    mode.enter?.(app);
    app.board.requestFrame();
  };
  app.store.watch(["mode"], follow);
  follow(app.store.get());
}

function describeMap({ map, grid }) {
  const side = (cells) => Number((cells * grid.resolution).toPrecision(3));
  return `${map.name}, ${side(grid.width)} m \u00d7 ${side(grid.height)} m`;
}

/** On a wide screen the choice of layers is always there; elsewhere it is opened and closed. */
function openLayersWhereWide(layers) {
  const wide = matchMedia("(min-width: 1220px)");
  const follow = () => (layers.open = wide.matches);
  wide.addEventListener("change", follow);
  follow();
}

/** Asks for everything that is to be there from the beginning. */
function startAll(app) {
  const { store, board } = app;
  keepPlanning(app);
  keepSensing(app);
  keepReading(app);
  store.watch(Object.keys(store.get()), () => board.requestFrame());
  store.watch(["goal"], ({ run }) => run?.kind === "drive" && app.runs.setGoal());
  store.watch(["planner"], () => board.readTheme()); // the grown map's colours know the threshold
  app.overlays.showOver();
}

async function begin() {
  startTheme();
  const store = createStore(firstState(await api.map(), fromFragment(location.hash)));
  const app = makeApp(store);
  app.board.resize();
  await app.board.show("map", store.get().mapLayer);
  byId("about").textContent = describeMap(store.get());
  document.title = `${store.get().mapName} \u2013 korrin`;
  byId("layer-choice").append(layerChoice(store));
  openLayersWhereWide(byId("layers"));
  makeSheet(byId("sheet"), byId("grip"));

  const moves = moveMap(app);
  listen(app, moves);
  const writeLink = keepAddress(store);
  const middle = () => ({ x: app.board.size.width / 2, y: app.board.size.height / 2 });
  fillTools({ sharing: byId("sharing"), zooming: byId("zooming") }, app, {
    zoom: (factor) => moves.zoom(middle(), factor),
    showCode: makeCodeDialog(app, byId("code")),
    writeLink,
  });
  followMode(app, makeTabs(app, MODES, byId("modes"), byId("panels")));
  startAll(app);
  return app;
}

/** The running page; tests import it, too. */
export const running = begin();
running.catch((problem) => makeMessages(byId("status"), byId("toast")).fail(problem));
