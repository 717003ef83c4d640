// What PathPlanner makes of a map before it is reduced: obstacles grown, and the unknown blocked.
//
//   const ObstacleGrowth growth(settings, resolution);
//   growth.grow(*map.image, area, *fine.image);
//
// The rules are steps 1 to 4 in korrin/path_planner.hpp.
#pragma once

#include <opencv2/core/types_c.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "korrin/path_planner.hpp"
#include "src/cell_area.hpp"

namespace Brin {

// The values of blocked cells that are no obstacles.
constexpr float kTooNear = -1.0f;
constexpr float kUnknownCell = -2.0f;
constexpr float kNotANumber = -3.0f;

class ObstacleGrowth {
 public:
  // For maps of that resolution, which makes sense. std::invalid_argument for a radius and a fading
  // of too many cells together.
  ObstacleGrowth(const PlannerSettings& settings, float resolution);

  // Cells at most so far away have a say in what becomes of a cell.
  std::int32_t reach() const { return reach_; }

  // Works out the cells of `area` in `fine`, an image of the same size as `map`; both hold floats.
  // Calls done(y) after each row, while it is at hand. When memory runs out, nothing has been
  // written.
  using RowDone = std::function<void(std::int32_t y)>;
  void grow(const IplImage& map, CellArea area, IplImage& fine, const RowDone& done) const;

 private:
  template <typename Number>
  void growWith(const IplImage& map, CellArea area, IplImage& fine, const RowDone& done) const;
  template <typename Number>
  void growRow(const float* cells, const Number* squares, float* out, std::int32_t count) const;
  void passRow(const float* cells, float* out, std::int32_t count) const;
  template <std::int32_t kCount, typename Limits>
  void growGroup(const float* cells, float* out, bool isAnyTooNear, const Limits& limitsAt) const;

  float threshold_;
  bool unknownIsFree_;
  std::int32_t reach_;
  std::vector<float> limits_;     // by squared distance, what a cell may have; the last one is 1
  std::size_t tooNearBelow_ = 0;  // the squared distance from which on that is not kTooNear
};

}  // namespace Brin
