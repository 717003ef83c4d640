// Fills striding paths until each cell touches the next.
#include "fuzz/fuzz_target.hpp"
#include "korrin/path_upsample.hpp"
#include "models/path_upsample_model.hpp"

namespace {

using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_test::sameBits;

const Mark kFilled("a path filled");
const Mark kCorner("a path at a corner of the plane");
const Mark kRepeated("two equal cells in a row");

constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  // The corners of the plane too, but no line across it: the answer would fill the memory.
  const std::int32_t baseX = in.pick({0, kMax - 127, -kMax + 127});
  const std::int32_t baseY = in.pick({0, kMax - 127, -kMax + 127});
  std::vector<Brin::Pose2Di> strides(static_cast<std::size_t>(in.between(0, 30)));
  bool repeated = false;
  for (std::size_t i = 0; i < strides.size(); ++i) {
    strides[i] = {baseX + in.between(-128, 127), baseY + in.between(-128, 127), in.anyFloat()};
    if (i > 0 && in.rarely(64)) strides[i] = strides[i - 1];
    repeated |= i > 0 && strides[i].x == strides[i - 1].x && strides[i].y == strides[i - 1].y;
  }
  const auto expected = korrin_model::pathUpSample(strides);
  std::vector<Brin::Pose2Di> filled(3);
  Brin::pathUpSample(strides, filled);
  require(sameBits(filled, expected), "path");
  kFilled.count(filled.size() > 2 * strides.size());
  kCorner.count(filled.size() > 3 && baseX != 0 && baseY != 0);
  kRepeated.count(repeated);
  Brin::pathUpSample(strides, strides);
  require(sameBits(strides, expected), "path filled in place");
  return 0;
}
