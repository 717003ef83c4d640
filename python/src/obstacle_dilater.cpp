#include "korrin/obstacle_dilater.hpp"

#include <memory>
#include <mutex>
#include <string>

#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/log.hpp"
#include "python/src/obstacle_dilater.hpp"
#include "python/src/values.hpp"

namespace korrin_python {
namespace {

using Brin::ObstacleDilater;
using Brin::OccupancyMap;

// A dilater for all threads: its work images serve one call at a time.
struct Dilater : ObstacleDilater {
  using ObstacleDilater::ObstacleDilater;
  std::mutex mutex;

  template <typename Work>
  void alone(const Work& work) {
    unlocked([&] {
      const std::lock_guard<std::mutex> lock(mutex);
      work();
    });
  }
};

constexpr const char* kDilaterDoc =
    R"(Grows the obstacles of maps of one size, width x height cells.

A cell is an obstacle when its value is at or below `obst_prob_threshold` (0.1 at first). The two
work images are neither compared nor copied nor pickled.

>>> map = korrin.OccupancyMap(100, 100, 0.05)
>>> map.reset(1)
>>> map.image[50, 50] = 0
>>> dilater = korrin.ObstacleDilater(100, 100)
>>> dilater.set_params(0.3, 0.8)      # blocked within 0.3 m of an obstacle, free from 0.8 m on
>>> dilater.dilate(map, dilater.DILATE_LINEAR)
>>> map.get_cell(54, 50), map.get_cell(70, 50)
(0.0, 1.0)
)";

// What the two lengths of a dilation are called.
struct DilaterLengths {
  const char* radius;
  const char* fade;

  // A line from 0 at the radius to 1 at a fade before it would fall: obstacles would look free.
  void require(ObstacleDilater::DilateType kind, float radiusLength, float fadeLength) const {
    if (kind != ObstacleDilater::DILATE_LINEAR || !(fadeLength < radiusLength)) return;
    throw py::value_error(std::string(fade) + ": wanted at least " + radius + ", " +
                          shortest(radiusLength) + ", for DILATE_LINEAR, found " +
                          shortest(fadeLength));
  }
};

std::unique_ptr<Dilater> makeDilater(int width, int height) {
  if (width < 0 || height < 0) throw py::value_error("width and height must not be negative");
  return std::make_unique<Dilater>(width, height);
}

void dilaterActsAsValue(py::class_<Dilater>& type) {
  using D = ObstacleDilater;
  const auto make = [](int width, int height, float threshold, float radius, float fade) {
    auto made = makeDilater(width, height);
    made->obstProbThreshold = threshold;
    made->dilationRadius = radius;
    made->fadeDistance = fade;
    return made;
  };
  actsAsValue(type, make, Field{"width", [](const D& self) { return self.distImage->width; }},
              Field{"height", [](const D& self) { return self.distImage->height; }},
              Field{"obst_prob_threshold", &D::obstProbThreshold},
              Field{"dilation_radius", &D::dilationRadius},
              Field{"fade_distance", &D::fadeDistance});
}

}  // namespace

void bindObstacleDilater(py::module_& module) {
  using D = ObstacleDilater;
  py::class_<Dilater> type(module, "ObstacleDilater", kDilaterDoc);
  py::enum_<D::DilateType> kinds(type, "DilateType",
                                 R"(How values rise with the distance to obstacles.

Its name, such as "inverse" or "DILATE_INVERSE", serves where a member is expected.

>>> korrin.ObstacleDilater.DILATE_INVERSE
<DilateType.DILATE_INVERSE: 1>
)");
  picklesNumber(kinds);
  kinds.value("DILATE_LINEAR", D::DILATE_LINEAR)
      .value("DILATE_INVERSE", D::DILATE_INVERSE)
      .value("DILATE_ERODE_SMOOTH", D::DILATE_ERODE_SMOOTH)
      .export_values();
  dilaterActsAsValue(type);
  type.def(py::init(&makeDilater), py::arg("width"), py::arg("height"))
      .def_readwrite("obst_prob_threshold", &D::obstProbThreshold, "See set_obst_prob_threshold")
      .def_readwrite("dilation_radius", &D::dilationRadius, "Metres")
      .def_readwrite("fade_distance", &D::fadeDistance, "Metres")
      .def_property_readonly(
          "dist_image",
          [](const py::object& self) { return viewOf(*self.cast<Dilater&>().distImage, self); },
          "Cells to the nearest obstacle, after a dilation: float32, the dilater's memory")
      .def_property_readonly(
          "char_image",
          [](const py::object& self) { return viewOf(*self.cast<Dilater&>().charImage, self); },
          "The map as bytes with obstacles 0, after a dilation: the dilater's memory")
      .def("set_obst_prob_threshold", &D::setObstProbThreshold, py::arg("threshold"),
           R"(The probability at or below which a cell is an obstacle, in steps of 1 / 256.

>>> korrin.ObstacleDilater(4, 4).set_obst_prob_threshold(0.25)
)")
      .def("set_params", &D::setParams, py::arg("dilation_radius"), py::arg("fade_distance"),
           R"(The two distances, in metres.

>>> korrin.ObstacleDilater(4, 4).set_params(0.3, 0.8)
)")
      .def(
          "dilate",
          [](Dilater& self, OccupancyMap& map, D::DilateType kind) {
            const DilaterLengths lengths{"dilation_radius", "fade_distance"};
            lengths.require(kind, self.dilationRadius, self.fadeDistance);
            self.alone([&] { self.dilate(map, kind); });
          },
          py::arg("map"), py::arg("type"), R"(Rewrites the probabilities of `map`, in place.

DILATE_LINEAR: 0 nearer than dilation_radius, up to 1 at fade_distance, which must not be smaller
(ValueError). DILATE_INVERSE: a hyperbola instead of the line. DILATE_ERODE_SMOOTH: low values
spread, then blurred.

>>> map = korrin.OccupancyMap(10, 1, 0.05)
>>> map.image[0, 0] = 0
>>> korrin.ObstacleDilater(10, 1).dilate(map, "linear")
>>> map.get_cell(0, 0), map.get_cell(9, 0)
(0.0, 1.0)
)")
      .def(
          "x_do_dilate_with_funct_transform",
          [](Dilater& self, OccupancyMap& map, float radius, float fade, D::DilateType kind) {
            const DilaterLengths lengths{"radius_cells", "fade_cells"};
            lengths.require(kind, radius, fade);
            self.alone([&] { self.xDoDilateWithFunctTransform(map, radius, fade, kind); });
          },
          py::arg("map"), py::arg("radius_cells"), py::arg("fade_cells"), py::arg("type"),
          R"(DILATE_LINEAR and DILATE_INVERSE, with the distances in cells.

>>> map, dilater = korrin.OccupancyMap(4, 1, 1), korrin.ObstacleDilater(4, 1)
>>> map.image[0, 0] = 0
>>> dilater.x_do_dilate_with_funct_transform(map, 1.5, 2, dilater.DILATE_LINEAR)
>>> map.image[0, [0, 1, 3]].tolist()
[0.0, 0.0, 1.0]
)")
      .def(
          "x_do_cv_dilate_smooth",
          [](Dilater& self, OccupancyMap& map, float erode, float sigma) {
            self.alone([&] { self.xDoCvDilateSmooth(map, erode, sigma); });
          },
          py::arg("map"), py::arg("erode_cells"), py::arg("sigma_cells"),
          R"(DILATE_ERODE_SMOOTH, with the distances in cells.

>>> map = korrin.OccupancyMap(4, 4, 1)
>>> korrin.ObstacleDilater(4, 4).x_do_cv_dilate_smooth(map, 1, 0)
>>> float(map.image.min())
0.5
)");
}

}  // namespace korrin_python
