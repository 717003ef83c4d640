// Whether a fit of scans tells where a robot is in all directions, or, as between two bare walls,
// in one alone.
#pragma once

#include <Eigen/Core>

namespace Brin::mapping {

// How well the worst known direction of a place is known, as a share of how well the best known one
// is: of the information on x and y, with the heading as unknown as `information` has it, the least
// eigenvalue by the greatest. 0 where nothing is known of the heading, or of the place.
inline double roundness(const Eigen::Matrix3d& information) {
  if (!(information(2, 2) > 0.0)) return 0.0;
  const Eigen::Vector2d shared = information.topRightCorner<2, 1>();
  const Eigen::Matrix2d place =
      information.topLeftCorner<2, 2>() - shared * shared.transpose() / information(2, 2);
  const double mean = 0.5 * place.trace();
  const double spread = Eigen::Vector2d(0.5 * (place(0, 0) - place(1, 1)), place(0, 1)).norm();
  return mean - spread > 0.0 ? (mean - spread) / (mean + spread) : 0.0;
}

}  // namespace Brin::mapping
