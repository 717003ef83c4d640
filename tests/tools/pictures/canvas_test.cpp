// Where things land in a picture. Cells are drawn as squares of whole pixels, y up.
#include "tools/pictures/canvas.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "korrin/io/file_error.hpp"
#include "tests/support/map_drawing.hpp"
#include "tests/tools/tool_run.hpp"

namespace korrin_test {
namespace {

using korrin_tool::Anchor;
using korrin_tool::Canvas;
using korrin_tool::Colour;
namespace palette = korrin_tool::palette;

constexpr Colour kRed{255, 0, 0};

::testing::AssertionResult hasColour(const Canvas& canvas, int x, int y, Colour colour) {
  const cv::Vec3b pixel = canvas.picture().at<cv::Vec3b>(y, x);
  if (pixel == cv::Vec3b(colour.blue, colour.green, colour.red)) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "pixel " << x << ", " << y << " is " << pixel;
}

int countColour(const Canvas& canvas, Colour colour) {
  cv::Mat same;
  const cv::Scalar wanted(colour.blue, colour.green, colour.red);
  cv::inRange(canvas.picture(), wanted, wanted, same);
  return cv::countNonZero(same);
}

TEST(CanvasTest, CellsAreTheFewestWholePixelsThatReachTheWidth) {
  EXPECT_EQ(Canvas({3, 2, 0.1f}, 30).picture().size(), cv::Size(30, 20));
  EXPECT_EQ(Canvas({3, 2, 0.1f}, 31).picture().size(), cv::Size(33, 22));
  EXPECT_EQ(Canvas({3000, 2, 0.1f}, 30).pixelsPerCell(), 1);
  EXPECT_EQ(Canvas({0, 0, 0.1f}, 30).picture().rows, 30);
}

TEST(CanvasTest, MapIsDrawnWithItsFirstRowAtTheBottomAndSharpEdges) {
  const Brin::OccupancyMap map = drawMap({"#.",  //
                                          "?."});
  Canvas canvas(map, 20);
  canvas.drawMap(map);
  EXPECT_TRUE(hasColour(canvas, 0, 19, palette::kInk));
  EXPECT_TRUE(hasColour(canvas, 9, 10, palette::kInk));
  EXPECT_TRUE(hasColour(canvas, 10, 10, palette::kPaper));
  EXPECT_TRUE(hasColour(canvas, 9, 9, palette::kUnknown));
  EXPECT_TRUE(hasColour(canvas, 0, 0, palette::kUnknown));
}

TEST(CanvasTest, CostsShowBlockedObstacleAndUnknownCellsApart) {
  Canvas canvas({4, 1, 1.0f}, 4);
  canvas.drawCosts(drawMap({"#1.#"}), drawMap({"#..?"}), 0.2);
  EXPECT_TRUE(hasColour(canvas, 0, 0, palette::kInk));
  EXPECT_TRUE(hasColour(canvas, 1, 0, palette::kNear));
  EXPECT_TRUE(hasColour(canvas, 2, 0, palette::kPaper));
  EXPECT_TRUE(hasColour(canvas, 3, 0, palette::kUnknown));
}

TEST(CanvasTest, FillCellMixesByOpacityAndIgnoresCellsOutside) {
  Canvas canvas({2, 2, 1.0f}, 2);
  canvas.fillCell(0, 0, {100, 0, 200}, 0.6);
  EXPECT_TRUE(hasColour(canvas, 0, 1, {162, 102, 222}));
  canvas.fillCell(1, 1, kRed);
  EXPECT_TRUE(hasColour(canvas, 1, 0, kRed));
  canvas.fillCell(-1, 0, kRed);
  canvas.fillCell(0, 2, kRed);
  canvas.fillCell(2, 0, kRed, 0.5);
  EXPECT_EQ(countColour(canvas, kRed), 1);
}

TEST(CanvasTest, CentreOfACellIsTheMiddleOfItsSquare) {
  Brin::OccupancyMapParams frame(3, 3, 0.5f);
  frame.origin = {10.0f, 20.0f, 0.0f};
  Canvas canvas(frame, 63);
  canvas.circle({10.5f, 20.0f}, 5.0, kRed, -1);  // column 1, row 0
  EXPECT_TRUE(hasColour(canvas, 31, 52, kRed));
  EXPECT_TRUE(hasColour(canvas, 27, 52, kRed));
  EXPECT_TRUE(hasColour(canvas, 35, 52, kRed));
  EXPECT_TRUE(hasColour(canvas, 31, 40, palette::kPaper));
}

TEST(CanvasTest, TurnedGridsAreDrawnAlongTheirOwnRows) {
  Brin::OccupancyMapParams frame(3, 3, 1.0f);
  frame.origin = {0.0f, 0.0f, 1.5707963f};  // column 2 of row 0 lies at (0, 2)
  Canvas canvas(frame, 30);
  canvas.circle({0.0f, 2.0f}, 2.0, kRed, -1);
  EXPECT_TRUE(hasColour(canvas, 25, 25, kRed));
}

TEST(CanvasTest, LinesRunFromPointToPoint) {
  Canvas canvas({10, 10, 1.0f}, 100);
  canvas.line({0.0f, 2.0f}, {9.0f, 2.0f}, kRed, 3);
  EXPECT_TRUE(hasColour(canvas, 5, 75, kRed));
  EXPECT_TRUE(hasColour(canvas, 94, 75, kRed));
  canvas.polyline({{2.0f, 0.0f, 0.0f}, {2.0f, 9.0f, 0.0f}, {9.0f, 9.0f, 0.0f}}, kRed, 3);
  EXPECT_TRUE(hasColour(canvas, 25, 50, kRed));
  EXPECT_TRUE(hasColour(canvas, 60, 5, kRed));
  canvas.arrow({5.0f, 5.0f}, {8.0f, 5.0f}, kRed, 3);
  EXPECT_TRUE(hasColour(canvas, 70, 45, kRed));
  EXPECT_TRUE(hasColour(canvas, 45, 5, kRed));
}

TEST(CanvasTest, HeadingPointsForward) {
  Canvas canvas({100, 100, 1.0f}, 100);
  canvas.heading({50.0f, 50.0f, 0.0f}, 20.0, kRed);
  EXPECT_TRUE(hasColour(canvas, 59, 49, kRed));  // the tip
  EXPECT_TRUE(hasColour(canvas, 43, 44, kRed));  // the tail is broad
  EXPECT_FALSE(hasColour(canvas, 59, 44, kRed));
}

TEST(CanvasTest, LabelStandsOnTheSideOfItsAnchor) {
  const auto inkMiddle = [](Anchor anchor) {
    Canvas canvas({200, 200, 1.0f}, 200);
    canvas.label({100.0f, 100.0f}, "HIH", anchor, kRed);
    cv::Mat ink;
    cv::inRange(canvas.picture(), cv::Scalar(0, 0, 128), cv::Scalar(128, 128, 255), ink);
    const cv::Rect box = cv::boundingRect(ink);
    return cv::Point(box.x + box.width / 2, box.y + box.height / 2);
  };
  EXPECT_LT(inkMiddle(Anchor::Left).x, 85);
  EXPECT_GT(inkMiddle(Anchor::Right).x, 115);
  EXPECT_LT(inkMiddle(Anchor::Above).y, 90);
  EXPECT_GT(inkMiddle(Anchor::Below).y, 110);
  EXPECT_NEAR(inkMiddle(Anchor::Centre).x, 100, 4);
  EXPECT_NEAR(inkMiddle(Anchor::Centre).y, 100, 4);
}

TEST(CanvasTest, LegendAndScaleBarShareOneStripBelowTheMap) {
  Canvas canvas({600, 100, 0.05f}, 600);
  canvas.legend({{kRed, "red"}});
  const int height = canvas.picture().rows;
  EXPECT_GT(height, 100);
  canvas.scaleBar();
  EXPECT_EQ(canvas.picture().rows, height);
  EXPECT_GT(countColour(canvas, kRed), 30);
  // A tenth to a sixth of the width, in round metres: 2 m of 0.05 m a pixel.
  const cv::Mat strip = canvas.picture().rowRange(100, height);
  int longest = 0;
  for (int y = 0; y < strip.rows; ++y) {
    int run = 0;
    for (int x = 300; x < strip.cols; ++x) {
      run = strip.at<cv::Vec3b>(y, x) == cv::Vec3b(55, 41, 31) ? run + 1 : 0;
      longest = std::max(longest, run);
    }
  }
  EXPECT_NEAR(longest, 40, 3);
}

TEST(CanvasTest, WildPointsDrawNothingAndBreakNothing) {
  Canvas canvas({10, 10, 1.0f}, 100);
  const float infinity = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const float wild : {1e30f, -1e30f, infinity, -infinity, nan}) {
    canvas.circle({wild, 5.0f}, 4.0, kRed);
    canvas.disc({5.0f, wild}, 4.0, kRed);
    canvas.label({wild, wild}, "away", Anchor::Above, kRed);
    canvas.heading({wild, 5.0f, 0.0f}, 5.0, kRed);
    canvas.line({wild, wild}, {wild, wild}, kRed);
    canvas.arrow({wild, 5.0f}, {wild, 5.0f}, kRed);
  }
  EXPECT_EQ(countColour(canvas, kRed), 0);
}

TEST(CanvasTest, PngHoldsThePictureAndSaveWritesIt) {
  const TemporaryDirectory directory;
  Canvas canvas({4, 2, 1.0f}, 40);
  canvas.fillCell(1, 1, kRed);
  const std::vector<std::uint8_t> png = canvas.png();
  canvas.save(directory / "canvas.png");
  EXPECT_EQ(readFile(directory / "canvas.png"), std::string(png.begin(), png.end()));
  const cv::Mat read = cv::imdecode(png, cv::IMREAD_COLOR);
  ASSERT_EQ(read.size(), canvas.picture().size());
  EXPECT_EQ(cv::norm(read, canvas.picture(), cv::NORM_INF), 0.0);
  EXPECT_THROW(canvas.save(directory / "no/canvas.png"), Brin::io::FileError);
}

TEST(CanvasTest, MixGoesFromOneColourToTheOther) {
  const auto same = [](Colour a, Colour b) {
    return a.red == b.red && a.green == b.green && a.blue == b.blue;
  };
  EXPECT_TRUE(same(korrin_tool::mix({0, 100, 200}, {100, 0, 200}, 0.0), {0, 100, 200}));
  EXPECT_TRUE(same(korrin_tool::mix({0, 100, 200}, {100, 0, 200}, 0.25), {25, 75, 200}));
  EXPECT_TRUE(same(korrin_tool::mix({0, 100, 200}, {100, 0, 200}, 7.0), {100, 0, 200}));
}

}  // namespace
}  // namespace korrin_test
