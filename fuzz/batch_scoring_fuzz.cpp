// Scores points and scans at many poses in one call.
#include "fuzz/fuzz_target.hpp"
#include "fuzz/scoring_input.hpp"
#include "korrin/batch_scoring.hpp"
#include "models/batch_scoring_model.hpp"

namespace {

using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_fuzz::ScoringInput;

const Mark kPoints("points match");
const Mark kReadings("readings match");
const Mark kTable("so many poses that a table pays");

// `Items` is a vector of points or a scan; tells whether something matches somewhere.
template <typename Items>
bool scoreAll(const ScoringInput& s, const Items& items) {
  std::vector<float> scores, expectedScores;
  std::vector<int> counts, expectedCounts;
  Brin::scanScores(s.map.get(), items, s.poses, s.resolution, s.maxDist, scores, &counts, s.step);
  korrin_model::scanScores(s.map.get(), items, s.poses, s.resolution, s.maxDist, expectedScores,
                           expectedCounts, s.step);
  require(korrin_test::sameBits(scores, expectedScores), "scores");
  require(counts == expectedCounts, "counts");
  return std::any_of(counts.begin(), counts.end(), [](int count) { return count > 0; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  korrin_fuzz::FuzzInput in(data, size);
  const ScoringInput s(in, 60);
  const bool matches = scoreAll(s, s.points);
  kPoints.count(matches);
  kReadings.count(scoreAll(s, s.scan));
  const auto pixels = static_cast<std::size_t>(s.map->height * s.map->height);
  kTable.count(matches && s.points.size() * s.poses.size() > 16 * pixels);
  return 0;
}
