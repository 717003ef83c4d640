// What is on the screen while sensing or locating, as a program: C++, Python, or a command to type.
import { cppFloat, cppPose, pythonPose, shellWord } from "./code_plan.js";
import { plain } from "../format.js";
import { radiansOf } from "../settings.js";

const BLOCKING = 0.45; // cells less probably free than this stop a beam

const cppScanner = ({ beams, maxRange, fieldOfView }) =>
  `Brin::ScanModel(${plain(beams)}, ${cppFloat(maxRange)}, ${cppFloat(radiansOf(fieldOfView))})`;

const pythonScanner = ({ beams, maxRange, fieldOfView }) =>
  `korrin.ScanModel(${plain(beams)}, ${plain(maxRange)}, ${plain(radiansOf(fieldOfView))})`;

const cppScan = ({ map, robot, scanner }) => `#include <iostream>
#include <korrin/io/io.hpp>
#include <korrin/korrin.hpp>

int main() {
  const Brin::OccupancyMap map = Brin::io::readMapFile(${JSON.stringify(map)});
  const Brin::Pose2D robot = ${cppPose(robot)};
  Brin::Scan scan;
  Brin::occMapSimulateScan(map, ${cppScanner(scanner)}, robot,
                           scan.readings, ${cppFloat(BLOCKING)});
`;

const pythonScan = ({ map, robot, scanner }) => `import korrin

map = korrin.load_map(${JSON.stringify(map)})
scanner = ${pythonScanner(scanner)}
scan = korrin.occ_map_simulate_scan(map, scanner, ${pythonPose(robot)}, ${BLOCKING})
`;

export function senseInCpp(screen) {
  return `${cppScan(screen)}
  std::vector<Brin::ScanHole> openings;
  Brin::findScanHoles(scan, openings, ${cppFloat(screen.scanner.minWidth)});
  for (const Brin::ScanHole& opening : openings) {
    const Brin::Pose2D at = robot.absProject({opening.approachPoint.x, opening.approachPoint.y, 0});
    std::cout << "opening, approached at " << at.x << ' ' << at.y << '\\n';
  }
}
`;
}

export function senseInPython(screen) {
  return `${pythonScan(screen)}
robot = korrin.Pose2D${pythonPose(screen.robot)}
for opening in korrin.find_scan_holes(scan, ${plain(screen.scanner.minWidth)}):
    at = robot.abs_project((opening.approach_point.x, opening.approach_point.y, 0))
    print(f"opening, approached at {at.x:.6g} {at.y:.6g}")
`;
}

export function senseAsCommand({ map, robot, scanner }) {
  const pose = [robot.x, robot.y, robot.theta].map(plain).join(",");
  return `korrin simulate ${shellWord(map)} \\
  --pose=${pose} \\
  --beams ${plain(scanner.beams)} --fov ${plain(scanner.fieldOfView)} --range ${plain(scanner.maxRange)} \\
  --png scan.png
`;
}

export function locateInCpp(screen) {
  return `${cppScan(screen)}
  std::vector<Brin::Point2D> points;
  for (const Brin::RangeReading& reading : scan.readings) {
    if (reading.status == 0) points.push_back(reading.toPoint2D());
  }
  const Brin::PoseSearch search(map, ${cppFloat(BLOCKING)}, 0.3f);  // 0.3 m off counts nothing
  const auto everywhere = Brin::PoseGrid::around(map, map.params.resolution, 0.0175f);
  for (const Brin::ScoredPose& each : search.best(points, everywhere, 2, 1.0f)) {
    std::cout << each.pose.x << ' ' << each.pose.y << ' ' << each.pose.theta << " scores "
              << each.score << '\\n';
  }
}
`;
}

export function locateInPython(screen) {
  return `${pythonScan(screen)}
points = scan.to_point2d()[scan.readings["status"] == 0]
search = korrin.PoseSearch(map, ${BLOCKING}, 0.3)  # 0.3 m off counts nothing
everywhere = korrin.PoseGrid.around(map, map.params.resolution, 0.0175)
for each in search.best(points, everywhere, count=2, apart=1):
    print(f"{each.pose.x:.6g} {each.pose.y:.6g} {each.pose.theta:.6g} scores {each.score:.3f}")
`;
}

/** Where there is a log, one of its scans is looked for. */
export function locateAsCommand({ map, log }) {
  return `korrin locate ${shellWord(map)} ${shellWord(log.path)} --scan ${log.scan} \\
  --count 2 --png located.png
`;
}
