// What korrin.mapping, a module of the package, is made of: it shows the types of the headers as
// its own, and exchanges their fields with the functions here.
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <array>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "python/src/bindings.hpp"
#include "python/src/log.hpp"
#include "python/src/logged_scans.hpp"
#include "python/src/mapping_fields.hpp"

namespace korrin_python {
namespace {

namespace py = pybind11;
namespace mapping = Brin::mapping;
using Brin::OccupancyMap;
using Brin::OccupancyMapParams;
using Brin::Pose2D;
using Brin::Scan;

// Tells `target`, unless it is None, how far work has come, and lets an interrupt end it.
mapping::Progress progressTo(const py::object& target) {
  return [&target](double share) {
    const py::gil_scoped_acquire lock;
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    if (!target.is_none()) target(share);
  };
}

// One thread at a time works with an aligner, and none of them holds the interpreter meanwhile.
class Aligner {
 public:
  explicit Aligner(const SettingsFields& settings) : aligner_(settingsOfFields(settings)) {}

  Pose2D add(const Scan& scan, const Pose2D& odometry) {
    const Scan own = scan;  // Python may change it meanwhile
    Pose2D pose;
    alone([&] { pose = aligner_.add(own, odometry); });
    return pose;
  }

  std::vector<Pose2D> poses() {
    std::vector<Pose2D> poses;
    alone([&] { poses = aligner_.poses(); });
    return poses;
  }

  std::vector<std::size_t> keyScans() {
    std::vector<std::size_t> scans;
    alone([&] { scans = aligner_.keyScans(); });
    return scans;
  }

  std::vector<LinkFields> links() {
    std::vector<LinkFields> links;
    alone([&] { links = fieldsOfLinks(aligner_.links()); });
    return links;
  }

  GraphFields graph() {
    GraphFields graph;
    alone([&] { graph = fieldsOfGraph(aligner_.graph()); });
    return graph;
  }

  SummaryFields summary() {
    SummaryFields summary{};
    alone([&] { summary = fieldsOfSummary(aligner_.summary()); });
    return summary;
  }

 private:
  void alone(const std::function<void()>& work) {
    unlocked([&] {
      const std::lock_guard<std::mutex> lock(mutex_);
      work();
    });
  }

  std::mutex mutex_;
  mapping::ScanAligner aligner_;
};

// The poses of lasers and robots, kind, summary, key scans, links.
using AlignmentFields =
    std::tuple<std::vector<Pose2D>, std::vector<Pose2D>, std::int32_t, SummaryFields,
               std::vector<std::size_t>, std::vector<LinkFields>>;

AlignmentFields alignScans(const std::vector<ScanFields>& scans, const SettingsFields& settings,
                           float resolution, const py::object& progress) {
  mapping::Alignment aligned;
  unlocked([&] {
    aligned = mapping::alignLog(scansOfFields(scans), {settingsOfFields(settings), resolution},
                                progressTo(progress));
  });
  std::vector<Pose2D> poses;
  std::vector<Pose2D> robots;
  for (const Brin::io::LoggedScan& logged : aligned.scans) {
    poses.push_back(logged.pose);
    robots.push_back(logged.robot);
  }
  return {poses,
          robots,
          static_cast<std::int32_t>(aligned.kind),
          fieldsOfSummary(aligned.summary),
          aligned.keyScans,
          fieldsOfLinks(aligned.links)};
}

std::shared_ptr<OccupancyMap> gridOf(const std::vector<ScanFields>& scans,
                                     const OccupancyMapParams& frame, const py::object& progress) {
  const OccupancyMapParams own = frame;
  std::shared_ptr<OccupancyMap> map;
  unlocked([&] {
    map = std::make_shared<OccupancyMap>(
        mapping::buildGrid(scansOfFields(scans), own, progressTo(progress)));
  });
  return map;
}

std::tuple<std::size_t, std::size_t, std::size_t, double> qualityOfGrid(
    const OccupancyMap& map, const std::vector<ScanFields>& scans, std::int32_t samples) {
  mapping::GridQuality quality;
  unlocked([&] { quality = mapping::judgeGrid(map, scansOfFields(scans), samples); });
  return {quality.occupiedCells, quality.freeCells, quality.scansCompared, quality.likelihood};
}

void bindAligner(py::module_& module) {
  py::class_<Aligner>(module, "_ScanAligner")
      .def(py::init<const SettingsFields&>(), py::arg("settings"))
      .def("add", &Aligner::add, py::arg("scan"), py::arg("odometry"))
      .def("poses", &Aligner::poses)
      .def("key_scans", &Aligner::keyScans)
      .def("links", &Aligner::links)
      .def("graph", &Aligner::graph)
      .def("summary", &Aligner::summary);
}

void bindGrids(py::module_& module) {
  module.def("_grid_around", [](const std::vector<ScanFields>& scans, float resolution) {
    return mapping::gridAround(scansOfFields(scans), resolution);
  });
  module.def("_build_grid", &gridOf);
  module.def("_cropped_to_free",
             [](const OccupancyMap& map) { return mapping::croppedToFree(map); });
  module.def("_judge_grid", &qualityOfGrid);
}

}  // namespace

void bindMapping(py::module_& module) {
  bindAligner(module);
  bindGrids(module);
  module.def("_align", &alignScans);
  module.def("_write_track", [](const std::vector<ScanFields>& scans,
                                const std::filesystem::path& path, float noReturn) {
    mapping::writeTrack(scansOfFields(scans), path.string(), noReturn);
  });
}

}  // namespace korrin_python
