// Merges and turns images.
#include "core/image_ptr.hpp"
#include "fuzz/fuzz_target.hpp"
#include "korrin/map_image_utils.hpp"
#include "models/map_image_utils_model.hpp"
#include "support/images.hpp"

namespace {

using Brin::ImagePtr;
using Brin::OccupancyMap;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_test::copyOf;
using korrin_test::sameImage;

const Mark kMerged("several images merged, shifted by fractions");
const Mark kInto("images merged into one that was there");
const Mark kTurned("a square turned");

void mergeImages(FuzzInput& in, const OccupancyMap& map) {
  std::vector<ImagePtr> owned;
  std::vector<Brin::ImageToMerge> images;
  const float resolution = in.pick({1.0f, 0.5f, 0.3f, 0.21f, 0.05f, -1.0f});
  // Whole cells and fractions of a cell.
  const auto shift = [&] {
    return in.flag() ? in.ordinaryFloat() : static_cast<float>(in.between(-9, 9)) * resolution;
  };
  for (int n = in.between(0, 4); n > 0; --n) {
    owned.push_back(copyOf(*map.image));
    korrin_model::floatCell(owned.back().get(), 0, 0) = in.someFloat();
    const float x = shift(), y = shift();
    images.push_back({owned.back().get(), x, y, in.anyFloat()});
  }
  const bool into = in.flag();
  kInto.count(into);
  IplImage* actual = into ? cvCloneImage(map.image) : nullptr;
  IplImage* expected = actual != nullptr ? cvCloneImage(actual) : nullptr;
  Brin::mergeImages2(images, &actual, resolution, in.anyFloat());
  korrin_model::mergeImages2(images, &expected, resolution);
  const ImagePtr ownedActual(actual), ownedExpected(expected);
  require(sameImage(actual, expected), "mergeImages2");
  kMerged.count(images.size() > 1 && std::floor(images[1].x) != images[1].x);
}

void turnImage(const OccupancyMap& map) {
  const ImagePtr actual = copyOf(*map.image), expected = copyOf(*map.image);
  Brin::rotateIplImage90(map.image, actual.get());
  korrin_model::rotateIplImage90(map.image, expected.get());
  require(sameImage(actual.get(), expected.get()), "rotateIplImage90");
  if (map.params.width != map.params.height) return;
  Brin::rotateIplImage90_2(map.image, actual.get());
  korrin_model::rotateIplImage90_2(map.image, expected.get());
  require(sameImage(actual.get(), expected.get()), "rotateIplImage90_2");
  kTurned.count(map.params.width > 2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  const OccupancyMap map = in.map(24);
  if (map.image->imageSize == 0) return 0;  // the model hands it to OpenCV, which warps none
  mergeImages(in, map);
  turnImage(map);
  return 0;
}
