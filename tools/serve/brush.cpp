#include "tools/serve/brush.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tools/serve/refusal.hpp"

namespace korrin_tool::serve {
namespace {

constexpr double kHalfDiagonal = 0.70711;  // of a cell: no cell on the line is farther from it
constexpr double kMostWork = 50e6;         // cells of one request

// A place on the grid, in cells; whole numbers are cells' centres.
struct GridPoint {
  double x;
  double y;
};

GridPoint onGrid(const Brin::OccupancyMap& map, const Brin::Point2D& point) {
  const Brin::Pose2D at = map.params.origin.relProject({point.x, point.y, 0.0f});
  return {double{at.x} / double{map.params.resolution},
          double{at.y} / double{map.params.resolution}};
}

double radiusOf(const Brin::OccupancyMap& map, const Stroke& stroke) {
  return std::max(kHalfDiagonal, 0.5 * double{stroke.width} / double{map.params.resolution});
}

// Cells from `low` to `high` along an axis of `size` cells: the first one and the one after the
// last.
struct Span {
  int first;
  int end;
};

Span cellsBetween(double low, double high, int size) {
  const double first = std::clamp(std::ceil(low), 0.0, double(size));
  const double end = std::clamp(std::floor(high) + 1.0, first, double(size));
  return {static_cast<int>(first), static_cast<int>(end)};
}

// The part of one row that is within `radius` of a segment. What is near a segment is convex, so
// it is one piece.
class RowPiece {
 public:
  RowPiece(double row, double radius) : row_(row), radius_(radius) {}

  void addDisc(const GridPoint& middle) {
    const double dy = row_ - middle.y;
    if (std::abs(dy) > radius_) return;
    const double half = std::sqrt(radius_ * radius_ - dy * dy);
    add(middle.x - half);
    add(middle.x + half);
  }

  // Where the row meets the straight line between two corners.
  void addSide(const GridPoint& a, const GridPoint& b) {
    if ((a.y < row_) == (b.y < row_) || a.y == b.y) return;
    add(a.x + (row_ - a.y) / (b.y - a.y) * (b.x - a.x));
  }

  double low() const { return low_; }
  double high() const { return high_; }

 private:
  void add(double x) {
    low_ = std::min(low_, x);
    high_ = std::max(high_, x);
  }

  double row_;
  double radius_;
  double low_ = std::numeric_limits<double>::infinity();
  double high_ = -std::numeric_limits<double>::infinity();
};

RowPiece pieceOf(double row, const GridPoint& a, const GridPoint& b, double radius) {
  RowPiece piece(row, radius);
  piece.addDisc(a);
  piece.addDisc(b);
  const double length = std::hypot(b.x - a.x, b.y - a.y);
  if (length == 0.0) return piece;
  const double sideX = -(b.y - a.y) / length * radius;
  const double sideY = (b.x - a.x) / length * radius;
  const GridPoint corners[] = {{a.x + sideX, a.y + sideY},
                               {b.x + sideX, b.y + sideY},
                               {b.x - sideX, b.y - sideY},
                               {a.x - sideX, a.y - sideY}};
  for (int i = 0; i < 4; ++i) piece.addSide(corners[i], corners[(i + 1) % 4]);
  return piece;
}

void paintSegment(Brin::OccupancyMap& map, const GridPoint& a, const GridPoint& b, double radius,
                  float value) {
  const Span rows =
      cellsBetween(std::min(a.y, b.y) - radius, std::max(a.y, b.y) + radius, map.params.height);
  for (int y = rows.first; y < rows.end; ++y) {
    const RowPiece piece = pieceOf(y, a, b, radius);
    if (!(piece.low() <= piece.high())) continue;
    const Span cells = cellsBetween(piece.low(), piece.high(), map.params.width);
    for (int x = cells.first; x < cells.end; ++x) map.setCell(x, y, value);
  }
}

}  // namespace

CellRectangle reachOf(const Brin::OccupancyMap& map, const Stroke& stroke) {
  const double radius = radiusOf(map, stroke);
  CellRectangle reach;
  for (const Brin::Point2D& point : stroke.points) {
    const GridPoint at = onGrid(map, point);
    const Span columns = cellsBetween(at.x - radius, at.x + radius, map.params.width);
    const Span rows = cellsBetween(at.y - radius, at.y + radius, map.params.height);
    // One without cells still says where the line comes from.
    const CellRectangle around{columns.first, rows.first, std::max(1, columns.end - columns.first),
                               std::max(1, rows.end - rows.first)};
    reach = reach.with(around);
  }
  reach.width = std::min(reach.width, map.params.width - reach.x);
  reach.height = std::min(reach.height, map.params.height - reach.y);
  return reach;
}

void checkWork(const Brin::OccupancyMap& map, const std::vector<Stroke>& strokes) {
  double work = 0.0;
  const double most = double(map.params.width) + map.params.height;
  for (const Stroke& stroke : strokes) {
    const double width = std::min(most, 2.0 * radiusOf(map, stroke));
    for (std::size_t i = 0; i < stroke.points.size(); ++i) {
      const GridPoint a = onGrid(map, stroke.points[i == 0 ? 0 : i - 1]);
      const GridPoint b = onGrid(map, stroke.points[i]);
      work += width * (width + std::min(most, std::hypot(b.x - a.x, b.y - a.y)));
    }
  }
  if (work <= kMostWork) return;
  throw Refusal(400, "strokes: they cover too many cells for one request");
}

void paint(Brin::OccupancyMap& map, const Stroke& stroke) {
  const double radius = radiusOf(map, stroke);
  for (std::size_t i = 0; i < stroke.points.size(); ++i) {
    paintSegment(map, onGrid(map, stroke.points[i == 0 ? 0 : i - 1]), onGrid(map, stroke.points[i]),
                 radius, stroke.value);
  }
}

}  // namespace korrin_tool::serve
