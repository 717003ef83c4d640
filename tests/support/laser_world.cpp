#include "support/laser_world.hpp"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace korrin_test {

namespace {

constexpr double kPi = 3.14159265358979323846;

std::vector<Wall> box(float left, float bottom, float right, float top) {
  return {{{left, bottom}, {right, bottom}},
          {{right, bottom}, {right, top}},
          {{right, top}, {left, top}},
          {{left, top}, {left, bottom}}};
}

// How far along the ray (x, y) + t (dx, dy) the wall is met; negative when it is not.
double meet(double x, double y, double dx, double dy, const Wall& wall) {
  const double wx = double{wall.to.x} - wall.from.x;
  const double wy = double{wall.to.y} - wall.from.y;
  const double cross = dx * wy - dy * wx;
  if (std::fabs(cross) < 1e-12) return -1.0;
  const double ax = wall.from.x - x;
  const double ay = wall.from.y - y;
  const double alongWall = (ax * dy - ay * dx) / cross;
  if (alongWall < 0.0 || alongWall > 1.0) return -1.0;
  return (ax * wy - ay * wx) / cross;
}

}  // namespace

LaserWorld LaserWorld::twoRooms() {
  std::vector<Wall> walls = box(0.0f, 0.0f, 8.0f, 5.0f);
  for (const Wall& wall : box(1.0f, 3.6f, 1.5f, 4.1f)) walls.push_back(wall);
  for (const Wall& wall : box(6.3f, 0.9f, 6.7f, 1.3f)) walls.push_back(wall);
  walls.push_back({{4.0f, 0.0f}, {4.0f, 2.0f}});
  walls.push_back({{4.0f, 3.0f}, {4.0f, 5.0f}});
  return LaserWorld(std::move(walls));
}

std::vector<Brin::Pose2D> LaserWorld::tourOfTwoRooms(int count) {
  std::vector<Brin::Pose2D> poses;
  for (int i = 0; i < count; ++i) {
    const double t = i / std::max(1.0, count - 1.0);  // from one room to the other
    const double swing = std::sin(2.0 * kPi * t);
    poses.emplace_back(static_cast<float>(1.0 + 6.0 * t), static_cast<float>(2.5 + 0.4 * swing),
                       static_cast<float>(std::sin(6.0 * kPi * t)));
  }
  return poses;
}

float LaserWorld::range(const Brin::Pose2D& pose, float noReturn) const {
  const double dx = std::cos(double{pose.theta});
  const double dy = std::sin(double{pose.theta});
  double nearest = noReturn;
  for (const Wall& wall : walls_) {
    const double distance = meet(pose.x, pose.y, dx, dy, wall);
    if (distance >= 0.0 && distance < nearest) nearest = distance;
  }
  return static_cast<float>(nearest);
}

std::vector<float> LaserWorld::ranges(const Brin::Pose2D& pose, int beams, float noReturn) const {
  std::vector<float> ranges;
  for (int i = 0; i < beams; ++i) {
    const double angle = -kPi / 2.0 + i * kPi / beams;
    const Brin::Pose2D beam(pose.x, pose.y, static_cast<float>(pose.theta + angle));
    const float exact = range(beam, noReturn);
    ranges.push_back(exact == noReturn ? noReturn : std::round(exact * 100.0f) / 100.0f);
  }
  return ranges;
}

Brin::Scan LaserWorld::scan(const Brin::Pose2D& pose, int beams, float noReturn) const {
  Brin::Scan scan;
  const std::vector<float> all = ranges(pose, beams, noReturn);
  for (int i = 0; i < beams; ++i) {
    const double angle = -kPi / 2.0 + i * kPi / beams;
    scan.readings.emplace_back(all[static_cast<std::size_t>(i)], static_cast<float>(angle));
    if (scan.readings.back().range == noReturn) scan.readings.back().status = 1;
  }
  return scan;
}

std::string LaserWorld::carmenLog(const std::vector<Brin::Pose2D>& poses, int beams,
                                  float noReturn) const {
  std::ostringstream log;
  log << "# a generated log\nPARAM robot_use_laser on 0 host 0\n" << std::setprecision(9);
  for (const Brin::Pose2D& pose : poses) {
    log << "ODOM " << pose.x << ' ' << pose.y << ' ' << pose.theta << " 0 0 0 1.0 host 1.0\n";
    log << flaserLine(ranges(pose, beams, noReturn), pose);
  }
  return log.str();
}

std::string flaserLine(const std::vector<float>& ranges, const Brin::Pose2D& pose) {
  std::ostringstream line;
  line << std::setprecision(9) << "FLASER " << ranges.size();
  for (const float range : ranges) line << ' ' << range;
  for (int i = 0; i < 2; ++i) line << ' ' << pose.x << ' ' << pose.y << ' ' << pose.theta;
  line << " 1.0 host 1.0\n";
  return line.str();
}

}  // namespace korrin_test
