// The images around scoring: the distance map that is built, and the debug image that is drawn.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <cstdint>
#include <string>
#include <vector>

#include "korrin/core/image.hpp"
#include "korrin/scan_matching.hpp"
#include "support/bits.hpp"
#include "support/uniform_images.hpp"

namespace {

using Brin::buildLaserDistance;
using Brin::ImagePtr;
using Brin::Point2D;
using Brin::Pose2D;
using Brin::RangeReading;
using Brin::Scan;
using Brin::ScanDistMap;
using Brin::scanScore;
using korrin_test::sameImage;
using korrin_test::uniformByteImage;
using korrin_test::uniformFloatImage;
using Points = std::vector<Point2D>;

constexpr Pose2D kHere(0.0f, 0.0f, 0.0f);

Scan cross(float range) {
  Scan scan;
  scan.readings = {
      {range, 0.0f}, {range, 1.57079633f}, {range, 3.14159274f}, {range, -1.57079633f}};
  return scan;
}

// Rows of the picture, '#' for 0, '.' for 255, '?' for anything else.
std::vector<std::string> drawingOf(const IplImage& image) {
  std::vector<std::string> rows;
  for (int y = 0; y < image.height; ++y) {
    std::string row;
    for (int x = 0; x < image.width; ++x) {
      const int value = Brin::imageRow<std::uint8_t>(image, y)[x];
      row += value == 0 ? '#' : value == 255 ? '.' : '?';
    }
    rows.push_back(row);
  }
  return rows;
}

// Two image slots that release what they hold.
struct Slots {
  IplImage* laser = nullptr;
  IplImage* distance = nullptr;
  ~Slots() {
    cvReleaseImage(&laser);
    cvReleaseImage(&distance);
  }
};

struct Matcher : ScanDistMap {
  ~Matcher() {
    cvReleaseImage(&laserImage);
    cvReleaseImage(&distanceMap);
  }
};

TEST(BuildLaserDistance, drawsTheScanWhenThereIsNoPictureYet) {
  Slots slots;
  buildLaserDistance(cross(1.0f), kHere, &slots.laser, &slots.distance, 1.0f);
  EXPECT_EQ(drawingOf(*slots.laser), (std::vector<std::string>{"....",  //
                                                               "....",  //
                                                               "..##",  //
                                                               "..#."}))
      << "-1 + 0.5 is cut to 0, so the hits at -1 are in the centre pixel";
}

TEST(BuildLaserDistance, measuresTheDistanceToTheNearestHitByTheChamferMask) {
  Slots slots;
  slots.laser = uniformByteImage(4, 4, 255).release();
  Brin::imageRow<char>(*slots.laser, 1)[1] = 0;
  buildLaserDistance(Scan{}, kHere, &slots.laser, &slots.distance, 1.0f);
  EXPECT_EQ(slots.distance->depth, static_cast<int>(IPL_DEPTH_32F));
  EXPECT_EQ(slots.distance->nChannels, 1);
  const auto at = [&](int row, int col) {
    return Brin::imageRow<float>(*slots.distance, row)[col];
  };
  EXPECT_EQ(at(1, 1), 0.0f);
  EXPECT_NEAR(at(1, 2), 0.955f, 0.001f);
  EXPECT_NEAR(at(0, 0), 1.3693f, 0.001f);
  EXPECT_NEAR(at(1, 3), 2 * 0.955f, 0.001f);
  EXPECT_NEAR(at(3, 3), 2 * 1.3693f, 0.001f);
}

TEST(BuildLaserDistance, usesAnExistingPictureAsItIs) {
  Slots slots;
  slots.laser = uniformByteImage(8, 6, 255).release();
  Brin::imageRow<char>(*slots.laser, 5)[7] = 0;
  IplImage* const before = slots.laser;
  const ImagePtr copy(cvCloneImage(slots.laser));
  buildLaserDistance(cross(1.0f), kHere, &slots.laser, &slots.distance, 1.0f);
  EXPECT_EQ(slots.laser, before);
  EXPECT_TRUE(sameImage(slots.laser, copy.get()));
  EXPECT_EQ(slots.distance->width, 8);
  EXPECT_EQ(slots.distance->height, 6);
}

TEST(BuildLaserDistance, reusesADistanceMapOfTheSameSize) {
  Slots slots;
  slots.laser = uniformByteImage(4, 4, 0).release();
  slots.distance = uniformFloatImage(4, 4, 5.0f).release();
  IplImage* const before = slots.distance;
  buildLaserDistance(Scan{}, kHere, &slots.laser, &slots.distance, 1.0f);
  EXPECT_EQ(slots.distance, before);
  EXPECT_TRUE(sameImage(slots.distance, uniformFloatImage(4, 4, 0.0f).get()));
}

TEST(BuildLaserDistance, replacesADistanceMapOfAnotherWidth) {
  Slots slots;
  slots.laser = uniformByteImage(4, 4, 0).release();
  slots.distance = uniformFloatImage(8, 4, 5.0f).release();
  buildLaserDistance(Scan{}, kHere, &slots.laser, &slots.distance, 1.0f);
  EXPECT_TRUE(sameImage(slots.distance, uniformFloatImage(4, 4, 0.0f).get()));
}

TEST(BuildLaserDistance, keepsADistanceMapOfEqualWidthWhateverItsHeight) {
  // The transform itself then refuses it, and the kept image is as it was.
  Slots slots;
  slots.laser = uniformByteImage(4, 4, 0).release();
  slots.distance = uniformFloatImage(4, 6, 5.0f).release();
  IplImage* const before = slots.distance;
  EXPECT_THROW(buildLaserDistance(Scan{}, kHere, &slots.laser, &slots.distance, 1.0f),
               cv::Exception);
  EXPECT_EQ(slots.distance, before);
  EXPECT_TRUE(sameImage(slots.distance, uniformFloatImage(4, 6, 5.0f).get()));
}

TEST(ScanDistMapBuild, keepsTheResolutionAndMakesBothImages) {
  Matcher matcher;
  matcher.build(cross(1.0f), {5.0f, 6.0f, 0.3f}, 0.25f);
  EXPECT_EQ(matcher.resolution, 0.25f);
  Slots expected;
  Brin::drawLaser(cross(1.0f), {5.0f, 6.0f, 0.3f}, &expected.laser, 0.25f, true, 0);
  buildLaserDistance(Scan{}, kHere, &expected.laser, &expected.distance, 0.25f);
  EXPECT_TRUE(sameImage(matcher.laserImage, expected.laser));
  EXPECT_TRUE(sameImage(matcher.distanceMap, expected.distance));
}

TEST(ScanDistMapBuild, drawsOverThePictureOfAnEarlierBuild) {
  Matcher matcher;
  matcher.build(cross(1.0f), kHere, 0.5f);
  matcher.build(cross(0.5f), kHere, 0.25f);
  Matcher fresh;
  fresh.build(cross(0.5f), kHere, 0.25f);
  EXPECT_TRUE(sameImage(matcher.laserImage, fresh.laserImage));
  EXPECT_TRUE(sameImage(matcher.distanceMap, fresh.distanceMap));
}

TEST(ScanDistMapBuild, replacesBothImagesWhenTheScanNeedsAnotherSide) {
  Matcher matcher;
  matcher.build(cross(1.0f), kHere, 0.25f);
  const int firstSide = matcher.distanceMap->width;
  matcher.build(cross(9.0f), kHere, 0.25f);
  EXPECT_GT(matcher.distanceMap->width, firstSide);
  EXPECT_EQ(matcher.distanceMap->width, matcher.laserImage->width);
  EXPECT_EQ(matcher.distanceMap->height, matcher.laserImage->height);
  EXPECT_EQ(matcher.score(cross(9.0f), kHere, 1.0f, nullptr), 1.0f);
}

TEST(DebugImage, matchesAreBlackAndAllElseIsWhite) {
  const ImagePtr map = uniformFloatImage(4, 4, 0.0f);
  Brin::imageRow<float>(*map, 3)[3] = 9.0f;
  ImagePtr debug = uniformByteImage(4, 4, 100);
  IplImage* slot = debug.get();
  // A match, a match, too far from a hit, off the map.
  const Points points{{0, 0}, {1, -0.5f}, {1, 1}, {2, 2}};
  scanScore(map.get(), points, kHere, 1.0f, 2.0f, nullptr, &slot, 1);
  EXPECT_EQ(slot, debug.get());
  EXPECT_EQ(drawingOf(*slot), (std::vector<std::string>{"....",  //
                                                        "....",  //
                                                        "..##",  //
                                                        "...."}));
}

TEST(DebugImage, isCreatedInTheMapsSizeAndAddressedByItsOwnRowStride) {
  // Five pixels a row: the debug image pads its rows to eight bytes.
  const ImagePtr map = uniformFloatImage(5, 5, 0.0f);
  IplImage* slot = nullptr;
  Scan scan = cross(2.0f);
  scan.readings[1].status = 1;
  scanScore(map.get(), scan, kHere, 1.0f, 2.0f, nullptr, &slot, 1);
  const ImagePtr debug(slot);
  ASSERT_NE(slot, nullptr);
  EXPECT_EQ(slot->depth, IPL_DEPTH_8U);
  EXPECT_EQ(slot->nChannels, 1);
  EXPECT_GT(slot->widthStep, slot->width);
  EXPECT_EQ(drawingOf(*slot), (std::vector<std::string>{".....",  //
                                                        "..#..",  //
                                                        ".#..#",  //
                                                        ".....",  //
                                                        "....."}))
      << "the hits at x = -2 and y = -2 fall short by the cut towards zero";
}

TEST(DebugImage, hasTheMapsSizeWhateverItsRegionOfInterest) {
  const ImagePtr map = uniformFloatImage(9, 9, 0.0f);
  cvSetImageROI(map.get(), cvRect(2, 3, 4, 5));
  const Scan ahead = {{RangeReading(3.0f, 0.0f)}};
  IplImage* byPoints = nullptr;
  IplImage* byScan = nullptr;
  EXPECT_EQ(scanScore(map.get(), Points{{3.0f, 0.0f}}, kHere, 1.0f, 1.0f, nullptr, &byPoints, 1),
            1.0f);
  EXPECT_EQ(scanScore(map.get(), ahead, kHere, 1.0f, 1.0f, nullptr, &byScan, 1), 1.0f);
  const ImagePtr owners[] = {ImagePtr(byPoints), ImagePtr(byScan)};
  for (const ImagePtr& debug : owners) {
    ASSERT_NE(debug, nullptr);
    EXPECT_EQ(debug->width, 9);
    EXPECT_EQ(debug->height, 9);
    EXPECT_EQ(drawingOf(*debug)[4], ".......#.");
  }
}

TEST(DebugImage, isWhitenedEvenWithoutPoints) {
  const ImagePtr map = uniformFloatImage(3, 3, 0.0f);
  const ImagePtr debug = uniformByteImage(3, 3, 0);
  IplImage* slot = debug.get();
  scanScore(map.get(), Points{}, kHere, 1.0f, 2.0f, nullptr, &slot, 1);
  EXPECT_EQ(drawingOf(*slot), std::vector<std::string>(3, "..."));
  cvSetZero(slot);
  scanScore(map.get(), Scan{}, kHere, 1.0f, 2.0f, nullptr, &slot, 1);
  EXPECT_EQ(drawingOf(*slot), std::vector<std::string>(3, "..."));
}

TEST(DebugImage, onAMapWiderThanHighOnlyItsSquareIsUsed) {
  const ImagePtr map = uniformFloatImage(6, 2, 0.0f);
  const ImagePtr debug = uniformByteImage(6, 2, 7);
  IplImage* slot = debug.get();
  scanScore(map.get(), Points{{0, 0}}, kHere, 1.0f, 2.0f, nullptr, &slot, 1);
  EXPECT_EQ(drawingOf(*slot), (std::vector<std::string>{"..????", ".#????"}));
}

}  // namespace
