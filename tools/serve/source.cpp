#include "tools/serve/source.hpp"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "korrin/mapping/grid_builder.hpp"
#include "korrin/mapping/log_alignment.hpp"
#include "tools/demo/floor_plan.hpp"
#include "tools/open_map.hpp"
#include "tools/serve/free_ends.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool::serve {
namespace {

constexpr float kResolution = 0.05f;  // metres a cell, of maps from logs

std::string fileName(const std::string& path) {
  return std::filesystem::path(path).filename().string();
}

Source sourceOf(const std::string& name, const std::string& kind, Brin::OccupancyMap map) {
  const auto [start, goal] = freeEnds(map);
  return {name, kind, std::move(map), {}, start, goal, {}, {}, false};
}

}  // namespace

bool isMapFile(const std::string& path) {
  std::string ending = std::filesystem::path(path).extension().string();
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return ending == ".yaml" || ending == ".yml";
}

Source demoSource() {
  FloorPlan floor = makeFloorPlan();
  Source source{"demonstration",
                "demo",
                std::move(floor.map),
                {},
                floor.entrance,
                floor.farRoom,
                {},
                {},
                false};
  for (const RoomName& room : floor.rooms) source.rooms.push_back({room.middle, room.name});
  return source;
}

Source mapSource(const std::string& path) { return sourceOf(fileName(path), "map", openMap(path)); }

Source logSource(const std::string& path, const Brin::mapping::Progress& progress) {
  const Brin::io::LaserLog log = Brin::io::readLaserLog(path);
  const std::string complaint = log.complaint();
  if (log.scans.empty()) {
    throw UsageError(path + ": no laser scans" + (complaint.empty() ? "" : "; " + complaint));
  }
  auto aligned = Brin::mapping::alignLog(log.scans, {{}, kResolution}, progress);
  const auto frame = Brin::mapping::gridAround(aligned.scans, kResolution);
  if (!frame) throw UsageError(path + ": the scans reach too far for cells of 0.05 m");
  Source source =
      sourceOf(fileName(path), "log",
               Brin::mapping::croppedToFree(Brin::mapping::buildGrid(aligned.scans, *frame)));
  for (const Brin::io::LoggedScan& logged : log.scans) source.loggedPoses.push_back(logged.pose);
  source.scans = std::move(aligned.scans);
  source.isAligned = aligned.kind != Brin::mapping::AlignmentKind::Logged;
  return source;
}

}  // namespace korrin_tool::serve
