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

namespace korrin_tool {

struct Colour {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;
};

// One palette for all pictures, distinguishable in the common kinds of colour blindness.
namespace palette {
constexpr Colour kInk{31, 41, 55};         // text, walls
constexpr Colour kPaper{255, 255, 255};    // free space
constexpr Colour kShade{226, 230, 236};    // walls and furniture, where they are background
constexpr Colour kUnknown{203, 209, 217};  // never seen
constexpr Colour kPath{0, 114, 178};       // what was planned
constexpr Colour kStart{0, 140, 100};      // where it begins
constexpr Colour kGoal{213, 94, 0};        // where it ends
constexpr Colour kRobot{204, 121, 167};    // where the robot is or was
constexpr Colour kAccent{230, 159, 0};     // what the eye should find
constexpr Colour kFurniture{148, 130, 110};
constexpr Colour kNear{236, 136, 98};     // too close to an obstacle
constexpr Colour kCostly{250, 214, 150};  // rather close to one
constexpr Colour kEarly{253, 224, 130};   // searched first
constexpr Colour kLate{105, 89, 205};     // searched last
constexpr Colour kFaint{140, 150, 165};   // what it should not
}  // namespace palette

// The mix of two colours: `from` at share 0, `to` at share 1.
Colour mix(Colour from, Colour to, double share);

// A colour for a share from 0 (light) to 1 (hot).
Colour heat(double share);

// Where a label stands, seen from its point.
enum class Anchor { Centre, Above, Below, Left, Right };

class Canvas {
 public:
  // A blank picture for a grid. Cells become squares of a whole number of pixels, so that the
  // picture is at least `minimumWidth` pixels wide.
  explicit Canvas(const Brin::OccupancyMapParams& frame, int minimumWidth = 1200);

  int pixelsPerCell() const { return zoom_; }

  // Cells: every cell of a map of the same size, from black (0) over grey (0.5) to white (1);
  // or one cell in a colour, over what is there when `opacity` is below 1.
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
  cv::Point2d toPixel(const Brin::Point2D& point) const;
  double scaled(double pixels) const;
  double textSize() const;  // height of a capital, pixels
  cv::Mat footer();         // the strip, made when it is not there

  Brin::OccupancyMapParams frame_;
  int zoom_;
  int mapHeight_;  // pixels; below is the strip
  cv::Mat picture_;
};

}  // namespace korrin_tool
