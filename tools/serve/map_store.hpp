// The map that everybody looks at, and what is drawn on it.
//
//   MapStore store(std::move(map));
//   const auto now = store.current();   // stays as it is, whatever is drawn meanwhile
//   store.draw(strokes);
//   store.undo();
//
// Safe from any threads.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "korrin/core/occupancy_map.hpp"
#include "tools/serve/requests.hpp"

namespace korrin_tool::serve {

// Columns [x, x + width) and rows [y, y + height).
struct CellRectangle {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  bool isEmpty() const { return width <= 0 || height <= 0; }
  // Both and what lies between; an empty one adds nothing.
  CellRectangle with(const CellRectangle& other) const;
};

struct MapState {
  Brin::OccupancyMap map;
  std::int64_t revision;  // rises with every change
};

struct MapChange {
  std::int64_t revision = 0;
  std::size_t undoSteps = 0;  // that are left
  CellRectangle changed;
  std::int64_t changedCells = 0;
};

class MapStore {
 public:
  explicit MapStore(Brin::OccupancyMap map);

  std::shared_ptr<const MapState> current() const;
  std::size_t undoSteps() const;

  // One step for undo, unless no cell changes. A Refusal when the strokes cover too much.
  MapChange draw(const std::vector<Stroke>& strokes);
  // A Refusal of status 409 when there is nothing to undo.
  MapChange undo();

 private:
  struct Patch {
    CellRectangle where;
    std::vector<float> cells;  // as they were, row by row
  };

  Brin::OccupancyMap& writableMap();
  MapChange finished(const CellRectangle& changed, std::int64_t cells);
  void remember(Patch patch);

  mutable std::mutex mutex_;
  std::shared_ptr<MapState> state_;
  std::deque<Patch> patches_;  // the newest last
  std::size_t patchCells_ = 0;
};

}  // namespace korrin_tool::serve
