// Pictures of large maps: no side over 4,000 pixels, and everything where it belongs all the same.
#include <gtest/gtest.h>

#include <algorithm>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "tools/pictures/canvas.hpp"

namespace korrin_test {
namespace {

using korrin_tool::Canvas;
using korrin_tool::CellTint;
using korrin_tool::Colour;
namespace palette = korrin_tool::palette;

constexpr Colour kRed{255, 0, 0};
constexpr Colour kBlue{0, 0, 255};

::testing::AssertionResult hasColour(const Canvas& canvas, int x, int y, Colour colour) {
  const cv::Vec3b pixel = canvas.picture().at<cv::Vec3b>(y, x);
  if (pixel == cv::Vec3b(colour.blue, colour.green, colour.red)) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "pixel " << x << ", " << y << " is " << pixel;
}

// A map of free cells, 3 to a pixel along each side: 2,700 x 2 pixels.
Brin::OccupancyMap wideMap() {
  Brin::OccupancyMap map(8100, 5, 0.1f, false);
  map.reset(1.0f);
  return map;
}

TEST(CanvasSize, NoSideIsOverTheLongestWithTheStripBelow) {
  for (const int width : {1, 90, 1200, 3399, 3400, 4000, 4001, 8000, 8001, 100000}) {
    for (const int height : {1, 100, 3855, 3856, 3857, 3949, 3950, 4000, 4001, 30000}) {
      Canvas canvas({width, height, 0.05f});
      canvas.scaleBar();
      const cv::Size size = canvas.picture().size();
      EXPECT_LE(size.width, Canvas::kLongestSide) << width << " x " << height;
      EXPECT_LE(size.height, Canvas::kLongestSide) << width << " x " << height;
      EXPECT_GE(size.width, 1200) << width << " x " << height;
    }
  }
}

TEST(CanvasSize, CellsShareAPixelOnlyWhereTheyMust) {
  EXPECT_EQ(Canvas({4000, 3856, 0.05f}).cellsPerPixel(), 1);
  EXPECT_EQ(Canvas({4000, 3857, 0.05f}).cellsPerPixel(), 2);
  EXPECT_EQ(Canvas({4001, 10, 0.05f}).cellsPerPixel(), 2);
  EXPECT_EQ(Canvas({8000, 10, 0.05f}).cellsPerPixel(), 2);
  EXPECT_EQ(Canvas({8001, 10, 0.05f}).cellsPerPixel(), 3);
  EXPECT_EQ(Canvas({8001, 10, 0.05f}).picture().size(), cv::Size(2667, 4));
  EXPECT_EQ(Canvas({8001, 10, 0.05f}).pixelsPerCell(), 1.0 / 3.0);
}

TEST(CanvasSize, TallMapsAreDrawnBesideGreyRatherThanTooLarge) {
  Brin::OccupancyMap map(10, 1000, 1.0f, false);
  map.reset(1.0f);
  Canvas canvas(map.params);
  canvas.drawMap(map);
  EXPECT_EQ(canvas.picture().size(), cv::Size(1200, 3000));
  EXPECT_EQ(canvas.pixelsPerCell(), 3.0);
  EXPECT_TRUE(hasColour(canvas, 29, 2999, palette::kPaper));
  EXPECT_TRUE(hasColour(canvas, 30, 2999, palette::kUnknown));
  canvas.fillCell(10, 0, kRed);
  EXPECT_TRUE(hasColour(canvas, 30, 2999, palette::kUnknown)) << "no cell of the map";
}

TEST(CanvasSize, ThinWallsStayVisible) {
  Brin::OccupancyMap map = wideMap();
  map.setCell(4001, 4, 0.0f);
  map.setCell(8099, 0, 0.0f);
  for (int y = 0; y < 3; ++y) {
    for (int x = 30; x < 33; ++x) map.setCell(x, y, 0.5f);
  }
  Canvas canvas(map.params);
  canvas.drawMap(map);
  ASSERT_EQ(canvas.picture().size(), cv::Size(2700, 2));
  EXPECT_TRUE(hasColour(canvas, 1333, 0, palette::kInk));
  EXPECT_TRUE(hasColour(canvas, 1333, 1, palette::kPaper));
  EXPECT_TRUE(hasColour(canvas, 1332, 0, palette::kPaper));
  EXPECT_TRUE(hasColour(canvas, 2699, 1, palette::kInk));
  EXPECT_TRUE(hasColour(canvas, 10, 1, palette::kUnknown));
}

TEST(CanvasSize, CostsOfABlockAreItsLowest) {
  const Brin::OccupancyMap before = wideMap();
  Brin::OccupancyMap grown = before;
  grown.setCell(301, 1, 0.0f);
  Canvas canvas(before.params);
  canvas.drawCosts(grown, before, 0.2);
  EXPECT_TRUE(hasColour(canvas, 100, 1, palette::kNear));
  EXPECT_TRUE(hasColour(canvas, 101, 1, palette::kPaper));
}

TEST(CanvasSize, ShapesLieOnTheirCells) {
  const Brin::OccupancyMap map = wideMap();
  Canvas canvas(map.params);
  canvas.fillCell(4001, 4, kRed);
  EXPECT_TRUE(hasColour(canvas, 1333, 0, kRed));
  // Cells 6000 to 6002 of rows 3 to 4 and beyond: the middle of the pixel is cell (6001, 4).
  canvas.line({600.1f, 0.4f}, {610.0f, 0.4f}, kBlue, 1);
  EXPECT_TRUE(hasColour(canvas, 2000, 0, kBlue));
  EXPECT_TRUE(hasColour(canvas, 2030, 0, kBlue));
  EXPECT_FALSE(hasColour(canvas, 1998, 0, kBlue));
  EXPECT_FALSE(hasColour(canvas, 2036, 0, kBlue));
}

TEST(CanvasSize, ShapesLieOnTheirRowsWhereTheTopBlocksAreNotFull) {
  Canvas canvas({8100, 121, 0.1f});  // 3 cells a pixel, one row of cells in the upper pixels
  canvas.circle({300.1f, 6.1f}, 6.0, kBlue, -1);
  cv::Mat red;
  cv::extractChannel(canvas.picture(), red, 2);
  const cv::Moments moments = cv::moments(255 - red);
  EXPECT_NEAR(moments.m10 / moments.m00, 1000.0, 0.1);
  EXPECT_NEAR(moments.m01 / moments.m00, 20.0, 0.1);
}

TEST(CanvasSize, DartsAndBarsAreNoSmallerThanInOtherPictures) {
  Canvas canvas({8000, 3000, 0.1f});  // 2 cells a pixel
  canvas.heading({400.0f, 150.0f, 0.0f}, 60.0, kRed);
  cv::Mat red;
  cv::inRange(canvas.picture(), cv::Scalar(0, 0, 255), cv::Scalar(0, 0, 255), red);
  const double wanted = 60.0 * 4000 / 1440;
  EXPECT_NEAR(cv::boundingRect(red).width, wanted, 5.0);
  canvas.scaleBar();
  const cv::Mat strip = canvas.picture().rowRange(1500, canvas.picture().rows);
  int longest = 0;
  for (int y = 0; y < strip.rows; ++y) {
    for (int x = 0, run = 0; x < strip.cols; ++x) {
      run = strip.at<cv::Vec3b>(y, x) == cv::Vec3b(55, 41, 31) ? run + 1 : 0;
      longest = std::max(longest, run);
    }
  }
  EXPECT_NEAR(longest, 500, 10) << "100 m of 5 pixels";
}

TEST(CellTintTest, IsAsStrongWhereCellsShareAPixel) {
  Canvas canvas(wideMap().params);
  CellTint tint(canvas, 0.6);
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 9; ++x) tint.fill(x, y, {100, 0, 200});
  }
  tint.fill(-1, 0, kRed);
  tint.fill(8100, 0, kRed);
  tint.fill(0, 6, kRed);
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 3; ++x) EXPECT_TRUE(hasColour(canvas, x, y, {162, 102, 222}));
    EXPECT_TRUE(hasColour(canvas, 3, y, palette::kPaper));
  }
}

TEST(CellTintTest, TintsACellAsOftenAsItIsFilledWhereItHasPixelsOfItsOwn) {
  Canvas twice({2, 1, 1.0f}, 20);
  CellTint tint(twice, 0.5);
  tint.fill(1, 0, kRed);
  tint.fill(1, 0, kRed);
  EXPECT_TRUE(hasColour(twice, 9, 0, palette::kPaper));
  EXPECT_TRUE(hasColour(twice, 10, 0, {255, 63, 63}));
}

TEST(CanvasSize, LargePngHoldsThePicture) {
  Brin::OccupancyMap map(2100, 2000, 0.05f, false);
  for (int i = 0; i < 2000; ++i) map.setCell(i, i * 7 % 2000, 0.0f);
  Canvas canvas(map.params);
  canvas.drawMap(map);
  const cv::Mat read = cv::imdecode(canvas.png(), cv::IMREAD_COLOR);
  ASSERT_EQ(read.size(), canvas.picture().size());
  EXPECT_EQ(cv::norm(read, canvas.picture(), cv::NORM_INF), 0.0);
}

}  // namespace
}  // namespace korrin_test
