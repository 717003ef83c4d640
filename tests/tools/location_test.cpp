// Where a scan was taken: how an answer is judged, and the scores of a picture.
#include "tools/location.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/map_drawing.hpp"

using korrin_tool::Verdict;
using korrin_tool::verdictOf;

namespace {

std::vector<Brin::ScoredPose> answersWith(const std::vector<float>& scores) {
  std::vector<Brin::ScoredPose> answers;
  for (const float score : scores) answers.push_back({{}, score});
  return answers;
}

TEST(Verdict, IsClearWhereNothingElseComesNear) {
  EXPECT_EQ(verdictOf(answersWith({0.8f}), 0.5f), Verdict::Clear);
  EXPECT_EQ(verdictOf(answersWith({1.0f, 0.979f, 0.979f}), 0.5f), Verdict::Clear);
}

TEST(Verdict, IsAmbiguousFromNinetyEightPerCentOn) {
  EXPECT_EQ(verdictOf(answersWith({1.0f, 0.98f}), 0.5f), Verdict::Ambiguous);
  EXPECT_EQ(verdictOf(answersWith({0.6f, 0.6f}), 0.5f), Verdict::Ambiguous);
}

TEST(Verdict, IsPoorBelowTheLeastScoreEvenWhereItIsAmbiguous) {
  EXPECT_EQ(verdictOf(answersWith({0.5f}), 0.5f), Verdict::Clear);
  EXPECT_EQ(verdictOf(answersWith({0.499f, 0.499f}), 0.5f), Verdict::Poor);
  EXPECT_EQ(verdictOf({}, 0.0f), Verdict::Poor);
}

TEST(Verdict, IsPoorForAScoreThatIsNoNumber) {
  EXPECT_EQ(verdictOf(answersWith({std::numeric_limits<float>::quiet_NaN()}), 0.0f), Verdict::Poor);
}

TEST(Location, LooksElsewhereEvenWhereOneAnswerIsWanted) {
  const Brin::OccupancyMap map = korrin_test::drawMap({"#....#", "......", "#....."});
  const Brin::PoseSearch search(map, 0.45f, 0.5f);
  const auto everywhere = Brin::PoseGrid::around(map.params, 1.0f, 1.5707964f);
  const korrin_tool::Location found = korrin_tool::locate(search, {{1, 0}}, everywhere, 1, 0.5f);
  ASSERT_EQ(found.answers.size(), 2u);
  EXPECT_EQ(found.verdict, Verdict::Ambiguous);
}

// The best of all poses around the best so far, by halves of the steps, three times.
Brin::ScoredPose refinedByTryingAll(const Brin::PoseSearch& search,
                                    const std::vector<Brin::Point2D>& points, float step,
                                    float turnStep, Brin::ScoredPose best) {
  for (int halving = 0; halving < 3; ++halving) {
    step /= 2.0f;
    turnStep /= 2.0f;
    const Brin::Pose2D centre = best.pose;
    for (int k = -2; k <= 2; ++k) {
      for (int j = -2; j <= 2; ++j) {
        for (int i = -2; i <= 2; ++i) {
          const Brin::Pose2D pose(centre.x + static_cast<float>(i) * step,
                                  centre.y + static_cast<float>(j) * step,
                                  centre.theta + static_cast<float>(k) * turnStep);
          const float score = search.score(points, pose);
          if (score > best.score) best = {pose, score};
        }
      }
    }
  }
  return best;
}

// A corner of two walls in cells of 0.02 m, and its sight from a place that is on no grid of half a
// metre.
struct CornerSeen {
  static constexpr int kLength = 300, kHeight = 200;
  static constexpr float kCell = 0.02f;

  Brin::OccupancyMap map{Brin::OccupancyMapParams(kLength, kHeight, kCell), false};
  Brin::Pose2D place;
  std::vector<Brin::Point2D> points;

  explicit CornerSeen(const Brin::Pose2D& from = {3.31f, 1.83f, 0.13f}) : place(from) {
    map.reset(1.0f);
    for (int y = 0; y < kHeight; ++y) addWall(0, y);
    for (int x = 1; x < kLength; ++x) addWall(x, 0);
  }
  void addWall(int x, int y) {
    map.setCell(x, y, 0.0f);
    addSeen({kCell * static_cast<float>(x), kCell * static_cast<float>(y)});
  }
  void addSeen(const Brin::Point2D& hit) {
    const Brin::Pose2D seen = place.relProject({hit.x, hit.y, 0.0f});
    points.emplace_back(seen.x, seen.y);
  }
};

TEST(Location, IsRefinedBetweenTheStepsAsTryingAllPosesWould) {
  for (int k = 1; k <= 20; ++k) {
    const auto part = static_cast<float>(k);
    const CornerSeen corner({2.0f + 0.13f * part, 1.0f + 0.07f * part, 0.3f - 0.031f * part});
    const Brin::PoseSearch search(corner.map, 0.45f, 1.0f);
    const Brin::PoseGrid grid = Brin::PoseGrid::around(corner.map.params, 0.5f, 0.1f);
    const Brin::ScoredPose rough = search.best(corner.points, grid)[0];
    const Brin::ScoredPose fine = korrin_tool::refined(search, corner.points, grid, rough);
    const Brin::ScoredPose tried = refinedByTryingAll(search, corner.points, 0.5f, 0.1f, rough);
    EXPECT_EQ(fine.score, tried.score);
    EXPECT_GT(fine.score, rough.score);
    EXPECT_EQ(search.score(corner.points, fine.pose), fine.score);
    EXPECT_NEAR(fine.pose.theta, corner.place.theta, 0.05f);  // half of the grid's step
  }
}

TEST(Location, ThatNothingNearBeatsStaysWhereItIs) {
  const Brin::OccupancyMap map = korrin_test::drawMap({"......", "......"});
  const Brin::PoseSearch search(map, 0.45f, 0.5f);
  const Brin::PoseGrid grid = Brin::PoseGrid::around(map.params, 1.0f, 1.0f);
  const Brin::ScoredPose rough{grid.pose(1, 0, 1), 0.0f};
  const Brin::Pose2D kept = korrin_tool::refined(search, {{1, 0}}, grid, rough).pose;
  EXPECT_EQ(kept.x, rough.pose.x);
  EXPECT_EQ(kept.y, rough.pose.y);
  EXPECT_EQ(kept.theta, rough.pose.theta);
}

TEST(Location, HasNoTwoAnswersOfOnePlaceAfterRefiningLargeSteps) {
  const CornerSeen corner;
  const Brin::PoseGrid grid = Brin::PoseGrid::around(corner.map.params, 0.5f, 0.3f);
  const Brin::PoseSearch search(corner.map, 0.45f, 1.0f);
  const auto found = korrin_tool::locate(search, corner.points, grid, 6, 0.5f);
  ASSERT_FALSE(found.answers.empty());
  for (std::size_t i = 0; i < found.answers.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      const Brin::Pose2D &one = found.answers[i].pose, &other = found.answers[j].pose;
      EXPECT_LE(found.answers[i].score, found.answers[j].score);
      EXPECT_TRUE(std::hypot(one.x - other.x, one.y - other.y) >= 0.5f ||
                  std::fabs(Brin::canonicalAngle(one.theta - other.theta)) >= 0.5f);
    }
  }
}

TEST(ScoreMap, HasTheBestHeadingOfEachFreeSquareAndNoneElsewhere) {
  const Brin::OccupancyMap map = korrin_test::drawMap({"#..?", "...?", "...#"});
  const Brin::PoseSearch search(map, 0.45f, 0.5f);
  const korrin_tool::ScoreMap scores =
      korrin_tool::scoresOn(map, search, {{1.0f, 0.0f}}, 1, 1.5707964f);
  ASSERT_EQ(scores.width, 4);
  ASSERT_EQ(scores.height, 3);
  EXPECT_EQ(scores.at(0, 0), -1.0f);  // an obstacle
  EXPECT_EQ(scores.at(3, 0), -1.0f);  // unknown
  EXPECT_EQ(scores.at(1, 0), 1.0f);   // looking left
  EXPECT_EQ(scores.at(0, 1), 1.0f);   // looking down
  EXPECT_EQ(scores.at(2, 2), 1.0f);   // looking right
  EXPECT_EQ(scores.at(1, 1), 0.0f);   // no obstacle a metre away
}

TEST(ScoreMap, HasSquaresOfSeveralCellsTheLastOnesSmaller) {
  const Brin::OccupancyMap map = korrin_test::drawMap({".....", ".....", ".....", "....."});
  const Brin::PoseSearch search(map, 0.45f, 0.5f);
  const korrin_tool::ScoreMap scores = korrin_tool::scoresOn(map, search, {{1, 0}}, 3, 7.0f);
  EXPECT_EQ(scores.width, 2);
  EXPECT_EQ(scores.height, 2);
  EXPECT_EQ(scores.scores.size(), 4u);
}

}  // namespace
