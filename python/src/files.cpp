#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <filesystem>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "korrin/io/io.hpp"
#include "python/src/bindings.hpp"
#include "python/src/logged_scans.hpp"

namespace korrin_python {
namespace {

using Brin::OccupancyMap;
using Brin::Pose2D;
using std::filesystem::path;

constexpr const char* kLoadMapDoc =
    R"(The map that a YAML file and its picture hold, with a second image of unknown cells.

A pixel's brightness s in [0, 1] (colours averaged) stands for the occupied probability p = 1 - s,
or s with `negate`. Mode trinary (the default): p above occupied_thresh is 0, below free_thresh 1,
else 0.5; scale: falling linearly in between, transparent pixels 0.5; raw: s * 255 is a percentage
of occupancy, above 100 unknown. The picture's rows run downwards, the map's upwards; `origin` in
the file is the pose of the lower-left pixel's corner, the origin of the map that of its centre.

A file that the system refuses raises OSError, one that is faulty ValueError; both name the file,
the key and the fault. An origin more than 10 km from 0 is told to the logger "korrin".

>>> import os, tempfile
>>> file = os.path.join(tempfile.mkdtemp(), "room.yaml")
>>> korrin.save_map(korrin.OccupancyMap(4, 3, 0.05), file)
>>> korrin.load_map(file).image.shape
(3, 4)
)";

constexpr const char* kSaveMapDoc =
    R"(Writes a map as a YAML file and a picture beside it, in one of the modes of load_map.

Each cell becomes the nearest value that the mode can express: trinary knows 0, 0.5 and 1, raw the
percents and 0.5, scale the grey levels between the thresholds and, in its PNG, 0.5. A map without
cells, and thresholds that load_map would refuse, raise ValueError; a file that cannot be written
raises OSError.

>>> import os, tempfile
>>> file = os.path.join(tempfile.mkdtemp(), "room.yaml")
>>> korrin.save_map(korrin.OccupancyMap(4, 3, 0.05), file, mode="raw")
>>> open(file).readline()
'image: room.pgm\n'
)";

constexpr const char* kReadPathDoc =
    R"(The poses in a text file (CSV), a pose a line: x,y or x,y,theta in metres and radians.

An N x 3 array. The first line may be a header; blank lines and lines that begin with # are passed
over. OSError and ValueError as load_map raises them; a file without poses is faulty.

>>> import os, tempfile
>>> file = os.path.join(tempfile.mkdtemp(), "way.csv")
>>> korrin.write_path([(1, 2, 0.5), (3, 4, 0)], file)
>>> korrin.read_path(file).tolist()
[[1.0, 2.0, 0.5], [3.0, 4.0, 0.0]]
)";

constexpr const char* kWritePathDoc =
    R"(Writes poses as a text file (CSV): a header, then x,y,theta of each, exactly.

A pose that is not finite and a path without poses raise ValueError, a file that cannot be written
OSError.

>>> korrin.write_path([], "nowhere.csv")
Traceback (most recent call last):
ValueError: nowhere.csv: cannot be written: no poses
)";

Brin::io::MapMode modeNamed(const std::string& name) {
  if (name == "trinary") return Brin::io::MapMode::Trinary;
  if (name == "scale") return Brin::io::MapMode::Scale;
  if (name == "raw") return Brin::io::MapMode::Raw;
  throw py::value_error("mode: wanted 'trinary', 'scale' or 'raw', found '" + name + "'");
}

void saveMap(const OccupancyMap& map, const path& file, const std::string& mode,
             double occupiedThreshold, double freeThreshold) {
  Brin::io::MapFileFormat format;
  format.mode = modeNamed(mode);
  format.occupiedThreshold = occupiedThreshold;
  format.freeThreshold = freeThreshold;
  const py::gil_scoped_release released;
  Brin::io::writeMapFile(map, file.string(), format);
}

// A log as the package's own LaserLog is made of: its scans, the range of no return, and what could
// not be read.
using LogFields = std::tuple<std::vector<ScanFields>, float, std::string>;

LogFields readLog(const path& file, std::optional<float> maxRange) {
  Brin::io::LaserLog log;
  {
    const py::gil_scoped_release released;
    log = Brin::io::readLaserLog(file.string(), {maxRange});
  }
  std::vector<ScanFields> scans;
  scans.reserve(log.scans.size());
  for (Brin::io::LoggedScan& logged : log.scans) {
    scans.emplace_back(std::move(logged.scan), logged.pose, logged.robot, logged.time, logged.line);
  }
  return {std::move(scans), log.noReturn, log.complaint()};
}

void writeLog(const std::vector<ScanFields>& scans, float noReturn, const path& file) {
  Brin::io::LaserLog log;
  log.noReturn = noReturn;
  log.scans = scansOfFields(scans);
  const py::gil_scoped_release released;
  Brin::io::writeLaserLog(log, file.string());
}

// OSError, as open() raises it, for what the system refused; ValueError for a faulty content.
void translate(std::exception_ptr failure) {
  try {
    if (failure) std::rethrow_exception(failure);
  } catch (const Brin::io::FileError& error) {
    if (error.systemError() == 0) return PyErr_SetString(PyExc_ValueError, error.what());
    const std::string place = error.place().empty() ? "" : error.place() + ": ";
    const py::object arguments =
        py::make_tuple(error.systemError(), place + error.fault(), error.file());
    PyErr_SetObject(PyExc_OSError, arguments.ptr());
  }
}

}  // namespace

void bindFiles(py::module_& module) {
  py::register_exception_translator(&translate);
  module.def(
      "load_map", [](const path& file) { return Brin::io::readMapFile(file.string()); },
      py::arg("yaml_path"), py::call_guard<py::gil_scoped_release>(), kLoadMapDoc);
  module.def("save_map", &saveMap, py::arg("map"), py::arg("yaml_path"),
             py::arg("mode") = "trinary", py::arg("occupied_thresh") = 0.65,
             py::arg("free_thresh") = 0.196, kSaveMapDoc);
  module.def(
      "read_path", [](const path& file) { return Brin::io::readPathFile(file.string()); },
      py::arg("path"), kReadPathDoc);
  module.def(
      "write_path",
      [](const std::vector<Pose2D>& poses, const path& file) {
        Brin::io::writePathFile(poses, file.string());
      },
      py::arg("poses"), py::arg("path"), kWritePathDoc);
  module.def("_read_log", &readLog, py::arg("path"), py::arg("max_range"));
  module.def("_write_log", &writeLog, py::arg("scans"), py::arg("no_return"), py::arg("path"));
}

}  // namespace korrin_python
