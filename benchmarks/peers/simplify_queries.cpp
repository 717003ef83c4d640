// A plan across the floor, cell by cell, made simple. reduce_path: the other library only leaves
// out poses; simplify_path: it does all it can, moving them, too.
#include <ompl/base/SpaceInformation.h>
#include <ompl/base/spaces/RealVectorStateSpace.h>
#include <ompl/geometric/PathGeometric.h>
#include <ompl/geometric/PathSimplifier.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "korrin/occupancy_mapper.hpp"
#include "korrin/safepathsimplifier.hpp"
#include "peers/agreement.hpp"
#include "peers/queries.hpp"

namespace korrin_peers {
namespace {

using Brin::OccupancyMap;
using Brin::Pose2D;
using ompl::base::RealVectorStateSpace;
using ompl::geometric::PathGeometric;
using Path = std::vector<Pose2D>;

Path planAcross(const Floor& floor) {
  Brin::OccMapPathFinder finder(&floor.map, 0.0f);
  finder.setObstacleThreshold(kObstacleThreshold);
  Path path;
  finder.computePath(floor.from, floor.to, path);
  return path;
}

// Segments of `path` with an obstacle on them, by our rays.
int blockedSegments(const Path& path, OccupancyMap map) {
  const Brin::OccupancyMapper mapper(&map);
  int blocked = 0;
  for (std::size_t i = 1; i < path.size(); ++i) {
    if (mapper.throwRay(path[i - 1], path[i], kObstacleThreshold).status == 0) ++blocked;
  }
  return blocked;
}

void report(benchmark::State& state, const Floor& floor, const Path& given, const Path& simple) {
  state.counters["given_poses"] = static_cast<double>(given.size());
  state.counters["given_length_m"] = pathLength(given);
  state.counters["left_poses"] = static_cast<double>(simple.size());
  state.counters["left_length_m"] = pathLength(simple);
  state.counters["deviation_m"] = largestDeviation(given, simple);
  state.counters["blocked_segments"] = blockedSegments(simple, floor.map);
}

void simplifyWithKorrin(benchmark::State& state, const Floor& floor) {
  const Path given = planAcross(floor);
  Brin::SafePathSimplifier simplifier;
  simplifier.setObstacleThreshold(kObstacleThreshold);
  Path simple;
  for (auto _ : state) simple = simplifier.sample(given, floor.map);
  report(state, floor, given, simple);
}

// The plane of a floor, in which a state is valid where its cell is free.
ompl::base::SpaceInformationPtr planeOf(const Floor& floor) {
  const OccupancyMap& map = floor.map;
  const double resolution = map.params.resolution;
  const auto space = std::make_shared<RealVectorStateSpace>(2);
  ompl::base::RealVectorBounds bounds(2);
  bounds.setLow(0.0);
  bounds.setHigh(0, map.params.width * resolution);
  bounds.setHigh(1, map.params.height * resolution);
  space->setBounds(bounds);
  const auto plane = std::make_shared<ompl::base::SpaceInformation>(space);
  plane->setStateValidityChecker([&map, resolution](const ompl::base::State* state) {
    const double* at = state->as<RealVectorStateSpace::StateType>()->values;
    return map.getCell(static_cast<int>(at[0] / resolution),
                       static_cast<int>(at[1] / resolution)) >= kObstacleThreshold;
  });
  // Motions are tested at least every half cell.
  plane->setStateValidityCheckingResolution(0.5 * resolution / space->getMaximumExtent());
  plane->setup();
  return plane;
}

PathGeometric omplPath(const ompl::base::SpaceInformationPtr& plane, const Path& path) {
  PathGeometric result(plane);
  ompl::base::ScopedState<RealVectorStateSpace> state(plane);
  for (const Pose2D& pose : path) {
    state[0] = pose.x;
    state[1] = pose.y;
    result.append(state.get());
  }
  return result;
}

Path korrinPath(PathGeometric& path) {
  Path result;
  for (const ompl::base::State* state : path.getStates()) {
    const double* at = state->as<RealVectorStateSpace::StateType>()->values;
    result.emplace_back(static_cast<float>(at[0]), static_cast<float>(at[1]), 0.0f);
  }
  return result;
}

// `simplify` works on a path in place; each run gets a fresh copy, outside the measured time.
template <typename Simplify>
void simplifyWithOmpl(benchmark::State& state, const Floor& floor, Simplify simplify) {
  const Path given = planAcross(floor);
  const auto plane = planeOf(floor);
  ompl::geometric::PathSimplifier simplifier(plane);
  const PathGeometric original = omplPath(plane, given);
  PathGeometric path = original;
  for (auto _ : state) {
    state.PauseTiming();
    path = original;
    state.ResumeTiming();
    simplify(simplifier, path);
  }
  report(state, floor, given, korrinPath(path));
}

void reduceWithOmpl(benchmark::State& state, const Floor& floor) {
  simplifyWithOmpl(state, floor,
                   [](auto& simplifier, PathGeometric& path) { simplifier.reduceVertices(path); });
}

void simplifyMaxWithOmpl(benchmark::State& state, const Floor& floor) {
  simplifyWithOmpl(state, floor,
                   [](auto& simplifier, PathGeometric& path) { simplifier.simplifyMax(path); });
}

}  // namespace

void registerSimplifyQueries() {
  onEveryFloor("reduce_path", "korrin", simplifyWithKorrin);
  onEveryFloor("reduce_path", "ompl", reduceWithOmpl);
  onEveryFloor("simplify_path", "korrin", simplifyWithKorrin);
  onEveryFloor("simplify_path", "ompl", simplifyMaxWithOmpl);
}

}  // namespace korrin_peers
