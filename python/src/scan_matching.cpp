#include "korrin/scan_matching.hpp"

#include <opencv2/core/core_c.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <utility>

#include "korrin/batch_scoring.hpp"
#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/dist_map.hpp"
#include "python/src/log.hpp"
#include "python/src/values.hpp"

namespace korrin_python {
namespace {

using Brin::Point2D;
using Brin::Pose2D;
using Brin::Scan;
using Brin::ScanDistMap;
using Points = std::vector<Point2D>;
void distMapActsAsValue(py::class_<DistMap>& type) {
  const auto make = [](float resolution, std::int32_t step, const Pixels& distances,
                       const Pixels& picture) {
    auto built = std::make_shared<Built>();
    built->map.distanceMap = imageOf(distances.array, "distance_map");
    built->map.laserImage = imageOf(picture.array, "laser_image");
    DistMap made;
    made.resolution = resolution;
    made.step = step;
    made.built = std::move(built);
    return made;
  };
  const auto pixels = [](IplImage* ScanDistMap::*image) {
    return [image](const DistMap& self) { return Pixels{self.view(image)}; };
  };
  actsAsValue(type, make, Field{"resolution", &DistMap::resolution}, Field{"step", &DistMap::step},
              Field{"distance_map", pixels(&ScanDistMap::distanceMap)},
              Field{"laser_image", pixels(&ScanDistMap::laserImage)});
}

constexpr const char* kDistMapDoc = R"(A reference scan's distance map: how well do others fit it?

score() gives a pair: the score, 1 for a perfect fit, and how many points matched.

>>> scan = korrin.Scan([2, 2.5, 3], angle_min=-0.5, angle_increment=0.5)
>>> reference = korrin.ScanDistMap()
>>> reference.build(scan, (0, 0, 0), 0.05)        # metres per pixel
>>> reference.score(scan, (0, 0, 0), 0.5)         # metres from which on nothing counts
(1.0, 3)
>>> score, count = reference.score(scan, (0.1, 0, 0), 0.5)
>>> 0.5 < score < 1
True
)";

constexpr const char* kScoreDoc = R"(The fit of a Scan or of points (N x 2, metres), placed at
`pose`: a pair of the score in [0, 1] and the number of matches. Farther than `max_dist` metres from
the reference's hits nothing counts.

>>> reference = korrin.ScanDistMap()
>>> reference.build(korrin.Scan([2, 3], 0, 0.5), (0, 0, 0), 0.05)
>>> reference.score([(2, 0), (9, 9)], (0, 0, 0), 0.5)
(0.5, 1)
)";

void bindDistMap(py::module_& module) {
  py::class_<DistMap> type(module, "ScanDistMap", kDistMapDoc);
  distMapActsAsValue(type);
  type.def(py::init<>())
      .def_readwrite("resolution", &DistMap::resolution, "Metres per pixel")
      .def_readwrite("step", &DistMap::step, "Every step-th point is scored")
      .def_property_readonly(
          "distance_map", [](const DistMap& self) { return self.view(&ScanDistMap::distanceMap); },
          "Pixels to the nearest hit: float32, the memory of the last build; None before")
      .def_property_readonly(
          "laser_image", [](const DistMap& self) { return self.view(&ScanDistMap::laserImage); },
          "The reference's picture, hits 0: the memory of the last build; None before")
      .def("build", &DistMap::build, py::arg("scan"), py::arg("pose"), py::arg("resolution"),
           R"(Makes the distance map of a scan turned by pose.theta, at metres per pixel.

Arrays of an earlier build keep showing that one.

>>> reference = korrin.ScanDistMap()
>>> reference.build(korrin.Scan([1], 0, 0), (0, 0, 0), 0.5)
>>> float(reference.distance_map.min())
0.0
)")
      .def(
          "score",
          [](const DistMap& self, const Scan& scan, const Pose2D& pose, float maxDist) {
            return self.score<Scan>(&ScanDistMap::score, scan, pose, maxDist);
          },
          py::arg("scan"), py::arg("pose"), py::arg("max_dist"), kScoreDoc)
      .def(
          "score",
          [](const DistMap& self, const Points& points, const Pose2D& pose, float maxDist) {
            return self.score<Points>(&ScanDistMap::score, points, pose, maxDist);
          },
          py::arg("points"), py::arg("pose"), py::arg("max_dist"))
      .def(
          "score_pxl_scan",
          [](const DistMap& self, const Points& points, const Pose2D& pose, float maxDist) {
            return self.score<Points>(&ScanDistMap::scorePxlScan, points, pose, maxDist);
          },
          py::arg("points"), py::arg("pose"), py::arg("max_dist"),
          R"(The score of points given in pixels off the map's centre; `pose` is in metres.

>>> reference = korrin.ScanDistMap()
>>> reference.build(korrin.Scan([1], 0, 0), (0, 0, 0), 0.5)
>>> reference.score_pxl_scan([(2, 0)], (0, 0, 0), 0.5)
(1.0, 1)
)");
}

template <typename Readings>
ScoreAndCount scanScore(py::array distanceMap, const Readings& readings, const Pose2D& pose,
                        float resolution, float maxDist, std::optional<py::array> debugImage,
                        int step) {
  ArrayImage map = ArrayImage::readable(std::move(distanceMap), "distance_map");
  std::optional<ArrayImage> debug;
  if (debugImage) debug = ArrayImage::writable(*std::move(debugImage), "debug_image");
  IplImage* drawn = debug ? debug->get() : nullptr;
  float score = 0.0f;
  int count = 0;
  unlocked([&] {
    score = Brin::scanScore(map.get(), readings, pose, resolution, maxDist, &count,
                            debug ? &drawn : nullptr, step);
  });
  return {score, count};
}

template <typename Readings>
std::pair<py::array_t<float>, py::array_t<int>> scanScores(py::array distanceMap,
                                                           const Readings& readings,
                                                           const std::vector<Pose2D>& poses,
                                                           float resolution, float maxDist,
                                                           int step) {
  ArrayImage map = ArrayImage::readable(std::move(distanceMap), "distance_map");
  std::vector<float> scores;
  std::vector<int> counts;
  unlocked([&] {
    Brin::scanScores(map.get(), readings, poses, resolution, maxDist, scores, &counts, step);
  });
  return {takeOver(std::move(scores)), takeOver(std::move(counts))};
}

std::pair<py::object, py::object> buildLaserDistance(const Scan& scan, const Pose2D& pose,
                                                     float resolution,
                                                     const py::object& laserImage) {
  IplImage* distances = nullptr;
  if (laserImage.is_none()) {
    IplImage* picture = nullptr;
    unlocked([&] { Brin::buildLaserDistance(scan, pose, &picture, &distances, resolution); });
    return {takeOver(picture), takeOver(distances)};
  }
  ArrayImage given = ArrayImage::readable(py::cast<py::array>(laserImage), "laser_image");
  IplImage* picture = given.get();
  unlocked([&] { Brin::buildLaserDistance(scan, pose, &picture, &distances, resolution); });
  return {laserImage, takeOver(distances)};
}

constexpr const char* kScanScoreDoc = R"(The fit of a Scan or of points (N x 2, metres), placed at
`pose`, on a distance map at `resolution` metres per pixel: a pair of the score in [0, 1] and the
number of matches times `step`. Every `step`-th reading is looked at; beyond `max_dist` metres
nothing counts. A `debug_image` (bytes, of the map's size) becomes white, and black at matches.

>>> scan = korrin.Scan([2, 3], 0, 0.5)
>>> picture, distances = korrin.build_laser_distance(scan, (0, 0, 0), 0.05)
>>> korrin.scan_score(distances, scan, (0, 0, 0), 0.05, 0.5)
(1.0, 2)
)";

constexpr const char* kScanScoresDoc = R"(scan_score at each of N poses (N x 3): a pair of arrays,
scores and counts. Several times as fast; fastest where neighbouring poses have the same heading.

>>> scan = korrin.Scan([2, 3], 0, 0.5)
>>> picture, distances = korrin.build_laser_distance(scan, (0, 0, 0), 0.05)
>>> poses = [(0.1, 0, 0), (0, 0, 0), (0, 0.1, 0)]
>>> scores, counts = korrin.scan_scores(distances, scan, poses, 0.05, 0.5)
>>> poses[scores.argmax()]
(0, 0, 0)
)";

void bindScores(py::module_& module) {
  module.def("scan_score", &scanScore<Scan>, py::arg("distance_map"), py::arg("scan"),
             py::arg("pose"), py::arg("resolution"), py::arg("max_dist"),
             py::arg("debug_image") = py::none(), py::arg("step") = 1, kScanScoreDoc);
  module.def("scan_score", &scanScore<Points>, py::arg("distance_map"), py::arg("points"),
             py::arg("pose"), py::arg("resolution"), py::arg("max_dist"),
             py::arg("debug_image") = py::none(), py::arg("step") = 1);
  module.def("scan_scores", &scanScores<Scan>, py::arg("distance_map"), py::arg("scan"),
             py::arg("poses"), py::arg("resolution"), py::arg("max_dist"), py::arg("step") = 1,
             kScanScoresDoc);
  module.def("scan_scores", &scanScores<Points>, py::arg("distance_map"), py::arg("points"),
             py::arg("poses"), py::arg("resolution"), py::arg("max_dist"), py::arg("step") = 1);
  module.def("build_laser_distance", &buildLaserDistance, py::arg("scan"), py::arg("pose"),
             py::arg("resolution"), py::arg("laser_image") = py::none(),
             R"(A scan's picture and its distance map, in pixels to the nearest 0, as a pair.

A `laser_image` (bytes) that is given is used as it is, and the scan is not looked at.

>>> picture, distances = korrin.build_laser_distance(korrin.Scan([1], 0, 0), (0, 0, 0), 0.5)
>>> picture.shape == distances.shape, float(distances[picture == 0].max())
(True, 0.0)
)");
}

}  // namespace

void bindScanMatching(py::module_& module) {
  bindDistMap(module);
  bindScores(module);
}

}  // namespace korrin_python
