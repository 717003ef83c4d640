#include "tools/pictures/match_picture.hpp"

#include <gtest/gtest.h>

#include <opencv2/imgcodecs.hpp>

#include "tests/support/files.hpp"

namespace korrin_test {
namespace {

using Brin::Point2D;

// The picture of a scan that hit something at both ends of a line of so many metres.
cv::Mat pictureOf(float metres) {
  const TemporaryDirectory directory;
  Brin::PoseGrid grid;
  grid.reachX = grid.reachY = 0.05f;
  const auto side = static_cast<std::size_t>(2 * grid.shiftsX() + 1);
  const std::vector<float> scores(side * side, 0.5f);
  const std::vector<Point2D> ends(20, {metres / 2.0f, 0.0f});
  std::vector<Point2D> line(20, {-metres / 2.0f, 0.0f});
  line.insert(line.end(), ends.begin(), ends.end());
  korrin_tool::saveMatchPicture(directory / "match.png", {line, line, grid, {}, scores, {}});
  return cv::imread(directory / "match.png");
}

TEST(MatchPicture, noSideIsLongerThanAPictureMayBe) {
  // From 995 to 999 cells a cell takes two pixels, and two pictures with the gap more than 4,000.
  for (const float metres : {48.7f, 48.8f, 48.9f, 49.0f, 60.0f}) {
    const cv::Mat picture = pictureOf(metres);
    EXPECT_LE(picture.cols, 4000) << metres;
    EXPECT_GT(picture.cols, 1900) << metres;
    EXPECT_GT(picture.rows, 900) << metres;
  }
}

}  // namespace
}  // namespace korrin_test
