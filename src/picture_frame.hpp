// Poses of a grid taken to the picture that scans are scored on.
#pragma once

#include <cmath>
#include <cstdint>

#include "korrin/core/geometry.hpp"
#include "korrin/pose_search.hpp"
#include "src/score_pyramid.hpp"

namespace Brin {

class PictureFrame {
 public:
  // Poses as they are.
  PictureFrame() = default;
  // Poses in the frame of `origin`, as origin.relProject gives them.
  explicit PictureFrame(const Pose2D& origin)
      : isMoved_(true),
        origin_(origin),
        cosine_(std::cos(origin.theta)),
        sine_(std::sin(origin.theta)) {}

  const Pose2D& origin() const { return origin_; }
  bool isFinite() const {
    return std::isfinite(origin_.x) && std::isfinite(origin_.y) && std::isfinite(origin_.theta);
  }
  bool isTurned() const { return cosine_ != 1.0f || sine_ != 0.0f; }
  // How far a step along both axes of a grid goes along one of the picture's, at most.
  float spread() const { return std::fabs(cosine_) + std::fabs(sine_); }

  float headingOf(float theta) const {
    return isMoved_ ? canonicalAngle(theta - origin_.theta) : theta;
  }
  Point2D placeOf(float x, float y) const {
    if (!isMoved_) return {x, y};
    const float dx = x - origin_.x;
    const float dy = y - origin_.y;
    return {cosine_ * dx + sine_ * dy, cosine_ * dy - sine_ * dx};
  }

  // The places of all poses between two. Each coordinate of a place depends on both of the pose's
  // by operations that keep their order or turn it round, so its ends are at two of the corners.
  PlaceBox placesOf(const Pose2D& low, const Pose2D& high) const {
    const bool turnsBack = cosine_ < 0.0f;
    const bool turnsRight = sine_ < 0.0f;
    const auto corner = [&](bool isHighX, bool isHighY) {
      return placeOf(isHighX ? high.x : low.x, isHighY ? high.y : low.y);
    };
    return {corner(turnsBack, turnsRight).x, corner(!turnsBack, !turnsRight).x,
            corner(!turnsRight, turnsBack).y, corner(turnsRight, !turnsBack).y};
  }

 private:
  bool isMoved_ = false;
  Pose2D origin_;
  float cosine_ = 1.0f;
  float sine_ = 0.0f;
};

}  // namespace Brin
