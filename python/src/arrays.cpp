#include "python/src/arrays.hpp"

#include <opencv2/core/core_c.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace korrin_python {
namespace {

std::string shapeText(const py::array& array) { return py::str(array.attr("shape")); }

// Any array of real numbers.
py::array numbersOf(py::handle values, const std::string& what) {
  const py::array array = py::module_::import("numpy").attr("asarray")(values);
  const char kind = array.dtype().kind();
  if (kind == 'f' || kind == 'i' || kind == 'u') return array;
  throw py::type_error(what + " must be numbers, not " + std::string(py::str(array.dtype())));
}

template <typename Scalar>
py::array_t<Scalar> rowsOf(py::handle values, py::ssize_t columns) {
  const std::string what = "an N x " + std::to_string(columns) + " array";
  const py::array array = numbersOf(values, "the elements of " + what);
  if (array.size() == 0 && array.ndim() == 1) {
    return py::array_t<Scalar>(py::array::ShapeContainer{py::ssize_t{0}, columns});
  }
  if (array.ndim() != 2 || array.shape(1) != columns) {
    throw py::value_error("expected " + what + ", not one of shape " + shapeText(array));
  }
  return py::array_t<Scalar, py::array::c_style | py::array::forcecast>(array);
}

std::int32_t cellFrom(double value) {
  if (!(std::abs(value) <= 2147483647.0) || value != std::floor(value)) {
    throw py::value_error("cells must be whole numbers of 32 bits, found " + std::to_string(value));
  }
  return static_cast<std::int32_t>(value);
}

int depthOf(const py::array& array, const char* name) {
  if (py::isinstance<py::array_t<std::uint8_t>>(array)) return IPL_DEPTH_8U;
  if (py::isinstance<py::array_t<float>>(array)) return IPL_DEPTH_32F;
  throw py::type_error(std::string(name) + " must be of uint8 or float32, not " +
                       std::string(py::str(array.dtype())));
}

// Whether rows lie one after the other, each without gaps: what an image can describe.
bool hasImageLayout(const py::array& array) {
  const py::ssize_t pixel = array.itemsize() * (array.ndim() == 3 ? array.shape(2) : 1);
  const bool aligned = (array.flags() & py::detail::npy_api::NPY_ARRAY_ALIGNED_) != 0;
  const bool channelsTouch =
      array.ndim() == 2 || array.shape(2) == 1 || array.strides(2) == array.itemsize();
  const bool pixelsTouch = array.shape(1) <= 1 || array.strides(1) == pixel;
  const bool rowsFollow = array.shape(0) <= 1 || array.strides(0) >= pixel * array.shape(1);
  return aligned && channelsTouch && pixelsTouch && rowsFollow;
}

void requireImageShape(const py::array& array, const char* name) {
  const bool flat = array.ndim() == 2;
  const bool layered = array.ndim() == 3 && array.shape(2) >= 1 && array.shape(2) <= 4;
  if (!flat && !layered) {
    throw py::value_error(std::string(name) + " must have rows, columns and at most 4 channels, " +
                          "not the shape " + shapeText(array));
  }
}

}  // namespace

py::array_t<float> floatVector(py::handle values, const char* name) {
  const py::array array = numbersOf(values, name);
  if (array.ndim() != 1) {
    throw py::value_error(std::string(name) + " must have one dimension, not the shape " +
                          shapeText(array));
  }
  return py::array_t<float, py::array::c_style | py::array::forcecast>(array);
}

py::array_t<float> floatRows(py::handle values, py::ssize_t columns) {
  return rowsOf<float>(values, columns);
}

py::array_t<double> doubleRows(py::handle values, py::ssize_t columns) {
  return rowsOf<double>(values, columns);
}

bool mayBeRows(py::handle values, bool convert) {
  if (py::isinstance<py::array>(values)) {
    return convert || py::reinterpret_borrow<py::array>(values).ndim() == 2;
  }
  return convert && (py::isinstance<py::list>(values) || py::isinstance<py::tuple>(values));
}

std::vector<Brin::Pose2Di> cellsFrom(const py::array_t<double>& rows) {
  std::vector<Brin::Pose2Di> cells;
  cells.reserve(static_cast<std::size_t>(rows.shape(0)));
  const auto values = rows.unchecked<2>();
  for (py::ssize_t i = 0; i < rows.shape(0); ++i) {
    cells.emplace_back(cellFrom(values(i, 0)), cellFrom(values(i, 1)),
                       static_cast<float>(values(i, 2)));
  }
  return cells;
}

py::array_t<double> arrayFrom(const std::vector<Brin::Pose2Di>& cells) {
  py::array_t<double> rows(
      py::array::ShapeContainer{static_cast<py::ssize_t>(cells.size()), py::ssize_t{3}});
  double* value = rows.mutable_data();
  for (const Brin::Pose2Di& cell : cells) {
    *value++ = cell.x;
    *value++ = cell.y;
    *value++ = double{cell.theta};
  }
  return rows;
}

py::array viewOf(const IplImage& image, py::handle owner) {
  const bool bytes = image.depth == IPL_DEPTH_8U;
  const py::dtype kind = bytes ? py::dtype::of<std::uint8_t>() : py::dtype::of<float>();
  const py::ssize_t size = kind.itemsize();
  std::vector<py::ssize_t> shape{image.height, image.width};
  std::vector<py::ssize_t> strides{image.widthStep, size * image.nChannels};
  if (image.nChannels > 1) {
    shape.push_back(image.nChannels);
    strides.push_back(size);
  }
  return py::array(kind, shape, strides, image.imageData, owner);
}

py::object takeOver(IplImage* image) {
  if (image == nullptr) return py::none();
  const py::capsule owner(image, [](void* memory) {
    auto* owned = static_cast<IplImage*>(memory);
    cvReleaseImage(&owned);
  });
  return viewOf(*image, owner);
}

ArrayImage ArrayImage::writable(py::array array, const char* name) {
  if (!array.writeable()) throw py::value_error(std::string(name) + " is read-only");
  return ArrayImage(std::move(array), name);
}

ArrayImage ArrayImage::readable(py::array array, const char* name) {
  depthOf(array, name);
  requireImageShape(array, name);
  if (!hasImageLayout(array)) {
    array = py::module_::import("numpy").attr("ascontiguousarray")(array);
  }
  return ArrayImage(std::move(array), name);
}

ArrayImage::ArrayImage(py::array array, const char* name) : array_(std::move(array)), header_() {
  const int depth = depthOf(array_, name);
  requireImageShape(array_, name);
  if (!hasImageLayout(array_)) {
    throw py::value_error(std::string(name) + " must be aligned, with whole rows one after the " +
                          "other; make it so with numpy.ascontiguousarray");
  }
  const int channels = array_.ndim() == 3 ? static_cast<int>(array_.shape(2)) : 1;
  const std::int64_t rows = array_.shape(0);
  const std::int64_t columns = array_.shape(1);
  const std::int64_t rowBytes = columns * array_.itemsize() * channels;
  const std::int64_t step = rows > 1 ? std::int64_t{array_.strides(0)} : rowBytes;
  // Checked one by one, so that no product overflows.
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  if (rows > kMost || step > kMost / 8 || step * rows > kMost) {
    throw py::value_error(std::string(name) + " is larger than an image can be");
  }
  cvInitImageHeader(&header_, cvSize(static_cast<int>(columns), static_cast<int>(rows)), depth,
                    channels);
  header_.widthStep = static_cast<int>(step);
  header_.imageSize = static_cast<int>(step * rows);
  header_.imageData = static_cast<char*>(const_cast<void*>(array_.data()));
}

}  // namespace korrin_python
