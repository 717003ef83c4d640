// What arguments may be, beyond objects of the very class: numbers for poses, points and cells,
// rows of numbers for lists of them, readings for a scan, names for enumerations. Every file of
// the module must see this header before it binds a function.
//
// What cannot be converted is left to the other forms of a function, and in the end to what
// calls.cpp says about it.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_python {

namespace py = pybind11;

// The numbers of a tuple, a list or a one-dimensional array, `most` of them at most, into `out`;
// how many there are, or -1 where `source` is anything else.
int readNumbers(py::handle source, double* out, int most);

// `source` as a C-contiguous N x `columns` array of floats (or doubles). False where it has no
// such rows of numbers. Without conversions only arrays of two dimensions are looked at.
bool readRows(py::handle source, bool convert, py::ssize_t columns, py::array_t<float>& rows);
bool readRows(py::handle source, bool convert, py::ssize_t columns, py::array_t<double>& rows);

// N x 3: column, row, heading. In doubles, which hold every cell and every heading exactly. False
// where a column or a row is no whole number of 32 bits.
bool readCells(const py::array_t<double>& rows, std::vector<Brin::Pose2Di>& cells);
py::array_t<double> arrayFrom(const std::vector<Brin::Pose2Di>& cells);

// The position of a Pose2D. False for anything else.
bool readPosition(py::handle source, Brin::Point2D& point);

// The readings of an array like Scan.readings. False for any other.
bool readScan(py::handle source, Brin::Scan& scan);

// The member of an enumeration that a text names, upper or lower case; what stands before the
// first underscore may be missing. Null where there is none.
py::object memberNamed(py::handle enumeration, py::handle name);

inline bool assign(float& field, double value) {
  field = static_cast<float>(value);
  return true;
}

inline bool assign(std::int32_t& field, double value) {
  if (!(std::abs(value) <= 2147483647.0) || value != std::floor(value)) return false;
  field = static_cast<std::int32_t>(value);
  return true;
}

// A record from all its numbers; a heading that is left out is 0.
inline bool readRecord(py::handle source, Brin::Pose2D& pose) {
  double numbers[3] = {0.0, 0.0, 0.0};
  return readNumbers(source, numbers, 3) >= 2 && assign(pose.x, numbers[0]) &&
         assign(pose.y, numbers[1]) && assign(pose.theta, numbers[2]);
}
inline bool readRecord(py::handle source, Brin::Pose2Di& cell) {
  double numbers[3] = {0.0, 0.0, 0.0};
  return readNumbers(source, numbers, 3) >= 2 && assign(cell.x, numbers[0]) &&
         assign(cell.y, numbers[1]) && assign(cell.theta, numbers[2]);
}
template <typename Point>
bool readRecord(py::handle source, Point& point) {
  double numbers[2] = {0.0, 0.0};
  return readNumbers(source, numbers, 2) == 2 && assign(point.x, numbers[0]) &&
         assign(point.y, numbers[1]);
}

inline bool readOther(py::handle source, Brin::Scan& scan) { return readScan(source, scan); }
inline bool readOther(py::handle source, Brin::Point2D& point) {
  return readPosition(source, point) || readRecord(source, point);
}
template <typename Record>
bool readOther(py::handle source, Record& record) {
  return readRecord(source, record);
}

}  // namespace korrin_python

namespace pybind11::detail {

// An object of the class or, where conversions are welcome, what readOther makes one of.
template <typename Value>
struct converting_caster : type_caster_base<Value> {
  bool load(handle source, bool convert) {
    if (type_caster_base<Value>::load(source, convert)) return true;
    if (!convert || !korrin_python::readOther(source, converted)) return false;
    this->value = &converted;
    return true;
  }

  Value converted;
};

template <>
struct type_caster<Brin::Pose2D> : converting_caster<Brin::Pose2D> {};
template <>
struct type_caster<Brin::Pose2Di> : converting_caster<Brin::Pose2Di> {};
template <>
struct type_caster<Brin::Point2D> : converting_caster<Brin::Point2D> {};
template <>
struct type_caster<Brin::Point2Di> : converting_caster<Brin::Point2Di> {};
template <>
struct type_caster<Brin::Scan> : converting_caster<Brin::Scan> {};

// A member of an enumeration, or its name.
template <typename Enum>
struct type_caster<Enum, enable_if_t<std::is_enum_v<Enum>>> : type_caster_base<Enum> {
  bool load(handle source, bool convert) {
    if (type_caster_base<Enum>::load(source, convert)) return true;
    if (!convert || PyUnicode_Check(source.ptr()) == 0) return false;
    const object member = korrin_python::memberNamed(type::of<Enum>(), source);
    return member && type_caster_base<Enum>::load(member, false);
  }
};

// Lists, tuples and arrays become vectors of float records; vectors become float32 arrays.
template <typename Record, std::size_t Columns>
struct rows_caster {
  static_assert(sizeof(Record) == Columns * sizeof(float));

  bool load(handle source, bool convert) {
    array_t<float> rows;
    if (!korrin_python::readRows(source, convert, ssize_t{Columns}, rows)) return false;
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
    array_t<double> rows;
    return korrin_python::readRows(source, convert, 3, rows) &&
           korrin_python::readCells(rows, value);
  }

  static handle cast(const std::vector<Brin::Pose2Di>& cells, return_value_policy, handle) {
    return korrin_python::arrayFrom(cells).release();
  }

  PYBIND11_TYPE_CASTER(std::vector<Brin::Pose2Di>,
                       const_name("numpy.ndarray[numpy.float64[n, 3]]"));
};

}  // namespace pybind11::detail
