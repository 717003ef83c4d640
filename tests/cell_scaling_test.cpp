// Every way of scaling a row of cells gives the formula's cells, to the last bit.
#include "src/cell_scaling.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "src/processor.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using korrin_test::RandomInputs;
using korrin_test::sameBits;

struct Variant {
  const char* name;
  void (*scale)(float*, int, float);
};

// The variants that this machine can run.
std::vector<Variant> variants() {
  std::vector<Variant> all{{"chosen", Brin::scaleRow}, {"plain", Brin::scaleRowPlain}};
#ifdef __SSE2__
  if (Brin::hasAvx2()) all.push_back({"AVX2", Brin::scaleRowAvx2});
#endif
  return all;
}

float scaled(float p, float factor) {
  const float v = (p - 0.5f) * factor + 0.5f;
  if (std::isnan(v) || v <= 0.0f) return 0.0f;
  return v < 1.0f ? v : 1.0f;
}

TEST(CellScaling, everyVariantFollowsTheFormulaAndKeepsToItsCells) {
  RandomInputs random(4);
  for (int round = 0; round < 3000; ++round) {
    const int count = random.between(0, 41);
    const float factor = random.chance(0.5) ? random.between(-2.0f, 2.0f) : random.wildFloat();
    std::vector<float> cells(static_cast<std::size_t>(count) + 1);
    for (float& p : cells) p = random.chance(0.7) ? random.between(0.0f, 1.0f) : random.wildFloat();
    for (const Variant& variant : variants()) {
      std::vector<float> out = cells;
      variant.scale(out.data(), count, factor);
      for (std::size_t i = 0; i + 1 < cells.size(); ++i) {
        ASSERT_TRUE(sameBits(out[i], scaled(cells[i], factor)))
            << variant.name << ": " << cells[i] << " by " << factor << " becomes " << out[i];
      }
      ASSERT_TRUE(sameBits(out.back(), cells.back())) << variant.name << " went too far";
    }
  }
}

TEST(CellScaling, limitsAndWhatIsNotANumber) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const Variant& variant : variants()) {
    std::vector<float> cells{nan, 0.5f, 0.0f, 1.0f, 0.75f, 0.25f, nan, 0.5f, -3.0f};
    variant.scale(cells.data(), static_cast<int>(cells.size()), 3.0f);
    EXPECT_EQ(cells, (std::vector<float>{0, 0.5f, 0, 1, 1, 0, 0, 0.5f, 0})) << variant.name;
  }
}

}  // namespace
