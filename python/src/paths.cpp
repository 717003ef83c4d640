#include <pybind11/stl.h>

#include <iterator>
#include <mutex>
#include <optional>

#include "korrin/core/path_simplifier.hpp"
#include "korrin/path_upsample.hpp"
#include "korrin/pathcoststats.hpp"
#include "korrin/safepathsimplifier.hpp"
#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/log.hpp"
#include "python/src/values.hpp"

namespace korrin_python {
namespace {

using Brin::OccupancyMap;
using Brin::PathCostStats;
using Brin::PathSimplifier;
using Brin::Pose2D;
using Brin::Pose2Di;
using Path = std::vector<Pose2D>;

// A simplifier for all threads: sampling writes into it.
struct SafeSimplifier : Brin::SafePathSimplifier {
  std::mutex mutex;

  Path sampleOn(const Path& path, const OccupancyMap& map, std::optional<float> accuracy) {
    Path few;
    unlocked([&] {
      const std::lock_guard<std::mutex> lock(mutex);
      few = xRecursiveSample(path, map, accuracy.value_or(initialSamplingAccuracy));
    });
    return few;
  }
};

void bindPathSimplifier(py::module_& module) {
  py::class_<PathSimplifier> type(
      module, "PathSimplifier",
      R"(Fewer poses, the same way, up to a tolerance; knows no obstacles.

`sampling_accuracy` is how far, in millimetres, a dropped pose may lie from the segment that
replaces it (50 at first).

>>> korrin.PathSimplifier().sample([(0, 0, 0), (1, 0.01, 0), (2, 0, 0)]).tolist()
[[0.0, 0.0, 0.0], [2.0, 0.0, 0.0]]
)");
  actsAsRecord(type, PathSimplifier(),
               Field{"sampling_accuracy", &PathSimplifier::samplingAccuracy, "Millimetres"});
  type.def(py::init<>())
      .def(
          "sample",
          [](const PathSimplifier& self, const Path& path) {
            const PathSimplifier simplifier = self;
            Path few;
            unlocked([&] { few = simplifier.sample(path); });
            return few;
          },
          py::arg("path"), R"(A subsequence of `path` (N x 3) with its first and last pose.

An accuracy that is not finite gives the path back, with one log record.

>>> korrin.PathSimplifier().sample([(0, 0, 0), (1, 1, 0), (2, 0, 0)]).shape
(3, 3)
)");
}

void safeSimplifierActsAsValue(py::class_<SafeSimplifier>& type) {
  using S = Brin::SafePathSimplifier;
  type.def_readwrite("initial_sampling_accuracy", &S::initialSamplingAccuracy, "Millimetres")
      .def_readwrite("min_sampling_accuracy", &S::minSamplingAccuracy, "Millimetres")
      .def_readwrite("accuracy_divisor", &S::accuracyDivisor, "From one level to the next")
      .def_readwrite("obstacle_threshold", &S::obstacleThreshold, "A cell below it blocks");
  const auto make = [](float initial, float min, float divisor, float threshold, float inner) {
    auto made = std::make_unique<SafeSimplifier>();
    made->initialSamplingAccuracy = initial;
    made->minSamplingAccuracy = min;
    made->accuracyDivisor = divisor;
    made->obstacleThreshold = threshold;
    made->pathSimplifier->samplingAccuracy = inner;
    return made;
  };
  actsAsValue(type, make, Field{"initial_sampling_accuracy", &S::initialSamplingAccuracy},
              Field{"min_sampling_accuracy", &S::minSamplingAccuracy},
              Field{"accuracy_divisor", &S::accuracyDivisor},
              Field{"obstacle_threshold", &S::obstacleThreshold},
              Field{"sampling_accuracy", [](const SafeSimplifier& self) {
                      return self.pathSimplifier->samplingAccuracy;
                    }});
}

void bindSafePathSimplifier(py::module_& module) {
  using S = Brin::SafePathSimplifier;
  py::class_<SafeSimplifier> type(module, "SafePathSimplifier",
                                  R"(Few poses whose straight segments keep clear of obstacles.

Simplifies coarsely first (300 millimetres) and, where a segment is blocked, ever more finely (down
to 5); what stays blocked is kept as it came.

>>> map = korrin.OccupancyMap(40, 40, 0.25)
>>> map.reset(1)
>>> path = korrin.OccMapPathFinder(map, 0).compute_path((1, 1, 0), (8, 1, 0))
>>> len(path), len(korrin.SafePathSimplifier().sample(path, map))
(29, 2)
)");
  type.def(py::init<>())
      .def_property_readonly(
          "path_simplifier", [](SafeSimplifier& self) { return self.pathSimplifier; },
          py::return_value_policy::reference_internal, "The simplifier used inside")
      .def("set_initial_sampling_accuracy", &S::setInitialSamplingAccuracy, py::arg("accuracy"),
           R"(Sets the accuracy of the first level, in millimetres.

>>> korrin.SafePathSimplifier().set_initial_sampling_accuracy(100)
)")
      .def("get_initial_sampling_accuracy", &S::getInitialSamplingAccuracy,
           R"(The accuracy of the first level, in millimetres.

>>> korrin.SafePathSimplifier().get_initial_sampling_accuracy()
300.0
)")
      .def("set_obstacle_threshold", &S::setObstacleThreshold, py::arg("threshold"),
           R"(Sets the value below which a cell blocks a segment.

>>> korrin.SafePathSimplifier().set_obstacle_threshold(0.45)
)")
      .def("get_obstacle_threshold", &S::getObstacleThreshold,
           R"(The value below which a cell blocks a segment.

>>> round(korrin.SafePathSimplifier().get_obstacle_threshold(), 3)
0.1
)")
      .def(
          "sample",
          [](SafeSimplifier& self, const Path& path, const OccupancyMap& map) {
            return self.sampleOn(path, map, std::nullopt);
          },
          py::arg("path"), py::arg("map"),
          R"(`path` (N x 3 world poses) simplified on `map`, its first and last pose included.

>>> map = korrin.OccupancyMap(4, 4, 1)
>>> korrin.SafePathSimplifier().sample([(0, 0, 0), (1, 0, 0), (2, 0, 0)], map).shape
(2, 3)
)")
      .def(
          "x_recursive_sample",
          [](SafeSimplifier& self, const Path& path, const OccupancyMap& map, float accuracy) {
            return self.sampleOn(path, map, accuracy);
          },
          py::arg("path"), py::arg("map"), py::arg("accuracy"),
          R"(The same, beginning with an accuracy in millimetres.

>>> map = korrin.OccupancyMap(4, 4, 1)
>>> path = [(0, 0, 0), (1, 0.1, 0), (2, 0, 0)]
>>> len(korrin.SafePathSimplifier().x_recursive_sample(path, map, 50))
3
)");
  safeSimplifierActsAsValue(type);
  module.def(
      "find_closest_in_vect",
      [](const Path& v, const Pose2D& p, float maxDist) -> std::optional<std::ptrdiff_t> {
        const auto found = Brin::findClosestInVect(v, p, maxDist);
        if (found == v.end()) return std::nullopt;
        return std::distance(v.begin(), found);
      },
      py::arg("v"), py::arg("p"), py::arg("max_dist"),
      R"(The index of the pose of `v` (N x 3) nearest to `p` and nearer than `max_dist` metres.

None when there is none; the earliest of several.

>>> korrin.find_closest_in_vect([(0, 0, 0), (1, 0, 0), (2, 0, 0)], (1.2, 0, 0), 100)
1
)");
}

void bindPathCosts(py::module_& module) {
  py::class_<PathCostStats> type(module, "PathCostStats", R"(What was met along a path.

Lowest, highest and mean cell value, and the length in metres; -1 is a cell outside the map.

>>> korrin.PathCostStats().min_cost
1.0
)");
  type.def(py::init<>());
  actsAsRecord(type, PathCostStats(),
               Field{"min_cost", &PathCostStats::minCost, "The lowest value"},
               Field{"max_cost", &PathCostStats::maxCost, "The highest value"},
               Field{"avg_cost", &PathCostStats::avgCost, "The mean value"},
               Field{"length", &PathCostStats::length, "Metres"});
  module.def("merge_path_cost_stats", &Brin::mergePathCostStats, py::arg("a"), py::arg("b"),
             R"(Both summaries as one, the means weighted by length.

>>> a, b = korrin.PathCostStats(), korrin.PathCostStats()
>>> a.length, a.avg_cost, b.length, b.avg_cost = 1, 1, 3, 0
>>> korrin.merge_path_cost_stats(a, b).avg_cost
0.25
)");
  module.def(
      "compute_path_cost_stat",
      [](const OccupancyMap& map, const Path& path, std::optional<float> maxLength) {
        PathCostStats stats;
        const float* limit = maxLength ? &*maxLength : nullptr;
        unlocked([&] { stats = Brin::computePathCostStat(map, path, limit); });
        return stats;
      },
      py::arg("map"), py::arg("path"), py::arg("max_length") = py::none(),
      R"(The cell values met along `path` (N x 3), at most for `max_length` metres.

>>> map = korrin.OccupancyMap(10, 1, 1)
>>> map.image[0, 4] = 0.25
>>> ahead = korrin.compute_path_cost_stat(map, [(0, 0, 0), (9, 0, 0)], max_length=6)
>>> ahead.min_cost, ahead.max_cost, ahead.length
(0.25, 0.5, 6.0)
)");
}

}  // namespace

void bindPaths(py::module_& module) {
  module.def(
      "path_up_sample",
      [](const std::vector<Pose2Di>& in) {
        std::vector<Pose2Di> cells;
        unlocked([&] { Brin::pathUpSample(in, cells); });
        return cells;
      },
      py::arg("in_"), R"(The cells (N x 3) of the straight lines between those of `in_`.

All headings are 0. No cell or a single one gives none.

>>> korrin.path_up_sample([(0, 0, 0), (3, 1, 0)])[:, :2].astype(int).tolist()
[[0, 0], [1, 0], [2, 1], [3, 1]]
)");
  bindPathSimplifier(module);
  bindSafePathSimplifier(module);
  bindPathCosts(module);
}

}  // namespace korrin_python
