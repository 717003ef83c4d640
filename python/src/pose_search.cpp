#include "korrin/pose_search.hpp"

#include <opencv2/core/core_c.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/dist_map.hpp"
#include "python/src/log.hpp"
#include "python/src/values.hpp"

namespace korrin_python {
namespace {

using Brin::OccupancyMap;
using Brin::OccupancyMapParams;
using Brin::Point2D;
using Brin::Pose2D;
using Brin::PoseGrid;
using Brin::PoseSearch;
using Brin::ScanDistMap;
using Brin::ScoredPose;

// A search with what it was made of, to be made again from a pickle: a map of its own, or the
// images of a reference as they were.
class Search {
 public:
  Search(std::shared_ptr<OccupancyMap> own, float threshold, float maxDist)
      : map_(std::move(own)), threshold_(threshold), maxDist_(maxDist) {
    unlocked([&] { search_.emplace(*map_, threshold, maxDist); });
  }

  Search(const DistMap& reference, float maxDist) : reference_(reference), maxDist_(maxDist) {
    const ScanDistMap distances = reference_.current();
    unlocked([&] { search_.emplace(distances, maxDist); });
  }

  const std::shared_ptr<OccupancyMap>& map() const { return map_; }
  float threshold() const { return threshold_; }
  Pixels distances() const { return {reference_.view(&ScanDistMap::distanceMap)}; }
  float resolution() const { return reference_.resolution; }
  std::int32_t step() const { return reference_.step; }
  float maxDist() const { return maxDist_; }

  std::vector<ScoredPose> best(const std::vector<Point2D>& points, const PoseGrid& grid, int count,
                               float apart, float turned) const {
    const PoseGrid own = grid;  // Python may change it meanwhile
    std::vector<ScoredPose> found;
    unlocked([&] { found = search_->best(points, own, count, apart, turned); });
    return found;
  }

  float score(const std::vector<Point2D>& points, const Pose2D& pose) const {
    float score = 0.0f;
    unlocked([&] { score = search_->score(points, pose); });
    return score;
  }

 private:
  std::shared_ptr<OccupancyMap> map_;
  float threshold_ = 0.0f;
  DistMap reference_;
  float maxDist_;
  std::optional<PoseSearch> search_;
};

void searchActsAsValue(py::class_<Search>& type) {
  const auto make = [](std::shared_ptr<OccupancyMap> map, float threshold, const Pixels& distances,
                       float resolution, std::int32_t step, float maxDist) {
    if (map) return std::make_unique<Search>(std::move(map), threshold, maxDist);
    auto built = std::make_shared<Built>();
    built->map.distanceMap = imageOf(distances.array, "distance_map");
    DistMap reference;
    reference.resolution = resolution;
    reference.step = step;
    reference.built = std::move(built);
    return std::make_unique<Search>(reference, maxDist);
  };
  actsAsValue(type, make, Field{"map", &Search::map}, Field{"threshold", &Search::threshold},
              Field{"distance_map", &Search::distances}, Field{"resolution", &Search::resolution},
              Field{"step", &Search::step}, Field{"max_dist", &Search::maxDist});
}

constexpr const char* kGridDoc = R"(A grid of poses around a centre.

The pose (i, j, k) is (x + i * step, y + j * step, theta + k * turn_step) of the centre; i, j and k go
from as many steps below it to as many above as `reach_x`, `reach_y` and `turn` hold. Its order: the
heading slowest, then y, then x, each from the lowest up.

>>> grid = korrin.PoseGrid((1, 2, 0), reach_x=0.5, reach_y=0.2, turn=0.1, step=0.1, turn_step=0.05)
>>> grid.shifts_x(), grid.shifts_y(), grid.turns(), grid.poses()
(5, 2, 2, 275)
>>> grid.pose(-5, 0, 0)
Pose2D(x=0.5, y=2, theta=0)
)";

void bindGrid(py::module_& module) {
  py::class_<PoseGrid> type(module, "PoseGrid", kGridDoc);
  const PoseGrid blank;
  type.def(py::init([](const Pose2D& centre, float reachX, float reachY, float turn, float step,
                       float turnStep) {
             return PoseGrid{centre, reachX, reachY, turn, step, turnStep};
           }),
           py::arg("centre") = Pose2D(), py::arg("reach_x") = blank.reachX,
           py::arg("reach_y") = blank.reachY, py::arg("turn") = blank.turn,
           py::arg("step") = blank.step, py::arg("turn_step") = blank.turnStep)
      .def_static(
          "around",
          [](const OccupancyMap& map, float step, float turnStep) {
            return PoseGrid::around(map, step, turnStep);
          },
          py::arg("map"), py::arg("step"), py::arg("turn_step"),
          R"(The grid over a whole map, or its params, and all headings.

>>> korrin.PoseGrid.around(korrin.OccupancyMap(10, 10, 1), 0.5, 0.1).poses()
33327
)")
      .def_static("around", &PoseGrid::around, py::arg("map"), py::arg("step"),
                  py::arg("turn_step"))
      .def("shifts_x", &PoseGrid::shiftsX, R"(How many steps there are to either side along x.

>>> korrin.PoseGrid(reach_x=0.32, step=0.1).shifts_x()
3
)")
      .def("shifts_y", &PoseGrid::shiftsY, R"(How many steps there are to either side along y.

>>> korrin.PoseGrid(reach_y=0.32, step=0.1).shifts_y()
3
)")
      .def("turns", &PoseGrid::turns, R"(How many turn_steps there are to either side.

>>> korrin.PoseGrid(turn=0.5, turn_step=0.2).turns()
2
)")
      .def("poses", &PoseGrid::poses, R"(How many poses there are; 0 where that makes no sense.

>>> korrin.PoseGrid(step=0).poses()
0
)")
      .def("pose", &PoseGrid::pose, py::arg("i"), py::arg("j"), py::arg("k"),
           R"(The pose that many steps from the centre.

>>> korrin.PoseGrid(step=0.5).pose(2, -1, 0)
Pose2D(x=1, y=-0.5, theta=0)
)");
  using G = PoseGrid;
  actsAsRecord(type, blank, Field{"centre", &G::centre, "Pose in the middle"},
               Field{"reach_x", &G::reachX, "Metres to either side along x"},
               Field{"reach_y", &G::reachY, "Metres to either side along y"},
               Field{"turn", &G::turn, "Radians to either side"},
               Field{"step", &G::step, "Metres from one place to the next"},
               Field{"turn_step", &G::turnStep, "Radians from one heading to the next"});
}

void bindScoredPose(py::module_& module) {
  py::class_<ScoredPose> type(module, "ScoredPose", R"(A pose and how well a scan fits there.

>>> search = korrin.PoseSearch(korrin.OccupancyMap(10, 10, 1), 0.45, 2)
>>> search.best([(1, 0)], korrin.PoseGrid(turn=0, reach_x=0, reach_y=0))
[ScoredPose(pose=Pose2D(x=0, y=0, theta=0), score=0)]
)");
  type.def(py::init([](const Pose2D& pose, float score) {
             return ScoredPose{pose, score};
           }),
           py::arg("pose") = Pose2D(), py::arg("score") = 0.0f);
  actsAsRecord(type, ScoredPose(), Field{"pose", &ScoredPose::pose, "Where"},
               Field{"score", &ScoredPose::score, "1 is a perfect fit"});
}

constexpr const char* kSearchDoc =
    R"(Where was a scan taken? The best pose on a map, or on a reference scan.

Of a grid of poses it finds the one that scan_score scores highest, to the last bit, without scoring
them all. On a map, cells below `threshold` are hits and poses are in the world; on a ScanDistMap they
are in its frame. Beyond `max_dist` metres from a hit a point adds nothing. The search keeps what the
map is when it is made.

>>> map = korrin.OccupancyMap.from_array(np.ones((30, 40), np.float32), 0.1)
>>> map.image[5, 10:30] = 0
>>> map.image[5:20, 10] = 0
>>> search = korrin.PoseSearch(map, 0.45, 0.5)
>>> points = [(x, 0) for x in np.arange(0, 1.95, 0.1)] + [(0, y) for y in np.arange(0.1, 1.45, 0.1)]
>>> found = search.best(points, korrin.PoseGrid.around(map, 0.1, 0.1), count=2, apart=1)
>>> found[0].score > 0.99, found[0].score > found[1].score
(True, True)
)";

constexpr const char* kBestDoc = R"(The pose of `grid` where `points` (N x 2, metres, in the
sensor's frame) score highest, and the earliest in the grid's order of several that do: a list of
ScoredPose. With a `count` above 1 it goes on with runners-up, each the best of the poses that are
elsewhere than all before: `apart` metres away, or turned by `turned` radians.

>>> map = korrin.OccupancyMap(10, 10, 1)
>>> map.reset(1)
>>> map.set_cell(3, 4, 0)
>>> grid = korrin.PoseGrid((5, 5, 0), reach_x=5, reach_y=5, turn=0, step=1)
>>> korrin.PoseSearch(map, 0.45, 2).best([(0, 0)], grid)
[ScoredPose(pose=Pose2D(x=3, y=4, theta=0), score=1)]
)";

void bindSearch(py::module_& module) {
  py::class_<Search> type(module, "PoseSearch", kSearchDoc);
  type.def(py::init([](const OccupancyMap& map, float threshold, float maxDist) {
             return std::make_unique<Search>(std::make_shared<OccupancyMap>(map), threshold,
                                             maxDist);
           }),
           py::arg("map"), py::arg("threshold"), py::arg("max_dist"))
      .def(py::init<const DistMap&, float>(), py::arg("reference"), py::arg("max_dist"))
      .def("best", &Search::best, py::arg("points"), py::arg("grid"), py::arg("count") = 1,
           py::arg("apart") = 0.5f, py::arg("turned") = 0.5f, kBestDoc)
      .def("score", &Search::score, py::arg("points"), py::arg("pose"),
           R"(The score of one pose, as best() counts it.

>>> map = korrin.OccupancyMap(10, 10, 1)
>>> map.reset(1)
>>> map.set_cell(3, 4, 0)
>>> korrin.PoseSearch(map, 0.45, 2).score([(0, 0), (0, 1)], (3, 3, 0)) > 0.5
True
)");
  searchActsAsValue(type);
}

}  // namespace

void bindPoseSearch(py::module_& module) {
  bindGrid(module);
  bindScoredPose(module);
  bindSearch(module);
}

}  // namespace korrin_python
