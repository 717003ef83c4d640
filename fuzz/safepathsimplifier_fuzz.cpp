// Simplifies paths on maps; the records that the steps leave count too.
#include "fuzz/fuzz_target.hpp"
#include "korrin/safepathsimplifier.hpp"
#include "models/safepathsimplifier_model.hpp"
#include "support/log_capture.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::SafePathSimplifier;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using Path = std::vector<Brin::Pose2D>;

const Mark kShortened("a path loses poses");
const Mark kRefined("a blocked segment is refined");
const Mark kLimit("the finest level is reached");
const Mark kRevisited("places visited twice");
const Mark kNotFinite("an accuracy that is not finite");

// The warning of the model has no line.
bool sameRecord(const Brin::LogRecord& a, const Brin::LogRecord& b) {
  return a.message == b.message && a.level == b.level && a.function == b.function &&
         (a.line == b.line || b.line == 0);
}

// Some places again, so that paths return to where they were.
Path pathWithReturns(FuzzInput& in, const OccupancyMap& map, int most) {
  Path path = in.path(map, most);
  if (path.empty()) return path;
  for (int i = in.between(0, 3); i > 0; --i) path.push_back(path[in.byte() % path.size()]);
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  // Accuracies without end make millions of records of twenty poses, within the bounds that the
  // library promises but not within a fuzzer's: then paths are short.
  const bool anySettings = in.rarely(64);
  const auto setting = [&](std::initializer_list<float> usual) {
    return anySettings ? in.anyFloat() : in.pick(usual);
  };
  SafePathSimplifier simplifier;
  simplifier.initialSamplingAccuracy = setting({300.0f, 5.0f, 40.0f, 2000.0f, 4.9f});
  simplifier.minSamplingAccuracy = setting({5.0f, 5.0f, 2.0f});
  simplifier.accuracyDivisor = setting({2.0f, 2.0f, 3.0f, 20.0f, 1.0f, -1.0f});
  simplifier.obstacleThreshold = in.pickOrAny({0.1f, 0.3f, 0.5f});
  const OccupancyMap map = in.map(30);
  const Path path = pathWithReturns(in, map, anySettings ? 3 : 12);

  korrin_test::LogCapture log;
  const Path actual = simplifier.sample(path, map);
  const auto records = log.records();
  log.clear();
  korrin_model::SafeSampleState state;
  const Path expected = korrin_model::safeSample(
      path, map,
      {simplifier.minSamplingAccuracy, simplifier.accuracyDivisor, simplifier.obstacleThreshold},
      simplifier.initialSamplingAccuracy, 1, state);
  require(korrin_test::sameBits(actual, expected), "path");
  const auto wanted = log.records();
  require(std::equal(records.begin(), records.end(), wanted.begin(), wanted.end(), sameRecord),
          "records");

  const auto left = [&](const char* text) {
    return std::any_of(records.begin(), records.end(), [text](const Brin::LogRecord& record) {
      return record.message.find(text) != std::string::npos;
    });
  };
  kShortened.count(actual.size() < path.size());
  kRefined.count(left("subPath"));
  kLimit.count(left("subPath") && left("Limit"));
  kRevisited.count(state.surplus > 0);
  kNotFinite.count(left("finite"));
  return 0;
}
