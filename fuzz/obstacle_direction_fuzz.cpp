// Asks on which side of a cell the obstacles are; the records count too.
#include "fuzz/ray_reach.hpp"
#include "korrin/occupancymap_utils.hpp"
#include "models/occupancymap_utils_direction_model.hpp"
#include "support/log_capture.hpp"

namespace {

using korrin_fuzz::Mark;
using korrin_fuzz::require;

const Mark kDirection("a direction");
const Mark kMoved("a direction from inside an obstacle");
const Mark kAround("obstacles all around");
const Mark kNothing("no obstacles");
const Mark kFar("rays too long for the model");

bool sameRecord(const Brin::LogRecord& a, const korrin_model::DirectionRecord& b) {
  return a.message == b.message && a.line == b.line && static_cast<int>(a.level) == b.level;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  korrin_fuzz::FuzzInput in(data, size);
  const korrin_test::LogCapture log;
  const Brin::OccupancyMap map = in.map(40);
  const Brin::Pose2Di start = in.cell(map);
  const float threshold = in.pickOrAny({0.45f, 0.2f, 0.5f, 0.7f, 1.0f, -1.0f});
  const float range = in.pickOrAny({2.0f, 0.5f, 5.0f});

  float direction = 77.5f, expected = 77.5f;
  const bool found = Brin::findObstaclesMainDirection(map, start, range, direction, threshold);
  const auto records = log.records();
  const bool isInReach = korrin_fuzz::raysAreInReach(map, start);
  kFar.count(!isInReach);
  if (!isInReach) return 0;
  std::vector<korrin_model::DirectionRecord> wanted;
  require(found == korrin_model::findObstaclesMainDirection(map, start, range, expected, threshold,
                                                            wanted),
          "result");
  require(korrin_test::sameBits(direction, expected), "direction");
  require(std::equal(records.begin(), records.end(), wanted.begin(), wanted.end(), sameRecord),
          "records");
  kDirection.count(found);
  kMoved.count(found && wanted.front().line == 78);
  kAround.count(found && wanted.back().line == 123);
  kNothing.count(!found && wanted.back().line == 113);
  return 0;
}
