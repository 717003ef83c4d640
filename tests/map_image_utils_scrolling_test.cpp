// Scrolling of images and of maps, and what it does to a map's place in the world.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "korrin/map_image_utils.hpp"
#include "models/map_image_utils_model.hpp"
#include "support/bits.hpp"
#include "support/images.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::ImagePtr;
using Brin::OccupancyMap;
using Brin::Point2D;
using Brin::Point2Di;
using Brin::Pose2D;
using korrin_test::copyOf;
using korrin_test::drawingOf;
using korrin_test::drawMap;
using korrin_test::floatImage;
using korrin_test::randomFloatImage;
using korrin_test::RandomInputs;
using korrin_test::Rows;
using korrin_test::rowsOf;
using korrin_test::sameBits;
using korrin_test::sameImage;
using korrin_test::sameMap;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();

using Drawing = std::vector<std::string>;

// The drawing scrolled by (dx, dy), into an image that held something else.
Drawing scrolled(const Drawing& drawing, float dx, float dy) {
  const OccupancyMap map = drawMap(drawing);
  OccupancyMap out = map;
  out.reset(0.9f);
  Brin::scrollIplImage(map.image, out.image, {dx, dy});
  return drawingOf(out);
}

TEST(ScrollIplImage, noShiftReproducesTheImage) {
  EXPECT_EQ(scrolled({"#.1", "2.3"}, 0, 0), (Drawing{"#.1", "2.3"}));
}

TEST(ScrollIplImage, cellsMoveByTheShiftAndUnknownOnesEnter) {
  const Drawing before = {
      "#1.",
      "2.3",
      ".#.",
  };
  EXPECT_EQ(scrolled(before, 1, 0), (Drawing{"?#1", "?2.", "?.#"}));
  EXPECT_EQ(scrolled(before, -2, 0), (Drawing{".??", "3??", ".??"}));
  EXPECT_EQ(scrolled(before, 0, 1), (Drawing{"???", "#1.", "2.3"}));
  EXPECT_EQ(scrolled(before, 1, -2), (Drawing{"?.#", "???", "???"}));
}

TEST(ScrollIplImage, threeToTheRightFillsTheThreeLeftmostColumns) {
  EXPECT_EQ(scrolled({"#1234.", ".4321#"}, 3, 0), (Drawing{"???#12", "???.43"}));
}

TEST(ScrollIplImage, aShiftAsFarAsTheImageOrFartherLeavesItUnknown) {
  const Drawing before = {"#.", ".#"};
  const Drawing unknown = {"??", "??"};
  for (const float far : {2.0f, -2.0f, 3.0f, 1e6f, -1e6f, 2.5e6f, 2147483648.0f, -2147483648.0f,
                          1e30f, -1e30f, kInf, -kInf, kNaN}) {
    EXPECT_EQ(scrolled(before, far, 0), unknown) << far;
    EXPECT_EQ(scrolled(before, 0, far), unknown) << far;
    EXPECT_EQ(scrolled(before, far, 0.5f), unknown) << far;
    EXPECT_EQ(scrolled(before, far, far), unknown) << far;
  }
}

TEST(ScrollIplImage, afractionOfACellBlendsNeighbours) {
  const ImagePtr image = floatImage({{0.0f, 1.0f, 1.0f}});
  const ImagePtr out = copyOf(*image);
  Brin::scrollIplImage(image.get(), out.get(), {0.5f, 0.0f});
  EXPECT_EQ(rowsOf<float>(*out), (Rows<float>{{0.25f, 0.5f, 1.0f}}));
}

TEST(ScrollIplImage, aWholeShiftMovesACellThatIsNotANumberAlone) {
  const ImagePtr image = floatImage({{0.1f, kNaN, 0.2f, kInf, -0.0f, 7.0f}});
  const ImagePtr out = copyOf(*image);
  Brin::scrollIplImage(image.get(), out.get(), {1.0f, 0.0f});
  EXPECT_TRUE(sameImage(out.get(), floatImage({{0.5f, 0.1f, kNaN, 0.2f, kInf, -0.0f}}).get()));
}

TEST(ScrollIplImage, aFractionalShiftSpreadsIt) {
  const ImagePtr image = floatImage({{0.1f, 0.1f, kNaN, 0.2f, 0.2f}});
  const ImagePtr out = copyOf(*image);
  Brin::scrollIplImage(image.get(), out.get(), {0.5f, 0.0f});
  const auto row = rowsOf<float>(*out).at(0);
  EXPECT_FALSE(std::isnan(row[1]));
  EXPECT_TRUE(std::isnan(row[2]));
  EXPECT_TRUE(std::isnan(row[3]));
}

TEST(ScrollIplImage, theDestinationMayHaveAnotherSize) {
  const ImagePtr image = floatImage({{0.1f, 0.2f}, {0.3f, 0.4f}});
  const ImagePtr wide = floatImage({{9.0f, 9.0f, 9.0f, 9.0f}});
  Brin::scrollIplImage(image.get(), wide.get(), {1.0f, -1.0f});
  EXPECT_EQ(rowsOf<float>(*wide), (Rows<float>{{0.5f, 0.3f, 0.4f, 0.5f}}));
  const ImagePtr nothing = Brin::makeImage(cvSize(0, 0), IPL_DEPTH_32F, 1);
  Brin::scrollIplImage(nothing.get(), wide.get(), {1.0f, 0.0f});
  EXPECT_EQ(rowsOf<float>(*wide), (Rows<float>{{0.5f, 0.5f, 0.5f, 0.5f}}));
  EXPECT_NO_THROW(Brin::scrollIplImage(image.get(), nothing.get(), {1.0f, 0.0f}));
}

TEST(ScrollIplImage, fromAnImageOfNoCellsNothingArrivesByAFractionEither) {
  const ImagePtr nothing = Brin::makeImage(cvSize(0, 2), IPL_DEPTH_32F, 1);
  const ImagePtr out = floatImage({{0.1f, 0.2f}, {0.3f, 0.4f}});
  Brin::scrollIplImage(nothing.get(), out.get(), {0.5f, 1.0f});
  EXPECT_EQ(rowsOf<float>(*out), (Rows<float>{{0.5f, 0.5f}, {0.5f, 0.5f}}));
  EXPECT_NO_THROW(Brin::scrollIplImage(out.get(), nothing.get(), {0.5f, 1.0f}));
}

TEST(ScrollIplImage, imagesOfOtherKindsAreWarped) {
  const ImagePtr image = korrin_test::byteImage({{10, 20, 30, 40}});
  const ImagePtr out = copyOf(*image);
  Brin::scrollIplImage(image.get(), out.get(), {1.0f, 0.0f});
  EXPECT_EQ(rowsOf<std::uint8_t>(*out), (Rows<std::uint8_t>{{0, 10, 20, 30}}));
  Brin::scrollIplImage(image.get(), out.get(), {kNaN, 0.0f});
  EXPECT_EQ(rowsOf<std::uint8_t>(*out), (Rows<std::uint8_t>{{0, 0, 0, 0}}));
}

TEST(ScrollIplImage, aRegionOfInterestIsScrolledAlone) {
  const ImagePtr image = floatImage({{0.1f, 0.2f, 0.3f, 0.4f}});
  const ImagePtr out = floatImage({{9.0f, 9.0f, 9.0f, 9.0f}});
  cvSetImageROI(image.get(), cvRect(1, 0, 2, 1));
  cvSetImageROI(out.get(), cvRect(1, 0, 2, 1));
  Brin::scrollIplImage(image.get(), out.get(), {1.0f, 0.0f});
  EXPECT_EQ(rowsOf<float>(*out), (Rows<float>{{9.0f, 0.5f, 0.2f, 9.0f}}));
}

TEST(ScrollIplImage, nullAndMismatchedImagesAreRefused) {
  const ImagePtr floats = floatImage({{0.25f, 0.75f}});
  const ImagePtr bytes = korrin_test::byteImage({{1, 2}});
  EXPECT_THROW(Brin::scrollIplImage(nullptr, floats.get(), {1, 0}), cv::Exception);
  EXPECT_THROW(Brin::scrollIplImage(floats.get(), nullptr, {1, 0}), cv::Exception);
  for (const float shift : {1.0f, 0.5f, kNaN}) {
    EXPECT_THROW(Brin::scrollIplImage(floats.get(), bytes.get(), {shift, 0}), cv::Exception);
    EXPECT_THROW(Brin::scrollIplImage(bytes.get(), floats.get(), {shift, 0}), cv::Exception);
  }
  EXPECT_EQ(rowsOf<float>(*floats), (Rows<float>{{0.25f, 0.75f}}));
  EXPECT_EQ(rowsOf<std::uint8_t>(*bytes), (Rows<std::uint8_t>{{1, 2}}));
}

// Two layers that differ, turned and moved in the world.
OccupancyMap layeredMap() {
  OccupancyMap map = drawMap({"#123", "4?67"}, 0.5f, true);
  const OccupancyMap second = drawMap({"7..6", "#21#"});
  cvCopy(second.image, map.secondImage, nullptr);
  map.params.origin = {3.0f, -1.0f, 0.5f};
  return map;
}

Drawing secondOf(const OccupancyMap& map) {
  OccupancyMap layer = map;
  std::swap(layer.image, layer.secondImage);
  return drawingOf(layer);
}

TEST(ScrollOccMap, bothLayersMove) {
  const OccupancyMap map = layeredMap();
  OccupancyMap out(4, 2, 0.5f, true);
  Brin::scrollOccMap(map, out, Point2Di(1, 1));
  EXPECT_EQ(drawingOf(out), (Drawing{"????", "?#12"}));
  EXPECT_EQ(secondOf(out), (Drawing{"????", "?7.."}));
}

TEST(ScrollOccMap, theWorldStaysWhereItIs) {
  const OccupancyMap map = layeredMap();
  OccupancyMap out(4, 2, 0.5f, true);
  Brin::scrollOccMap(map, out, Point2Di(2, -1));
  EXPECT_FLOAT_EQ(out.params.origin.theta, 0.5f);
  const Pose2D place = map.getPoseFromPixel({1, 1, 0.25f});
  const Pose2D again = out.getPoseFromPixel({3, 0, 0.25f});
  EXPECT_NEAR(again.x, place.x, 1e-6);
  EXPECT_NEAR(again.y, place.y, 1e-6);
  EXPECT_NEAR(again.theta, place.theta, 1e-6);
}

TEST(ScrollOccMap, nothingElseOfTheDestinationChanges) {
  const OccupancyMap map = layeredMap();
  OccupancyMap out(4, 2, 0.125f, true);
  out.params.width = 40;
  out.params.height = 20;
  const OccupancyMap before = map;
  Brin::scrollOccMap(map, out, Point2Di(1, 0));
  EXPECT_EQ(out.params.resolution, 0.125f);
  EXPECT_EQ(out.params.width, 40);
  EXPECT_EQ(out.params.height, 20);
  EXPECT_TRUE(sameMap(map, before));
}

TEST(ScrollOccMap, aPoseStandsForItsCell) {
  const OccupancyMap map = layeredMap();
  OccupancyMap byPose(4, 2, 0.5f, true);
  OccupancyMap byCells(4, 2, 0.5f, true);
  Brin::scrollOccMap(map, byPose, map.getPoseFromPixel({-2, 1, 1.0f}));
  Brin::scrollOccMap(map, byCells, Point2Di(-2, 1));
  EXPECT_TRUE(sameMap(byPose, byCells));
  EXPECT_EQ(drawingOf(byPose), (Drawing{"????", "23??"}));
}

TEST(ScrollOccMap, aWildPoseLeavesEverythingUnknown) {
  OccupancyMap map = layeredMap();
  Brin::scrollOccMap(layeredMap(), map, Pose2D(kNaN, kInf, kNaN));
  EXPECT_EQ(drawingOf(map), (Drawing{"????", "????"}));
  EXPECT_EQ(secondOf(map), (Drawing{"????", "????"}));
}

TEST(ScrollOccMap, theFarthestShiftsHaveAnOppositeToo) {
  OccupancyMap map = layeredMap();
  map.params.origin = {0.0f, 0.0f, 0.0f};
  Brin::scrollOccMapInPlace(map, {kMin, kMax});
  EXPECT_EQ(drawingOf(map), (Drawing{"????", "????"}));
  EXPECT_TRUE(sameBits(map.params.origin, {1073741824.0f, -1073741824.0f, 0.0f}));
}

TEST(ScrollOccMap, inPlaceGivesWhatADistinctMapGets) {
  for (const Point2Di shift : {Point2Di(0, 0), Point2Di(1, 1), Point2Di(-1, 0), Point2Di(2, -1),
                               Point2Di(-3, 1), Point2Di(0, -1), Point2Di(9, 9)}) {
    OccupancyMap map = layeredMap();
    OccupancyMap out = map;
    Brin::scrollOccMap(map, out, shift);
    Brin::scrollOccMapInPlace(map, shift);
    EXPECT_TRUE(sameMap(map, out)) << shift.x << "," << shift.y;
  }
}

TEST(ScrollOccMap, aMapWithoutASecondImageIsRefusedBeforeAnythingMoves) {
  const OccupancyMap full = layeredMap();
  const OccupancyMap bare = drawMap({"#123", "4?67"}, 0.5f, false);
  OccupancyMap out = layeredMap();
  EXPECT_THROW(Brin::scrollOccMap(bare, out, Point2Di(1, 0)), cv::Exception);
  EXPECT_TRUE(sameMap(out, full));
  OccupancyMap bareOut = bare;
  EXPECT_THROW(Brin::scrollOccMap(full, bareOut, Point2Di(1, 0)), cv::Exception);
  EXPECT_THROW(Brin::scrollOccMap(full, bareOut, Pose2D()), cv::Exception);
  EXPECT_THROW(Brin::scrollOccMapInPlace(bareOut, Point2Di(1, 0)), cv::Exception);
  EXPECT_TRUE(sameMap(bareOut, bare));
}

TEST(ScrollOccMap, imagesOfAnotherSizeAreRefusedBeforeAnythingMoves) {
  const OccupancyMap map = layeredMap();
  for (const bool second : {false, true}) {
    OccupancyMap out = layeredMap();
    IplImage*& image = second ? out.secondImage : out.image;
    cvReleaseImage(&image);
    image = floatImage({{0.1f, 0.2f, 0.3f, 0.4f}}).release();
    const OccupancyMap before = out;
    EXPECT_THROW(Brin::scrollOccMap(map, out, Point2Di(1, 0)), cv::Exception);
    EXPECT_THROW(Brin::scrollOccMap(out, out, Point2Di(1, 0)), cv::Exception);
    EXPECT_TRUE(sameMap(out, before));
  }
}

TEST(ScrollOccMap, aMapThatWasMovedFromIsRefused) {
  OccupancyMap map = layeredMap();
  const OccupancyMap taken = std::move(map);
  EXPECT_THROW(Brin::scrollOccMapInPlace(map, Point2Di(0, 0)), cv::Exception);
}

TEST(ScrollOccMap, aMapOfNoCellsMovesItsOrigin) {
  OccupancyMap map(0, 3, 0.5f, true);
  Brin::scrollOccMapInPlace(map, {2, -4});
  EXPECT_TRUE(sameBits(map.params.origin, {-1.0f, 2.0f, 0.0f}));
}

// A thousand scrolls there and back: by the first shift over and over, so that rounding adds up, or
// by a new one each time.
std::vector<Point2Di> wandering(Point2Di there, RandomInputs* random) {
  std::vector<Point2Di> shifts;
  for (int i = 0; i < 500; ++i) {
    shifts.push_back(there);
    shifts.emplace_back(-there.x, -there.y);
    if (random != nullptr) there = Point2Di(random->between(-3, 3), random->between(-3, 3));
  }
  return shifts;
}

// Scrolls a map of 5 cm cells and checks that a place keeps its cell. Returns how far the origin
// has moved in the end, in cells.
float driftOf(const Pose2D& origin, const std::vector<Point2Di>& shifts) {
  OccupancyMap map(16, 16, 0.05f, true);
  map.params.origin = origin;
  map.setCell(8, 7, 0.25f);
  const Pose2D place = map.getPoseFromPixel({8, 7, 0.0f});
  Point2Di cell(8, 7);
  for (const Point2Di& shift : shifts) {
    Brin::scrollOccMapInPlace(map, shift);
    cell = Point2Di(cell.x + shift.x, cell.y + shift.y);
    const Brin::Pose2Di now = map.getPixelFromPose(place);
    EXPECT_TRUE(now.x == cell.x && now.y == cell.y);
    EXPECT_EQ(map.getCell(now.x, now.y), 0.25f);
  }
  return std::max(std::abs(map.params.origin.x - origin.x),
                  std::abs(map.params.origin.y - origin.y)) /
         map.params.resolution;
}

TEST(ScrollOccMap, aThousandScrollsBackAndForthDoNotLoseTheWorld) {
  RandomInputs random(45);
  for (int i = 0; i < 200; ++i) {
    const float theta = i % 4 == 0 ? 0.0f : random.between(-3.1f, 3.1f);
    const float reach = theta == 0.0f ? 1000.0f : 5.0f;
    const Pose2D origin(random.between(-reach, reach), random.between(-reach, reach), theta);
    const Point2Di shift(random.between(-3, 3), random.between(-3, 3));
    EXPECT_LT(driftOf(origin, wandering(shift, nullptr)), 0.01f);
    EXPECT_LT(driftOf(origin, wandering(shift, &random)), 0.01f);
  }
}

// The form of the origin's formula is fixed, and this is its price: the worst origins of thousands.
TEST(ScrollOccMap, someTurnedOriginsFarOutDriftButKeepEveryPlaceInItsCell) {
  const float at30 = driftOf({16.0099964f, 25.3708496f, 2.59572005f}, wandering({3, -3}, nullptr));
  EXPECT_NEAR(at30, 0.019f, 0.001f);
  const float at100 =
      driftOf({76.9181824f, -63.9030037f, 0.457311153f}, wandering({1, 3}, nullptr));
  EXPECT_NEAR(at100, 0.076f, 0.001f);
  const float at300 =
      driftOf({-255.963333f, 156.469696f, -0.793818951f}, wandering({-1, 3}, nullptr));
  EXPECT_NEAR(at300, 0.305f, 0.001f);
}

// An image's sides, narrow ones among them.
int side(RandomInputs& random) { return random.pick<int>({1, 1, 2, 3, 7, 20, 33, 70}); }

TEST(ScrollingLaw, aWholeShiftOfProbabilitiesGivesWhatWarpingGives) {
  RandomInputs random(46);
  for (int i = 0; i < 60; ++i) {
    const ImagePtr image = randomFloatImage(random, side(random), side(random));
    const ImagePtr moved = copyOf(*image);
    const ImagePtr warped = copyOf(*image);
    for (int dx = -image->width - 2; dx <= image->width + 2; ++dx) {
      for (const int dy : {0, 1, -1, random.between(-image->height - 2, image->height + 2)}) {
        Brin::scrollIplImage(image.get(), moved.get(),
                             {static_cast<float>(dx), static_cast<float>(dy)});
        korrin_model::warpAffine(image.get(), warped.get(), 1, 0, static_cast<float>(dx), 0, 1,
                                 static_cast<float>(dy));
        ASSERT_TRUE(sameImage(moved.get(), warped.get()))
            << image->width << "x" << image->height << " by " << dx << "," << dy;
      }
    }
  }
}

float anyShift(RandomInputs& random, int size) {
  if (random.chance(0.05)) return random.pick<float>({1e5f, -2e6f, 3e9f, -1e20f});
  const float shift = static_cast<float>(random.between(-size - 2, size + 2));
  return random.chance(0.6) ? shift : shift + random.between(-1.0f, 1.0f);
}

TEST(ScrollingLaw, anyShiftAgreesWithTheModelAlsoInPlace) {
  RandomInputs random(47);
  int whole = 0;
  for (int i = 0; i < 20000; ++i) {
    const ImagePtr image = randomFloatImage(random, random.between(1, 12), random.between(1, 12),
                                            random.pick<double>({0.0, 0.1}));
    const ImagePtr out = random.chance(0.9)
                             ? copyOf(*image)
                             : randomFloatImage(random, side(random), random.between(1, 9));
    const ImagePtr expected = copyOf(*out);
    const Point2D shift(anyShift(random, image->width), anyShift(random, image->height));
    Brin::scrollIplImage(image.get(), out.get(), shift);
    korrin_model::scrollIplImage(image.get(), expected.get(), shift.x, shift.y);
    ASSERT_TRUE(sameImage(out.get(), expected.get())) << "case " << i;
    if (out->width == image->width && out->height == image->height) {
      Brin::scrollIplImage(image.get(), image.get(), shift);
      ASSERT_TRUE(sameImage(image.get(), expected.get())) << "in place, case " << i;
    }
    whole += std::floor(shift.x) == shift.x && std::floor(shift.y) == shift.y ? 1 : 0;
  }
  EXPECT_GT(whole, 5000);
  EXPECT_LT(whole, 15000);
}

TEST(ScrollingLaw, mapsAgreeWithTheModelAlsoInPlace) {
  RandomInputs random(48);
  for (int i = 0; i < 5000; ++i) {
    korrin_test::MapBounds bounds;
    bounds.secondImageShare = 1.0;
    bounds.wildShare = 0.05;
    OccupancyMap map = random.map(bounds);
    if (random.chance(0.05)) map.params.origin = random.wildPose();
    if (random.chance(0.05)) map.params.resolution = random.wildFloat();
    OccupancyMap out = map;
    OccupancyMap expected = map;
    Point2Di shift(random.between(-14, 14), random.between(-14, 14));
    if (random.chance(0.1)) shift.x = random.pick<int>({kMin, kMax, 1 << 28, 16777217});
    Brin::scrollOccMap(map, out, shift);
    korrin_model::scrollOccMap(map, expected, shift.x, shift.y);
    ASSERT_TRUE(sameMap(out, expected)) << "case " << i;
    Brin::scrollOccMapInPlace(map, shift);
    ASSERT_TRUE(sameMap(map, expected)) << "in place, case " << i;
  }
}

RC_GTEST_PROP(ScrollingLaw, smallRowsAgreeWithTheModel, ()) {
  const auto values = *rc::gen::nonEmpty(
      rc::gen::container<std::vector<float>>(rc::gen::element(0.0f, 0.25f, 1.0f)));
  const float shift = static_cast<float>(*rc::gen::inRange(-9, 10));
  const ImagePtr image = floatImage({values});
  const ImagePtr out = copyOf(*image);
  const ImagePtr expected = copyOf(*image);
  Brin::scrollIplImage(image.get(), out.get(), {shift, 0.0f});
  korrin_model::scrollIplImage(image.get(), expected.get(), shift, 0.0f);
  RC_ASSERT(rowsOf<float>(*out) == rowsOf<float>(*expected));
}

}  // namespace
