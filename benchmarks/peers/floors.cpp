#include "peers/floors.hpp"

#include <fstream>
#include <utility>

#include "korrin/io/map_file.hpp"
#include "support/office_map.hpp"

namespace korrin_peers {
namespace {

using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::Pose2Di;

constexpr const char* kRealMapFile = "../shared/data/maps/willow-full-0.05.yaml";

Pose2D freePlaceNear(const OccupancyMap& map, double columnShare, double rowShare) {
  const Pose2Di cell =
      korrin_test::nearestFreeCell(map, static_cast<int>(columnShare * map.params.width),
                                   static_cast<int>(rowShare * map.params.height));
  return map.getPoseFromPixel(cell);
}

// Cells that block become certainly occupied. Grey walls, of which the real map has many, end a ray
// in this library and are looked through by others.
void makeCertain(OccupancyMap& map) {
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      if (map.getCell(x, y) < kObstacleThreshold) map.setCell(x, y, 0.0f);
    }
  }
}

std::vector<Pose2D> placesAllOver(const OccupancyMap& map) {
  constexpr int kSide = 6;
  std::vector<Pose2D> places;
  for (int row = 1; row <= kSide; ++row) {
    for (int column = 1; column <= kSide; ++column) {
      Pose2D place = freePlaceNear(map, column / (kSide + 1.0), row / (kSide + 1.0));
      place.theta = Brin::canonicalAngle(0.7f * static_cast<float>(places.size()));
      places.push_back(place);
    }
  }
  return places;
}

Floor makeFloor(std::string name, OccupancyMap map) {
  makeCertain(map);
  const float half = map.params.resolution / 2.0f;
  map.params.origin = {half, half, 0.0f};
  return {std::move(name), map, {}, {}, placesAllOver(map)};
}

Floor officeFloor(int side) {
  Floor floor = makeFloor("office" + std::to_string(side), korrin_test::officeMap(side, 7));
  const auto corridor = [side](double share) {
    return (korrin_test::officeCorridorRow(side, share) + 0.5) / side;
  };
  floor.from = freePlaceNear(floor.map, 0.05, corridor(0.0));
  floor.to = freePlaceNear(floor.map, 0.95, corridor(1.0));
  return floor;
}

Floor realFloor() {
  Floor floor = makeFloor("willow", Brin::io::readMapFile(kRealMapFile));
  floor.from = freePlaceNear(floor.map, 0.1, 0.5);
  floor.to = freePlaceNear(floor.map, 0.9, 0.75);
  return floor;
}

std::vector<Floor> makeFloors() {
  std::vector<Floor> all = {officeFloor(500), officeFloor(1000)};
  if (std::ifstream(kRealMapFile).good()) all.push_back(realFloor());
  return all;
}

}  // namespace

const std::vector<Floor>& floors() {
  static const std::vector<Floor> all = makeFloors();
  return all;
}

}  // namespace korrin_peers
