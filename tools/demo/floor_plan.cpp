#include "tools/demo/floor_plan.hpp"

#include <cmath>
#include <iterator>

namespace korrin_tool {
namespace {

constexpr int kColumns = 480;
constexpr int kRows = 320;
constexpr float kResolution = 0.05f;

// All lengths in metres.
struct Box {
  float left;
  float bottom;
  float right;
  float top;
};

struct Disc {
  float x;
  float y;
  float radius;
};

// The building, from which walls, then doors, then furniture are cut.
constexpr Box kFloor{0.5f, 0.5f, 23.5f, 15.5f};

constexpr Box kWalls[] = {
    {0.5f, 0.5f, 23.5f, 0.7f},     // south
    {0.5f, 15.3f, 23.5f, 15.5f},   // north
    {0.5f, 0.5f, 0.7f, 15.5f},     // west
    {23.3f, 0.5f, 23.5f, 15.5f},   // east
    {0.5f, 9.0f, 23.5f, 9.15f},    // corridor, north side
    {0.5f, 6.85f, 23.5f, 7.0f},    // corridor, south side
    {5.6f, 9.0f, 5.75f, 15.5f},    // office | meeting
    {11.0f, 9.0f, 11.15f, 15.5f},  // meeting | studio
    {17.6f, 9.0f, 17.75f, 15.5f},  // studio | laboratory
    {7.2f, 0.5f, 7.35f, 7.0f},     // lobby | kitchen
    {12.2f, 0.5f, 12.35f, 7.0f},   // kitchen | store
    {17.2f, 0.5f, 17.35f, 7.0f},   // store | workshop
};

constexpr Box kDoors[] = {
    {0.4f, 7.3f, 0.8f, 8.7f},      // entrance
    {3.9f, 8.9f, 4.9f, 9.2f},      // office
    {6.2f, 8.9f, 7.2f, 9.2f},      // meeting
    {11.7f, 8.9f, 12.7f, 9.2f},    // studio, west
    {16.0f, 8.9f, 17.0f, 9.2f},    // studio, east
    {21.5f, 8.9f, 22.5f, 9.2f},    // laboratory
    {17.5f, 12.9f, 17.8f, 13.9f},  // studio | laboratory
    {2.2f, 6.8f, 5.8f, 7.1f},      // lobby, open to the corridor
    {10.7f, 6.8f, 11.7f, 7.1f},    // kitchen
    {12.8f, 6.8f, 13.8f, 7.1f},    // store
    {21.9f, 6.8f, 22.9f, 7.1f},    // workshop
};

// A fire door in the corridor is closed: the way east leads through the studio.
constexpr Box kFurniture[] = {
    {14.6f, 7.0f, 14.75f, 9.0f},   // fire door
    {1.0f, 14.3f, 2.8f, 15.1f},    // office: desks
    {3.6f, 14.3f, 5.3f, 15.1f},    //
    {0.7f, 10.2f, 1.2f, 12.8f},    // shelf
    {7.0f, 11.6f, 9.8f, 13.0f},    // meeting: table
    {5.75f, 14.9f, 8.6f, 15.3f},   // sideboard
    {12.3f, 13.5f, 14.1f, 15.0f},  // studio: desks
    {15.0f, 13.5f, 16.8f, 15.0f},  //
    {12.3f, 10.7f, 14.1f, 12.1f},  //
    {15.0f, 10.7f, 16.8f, 12.1f},  //
    {19.0f, 9.9f, 20.7f, 11.1f},   // laboratory: benches
    {19.0f, 12.5f, 22.0f, 13.5f},  //
    {22.7f, 10.0f, 23.3f, 14.8f},  // cupboards
    {0.7f, 0.7f, 1.5f, 4.2f},      // lobby: sofa
    {1.5f, 0.7f, 4.4f, 1.5f},      //
    {5.4f, 2.6f, 6.0f, 5.2f},      // reception
    {7.35f, 0.7f, 12.2f, 1.3f},    // kitchen: counter
    {7.35f, 1.3f, 7.95f, 5.6f},    //
    {13.1f, 0.7f, 13.7f, 4.6f},    // store: racks
    {14.5f, 0.7f, 15.1f, 4.6f},    //
    {15.9f, 0.7f, 16.5f, 4.6f},    //
    {17.35f, 5.9f, 20.4f, 6.85f},  // workshop: benches
    {18.6f, 2.2f, 20.9f, 3.9f},    //
    {22.6f, 0.7f, 23.3f, 3.4f},    //
};

constexpr Disc kRoundThings[] = {
    {7.3f, 11.1f, 0.25f},  {8.4f, 11.1f, 0.25f},  {9.5f, 11.1f, 0.25f},   // meeting: chairs
    {7.3f, 13.5f, 0.25f},  {8.4f, 13.5f, 0.25f},  {9.5f, 13.5f, 0.25f},   //
    {13.2f, 13.1f, 0.22f}, {15.9f, 13.1f, 0.22f}, {13.2f, 10.3f, 0.22f},  // studio: chairs
    {10.3f, 3.3f, 0.55f},  {10.3f, 4.35f, 0.2f},  {9.25f, 3.3f, 0.2f},    // kitchen: table
    {11.3f, 3.3f, 0.2f},   {10.3f, 2.25f, 0.2f},                          //
    {2.9f, 2.9f, 0.45f},   {6.7f, 6.3f, 0.3f},    {1.1f, 6.3f, 0.3f},     // lobby: table, plants
    {10.5f, 14.8f, 0.3f},  {18.3f, 14.7f, 0.35f},                         // plants
    {21.4f, 1.5f, 0.4f},                                                  // workshop: drum
};

const RoomName kRooms[] = {
    {{1.9f, 13.5f}, "Office"}, {{8.4f, 12.3f}, "Meeting"},    {{13.2f, 14.25f}, "Studio"},
    {{20.5f, 14.4f}, "Lab"},   {{1.9f, 5.6f}, "Lobby"},       {{8.9f, 6.3f}, "Kitchen"},
    {{14.8f, 6.3f}, "Store"},  {{19.75f, 3.05f}, "Workshop"},
};

constexpr Brin::Pose2D kTour[] = {
    {1.2f, 8.0f, 0.0f},   {2.4f, 11.0f, 0.0f},  {3.2f, 13.7f, 0.0f},  {6.4f, 10.2f, 0.0f},
    {6.4f, 14.0f, 0.0f},  {10.3f, 13.6f, 0.0f}, {10.3f, 10.2f, 0.0f}, {11.8f, 12.8f, 0.0f},
    {14.5f, 12.8f, 0.0f}, {18.5f, 12.0f, 0.0f}, {20.6f, 14.0f, 0.0f}, {22.3f, 11.8f, 0.0f},
    {22.3f, 4.6f, 0.0f},  {20.0f, 1.4f, 0.0f},  {18.0f, 1.6f, 0.0f},  {16.0f, 8.0f, 0.0f},
    {14.5f, 9.9f, 0.0f},  {13.0f, 5.6f, 0.0f},  {16.8f, 5.4f, 0.0f},  {11.0f, 5.2f, 0.0f},
    {8.6f, 2.2f, 0.0f},   {11.6f, 2.0f, 0.0f},  {4.2f, 5.0f, 0.0f},   {2.1f, 2.2f, 0.0f},
    {6.5f, 1.6f, 0.0f},   {1.2f, 8.0f, 0.0f},
};

void fill(Brin::OccupancyMap& map, const Box& box, float value) {
  const Brin::Pose2Di first = map.getPixelFromPose({box.left, box.bottom, 0.0f});
  const Brin::Pose2Di end = map.getPixelFromPose({box.right, box.top, 0.0f});
  for (int y = first.y; y < end.y; ++y) {
    for (int x = first.x; x < end.x; ++x) map.setCell(x, y, value);
  }
}

void fill(Brin::OccupancyMap& map, const Disc& disc, float value) {
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      const Brin::Pose2D middle = map.getPoseFromPixel({x, y, 0.0f});
      if (std::hypot(middle.x - disc.x, middle.y - disc.y) < disc.radius) map.setCell(x, y, value);
    }
  }
}

Brin::OccupancyMap makeMap() {
  Brin::OccupancyMapParams params(kColumns, kRows, kResolution);
  params.origin = {0.5f * kResolution, 0.5f * kResolution, 0.0f};
  Brin::OccupancyMap map(params, false);
  fill(map, kFloor, 1.0f);
  for (const Box& wall : kWalls) fill(map, wall, 0.0f);
  for (const Box& door : kDoors) fill(map, door, 1.0f);
  return map;
}

void furnish(FloorPlan& floor) {
  const Brin::OccupancyMap empty = floor.map;
  for (const Box& thing : kFurniture) fill(floor.map, thing, 0.0f);
  for (const Disc& thing : kRoundThings) fill(floor.map, thing, 0.0f);
  for (int y = 0; y < empty.params.height; ++y) {
    for (int x = 0; x < empty.params.width; ++x) {
      if (floor.map.getCell(x, y) < empty.getCell(x, y)) floor.furniture.emplace_back(x, y, 0.0f);
    }
  }
}

}  // namespace

FloorPlan makeFloorPlan() {
  FloorPlan floor{makeMap(), {}, {}, {1.2f, 8.0f, 0.0f}, {18.0f, 1.6f, 0.0f}, {}};
  furnish(floor);
  floor.rooms.assign(std::begin(kRooms), std::end(kRooms));
  floor.tour.assign(std::begin(kTour), std::end(kTour));
  return floor;
}

}  // namespace korrin_tool
