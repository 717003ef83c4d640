// A map's cells, and who owns them.
#include "korrin/core/occupancy_map.hpp"

#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>
#include <rapidcheck/gtest.h>

#include <cstddef>
#include <limits>
#include <opencv2/core.hpp>
#include <type_traits>
#include <utility>

#include "core/image_ptr.hpp"
#include "models/core/occupancy_map_model.hpp"
#include "support/bits.hpp"
#include "support/map_drawing.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::OccupancyMapParams;
using Brin::Pose2D;
using Brin::Pose2Di;
using korrin_test::drawingOf;
using korrin_test::drawMap;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::sameMap;
using korrin_test::sameParams;
using Limits = std::numeric_limits<float>;

constexpr float kNan = Limits::quiet_NaN();
constexpr float kInf = Limits::infinity();

bool everyCellIs(const IplImage* image, float value) {
  for (int y = 0; y < image->height; ++y) {
    const float* row = Brin::imageRow<float>(*image, y);
    for (int x = 0; x < image->width; ++x) {
      if (!sameBits(row[x], value)) return false;
    }
  }
  return true;
}

TEST(OccupancyMap, holdsParamsImageAndSecondImageInOrder) {
  static_assert(std::is_standard_layout_v<OccupancyMap>);
  EXPECT_EQ(offsetof(OccupancyMap, params), 0u);
  EXPECT_LT(offsetof(OccupancyMap, params), offsetof(OccupancyMap, image));
  EXPECT_LT(offsetof(OccupancyMap, image), offsetof(OccupancyMap, secondImage));
}

TEST(OccupancyMap, isUnknownEverywhereAtFirst) {
  const OccupancyMap map(10, 7, 1.0f, true);
  EXPECT_EQ(map.image->width, 10);
  EXPECT_EQ(map.image->height, 7);
  EXPECT_EQ(map.image->depth, IPL_DEPTH_32F);
  EXPECT_EQ(map.image->nChannels, 1);
  EXPECT_TRUE(everyCellIs(map.image, 0.5f));
}

TEST(OccupancyMap, hasASecondImageOfItsSizeAndKindOnlyWhenAskedFor) {
  const OccupancyMap map(10, 7, 1.0f, true);
  ASSERT_NE(map.secondImage, nullptr);
  EXPECT_EQ(map.secondImage->width, 10);
  EXPECT_EQ(map.secondImage->height, 7);
  EXPECT_EQ(map.secondImage->depth, IPL_DEPTH_32F);
  EXPECT_EQ(map.secondImage->nChannels, 1);
  EXPECT_TRUE(everyCellIs(map.secondImage, 0.5f));
  EXPECT_EQ(OccupancyMap(10, 7, 1.0f, false).secondImage, nullptr);
  EXPECT_EQ(OccupancyMap(OccupancyMapParams(3, 3, 1.0f), false).secondImage, nullptr);
  EXPECT_NE(OccupancyMap(OccupancyMapParams(3, 3, 1.0f), true).secondImage, nullptr);
}

TEST(OccupancyMap, takesItsGeometryAsItIs) {
  OccupancyMapParams params(3, 4, 0.1f);
  params.origin = {1.0f, 2.0f, 3.0f};
  const OccupancyMap map(params, true);
  EXPECT_TRUE(sameParams(map.params, params));
  EXPECT_EQ(map.image->width, 3);
  EXPECT_EQ(map.image->height, 4);
}

TEST(OccupancyMap, servesWhereItsGeometryIsAskedFor) {
  OccupancyMap map(3, 4, 0.1f, false);
  map.params.origin = {1.0f, 2.0f, 0.5f};
  const OccupancyMapParams& params = map;
  EXPECT_EQ(&params, &map.params);
  const Pose2D pose(1.3f, 2.1f, 0.1f);
  EXPECT_TRUE(sameBits(map.getPixelFromPose(pose), map.params.getPixelFromPose(pose)));
  EXPECT_TRUE(sameBits(map.getPoseFromPixel({2, 1, 0}), map.params.getPoseFromPixel({2, 1, 0})));
}

TEST(OccupancyMap, mayHaveNoCells) {
  for (const auto& [width, height] : {std::pair(0, 0), std::pair(0, 5), std::pair(5, 0)}) {
    OccupancyMap map(width, height, 1.0f, true);
    map.reset(0.25f);
    map.clip();
    EXPECT_FALSE(map.isInside(0, 0));
    EXPECT_EQ(map.getCell(0, 0), -1.0f);
    EXPECT_TRUE(sameMap(OccupancyMap(map), map));
    IplImage* bytes = nullptr;
    map.toCharIplImage(&bytes);
    const Brin::ImagePtr owner(bytes);
    EXPECT_EQ(bytes->width, width);
    EXPECT_EQ(bytes->height, height);
  }
}

TEST(OccupancyMap, cellsOutsideReadAsMinusOneAndCannotBeWritten) {
  OccupancyMap map = drawMap({"..", "..", ".."});
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  for (const auto& [x, y] : {std::pair(-1, 0), std::pair(2, 0), std::pair(0, -1), std::pair(0, 3),
                             std::pair(2, 3), std::pair(kMin, kMin), std::pair(kMax, kMax)}) {
    EXPECT_FALSE(map.isInside(x, y));
    EXPECT_EQ(map.getCell(x, y), -1.0f) << x << ", " << y;
    map.setCell(x, y, 0.0f);
  }
  EXPECT_EQ(drawingOf(map), (std::vector<std::string>{"..", "..", ".."}));
}

TEST(OccupancyMap, cellsAreAddressedByColumnThenRowThroughTheImagesOwnStride) {
  OccupancyMap map(3, 2, 1.0f, false);
  map.setCell(2, 1, 0.125f);
  EXPECT_TRUE(map.isInside(2, 1));
  EXPECT_FALSE(map.isInside(1, 2));
  EXPECT_EQ(map.getCell(2, 1), 0.125f);
  EXPECT_EQ(reinterpret_cast<float*>(map.image->imageData + map.image->widthStep)[2], 0.125f);
  map.setCell(0, 0, 7.0f);  // as it is, without clamping
  EXPECT_EQ(map.getCell(0, 0), 7.0f);
}

TEST(OccupancyMap, cellsFollowTheImageNotTheParams) {
  OccupancyMap map(3, 2, 1.0f, false);
  map.params.width = map.params.height = 100;
  EXPECT_EQ(map.getCell(3, 0), -1.0f);
  EXPECT_EQ(map.getCell(0, 2), -1.0f);
}

TEST(OccupancyMap, resetSetsEveryCellOfTheProbabilitiesOnly) {
  OccupancyMap map(5, 4, 1.0f, true);
  map.reset(0.25f);
  EXPECT_TRUE(everyCellIs(map.image, 0.25f));
  EXPECT_TRUE(everyCellIs(map.secondImage, 0.5f));
  map.reset(kNan);
  EXPECT_TRUE(everyCellIs(map.image, kNan));
}

TEST(OccupancyMap, clipLeavesAnUnknownMapUnknown) {
  OccupancyMap map = drawMap({".#", "3?"});
  map.reset(0.5f);
  map.clip();
  EXPECT_TRUE(everyCellIs(map.image, 0.5f));
}

TEST(OccupancyMap, clipBringsEveryValueIntoTheRangeOfProbabilities) {
  OccupancyMap map(10, 1, 1.0f, true);
  const float before[] = {-kInf, -0.1f, 0.0f, 1e-40f, 0.3f, 1.0f, 1.0000001f, 1e30f, kInf, kNan};
  const float after[] = {0.0f, 0.0f, 0.0f, 1e-40f, 0.3f, 1.0f, 1.0f, 1.0f, 1.0f, 0.0f};
  for (int x = 0; x < 10; ++x) map.setCell(x, 0, before[x]);
  Brin::imageRow<float>(*map.secondImage, 0)[0] = 5.0f;
  map.clip();
  for (int x = 0; x < 10; ++x) EXPECT_TRUE(sameBits(map.getCell(x, 0), after[x])) << before[x];
  EXPECT_EQ(Brin::imageRow<float>(*map.secondImage, 0)[0], 5.0f);
}

RC_GTEST_PROP(OccupancyMap, clipsAnyValueAsTheModelDoes, (float value)) {
  OccupancyMap map(1, 1, 1.0f, false);
  map.setCell(0, 0, value);
  map.clip();
  RC_ASSERT(sameBits(map.getCell(0, 0), korrin_model::clipped(value)));
}

TEST(OccupancyMap, clipsEveryCellOfEveryRowAsTheModelDoes) {
  RandomInputs random(12);
  for (int width = 0; width < 40; ++width) {
    OccupancyMap map(width, 5, 1.0f, false);
    for (int y = 0; y < 5; ++y) {
      for (int x = 0; x < width; ++x) map.setCell(x, y, random.wildFloat());
    }
    const OccupancyMap before = map;
    map.clip();
    for (int y = 0; y < 5; ++y) {
      for (int x = 0; x < width; ++x) {
        ASSERT_TRUE(sameBits(map.getCell(x, y), korrin_model::clipped(before.getCell(x, y))))
            << before.getCell(x, y) << " in column " << x << " of " << width;
      }
    }
  }
}

TEST(OccupancyMap, copiesDeepWithTheSecondImage) {
  RandomInputs random(35);
  korrin_test::MapBounds bounds;
  bounds.wildShare = 0.1;
  bounds.secondImageShare = 0.5;
  int withSecond = 0;
  for (int i = 0; i < 500; ++i) {
    const OccupancyMap map = random.map(bounds);
    OccupancyMap copy(map);
    OccupancyMap assigned(1, 1, 1.0f, true);
    assigned = map;
    ASSERT_TRUE(sameMap(copy, map));
    ASSERT_TRUE(sameMap(assigned, map));
    ASSERT_NE(copy.image, map.image);
    copy.reset(0.75f);
    ASSERT_TRUE(sameMap(assigned, map));
    withSecond += map.secondImage != nullptr ? 1 : 0;
    if (map.secondImage == nullptr) continue;
    ASSERT_NE(copy.secondImage, map.secondImage);
    ASSERT_NE(assigned.secondImage, map.secondImage);
  }
  EXPECT_GT(withSecond, 100);
}

TEST(OccupancyMap, assignedToItselfIsUnchanged) {
  OccupancyMap map = drawMap({".#?", "5.."}, 0.5f, true);
  const OccupancyMap before = map;
  const OccupancyMap& alias = map;
  map = alias;
  EXPECT_TRUE(sameMap(map, before));
}

TEST(OccupancyMap, movesBothImagesAndLeavesNoCells) {
  OccupancyMap source = drawMap({".#?", "5.."}, 0.5f, true);
  const OccupancyMap before = source;
  const IplImage* image = source.image;
  const IplImage* second = source.secondImage;
  const OccupancyMap moved(std::move(source));
  EXPECT_TRUE(sameMap(moved, before));
  EXPECT_EQ(moved.image, image);
  EXPECT_EQ(moved.secondImage, second);
  EXPECT_EQ(source.image, nullptr);
  EXPECT_EQ(source.secondImage, nullptr);
  EXPECT_EQ(source.params.width, 0);
  EXPECT_EQ(source.params.height, 0);
}

TEST(OccupancyMap, moveAssignmentReleasesWhatTheTargetHadAndLeavesTheSourceWithoutCells) {
  OccupancyMap source = drawMap({".#?", "5.."}, 0.5f, true);
  const OccupancyMap before = source;
  OccupancyMap target(9, 9, 1.0f, true);
  target = std::move(source);
  EXPECT_TRUE(sameMap(target, before));
  EXPECT_EQ(source.image, nullptr);
  EXPECT_EQ(source.secondImage, nullptr);
  EXPECT_EQ(source.params.width, 0);
  EXPECT_EQ(source.params.height, 0);
}

TEST(OccupancyMap, movedToItselfIsUnchanged) {
  OccupancyMap map = drawMap({".#?", "5.."}, 0.5f, true);
  const OccupancyMap before = map;
  OccupancyMap& alias = map;
  map = std::move(alias);
  EXPECT_TRUE(sameMap(map, before));
}

TEST(OccupancyMap, thatWasMovedFromIsSafeToUse) {
  OccupancyMap source(3, 3, 1.0f, true);
  const OccupancyMap moved(std::move(source));
  EXPECT_EQ(source.getCell(0, 0), -1.0f);
  source.setCell(0, 0, 1.0f);
  source.reset(0.5f);
  source.clip();
  const OccupancyMap copy(source);
  EXPECT_EQ(copy.image, nullptr);
  IplImage* bytes = nullptr;
  EXPECT_THROW(source.toCharIplImage(&bytes), cv::Exception);
  EXPECT_EQ(bytes, nullptr);
  source = moved;
  EXPECT_TRUE(sameMap(source, moved));
}

TEST(OccupancyMap, ofANegativeSizeIsOpenCvsError) {
  constexpr int kMin = std::numeric_limits<int>::min();
  EXPECT_THROW(OccupancyMap(-1, 3, 1.0f, true), cv::Exception);
  EXPECT_THROW(OccupancyMap(3, -1, 1.0f, true), cv::Exception);
  EXPECT_THROW(OccupancyMap(-3, -3, 1.0f, true), cv::Exception);
  EXPECT_THROW(OccupancyMap(kMin, kMin, 1.0f, true), cv::Exception);
  EXPECT_THROW(OccupancyMap(0, -1, 1.0f, true), cv::Exception);
}

TEST(OccupancyMap, ofMoreBytesThanOpenCvCanCountIsOpenCvsError) {
  constexpr int kMax = std::numeric_limits<int>::max();
  EXPECT_THROW(OccupancyMap(46341, 46341, 1.0f, true), cv::Exception);  // past 2^31 cells
  EXPECT_THROW(OccupancyMap(65536, 65536, 1.0f, true), cv::Exception);  // 2^32 cells
  EXPECT_THROW(OccupancyMap(32768, 16384, 1.0f, true), cv::Exception);  // 2^31 bytes
  EXPECT_THROW(OccupancyMap(1, 1 << 29, 1.0f, true), cv::Exception);
  EXPECT_THROW(OccupancyMap(kMax, kMax, 1.0f, true), cv::Exception);
  EXPECT_THROW(OccupancyMap(kMax, 0, 1.0f, true), cv::Exception);
}

TEST(OccupancyMap, ofARowWhoseBitsWrapIsOpenCvsError) {
  // 2^27 floats are 2^32 bits: OpenCV itself would make an image of no bytes.
  EXPECT_THROW(OccupancyMap(1 << 27, 1, 1.0f, false), cv::Exception);
  EXPECT_THROW(OccupancyMap((1 << 27) + 1, 1, 1.0f, false), cv::Exception);
  EXPECT_THROW(OccupancyMap(1 << 26, 1, 1.0f, false), cv::Exception);
}

TEST(OccupancyMap, assignmentOfWhatCannotBeCopiedLeavesTheTargetAsItWas) {
  OccupancyMap source(2, 2, 1.0f, true);
  cvReleaseImage(&source.secondImage);
  source.secondImage = cvCreateImage(cvSize(2, 2), IPL_DEPTH_8U, 1);
  OccupancyMap target = drawMap({".#?", "5.."}, 0.5f, true);
  const OccupancyMap before = target;
  EXPECT_THROW(target = source, cv::Exception);
  EXPECT_TRUE(sameMap(target, before));
}

TEST(OccupancyMap, withAnImageOfAnotherKindIsOpenCvsError) {
  OccupancyMap map(2, 2, 1.0f, false);
  cvReleaseImage(&map.image);
  map.image = cvCreateImage(cvSize(2, 2), IPL_DEPTH_8U, 1);
  IplImage* bytes = nullptr;
  EXPECT_THROW(map.clip(), cv::Exception);
  EXPECT_THROW(map.reset(0.5f), cv::Exception);
  EXPECT_THROW(map.toCharIplImage(&bytes), cv::Exception);
  EXPECT_THROW(OccupancyMap{map}, cv::Exception);
}

TEST(OccupancyMap, copiesAndRendersTheWholeImageWhateverItsRegionOfInterest) {
  OccupancyMap map = drawMap({".#?", "5..", "..#"});
  const OccupancyMap before = map;
  cvSetImageROI(map.image, cvRect(1, 1, 1, 1));
  EXPECT_TRUE(sameMap(OccupancyMap(map), before));
  IplImage* bytes = nullptr;
  map.toCharIplImage(&bytes);
  const Brin::ImagePtr owner(bytes);
  ASSERT_EQ(bytes->width, 3);
  ASSERT_EQ(bytes->height, 3);
  EXPECT_EQ(Brin::imageRow<std::uint8_t>(*bytes, 2)[1], 255);
  EXPECT_EQ(Brin::imageRow<std::uint8_t>(*bytes, 2)[2], 0);
}

}  // namespace
