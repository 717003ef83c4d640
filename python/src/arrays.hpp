// Numpy arrays as what the library takes and gives: lists of poses, points and cells, and images.
//
// An argument of the wrong shape or memory layout raises ValueError, one of the wrong kind of
// elements TypeError.
#pragma once

#include <opencv2/core/types_c.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

#include "korrin/core/geometry.hpp"

namespace korrin_python {

namespace py = pybind11;

// `values` as a C-contiguous array of floats (or doubles) in one dimension, or in two with that
// many columns. Anything that numpy takes for an array of numbers will do.
py::array_t<float> floatVector(py::handle values, const char* name);
py::array_t<float> floatRows(py::handle values, py::ssize_t columns);
py::array_t<double> doubleRows(py::handle values, py::ssize_t columns);

// Whether an argument is for a list of rows at all: a two-dimensional array or, where conversions
// are welcome, any array, list or tuple. What passes and has no such rows is an error.
bool mayBeRows(py::handle values, bool convert);

// N x 3: column, row, heading. In doubles, which hold every cell and every heading exactly.
std::vector<Brin::Pose2Di> cellsFrom(const py::array_t<double>& rows);
py::array_t<double> arrayFrom(const std::vector<Brin::Pose2Di>& cells);

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

namespace pybind11::detail {

// Lists, tuples and arrays become vectors of float records; vectors become float32 arrays.
template <typename Record, std::size_t Columns>
struct rows_caster {
  static_assert(sizeof(Record) == Columns * sizeof(float));

  bool load(handle source, bool convert) {
    if (!korrin_python::mayBeRows(source, convert)) return false;
    const array_t<float> rows = korrin_python::floatRows(source, ssize_t{Columns});
    value.resize(static_cast<std::size_t>(rows.shape(0)));
    if (!value.empty()) {
      std::memcpy(static_cast<void*>(value.data()), rows.data(), value.size() * sizeof(Record));
    }
    return true;
  }

  static handle cast(const std::vector<Record>& records, return_value_policy, handle) {
    array_t<float> rows(
        array::ShapeContainer{static_cast<ssize_t>(records.size()), ssize_t{Columns}});
    if (!records.empty()) {
      std::memcpy(rows.mutable_data(), records.data(), records.size() * sizeof(Record));
    }
    return rows.release();
  }

  PYBIND11_TYPE_CASTER(std::vector<Record>, const_name("numpy.ndarray[numpy.float32[n, ") +
                                                const_name<Columns>() + const_name("]]"));
};

template <>
struct type_caster<std::vector<Brin::Pose2D>> : rows_caster<Brin::Pose2D, 3> {};

template <>
struct type_caster<std::vector<Brin::Point2D>> : rows_caster<Brin::Point2D, 2> {};

template <>
struct type_caster<std::vector<Brin::Pose2Di>> {
  bool load(handle source, bool convert) {
    if (!korrin_python::mayBeRows(source, convert)) return false;
    value = korrin_python::cellsFrom(korrin_python::doubleRows(source, 3));
    return true;
  }

  static handle cast(const std::vector<Brin::Pose2Di>& cells, return_value_policy, handle) {
    return korrin_python::arrayFrom(cells).release();
  }

  PYBIND11_TYPE_CASTER(std::vector<Brin::Pose2Di>,
                       const_name("numpy.ndarray[numpy.float64[n, 3]]"));
};

}  // namespace pybind11::detail
