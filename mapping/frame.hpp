// A pose, ready to move many points.
#pragma once

#include <cmath>

#include "korrin/mapping/pose_graph.hpp"

namespace Brin::mapping {

struct Frame {
  explicit Frame(const GraphPose& pose)
      : x(pose.x), y(pose.y), cosine(std::cos(pose.theta)), sine(std::sin(pose.theta)) {}

  // What is at (px, py) in this frame, seen from the frame that the pose is given in.
  double outX(double px, double py) const { return x + cosine * px - sine * py; }
  double outY(double px, double py) const { return y + sine * px + cosine * py; }

  // A direction, turned the same way.
  double turnedX(double px, double py) const { return cosine * px - sine * py; }
  double turnedY(double px, double py) const { return sine * px + cosine * py; }

  // The way back: what is at (px, py) out there, seen from this frame.
  double inX(double px, double py) const { return cosine * (px - x) + sine * (py - y); }
  double inY(double px, double py) const { return cosine * (py - y) - sine * (px - x); }

  double x;
  double y;
  double cosine;
  double sine;
};

}  // namespace Brin::mapping
