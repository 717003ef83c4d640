#include "python/src/values.hpp"

#include <opencv2/core/types_c.h>

#include <cstring>

namespace korrin_python {
namespace {

py::object numpy(const char* name) { return py::module_::import("numpy").attr(name); }

bool sameRow(const float* a, const float* b, int count) {
  if (std::memcmp(a, b, static_cast<std::size_t>(count) * sizeof(float)) == 0) return true;
  for (int i = 0; i < count; ++i) {
    if (!sameNumber(a[i], b[i])) return false;
  }
  return true;
}

const float* rowOf(const IplImage& image, int y) {
  return reinterpret_cast<const float*>(image.imageData + std::ptrdiff_t{y} * image.widthStep);
}

bool sameImage(const IplImage* a, const IplImage* b) {
  if (a == nullptr || b == nullptr) return a == b;
  if (a->width != b->width || a->height != b->height) return false;
  for (int y = 0; y < a->height; ++y) {
    if (!sameRow(rowOf(*a, y), rowOf(*b, y), a->width)) return false;
  }
  return true;
}

}  // namespace

py::object packedPixels(const py::object& array, int protocol) {
  if (array.is_none()) return py::none();
  const py::object whole = numpy("ascontiguousarray")(array);
  const py::object buffer = protocol >= 5
                                ? py::module_::import("pickle").attr("PickleBuffer")(whole)
                                : whole.attr("tobytes")();
  return py::make_tuple(whole.attr("dtype").attr("str"), whole.attr("shape"), buffer);
}

py::object unpackedPixels(py::handle packed) {
  if (packed.is_none()) return py::none();
  const auto parts = packed.cast<py::tuple>();
  if (parts.size() != 3) throw py::cast_error("not an array of a pickle");
  return numpy("ndarray")(parts[1], numpy("dtype")(parts[0]), parts[2]);
}

bool samePixels(py::handle a, py::handle b) {
  if (a.is_none() || b.is_none()) return a.is_none() == b.is_none();
  if (!a.attr("dtype").equal(b.attr("dtype")) || !a.attr("shape").equal(b.attr("shape"))) {
    return false;
  }
  const py::object equal = numpy("equal")(a, b);
  const py::object neither = numpy("not_equal")(a, a) & numpy("not_equal")(b, b);
  return numpy("all")(equal | neither).cast<bool>();
}

std::string textOfPixels(py::handle array) {
  if (array.is_none()) return "None";
  std::string shape;
  for (const py::handle side : array.attr("shape")) {
    shape += (shape.empty() ? "" : " x ") + std::string(py::str(side));
  }
  return "<" + std::string(py::str(array.attr("dtype"))) + " array of " + shape + ">";
}

bool sameMap(const Brin::OccupancyMap* a, const Brin::OccupancyMap* b) {
  if (a == nullptr || b == nullptr) return a == b;
  return Kind<Brin::OccupancyMapParams>::same(a->params, b->params) &&
         sameImage(a->image, b->image) && sameImage(a->secondImage, b->secondImage);
}

py::dict attributesOf(const py::object& self) {
  return py::dict(py::getattr(self, "__dict__", py::dict()).attr("copy")());
}

py::object copied(const py::object& self, const py::dict& attributes) {
  const py::tuple parts = self.attr("__reduce_ex__")(5);
  py::object copy = parts[0](*py::tuple(parts[1]));
  copy.attr("__setstate__")(py::make_tuple(py::tuple(parts[2])[0], attributes));
  return copy;
}

py::tuple reduced(const py::object& self, const py::tuple& fields) {
  const py::object make = py::module_::import("copyreg").attr("__newobj__");
  return py::make_tuple(make, py::make_tuple(py::type::of(self)),
                        py::make_tuple(fields, attributesOf(self)));
}

std::pair<py::tuple, py::dict> fieldsOf(const py::tuple& state, std::size_t count) {
  const bool fits = state.size() == 2 && py::isinstance<py::tuple>(state[0]) &&
                    py::isinstance<py::dict>(state[1]) && py::len(state[0]) == count;
  if (!fits) throw py::value_error("the pickle is of another version of the class");
  return {state[0].cast<py::tuple>(), state[1].cast<py::dict>()};
}

void refuseState(const std::string& name) {
  throw py::value_error("the pickle holds what no " + name + " has");
}

}  // namespace korrin_python
