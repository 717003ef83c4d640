// What a path finder keeps from one request to the next, and what it makes anew.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/map_image_utils.hpp"
#include "korrin/occmap_path_finder.hpp"
#include "models/occmap_path_finder_model.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"
#include "support/path_searches.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2Di;
using korrin_test::sameBits;
using korrin_test::sameMap;

OccupancyMap freeMap(int width, int height) {
  OccupancyMap map(width, height, 1.0f, false);
  map.reset(1.0f);
  return map;
}

std::vector<Pose2Di> plan(OccMapPathFinder& finder, const Pose2Di& from, const Pose2Di& to) {
  std::vector<Pose2Di> path;
  finder.computePath(from, to, path);
  return path;
}

TEST(PathFinderMemory, imagesOfTheSameSizeAreFilledAgain) {
  korrin_test::RandomInputs random(31);
  for (const int factor : {1, 2, 3}) {
    OccupancyMap map = freeMap(30, 20);
    OccMapPathFinder finder(&map, 0.0f);
    finder.setCoarseFactor(factor);
    plan(finder, {0, 0, 0.0f}, {1, 1, 0.0f});
    const IplImage* image = finder.coarseMap.image;
    const IplImage* second = finder.coarseMap.secondImage;

    for (int y = 0; y < 20; ++y) {
      for (int x = 0; x < 30; ++x) map.setCell(x, y, random.between(0.0f, 1.0f));
    }
    map.params.resolution = 0.25f;
    map.params.origin = {1.0f, 2.0f, 3.0f};
    plan(finder, {0, 0, 0.0f}, {1, 1, 0.0f});
    OccupancyMap expected(0, 0, 1.0f, true);
    computeCoarserMap(map, expected, factor);
    EXPECT_TRUE(sameMap(finder.coarseMap, expected)) << "factor " << factor;
    EXPECT_EQ(finder.coarseMap.image, image);
    EXPECT_EQ(finder.coarseMap.secondImage, second);
  }
}

TEST(PathFinderMemory, imagesThatDoNotFitAreReplaced) {
  const OccupancyMap map = freeMap(10, 10);  // the size of a new finder's coarse map
  OccupancyMap expected(0, 0, 1.0f, true);
  computeCoarserMap(map, expected, 1);
  for (const int kind : {0, 1, 2, 3, 4}) {
    OccMapPathFinder finder(&map, 0.0f);
    IplImage*& image = finder.coarseMap.image;
    if (kind == 0) cvReleaseImage(&finder.coarseMap.secondImage);
    if (kind == 1) cvSetImageROI(image, cvRect(2, 2, 3, 3));
    if (kind >= 2) cvReleaseImage(&image);
    if (kind == 3) image = cvCreateImage(cvSize(10, 10), IPL_DEPTH_8U, 1);
    if (kind == 4) image = cvCreateImage(cvSize(10, 9), IPL_DEPTH_32F, 1);
    EXPECT_EQ(plan(finder, {0, 0, 0.0f}, {9, 9, 0.0f}).size(), 10u) << "kind " << kind;
    EXPECT_TRUE(sameMap(finder.coarseMap, expected)) << "kind " << kind;
  }
}

TEST(PathFinderMemory, itsOwnCoarseMapMayBeReducedFurther) {
  const OccupancyMap map = freeMap(12, 12);
  OccMapPathFinder finder(&map, 0.0f);
  plan(finder, {0, 0, 0.0f}, {1, 1, 0.0f});
  finder.setOccMap(&finder.coarseMap);
  EXPECT_EQ(plan(finder, {0, 0, 0.0f}, {5, 5, 0.0f}).size(), 6u);
  finder.setCoarseFactor(2);
  EXPECT_EQ(plan(finder, {0, 0, 0.0f}, {5, 5, 0.0f}).size(), 6u);
  EXPECT_EQ(finder.coarseMap.params.width, 6);
}

TEST(PathFinderMemory, arraysOfAnySizeStartAtZero) {
  for (const int side : {8, 300}) {
    const OccupancyMap map = freeMap(side, side);
    OccMapPathFinder finder(&map, 0.0f);
    finder.setHWeight(0.0f);  // reaches every cell
    plan(finder, {0, 0, 0.0f}, {side - 1, side - 1, 0.0f});
    EXPECT_EQ(finder.xGetCellState({side / 2, side / 2, 0.0f}), 2);
    plan(finder, {0, 0, 0.0f}, {0, 0, 0.0f});
    const auto cells = static_cast<std::ptrdiff_t>(side) * side;
    EXPECT_EQ(std::count(finder.cellStates.get(), finder.cellStates.get() + cells, 0), cells - 1);
    EXPECT_EQ(std::count(finder.cellNodes.get(), finder.cellNodes.get() + cells, 0), cells);
  }
}

// Its coarse map is the new one then, but the arrays belong to the map of the last search.
TEST(PathFinderMemory, aRejectedRequestOnAMapOfAnotherWidthLeavesTheArrays) {
  const OccupancyMap map = korrin_test::drawMap({"......", ".##.#.", "......", ".#.##."});
  korrin_test::LogCapture log;
  for (const int width : {1, 3, 5, 7, 40}) {
    OccupancyMap other = freeMap(width, 9);
    other.setCell(0, 0, 0.0f);
    for (const bool isStartBlocked : {true, false}) {
      korrin_model::PathFinderModel model;
      model.coarseMap = map;
      model.search({0, 0, 0.25f}, {5, 3, 0.0f});
      OccMapPathFinder finder(&map, 0.0f);
      plan(finder, {0, 0, 0.25f}, {5, 3, 0.0f});
      const std::int32_t* states = finder.cellStates.get();
      const std::int32_t* cellNodes = finder.cellNodes.get();

      finder.setOccMap(&other);
      const Pose2Di blocked(0, 0, 0.0f);
      const Pose2Di free(0, 8, 0.0f);
      log.clear();
      EXPECT_TRUE(
          plan(finder, isStartBlocked ? blocked : free, isStartBlocked ? free : blocked).empty());
      ASSERT_EQ(log.records().size(), 1u);
      EXPECT_EQ(log.records()[0].message,
                isStartBlocked ? "Start is not free." : "End is not free.");

      EXPECT_EQ(finder.coarseMap.params.width, width);
      EXPECT_EQ(finder.cellStates.get(), states);
      EXPECT_EQ(finder.cellNodes.get(), cellNodes);
      EXPECT_TRUE(korrin_test::sameSearch(finder, model)) << width;
      EXPECT_TRUE(sameBits(finder.start, model.start));
      EXPECT_TRUE(sameBits(finder.end, model.end));
      for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 6; ++x) {
          const auto entry = static_cast<std::size_t>(6 * y + x);
          EXPECT_EQ(&finder.xGetCellState({x, y, 0.0f}), states + entry);
          EXPECT_EQ(&finder.xGetCellNode({x, y, 0.0f}), cellNodes + entry);
          const bool isOpen = model.cellStates[entry] == 1;
          EXPECT_EQ(finder.xFindNode({x, y, 0.0f}) != nullptr, isOpen) << x << ", " << y;
        }
      }
    }
  }
}

TEST(PathFinderMemory, rowsWithBytesBetweenThemAreSearchedAsWell) {
  korrin_test::RandomInputs random(32);
  korrin_test::LogCapture log;
  int found = 0;
  for (int i = 0; i < 300; ++i) {
    korrin_test::MapBounds bounds;
    bounds.minSide = 4;
    bounds.maxSide = 12;
    bounds.levels = {0.0f, 0.5f, 1.0f, 1.0f};
    OccupancyMap map = random.map(bounds);
    const Pose2Di from = random.cellNear(map, 0);
    const Pose2Di to = random.cellNear(map, 0);
    korrin_model::PathFinderModel model;
    model.coarseMap = map;
    OccMapPathFinder finder(nullptr, 0.0f);
    finder.coarseMap = map;
    // A view of the middle of a wider image: its rows lie further apart than its width.
    const Brin::ImagePtr wide = Brin::makeImage(cvSize(40, 12), IPL_DEPTH_32F, 1);
    IplImage view = *finder.coarseMap.image;
    view.imageData = wide->imageData + 5 * sizeof(float);
    view.widthStep = wide->widthStep;
    std::swap(*finder.coarseMap.image, view);
    for (int y = 0; y < map.params.height; ++y) {
      for (int x = 0; x < map.params.width; ++x) {
        finder.coarseMap.setCell(x, y, map.getCell(x, y));
      }
    }
    std::vector<Pose2Di> path;
    finder.xDoComputePath(from, to, path);
    EXPECT_TRUE(sameBits(path, model.search(from, to))) << "search " << i;
    found += path.empty() ? 0 : 1;
    std::swap(*finder.coarseMap.image, view);
  }
  EXPECT_GT(found, 100);
}

}  // namespace
