// Merging and turning images that are windows of larger ones: what lies around a window is not
// touched, and nothing behind its last pixel is looked at.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <vector>

#include "korrin/map_image_utils.hpp"
#include "models/map_image_utils_model.hpp"
#include "support/bits.hpp"
#include "support/corner_window.hpp"
#include "support/images.hpp"

namespace {

using Brin::ImagePtr;
using korrin_test::copyOf;
using korrin_test::CornerWindow;
using korrin_test::randomFloatImage;
using korrin_test::RandomInputs;
using korrin_test::sameImage;

struct Kind {
  int depth;
  int channels;
};

const std::vector<Kind> kKinds = {
    {IPL_DEPTH_32F, 1}, {IPL_DEPTH_8U, 1}, {IPL_DEPTH_64F, 1}, {IPL_DEPTH_8U, 3}};

// An image of its own with values of [0, 1], or bytes.
ImagePtr filledImage(RandomInputs& random, int width, int height, const Kind& kind) {
  ImagePtr image = Brin::makeImage(cvSize(width, height), kind.depth, kind.channels);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double value = kind.depth == IPL_DEPTH_8U
                               ? random.between(0, 255)
                               : static_cast<double>(random.between(0.f, 1.f));
      cvSet2D(image.get(), y, x, cvScalarAll(value));
    }
  }
  return image;
}

TEST(Windows, cornersAreWhatTheTestsTakeThemFor) {
  CornerWindow window(2, 2, IPL_DEPTH_32F, 1, 3, 1);
  const IplImage& image = *window.image();
  EXPECT_EQ(window.bytes().size(), 5u * 3u * sizeof(float));
  EXPECT_EQ(image.imageSize, 2 * image.widthStep);
  volatile const char* end = image.imageData + image.widthStep + 2 * sizeof(float);
  EXPECT_EQ(*(end - 1), 0);
  EXPECT_DEATH(static_cast<void>(*end), "");
}

TEST(Windows, turnedInPlaceLikeAnyImage) {
  RandomInputs random(81);
  for (const Kind& kind : kKinds) {
    for (const int side : {1, 2, 7}) {
      const ImagePtr image = filledImage(random, side, side, kind);
      CornerWindow window(side, side, kind.depth, kind.channels, 4, 2);
      const std::vector<char> around = window.bytes();
      cvCopy(image.get(), window.image(), nullptr);
      Brin::rotateIplImage90_2(window.image(), window.image());
      const ImagePtr expected = copyOf(*image);
      korrin_model::rotateIplImage90_2(image.get(), expected.get());
      EXPECT_TRUE(sameImage(window.image(), expected.get())) << kind.depth << ", side " << side;
      cvSetZero(window.image());
      EXPECT_EQ(window.bytes(), around);
    }
  }
}

TEST(Windows, mergedIntoANewImageLikeAnyImages) {
  RandomInputs random(83);
  for (const Kind& kind : kKinds) {
    const ImagePtr a = filledImage(random, 6, 4, kind);
    const ImagePtr b = filledImage(random, 6, 4, kind);
    CornerWindow first(6, 4, kind.depth, kind.channels, 3, 2);
    CornerWindow second(6, 4, kind.depth, kind.channels, 1, 5);
    cvCopy(a.get(), first.image(), nullptr);
    cvCopy(b.get(), second.image(), nullptr);
    IplImage* out = nullptr;
    IplImage* expected = nullptr;
    const float shift = kind.depth == IPL_DEPTH_64F ? 0.5f : 1.0f;
    Brin::mergeImages2({{first.image(), 0, 0, 0}, {second.image(), shift, 0, 0}}, &out, 1.0f, 0.0f);
    Brin::mergeImages2({{a.get(), 0, 0, 0}, {b.get(), shift, 0, 0}}, &expected, 1.0f, 0.0f);
    const ImagePtr owned(out);
    const ImagePtr ownedToo(expected);
    EXPECT_TRUE(sameImage(out, expected)) << kind.depth;
    EXPECT_GE(std::int64_t{out->imageSize}, std::int64_t{out->widthStep} * out->height);
  }
}

TEST(Windows, mergedIntoAWindow) {
  RandomInputs random(84);
  const ImagePtr a = filledImage(random, 6, 4, kKinds[0]);
  CornerWindow window(6, 4, IPL_DEPTH_32F, 1, 3, 2);
  CornerWindow sum(6, 4, IPL_DEPTH_32F, 1, 2, 1);
  const std::vector<char> around = sum.bytes();
  cvCopy(a.get(), window.image(), nullptr);
  IplImage* out = sum.image();
  IplImage* expected = nullptr;
  Brin::mergeImages2({{window.image(), 0, 1, 0}, {a.get(), 0, 0, 0}}, &out, 1.0f, 0.0f);
  Brin::mergeImages2({{a.get(), 0, 1, 0}, {a.get(), 0, 0, 0}}, &expected, 1.0f, 0.0f);
  const ImagePtr owned(expected);
  EXPECT_EQ(out, sum.image());
  EXPECT_TRUE(sameImage(out, expected));
  cvSetZero(out);
  EXPECT_EQ(sum.bytes(), around);
}

// A header that somebody made by hand may not know how many bytes there are.
TEST(Windows, theirSizeInBytesIsNotReliedOn) {
  RandomInputs random(85);
  const ImagePtr image = randomFloatImage(random, 30, 30);
  const ImagePtr expected = copyOf(*image);
  korrin_model::rotateIplImage90_2(image.get(), expected.get());
  IplImage header = *image;
  header.imageSize = 0;
  IplImage* out = nullptr;
  Brin::mergeImages2({{&header, 0, 0, 0}}, &out, 1.0f, 0.0f);
  const ImagePtr owned(out);
  EXPECT_TRUE(sameImage(out, image.get()));
  Brin::rotateIplImage90_2(&header, &header);
  EXPECT_TRUE(sameImage(image.get(), expected.get()));
}

}  // namespace
