// Reduces maps and scales their values.
#include "core/image_ptr.hpp"
#include "fuzz/fuzz_target.hpp"
#include "korrin/map_image_utils.hpp"
#include "models/map_image_utils_model.hpp"
#include "models/occmap_path_finder_model.hpp"
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

const Mark kReduced("a map reduced to several cells");
const Mark kNoCells("a map reduced to no cells");
const Mark kScaled("values scaled");
const Mark kScaledBytes("bytes scaled to neither end");

void reduceMap(FuzzInput& in, const OccupancyMap& map) {
  const int factor = in.pick({1, 2, 3, 4, 7, 100, std::numeric_limits<int>::max()});
  OccupancyMap coarse(1, 2, 3.0f, false);
  Brin::computeCoarserMap(map, coarse, factor);
  require(sameMap(coarse, korrin_model::coarserMap(map, factor)), "computeCoarserMap");
  kNoCells.count(map.params.width > 0 && coarse.params.width == 0);
  kReduced.count(factor > 1 && coarse.params.width > 1 && coarse.params.height > 1);
}

void scaleValues(FuzzInput& in, const OccupancyMap& map) {
  const float factor = in.rarely(64) ? in.anyFloat() : in.ordinaryFloat();
  const ImagePtr bytes = Brin::makeImage(cvGetSize(map.image), IPL_DEPTH_8U, 1);
  for (int i = 0; i < bytes->imageSize; ++i) bytes->imageData[i] = static_cast<char>(in.byte());
  const ImagePtr expectedBytes = copyOf(*bytes), floats = copyOf(*map.image);
  const ImagePtr expectedFloats = copyOf(*map.image);
  OccupancyMap scaled(map), expected(map);
  Brin::imgMultiplyProb8(bytes.get(), factor);
  korrin_model::imgMultiplyProb8(expectedBytes.get(), factor);
  require(sameImage(bytes.get(), expectedBytes.get()), "imgMultiplyProb8");
  const auto first = static_cast<std::uint8_t>(*bytes->imageData);
  kScaledBytes.count(bytes->imageSize > 0 && first > 0 && first != 127 && first < 255);
  Brin::imgMultiplyProb32F(floats.get(), factor);
  korrin_model::imgMultiplyProb32F(expectedFloats.get(), factor);
  require(sameImage(floats.get(), expectedFloats.get()), "imgMultiplyProb32F");
  Brin::occMapMultiplyProb(scaled, factor);
  korrin_model::occMapMultiplyProb(expected, factor);
  require(sameMap(scaled, expected), "occMapMultiplyProb");
  kScaled.count(!sameMap(scaled, map));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  const OccupancyMap map = in.map(40);
  reduceMap(in, map);
  scaleValues(in, map);
  return 0;
}
