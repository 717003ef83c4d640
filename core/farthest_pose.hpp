// The pose of a stretch of path that lies farthest from the segment between its ends: nearly all
// the work of simplifying a path, so four poses at a time.
//
// Distances are compared as they are in single precision, ties included. The root of the greatest
// square is the greatest of the roots, because a rounded root never falls where its square grows;
// so one root for a block of poses finds the distance. Only when that is asked for, the first pose
// at that very distance is looked for in the first block that has one.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "core/lanes.hpp"
#include "core/simplify_places.hpp"

namespace Brin {

class Segment {
 public:
  Segment(const Pose2D& a, const Pose2D& b)
      : x_(a.x), y_(a.y), dx_(b.x - a.x), dy_(b.y - a.y), lengthSquared_(dx_ * dx_ + dy_ * dy_) {}

  // The square of the distance of (x, y) to the segment, for one point or several.
  template <typename T>
  T squareTo(T x, T y) const {
    T t{};
    if (lengthSquared_ != 0.0f) {
      t = limit(((x - x_) * dx_ + (y - y_) * dy_) / lengthSquared_, 0.0f, 1.0f);
    }
    const T offX = x - (x_ + t * dx_);
    const T offY = y - (y_ + t * dy_);
    return offX * offX + offY * offY;
  }

 private:
  float x_;
  float y_;
  float dx_;
  float dy_;
  float lengthSquared_;
};

// Metres; a pose without a place is infinitely far.
inline float distanceOf(float square) {
  const float root = std::sqrt(square);
  return std::isnan(root) ? std::numeric_limits<float>::infinity() : root;
}

struct Farthest {
  std::size_t place;
  float distance;
};

// Poses of a path that are looked at together: from `begin` to before `end`.
struct Block {
  std::size_t begin;
  std::size_t end;
};

inline float greatestDistanceOfFew(PoseRange path, const Segment& segment, Block block) {
  float distance = 0.0f;
  for (std::size_t i = block.begin; i < block.end; ++i) {
    distance = std::max(distance, distanceOf(segment.squareTo(path[i].x, path[i].y)));
  }
  return distance;
}

inline Floats squaresTo(const Segment& segment, const Pose2D* poses) {
  const Positions positions = loadPositions(poses);
  return segment.squareTo(positions.x, positions.y);
}

// The greatest distance in a block. Where its poses make no whole number of fours, the last four
// overlap those before.
inline float greatestDistance(PoseRange path, const Segment& segment, Block block) {
  if (block.end - block.begin < kLanes) return greatestDistanceOfFew(path, segment, block);
  Floats most{};
  Ints isNoNumber{};
  for (std::size_t i = block.begin; i < block.end; i += kLanes) {
    const Floats squares = squaresTo(segment, &path[std::min(i, block.end - kLanes)]);
    most = choose(most < squares, squares, most);
    isNoNumber |= squares != squares;
  }
  return anyLane(isNoNumber) ? std::numeric_limits<float>::infinity() : distanceOf(greatest(most));
}

// The pose strictly between `first` and `last` that lies farthest from the segment between them,
// the earliest of several. Its place is right only if it is farther than `tolerance`.
inline Farthest findFarthest(PoseRange path, std::size_t first, std::size_t last, float tolerance) {
  constexpr std::size_t kBlock = 32;
  const Segment segment(path[first], path[last]);
  Farthest farthest{first, -1.0f};
  for (std::size_t begin = first + 1; begin < last; begin += kBlock) {
    const float distance = greatestDistance(path, segment, {begin, std::min(begin + kBlock, last)});
    if (distance > farthest.distance) farthest = {begin, distance};
    if (std::isinf(distance)) break;  // none is farther
  }
  if (!(farthest.distance > tolerance)) return farthest;
  const auto distanceAt = [&](std::size_t place) {
    return distanceOf(segment.squareTo(path[place].x, path[place].y));
  };
  while (farthest.place + 1 < last && distanceAt(farthest.place) != farthest.distance) {
    ++farthest.place;
  }
  return farthest;
}

}  // namespace Brin
