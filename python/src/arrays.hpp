// Numpy arrays as what the library takes and gives: lists of numbers, and images.
//
// An argument of the wrong shape or memory layout raises ValueError, one of the wrong kind of
// elements TypeError.
#pragma once

#include <opencv2/core/types_c.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <utility>
#include <vector>

#include "python/src/casters.hpp"

namespace korrin_python {

namespace py = pybind11;

// `values` as a C-contiguous array of floats in one dimension. Anything that numpy takes for an
// array of numbers will do.
py::array_t<float> floatVector(py::handle values, const char* name);

// A one-dimensional array that takes the elements over.
template <typename T>
py::array_t<T> takeOver(std::vector<T>&& elements) {
  auto* owned = new std::vector<T>(std::move(elements));
  const py::capsule owner(owned, [](void* memory) { delete static_cast<std::vector<T>*>(memory); });
  return py::array_t<T>(static_cast<py::ssize_t>(owned->size()), owned->data(), owner);
}

// The pixels of `image` as rows x columns, or rows x columns x channels, without a copy. `owner`
// keeps them alive.
py::array viewOf(const IplImage& image, py::handle owner);

// The same for an image that the array takes over; None for null.
py::object takeOver(IplImage* image);

// A new image with the pixels of `array`, null for None; of the same shapes and kinds as below.
IplImage* imageOf(const py::object& array, const char* name);

// An image whose pixels are a numpy array's: bytes or floats, rows x columns, or with channels as
// a third dimension.
class ArrayImage {
 public:
  // What the library is to write into: the very memory of `array`, refused unless it can be.
  static ArrayImage writable(py::array array, const char* name);
  // What the library reads: a copy of `array` when its memory has no image's layout.
  static ArrayImage readable(py::array array, const char* name);

  IplImage* get() { return &header_; }

 private:
  ArrayImage(py::array array, const char* name);

  py::array array_;
  IplImage header_;
};

}  // namespace korrin_python
