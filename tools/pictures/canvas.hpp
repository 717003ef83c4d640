// A picture in the frame of a map: metres in, pixels out, y up, rows of the map along the
// picture's rows whatever the map's heading in the world.
//
//   Canvas canvas(map);
//   canvas.drawMap(map);
//   canvas.polyline(path, palette::kPath, 3);
//   canvas.disc(goal, 8, palette::kGoal);
//   canvas.label(goal, "goal", Anchor::Right);
//   canvas.scaleBar();
//   canvas.save("plan.png");
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>
#include <utility>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "tools/pictures/colour.hpp"

namespace korrin_tool {

// Where a label stands, seen from its point.
enum class Anchor { Centre, Above, Below, Left, Right };

class Canvas {
 public:
  static constexpr int kLongestSide = 4000;  // pixels, the strip below the map included

  // A blank picture for a grid. Cells become squares of a whole number of pixels, so that the
  // picture is at least `minimumWidth` pixels wide, or as large as kLongestSide permits: the rest
  // of the width is then left beside them. Where even single pixels are too many, a pixel shows a
  // block of cells: `cellsPerPixel` along each side, the first block at cell (0, 0).
  explicit Canvas(const Brin::OccupancyMapParams& frame, int minimumWidth = 1200);

  int cellsPerPixel() const { return reduction_; }
  double pixelsPerCell() const { return static_cast<double>(zoom_) / reduction_; }

  // Cells: every cell of a map of the same size, from black (0) over grey (0.5) to white (1);
  // or one cell in a colour, over what is there when `opacity` is below 1. A pixel for several
  // cells of a map shows their blockValues (cell_values.hpp); of cells filled one by one, the last.
  // Many cells at an opacity are a CellTint's work.
  void drawMap(const Brin::OccupancyMap& map);
  // A map whose obstacles were grown, over the map before, whose obstacles stay black and whose
  // unknown cells grey: `kNear` below the threshold of what is free, from there fading to white.
  void drawCosts(const Brin::OccupancyMap& grown, const Brin::OccupancyMap& before,
                 double threshold);
  void fillCell(int x, int y, Colour colour, double opacity = 1.0);

  // Shapes at world points (metres). Widths and radii are in pixels of a picture 1,440 pixels
  // wide; a wider one has them in proportion.
  void line(const Brin::Point2D& from, const Brin::Point2D& to, Colour colour, int width = 2);
  void polyline(const std::vector<Brin::Pose2D>& path, Colour colour, int width = 2);
  void circle(const Brin::Point2D& centre, double radius, Colour colour, int width = 2);
  void disc(const Brin::Point2D& centre, double radius, Colour colour);  // filled, light rim
  void arrow(const Brin::Point2D& from, const Brin::Point2D& to, Colour colour, int width = 2);
  void heading(const Brin::Pose2D& pose, double length, Colour colour);  // a dart, light rim

  // Text beside a world point, on a light plate; its size goes with that of the picture.
  void label(const Brin::Point2D& at, const std::string& text, Anchor anchor = Anchor::Right,
             Colour colour = palette::kInk);

  // In a strip below the map, by which the picture grows: coloured names on the left, a bar of a
  // round number of metres on the right.
  void legend(const std::vector<std::pair<Colour, std::string>>& entries);
  void scaleBar();

  // A failure to write is a FileError that names the file.
  void save(const std::string& path) const;
  std::vector<std::uint8_t> png() const;
  const cv::Mat& picture() const { return picture_; }  // 8-bit blue, green, red

 private:
  friend class CellTint;

  template <typename ColourOf>
  void paintBlocks(cv::Size blocks, ColourOf colourOf);
  cv::Rect pixelsOf(int x, int y) const;  // of a cell's block, clipped to the map's part
  cv::Point2d toPixel(const Brin::Point2D& point) const;
  double scaled(double pixels) const;
  double textSize() const;  // height of a capital, pixels
  cv::Mat footer();         // the strip, made when it is not there

  Brin::OccupancyMapParams frame_;
  int reduction_;  // cells along the side of a block
  cv::Size blocks_;
  int zoom_;       // pixels along the side of a block; 1 when that has several cells
  int mapHeight_;  // pixels; below is the strip
  cv::Mat picture_;
};

// Many cells in colours over what is there. Of the cells that share a pixel only the first tints
// it, so that a tint is as strong in a picture of any size.
//
//   CellTint tint(canvas, 0.45);
//   for (const Brin::Pose2Di& cell : cells) tint.fill(cell.x, cell.y, palette::kEarly);
class CellTint {
 public:
  CellTint(Canvas& canvas, double opacity);
  void fill(int x, int y, Colour colour);

 private:
  Canvas& canvas_;
  double opacity_;
  cv::Mat done_;  // pixels; empty when none shows several cells
};

}  // namespace korrin_tool
