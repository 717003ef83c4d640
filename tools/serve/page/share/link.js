// What is on the screen as the fragment of an address, and back:
//   #mode=plan&start=1.2,8&goal=18,1.6&robotRadius=0.3&view=240,160,2.5
// Only what differs from how the page begins is written. Whatever makes no sense in a link is left
// out, so that an old or mistyped one still opens.
import { PLANNER, SCANNER, validValue } from "../settings.js";
import { plain } from "../format.js";

export const MODES = ["plan", "sense", "locate", "drive", "draw", "log"];
export const LAYERS = ["map", "grown", "cost", "distance"];

/** The mode in which the page opens on a map or log. */
export const usualMode = (kind) => (kind === "log" ? "log" : "plan");

const POSES = ["start", "goal", "robot"];
const MOST_METRES = 1e7;

const poseText = ({ x, y, theta }) => [x, y, theta ?? 0].map(plain).join(",");

function numbersIn(text, fewest, most) {
  const numbers = text.split(",").map((word) => (word === "" ? NaN : Number(word)));
  const isUsable = numbers.length >= fewest && numbers.length <= most &&
    numbers.every((number) => Math.abs(number) <= MOST_METRES);
  return isUsable ? numbers : null;
}

function poseIn(text) {
  const numbers = numbersIn(text, 2, 3);
  return numbers && { x: numbers[0], y: numbers[1], theta: numbers[2] ?? 0 };
}

function viewIn(text) {
  const numbers = numbersIn(text, 3, 3);
  return numbers && numbers[2] > 0 ? { x: numbers[0], y: numbers[1], scale: numbers[2] } : null;
}

function settingText(setting, value) {
  if (setting.flag) return value ? "1" : "0";
  return setting.choices ? value : plain(value);
}

function sayChanged(settings, values, defaults, say) {
  for (const setting of settings) {
    const value = values[setting.key];
    if (value !== defaults[setting.key]) say(setting.key, settingText(setting, value));
  }
}

/** The fragment, without its `#`, for a state of the page. */
export function toFragment(state) {
  const words = [];
  const say = (key, text) => words.push(`${key}=${encodeURIComponent(text).replaceAll("%2C", ",")}`);
  if (state.mode !== usualMode(state.kind)) say("mode", state.mode);
  if (state.layer !== LAYERS[0]) say("layer", state.layer);
  if (!state.searched) say("searched", "0");
  for (const key of POSES) {
    if (state[key]) say(key, poseText(state[key]));
  }
  sayChanged(PLANNER, state.planner, state.defaults.planner, say);
  sayChanged(SCANNER, state.scanner, state.defaults.scanner, say);
  if (state.scanNumber > 0) say("scan", String(state.scanNumber));
  if (state.viewIsChosen) {
    const { x, y, scale } = state.view;
    say("view", `${x.toFixed(1)},${y.toFixed(1)},${Number(scale.toPrecision(4))}`);
  }
  return words.join("&");
}

function settingsIn(given, settings) {
  const values = {};
  for (const setting of settings) {
    const value = given.has(setting.key) ? validValue(setting, given.get(setting.key)) : null;
    if (value !== null) values[setting.key] = value;
  }
  return values;
}

/** What a fragment says, as far as it makes sense: the parts of the state that it names. */
export function fromFragment(fragment) {
  const given = new URLSearchParams(fragment.replace(/^#/, ""));
  const found = { planner: settingsIn(given, PLANNER), scanner: settingsIn(given, SCANNER) };
  if (MODES.includes(given.get("mode"))) found.mode = given.get("mode");
  if (LAYERS.includes(given.get("layer"))) found.layer = given.get("layer");
  if (given.has("searched")) found.searched = given.get("searched") !== "0";
  for (const key of POSES) {
    const pose = poseIn(given.get(key) ?? "");
    if (pose) found[key] = pose;
  }
  const view = viewIn(given.get("view") ?? "");
  if (view) Object.assign(found, { view, viewIsChosen: true });
  if (/^\d{1,9}$/.test(given.get("scan") ?? "")) found.scanNumber = Number(given.get("scan"));
  return found;
}
