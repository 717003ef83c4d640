// New images are what was asked for or OpenCV's error; a drawn scan has a pixel for every hit.
#include "korrin/core/image.hpp"

#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "core/image_ptr.hpp"
#include "models/core/image_model.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::ImagePtr;
using Brin::Pose2D;
using Brin::RangeReading;
using Brin::Scan;
using korrin_test::RandomInputs;
using Picture = std::vector<std::string>;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr char kBlank = static_cast<char>(255);

Scan scanOf(const std::vector<RangeReading>& readings) {
  Scan scan;
  scan.readings = readings;
  return scan;
}

Picture pictureOf(const IplImage& image) {
  Picture rows;
  for (int y = 0; y < image.height; ++y) {
    const char* row = Brin::imageRow<char>(image, y);
    rows.emplace_back(row, row + image.width);
  }
  return rows;
}

// The picture of a scan drawn into a missing image, '#' where a hit is and '.' elsewhere.
Picture drawn(const Scan& scan, float theta, float resolution) {
  IplImage* slot = nullptr;
  Brin::drawLaser(scan, {0, 0, theta}, &slot, resolution, true, 0);
  const ImagePtr owner(slot);
  Picture rows = pictureOf(*slot);
  for (std::string& row : rows) {
    for (char& pixel : row) pixel = pixel == 0 ? '#' : pixel == kBlank ? '.' : '!';
  }
  return rows;
}

TEST(CreateFlippedImage, hasTheSizeAndKindAskedForAndATopLeftOrigin) {
  const ImagePtr bytes(Brin::createFlippedImage(cvSize(5, 3), 8, 1));
  EXPECT_EQ(bytes->width, 5);
  EXPECT_EQ(bytes->height, 3);
  EXPECT_EQ(bytes->depth, IPL_DEPTH_8U);
  EXPECT_EQ(bytes->nChannels, 1);
  EXPECT_EQ(bytes->origin, IPL_ORIGIN_TL);
  EXPECT_NE(bytes->imageData, nullptr);
  const ImagePtr floats(Brin::createFlippedImage(cvSize(2, 7), 32, 3));
  EXPECT_EQ(floats->depth, IPL_DEPTH_32F);
  EXPECT_EQ(floats->nChannels, 3);
}

TEST(CreateFlippedImage, ofAnotherDepthIsOpenCvsError) {
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  for (const int depth : {0, 7, 24, -1, 256, kMin, kMax}) {
    EXPECT_THROW(Brin::createFlippedImage(cvSize(2, 2), depth, 1), cv::Exception) << depth;
  }
}

// Whether the library itself refuses to make such an image. Not every OpenCV does, and none does
// before its header is allocated.
bool isRefused(CvSize size, int depth, int channels) {
  try {
    ImagePtr(Brin::createFlippedImage(size, depth, channels));
    return false;
  } catch (const cv::Exception& error) {
    return error.func == "makeImage";
  }
}

TEST(CreateFlippedImage, ofAChannelCountOutOfRangeIsRefused) {
  for (const int channels :
       {0, -1, 513, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_TRUE(isRefused(cvSize(2, 2), 8, channels)) << channels;
  }
  EXPECT_FALSE(isRefused(cvSize(2, 2), 8, 512));
}

TEST(CreateFlippedImage, ofANegativeOrTooLargeSizeIsRefused) {
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  EXPECT_TRUE(isRefused(cvSize(-1, 2), 8, 1));
  EXPECT_TRUE(isRefused(cvSize(2, -1), 8, 1));
  EXPECT_TRUE(isRefused(cvSize(-1, -1), 8, 1));
  EXPECT_TRUE(isRefused(cvSize(kMin, kMin), 32, 512));
  EXPECT_TRUE(isRefused(cvSize(kMax, kMax), 32, 512));
  EXPECT_TRUE(isRefused(cvSize(65536, 32768), 8, 1));  // 2^31 bytes
  EXPECT_TRUE(isRefused(cvSize(1 << 29, 1), 8, 1));    // a row of 2^32 bits
  EXPECT_TRUE(isRefused(cvSize(1 << 20, 1), 8, 512));
}

TEST(CreateFlippedImage, mayHaveMoreBitsThanAnIntCounts) {
  EXPECT_FALSE(isRefused(cvSize(16384, 16385), 8, 1));
  EXPECT_FALSE(isRefused(cvSize((1 << 28) - 1, 1), 8, 1));  // a row just short of 2^31 bits
}

TEST(CreateFlippedImage, mayHaveNoPixels) {
  const ImagePtr image(Brin::createFlippedImage(cvSize(0, 0), 8, 1));
  EXPECT_EQ(image->width, 0);
  EXPECT_EQ(image->height, 0);
}

TEST(DrawLaser, putsTheSensorAtTheCentreWithColumnsAlongXAndRowsAlongY) {
  const Scan scan = scanOf({{0.0f, 0.0f}, {3.0f, 0.0f}, {2.0f, Brin::kPi / 2.0f}});
  EXPECT_EQ(drawn(scan, 0.0f, 1.0f), (Picture{
                                         "........",
                                         "........",
                                         "........",
                                         "........",
                                         "....#..#",
                                         "........",
                                         "....#...",
                                         "........",
                                     }));
}

TEST(DrawLaser, scalesByTheResolution) {
  EXPECT_EQ(drawn(scanOf({{3.0f, 0.0f}}), 0.0f, 3.0f), (Picture{
                                                           "....",
                                                           "....",
                                                           "...#",
                                                           "....",
                                                       }));
}

TEST(DrawLaser, turnsTheScanByThePosesHeading) {
  EXPECT_EQ(drawn(scanOf({{1.0f, 0.0f}}), Brin::kPi / 2.0f, 1.0f), (Picture{
                                                                       "....",
                                                                       "....",
                                                                       "....",
                                                                       "..#.",
                                                                   }));
}

TEST(DrawLaser, doesNotShiftThePictureByThePosesPosition) {
  IplImage* here = nullptr;
  IplImage* there = nullptr;
  const Scan scan = scanOf({{2.0f, 0.3f}, {5.0f, 1.0f}});
  Brin::drawLaser(scan, {0, 0, 0.4f}, &here, 0.5f, true, 0);
  Brin::drawLaser(scan, {100, kNan, 0.4f}, &there, 0.5f, true, 0);
  EXPECT_EQ(pictureOf(*here), pictureOf(*there));
  cvReleaseImage(&here);
  cvReleaseImage(&there);
}

TEST(DrawLaser, drawsOnlyHitsWithAPlace) {
  std::vector<RangeReading> readings{{kNan, 0.0f}, {kInf, 0.0f}, {1.0f, kNan}, {1.0f, -kInf}};
  readings.emplace_back(1.0f, 0.0f).status = 1;
  readings.emplace_back(1.0f, 0.0f).status = 2;
  readings.emplace_back(1.0f, 0.0f).status = -1;
  EXPECT_EQ(drawn(scanOf(readings), 0.0f, 1.0f), Picture(4, "...."));
}

TEST(DrawLaser, givesAScanWithoutHitsTheSmallestPicture) {
  EXPECT_EQ(drawn(Scan(), 0.0f, 1.0f), Picture(4, "...."));
}

TEST(DrawLaser, drawsNothingWithoutAPositiveResolution) {
  for (const float resolution : {0.0f, -0.0f, -1.0f, kNan, -kInf}) {
    EXPECT_EQ(drawn(scanOf({{1.0f, 0.0f}}), 0.0f, resolution), Picture(4, "....")) << resolution;
  }
}

TEST(DrawLaser, needsNoPixelMoreThanItsHits) {
  // The centre has two pixels before it and one after it in a picture of side 4.
  EXPECT_EQ(drawn(scanOf({{1.0f, 0.0f}}), 0.0f, 1.0f).size(), 4u);
  EXPECT_EQ(drawn(scanOf({{2.0f, 0.0f}}), 0.0f, 1.0f).size(), 8u);
  EXPECT_EQ(drawn(scanOf({{2.9f, Brin::kPi}}), 0.0f, 1.0f).size(), 4u);
  EXPECT_EQ(drawn(scanOf({{3.9f, -Brin::kPi / 2.0f}}), 0.0f, 1.0f).size(), 8u);
}

TEST(DrawLaser, hasRowsWithoutPadding) {
  RandomInputs random(51);
  for (int i = 0; i < 200; ++i) {
    Scan scan;
    scan.readings = random.readings(5, 60.0f, 0.0);
    IplImage* slot = nullptr;
    Brin::drawLaser(scan, {}, &slot, 1.0f, true, 0);
    const ImagePtr owner(slot);
    ASSERT_EQ(slot->width, slot->height);
    ASSERT_EQ(slot->width % 4, 0);
    ASSERT_EQ(slot->widthStep, slot->width);
  }
}

TEST(DrawLaser, stopsAtASideOf8192) {
  const Scan scan = scanOf({{4095.0f, 0.0f}, {4096.0f, 0.1f}, {1e30f, 1.0f}, {3e38f, 2.0f}});
  const Picture picture = drawn(scan, 0.0f, 1.0f);
  ASSERT_EQ(picture.size(), 8192u);
  EXPECT_EQ(picture[4096][8191], '#');
  int hits = 0;
  for (const std::string& row : picture) {
    for (const char pixel : row) hits += pixel == '#' ? 1 : 0;
  }
  EXPECT_EQ(hits, 2);  // cos 0.1 brings the second one inside
  EXPECT_EQ(drawn(scanOf({{4094.0f, 0.0f}}), 0.0f, 1.0f).size(), 8192u);
  EXPECT_EQ(drawn(scanOf({{5000.0f, 0.0f}}), 0.0f, 1.0f).size(), 8192u);
  EXPECT_EQ(drawn(scanOf({{4091.0f, 0.0f}}), 0.0f, 1.0f).size(), 8184u);
}

TEST(DrawLaser, drawsTheModelsPicture) {
  RandomInputs random(52);
  std::size_t hits = 0;
  for (int i = 0; i < 3000; ++i) {
    Scan scan;
    scan.readings = random.readings(20, 30.0f, 0.0);
    const float theta = random.between(-7.0f, 7.0f);
    const float resolution = random.pick<float>({0.3f, 0.5f, 1.0f, 1e30f});
    const std::vector<korrin_model::Hit> expected = korrin_model::hitsOf(scan, theta, resolution);
    const int side = korrin_model::neededSide(expected);
    ASSERT_EQ(drawn(scan, theta, resolution), korrin_model::drawHits(expected, side, '.', '#'));
    hits += expected.size();
  }
  EXPECT_GT(hits, 5000u);
}

TEST(DrawLaser, drawsTheModelsPictureOverWhateverImageThereIs) {
  RandomInputs random(53);
  int outside = 0;
  for (int i = 0; i < 5000; ++i) {
    Scan scan;
    scan.readings = random.readings(20, 12.0f, 0.3);
    const float theta = random.chance(0.1) ? random.wildFloat() : random.between(-7.0f, 7.0f);
    const float resolution = random.chance(0.2) ? random.wildFloat() : 1.0f;
    const int side = random.between(0, 20);
    const ImagePtr image = Brin::makeImage(cvSize(side, side), IPL_DEPTH_8U, 1);
    for (int y = 0; y < side; ++y) std::fill_n(Brin::imageRow<char>(*image, y), side, '.');
    IplImage* slot = image.get();
    Brin::drawLaser(scan, {0, 0, theta}, &slot, resolution, false, '#');
    ASSERT_EQ(slot, image.get());
    const std::vector<korrin_model::Hit> hits = korrin_model::hitsOf(scan, theta, resolution);
    ASSERT_EQ(pictureOf(*image), korrin_model::drawHits(hits, side, '.', '#'));
    for (const korrin_model::Hit& hit : hits) outside += !korrin_model::fallsInside(hit, side);
  }
  EXPECT_GT(outside, 5000);
}

// Where scoring a scan against its own picture, at the picture's own heading, looks for a reading.
TEST(DrawLaser, hasAHitWhereverScoringTheScanLooksForOne) {
  RandomInputs random(54);
  int found = 0;
  for (int i = 0; i < 500; ++i) {
    Scan scan;
    scan.readings = random.readings(50, 20.0f, 0.0);
    const float theta = random.between(-3.0f, 3.0f);
    const float inv = 1.0f / 0.05f;
    const Picture picture = drawn(scan, theta, 0.05f);
    const int half = static_cast<int>(picture.size()) / 2;
    for (const RangeReading& reading : scan.readings) {
      if (reading.status != 0) continue;
      const double a = reading.angle + theta;
      const int col = static_cast<int>((std::cos(a) * reading.range + 0.0f) * inv + 0.5) + half;
      const int row = static_cast<int>((0.0f + std::sin(a) * reading.range) * inv + 0.5) + half;
      ASSERT_EQ(picture[static_cast<std::size_t>(row)][static_cast<std::size_t>(col)], '#');
      ++found;
    }
  }
  EXPECT_GT(found, 3000);
}

TEST(DrawLaser, drawsTheGivenValue) {
  for (const char value : {'\0', '\x7f', '\x80', '\xff'}) {
    const ImagePtr image = Brin::makeImage(cvSize(4, 4), IPL_DEPTH_8U, 1);
    IplImage* slot = image.get();
    Brin::drawLaser(scanOf({{0.0f, 0.0f}}), {}, &slot, 1.0f, false, value);
    EXPECT_EQ(Brin::imageRow<char>(*image, 2)[2], value);
  }
}

TEST(DrawLaser, clearsWithTheFlagAndDrawsOverWithoutIt) {
  IplImage* slot = nullptr;
  Brin::drawLaser(scanOf({{1.0f, 0.0f}}), {}, &slot, 1.0f, false, 7);  // a missing image is made
  const ImagePtr owner(slot);
  EXPECT_EQ(Brin::imageRow<char>(*slot, 2)[3], 7);
  EXPECT_EQ(Brin::imageRow<char>(*slot, 0)[0], kBlank);
  Brin::drawLaser(scanOf({{0.0f, 0.0f}}), {}, &slot, 1.0f, false, 9);
  EXPECT_EQ(Brin::imageRow<char>(*slot, 2)[3], 7);
  EXPECT_EQ(Brin::imageRow<char>(*slot, 2)[2], 9);
  Brin::drawLaser(scanOf({{0.0f, 0.0f}}), {}, &slot, 1.0f, true, 9);
  EXPECT_EQ(slot, owner.get());  // it has the right side already
  EXPECT_EQ(Brin::imageRow<char>(*slot, 2)[3], kBlank);
  EXPECT_EQ(Brin::imageRow<char>(*slot, 2)[2], 9);
}

TEST(DrawLaser, replacesWithTheFlagAnImageThatDoesNotFit) {
  const Scan scan = scanOf({{1.0f, 0.0f}});
  for (const auto& [side, depth, channels] :
       {std::tuple(8, 8, 1), std::tuple(4, 32, 1), std::tuple(4, 8, 3), std::tuple(0, 8, 1)}) {
    IplImage* slot = Brin::createFlippedImage(cvSize(side, side), depth, channels);
    Brin::drawLaser(scan, {}, &slot, 1.0f, true, 0);
    const ImagePtr owner(slot);
    EXPECT_EQ(slot->width, 4);
    EXPECT_EQ(slot->height, 4);
    EXPECT_EQ(slot->depth, IPL_DEPTH_8U);
    EXPECT_EQ(slot->nChannels, 1);
    EXPECT_EQ(Brin::imageRow<char>(*slot, 2)[3], 0);
  }
}

TEST(DrawLaser, replacesWithTheFlagAnImageThatIsNotSquare) {
  for (const CvSize size : {cvSize(4, 8), cvSize(8, 4)}) {
    IplImage* slot = Brin::createFlippedImage(size, 8, 1);
    Brin::drawLaser(scanOf({{1.0f, 0.0f}}), {}, &slot, 1.0f, true, 0);
    const ImagePtr owner(slot);
    EXPECT_EQ(slot->width, 4);
    EXPECT_EQ(slot->height, 4);
  }
}

TEST(DrawLaser, replacesWithTheFlagAnImageWithoutPixels) {
  IplImage* slot = cvCreateImageHeader(cvSize(4, 4), IPL_DEPTH_8U, 1);
  Brin::drawLaser(scanOf({{1.0f, 0.0f}}), {}, &slot, 1.0f, true, 0);
  const ImagePtr owner(slot);
  ASSERT_NE(slot->imageData, nullptr);
  EXPECT_EQ(Brin::imageRow<char>(*slot, 2)[3], 0);
}

TEST(DrawLaser, intoNoImageOrOneOfAnotherKindIsOpenCvsError) {
  EXPECT_THROW(Brin::drawLaser(Scan(), {}, nullptr, 1.0f, true, 0), cv::Exception);
  EXPECT_THROW(Brin::drawLaser(Scan(), {}, nullptr, 1.0f, false, 0), cv::Exception);
  const ImagePtr floats = Brin::makeImage(cvSize(4, 4), IPL_DEPTH_32F, 1);
  IplImage* slot = floats.get();
  EXPECT_THROW(Brin::drawLaser(Scan(), {}, &slot, 1.0f, false, 0), cv::Exception);
  const ImagePtr colours = Brin::makeImage(cvSize(4, 4), IPL_DEPTH_8U, 3);
  slot = colours.get();
  EXPECT_THROW(Brin::drawLaser(Scan(), {}, &slot, 1.0f, false, 0), cv::Exception);
  const ImagePtr header(cvCreateImageHeader(cvSize(4, 4), IPL_DEPTH_8U, 1));
  slot = header.get();
  EXPECT_THROW(Brin::drawLaser(Scan(), {}, &slot, 1.0f, false, 0), cv::Exception);
}

TEST(DrawLaser, staysInsideAnImageThatIsAWindowOfALargerOne) {
  const ImagePtr large = Brin::makeImage(cvSize(12, 6), IPL_DEPTH_8U, 1);
  for (int y = 0; y < 6; ++y) std::fill_n(Brin::imageRow<char>(*large, y), 12, '-');
  IplImage window;
  cvInitImageHeader(&window, cvSize(4, 4), IPL_DEPTH_8U, 1);
  cvSetData(&window, large->imageData + 12 + 8, 12);  // columns 8 to 11, rows 1 to 4
  IplImage* slot = &window;
  Brin::drawLaser(scanOf({{1.0f, 0.0f}}), {}, &slot, 1.0f, true, '#');
  ASSERT_EQ(slot, &window);
  EXPECT_EQ(pictureOf(*large), (Picture{
                                   "------------",
                                   std::string("--------") + std::string(4, kBlank),
                                   std::string("--------") + std::string(4, kBlank),
                                   std::string("--------") + std::string(3, kBlank) + "#",
                                   std::string("--------") + std::string(4, kBlank),
                                   "------------",
                               }));
}

}  // namespace
