#include "python/src/arrays.hpp"

#include <opencv2/core/core_c.h>

#include <cstdint>
#include <cstring>
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
  throw py::type_error(what + ": wanted numbers, found an array of " +
                       std::string(py::str(array.dtype())));
}

int depthOf(const py::array& array, const char* name) {
  if (py::isinstance<py::array_t<std::uint8_t>>(array)) return IPL_DEPTH_8U;
  if (py::isinstance<py::array_t<float>>(array)) return IPL_DEPTH_32F;
  throw py::type_error(std::string(name) + ": wanted an array of uint8 or float32, found one of " +
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
    throw py::value_error(std::string(name) + ": wanted rows, columns and at most 4 channels, " +
                          "found an array of shape " + shapeText(array));
  }
}

}  // namespace

py::array_t<float> floatVector(py::handle values, const char* name) {
  const py::array array = numbersOf(values, name);
  if (array.ndim() != 1) {
    throw py::value_error(std::string(name) + ": wanted one dimension, found an array of shape " +
                          shapeText(array));
  }
  return py::array_t<float, py::array::c_style | py::array::forcecast>(array);
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

IplImage* imageOf(const py::object& array, const char* name) {
  if (array.is_none()) return nullptr;
  ArrayImage source = ArrayImage::readable(py::cast<py::array>(array), name);
  const IplImage& from = *source.get();
  IplImage* image = cvCreateImage(cvSize(from.width, from.height), from.depth, from.nChannels);
  const std::size_t bytes = static_cast<std::size_t>(array.attr("nbytes").cast<py::ssize_t>());
  const std::size_t row = from.height > 0 ? bytes / static_cast<std::size_t>(from.height) : 0;
  for (int y = 0; y < from.height && row > 0; ++y) {
    std::memcpy(image->imageData + std::ptrdiff_t{y} * image->widthStep,
                from.imageData + std::ptrdiff_t{y} * from.widthStep, row);
  }
  return image;
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
