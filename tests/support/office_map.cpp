#include "support/office_map.hpp"

#include <algorithm>

#include "support/random_inputs.hpp"

namespace korrin_test {
namespace {

constexpr int kWall = 3;           // thickness
constexpr int kCorridor = 36;      // width
constexpr int kRoomDepth = 80;     // from the corridor to the wall in the back
constexpr int kDoor = 18;          // width
constexpr int kRoomsInABlock = 4;  // after a corridor across
constexpr int kRow = kCorridor + 2 * (kRoomDepth + kWall) + kWall;  // a corridor and its rooms

// Columns [x0, x1) and rows [y0, y1).
struct Area {
  int x0, y0, x1, y1;
};

class Office {
 public:
  Office(int side, std::uint64_t seed) : map_(side, side, 0.05f, false), random_(seed) {}

  Brin::OccupancyMap build() {
    const int side = map_.params.width;
    map_.reset(0.0f);
    // Row by row: a corridor along, rooms above and below it.
    for (int y = kWall; y < side; y += kRow) {
      fill({kWall, y, side, y + kCorridor}, 1.0f);
      buildRooms(y + kCorridor + kWall, y + kCorridor);
      const int above = y + kCorridor + kWall + kRoomDepth + kWall;
      buildRooms(above, above + kRoomDepth);
    }
    fill({0, side - kWall, side, side}, 0.0f);
    fill({side - kWall, 0, side, side}, 0.0f);
    return map_;
  }

 private:
  void fill(const Area& area, float value) {
    for (int y = area.y0; y < area.y1; ++y) {
      for (int x = area.x0; x < area.x1; ++x) map_.setCell(x, y, value);
    }
  }

  // A row of rooms whose lower wall is at `y`; their doors lead through the wall at `doorY`. A
  // corridor across crosses after every few rooms, through both of the row's walls.
  void buildRooms(int y, int doorY) {
    int x = kWall;
    for (int room = 0; x < map_.params.width; ++room) {
      if (room % (kRoomsInABlock + 1) == 0) {
        fill({x, y - kWall, x + kCorridor, y + kRoomDepth + kWall}, 1.0f);
        x += kCorridor + kWall;
        continue;
      }
      // All rows use the same widths, so that the corridors across meet.
      const int width = 70 + 20 * (room % 3);
      buildRoom({x, y, x + width, y + kRoomDepth}, doorY);
      x += width + kWall;
    }
  }

  void buildRoom(const Area& room, int doorY) {
    fill(room, random_.chance(0.05) ? 0.5f : 1.0f);
    const int door = random_.between(room.x0 + 2, room.x1 - kDoor - 2);
    fill({door, doorY, door + kDoor, doorY + kWall}, 1.0f);
    if (random_.chance(0.2)) {  // to the next room
      const int at = random_.between(room.y0 + 2, room.y1 - kDoor - 2);
      fill({room.x1, at, room.x1 + kWall, at + kDoor}, 1.0f);
    }
    for (int i = random_.between(1, 5); i > 0; --i) placeFurniture(room);
    for (int i = random_.between(0, 300); i > 0; --i) placeSpeckle(room);
  }

  void placeFurniture(const Area& room) {
    const int width = random_.between(6, 24);
    const int height = random_.between(6, 24);
    const int x = random_.between(room.x0 + 14, room.x1 - 14 - width);
    const int y = random_.between(room.y0 + 14, room.y1 - 14 - height);
    fill({x, y, x + width, y + height}, 0.0f);
  }

  // A cell that is less than certainly free, as noisy readings leave them.
  void placeSpeckle(const Area& room) {
    const int x = random_.between(room.x0, room.x1 - 1);
    const int y = random_.between(room.y0, room.y1 - 1);
    if (map_.getCell(x, y) == 1.0f) map_.setCell(x, y, random_.between(0.6f, 1.0f));
  }

  Brin::OccupancyMap map_;
  RandomInputs random_;
};

}  // namespace

Brin::OccupancyMap officeMap(int side, std::uint64_t seed) { return Office(side, seed).build(); }

int officeCorridorRow(int side, double share) {
  const int rows = std::max(0, side - 2 * kWall - kCorridor) / kRow;
  return kWall + static_cast<int>(share * rows) * kRow + std::min(kCorridor, side) / 2;
}

Brin::Pose2Di nearestFreeCell(const Brin::OccupancyMap& map, int x, int y) {
  const int farthest = std::max(map.params.width, map.params.height);
  for (int ring = 0; ring < farthest; ++ring) {
    for (int dy = -ring; dy <= ring; ++dy) {
      const bool wholeRow = dy == -ring || dy == ring;
      for (int dx = -ring; dx <= ring; dx += wholeRow ? 1 : std::max(1, 2 * ring)) {
        if (map.getCell(x + dx, y + dy) >= 0.9f) return {x + dx, y + dy, 0.0f};
      }
    }
  }
  return {x, y, 0.0f};
}

}  // namespace korrin_test
