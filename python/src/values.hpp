// What the small value types have in common in Python: they convert from tuples, lists and arrays,
// unpack like tuples, compare and print.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <tuple>

namespace korrin_python {

namespace py = pybind11;

// The shortest text that reads back as `value`.
inline std::string shortest(float value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}
inline std::string shortest(std::int32_t value) { return std::to_string(value); }

inline void assign(float& field, double value) { field = static_cast<float>(value); }

// Cells come in arrays of floating point numbers, too.
inline void assign(std::int32_t& field, double value) {
  if (!(std::abs(value) <= 2147483647.0) || value != std::floor(value)) {
    throw py::value_error("cells must be whole numbers of 32 bits, found " + std::to_string(value));
  }
  field = static_cast<std::int32_t>(value);
}

template <typename Member>
struct Field {
  const char* name;
  Member member;
  const char* doc;
};

template <typename Member>
Field(const char*, Member, const char*) -> Field<Member>;

// "Name(x=1, y=2)"
template <typename Value, typename... Members>
std::string textOf(const Value& value, const char* name, const Field<Members>&... fields) {
  std::string text;
  ((text +=
    (text.empty() ? "" : ", ") + std::string(fields.name) + "=" + shortest(value.*fields.member)),
   ...);
  return name + ("(" + text + ")");
}

template <typename Value, typename... Members>
Value fromSequence(const py::sequence& numbers, const Field<Members>&... fields) {
  if (py::len(numbers) != sizeof...(fields)) {
    throw py::value_error("expected " + std::to_string(sizeof...(fields)) + " numbers, found " +
                          std::to_string(py::len(numbers)));
  }
  Value value;
  std::size_t next = 0;
  const auto number = [&] {
    const double result = PyFloat_AsDouble(py::object(numbers[next++]).ptr());
    if (PyErr_Occurred() != nullptr) throw py::error_already_set();
    return result;
  };
  (assign(value.*fields.member, number()), ...);
  return value;
}

// Gives `type`, whose fields are numbers, the fields and all that its first lines above promise.
template <typename Value, typename... Members>
void actsAsTuple(py::class_<Value>& type, const char* name, Field<Members>... fields) {
  (type.def_readwrite(fields.name, fields.member, fields.doc), ...);
  type.def(py::init([=](const py::sequence& numbers) {
             return fromSequence<Value>(numbers, fields...);
           }),
           py::arg("numbers"));
  type.def("__len__", [](const Value&) { return sizeof...(Members); });
  type.def("__getitem__", [=](const Value& value, py::ssize_t index) -> py::object {
    return py::make_tuple(value.*fields.member...)[py::int_(index)];
  });
  type.def("__iter__",
           [=](const Value& value) { return py::iter(py::make_tuple(value.*fields.member...)); });
  type.def("__repr__", [=](const Value& value) { return textOf(value, name, fields...); });
  type.def("__eq__", [=](const Value& a, const Value& b) {
    return ((a.*fields.member == b.*fields.member) && ...);
  });
  py::implicitly_convertible<py::tuple, Value>();
  py::implicitly_convertible<py::list, Value>();
  py::implicitly_convertible<py::array, Value>();
}

}  // namespace korrin_python
