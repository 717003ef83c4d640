// What the picture of a pose graph shows: on a blank floor with one wall, three key scans.
#include "tools/pictures/graph_picture.hpp"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

namespace korrin_test {
namespace {

using Brin::mapping::Alignment;
using Brin::mapping::LinkKind;
using Brin::mapping::ScanLink;
using korrin_tool::Canvas;
using korrin_tool::Colour;
namespace palette = korrin_tool::palette;

constexpr int kSide = 120;            // cells, ten pixels each
constexpr int kMapRows = kSide * 10;  // above the legend

Brin::OccupancyMap floorWithWall() {
  Brin::OccupancyMap map(kSide, kSide, 0.05f, false);
  map.reset(1.0f);
  for (int x = 0; x < kSide; ++x) map.setCell(x, 100, 0.0f);
  return map;
}

// Key scans at the corners of a triangle, and a loop from the last to the first that says the last
// is `off` metres from where it is.
Alignment triangle(double off, bool dropped, LinkKind kind = LinkKind::Loop) {
  Alignment alignment;
  for (const Brin::Pose2D pose :
       {Brin::Pose2D(1, 1, 0), Brin::Pose2D(5, 1, 0), Brin::Pose2D(5, 4, 0)}) {
    alignment.keyScans.push_back(alignment.scans.size());
    alignment.scans.emplace_back();
    alignment.scans.back().pose = pose;
  }
  ScanLink loop;
  loop.to = 2;
  loop.motion = {4.0 + off, 3.0, 0.0};
  loop.kind = kind;
  loop.dropped = dropped;
  alignment.links.push_back(loop);
  return alignment;
}

// Pixels of a colour in the map's part of the picture.
int countOf(Colour colour, const Canvas& canvas) {
  cv::Mat same;
  const cv::Scalar wanted(colour.blue, colour.green, colour.red);
  cv::inRange(canvas.picture().rowRange(0, kMapRows), wanted, wanted, same);
  return cv::countNonZero(same);
}

int countOf(Colour colour, const Alignment& alignment) {
  return countOf(colour, korrin_tool::drawGraph(floorWithWall(), alignment));
}

// Pixels whose colour is such. Thin lines have soft edges, so that none need have the line's own.
template <typename IsSuch>
int countIf(const Canvas& canvas, IsSuch isSuch) {
  int count = 0;
  for (int y = 0; y < kMapRows; ++y) {
    for (int x = 0; x < canvas.picture().cols; ++x) {
      const cv::Vec3b pixel = canvas.picture().at<cv::Vec3b>(y, x);
      if (isSuch(pixel[2], pixel[1], pixel[0])) ++count;
    }
  }
  return count;
}

int countHot(const Alignment& alignment) {
  return countIf(
      korrin_tool::drawGraph(floorWithWall(), alignment),
      [](int red, int green, int blue) { return red > green + 60 && blue > green + 10; });
}

TEST(GraphPicture, aLoopIsTheHotterTheFartherItIsOff) {
  EXPECT_EQ(countHot(triangle(0.0, false)), 0);
  EXPECT_EQ(countHot(triangle(0.1, false)), 0);
  EXPECT_GT(countHot(triangle(0.15, false)), 100);
  EXPECT_GT(countHot(triangle(7.0, false)), 100);
}

TEST(GraphPicture, aLoopThatFitsIsSeenOnPaper) {
  const Canvas canvas = korrin_tool::drawGraph(floorWithWall(), triangle(0.0, false));
  EXPECT_GT(countIf(canvas, [](int red, int, int blue) { return red > blue + 40; }), 100);
}

TEST(GraphPicture, onlyLoopsAreDrawn) {
  EXPECT_EQ(countHot(triangle(1.0, false, LinkKind::Match)), 0);
  EXPECT_EQ(countOf(palette::kInk, triangle(1.0, true, LinkKind::Match)), 0);
}

TEST(GraphPicture, aDroppedLoopIsDarkAndDashedAndNothingElseIsDark) {
  EXPECT_EQ(countOf(palette::kInk, triangle(1.0, false)), 0);
  const int dashed = countOf(palette::kInk, triangle(1.0, true));
  // Five metres of two pixels in width, half of them dashes; edges are softened.
  EXPECT_GT(dashed, 300);
  EXPECT_LT(dashed, 1200);
  EXPECT_EQ(countHot(triangle(1.0, true)), 0);
}

TEST(GraphPicture, wallsArePale) {
  EXPECT_EQ(countOf(palette::kFaint, triangle(0.0, false)), kSide * 100);
}

TEST(GraphPicture, theWayIsDrawnFromKeyScanToKeyScan) {
  const Canvas canvas = korrin_tool::drawGraph(floorWithWall(), triangle(0.0, false));
  // Four metres and three, at two hundred pixels a metre.
  EXPECT_GT(countIf(canvas, [](int red, int, int blue) { return blue > red + 60; }), 1000);
}

}  // namespace
}  // namespace korrin_test
