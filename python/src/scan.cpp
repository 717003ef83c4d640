#include "korrin/core/scan.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "korrin/core/image.hpp"
#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/log.hpp"
#include "python/src/values.hpp"

namespace korrin_python {

using Brin::RangeReading;

// The readings of a scan as its field: their bytes, in one buffer.
template <>
struct Kind<std::vector<RangeReading>> {
  using Readings = std::vector<RangeReading>;

  static bool sameReading(const RangeReading& a, const RangeReading& b) {
    return sameNumber(a.range, b.range) && sameNumber(a.angle, b.angle) &&
           sameNumber(a.weight, b.weight) && a.mark == b.mark && a.status == b.status;
  }
  static bool same(const Readings& a, const Readings& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), &sameReading);
  }
  static std::string text(const Readings& readings) {
    if (readings.empty()) return "<none>";
    const auto hits =
        std::count_if(readings.begin(), readings.end(),
                      [](const RangeReading& reading) { return reading.status == 0; });
    return "<" + std::to_string(readings.size()) + " from " + shortest(readings.front().angle) +
           " to " + shortest(readings.back().angle) + " rad, " + std::to_string(hits) + " hits>";
  }
  static py::object pack(const Readings& readings, int protocol) {
    const auto size = static_cast<py::ssize_t>(readings.size() * sizeof(RangeReading));
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(readings.data());
    return packedPixels(py::array_t<std::uint8_t>(size, bytes), protocol);
  }
  static Readings unpack(py::handle packed) {
    const auto bytes = py::array_t<std::uint8_t>::ensure(unpackedPixels(packed));
    if (!bytes || static_cast<std::size_t>(bytes.size()) % sizeof(RangeReading) != 0) {
      throw py::cast_error("not the readings of a scan");
    }
    Readings readings(static_cast<std::size_t>(bytes.size()) / sizeof(RangeReading));
    if (!readings.empty()) {
      std::memcpy(static_cast<void*>(readings.data()), bytes.data(),
                  static_cast<std::size_t>(bytes.size()));
    }
    return readings;
  }
};

namespace {

using Brin::Point2D;
using Brin::Scan;

constexpr const char* kScanDoc = R"(A planar laser scan, reading by reading.

From the ranges of one turn of a scanner, as robots' laser messages hold them: reading i has the
bearing angle_min + i * angle_increment (radians, 0 straight ahead, left positive). A range above
`range_max`, infinity included, is a beam that met nothing: it becomes a reading of status 1 and
range `range_max`. NaN, -infinity and ranges below `range_min` are measurements that failed; they
are left out. All ranges are metres.

>>> scan = korrin.Scan([4.2, np.inf, np.nan, 3.9], angle_min=-0.5, angle_increment=0.25,
...                    range_min=0.1, range_max=30)
>>> scan.readings["range"].tolist() == np.float32([4.2, 30, 3.9]).tolist()
True
>>> scan.readings["angle"].tolist(), scan.readings["status"].tolist()
([-0.5, -0.25, 0.25], [0, 1, 0])

A scan keeps its number of readings for life. `readings` is an array of its own memory, with the
fields range, angle, weight, mark and status; what is written there is in the scan.
)";

struct RangeLimits {
  float least;
  float most;
};

// False for a measurement that failed.
bool readRange(float range, const RangeLimits& limits, RangeReading& reading) {
  if (!(range >= limits.least) || range == -std::numeric_limits<float>::infinity()) return false;
  const bool met = range <= limits.most && range < std::numeric_limits<float>::infinity();
  reading.range = met ? range : limits.most;
  reading.status = met ? 0 : 1;
  return true;
}

Scan scanFromRanges(const py::object& values, double angleMin, double angleIncrement,
                    float rangeMin, float rangeMax) {
  if (!std::isfinite(angleMin) || !std::isfinite(angleIncrement)) {
    throw py::value_error("angle_min and angle_increment must be finite");
  }
  if (!(rangeMin <= rangeMax)) throw py::value_error("range_min must not be above range_max");
  const py::array_t<float> ranges = floatVector(values, "ranges");
  Scan scan;
  scan.readings.reserve(static_cast<std::size_t>(ranges.size()));
  for (py::ssize_t i = 0; i < ranges.size(); ++i) {
    const double angle = angleMin + static_cast<double>(i) * angleIncrement;
    RangeReading reading(0.0f, static_cast<float>(angle));
    if (readRange(ranges.at(i), {rangeMin, rangeMax}, reading)) scan.readings.push_back(reading);
  }
  return scan;
}

Scan scanFromRecords(const py::array_t<RangeReading>& records) {
  if (records.ndim() != 1) {
    throw py::value_error("readings: wanted one dimension, found an array of shape " +
                          std::string(py::str(records.attr("shape"))));
  }
  Scan scan;
  scan.readings.resize(static_cast<std::size_t>(records.size()));
  for (py::ssize_t i = 0; i < records.size(); ++i) {
    scan.readings[static_cast<std::size_t>(i)] = records.at(i);
  }
  return scan;
}

Scan scanFromList(const py::list& readings) {
  Scan scan;
  for (const py::handle reading : readings) {
    if (!py::isinstance<RangeReading>(reading)) {
      throw py::type_error("readings: wanted RangeReading objects, found a " +
                           std::string(py::str(py::type::of(reading).attr("__name__"))));
    }
    scan.readings.push_back(reading.cast<const RangeReading&>());
  }
  return scan;
}

std::vector<Point2D> endsOf(const Scan& scan) {
  std::vector<Point2D> ends;
  ends.reserve(scan.readings.size());
  for (const RangeReading& reading : scan.readings) ends.push_back(reading.toPoint2D());
  return ends;
}

void bindReading(py::module_& module) {
  PYBIND11_NUMPY_DTYPE(RangeReading, range, angle, weight, mark, status);
  py::class_<RangeReading> reading(module, "RangeReading", R"(One reading of a scan.

>>> korrin.RangeReading(2, 0).to_point2d()
Point2D(x=2, y=0)
)");
  reading.def(py::init<>())
      .def(py::init<float, float>(), py::arg("range"), py::arg("angle"))
      .def("to_point2d", &RangeReading::toPoint2D,
           R"(The reading's end in the sensor's frame, metres.

>>> korrin.RangeReading(2, korrin.k_pi / 2).to_point2d().y
2.0
)");
  using R = RangeReading;
  actsAsRecord(reading, R(), Field{"range", &R::range, "Metres"},
               Field{"angle", &R::angle, "Bearing in radians off the heading"},
               Field{"weight", &R::weight, "Scales what a map update makes of it"},
               Field{"mark", &R::mark, "Set to 1 by the library, never read by it"},
               Field{"status", &R::status, "0: met an obstacle; 1: met nothing"});
}

void bindScanItself(py::module_& module) {
  py::class_<Scan> type(module, "Scan", kScanDoc);
  type.def(py::init<>())
      .def(py::init(&scanFromList), py::arg("readings"), "A scan of RangeReading objects.")
      .def(py::init(&scanFromRecords), py::arg("readings").noconvert(),
           "A scan of an array like `readings` of another.")
      .def(py::init(&scanFromRanges), py::arg("ranges"), py::arg("angle_min"),
           py::arg("angle_increment"), py::arg("range_min") = 0.0f,
           py::arg("range_max") = std::numeric_limits<float>::infinity(),
           "A scan of a laser message's ranges.")
      .def("__len__", [](const Scan& self) { return self.readings.size(); })
      .def_property_readonly(
          "readings",
          [](const py::object& self) {
            auto& readings = self.cast<Scan&>().readings;
            return py::array_t<RangeReading>(static_cast<py::ssize_t>(readings.size()),
                                             readings.data(), self);
          },
          "All readings, as a writable structured array of the scan's own memory")
      .def("get_resolution", &Scan::getResolution,
           R"(The mean angular step between readings, radians; 0 with fewer than two.

>>> korrin.Scan([1, 1, 1], angle_min=-0.5, angle_increment=0.5).get_resolution()
0.5
)")
      .def("to_point2d", &endsOf,
           R"(All readings' ends in the sensor's frame: N x 2, metres, no-hits included.

>>> scan = korrin.Scan([1, 2], angle_min=0, angle_increment=0)
>>> scan.to_point2d()[scan.readings["status"] == 0].tolist()
[[1.0, 0.0], [2.0, 0.0]]
)");
  actsAsRecord(type, Scan(), Field{"readings", &Scan::readings});
}

void bindHole(py::module_& module) {
  using H = Brin::ScanHole;
  py::class_<H> hole(module, "ScanHole",
                     R"(An opening in a scan, in the sensor's frame: metres, radians.

>>> korrin.ScanHole().begin_index
0
)");
  hole.def(py::init<>());
  actsAsRecord(hole, H(), Field{"begin_index", &H::beginIndex, "Reading of the first border"},
               Field{"end_index", &H::endIndex, "Reading of the second border"},
               Field{"heading", &H::heading, "Direction of the middle, radians"},
               Field{"normal_angle", &H::normalAngle, "Direction out of it, radians"},
               Field{"begin_point", &H::beginPoint, "First border, metres"},
               Field{"end_point", &H::endPoint, "Second border, metres"},
               Field{"approach_point", &H::approachPoint, "In front of it, metres"});
}

py::object drawLaser(const Scan& scan, const Brin::Pose2D& pose, const py::object& image,
                     float resolution, bool flag, int value) {
  if (value < -128 || value > 255) throw py::value_error("value must be a byte");
  const char byte = static_cast<char>(value);
  if (flag || image.is_none()) {
    IplImage* fresh = nullptr;
    unlocked([&] { Brin::drawLaser(scan, pose, &fresh, resolution, flag, byte); });
    return takeOver(fresh);
  }
  ArrayImage over = ArrayImage::writable(py::cast<py::array>(image), "image");
  IplImage* slot = over.get();
  unlocked([&] { Brin::drawLaser(scan, pose, &slot, resolution, flag, byte); });
  return image;
}

py::object createFlippedImage(const py::sequence& size, int depth, int channels) {
  if (py::len(size) != 2) throw py::value_error("size must be (width, height)");
  const CvSize pixels{size[0].cast<int>(), size[1].cast<int>()};
  if (pixels.width < 0 || pixels.height < 0) throw py::value_error("size must not be negative");
  return takeOver(Brin::createFlippedImage(pixels, depth, channels));
}

void bindImages(py::module_& module) {
  module.def("draw_laser", &drawLaser, py::arg("scan"), py::arg("pose"), py::arg("image"),
             py::arg("resolution"), py::arg("flag") = true, py::arg("value") = 0,
             R"(Draws the hits of a scan, turned by pose.theta, and returns the picture: a square of
bytes at `resolution` metres per pixel, the sensor at [side // 2, side // 2], columns growing along
x and rows along y.

With `flag`, or without an `image` (None), it is a new picture as large as the scan needs, cleared
to 255; else the hits are drawn over `image`, which is returned.

>>> scan = korrin.Scan([1], angle_min=0, angle_increment=0)
>>> picture = korrin.draw_laser(scan, (0, 0, 0), None, 0.5)
>>> side = len(picture)
>>> int(picture[side // 2, side // 2 + 2])
0
)");
  module.def(
      "create_flipped_image", &createFlippedImage, py::arg("size"), py::arg("depth"),
      py::arg("channels"),
      R"(A new image of size (width, height) with undefined pixels; depth 8: bytes, 32: floats.

>>> korrin.create_flipped_image((4, 3), 32, 1).shape
(3, 4)
)");
}

}  // namespace

bool readScan(py::handle source, Scan& scan) {
  if (!py::isinstance<py::array_t<RangeReading>>(source)) return false;
  const auto records = py::reinterpret_borrow<py::array_t<RangeReading>>(source);
  if (records.ndim() != 1) return false;
  scan = scanFromRecords(records);
  return true;
}

void bindScan(py::module_& module) {
  bindReading(module);
  bindScanItself(module);
  bindHole(module);
  bindImages(module);
}

}  // namespace korrin_python
