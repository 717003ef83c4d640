#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <limits>
#include <string>
#include <utility>

#include "core/image_ptr.hpp"
#include "korrin/map_image_utils.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::computeCoarserMap;
using Brin::OccupancyMap;
using korrin_test::drawMap;
using korrin_test::sameImage;
using korrin_test::sameMap;

OccupancyMap coarserMap(const OccupancyMap& fine, int factor) {
  OccupancyMap coarse(3, 4, 9.0f, false);
  computeCoarserMap(fine, coarse, factor);
  return coarse;
}

TEST(ComputeCoarserMap, sizesAreDividedAndRoundedDown) {
  OccupancyMap fine(101, 50, 0.05f, false);
  fine.params.origin = {1.0f, -2.0f, 0.5f};
  const OccupancyMap coarse = coarserMap(fine, 2);
  EXPECT_EQ(coarse.params.width, 50);
  EXPECT_EQ(coarse.params.height, 25);
  EXPECT_EQ(coarse.image->width, 50);
  EXPECT_EQ(coarse.image->height, 25);
  EXPECT_EQ(coarse.params.resolution, 2.0f * 0.05f);
  EXPECT_TRUE(korrin_test::sameBits(coarse.params.origin, fine.params.origin));
}

TEST(ComputeCoarserMap, sizesComeFromTheImageNotFromTheParams) {
  OccupancyMap fine(8, 6, 1.0f, false);
  fine.params.width = 100;
  fine.params.height = 2;
  const OccupancyMap coarse = coarserMap(fine, 2);
  EXPECT_EQ(coarse.params.width, 4);
  EXPECT_EQ(coarse.params.height, 3);
}

TEST(ComputeCoarserMap, twoByTwoCellsBecomeTheirMean) {
  const OccupancyMap fine = drawMap({"..##", "..##", "#.??", "#.??"});
  EXPECT_EQ(korrin_test::drawingOf(coarserMap(fine, 2)), (std::vector<std::string>{".#", "??"}));
}

TEST(ComputeCoarserMap, threeByThreeCellsBecomeTheirMiddleSoThatAThinWallCanVanish) {
  const OccupancyMap fine = drawMap({
      "#........",  //
      "#..###.?.",  //
      "#........",
  });
  EXPECT_EQ(korrin_test::drawingOf(coarserMap(fine, 3)), (std::vector<std::string>{".#?"}));
}

TEST(ComputeCoarserMap, factorOneCopiesEveryCellEvenWhatIsNoProbability) {
  korrin_test::RandomInputs random(3);
  int copied = 0;
  for (int i = 0; i < 300; ++i) {
    korrin_test::MapBounds bounds;
    bounds.wildShare = 0.2;
    const OccupancyMap fine = random.map(bounds);
    const OccupancyMap coarse = coarserMap(fine, 1);
    ASSERT_TRUE(sameImage(coarse.image, fine.image));
    ASSERT_TRUE(korrin_test::sameParams(coarse.params, fine.params));
    copied += fine.image->width * fine.image->height;
  }
  EXPECT_GT(copied, 5000);
}

TEST(ComputeCoarserMap, cellsAreThoseOfBilinearResizing) {
  korrin_test::RandomInputs random(4);
  int reduced = 0;
  for (int i = 0; i < 300; ++i) {
    korrin_test::MapBounds bounds;
    bounds.maxSide = 40;
    const OccupancyMap fine = random.map(bounds);
    const int factor = random.between(1, 7);
    const OccupancyMap coarse = coarserMap(fine, factor);
    const CvSize size = cvSize(fine.image->width / factor, fine.image->height / factor);
    ASSERT_EQ(coarse.image->width, size.width);
    ASSERT_EQ(coarse.image->height, size.height);
    if (size.width == 0 || size.height == 0) continue;
    const Brin::ImagePtr expected(cvCreateImage(size, IPL_DEPTH_32F, 1));
    cvResize(fine.image, expected.get(), CV_INTER_LINEAR);
    ASSERT_TRUE(sameImage(coarse.image, expected.get()));
    ++reduced;
  }
  EXPECT_GT(reduced, 200);
}

TEST(ComputeCoarserMap, secondImageIsUnknownWhateverTheMapsHeldBefore) {
  OccupancyMap fine = drawMap({"....", "...."}, 1.0f, true);
  cvSet(fine.secondImage, cvScalarAll(0.0));
  OccupancyMap coarse(4, 2, 1.0f, true);
  cvSet(coarse.secondImage, cvScalarAll(1.0));
  computeCoarserMap(fine, coarse, 1);
  ASSERT_NE(coarse.secondImage, nullptr);
  EXPECT_TRUE(sameImage(coarse.secondImage, OccupancyMap(4, 2, 1.0f, false).image));
}

TEST(ComputeCoarserMap, aMapMayBeReducedIntoItself) {
  OccupancyMap map = drawMap({"..##", "..##"});
  const OccupancyMap expected = coarserMap(map, 2);
  computeCoarserMap(map, map, 2);
  EXPECT_TRUE(sameMap(map, expected));
}

TEST(ComputeCoarserMap, factorLargerThanTheMapLeavesNoCell) {
  const OccupancyMap fine(5, 9, 0.5f, false);
  for (int factor : {6, 10, 1000000, std::numeric_limits<int>::max()}) {
    const OccupancyMap coarse = coarserMap(fine, factor);
    EXPECT_EQ(coarse.params.width, 0);
    EXPECT_EQ(coarse.params.height, 9 / factor);
    EXPECT_EQ(coarse.params.resolution, static_cast<float>(factor) * 0.5f);
    EXPECT_FALSE(coarse.isInside(0, 0));
  }
}

TEST(ComputeCoarserMap, smallestMaps) {
  EXPECT_TRUE(
      sameMap(coarserMap(OccupancyMap(0, 0, 1.0f, false), 1), OccupancyMap(0, 0, 1.0f, true)));
  OccupancyMap one(1, 1, 1.0f, true);
  one.setCell(0, 0, 0.25f);
  EXPECT_TRUE(sameMap(coarserMap(one, 1), one));
}

TEST(ComputeCoarserMap, factorBelowOneKeepsTheCoarseMapAndSaysSoOnce) {
  const OccupancyMap fine = drawMap({"....", "...."});
  for (int factor : {0, -1, std::numeric_limits<int>::min()}) {
    korrin_test::LogCapture log;
    OccupancyMap coarse = drawMap({"#?"}, 3.0f);
    const OccupancyMap before = coarse;
    computeCoarserMap(fine, coarse, factor);
    EXPECT_TRUE(sameMap(coarse, before));
    ASSERT_EQ(log.records().size(), 1u);
    const Brin::LogRecord record = log.records().front();
    EXPECT_EQ(record.level, Brin::NavLogLevel::Warning);
    EXPECT_NE(record.message.find("factor"), std::string::npos);
    EXPECT_EQ(record.file, "src/map_image_utils");
    EXPECT_EQ(record.function, "computeCoarserMap");
  }
}

TEST(ComputeCoarserMap, missingOrOtherImageIsOpenCvsErrorAndKeepsTheCoarseMap) {
  OccupancyMap coarse = drawMap({"#?"}, 3.0f);
  const OccupancyMap before = coarse;
  OccupancyMap moved(4, 4, 1.0f, false);
  const OccupancyMap taken = std::move(moved);
  EXPECT_THROW(computeCoarserMap(moved, coarse, 1), cv::Exception);
  OccupancyMap bytes(4, 4, 1.0f, false);
  cvReleaseImage(&bytes.image);
  bytes.image = cvCreateImage(cvSize(4, 4), IPL_DEPTH_8U, 1);
  EXPECT_THROW(computeCoarserMap(bytes, coarse, 1), cv::Exception);
  EXPECT_TRUE(sameMap(coarse, before));
}

}  // namespace
