// Scrolls maps and images.
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
using korrin_test::sameMap;

const Mark kScrolled("a map scrolled by some cells");
const Mark kWarped("an image scrolled by a fraction");
const Mark kFromNothing("an image of no cells scrolled");

void scrollMap(FuzzInput& in, OccupancyMap map) {
  if (map.secondImage == nullptr) map.secondImage = cvCloneImage(map.image);
  const Brin::Point2Di shift(in.anyInt(), in.anyInt());
  OccupancyMap scrolled(map), expected(map);
  Brin::scrollOccMap(map, scrolled, shift);
  korrin_model::scrollOccMap(map, expected, shift.x, shift.y);
  require(sameMap(scrolled, expected), "scrollOccMap");
  kScrolled.count(std::abs(shift.x) < map.params.width && std::abs(shift.y) < map.params.height &&
                  !sameMap(map, expected));
  Brin::scrollOccMapInPlace(map, shift);
  require(sameMap(map, expected), "scrollOccMapInPlace");
}

void scrollImage(FuzzInput& in, const OccupancyMap& map) {
  const OccupancyMap other = in.map(40);
  const Brin::Point2D shift(in.someFloat(), in.someFloat());
  const ImagePtr actual = copyOf(*other.image), expected = copyOf(*other.image);
  Brin::scrollIplImage(map.image, actual.get(), shift);
  // The model hands what is not finite to OpenCV, which has no answer, and no image of no cells.
  if (!std::isfinite(shift.x) || !std::isfinite(shift.y)) return;
  if (map.image->imageSize > 0 && other.image->imageSize > 0) {
    korrin_model::scrollIplImage(map.image, expected.get(), shift.x, shift.y);
  } else {
    cvSet(expected.get(), cvScalar(0.5));
  }
  require(sameImage(actual.get(), expected.get()), "scrollIplImage");
  kFromNothing.count(map.image->imageSize == 0 && other.image->imageSize > 0);
  kWarped.count(map.image->imageSize > 0 && std::floor(shift.x) != shift.x &&
                std::abs(shift.x) < 5.0f && std::abs(shift.y) < 5.0f);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  const OccupancyMap map = in.map(24);
  scrollMap(in, map);
  scrollImage(in, map);
  return 0;
}
