// One stretch of the way laid over another.
#pragma once

#include <utility>
#include <vector>

#include "mapping/agreement.hpp"
#include "mapping/key_graph.hpp"

namespace Brin::mapping {

// Metres of way whose scans are laid over each other.
constexpr double kStretch = 4.0;

// Everywhere a pose is that of the key `key`, seen from the key `place`.
class Overlay {
 public:
  // `graph` and `query`, the keys of the stretch that ends with `key`, are borrowed. The other
  // stretch lies around `place`.
  Overlay(const KeyGraph& graph, std::size_t place, std::size_t key,
          const std::vector<std::size_t>& query);

  std::size_t place() const { return place_; }
  std::size_t key() const { return key_; }
  // The keys around `place`.
  const std::vector<std::size_t>& reference() const { return reference_; }

  // Fits all scans of one stretch to all of the other; the last equation in `equation`.
  GraphPose fitted(GraphPose pose, PoseEquation& equation) const;

  // What each stretch says of the other's points: first of the query's.
  std::pair<Agreement, Agreement> agreements(const GraphPose& pose) const;

 private:
  PlacedSurface placed(std::size_t index, const GraphPose& pose) const;
  GraphPose referencePose(std::size_t index) const;
  GraphPose queryPose(const GraphPose& pose, std::size_t index) const;
  PoseEquation equationAt(const GraphPose& pose, const FitReach& reach) const;

  const KeyGraph& graph_;
  const std::size_t place_;
  const std::size_t key_;
  const std::vector<std::size_t>& query_;
  const std::vector<std::size_t> reference_;
};

}  // namespace Brin::mapping
