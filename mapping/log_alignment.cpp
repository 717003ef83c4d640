#include "korrin/mapping/log_alignment.hpp"

#include <map>
#include <optional>
#include <stdexcept>

#include "korrin/mapping/grid_builder.hpp"
#include "mapping/aligner_core.hpp"
#include "mapping/settling.hpp"

namespace Brin::mapping {
namespace {

using Scans = std::vector<io::LoggedScan>;

// Shares of the whole progress.
constexpr double kAligned = 0.65;
constexpr double kSettled = 0.85;

std::optional<double> likelihoodOf(const Scans& scans, float resolution) {
  const auto frame = gridAround(scans, resolution);
  if (!frame) return std::nullopt;
  return judgeGrid(buildGrid(scans, *frame), scans).likelihood;
}

// The part of the whole progress from one share to another.
Progress partOf(const Progress& whole, double from, double to) {
  if (!whole) return {};
  return [&whole, from, to](double share) { whole(from + (to - from) * share); };
}

// The log's scans at the aligner's poses.
Scans scansOf(const AlignerCore& core, const Scans& logged) {
  Scans scans = logged;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    const GraphPose pose = core.pose(i);
    const Pose2D robotSeen = logged[i].pose.relProject(logged[i].robot);
    scans[i].pose = {static_cast<float>(pose.x), static_cast<float>(pose.y),
                     canonicalAngle(static_cast<float>(pose.theta))};
    scans[i].robot = scans[i].pose.absProject(robotSeen);
  }
  return scans;
}

Alignment alignmentOf(const AlignerCore& core, const Scans& logged, AlignmentKind kind) {
  Alignment alignment;
  alignment.scans = scansOf(core, logged);
  alignment.kind = kind;
  alignment.summary = core.summary();
  for (const KeyScan& key : core.graph.keys) alignment.keyScans.push_back(key.scan);
  alignment.links = core.graph.scanLinks();
  return alignment;
}

Alignment aligned(const Scans& scans, const AlignerSettings& settings, const Progress& progress) {
  AlignerCore core(settings);
  const Progress aligning = partOf(progress, 0.0, kAligned);
  for (std::size_t i = 0; i < scans.size(); ++i) {
    core.add(scans[i].scan, scans[i].pose);
    if (aligning) aligning(static_cast<double>(i + 1) / static_cast<double>(scans.size()));
  }
  core.graph.solve();
  settle(core, scans, partOf(progress, kAligned, kSettled));
  return alignmentOf(core, scans, AlignmentKind::Aligned);
}

Alignment settled(const Scans& scans, const AlignerSettings& settings) {
  AlignerCore core(settings);
  for (const io::LoggedScan& logged : scans) core.take(logged.scan, logged.pose);
  settle(core, scans, {});
  return alignmentOf(core, scans, AlignmentKind::Settled);
}

}  // namespace

Alignment alignLog(const Scans& scans, const AlignmentSettings& settings,
                   const Progress& progress) {
  if (!(settings.resolution > 0.0f)) throw std::invalid_argument("resolution: must be above 0");
  checkSettings(settings.aligner);
  if (scans.empty()) return {};
  Alignment best = aligned(scans, settings.aligner, progress);
  const std::optional<double> logged = likelihoodOf(scans, settings.resolution);
  const auto isBetter = [&](const Alignment& alignment) {
    const auto likelihood = likelihoodOf(alignment.scans, settings.resolution);
    return !logged || (likelihood && *likelihood > *logged);
  };
  if (!isBetter(best)) {
    const Alignment other = settled(scans, settings.aligner);
    best.kind = isBetter(other) ? AlignmentKind::Settled : AlignmentKind::Logged;
    best.scans = best.kind == AlignmentKind::Settled ? other.scans : scans;
  }
  if (progress) progress(1.0);
  return best;
}

PoseGraph graphOf(const Alignment& alignment) {
  PoseGraph graph;
  std::map<std::size_t, std::size_t> nodeOf;
  for (const std::size_t scan : alignment.keyScans) {
    const Pose2D& pose = alignment.scans.at(scan).pose;
    nodeOf[scan] = graph.nodes.size();
    graph.nodes.push_back({pose.x, pose.y, pose.theta});
  }
  for (const ScanLink& link : alignment.links) {
    if (link.dropped) continue;
    graph.edges.push_back(
        {nodeOf.at(link.from), nodeOf.at(link.to), link.motion, link.information, 0.0});
  }
  return graph;
}

}  // namespace Brin::mapping
