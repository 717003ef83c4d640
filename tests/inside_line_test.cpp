// The cells that are addressed at once are the cells of the literal walk, step by step.
#include "src/inside_line.hpp"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "core/image_ptr.hpp"
#include "models/occupancy_mapper_model.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::ImagePtr;
using Brin::InsideLine;
using Brin::Point2Di;
using korrin_test::RandomInputs;
using Cells = std::vector<std::pair<int, int>>;

constexpr int kTooLong = 1 << 19;

// Every pixel holds its own number, row by row.
ImagePtr numberedImage(int width, int height) {
  ImagePtr image = Brin::makeImage(cvSize(width, height), IPL_DEPTH_32F, 1);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      Brin::imageRow<float>(*image, y)[x] = static_cast<float>(y * width + x);
    }
  }
  return image;
}

InsideLine lineOf(const IplImage& image, Point2Di from, Point2Di to) {
  InsideLine line;
  line.aim(image, from, to);
  return line;
}

// The cells of the model's walk up to the border, and where it then stands.
Cells modelCells(const IplImage& image, Point2Di from, Point2Di to) {
  Cells cells;
  Point2Di last = to;
  korrin_model::walkLine(from.x, from.y, to.x, to.y, [&](std::int64_t x, std::int64_t y) {
    last = {static_cast<int>(x), static_cast<int>(y)};
    if (x < 0 || y < 0 || x >= image.width || y >= image.height) return false;
    cells.emplace_back(last.x, last.y);
    last = to;
    return true;
  });
  cells.emplace_back(last.x, last.y);
  return cells;
}

// The cells of the fast walk, told by its pixels, and where it then stands.
Cells visitedCells(const IplImage& image, const InsideLine& line, std::int64_t first = 0) {
  Cells cells;
  line.walk<const float>(image, first, [&](float pixel) {
    const int number = static_cast<int>(pixel);
    cells.emplace_back(number % image.width, number / image.width);
    return false;
  });
  cells.emplace_back(line.x(line.length()), line.y(line.length()));
  return cells;
}

Cells namedCells(const InsideLine& line) {
  Cells cells;
  for (std::int64_t k = 0; k <= line.length(); ++k) cells.emplace_back(line.x(k), line.y(k));
  return cells;
}

TEST(InsideLine, visitsTheStartAndAllBetweenButNotTheEnd) {
  const ImagePtr image = numberedImage(4, 2);
  // 0 1 . .
  // . . 2 e
  const Cells expected = {{0, 0}, {1, 0}, {2, 1}, {3, 1}};
  EXPECT_EQ(visitedCells(*image, lineOf(*image, {0, 0}, {3, 1})), expected);
}

TEST(InsideLine, standsOnTheFirstOutsideCellAfterTheLastInside) {
  const ImagePtr image = numberedImage(3, 3);
  const Cells expected = {{1, 1}, {2, 2}, {3, 3}};
  EXPECT_EQ(visitedCells(*image, lineOf(*image, {1, 1}, {9, 9})), expected);
}

TEST(InsideLine, ofNoLengthVisitsNothing) {
  const ImagePtr image = numberedImage(3, 3);
  EXPECT_EQ(lineOf(*image, {1, 2}, {1, 2}).length(), 0);
  EXPECT_EQ(visitedCells(*image, lineOf(*image, {1, 2}, {1, 2})), (Cells{{1, 2}}));
}

TEST(InsideLine, stopsWhereItsVisitorSaysAndGoesOnFromAnyStep) {
  const ImagePtr image = numberedImage(20, 1);
  const InsideLine line = lineOf(*image, {0, 0}, {19, 0});
  const auto isMultipleOf6 = [](float pixel) { return static_cast<int>(pixel) % 6 == 0; };
  EXPECT_EQ(line.walk<const float>(*image, 0, isMultipleOf6), 0);
  EXPECT_EQ(line.walk<const float>(*image, 1, isMultipleOf6), 6);
  EXPECT_EQ(line.walk<const float>(*image, 13, isMultipleOf6), 18);
  EXPECT_EQ(line.walk<const float>(*image, 19, isMultipleOf6), 19);
}

TEST(InsideLine, writesThroughToThePixels) {
  const ImagePtr image = numberedImage(3, 3);
  lineOf(*image, {0, 0}, {2, 2}).walk<float>(*image, 0, [](float& pixel) {
    pixel = -1.0f;
    return false;
  });
  EXPECT_EQ(Brin::imageRow<float>(*image, 0)[0], -1.0f);
  EXPECT_EQ(Brin::imageRow<float>(*image, 1)[1], -1.0f);
  EXPECT_EQ(Brin::imageRow<float>(*image, 2)[2], 8.0f);
}

TEST(InsideLine, takesOnlyLinesThatStartInsideAndAreNotTooLong) {
  const ImagePtr image = numberedImage(3, 2);
  EXPECT_TRUE(InsideLine::canWalk(*image, {2, 1}, {kTooLong + 1, -kTooLong + 2}));
  EXPECT_FALSE(InsideLine::canWalk(*image, {2, 1}, {kTooLong + 2, 0}));
  EXPECT_FALSE(InsideLine::canWalk(*image, {2, 1}, {0, 1 - kTooLong}));
  EXPECT_FALSE(InsideLine::canWalk(*image, {2, 1}, {-2147483647 - 1, 2147483647}));
  for (Point2Di outside : {Point2Di(-1, 0), Point2Di(3, 0), Point2Di(0, -1), Point2Di(0, 2)}) {
    EXPECT_FALSE(InsideLine::canWalk(*image, outside, {1, 1}));
  }
  IplImage wide = *image;
  wide.width = kTooLong;
  EXPECT_FALSE(InsideLine::canWalk(wide, {0, 0}, {1, 1}));
  wide.width = kTooLong - 1;
  EXPECT_TRUE(InsideLine::canWalk(wide, {0, 0}, {1, 1}));
}

TEST(InsideLine, agreesWithTheLiteralWalkOnEveryShortLine) {
  const ImagePtr image = numberedImage(21, 19);
  int leaving = 0;
  for (int x = -15; x <= 36; ++x) {
    for (int y = -15; y <= 34; ++y) {
      const Point2Di from(10, 9);
      const InsideLine line = lineOf(*image, from, {x, y});
      const Cells expected = modelCells(*image, from, {x, y});
      ASSERT_EQ(visitedCells(*image, line), expected) << x << "," << y;
      ASSERT_EQ(namedCells(line), expected) << x << "," << y;
      leaving += line.length() < std::max(std::abs(x - 10), std::abs(y - 9)) ? 1 : 0;
    }
  }
  EXPECT_GT(leaving, 1000);
}

TEST(InsideLine, agreesWithTheLiteralWalkOnRandomLines) {
  RandomInputs random(31);
  for (int i = 0; i < 20000; ++i) {
    static const ImagePtr images[] = {numberedImage(1, 1), numberedImage(7, 5),
                                      numberedImage(301, 40), numberedImage(33, 400)};
    const IplImage& image = *images[random.bits() % 4];
    const Point2Di from(random.between(0, image.width - 1), random.between(0, image.height - 1));
    const int reach = random.chance(0.1) ? kTooLong / 2 : 500;
    const Point2Di to(random.between(-reach, reach), random.between(-reach, reach));
    const InsideLine line = lineOf(image, from, to);
    const Cells expected = modelCells(image, from, to);
    ASSERT_EQ(visitedCells(image, line), expected);
    ASSERT_EQ(namedCells(line), expected);
    const auto first = static_cast<std::ptrdiff_t>(random.bits() % expected.size());
    ASSERT_EQ(visitedCells(image, line, first), Cells(expected.begin() + first, expected.end()));
  }
}

// The longest lines there are, in an image that has no pixels: with slopes for which a step is
// missed or taken by the smallest margin.
TEST(InsideLine, isExactToTheEndOfTheLongestLines) {
  RandomInputs random(32);
  IplImage image{};
  image.width = image.height = kTooLong - 1;
  for (int i = 0; i < 40; ++i) {
    const int a = kTooLong - 2 - random.between(0, 3);
    const std::vector<int> slopes = {0, 1, 2, a / 2, a / 2 + 1, a - 1, a, random.between(0, a)};
    const int b = slopes[static_cast<std::size_t>(i) % slopes.size()];
    const bool isMirrored = random.chance(0.5);
    Point2Di from(isMirrored ? a : 0, isMirrored ? b : 0);
    Point2Di to(a - from.x, b - from.y);
    if (random.chance(0.5)) {
      std::swap(from.x, from.y);
      std::swap(to.x, to.y);
    }
    const InsideLine line = lineOf(image, from, to);
    ASSERT_EQ(line.length(), a);
    std::int64_t k = 0;
    korrin_model::walkLine(from.x, from.y, to.x, to.y, [&](std::int64_t x, std::int64_t y) {
      const bool isSame = line.x(k) == x && line.y(k) == y;
      if (isSame) ++k;
      return isSame;
    });
    ASSERT_EQ(k, a) << "slope " << b << " / " << a;
    ASSERT_EQ(line.x(k), to.x);
    ASSERT_EQ(line.y(k), to.y);
  }
}

}  // namespace
