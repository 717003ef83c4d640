// Every number that can be set on the page, in one place: its name here, in links and in requests,
// what it is called, its unit and range. What it is when nobody has touched it the program says; what
// the library takes when nothing is said is `library`.

const DEGREE = Math.PI / 180;

/** How to plan: the library's PlannerSettings. */
export const PLANNER = [
  { key: "robotRadius", label: "Robot radius", unit: "m", min: 0, max: 1, step: 0.01, library: 0,
    about: "Nothing comes nearer to an obstacle." },
  { key: "fadeDistance", label: "Fade", unit: "m", min: 0, max: 2, step: 0.05, library: 0,
    about: "Cells are dearer this far beyond the radius, and open." },
  { key: "weight", label: "Weight", unit: "", min: 0, max: 1, step: 0.05, library: 0.5,
    about: "Of the distance to the goal: 0 finds a cheapest path, 1 runs at the goal." },
  { key: "obstacleThreshold", label: "Threshold", unit: "", min: 0.05, max: 1, step: 0.05, library: 0.2,
    about: "Cells less probably free than this are obstacles." },
  { key: "coarseFactor", label: "Coarse factor", unit: "", min: 1, max: 16, step: 1, library: 1,
    about: "Searches cells that many times as large, and no less safely." },
  { key: "accuracy", label: "Accuracy", unit: "m", min: 0, max: 1, step: 0.05, library: 0.3,
    about: "How far the path may lie from its waypoints." },
  { key: "neighborhood", label: "Neighbourhood", choices: ["simple", "double", "triple"],
    library: "simple", about: "How long the steps of the search are: 1, 2 or 3 cells." },
  { key: "unknownIsFree", label: "Unknown cells are free", flag: true, library: false,
    about: "The robot may enter what nobody has seen." },
];

/** What the simulated scanner sees. Angles are degrees here. */
export const SCANNER = [
  { key: "fieldOfView", label: "Field of view", unit: "\u00b0", min: 10, max: 360, step: 5,
    about: "From the first beam to the last." },
  { key: "maxRange", label: "Range", unit: "m", min: 0.5, max: 40, step: 0.5,
    about: "Where beams end." },
  { key: "beams", label: "Beams", unit: "", min: 11, max: 1081, step: 10,
    about: "How many there are." },
  { key: "noise", label: "Noise", unit: "m", min: 0, max: 0.3, step: 0.005,
    about: "The standard deviation of ranges." },
  { key: "minWidth", label: "Least opening", unit: "m", min: 0.2, max: 3, step: 0.05,
    about: "Openings wider than this are shown." },
];

export const ALL = [...PLANNER, ...SCANNER];

/** What settings are before anyone touches them, from the program's answer about its map. */
export function defaultsOf({ settings, sensor }) {
  const pick = (list, source) => Object.fromEntries(list.map(({ key }) => [key, source[key]]));
  const fieldOfView = Math.round(sensor.fieldOfView / DEGREE);
  return {
    planner: pick(PLANNER, settings),
    scanner: pick(SCANNER, { ...sensor, fieldOfView, noise: 0.02, minWidth: 0.8 }),
  };
}

/** What a setting becomes when a link or a person gives it `value`: one of its own, or null. */
export function validValue(setting, value) {
  if (setting.choices) return setting.choices.includes(value) ? value : null;
  if (setting.flag) return value === true || value === "1";
  const number = Number(value);
  if (value === "" || !Number.isFinite(number)) return null;
  const inside = Math.min(setting.max, Math.max(setting.min, number));
  return setting.step === 1 || setting.key === "beams" ? Math.round(inside) : inside;
}

export const radiansOf = (degrees) => degrees * DEGREE;

/** The scanner's settings as requests have them. */
export function sensorOf({ beams, fieldOfView, maxRange }) {
  return { beams, fieldOfView: radiansOf(fieldOfView), maxRange };
}
