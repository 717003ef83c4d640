// A building of straight walls and the laser logs that a robot brings home from it, computed from
// the walls themselves: no grid, so nothing of what is tested.
//
//   LaserWorld world = LaserWorld::twoRooms();
//   std::string log = world.carmenLog(LaserWorld::tourOfTwoRooms(40), 180);
#pragma once

#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_test {

struct Wall {
  Brin::Point2D from;
  Brin::Point2D to;
};

class LaserWorld {
 public:
  explicit LaserWorld(std::vector<Wall> walls) : walls_(std::move(walls)) {}

  // Two rooms side by side, x from 0 to 8 and y from 0 to 5 metres, with a pillar each, joined by
  // a doorway in the wall x = 4, open from y = 2 to y = 3.
  static LaserWorld twoRooms();
  // `count` poses through both rooms and the doorway.
  static std::vector<Brin::Pose2D> tourOfTwoRooms(int count);

  // The distance from `pose` along its heading to the nearest wall; `noReturn` without one.
  float range(const Brin::Pose2D& pose, float noReturn) const;
  // The readings of a scanner of `beams` beams from -90 degrees on, 180 / beams degrees apart,
  // rounded to a centimetre, as the logs have them. A beam without a wall reads `noReturn`.
  std::vector<float> ranges(const Brin::Pose2D& pose, int beams, float noReturn) const;
  // The same as a scan; beams without a wall have status 1.
  Brin::Scan scan(const Brin::Pose2D& pose, int beams, float noReturn) const;
  // One FLASER line for each pose, with an ODOM line before it.
  std::string carmenLog(const std::vector<Brin::Pose2D>& poses, int beams,
                        float noReturn = 81.91f) const;

 private:
  std::vector<Wall> walls_;
};

// One FLASER line, with its line end.
std::string flaserLine(const std::vector<float>& ranges, const Brin::Pose2D& pose);

}  // namespace korrin_test
