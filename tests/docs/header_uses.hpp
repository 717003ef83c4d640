// What the short uses at the tops of the headers take for granted: maps, scans, poses, files and
// what a robot's program would do with the answers.
#pragma once

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <iostream>
#include <korrin/io/io.hpp>
#include <korrin/korrin.hpp>
#include <korrin/mapping/mapping.hpp>
#include <string>
#include <vector>

inline Brin::OccupancyMap roomMap() {
  Brin::OccupancyMap room(200, 100, 0.05f, true);
  room.reset(1.0f);
  for (int y = 0; y < 80; ++y) room.setCell(100, y, 0.0f);
  return room;
}

inline Brin::Scan someScan() {
  Brin::Scan scan;
  Brin::occMapSimulateScan(roomMap(), Brin::ScanModel(90, 4.0f, 3.0f), {2, 2, 0}, scan.readings,
                           0.45f);
  return scan;
}

inline Brin::ScanDistMap someReference() {
  Brin::ScanDistMap reference;
  reference.build(someScan(), {0, 0, 0}, 0.05f);
  return reference;
}

inline Brin::OccupancyMap map = roomMap();
inline const Brin::Pose2D robotPose(1, 1, 0), robot = robotPose, pose = robotPose, from = robotPose,
                                              guess;
inline const Brin::Pose2D goalPose(9, 1, 0), goal = goalPose, to = goalPose;
inline const std::vector<Brin::Pose2D> path = {{1, 1, 0}, {2, 1, 0}, {3, 1, 0}}, waypoints = path,
                                       poses = path;
inline const std::vector<Brin::Point2D> points = {{1, 1}, {2, 1}};
inline const Brin::Scan scan = someScan(), otherScan = scan;
inline const Brin::ScanModel scanner(90, 4.0f, 3.0f);
inline const Brin::ScanDistMap reference = someReference();
inline std::vector<Brin::RangeReading> readings, simulated = scan.readings, measured = simulated;
inline const int x = 20, y = 20;
inline const Brin::Pose2D odometry = robotPose;
inline const std::vector<Brin::io::LoggedScan> scans(3, {scan, robotPose, robotPose, 0.0, 0});
inline const Brin::mapping::Alignment aligned = Brin::mapping::alignLog(scans);

inline void myLogger(const std::string&) {}
template <typename... Given>
void draw(const Given&...) {}
template <typename... Given>
void drive(const Given&...) {}
template <typename... Given>
void driveTo(const Given&...) {}
template <typename... Given>
void backOffFrom(const Given&...) {}
template <typename... Given>
void robotStandsAt(const Given&...) {}
inline void slowDown() {}

// The files that are read.
inline void writeFiles() {
  Brin::io::writeMapFile(map, "office.yaml");
  Brin::io::LaserLog log;
  log.scans.emplace_back();
  log.scans.back().scan = scan;
  Brin::io::writeLaserLog(log, "office.log.gz");
}
