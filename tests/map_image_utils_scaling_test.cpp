// Scaling of probabilities about the unknown value.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>
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
using korrin_test::byteImage;
using korrin_test::copyOf;
using korrin_test::drawMap;
using korrin_test::floatImage;
using korrin_test::RandomInputs;
using korrin_test::Rows;
using korrin_test::rowsOf;
using korrin_test::sameImage;
using korrin_test::sameMap;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

using Bytes = std::vector<std::uint8_t>;
using Floats = std::vector<float>;

Bytes scaled(const Bytes& bytes, float factor) {
  const ImagePtr image = byteImage({bytes});
  Brin::imgMultiplyProb8(image.get(), factor);
  return rowsOf<std::uint8_t>(*image).at(0);
}

Floats scaled(const Floats& values, float factor) {
  const ImagePtr image = floatImage({values});
  Brin::imgMultiplyProb32F(image.get(), factor);
  return rowsOf<float>(*image).at(0);
}

Bytes allBytes() {
  Bytes bytes(256);
  for (std::size_t p = 0; p < bytes.size(); ++p) bytes[p] = static_cast<std::uint8_t>(p);
  return bytes;
}

TEST(ImgMultiplyProb8, factorOneChangesNothing) { EXPECT_EQ(scaled(allBytes(), 1.0f), allBytes()); }

TEST(ImgMultiplyProb8, factorZeroMakesEverythingUnknown) {
  EXPECT_EQ(scaled(allBytes(), 0.0f), Bytes(256, 127));
}

TEST(ImgMultiplyProb8, resultsAreLimitedToBytes) {
  EXPECT_EQ(scaled(Bytes{0, 63, 64, 190, 191, 192, 255}, 2.0f),
            (Bytes{0, 0, 1, 253, 255, 255, 255}));
}

TEST(ImgMultiplyProb8, fractionsAreCutOffNotRounded) {
  EXPECT_EQ(scaled(Bytes{130, 120}, 0.5f), (Bytes{128, 123}));
}

TEST(ImgMultiplyProb8, thePivotIs127SoTheTwoSidesAreUneven) {
  // 0 and 254 lie as far from 127 as each other; 255 lies farther.
  EXPECT_EQ(scaled(Bytes{0, 127, 254, 255}, 0.5f), (Bytes{63, 127, 190, 191}));
  EXPECT_EQ(scaled(Bytes{126, 127, 128}, 1000.0f), (Bytes{0, 127, 255}));
}

TEST(ImgMultiplyProb8, aNegativeFactorMirrorsAtThePivot) {
  EXPECT_EQ(scaled(Bytes{0, 100, 127, 154, 254, 255}, -1.0f), (Bytes{254, 154, 127, 100, 0, 0}));
}

TEST(ImgMultiplyProb8, aTinyLossCutsAWholeLevel) {
  // 127 - 1e-17 is below 127 in extended precision, though not in double precision.
  const Bytes expected = std::numeric_limits<long double>::digits >= 64 ? Bytes{126} : Bytes{127};
  EXPECT_EQ(scaled(Bytes{128}, -1e-17f), expected);
  EXPECT_EQ(scaled(Bytes{128}, -1e-30f), Bytes{127});
}

TEST(ImgMultiplyProb8, infiniteFactorsSaturate) {
  EXPECT_EQ(scaled(Bytes{0, 126, 128, 255}, kInf), (Bytes{0, 0, 255, 255}));
  EXPECT_EQ(scaled(Bytes{0, 126, 128, 255}, -kInf), (Bytes{255, 255, 0, 0}));
  EXPECT_EQ(scaled(Bytes{0, 126, 128, 255}, 3e38f), (Bytes{0, 0, 255, 255}));
}

TEST(ImgMultiplyProb8, whatIsNotANumberBecomesZero) {
  EXPECT_EQ(scaled(allBytes(), kNaN), Bytes(256, 0));
  EXPECT_EQ(scaled(Bytes{127}, kInf), Bytes{0});
}

TEST(ImgMultiplyProb8, anImageOfAnotherKindIsRefused) {
  EXPECT_THROW(Brin::imgMultiplyProb8(nullptr, 2.0f), cv::Exception);
  const ImagePtr floats = floatImage({{0.25f}});
  EXPECT_THROW(Brin::imgMultiplyProb8(floats.get(), 2.0f), cv::Exception);
  EXPECT_EQ(rowsOf<float>(*floats), (Rows<float>{{0.25f}}));
}

TEST(ImgMultiplyProb8, thePaddingOfRowsIsNotTouched) {
  const ImagePtr image = byteImage({{1, 2, 3}, {4, 5, 6}});
  ASSERT_EQ(image->widthStep, 4);
  image->imageData[3] = 77;
  image->imageData[7] = 78;
  Brin::imgMultiplyProb8(image.get(), 0.0f);
  EXPECT_EQ(image->imageData[3], 77);
  EXPECT_EQ(image->imageData[7], 78);
}

TEST(ImgMultiplyProb32F, factorOneChangesNothing) {
  EXPECT_EQ(scaled(Floats{0.0f, 0.25f, 0.5f, 0.75f, 1.0f}, 1.0f),
            (Floats{0.0f, 0.25f, 0.5f, 0.75f, 1.0f}));
}

TEST(ImgMultiplyProb32F, factorZeroMakesEverythingUnknown) {
  EXPECT_EQ(scaled(Floats{0.0f, 0.3f, 1.0f, -7.0f}, 0.0f), Floats(4, 0.5f));
}

TEST(ImgMultiplyProb32F, resultsAreLimitedToProbabilities) {
  EXPECT_EQ(scaled(Floats{0.0f, 0.25f, 0.375f, 0.75f, 0.9f}, 2.0f),
            (Floats{0.0f, 0.0f, 0.25f, 1.0f, 1.0f}));
}

TEST(ImgMultiplyProb32F, aNegativeFactorTurnsFreeIntoOccupied) {
  EXPECT_EQ(scaled(Floats{0.0f, 0.25f, 0.5f, 1.0f}, -1.0f), (Floats{1.0f, 0.75f, 0.5f, 0.0f}));
}

TEST(ImgMultiplyProb32F, eachOperationIsRoundedToFloat) {
  // 0.1f - 0.5f and its multiples are no floats.
  const float difference = 0.1f - 0.5f;
  const float product = difference * 0.7f;
  EXPECT_EQ(scaled(Floats{0.1f}, 0.7f), Floats{product + 0.5f});
}

TEST(ImgMultiplyProb32F, whatIsNotANumberBecomesZeroInEveryColumn) {
  for (std::size_t width = 1; width < 70; ++width) {
    EXPECT_EQ(scaled(Floats(width, kNaN), 1.0f), Floats(width, 0.0f)) << width;
    EXPECT_EQ(scaled(Floats(width, 0.5f), kInf), Floats(width, 0.0f)) << width;
    EXPECT_EQ(scaled(Floats(width, 0.9f), kNaN), Floats(width, 0.0f)) << width;
  }
}

TEST(ImgMultiplyProb32F, onlyARegionOfInterestIsLimited) {
  const ImagePtr image = floatImage({{0.0f, 0.0f, 1.0f}, {0.0f, 1.0f, 1.0f}});
  cvSetImageROI(image.get(), cvRect(1, 0, 2, 1));
  Brin::imgMultiplyProb32F(image.get(), 2.0f);
  EXPECT_EQ(rowsOf<float>(*image), (Rows<float>{{-0.5f, 0.0f, 1.0f}, {-0.5f, 1.5f, 1.5f}}));
}

TEST(ImgMultiplyProb32F, anImageOfAnotherKindIsRefused) {
  EXPECT_THROW(Brin::imgMultiplyProb32F(nullptr, 2.0f), cv::Exception);
  const ImagePtr bytes = byteImage({{1, 2, 3, 4}});
  EXPECT_THROW(Brin::imgMultiplyProb32F(bytes.get(), 2.0f), cv::Exception);
  EXPECT_EQ(rowsOf<std::uint8_t>(*bytes), (Rows<std::uint8_t>{{1, 2, 3, 4}}));
}

TEST(Scaling, anImageWithoutRowsOrColumnsIsLeftAlone) {
  for (const CvSize size : {cvSize(0, 0), cvSize(0, 3), cvSize(3, 0)}) {
    const ImagePtr bytes = Brin::makeImage(size, IPL_DEPTH_8U, 1);
    EXPECT_NO_THROW(Brin::imgMultiplyProb8(bytes.get(), 2.0f));
    const ImagePtr floats = Brin::makeImage(size, IPL_DEPTH_32F, 1);
    EXPECT_NO_THROW(Brin::imgMultiplyProb32F(floats.get(), 2.0f));
    OccupancyMap map(size.width, size.height, 1.0f, false);
    EXPECT_NO_THROW(Brin::occMapMultiplyProb(map, 2.0f));
  }
}

TEST(OccMapMultiplyProb, valuesMoveAwayFromUnknownAndStayProbabilities) {
  OccupancyMap map = drawMap({"#4?6."});
  Brin::occMapMultiplyProb(map, 2.0f);
  EXPECT_EQ(
      rowsOf<float>(*map.image),
      (Rows<float>{{0.0f, (0.4f - 0.5f) * 2.0f + 0.5f, 0.5f, (0.6f - 0.5f) * 2.0f + 0.5f, 1.0f}}));
}

TEST(OccMapMultiplyProb, whatIsNotANumberBecomesZero) {
  OccupancyMap map = drawMap({"..?"});
  map.setCell(0, 0, kNaN);
  Brin::occMapMultiplyProb(map, kInf);
  EXPECT_EQ(rowsOf<float>(*map.image), (Rows<float>{{0.0f, 1.0f, 0.0f}}));
}

TEST(OccMapMultiplyProb, theSecondImageAndTheGeometryStay) {
  OccupancyMap map = drawMap({"#.."}, 0.25f, true);
  map.params.origin = {1.0f, 2.0f, 3.0f};
  Brin::imageRow<float>(*map.secondImage, 0)[1] = 0.9f;
  const OccupancyMap before = map;
  Brin::occMapMultiplyProb(map, 0.25f);
  EXPECT_TRUE(sameImage(map.secondImage, before.secondImage));
  EXPECT_TRUE(korrin_test::sameParams(map, before));
  EXPECT_FALSE(sameImage(map.image, before.image));
}

TEST(OccMapMultiplyProb, aMapWithoutItsImageIsRefused) {
  OccupancyMap map(2, 2, 1.0f, false);
  const OccupancyMap taken = std::move(map);
  EXPECT_THROW(Brin::occMapMultiplyProb(map, 2.0f), cv::Exception);
}

float scalingFactor(RandomInputs& random) {
  if (random.chance(0.4)) return random.wildFloat();
  // Around the ties of truncation, by exact fractions and their neighbours.
  const float factor = static_cast<float>(random.between(-600, 600)) /
                       static_cast<float>(random.pick<int>({1, 2, 4, 64, 127, 128, 300}));
  return random.chance(0.5) ? factor : std::nextafter(factor, random.pick<float>({-9.0f, 9.0f}));
}

TEST(ScalingLaw, everyByteAgreesWithTheModelForAnyFactor) {
  RandomInputs random(42);
  int unlimited = 0;
  for (int i = 0; i < 20000; ++i) {
    const ImagePtr image = byteImage({allBytes()});
    const ImagePtr expected = copyOf(*image);
    const float factor = scalingFactor(random);
    Brin::imgMultiplyProb8(image.get(), factor);
    korrin_model::imgMultiplyProb8(expected.get(), factor);
    ASSERT_TRUE(sameImage(image.get(), expected.get())) << "factor " << factor;
    const auto first = rowsOf<std::uint8_t>(*image).at(0).at(120);
    unlimited += first > 0 && first < 255 ? 1 : 0;
  }
  EXPECT_GT(unlimited, 8000);
}

TEST(ScalingLaw, imagesOfBytesAgreeWithTheModelInEverySize) {
  RandomInputs random(43);
  for (int i = 0; i < 500; ++i) {
    const ImagePtr image =
        Brin::makeImage(cvSize(random.between(0, 70), random.between(0, 9)), IPL_DEPTH_8U, 1);
    for (int k = 0; k < image->imageSize; ++k) {
      image->imageData[k] = static_cast<char>(random.bits() & 255);
    }
    const ImagePtr expected = copyOf(*image);
    const float factor = scalingFactor(random);
    Brin::imgMultiplyProb8(image.get(), factor);
    korrin_model::imgMultiplyProb8(expected.get(), factor);
    ASSERT_TRUE(sameImage(image.get(), expected.get())) << "case " << i;
  }
}

TEST(ScalingLaw, floatsAgreeWithTheModelForAnyFactorAndValue) {
  RandomInputs random(44);
  for (int i = 0; i < 4000; ++i) {
    const bool large = i % 100 == 0;
    const ImagePtr image = korrin_test::randomFloatImage(
        random, random.between(0, large ? 3000 : 40), random.between(0, large ? 60 : 9),
        random.pick<double>({0.0, 0.3}));
    const ImagePtr expected = copyOf(*image);
    const float factor = scalingFactor(random);
    OccupancyMap map(image->width, image->height, 1.0f, false);
    cvReleaseImage(&map.image);
    map.image = copyOf(*image).release();
    OccupancyMap expectedMap = map;
    Brin::imgMultiplyProb32F(image.get(), factor);
    korrin_model::imgMultiplyProb32F(expected.get(), factor);
    ASSERT_TRUE(sameImage(image.get(), expected.get())) << "case " << i << ", factor " << factor;
    Brin::occMapMultiplyProb(map, factor);
    korrin_model::occMapMultiplyProb(expectedMap, factor);
    ASSERT_TRUE(sameMap(map, expectedMap)) << "case " << i << ", factor " << factor;
  }
}

TEST(ScalingLaw, factorsAroundEveryFractionThatMovesAByteAgreeWithTheModel) {
  // The result of some byte changes where the factor is n / d with d up to 128.
  int factors = 0;
  for (int d = 1; d <= 128; ++d) {
    for (int n = -2 * d; n <= 2 * d; n += d > 32 ? 7 : 1) {
      const float middle = static_cast<float>(n) / static_cast<float>(d);
      for (const float factor : {std::nextafter(middle, -9.0f), middle,
                                 std::nextafter(middle, 9.0f), middle + 1e-5f, middle - 1e-5f}) {
        const ImagePtr expected = byteImage({allBytes()});
        korrin_model::imgMultiplyProb8(expected.get(), factor);
        ASSERT_EQ(scaled(allBytes(), factor), rowsOf<std::uint8_t>(*expected).at(0)) << factor;
        ++factors;
      }
    }
  }
  EXPECT_GT(factors, 20000);
}

RC_GTEST_PROP(ScalingLaw, oneByteAgreesWithTheModelForAnyFactor, (std::uint8_t p)) {
  const float factor = static_cast<float>(*rc::gen::inRange(-1000, 1000)) / 64.0f;
  const ImagePtr expected = byteImage({{p}});
  korrin_model::imgMultiplyProb8(expected.get(), factor);
  RC_ASSERT(scaled(Bytes{p}, factor) == rowsOf<std::uint8_t>(*expected).at(0));
}

}  // namespace
