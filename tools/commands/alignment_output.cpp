#include "tools/commands/alignment_output.hpp"

#include <algorithm>
#include <cmath>

namespace korrin_tool {
namespace {

using Brin::Pose2D;
using Brin::io::LoggedScan;
using Brin::mapping::Alignment;
using Brin::mapping::AlignmentKind;

const char* nameOf(AlignmentKind kind) {
  switch (kind) {
    case AlignmentKind::Aligned:
      return "aligned";
    case AlignmentKind::Settled:
      return "settled";
    case AlignmentKind::Logged:
      break;
  }
  return "logged";
}

std::string countText(std::size_t number) { return formatCount(static_cast<std::int64_t>(number)); }

// How far matching moved the scans.
void describeShifts(const std::vector<LoggedScan>& before, const Alignment& aligned,
                    CommandOutput& output) {
  double sum = 0.0;
  double largest = 0.0;
  for (std::size_t i = 0; i < before.size(); ++i) {
    const Pose2D& from = before[i].pose;
    const Pose2D& to = aligned.scans[i].pose;
    const double shift = std::hypot(to.x - from.x, to.y - from.y);
    sum += shift;
    largest = std::max(largest, shift);
  }
  const double mean = sum / static_cast<double>(before.size());
  output.json["poses"] = nameOf(aligned.kind);
  output.json["meanShift"] = mean;
  output.json["largestShift"] = largest;
  if (aligned.kind == AlignmentKind::Logged) {
    output.line("poses", "as logged; matching found none better");
    return;
  }
  const std::string how = aligned.kind == AlignmentKind::Aligned
                              ? "aligned scan by scan, then settled"
                              : "settled from the logged ones";
  output.line("poses", how + "; moved " + formatMetres(mean) + " on average, " +
                           formatMetres(largest) + " at most");
}

void describeLoops(const Brin::mapping::AlignerSummary& summary, CommandOutput& output) {
  output.line("key scans", countText(summary.keyScans) + " of " + countText(summary.scans) +
                               (summary.unmatched > 0
                                    ? "; " + countText(summary.unmatched) + " scans fitted nowhere"
                                    : ""));
  output.line("loops", countText(summary.loopsFound) + " found, " +
                           countText(summary.loopsAccepted) + " accepted, " +
                           countText(summary.loopsDropped) + " of these dropped later");
  output.json["keyScans"] = summary.keyScans;
  output.json["unmatched"] = summary.unmatched;
  output.json["loopsFound"] = summary.loopsFound;
  output.json["loopsAccepted"] = summary.loopsAccepted;
  output.json["loopsDropped"] = summary.loopsDropped;
}

// Each loop, for scripts.
void listLoops(const Alignment& aligned, CommandOutput& output) {
  auto loops = nlohmann::ordered_json::array();
  for (const Brin::mapping::ScanLink& link : aligned.links) {
    if (link.kind != Brin::mapping::LinkKind::Loop) continue;
    loops.push_back({{"from", link.from},
                     {"to", link.to},
                     {"motion", {link.motion.x, link.motion.y, link.motion.theta}},
                     {"dropped", link.dropped}});
  }
  output.json["loops"] = loops;
}

// How far from its corrected end the logged way ends, both begun at the first scan.
void describeDrift(const std::vector<LoggedScan>& before, const Alignment& aligned,
                   CommandOutput& output) {
  const std::vector<LoggedScan>& after = aligned.scans;
  const Pose2D logged = before.front().pose.relProject(before.back().pose);
  const Pose2D corrected = after.front().pose.relProject(after.back().pose);
  const Pose2D off = corrected.relProject(logged);
  double way = 0.0;
  for (std::size_t i = 1; i < after.size(); ++i) {
    way += std::hypot(after[i].pose.x - after[i - 1].pose.x, after[i].pose.y - after[i - 1].pose.y);
  }
  const double drift = std::hypot(off.x, off.y);
  output.line("drift", formatMetres(drift) + " and " + formatDegrees(std::fabs(off.theta)) +
                           " corrected at the end of " + formatMetres(way));
  output.json["drift"] = drift;
  output.json["driftTurn"] = numberJson(off.theta);
  output.json["way"] = way;
}

}  // namespace

void describeAlignment(const std::vector<LoggedScan>& before, const Alignment& aligned,
                       CommandOutput& output) {
  describeShifts(before, aligned, output);
  describeLoops(aligned.summary, output);
  listLoops(aligned, output);
  describeDrift(before, aligned, output);
}

}  // namespace korrin_tool
