// Where a scan was taken: how an answer is judged, and the scores of a picture.
#include "tools/location.hpp"

#include <gtest/gtest.h>

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
