#include "python/src/casters.hpp"

#include <algorithm>
#include <cctype>
#include <string>

namespace korrin_python {
namespace {

bool holdsRealNumbers(const py::array& array) {
  const char kind = array.dtype().kind();
  return kind == 'f' || kind == 'i' || kind == 'u';
}

int readArray(const py::array& array, double* out, int most) {
  if (array.ndim() != 1 || array.size() > most || !holdsRealNumbers(array)) return -1;
  const py::array_t<double, py::array::c_style | py::array::forcecast> numbers(array);
  std::copy_n(numbers.data(), numbers.size(), out);
  return static_cast<int>(numbers.size());
}

// A conversion that failed is no error here; anything else that Python raised is.
void forgetConversionError() {
  const bool expected = PyErr_ExceptionMatches(PyExc_TypeError) != 0 ||
                        PyErr_ExceptionMatches(PyExc_ValueError) != 0 ||
                        PyErr_ExceptionMatches(PyExc_OverflowError) != 0;
  if (!expected) throw py::error_already_set();
  PyErr_Clear();
}

// As an array of real numbers; null where it is none.
py::array realNumbers(py::handle source) {
  const py::object asarray = py::module_::import("numpy").attr("asarray");
  const auto array = py::reinterpret_steal<py::object>(
      PyObject_CallFunctionObjArgs(asarray.ptr(), source.ptr(), nullptr));
  if (!array) {
    forgetConversionError();
    return py::reinterpret_borrow<py::array>(py::handle());
  }
  const auto numbers = py::reinterpret_borrow<py::array>(array);
  return holdsRealNumbers(numbers) || numbers.size() == 0 ? numbers
                                                          : py::reinterpret_borrow<py::array>({});
}

template <typename Scalar>
bool readRowsOf(py::handle source, bool convert, py::ssize_t columns, py::array_t<Scalar>& rows) {
  if (py::isinstance<py::array>(source)) {
    if (!convert && py::reinterpret_borrow<py::array>(source).ndim() != 2) return false;
  } else if (!convert ||
             (!py::isinstance<py::list>(source) && !py::isinstance<py::tuple>(source))) {
    return false;
  }
  const py::array array = realNumbers(source);
  if (!array) return false;
  if (array.size() == 0 && array.ndim() == 1) {
    rows = py::array_t<Scalar>(py::array::ShapeContainer{py::ssize_t{0}, columns});
    return true;
  }
  if (array.ndim() != 2 || array.shape(1) != columns || !holdsRealNumbers(array)) return false;
  rows = py::array_t<Scalar, py::array::c_style | py::array::forcecast>(array);
  return true;
}

std::string lowered(std::string text) {
  for (char& letter : text) {
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  }
  return text;
}

}  // namespace

int readNumbers(py::handle source, double* out, int most) {
  if (py::isinstance<py::array>(source)) {
    return readArray(py::reinterpret_borrow<py::array>(source), out, most);
  }
  if (!py::isinstance<py::tuple>(source) && !py::isinstance<py::list>(source)) return -1;
  const auto numbers = py::reinterpret_borrow<py::sequence>(source);
  const auto count = static_cast<py::ssize_t>(py::len(numbers));
  if (count > most) return -1;
  for (py::ssize_t i = 0; i < count; ++i) {
    const py::object number = numbers[static_cast<std::size_t>(i)];
    out[i] = PyFloat_AsDouble(number.ptr());
    if (PyErr_Occurred() != nullptr) {
      forgetConversionError();
      return -1;
    }
  }
  return static_cast<int>(count);
}

bool readPosition(py::handle source, Brin::Point2D& point) {
  if (!py::isinstance<Brin::Pose2D>(source)) return false;
  point = source.cast<const Brin::Pose2D&>();
  return true;
}

bool readRows(py::handle source, bool convert, py::ssize_t columns, py::array_t<float>& rows) {
  return readRowsOf(source, convert, columns, rows);
}

bool readRows(py::handle source, bool convert, py::ssize_t columns, py::array_t<double>& rows) {
  return readRowsOf(source, convert, columns, rows);
}

bool readCells(const py::array_t<double>& rows, std::vector<Brin::Pose2Di>& cells) {
  const auto values = rows.unchecked<2>();
  cells.resize(static_cast<std::size_t>(rows.shape(0)));
  for (py::ssize_t i = 0; i < rows.shape(0); ++i) {
    Brin::Pose2Di& cell = cells[static_cast<std::size_t>(i)];
    if (!assign(cell.x, values(i, 0)) || !assign(cell.y, values(i, 1))) return false;
    assign(cell.theta, values(i, 2));
  }
  return true;
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

py::object memberNamed(py::handle enumeration, py::handle name) {
  const std::string wanted = lowered(py::str(name));
  const auto members = enumeration.attr("__members__").cast<py::dict>();
  for (const auto& [key, member] : members) {
    const std::string text = lowered(py::str(key));
    const std::size_t prefix = text.find('_');
    const bool shortened = prefix != std::string::npos && wanted == text.substr(prefix + 1);
    if (wanted == text || shortened) return py::reinterpret_borrow<py::object>(member);
  }
  return {};
}

}  // namespace korrin_python
