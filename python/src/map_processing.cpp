#include <opencv2/core/core_c.h>

#include <memory>
#include <vector>

#include "korrin/map_image_utils.hpp"
#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/log.hpp"
#include "python/src/obstacle_dilater.hpp"
#include "python/src/values.hpp"

namespace korrin_python {

// A pose where (x, y) alone would mean cells: it has its heading, too.
struct WholePose : Brin::Pose2D {};

}  // namespace korrin_python

template <>
struct pybind11::detail::type_caster<korrin_python::WholePose> {
  bool load(handle source, bool convert) {
    const bool whole = pybind11::isinstance<Brin::Pose2D>(source) ||
                       (hasattr(source, "__len__") && len(source) == 3);
    type_caster<Brin::Pose2D> pose;
    if (!whole || !pose.load(source, convert)) return false;
    static_cast<Brin::Pose2D&>(value) = static_cast<Brin::Pose2D&>(pose);
    return true;
  }

  PYBIND11_TYPE_CASTER(korrin_python::WholePose, const_name("korrin._korrin.Pose2D"));
};

namespace korrin_python {
namespace {

using Brin::ImageToMerge;
using Brin::OccupancyMap;
using Brin::Point2D;
using Brin::Point2Di;
using Brin::Pose2D;

void bindScaling(py::module_& module) {
  module.def(
      "compute_coarser_map",
      [](const OccupancyMap& fine, int factor) -> std::shared_ptr<OccupancyMap> {
        auto coarse = std::make_shared<OccupancyMap>(0, 0, 1.0f, false);
        unlocked([&] { Brin::computeCoarserMap(fine, *coarse, factor); });
        return factor < 1 ? nullptr : coarse;
      },
      py::arg("fine"), py::arg("factor"),
      R"(A map of the same place with cells `factor` times as large in each direction.

None, with one log record, for a factor below 1.

>>> korrin.compute_coarser_map(korrin.OccupancyMap(40, 20, 0.25), 4).image.shape
(5, 10)
)");
  module.def(
      "img_multiply_prob8",
      [](py::array image, float factor) {
        ArrayImage in = ArrayImage::writable(std::move(image), "image");
        unlocked([&] { Brin::imgMultiplyProb8(in.get(), factor); });
      },
      py::arg("image"), py::arg("factor"),
      R"(Scales an image of bytes about 127, in place.

>>> image = np.uint8([[127, 137]])
>>> korrin.img_multiply_prob8(image, 2)
>>> image.tolist()
[[127, 147]]
)");
  module.def(
      "img_multiply_prob32f",
      [](py::array image, float factor) {
        ArrayImage in = ArrayImage::writable(std::move(image), "image");
        unlocked([&] { Brin::imgMultiplyProb32F(in.get(), factor); });
      },
      py::arg("image"), py::arg("factor"),
      R"(Scales an image of float32 about 0.5, in place, limited to [0, 1].

>>> image = np.float32([[0.5, 0.75]])
>>> korrin.img_multiply_prob32f(image, 0.5)
>>> image.tolist()
[[0.5, 0.625]]
)");
  module.def(
      "occ_map_multiply_prob",
      [](OccupancyMap& map, float factor) {
        unlocked([&] { Brin::occMapMultiplyProb(map, factor); });
      },
      py::arg("map"), py::arg("factor"),
      R"(Scales a map's probabilities about 0.5: below 1 everything known fades.

>>> map = korrin.OccupancyMap(1, 1, 1)
>>> map.reset(1)
>>> korrin.occ_map_multiply_prob(map, 0.5)
>>> map.get_cell(0, 0)
0.75
)");
}

template <typename Shift>
void scroll(const OccupancyMap& src, OccupancyMap& dst, const Shift& shift) {
  unlocked([&] { Brin::scrollOccMap(src, dst, shift); });
}

void bindScrolling(py::module_& module) {
  module.def(
      "scroll_ipl_image",
      [](py::array src, py::array dst, const Point2D& shift) {
        ArrayImage from = ArrayImage::readable(std::move(src), "src");
        ArrayImage to = ArrayImage::writable(std::move(dst), "dst");
        unlocked([&] { Brin::scrollIplImage(from.get(), to.get(), shift); });
      },
      py::arg("src"), py::arg("dst"), py::arg("shift"),
      R"(Fills the array `dst` with `src` moved by (x, y) cells; 0.5 where nothing comes from.

>>> src = np.float32([[1, 0, 0]])
>>> dst = np.empty_like(src)
>>> korrin.scroll_ipl_image(src, dst, (1, 0))
>>> dst.tolist()
[[0.5, 1.0, 0.0]]
)");
  module.def("scroll_occ_map", &scroll<Point2Di>, py::arg("src"), py::arg("dst"), py::arg("shift"),
             R"(Scrolls both images of `src` by `shift` (x, y) cells into those
of `dst`, which gets the origin that keeps every cell at its place in the world.

Both maps need a second image and the same size, else ValueError.

>>> src = korrin.OccupancyMap(3, 1, 1, with_second_image=True)
>>> dst = korrin.OccupancyMap(src)
>>> src.image[:] = [[1, 0, 0]]
>>> korrin.scroll_occ_map(src, dst, (1, 0))
>>> dst.image.tolist(), dst.params.origin.x
([[0.5, 1.0, 0.0]], -1.0)
)");
  module.def(
      "scroll_occ_map", &scroll<WholePose>, py::arg("src"), py::arg("dst"), py::arg("pose"),
      R"(The same, by as many cells as a world pose (x, y, theta) is away from cell (0, 0).)");
  module.def(
      "scroll_occ_map_in_place",
      [](OccupancyMap& map, const Point2Di& shift) {
        unlocked([&] { Brin::scrollOccMapInPlace(map, shift); });
      },
      py::arg("map"), py::arg("shift"),
      R"(The same, from the map into itself. Arrays of the map stay, with the cells moved.

>>> map = korrin.OccupancyMap(3, 1, 1, with_second_image=True)
>>> map.image[:] = [[1, 0, 0]]
>>> korrin.scroll_occ_map_in_place(map, (-1, 0))
>>> map.image.tolist(), map.params.origin.x
([[0.0, 0.0, 0.5]], 1.0)
)");
}

// An image and where it belongs, as Python holds it.
struct Placed {
  py::array image;
  float x;
  float y;
  float theta;
};

py::object merge(const std::vector<Placed>& placed, float resolution, float extra) {
  std::vector<ArrayImage> images;
  std::vector<ImageToMerge> inputs;
  for (const Placed& item : placed) images.push_back(ArrayImage::readable(item.image, "image"));
  for (std::size_t i = 0; i < placed.size(); ++i) {
    inputs.push_back({images[i].get(), placed[i].x, placed[i].y, placed[i].theta});
  }
  IplImage* out = nullptr;
  unlocked([&] { Brin::mergeImages2(inputs, &out, resolution, extra); });
  return takeOver(out);
}

void bindMerging(py::module_& module) {
  py::class_<Placed> type(module, "ImageToMerge", R"(An image (an array) and its shift in metres.

>>> korrin.ImageToMerge(np.float32([[1, 0]]), x=0.5).x
0.5
)");
  type.def(py::init<py::array, float, float, float>(), py::arg("image"), py::arg("x") = 0.0f,
           py::arg("y") = 0.0f, py::arg("theta") = 0.0f);
  actsAsRecord(type, Placed(), Field{"image", &Placed::image, "The array"},
               Field{"x", &Placed::x, "Shift along the image's x axis, metres"},
               Field{"y", &Placed::y, "Shift along the image's y axis, metres"},
               Field{"theta", &Placed::theta, "Not read"});
  module.def(
      "merge_images2",
      [](const py::iterable& images, float resolution, float extra) {
        std::vector<Placed> placed;
        for (const py::handle image : images) placed.push_back(image.cast<Placed>());
        return merge(placed, resolution, extra);
      },
      py::arg("images"), py::arg("resolution"), py::arg("extra") = 0.0f,
      R"(The mean of ImageToMerge objects of one size, each shifted by its metres; None of none.

What a shifted image does not cover adds a whole 0.5, undivided. `extra` is not read.

>>> images = [korrin.ImageToMerge(np.float32([[1, 0]])), korrin.ImageToMerge(np.float32([[0, 0]]))]
>>> korrin.merge_images2(images, 0.05).tolist()
[[0.5, 0.0]]
)");
  module.def(
      "rotate_ipl_image90",
      [](py::array src, py::array dst) {
        ArrayImage from = ArrayImage::readable(std::move(src), "src");
        ArrayImage to = ArrayImage::writable(std::move(dst), "dst");
        unlocked([&] { Brin::rotateIplImage90(from.get(), to.get()); });
      },
      py::arg("src"), py::arg("dst"),
      R"(Turns and shears `src` into `dst`, intended so; rotate_ipl_image90_2 is the plain turn.

>>> src = np.float32(np.eye(4))
>>> dst = np.empty_like(src)
>>> korrin.rotate_ipl_image90(src, dst)
>>> float(dst[3, 3])
0.5
)");
  module.def(
      "rotate_ipl_image90_2",
      [](py::array src, py::array dst) {
        ArrayImage from = ArrayImage::readable(std::move(src), "src");
        ArrayImage to = ArrayImage::writable(std::move(dst), "dst");
        unlocked([&] { Brin::rotateIplImage90_2(from.get(), to.get()); });
      },
      py::arg("src"), py::arg("dst"),
      R"(Turns a square array by a quarter turn into `dst`, cell by cell.

>>> src = np.float32([[1, 2], [3, 4]])
>>> dst = np.empty_like(src)
>>> korrin.rotate_ipl_image90_2(src, dst)
>>> dst.tolist()
[[2.0, 4.0], [1.0, 3.0]]
)");
}

}  // namespace

void bindMapProcessing(py::module_& module) {
  bindObstacleDilater(module);
  bindScaling(module);
  bindScrolling(module);
  bindMerging(module);
}

}  // namespace korrin_python
