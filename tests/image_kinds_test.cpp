// Maps whose probability image is of another kind than one float channel, or has no pixels:
// OpenCV's error from every operation that looks at cells, before anything is touched. A map
// without an image has no cells at all.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <functional>
#include <opencv2/core.hpp>
#include <string>
#include <utility>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/korrin.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"

using namespace korrin_test;
using Brin::OccupancyMap;

namespace {

constexpr int kWidth = 6;
constexpr int kHeight = 5;

struct Kind {
  const char* name;
  int depth;
  int channels;
  bool hasPixels;
};

const Kind kKinds[] = {
    {"bytes", IPL_DEPTH_8U, 1, true},
    {"16 bits", static_cast<int>(IPL_DEPTH_16S), 1, true},
    {"32-bit integers", static_cast<int>(IPL_DEPTH_32S), 1, true},
    {"doubles", IPL_DEPTH_64F, 1, true},
    {"two channels", IPL_DEPTH_32F, 2, true},
    {"no pixels", IPL_DEPTH_32F, 1, false},
};

// A map that shows an image of another kind, and can tell whether that was written to.
class StrangeMap {
 public:
  explicit StrangeMap(const Kind& kind, bool withSecondImage = true)
      : map(kWidth, kHeight, 1.0f, withSecondImage) {
    cvReleaseImage(&map.image);
    show(map, kind);
  }

  // Puts such an image in the place of the one that `map` has not.
  static void show(OccupancyMap& map, const Kind& kind) {
    const CvSize size = cvSize(kWidth, kHeight);
    map.image = kind.hasPixels ? cvCreateImage(size, kind.depth, kind.channels)
                               : cvCreateImageHeader(size, kind.depth, kind.channels);
    if (kind.hasPixels) cvSet(map.image, cvScalarAll(1.0));
  }

  bool isUntouched() const {
    if (map.image->imageData == nullptr) return true;
    const Brin::ImagePtr before(
        cvCreateImage(cvSize(kWidth, kHeight), map.image->depth, map.image->nChannels));
    cvSet(before.get(), cvScalarAll(1.0));
    return cvNorm(before.get(), map.image, CV_L1) == 0.0;
  }

  OccupancyMap map;
};

// Each kind in turn.
void forEachKind(const std::function<void(const Kind&)>& check) {
  for (const Kind& kind : kKinds) {
    SCOPED_TRACE(kind.name);
    check(kind);
  }
}

TEST(ImageKinds, cellsOfAnotherKindAreNeitherReadNorWritten) {
  forEachKind([](const Kind& kind) {
    StrangeMap strange(kind);
    // The last cell's float would lie behind the last byte.
    for (const CvPoint& cell : {cvPoint(0, 0), cvPoint(kWidth - 1, kHeight - 1)}) {
      EXPECT_THROW(strange.map.getCell(cell.x, cell.y), cv::Exception);
      EXPECT_THROW(strange.map.setCell(cell.x, cell.y, 0.25f), cv::Exception);
    }
    EXPECT_TRUE(strange.isUntouched());
  });
}

TEST(ImageKinds, cellsOutsideAnImageOfAnotherKindAreNoAnswerEither) {
  forEachKind([](const Kind& kind) {
    StrangeMap strange(kind);
    EXPECT_THROW(strange.map.getCell(-1, 0), cv::Exception);
    EXPECT_THROW(strange.map.setCell(0, kHeight, 0.25f), cv::Exception);
    EXPECT_FALSE(strange.map.isInside(-1, 0));
    EXPECT_TRUE(strange.map.isInside(0, 0));
  });
}

TEST(ImageKinds, cellsOfNoImageAreAllOutside) {
  OccupancyMap map(kWidth, kHeight, 1.0f, true);
  cvReleaseImage(&map.image);
  EXPECT_EQ(map.getCell(0, 0), -1.0f);
  map.setCell(0, 0, 0.25f);
  EXPECT_EQ(map.image, nullptr);
}

TEST(ImageKinds, pathStatisticsRefuseOthersWhateverThePath) {
  const Brin::Pose2D inside(2.0f, 2.0f, 0.0f);
  const Brin::Pose2D next(3.0f, 2.0f, 0.0f);
  const Brin::Pose2D far(5.0f, 4.0f, 0.0f);
  const Brin::Pose2D outside(-9.0f, 2.0f, 0.0f);
  const std::vector<std::vector<Brin::Pose2D>> paths = {
      {}, {inside}, {outside}, {inside, next}, {inside, far}, {outside, far}, {outside, outside}};
  const float limit = 0.0f;
  forEachKind([&](const Kind& kind) {
    const StrangeMap strange(kind);
    const LogCapture log;
    for (const auto& path : paths) {
      EXPECT_THROW(Brin::computePathCostStat(strange.map, path), cv::Exception);
      EXPECT_THROW(Brin::computePathCostStat(strange.map, path, &limit), cv::Exception);
    }
    EXPECT_TRUE(log.records().empty());
  });
}

// A finder after a search, of which nodes are open still.
class UsedFinder {
 public:
  UsedFinder() : map_(kWidth, kHeight, 1.0f, false), finder(&map_, 0.0f) {
    map_.reset(1.0f);
    finder.computePath({0, 0, 0.0f}, {2, 2, 0.0f}, path);
  }

 private:
  OccupancyMap map_;

 public:
  Brin::OccMapPathFinder finder;
  std::vector<Brin::Pose2Di> path;
};

TEST(ImageKinds, theSearchRefusesACoarseMapOfAnotherKindAndShowsTheLastSearch) {
  forEachKind([](const Kind& kind) {
    UsedFinder used;
    Brin::OccMapPathFinder& finder = used.finder;
    cvReleaseImage(&finder.coarseMap.image);
    StrangeMap::show(finder.coarseMap, kind);
    const std::vector<Brin::Pose2Di> path = used.path;
    const auto openList = finder.openList;
    const auto iterations = finder.numIterations;
    ASSERT_EQ(path.size(), 3u);
    ASSERT_FALSE(openList.empty());
    const LogCapture log;
    // Free cells, one that is not, and cells off the map.
    for (const Brin::Pose2Di& cell : {Brin::Pose2Di(1, 1, 0.0f), Brin::Pose2Di(-1, 0, 0.0f),
                                      Brin::Pose2Di(kWidth - 1, kHeight - 1, 0.0f)}) {
      EXPECT_THROW(finder.xDoComputePath(cell, {5, 4, 0.0f}, used.path), cv::Exception);
      EXPECT_THROW(finder.xDoComputePath({0, 0, 0.0f}, cell, used.path), cv::Exception);
    }
    EXPECT_THROW(finder.xFindPath(), cv::Exception);
    EXPECT_TRUE(sameBits(used.path, path));
    EXPECT_EQ(finder.openList, openList);
    EXPECT_EQ(finder.numIterations, iterations);
    EXPECT_EQ(finder.end.x, 2);
    EXPECT_NE(finder.cellStates, nullptr);
    EXPECT_TRUE(log.records().empty());
  });
}

TEST(ImageKinds, aCoarseMapWithoutImageHasNoFreeStart) {
  UsedFinder used;
  cvReleaseImage(&used.finder.coarseMap.image);
  const LogCapture log;
  used.finder.xDoComputePath({0, 0, 0.0f}, {1, 1, 0.0f}, used.path);
  EXPECT_TRUE(used.path.empty());
  ASSERT_EQ(log.records().size(), 1u);
  EXPECT_EQ(log.records()[0].message, "Start is not free.");
  EXPECT_FALSE(used.finder.xFindPath());
}

// All others that look at a map's cells.
struct Operation {
  const char* name;
  std::function<void(OccupancyMap& map)> run;
};

std::vector<Operation> operations() {
  static Brin::Pose2Di cell;
  static float direction;
  static std::vector<Brin::RangeReading> readings(1, Brin::RangeReading(2.0f, 0.0f));
  static OccupancyMap other(kWidth, kHeight, 1.0f, true);
  static IplImage* bytes = nullptr;
  static const Brin::Pose2D centre(2.0f, 2.0f, 0.0f);
  static const Brin::ScanModel scanner(4, 5.0f, 1.0f);
  const auto dilate = [](Brin::ObstacleDilater::DilateType type) {
    return [type](OccupancyMap& map) { Brin::ObstacleDilater(kWidth, kHeight).dilate(map, type); };
  };
  return {
      {"copy", [](OccupancyMap& map) { OccupancyMap copy(map); }},
      {"clip", [](OccupancyMap& map) { map.clip(); }},
      {"reset", [](OccupancyMap& map) { map.reset(0.5f); }},
      {"toCharIplImage", [](OccupancyMap& map) { map.toCharIplImage(&bytes); }},
      {"computePath",
       [](OccupancyMap& map) {
         std::vector<Brin::Pose2Di> path;
         Brin::OccMapPathFinder(&map, 0.0f).computePath({0, 0, 0.0f}, {1, 1, 0.0f}, path);
       }},
      {"computeCoarserMap", [](OccupancyMap& map) { Brin::computeCoarserMap(map, other, 2); }},
      {"updateMap",
       [](OccupancyMap& map) {
         Brin::OccupancyMapper(&map).updateMap(readings, centre, 0.1f, 0.2f);
       }},
      {"updateMap2",
       [](OccupancyMap& map) {
         Brin::OccupancyMapper(&map).updateMap2(readings, centre, 0.1f, 0.2f);
       }},
      {"xLineBres",
       [](OccupancyMap& map) { Brin::OccupancyMapper(&map).xLineBres(0, 0, 5, 4, 0.1f, 0.1f); }},
      {"xLineBres2",
       [](OccupancyMap& map) { Brin::OccupancyMapper(&map).xLineBres2(0, 0, 5, 4, 0.1f, 0.1f); }},
      {"throwRay",
       [](OccupancyMap& map) {
         Brin::OccupancyMapper(&map).throwRay({1.0f, 1.0f}, {5.0f, 4.0f}, 0.5f);
       }},
      {"xThrowRay",
       [](OccupancyMap& map) { Brin::OccupancyMapper(&map).xThrowRay(1, 1, 5, 4, 0.5f); }},
      {"simulateScan",
       [](OccupancyMap& map) {
         std::vector<Brin::RangeReading> out;
         Brin::OccupancyMapper(&map).simulateScan(centre, 1.0f, 0.1f, 5.0f, 3, out, 0.5f);
       }},
      {"occMapGetRange",
       [](OccupancyMap& map) {
         Brin::occMapGetRange(map, scanner, {1, 1}, {5, 4}, 0.5f);
       }},
      {"occMapSimulateScan",
       [](OccupancyMap& map) {
         std::vector<Brin::RangeReading> out;
         Brin::occMapSimulateScan(map, scanner, centre, out, 0.5f);
       }},
      {"fillOccMapFromScan",
       [](OccupancyMap& map) { Brin::fillOccMapFromScan({readings}, centre, map, 2); }},
      {"PreparedMap", [](OccupancyMap& map) { Brin::PreparedMap(map, 0.5f); }},
      {"dilate, linear", dilate(Brin::ObstacleDilater::DILATE_LINEAR)},
      {"dilate, inverse", dilate(Brin::ObstacleDilater::DILATE_INVERSE)},
      {"dilate, smooth", dilate(Brin::ObstacleDilater::DILATE_ERODE_SMOOTH)},
      {"occMapMultiplyProb", [](OccupancyMap& map) { Brin::occMapMultiplyProb(map, 0.5f); }},
      {"imgMultiplyProb32F", [](OccupancyMap& map) { Brin::imgMultiplyProb32F(map.image, 0.5f); }},
      {"scrollOccMap, from",
       [](OccupancyMap& map) {
         Brin::scrollOccMap(map, other, Brin::Point2Di{1, 1});
       }},
      {"scrollOccMap, to",
       [](OccupancyMap& map) {
         Brin::scrollOccMap(other, map, Brin::Point2Di{1, 1});
       }},
      {"scrollOccMapInPlace",
       [](OccupancyMap& map) {
         Brin::scrollOccMapInPlace(map, Brin::Point2Di{1, 1});
       }},
      {"sample",
       [](OccupancyMap& map) {
         const LogCapture log;
         Brin::SafePathSimplifier().sample({centre, {4.0f, 4.0f, 0.0f}}, map);
       }},
      {"findFirstFreeCell",
       [](OccupancyMap& map) {
         Brin::findFirstFreeCell(map, {1, 1, 0.0f}, cell, 2.0f);
       }},
      {"findFirstGrayCell",
       [](OccupancyMap& map) {
         Brin::findFirstGrayCell(map, {1, 1, 0.0f}, cell, 0.1f, 0.1f);
       }},
      {"findFirstFreeCellInLine",
       [](OccupancyMap& map) {
         Brin::findFirstFreeCellInLine(map, {1, 1, 0.0f}, {4, 4, 0.0f}, cell, 0.5f);
       }},
      {"findFirstCellWithCond",
       [](OccupancyMap& map) {
         Brin::findFirstCellWithCond(map, {1, 1, 0.0f}, cell, [](float v) { return v > 2.0f; });
       }},
      {"findObstaclesMainDirection",
       [](OccupancyMap& map) {
         Brin::findObstaclesMainDirection(map, {1, 1, 0.0f}, 2.0f, direction, 0.5f);
       }},
      {"scanScore",
       [](OccupancyMap& map) {
         Brin::scanScore(map.image, {{0.0f, 0.0f}}, {}, 1.0f, 1.0f, nullptr, nullptr, 1);
       }},
      {"scanScores",
       [](OccupancyMap& map) {
         std::vector<float> scores;
         Brin::scanScores(map.image, {{0.0f, 0.0f}}, {{}}, 1.0f, 1.0f, scores, nullptr, 1);
       }},
  };
}

TEST(ImageKinds, everyOtherOperationRefusesThem) {
  for (const Operation& operation : operations()) {
    SCOPED_TRACE(operation.name);
    forEachKind([&](const Kind& kind) {
      StrangeMap strange(kind);
      EXPECT_THROW(operation.run(strange.map), cv::Exception);
      EXPECT_TRUE(strange.isUntouched());
    });
  }
}

}  // namespace
