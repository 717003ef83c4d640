// The state with which the page begins: what the program says of its map, and what the link says.
import { poseOf } from "./api.js";
import { makeGrid } from "./map/grid.js";
import { rounded } from "./map/handles.js";
import { defaultsOf } from "./settings.js";
import { usualMode } from "./share/link.js";

/** The parts of the state that a link may change, as they are without one. */
function usualScreen(map, defaults) {
  const start = rounded(poseOf(map.start));
  return {
    mode: usualMode(map.kind),
    layer: "map",
    searched: true,
    view: null,
    viewIsChosen: false,
    start,
    goal: rounded(poseOf(map.goal)),
    robot: start,
    planner: defaults.planner,
    scanner: defaults.scanner,
    scanNumber: 0,
  };
}

/** What a link, read by fromFragment, makes of the usual screen. */
export function screenOf(map, defaults, link) {
  const usual = usualScreen(map, defaults);
  return {
    ...usual,
    ...link,
    planner: { ...usual.planner, ...link.planner },
    scanner: { ...usual.scanner, ...link.scanner },
  };
}

/** The whole state; `map` is the program's answer about its map. */
export function firstState(map, link) {
  const { width, height, resolution, tileSize, levels, revision } = map;
  const defaults = defaultsOf(map);
  return {
    map,
    defaults,
    mapName: map.name,
    kind: map.kind,
    mapLayer: {
      id: "map", kind: "map", scale: 1, origin: map.origin, width, height, resolution, tileSize, levels, revision,
    },
    grid: makeGrid({ width, height, resolution, origin: poseOf(map.origin) }),
    revision,
    undo: map.undo,
    scanCount: map.scans,
    ...screenOf(map, defaults, link),

    // answers of the program, and what is going on
    plan: null, samples: null, spot: null,
    sensed: null, seed: 1,
    thrown: null, guess: null, located: null, searchArea: "everywhere", isSearching: false,
    run: null, speed: 2,
    brush: { value: "wall", width: 0.3 }, brushAt: null, stroke: null,
    track: null, logged: null, isPlaying: false,
  };
}
