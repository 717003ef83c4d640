// Maxima under windows: those of a plain look at every pixel, for every place of the window.
#include "src/window_maxima.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "src/processor.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::SixteenBytes;
using Brin::WindowMaxima;
using korrin_test::RandomInputs;

struct Picture {
  int width;
  int height;
  std::vector<std::uint8_t> bytes;

  int at(int row, int col) const {
    const bool isInside = row >= 0 && col >= 0 && row < height && col < width;
    return isInside ? bytes[static_cast<std::size_t>(row * width + col)] : 0;
  }
  int most(int row, int col, int side) const {
    int most = 0;
    for (int y = std::max(row, 0); y < std::min(row + side, height); ++y) {
      for (int x = std::max(col, 0); x < std::min(col + side, width); ++x) {
        most = std::max(most, at(y, x));
      }
    }
    return most;
  }
};

Picture somePicture(RandomInputs& random) {
  Picture picture{random.pick<int>({1, 2, 7, 16, 33, 70}), random.pick<int>({1, 3, 8, 40, 65}), {}};
  picture.bytes.resize(static_cast<std::size_t>(picture.width * picture.height));
  const double share = random.pick<double>({0.01, 0.3});
  for (std::uint8_t& byte : picture.bytes) {
    if (random.chance(share)) byte = static_cast<std::uint8_t>(random.between(1, 255));
  }
  return picture;
}

WindowMaxima maximaOf(const Picture& picture) {
  WindowMaxima maxima(picture.width, picture.height);
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      maxima.set(y, x, static_cast<std::uint8_t>(picture.at(y, x)));
    }
  }
  return maxima;
}

// One window, and the sixteen from there on.
void expectMaxima(const Picture& picture, const WindowMaxima& maxima, int row, int col) {
  const int side = maxima.side();
  ASSERT_EQ(maxima.at(row, col), picture.most(row, col, side)) << row << " " << col << " " << side;
  const bool isInReach = maxima.isInReach(row, col);
  const SixteenBytes sixteen = isInReach ? maxima.sixteenAt(row, col) : SixteenBytes{};
  for (int i = 0; i < 16; ++i) {
    const int expected = picture.most(row + i / 4 * side, col + i % 4 * side, side);
    ASSERT_EQ(sixteen[i], expected) << row << " " << col << " " << side << " window " << i;
  }
}

TEST(WindowMaxima, areThoseOfEveryWindow) {
  RandomInputs random(5);
  for (int n = 0; n < 40; ++n) {
    const Picture picture = somePicture(random);
    WindowMaxima maxima = maximaOf(picture);
    for (int level = 0; level <= 6; ++level) {
      ASSERT_EQ(maxima.side(), 1 << level);
      const int border = 5 * maxima.side();
      for (int trial = 0; trial < 300; ++trial) {
        expectMaxima(picture, maxima, random.between(-border, picture.height + 9),
                     random.between(-border, picture.width + 9));
        if (HasFatalFailure()) return;
      }
      maxima = maxima.doubled();
    }
  }
}

#ifdef __SSE2__

// Eight at a time, from one side before the picture on.
__attribute__((target("avx2"))) void expectEight(const WindowMaxima& maxima, const int* rows,
                                                 const int* cols, const int* wanted) {
  alignas(32) int found[8];
  _mm256_store_si256(reinterpret_cast<__m256i*>(found),
                     maxima.eightAt(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(rows)),
                                    _mm256_loadu_si256(reinterpret_cast<const __m256i*>(cols)),
                                    _mm256_loadu_si256(reinterpret_cast<const __m256i*>(wanted))));
  for (int i = 0; i < 8; ++i) {
    ASSERT_EQ(found[i], wanted[i] != 0 ? maxima.at(rows[i], cols[i]) : 0)
        << rows[i] << " " << cols[i];
  }
}

TEST(WindowMaxima, areTheSameEightAtATime) {
  RandomInputs random(6);
  for (int n = 0; n < 40; ++n) {
    const Picture picture = somePicture(random);
    WindowMaxima maxima = maximaOf(picture);
    for (int level = 0; level <= 6; ++level) {
      ASSERT_TRUE(maxima.canBeGathered());
      for (int trial = 0; trial < 60; ++trial) {
        int rows[8], cols[8], wanted[8];
        for (int i = 0; i < 8; ++i) {
          rows[i] =
              random.chance(0.05) ? 1 << 30 : random.between(-maxima.side(), picture.height + 2);
          cols[i] =
              random.chance(0.05) ? 1 << 30 : random.between(-maxima.side(), picture.width + 2);
          wanted[i] = random.chance(0.8) ? -1 : 0;
        }
        if (Brin::hasAvx2()) expectEight(maxima, rows, cols, wanted);
        if (HasFatalFailure()) return;
      }
      maxima = maxima.doubled();
    }
  }
}

#endif

TEST(WindowMaxima, areNothingFarAway) {
  const WindowMaxima maxima(3, 3);
  for (const int far : {-(1 << 30), -1000, 1000, 1 << 30}) {
    EXPECT_EQ(maxima.at(far, 0), 0);
    EXPECT_EQ(maxima.at(0, far), 0);
    EXPECT_FALSE(maxima.isInReach(far, 1));
    EXPECT_FALSE(maxima.isInReach(1, far));
  }
}

}  // namespace
