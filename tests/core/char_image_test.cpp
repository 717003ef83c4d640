// toCharIplImage: a map as bytes, 256 levels per unit of probability.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>
#include <rapidcheck/gtest.h>

#include <limits>
#include <opencv2/core.hpp>

#include "core/image_ptr.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "models/core/occupancy_map_model.hpp"
#include "support/map_drawing.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::ImagePtr;
using Brin::OccupancyMap;
using korrin_test::drawMap;

int byteOf(float value) {
  OccupancyMap map(1, 1, 1.0f, false);
  map.setCell(0, 0, value);
  IplImage* bytes = nullptr;
  map.toCharIplImage(&bytes);
  const ImagePtr owner(bytes);
  return Brin::imageRow<std::uint8_t>(*bytes, 0)[0];
}

// The image that `held` becomes when a 3 x 2 map is rendered into it.
ImagePtr renderedInto(ImagePtr held) {
  IplImage* slot = held.release();
  drawMap({".#?", "5.."}).toCharIplImage(&slot);
  return ImagePtr(slot);
}

void expectRendering(const IplImage& bytes) {
  EXPECT_EQ(bytes.width, 3);
  EXPECT_EQ(bytes.height, 2);
  EXPECT_EQ(bytes.depth, IPL_DEPTH_8U);
  EXPECT_EQ(bytes.nChannels, 1);
  const int expected[2][3] = {{255, 0, 128}, {128, 255, 255}};
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 3; ++x) {
      EXPECT_EQ(Brin::imageRow<std::uint8_t>(bytes, y)[x], expected[y][x]) << x << ", " << y;
    }
  }
}

TEST(ToCharIplImage, has256LevelsPerUnitCutTowardsZeroAndSaturated) {
  EXPECT_EQ(byteOf(0.0f), 0);
  EXPECT_EQ(byteOf(0.5f), 128);
  EXPECT_EQ(byteOf(0.25f), 64);
  EXPECT_EQ(byteOf(0.45f), 115);  // 115.2
  EXPECT_EQ(byteOf(0.0039f), 0);  // 0.9984
  EXPECT_EQ(byteOf(0.00390625f), 1);
  EXPECT_EQ(byteOf(0.99609375f), 255);
  EXPECT_EQ(byteOf(0.9960937f), 254);
  EXPECT_EQ(byteOf(1.0f), 255);  // 256 has no byte
}

TEST(ToCharIplImage, saturatesWhatIsNoProbability) {
  constexpr float kInf = std::numeric_limits<float>::infinity();
  EXPECT_EQ(byteOf(-0.1f), 0);
  EXPECT_EQ(byteOf(1e30f), 255);
  EXPECT_EQ(byteOf(kInf), 255);
  EXPECT_EQ(byteOf(-kInf), 0);
  EXPECT_EQ(byteOf(std::numeric_limits<float>::max()), 255);
  EXPECT_EQ(byteOf(std::numeric_limits<float>::quiet_NaN()), 0);
}

TEST(ToCharIplImage, givesTheModelsByteForAnyValue) {
  korrin_test::RandomInputs random(41);
  OccupancyMap map(100, 1, 1.0f, false);
  IplImage* bytes = nullptr;
  for (int i = 0; i < 3000; ++i) {
    for (int x = 0; x < 100; ++x) {
      map.setCell(x, 0, random.chance(0.3) ? random.wildFloat() : random.between(0.0f, 1.0f));
    }
    map.toCharIplImage(&bytes);
    for (int x = 0; x < 100; ++x) {
      ASSERT_EQ(Brin::imageRow<std::uint8_t>(*bytes, 0)[x], korrin_model::toByte(map.getCell(x, 0)))
          << map.getCell(x, 0);
    }
  }
  cvReleaseImage(&bytes);
}

TEST(ToCharIplImage, givesTheModelsByteAroundEveryLevel) {
  for (int level = 0; level <= 256; ++level) {
    const float value = static_cast<float>(level) / 256.0f;
    for (const float near : {std::nextafter(value, -1.0f), value, std::nextafter(value, 2.0f)}) {
      ASSERT_EQ(byteOf(near), korrin_model::toByte(near)) << near;
    }
  }
}

TEST(ToCharIplImage, createsAMissingImage) { expectRendering(*renderedInto(nullptr)); }

TEST(ToCharIplImage, reusesAnImageThatFits) {
  ImagePtr held = Brin::makeImage(cvSize(3, 2), IPL_DEPTH_8U, 1);
  const IplImage* before = held.get();
  const ImagePtr rendered = renderedInto(std::move(held));
  EXPECT_EQ(rendered.get(), before);
  expectRendering(*rendered);
}

TEST(ToCharIplImage, replacesAnImageOfAnotherSizeOrKind) {
  expectRendering(*renderedInto(Brin::makeImage(cvSize(2, 2), IPL_DEPTH_8U, 1)));
  expectRendering(*renderedInto(Brin::makeImage(cvSize(3, 3), IPL_DEPTH_8U, 1)));
  expectRendering(*renderedInto(Brin::makeImage(cvSize(3, 2), IPL_DEPTH_8U, 3)));
  expectRendering(*renderedInto(Brin::makeImage(cvSize(3, 2), IPL_DEPTH_32F, 1)));
  expectRendering(*renderedInto(Brin::makeImage(cvSize(3, 2), static_cast<int>(IPL_DEPTH_8S), 1)));
}

TEST(ToCharIplImage, replacesAnImageWithoutPixels) {
  expectRendering(*renderedInto(ImagePtr(cvCreateImageHeader(cvSize(3, 2), IPL_DEPTH_8U, 1))));
}

TEST(ToCharIplImage, intoNoSlotIsOpenCvsError) {
  EXPECT_THROW(drawMap({"."}).toCharIplImage(nullptr), cv::Exception);
}

TEST(ToCharIplImage, leavesTheSlotAloneWhenTheMapHasNoImage) {
  OccupancyMap map(1, 1, 1.0f, false);
  const OccupancyMap taken(std::move(map));
  const ImagePtr held = Brin::makeImage(cvSize(3, 2), IPL_DEPTH_8U, 1);
  IplImage* slot = held.get();
  EXPECT_THROW(map.toCharIplImage(&slot), cv::Exception);
  EXPECT_EQ(slot, held.get());
}

}  // namespace
