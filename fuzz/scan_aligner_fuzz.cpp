// Drives a robot through two rooms, gives its scans and odometry to the aligner, now and then with
// readings and poses that are none, and holds the aligner to what it promises of all input. There
// is no model: the answers are compared with a second run of the same, bit for bit.
#include <cmath>

#include "fuzz/fuzz_target.hpp"
#include "korrin/mapping/mapping.hpp"
#include "support/laser_world.hpp"
#include "support/quiet.hpp"

namespace {

using Brin::Pose2D;
using Brin::io::LoggedScan;
using Brin::mapping::Alignment;
using Brin::mapping::AlignmentKind;
using Brin::mapping::PoseGraph;
using Brin::mapping::ScanAligner;
using Brin::mapping::ScanLink;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;

const Mark kMatched("a scan put where odometry does not have it");
const Mark kUnmatched("a scan that fits nowhere");
const Mark kLoop("a place found again");
const Mark kNoPose("odometry that is no pose");
const Mark kAligned("a log that was aligned");
const Mark kKept("a log whose poses were kept");

constexpr float kNoReturn = 81.91f;
constexpr float kFarthest = 1e7f;

bool isPose(const Pose2D& pose) {
  return std::fabs(pose.x) <= kFarthest && std::fabs(pose.y) <= kFarthest &&
         std::isfinite(pose.theta);
}

// The scans of a drive, at the poses that odometry tells.
std::vector<LoggedScan> drive(FuzzInput& in) {
  const korrin_test::LaserWorld world = korrin_test::LaserWorld::twoRooms();
  std::vector<LoggedScan> scans(static_cast<std::size_t>(in.between(0, 32)));
  Pose2D is(2.0f, 2.5f, 0.0f);
  Pose2D told = in.rarely(16) ? in.wildPose() : is;
  for (LoggedScan& logged : scans) {
    const float metres = in.pick({0.0f, 0.2f, 0.35f, 0.5f, -0.35f});
    const Pose2D step(metres, 0.0f, in.pick({0.0f, 0.0f, 0.25f, -0.25f, 1.2f}));
    is = is.absProject(step);
    told = told.absProject({step.x * 1.05f, 0.02f * step.x, step.theta * in.pick({1.0f, 1.1f})});
    logged.scan = world.scan(is, 60, kNoReturn);
    if (in.rarely(24)) logged.scan.readings = in.readings(40);
    logged.pose = in.rarely(16) ? in.wildPose() : told;
    logged.robot = logged.pose;
  }
  return scans;
}

void requireSound(const std::vector<ScanLink>& links, std::size_t scans, std::size_t accepted) {
  std::size_t loops = 0;
  for (const ScanLink& link : links) {
    require(link.from < link.to && link.to < scans, "ends of a link");
    require(std::isfinite(link.motion.x) && std::isfinite(link.motion.y), "motion of a link");
    const bool isLoop = link.kind == Brin::mapping::LinkKind::Loop;
    require(isLoop || !link.dropped, "a link that was dropped and is no loop");
    loops += isLoop ? 1 : 0;
  }
  require(loops == accepted, "number of loops");
}

void requireSound(const ScanAligner& aligner, std::size_t count) {
  const auto summary = aligner.summary();
  require(summary.scans == count && aligner.poses().size() == count, "number of scans");
  require(summary.keyScans == aligner.keyScans().size(), "number of key scans");
  require(summary.loopsDropped <= summary.loopsAccepted, "dropped loops");
  require(summary.loopsAccepted <= summary.loopsFound, "accepted loops");
  requireSound(aligner.links(), count, summary.loopsAccepted);
  const PoseGraph graph = aligner.graph();
  const PoseGraph back = Brin::mapping::parseG2o(Brin::mapping::toG2o(graph));
  require(back.nodes.size() == graph.nodes.size(), "nodes of the written graph");
  require(back.edges.size() == graph.edges.size(), "edges of the written graph");
  kUnmatched.count(summary.unmatched > 0);
  kLoop.count(summary.loopsAccepted > summary.loopsDropped);
}

std::vector<Pose2D> alignedPoses(const std::vector<LoggedScan>& scans) {
  ScanAligner aligner;
  for (const LoggedScan& logged : scans) {
    const Pose2D pose = aligner.add(logged.scan, logged.pose);
    require(korrin_test::sameBits(pose, aligner.poses().back()), "pose of the scan just added");
    require(std::isfinite(pose.x) && std::isfinite(pose.y), "a pose that is not finite");
    require(std::fabs(pose.theta) <= 3.1415927f, "a heading beyond a half turn");
    kNoPose.count(!isPose(logged.pose));
  }
  requireSound(aligner, scans.size());
  return aligner.poses();
}

void alignOneByOne(const std::vector<LoggedScan>& scans) {
  const std::vector<Pose2D> once = alignedPoses(scans);
  const std::vector<Pose2D> again = alignedPoses(scans);
  require(korrin_test::sameBits(once, again), "the same scans again");
  for (std::size_t i = 0; i < scans.size(); ++i) {
    const Pose2D off = scans[i].pose.relProject(once[i]);
    kMatched.count(isPose(scans[i].pose) && std::hypot(off.x, off.y) > 0.01f);
  }
}

void alignWhole(const std::vector<LoggedScan>& scans) {
  double last = 0.0;
  const Alignment aligned = Brin::mapping::alignLog(scans, {}, [&last](double share) {
    require(share >= last && share <= 1.0, "progress");
    last = share;
  });
  require(scans.empty() || last == 1.0, "progress at the end");
  require(aligned.scans.size() == scans.size(), "number of scans");
  for (std::size_t i = 0; i < scans.size(); ++i) {
    require(korrin_test::sameBits(aligned.scans[i].scan.readings, scans[i].scan.readings), "scan");
    const bool kept = korrin_test::sameBits(aligned.scans[i].pose, scans[i].pose);
    require(kept || aligned.kind != AlignmentKind::Logged, "a pose that was to be kept");
  }
  requireSound(aligned.links, scans.size(), aligned.summary.loopsAccepted);
  kAligned.count(aligned.kind == AlignmentKind::Aligned);
  kKept.count(aligned.kind == AlignmentKind::Logged && !scans.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const korrin_test::Quiet quiet;
  FuzzInput in(data, size);
  const bool isWhole = in.flag();
  const std::vector<LoggedScan> scans = drive(in);
  isWhole ? alignWhole(scans) : alignOneByOne(scans);
  return 0;
}
