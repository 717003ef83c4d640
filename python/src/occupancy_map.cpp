#include "korrin/core/occupancy_map.hpp"

#include <cstdio>
#include <limits>
#include <memory>
#include <string>

#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/log.hpp"
#include "python/src/values.hpp"

namespace korrin_python {
namespace {

using Brin::OccupancyMap;
using Brin::OccupancyMapParams;
using Brin::Pose2D;
using Brin::Pose2Di;

constexpr const char* kParamsDoc = R"(The geometry of a grid: size, resolution, place in the world.

`origin` is the world pose of the centre of cell (0, 0). Corner puts it at the world's origin;
Center puts the world's origin on the centre of cell (width // 2, height // 2).

>>> params = korrin.OccupancyMapParams(200, 100, 0.05, korrin.OccupancyMapParams.Center)
>>> params.origin
Pose2D(x=-5, y=-2.5, theta=0)
)";

constexpr const char* kMapDoc = R"(An occupancy grid: square cells, each with the probability that
it is free. 1 certainly free, 0.5 unknown (at first), 0 certainly occupied; a cell outside the grid
reads as -1. `resolution` is metres per cell side.

`image` is a float32 array of the map's own memory, rows x columns: image[y, x] is the cell of
column x and row y. What is written there is in the map, and the other way round. A map has the
same memory for life, whatever is done to it, and lives at least as long as any such array;
numpy.asarray(map) is one, too.

Maps are equal when their geometry and all their cells are, of both images; two cells that are not a
number are equal. Copies and what pickles give back have memory of their own. With pickle's
protocol 5 and a buffer_callback the cells are handed on as they lie.

>>> map = korrin.OccupancyMap(200, 100, 0.05)     # 10 m x 5 m, every cell unknown
>>> map.image[40:60, 100] = 0                     # a wall
>>> map.get_cell(100, 50), map.get_cell(0, 0), map.get_cell(200, 0)
(0.0, 0.5, -1.0)
>>> map
<OccupancyMap of 200 x 100 float32 cells of 0.05 m, origin (0, 0, 0): 0.0 % free, 99.9 % unknown, 0.1 % occupied>
>>> import pickle
>>> buffers = []
>>> pickled = pickle.dumps(map, protocol=5, buffer_callback=buffers.append)
>>> pickle.loads(pickled, buffers=buffers) == map, len(pickled) < 500
(True, True)
)";

// How a point of a grid's geometry and of a map itself are asked for, one by one or many at a time.
template <typename Grid, typename... Options>
void bindFrames(py::class_<Grid, Options...>& type) {
  type.def(
      "get_pixel_from_pose",
      [](const Grid& grid, const Pose2D& pose) { return grid.getPixelFromPose(pose); },
      py::arg("pose"), R"(The cell that holds a world pose, inside the grid or not.

An N x 3 array of poses gives one of cells. Beyond 2**28 cells a coordinate is cut, and one that is
not a number becomes -2**28.

>>> map = korrin.OccupancyMap(200, 100, 0.05)
>>> map.get_pixel_from_pose((1, 2, 0))
Pose2Di(x=20, y=40, theta=0)
>>> map.get_pixel_from_pose([(1, 2, 0), (3, 4, 0)]).tolist()
[[20.0, 40.0, 0.0], [60.0, 80.0, 0.0]]
)");
  type.def(
      "get_pixel_from_pose",
      [](const Grid& grid, const std::vector<Pose2D>& poses) {
        std::vector<Pose2Di> cells;
        cells.reserve(poses.size());
        for (const Pose2D& pose : poses) cells.push_back(grid.getPixelFromPose(pose));
        return cells;
      },
      py::arg("poses"));
  type.def(
      "get_pose_from_pixel",
      [](const Grid& grid, const Pose2Di& cell) { return grid.getPoseFromPixel(cell); },
      py::arg("cell"), R"(The world pose of a cell's centre, inside the grid or not.

An N x 3 array of cells gives one of poses.

>>> korrin.OccupancyMap(200, 100, 0.5).get_pose_from_pixel((2, 4, 0))
Pose2D(x=1, y=2, theta=0)
)");
  type.def(
      "get_pose_from_pixel",
      [](const Grid& grid, const std::vector<Pose2Di>& cells) {
        std::vector<Pose2D> poses;
        poses.reserve(cells.size());
        for (const Pose2Di& cell : cells) poses.push_back(grid.getPoseFromPixel(cell));
        return poses;
      },
      py::arg("cells"));
}

void bindParams(py::module_& module) {
  py::class_<OccupancyMapParams> params(module, "OccupancyMapParams", kParamsDoc);
  py::enum_<OccupancyMapParams::OriginMode> mode(params, "OriginMode",
                                                 R"(Where the world's origin lies on a new grid.

Its name, such as "center", serves where a member is expected.

>>> korrin.OccupancyMapParams.OriginMode(1)
<OriginMode.Center: 1>
>>> korrin.OccupancyMapParams(200, 100, 0.05, "center").origin
Pose2D(x=-5, y=-2.5, theta=0)
)");
  picklesNumber(mode);
  mode.value("Corner", OccupancyMapParams::Corner)
      .value("Center", OccupancyMapParams::Center)
      .export_values();
  params.def(py::init<>())
      .def(py::init<int, int, float, OccupancyMapParams::OriginMode>(), py::arg("width"),
           py::arg("height"), py::arg("resolution"), py::arg("mode") = OccupancyMapParams::Corner)
      .def_readonly("width", &OccupancyMapParams::width, "Columns")
      .def_readonly("height", &OccupancyMapParams::height, "Rows");
  using P = OccupancyMapParams;
  actsAsRecord(params, P(), Field{"width", &P::width}, Field{"height", &P::height},
               Field{"resolution", &P::resolution, "Metres per cell side"},
               Field{"origin", &P::origin, "World pose of cell (0, 0)'s centre"});
  bindFrames(params);
}

py::object viewOrNone(const IplImage* image, py::handle owner) {
  if (image == nullptr) return py::none();
  return viewOf(*image, owner);
}

void setParams(OccupancyMap& map, const OccupancyMapParams& params) {
  if (params.width != map.params.width || params.height != map.params.height) {
    throw py::value_error("a map keeps its size");
  }
  map.params = params;
}

// How many of the cells, in percent; a few are never "0.0" and all but a few never "100.0".
std::string percentage(std::int64_t count, std::int64_t all) {
  const double percent = 100.0 * static_cast<double>(count) / static_cast<double>(all);
  if (count > 0 && percent < 0.05) return "<0.1 %";
  if (count < all && percent >= 99.95) return ">99.9 %";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %%", percent);
  return text;
}

struct CellCounts {
  std::int64_t free = 0;
  std::int64_t occupied = 0;
  std::int64_t notNumbers = 0;
  std::int64_t all = 0;

  explicit CellCounts(const IplImage& image) : all(std::int64_t{image.width} * image.height) {
    for (int y = 0; y < image.height; ++y) {
      const char* row = image.imageData + std::ptrdiff_t{y} * image.widthStep;
      const float* cells = reinterpret_cast<const float*>(row);
      for (int x = 0; x < image.width; ++x) {
        free += cells[x] > 0.6f;
        occupied += cells[x] < 0.4f;
        notNumbers += cells[x] != cells[x];
      }
    }
  }
};

std::string textOfMap(const OccupancyMap& map) {
  const OccupancyMapParams& params = map.params;
  const Pose2D& origin = params.origin;
  std::string text = "<OccupancyMap of " + std::to_string(params.width) + " x " +
                     std::to_string(params.height) + " float32 cells of " +
                     shortest(params.resolution) + " m, origin (" + shortest(origin.x) + ", " +
                     shortest(origin.y) + ", " + shortest(origin.theta) + ")";
  if (map.secondImage != nullptr) text += ", with a second image";
  const CellCounts counts(*map.image);
  if (counts.all == 0) return text + ">";
  const auto unknown = counts.all - counts.free - counts.occupied - counts.notNumbers;
  text += ": " + percentage(counts.free, counts.all) + " free, " + percentage(unknown, counts.all) +
          " unknown, " + percentage(counts.occupied, counts.all) + " occupied";
  if (counts.notNumbers > 0) text += ", " + percentage(counts.notNumbers, counts.all) + " NaN";
  return text + ">";
}

using Map = std::shared_ptr<OccupancyMap>;
using MapClass = py::class_<OccupancyMap, Map>;

Pixels pixelsOf(const OccupancyMap& map, IplImage* OccupancyMap::*image) {
  return {viewOrNone(map.*image, py::cast(map, py::return_value_policy::reference))};
}

void assignCells(const IplImage& image, const Pixels& cells, const char* name) {
  const py::array view = viewOf(image, py::none());
  if (!py::isinstance<py::array_t<float>>(cells.array) ||
      !cells.array.attr("shape").equal(view.attr("shape"))) {
    throw py::cast_error(name);
  }
  py::module_::import("numpy").attr("copyto")(view, cells.array);
}

void mapActsAsValue(MapClass& type) {
  const auto make = [](const OccupancyMapParams& params, const Pixels& image,
                       const Pixels& second) {
    auto map = std::make_shared<OccupancyMap>(params, !second.array.is_none());
    assignCells(*map->image, image, "image");
    if (map->secondImage != nullptr) assignCells(*map->secondImage, second, "second_image");
    return map;
  };
  const Field params{"params", &OccupancyMap::params};
  const Field image{"image",
                    [](const OccupancyMap& map) { return pixelsOf(map, &OccupancyMap::image); }};
  const Field second{"second_image", [](const OccupancyMap& map) {
                       return pixelsOf(map, &OccupancyMap::secondImage);
                     }};
  picklesFields(type, make, params, image, second);
  type.def(
      "__eq__",
      [](const OccupancyMap& self, const OccupancyMap& other) { return sameMap(&self, &other); },
      py::arg("other").noconvert(), py::is_operator());
}

// `values` as floating point numbers in rows and columns.
py::array rowsOfCells(const py::object& values, const std::string& name) {
  const py::array cells = py::module_::import("numpy").attr("asarray")(values);
  if (cells.dtype().kind() != 'f') {
    throw py::type_error(name + ": wanted an array of floats, found one of " +
                         std::string(py::str(cells.dtype())));
  }
  if (cells.ndim() != 2) {
    throw py::value_error(name + ": wanted an array of rows and columns, found one of shape " +
                          std::string(py::str(cells.attr("shape"))));
  }
  return cells;
}

// Writes cells into an image of a map, which may be those very cells.
void setImage(const py::object& view, const py::object& values, const std::string& name) {
  if (view.is_none()) throw py::value_error(name + ": the map has none; create it with one");
  const py::array cells = rowsOfCells(values, name);
  if (!cells.attr("shape").equal(view.attr("shape"))) {
    throw py::value_error(name + ": wanted an array of shape " +
                          std::string(py::str(view.attr("shape"))) + ", found one of shape " +
                          std::string(py::str(cells.attr("shape"))));
  }
  py::module_::import("numpy").attr("copyto")(view, cells, "same_kind");
}

Map mapOfArray(const py::object& array, float resolution, const Pose2D& origin,
               bool withSecondImage) {
  const py::array cells = rowsOfCells(array, "array");
  constexpr py::ssize_t kMost = std::numeric_limits<std::int32_t>::max();
  if (cells.shape(0) > kMost || cells.shape(1) > kMost) {
    throw py::value_error("array: wanted at most 2147483647 rows and columns");
  }
  OccupancyMapParams params(static_cast<int>(cells.shape(1)), static_cast<int>(cells.shape(0)),
                            resolution);
  params.origin = origin;
  auto map = std::make_shared<OccupancyMap>(params, withSecondImage);
  setImage(viewOf(*map->image, py::none()), cells, "array");
  return map;
}

// What numpy.asarray and numpy.array ask for: the map's own memory unless a copy is wanted, or
// needed for the kind of numbers.
py::object asArray(const py::object& self, const py::object& dtype, const py::object& copy) {
  const py::object view = viewOf(*self.cast<OccupancyMap&>().image, self);
  const bool never = copy.is(py::bool_(false));
  if (!dtype.is_none() && !py::dtype::from_args(dtype).equal(view.attr("dtype"))) {
    if (never) throw py::value_error("copy: the cells are float32, another dtype needs a copy");
    return view.attr("astype")(dtype);
  }
  return copy.is_none() || never ? view : view.attr("copy")();
}

void bindImages(MapClass& type) {
  const auto view = [](IplImage* OccupancyMap::*image) {
    return [image](const py::object& self) {
      return viewOrNone(self.cast<OccupancyMap&>().*image, self);
    };
  };
  const auto set = [](IplImage* OccupancyMap::*image, const char* name) {
    return [image, name](const py::object& self, const py::object& values) {
      setImage(viewOrNone(self.cast<OccupancyMap&>().*image, self), values, name);
    };
  };
  type.def_property("image", view(&OccupancyMap::image), set(&OccupancyMap::image, "image"),
                    "The probabilities, as a writable float32 array of the map's own memory; "
                    "cells of the same shape may be assigned")
      .def_property("second_image", view(&OccupancyMap::secondImage),
                    set(&OccupancyMap::secondImage, "second_image"),
                    "A second layer that can veto hits of a simulated beam, likewise, or None")
      .def_property_readonly(
          "shape",
          [](const OccupancyMap& self) {
            return py::make_tuple(self.params.height, self.params.width);
          },
          "(rows, columns), as of the image")
      .def("__array__", &asArray, py::arg("dtype") = py::none(), py::arg("copy") = py::none());
  type.def_static("from_array", &mapOfArray, py::arg("array"), py::arg("resolution"),
                  py::arg("origin") = Pose2D{}, py::arg("with_second_image") = false,
                  R"(A map with the cells of a two-dimensional array of floats, which is copied.

Row 0 is the lowest one, as of `image`; `origin` is the world pose of cell (0, 0)'s centre. Whole
numbers are refused with TypeError, since a map's cells are probabilities.

>>> cells = np.float32([[1, 1, 0], [1, 0.5, 0]])
>>> map = korrin.OccupancyMap.from_array(cells, 0.05, origin=(2, 1))
>>> map.shape, map.get_cell(2, 0), map.params.origin
((2, 3), 0.0, Pose2D(x=2, y=1, theta=0))
>>> bool((np.asarray(map) == cells).all())
True
)");
}

void bindMap(py::module_& module) {
  MapClass map(module, "OccupancyMap", kMapDoc);
  map.def(py::init<int, int, float, bool>(), py::arg("width"), py::arg("height"),
          py::arg("resolution"), py::arg("with_second_image") = false)
      .def(py::init<const OccupancyMapParams&, bool>(), py::arg("params"),
           py::arg("with_second_image") = false)
      .def(py::init<const OccupancyMap&>(), py::arg("other"), "A deep copy.")
      .def("__copy__", [](const py::object& self) { return copied(self, attributesOf(self)); })
      .def(
          "__deepcopy__",
          [](const py::object& self, const py::dict& memo) {
            const py::object deepcopy = py::module_::import("copy").attr("deepcopy");
            return copied(self, deepcopy(attributesOf(self), memo));
          },
          py::arg("memo"))
      .def("__repr__", &textOfMap)
      .def_property(
          "params", [](OccupancyMap& self) -> OccupancyMapParams& { return self.params; },
          &setParams, py::return_value_policy::reference_internal, "Its geometry");
  bindImages(map);
  mapActsAsValue(map);
  bindFrames(map);
  map.def("is_inside", &OccupancyMap::isInside, py::arg("x"), py::arg("y"),
          R"(Whether (x, y) is a cell of the map.

>>> korrin.OccupancyMap(2, 2, 1).is_inside(2, 0)
False
)")
      .def("get_cell", &OccupancyMap::getCell, py::arg("x"), py::arg("y"),
           R"(The value of cell (x, y); -1 outside the map.

>>> korrin.OccupancyMap(2, 2, 1).get_cell(-1, 0)
-1.0
)")
      .def("set_cell", &OccupancyMap::setCell, py::arg("x"), py::arg("y"), py::arg("value"),
           R"(Writes cell (x, y) as it is; does nothing outside the map.

>>> map = korrin.OccupancyMap(2, 1, 1)
>>> map.set_cell(1, 0, 0.25)
>>> map.image.tolist()
[[0.5, 0.25]]
)")
      .def("clip", &OccupancyMap::clip, R"(Clamps every cell into [0, 1]; not-a-number becomes 0.

>>> map = korrin.OccupancyMap(2, 1, 1)
>>> map.image[:] = [[np.nan, 7]]
>>> map.clip()
>>> map.image.tolist()
[[0.0, 1.0]]
)")
      .def("reset", &OccupancyMap::reset, py::arg("value"), R"(Sets every cell to `value`.

>>> map = korrin.OccupancyMap(2, 1, 1)
>>> map.reset(1)
>>> map.image.tolist()
[[1.0, 1.0]]
)")
      .def(
          "to_char_ipl_image",
          [](const OccupancyMap& self) {
            IplImage* image = nullptr;
            unlocked([&] { self.toCharIplImage(&image); });
            return takeOver(image);
          },
          R"(The map as bytes, rows x columns: v becomes trunc(256 v), limited to [0, 255].

>>> korrin.OccupancyMap(2, 1, 1).to_char_ipl_image().tolist()
[[128, 128]]
)");
}

}  // namespace

void bindOccupancyMap(py::module_& module) {
  bindParams(module);
  bindMap(module);
}

}  // namespace korrin_python
