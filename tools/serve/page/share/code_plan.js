// What is on the screen while planning, as a program: C++, Python, or a command to type.
import { plain } from "../format.js";
import { PLANNER } from "../settings.js";

const SPELLED = {
  // name here and in C++: [Python keyword, option of the command]
  robotRadius: ["robot_radius", "--radius"],
  fadeDistance: ["fade_distance", "--fade"],
  weight: ["weight", "--weight"],
  obstacleThreshold: ["obstacle_threshold", "--threshold"],
  coarseFactor: ["coarse_factor", "--coarse"],
  accuracy: ["accuracy", "--accuracy"],
  neighborhood: ["neighborhood", "--neighborhood"],
  unknownIsFree: ["unknown_is_free", "--unknown-free"],
};

/** The settings that differ from what the library takes when nothing is said. */
function changedSettings(values) {
  return PLANNER.filter((setting) => values[setting.key] !== setting.library);
}

const capitalised = (word) => word[0].toUpperCase() + word.slice(1);

/** A float of C++: 0.2f, 1.0f. */
export function cppFloat(value) {
  const text = plain(value);
  return `${text.includes(".") ? text : `${text}.0`}f`;
}

export const cppPose = (pose) =>
  `Brin::Pose2D(${cppFloat(pose.x)}, ${cppFloat(pose.y)}, ${cppFloat(pose.theta ?? 0)})`;

export const pythonPose = (pose) => `(${plain(pose.x)}, ${plain(pose.y)}, ${plain(pose.theta ?? 0)})`;

/** A word of a shell's command, in quotes where it needs them. */
export const shellWord = (text) =>
  /^[\w@%+=:,./-]+$/.test(text) ? text : `'${text.replaceAll("'", "'\\''")}'`;

function cppValue(setting, value) {
  if (setting.choices) return `Brin::OccMapPathFinder::${capitalised(value)}`;
  if (setting.flag) return String(value);
  return setting.key === "coarseFactor" ? plain(value) : cppFloat(value);
}

function pythonValue(setting, value) {
  if (setting.choices) return `korrin.OccMapPathFinder.NeighborhoodType.${capitalised(value)}`;
  if (setting.flag) return capitalised(String(value));
  return plain(value);
}

function optionOf(setting, value) {
  const option = SPELLED[setting.key][1];
  if (setting.flag) return option;
  const inOptionsUnit = setting.key === "accuracy" ? value * 1000 : value; // millimetres
  return `${option} ${typeof value === "number" ? plain(inOptionsUnit) : value}`;
}

export function planInCpp({ map, start, goal, planner }) {
  const settings = changedSettings(planner).map(
    (each) => `  settings.${each.key} = ${cppValue(each, planner[each.key])};\n`);
  return `#include <iostream>
#include <korrin/io/io.hpp>
#include <korrin/korrin.hpp>

int main() {
  const Brin::OccupancyMap map = Brin::io::readMapFile(${JSON.stringify(map)});
  Brin::PlannerSettings settings;
${settings.join("")}  const Brin::PathPlanner planner(map, settings);
  const Brin::Plan plan = planner.plan(${cppPose(start)},
                                       ${cppPose(goal)});
  if (plan.outcome != Brin::PlanOutcome::Found) {
    std::cerr << "no path: " << Brin::describe(plan.blocked) << '\\n';
    return 1;
  }
  for (const Brin::Pose2D& pose : plan.waypoints) std::cout << pose.x << ' ' << pose.y << '\\n';
}
`;
}

export function planInPython({ map, start, goal, planner }) {
  const settings = changedSettings(planner).map(
    (each) => `,\n    ${SPELLED[each.key][0]}=${pythonValue(each, planner[each.key])}`);
  return `import korrin

map = korrin.load_map(${JSON.stringify(map)})
planner = korrin.PathPlanner(
    map${settings.join("")},
)
plan = planner.plan(${pythonPose(start)}, ${pythonPose(goal)})
if plan.outcome != korrin.PlanOutcome.Found:
    raise SystemExit(str(plan))  # which tells why
for x, y, _ in plan.waypoints:
    print(f"{x:.6g} {y:.6g}")
`;
}

export function planAsCommand({ map, start, goal, planner }) {
  const options = changedSettings(planner).map((each) => optionOf(each, planner[each.key]));
  const ends = [`--from=${plain(start.x)},${plain(start.y)}`, `--to=${plain(goal.x)},${plain(goal.y)}`];
  const words = [`korrin plan ${shellWord(map)}`, ends.join(" "), ...options, "--png plan.png"];
  return `${words.join(" \\\n  ")}\n`;
}
