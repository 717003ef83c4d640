// Maxima under windows: those of a plain look at every pixel, for every place of the window.
#include "src/window_maxima.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

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
