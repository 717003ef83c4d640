#include "korrin/core/occupancy_map.hpp"

#include <memory>
#include <string>

#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/log.hpp"

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
same memory for life, whatever is done to it, and lives at least as long as any such array.

>>> map = korrin.OccupancyMap(200, 100, 0.05)     # 10 m x 5 m, every cell unknown
>>> map.image[40:60, 100] = 0                     # a wall
>>> map.get_cell(100, 50), map.get_cell(0, 0), map.get_cell(200, 0)
(0.0, 0.5, -1.0)
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
  py::enum_<OccupancyMapParams::OriginMode>(params, "OriginMode",
                                            R"(Where the world's origin lies on a new grid.

>>> korrin.OccupancyMapParams.OriginMode(1)
<OriginMode.Center: 1>
)")
      .value("Corner", OccupancyMapParams::Corner)
      .value("Center", OccupancyMapParams::Center)
      .export_values();
  params.def(py::init<>())
      .def(py::init<int, int, float, OccupancyMapParams::OriginMode>(), py::arg("width"),
           py::arg("height"), py::arg("resolution"), py::arg("mode") = OccupancyMapParams::Corner)
      .def_readonly("width", &OccupancyMapParams::width, "Columns")
      .def_readonly("height", &OccupancyMapParams::height, "Rows")
      .def_readwrite("resolution", &OccupancyMapParams::resolution, "Metres per cell side")
      .def_readwrite("origin", &OccupancyMapParams::origin, "World pose of cell (0, 0)'s centre");
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

void bindMap(py::module_& module) {
  using Map = std::shared_ptr<OccupancyMap>;
  const auto copy = [](const OccupancyMap& map) { return std::make_shared<OccupancyMap>(map); };
  py::class_<OccupancyMap, Map> map(module, "OccupancyMap", kMapDoc);
  map.def(py::init<int, int, float, bool>(), py::arg("width"), py::arg("height"),
          py::arg("resolution"), py::arg("with_second_image") = false)
      .def(py::init<const OccupancyMapParams&, bool>(), py::arg("params"),
           py::arg("with_second_image") = false)
      .def(py::init<const OccupancyMap&>(), py::arg("other"), "A deep copy.")
      .def("__copy__", copy)
      .def(
          "__deepcopy__", [copy](const OccupancyMap& self, const py::dict&) { return copy(self); },
          py::arg("memo"))
      .def("__repr__",
           [](const OccupancyMap& self) {
             return "<OccupancyMap of " + std::to_string(self.params.width) + " x " +
                    std::to_string(self.params.height) + " cells>";
           })
      .def_property(
          "params", [](OccupancyMap& self) -> OccupancyMapParams& { return self.params; },
          &setParams, py::return_value_policy::reference_internal, "Its geometry")
      .def_property_readonly(
          "image",
          [](const py::object& self) { return viewOrNone(self.cast<OccupancyMap&>().image, self); },
          "The probabilities, as a writable float32 array of the map's own memory")
      .def_property_readonly(
          "second_image",
          [](const py::object& self) {
            return viewOrNone(self.cast<OccupancyMap&>().secondImage, self);
          },
          "A second layer that can veto hits of a simulated beam, likewise, or None");
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
