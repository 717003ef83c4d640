// What makes a class of the module a value in Python: it prints, compares, copies and pickles by
// its fields, which are listed once.
//
//   actsAsRecord(type, PathCostStats(), Field{"min_cost", &PathCostStats::minCost, "..."}, ...);
//
// Two fields that are both not a number are equal, so that a value equals what its pickle gives
// back. Images are pickled as one buffer each, out of band where pickle is given a buffer_callback.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "python/src/casters.hpp"
#include "src/number_text.hpp"

namespace korrin_python {

namespace py = pybind11;

// A contiguous array as pickles hold it: kind, shape and one buffer; None for None.
py::object packedPixels(const py::object& array, int protocol);
// The array again. Its memory is that of the pickle: to be read, and copied where it is kept.
py::object unpackedPixels(py::handle packed);
// Whether kinds, shapes and elements agree, those that are not a number included.
bool samePixels(py::handle a, py::handle b);
std::string textOfPixels(py::handle array);

// Whether geometry and cells agree; null, no map, is equal to null.
bool sameMap(const Brin::OccupancyMap* a, const Brin::OccupancyMap* b);

inline bool sameNumber(float a, float b) { return a == b || (a != a && b != b); }

using Brin::shortest;

// Pixels or cells as a field; None where there are none.
struct Pixels {
  py::object array = py::none();
};

// What is done with a field of type T.
template <typename T>
struct CastKind {
  static std::string text(const T& value) { return py::str(py::cast(value)); }
  static py::object pack(const T& value, int /*protocol*/) { return py::cast(value); }
  static T unpack(py::handle packed) { return packed.cast<T>(); }
};

template <typename T>
struct Kind : CastKind<T> {
  static bool same(const T& a, const T& b) { return a == b; }
};

template <>
struct Kind<float> : CastKind<float> {
  static bool same(float a, float b) { return sameNumber(a, b); }
  static std::string text(float value) { return shortest(value); }
};

template <>
struct Kind<std::string> : CastKind<std::string> {
  static bool same(const std::string& a, const std::string& b) { return a == b; }
  static std::string text(const std::string& value) { return py::repr(py::cast(value)); }
};

template <>
struct Kind<Brin::Point2D> : CastKind<Brin::Point2D> {
  static bool same(const Brin::Point2D& a, const Brin::Point2D& b) {
    return sameNumber(a.x, b.x) && sameNumber(a.y, b.y);
  }
};

template <>
struct Kind<Brin::Pose2D> : CastKind<Brin::Pose2D> {
  static bool same(const Brin::Pose2D& a, const Brin::Pose2D& b) {
    return sameNumber(a.x, b.x) && sameNumber(a.y, b.y) && sameNumber(a.theta, b.theta);
  }
};

template <>
struct Kind<Brin::Pose2Di> : CastKind<Brin::Pose2Di> {
  static bool same(const Brin::Pose2Di& a, const Brin::Pose2Di& b) {
    return a.x == b.x && a.y == b.y && sameNumber(a.theta, b.theta);
  }
};

// A path, which is an array of N x 3 in Python.
template <>
struct Kind<std::vector<Brin::Pose2D>> : CastKind<std::vector<Brin::Pose2D>> {
  using Path = std::vector<Brin::Pose2D>;
  static bool same(const Path& a, const Path& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), Kind<Brin::Pose2D>::same);
  }
  static std::string text(const Path& path) { return textOfPixels(py::cast(path)); }
};

template <>
struct Kind<Brin::OccupancyMapParams> : CastKind<Brin::OccupancyMapParams> {
  using Params = Brin::OccupancyMapParams;
  static bool same(const Params& a, const Params& b) {
    return a.width == b.width && a.height == b.height && sameNumber(a.resolution, b.resolution) &&
           Kind<Brin::Pose2D>::same(a.origin, b.origin);
  }
};

template <>
struct Kind<std::shared_ptr<Brin::OccupancyMap>> : CastKind<std::shared_ptr<Brin::OccupancyMap>> {
  using Map = std::shared_ptr<Brin::OccupancyMap>;
  static bool same(const Map& a, const Map& b) { return sameMap(a.get(), b.get()); }
};

// An array of the user's own: it pickles itself.
template <>
struct Kind<py::array> {
  static bool same(const py::array& a, const py::array& b) { return samePixels(a, b); }
  static std::string text(const py::array& value) { return textOfPixels(value); }
  static py::object pack(const py::array& value, int /*protocol*/) { return value; }
  static py::array unpack(py::handle packed) { return packed.cast<py::array>(); }
};

template <>
struct Kind<Pixels> {
  static bool same(const Pixels& a, const Pixels& b) { return samePixels(a.array, b.array); }
  static std::string text(const Pixels& value) { return textOfPixels(value.array); }
  static py::object pack(const Pixels& value, int protocol) {
    return packedPixels(value.array, protocol);
  }
  static Pixels unpack(py::handle packed) { return {unpackedPixels(packed)}; }
};

// A field: its name, and how it is read: a member, or a function of the value.
template <typename Read>
struct Field {
  const char* name;
  Read read;
  const char* doc = "";
};
template <typename Read>
Field(const char*, Read) -> Field<Read>;
template <typename Read>
Field(const char*, Read, const char*) -> Field<Read>;

template <typename Value, typename Read>
using KindOf = Kind<std::decay_t<std::invoke_result_t<const Read&, const Value&>>>;

// "Name(x=1, y=2)"
template <typename Class, typename... Reads>
void showsFields(Class& type, const Field<Reads>&... fields) {
  using Value = typename Class::type;
  const std::string name = py::str(type.attr("__qualname__"));
  type.def("__repr__", [=](const Value& self) {
    std::string text;
    ((text += (text.empty() ? "" : ", ") + std::string(fields.name) + "=" +
              KindOf<Value, Reads>::text(std::invoke(fields.read, self))),
     ...);
    return name + "(" + text + ")";
  });
}

template <typename Value, typename... Reads>
bool sameFields(const Value& a, const Value& b, const Field<Reads>&... fields) {
  return (KindOf<Value, Reads>::same(std::invoke(fields.read, a), std::invoke(fields.read, b)) &&
          ...);
}

// == and !=, with values of the same class alone.
template <typename Class, typename... Reads>
void comparesFields(Class& type, const Field<Reads>&... fields) {
  using Value = typename Class::type;
  type.def(
      "__eq__",
      [=](const Value& self, const Value& other) { return sameFields(self, other, fields...); },
      py::arg("other").noconvert(), py::is_operator());
}

// The attributes that a class derived in Python gave an object, as a dict of their own.
py::dict attributesOf(const py::object& self);
// A copy of `self`, of its own class, with those attributes; its images are copied only once.
py::object copied(const py::object& self, const py::dict& attributes);
// What pickle and copy ask for: how to make a `self` again, of its own class, be that one derived
// in Python, of these fields and of the attributes that it has besides.
py::tuple reduced(const py::object& self, const py::tuple& fields);
// The fields and the attributes in a pickle; ValueError unless there are that many.
std::pair<py::tuple, py::dict> fieldsOf(const py::tuple& state, std::size_t count);
[[noreturn]] void refuseState(const std::string& name);

template <typename Value, typename Make, typename... Reads, std::size_t... I>
auto remade(const py::tuple& fields, const Make& make, std::index_sequence<I...>) {
  return make(KindOf<Value, Reads>::unpack(fields[I])...);
}

// pickle, copy.copy and copy.deepcopy. `make` makes a value, or a pointer to one, of its fields.
template <typename Class, typename Make, typename... Reads>
void picklesFields(Class& type, const Make& make, const Field<Reads>&... fields) {
  using Value = typename Class::type;
  const auto packed = [=](const py::object& self, int protocol) {
    const auto& value = self.cast<const Value&>();
    return py::make_tuple(KindOf<Value, Reads>::pack(std::invoke(fields.read, value), protocol)...);
  };
  const std::string name = py::str(type.attr("__qualname__"));
  type.def("__reduce_ex__", [=](const py::object& self, int protocol) {
    return reduced(self, packed(self, protocol));
  });
  type.def(py::pickle(
      [=](const py::object& self) { return py::make_tuple(packed(self, 2), py::dict()); },
      [=](const py::tuple& state) {
        const auto [values, attributes] = fieldsOf(state, sizeof...(Reads));
        try {
          return std::make_pair(
              remade<Value, Make, Reads...>(values, make, std::index_sequence_for<Reads...>()),
              attributes);
        } catch (const py::cast_error&) {
          refuseState(name);
        }
      }));
}

// All of the above by the same fields.
template <typename Class, typename Make, typename... Reads>
void actsAsValue(Class& type, const Make& make, const Field<Reads>&... fields) {
  showsFields(type, fields...);
  comparesFields(type, fields...);
  picklesFields(type, make, fields...);
}

// Members of an enumeration pickle as their numbers, with any protocol.
template <typename Enumeration>
void picklesNumber(Enumeration& type) {
  type.def("__reduce_ex__", [](const py::object& self, int /*protocol*/) {
    return py::make_tuple(py::type::of(self), py::make_tuple(py::int_(self)));
  });
}

// How a value is made that is `blank` but for its fields, which are members.
template <typename Value, typename... Members>
auto recordMaker(const Value& blank, const Field<Members>&... fields) {
  return [=](const auto&... values) {
    Value value = blank;
    ((value.*fields.read = values), ...);
    return value;
  };
}

// Gives `type` its fields, all of them members, and makes it a value. Python may write them, but
// for those that the class has as properties already.
template <typename Class, typename... Members>
void actsAsRecord(Class& type, const typename Class::type& blank, const Field<Members>&... fields) {
  const auto define = [&](const auto& field) {
    if (!py::hasattr(type, field.name)) type.def_readwrite(field.name, field.read, field.doc);
  };
  (define(fields), ...);
  actsAsValue(type, recordMaker(blank, fields...), fields...);
}

// A record of numbers that is taken for a tuple: it is made of sequences, has a length and
// elements, and equals a tuple or list of its numbers.
template <typename Value, typename... Members>
void actsAsTuple(py::class_<Value>& type, const Field<Members>&... fields) {
  constexpr std::size_t kCount = sizeof...(Members);
  (type.def_readwrite(fields.name, fields.read, fields.doc), ...);
  type.def(py::init([](const py::sequence& numbers) {
             Value value;
             if (!readRecord(py::tuple(numbers), value)) throw py::reference_cast_error();
             return value;
           }),
           py::arg("numbers"));
  type.def("__len__", [](const Value&) { return kCount; });
  const auto tupleOf = [=](const Value& value) { return py::make_tuple(value.*fields.read...); };
  type.def("__getitem__", [=](const Value& value, py::ssize_t index) -> py::object {
    return tupleOf(value)[py::int_(index)];
  });
  type.def("__iter__", [=](const Value& value) { return py::iter(tupleOf(value)); });
  actsAsValue(type, recordMaker(Value(), fields...), fields...);
  const auto equalsNumbers = [=](const Value& self, const py::sequence& numbers) {
    Value other;
    return py::len(numbers) == kCount && readRecord(numbers, other) &&
           sameFields(self, other, fields...);
  };
  type.def(
      "__eq__", [=](const Value& self, const py::tuple& t) { return equalsNumbers(self, t); },
      py::is_operator());
  type.def(
      "__eq__", [=](const Value& self, const py::list& l) { return equalsNumbers(self, l); },
      py::is_operator());
}

}  // namespace korrin_python
