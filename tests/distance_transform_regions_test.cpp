// Distance maps of images with regions of interest, and of images that have none to give: what was
// OpenCV's error in its own transform is OpenCV's error, before a distance is written.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include "core/image_ptr.hpp"
#include "korrin/scan_matching.hpp"
#include "models/distance_transform_model.hpp"
#include "support/bits.hpp"
#include "support/corner_window.hpp"
#include "support/uniform_images.hpp"

namespace {

using Brin::ImagePtr;
using Brin::imageRow;
using korrin_test::sameImage;
using korrin_test::uniformByteImage;
using korrin_test::uniformFloatImage;

void build(IplImage* picture, IplImage** distances) {
  Brin::buildLaserDistance({}, {0.0f, 0.0f, 0.0f}, &picture, distances, 1.0f);
}

// 9 x 7 with a zero outside the region (2, 1), 5 x 4, and one in it.
ImagePtr pictureWithRegion() {
  ImagePtr picture = uniformByteImage(9, 7, 255);
  imageRow<char>(*picture, 0)[0] = 0;
  imageRow<char>(*picture, 4)[5] = 0;
  cvSetImageROI(picture.get(), cvRect(2, 1, 5, 4));
  return picture;
}

// The region's own distances.
ImagePtr expectedDistances() {
  const ImagePtr region = uniformByteImage(5, 4, 255);
  imageRow<char>(*region, 3)[3] = 0;
  ImagePtr distances = uniformFloatImage(5, 4, 0.0f);
  korrin_model::chamferDistances(region.get(), distances.get());
  return distances;
}

TEST(DistanceRegions, aNewMapHasTheSizeOfThePicturesRegion) {
  const ImagePtr picture = pictureWithRegion();
  IplImage* distances = nullptr;
  build(picture.get(), &distances);
  const ImagePtr owner(distances);
  EXPECT_TRUE(sameImage(distances, expectedDistances().get()));
}

TEST(DistanceRegions, onlyTheRegionOfAMapIsWritten) {
  const ImagePtr picture = uniformByteImage(12, 4, 255);
  imageRow<char>(*picture, 3)[10] = 0;
  cvSetImageROI(picture.get(), cvRect(7, 0, 5, 4));
  ImagePtr distances = uniformFloatImage(5, 9, -7.0f);
  cvSetImageROI(distances.get(), cvRect(0, 4, 5, 4));
  IplImage* slot = distances.get();
  build(picture.get(), &slot);
  ASSERT_EQ(slot, distances.get());
  const ImagePtr expected = expectedDistances();
  for (int y = 0; y < 9; ++y) {
    for (int x = 0; x < 5; ++x) {
      const bool inside = y >= 4 && y < 8;
      EXPECT_EQ(imageRow<float>(*distances, y)[x],
                inside ? imageRow<float>(*expected, y - 4)[x] : -7.0f)
          << x << ", " << y;
    }
  }
}

TEST(DistanceRegions, nothingBehindAWindowIsTouched) {
  korrin_test::CornerWindow picture(5, 4, IPL_DEPTH_8U, 1, 3, 2);
  korrin_test::CornerWindow distances(5, 4, IPL_DEPTH_32F, 1, 3, 2);
  cvSet(picture.image(), cvScalar(255));
  imageRow<char>(*picture.image(), 3)[3] = 0;
  IplImage* slot = distances.image();
  build(picture.image(), &slot);
  EXPECT_TRUE(sameImage(distances.image(), expectedDistances().get()));
}

// Whether building refuses, and leaves the map as it was.
::testing::AssertionResult isRefused(IplImage* picture, IplImage* distances) {
  const ImagePtr before(cvCloneImage(distances));
  IplImage* slot = distances;
  try {
    build(picture, &slot);
  } catch (const cv::Exception&) {
    cvResetImageROI(distances);
    cvResetImageROI(before.get());
    if (slot != distances) return ::testing::AssertionFailure() << "another map";
    return sameImage(distances, before.get());
  }
  return ::testing::AssertionFailure() << "no error";
}

ImagePtr imageOf(int depth, int channels) {
  ImagePtr image = Brin::makeImage(cvSize(4, 4), depth, channels);
  cvSet(image.get(), cvScalarAll(5));
  return image;
}

TEST(BadDistances, picturesOfAnotherKindAreRefused) {
  const ImagePtr distances = uniformFloatImage(4, 4, 5.0f);
  EXPECT_TRUE(isRefused(imageOf(IPL_DEPTH_16U, 1).get(), distances.get()));
  EXPECT_TRUE(isRefused(imageOf(static_cast<int>(IPL_DEPTH_8S), 1).get(), distances.get()));
  EXPECT_TRUE(isRefused(imageOf(IPL_DEPTH_32F, 1).get(), distances.get()));
  EXPECT_TRUE(isRefused(imageOf(IPL_DEPTH_8U, 3).get(), distances.get()));
}

TEST(BadDistances, mapsOfAnotherKindAreRefused) {
  const ImagePtr picture = uniformByteImage(4, 4, 0);
  EXPECT_TRUE(isRefused(picture.get(), imageOf(IPL_DEPTH_8U, 1).get()));
  EXPECT_TRUE(isRefused(picture.get(), imageOf(IPL_DEPTH_64F, 1).get()));
  EXPECT_TRUE(isRefused(picture.get(), imageOf(static_cast<int>(IPL_DEPTH_32S), 1).get()));
  EXPECT_TRUE(isRefused(picture.get(), imageOf(IPL_DEPTH_32F, 2).get()));
}

TEST(BadDistances, regionsOfDifferentSizesAreRefused) {
  const ImagePtr picture = uniformByteImage(4, 4, 0);
  const ImagePtr distances = uniformFloatImage(4, 4, 5.0f);
  EXPECT_TRUE(isRefused(picture.get(), uniformFloatImage(4, 5, 5.0f).get()));
  cvSetImageROI(distances.get(), cvRect(1, 0, 3, 4));
  EXPECT_TRUE(isRefused(picture.get(), distances.get()));
  cvSetImageROI(picture.get(), cvRect(0, 1, 4, 3));
  EXPECT_TRUE(isRefused(picture.get(), distances.get()));
}

TEST(BadDistances, aSelectedChannelIsRefused) {
  const ImagePtr picture = uniformByteImage(4, 4, 0);
  const ImagePtr distances = uniformFloatImage(4, 4, 5.0f);
  cvSetImageCOI(distances.get(), 1);
  EXPECT_TRUE(isRefused(picture.get(), distances.get()));
  cvSetImageCOI(picture.get(), 1);
  EXPECT_TRUE(isRefused(picture.get(), uniformFloatImage(4, 4, 5.0f).get()));
}

TEST(BadDistances, imagesWithoutMemoryAreRefused) {
  IplImage header;
  cvInitImageHeader(&header, cvSize(4, 4), IPL_DEPTH_8U, 1);
  EXPECT_TRUE(isRefused(&header, uniformFloatImage(4, 4, 5.0f).get()));
  const ImagePtr picture = uniformByteImage(4, 4, 0);
  cvInitImageHeader(&header, cvSize(4, 4), IPL_DEPTH_32F, 1);
  IplImage* slot = &header;
  EXPECT_THROW(build(picture.get(), &slot), cv::Exception);
}

TEST(BadDistances, imagesWithoutPixelsHaveNone) {
  for (const auto& size : {cvSize(0, 0), cvSize(3, 0), cvSize(0, 3)}) {
    const ImagePtr picture = uniformByteImage(size.width, size.height, 0);
    IplImage* distances = nullptr;
    build(picture.get(), &distances);
    const ImagePtr owner(distances);
    EXPECT_EQ(distances->width, size.width);
    EXPECT_EQ(distances->height, size.height);
  }
}

}  // namespace
