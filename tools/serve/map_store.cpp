#include "tools/serve/map_store.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "tools/serve/brush.hpp"
#include "tools/serve/refusal.hpp"

namespace korrin_tool::serve {
namespace {

constexpr std::size_t kMostUndoSteps = 200;
constexpr std::size_t kMostUndoCells = 64'000'000;

bool sameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Writes `cells` into the rectangle; how many differ.
std::int64_t putBack(Brin::OccupancyMap& map, const CellRectangle& where,
                     const std::vector<float>& cells) {
  std::int64_t changed = 0;
  std::size_t i = 0;
  for (int y = where.y; y < where.y + where.height; ++y) {
    for (int x = where.x; x < where.x + where.width; ++x, ++i) {
      changed += sameBits(map.getCell(x, y), cells[i]) ? 0 : 1;
      map.setCell(x, y, cells[i]);
    }
  }
  return changed;
}

std::vector<float> cellsIn(const Brin::OccupancyMap& map, const CellRectangle& where) {
  std::vector<float> cells;
  cells.reserve(static_cast<std::size_t>(where.width) * static_cast<std::size_t>(where.height));
  for (int y = where.y; y < where.y + where.height; ++y) {
    for (int x = where.x; x < where.x + where.width; ++x) cells.push_back(map.getCell(x, y));
  }
  return cells;
}

}  // namespace

CellRectangle CellRectangle::with(const CellRectangle& other) const {
  if (isEmpty()) return other;
  if (other.isEmpty()) return *this;
  const int left = std::min(x, other.x);
  const int low = std::min(y, other.y);
  return {left, low, std::max(x + width, other.x + other.width) - left,
          std::max(y + height, other.y + other.height) - low};
}

MapStore::MapStore(Brin::OccupancyMap map)
    : state_(std::make_shared<MapState>(MapState{std::move(map), 0})) {}

std::shared_ptr<const MapState> MapStore::current() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return state_;
}

std::size_t MapStore::undoSteps() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return patches_.size();
}

// The map itself when nobody looks at it, else a copy that takes its place.
Brin::OccupancyMap& MapStore::writableMap() {
  if (state_.use_count() > 1) state_ = std::make_shared<MapState>(*state_);
  std::atomic_thread_fence(std::memory_order_acquire);  // whoever looked at it has done so before
  return state_->map;
}

void MapStore::remember(Patch patch) {
  patchCells_ += patch.cells.size();
  patches_.push_back(std::move(patch));
  while (patches_.size() > kMostUndoSteps ||
         (patches_.size() > 1 && patchCells_ > kMostUndoCells)) {
    patchCells_ -= patches_.front().cells.size();
    patches_.pop_front();
  }
}

MapChange MapStore::finished(const CellRectangle& changed, std::int64_t cells) {
  if (cells > 0) ++state_->revision;
  return {state_->revision, patches_.size(), cells > 0 ? changed : CellRectangle(), cells};
}

MapChange MapStore::draw(const std::vector<Stroke>& strokes) {
  const std::lock_guard<std::mutex> lock(mutex_);
  CellRectangle reach;
  for (const Stroke& stroke : strokes) reach = reach.with(reachOf(state_->map, stroke));
  checkWork(state_->map, strokes);
  if (reach.isEmpty()) return finished(reach, 0);
  Brin::OccupancyMap& map = writableMap();
  Patch before{reach, cellsIn(map, reach)};
  for (const Stroke& stroke : strokes) paint(map, stroke);
  std::int64_t changed = 0;
  std::size_t i = 0;
  for (const float cell : cellsIn(map, reach)) changed += sameBits(cell, before.cells[i++]) ? 0 : 1;
  if (changed > 0) remember(std::move(before));
  return finished(reach, changed);
}

MapChange MapStore::undo() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (patches_.empty()) throw Refusal(409, "there is nothing to undo");
  Brin::OccupancyMap& map = writableMap();
  const Patch patch = std::move(patches_.back());
  patches_.pop_back();
  patchCells_ -= patch.cells.size();
  const std::int64_t changed = putBack(map, patch.where, patch.cells);
  return finished(patch.where, changed);
}

}  // namespace korrin_tool::serve
