// Corrected poses for scans as they come in: each is matched with those before it, and places that
// are found again close loops.
//
//   Brin::mapping::ScanAligner aligner;
//   const Brin::Pose2D sensor = aligner.add(scan, odometry);         // for each, where it is
//   if (aligner.summary().loopsAccepted > 0) draw(aligner.poses());  // all may have moved
//
// What happens to a scan, in the order of the steps:
//
//   1. The odometry's motion since the scan before gives a guess. The scan is fitted to the
//      last key scans from there, and from the best pose of a window around (Olson, "Real-time
//      correlative scan matching", 2009), by least squares of distances from lines (Censi 2008).
//      The window grows where nothing fits well: odometry may turn by a quarter of a circle at
//      once. A scan that fits nowhere stays where odometry has it.
//   2. A scan 0.3 m or 0.2 radians away from the last key scan becomes one itself, a node of a pose
//      graph. Fits to the four before it are links of the graph, and so is odometry, loosely.
//   3. Key scans that the graph holds near for sure, from earlier on the way, are fitted at once:
//      each fit that both scans' free space agrees with is a loop.
//   4. Where the graph is not sure, older key scans within reach of the uncertainty are searched:
//      the last four metres of the way, laid over four metres each way around an old key scan, by
//      branch and bound (Hess et al., "Real-time loop closure in 2D LIDAR SLAM", 2016). What scores
//      well, matches at least half of its points, has no rival elsewhere in the window, tells of
//      both directions, as a bare corridor does not, and contradicts no free space is a suggestion.
//      Three that agree with each other over 2.5 m of the way are loops (as in Mangelson et al.,
//      "Pairwise consistent measurement set maximization", 2018). One that has rivals waits.
//   5. The graph is solved (PoseGraph) when loops came. Then a loop that is off by 0.3 m, 3.4
//      degrees or four deviations contradicts the rest: it is dropped, counted, and the rest solved
//      again.
//
// The same scans and poses give the same bits, whatever the machine has for threads: there is one.
// Bits may differ with releases of the libraries underneath.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/scan.hpp"
#include "korrin/mapping/pose_graph.hpp"

namespace Brin::mapping {

// How scans are aligned.
struct AlignerSettings {
  float keyDistance = 0.3f;  // metres from one key scan to the next; above 0
  float keyTurn = 0.2f;      // or radians; above 0
  float maxRange = 30.0f;    // metres; hits farther out are not matched. Above 0
  bool closesLoops = true;   // without, steps 3 to 5 are left out
};

// What links two key scans.
enum class LinkKind : std::int32_t {
  Odometry = 0,  // the motion that was told
  Match = 1,     // a fit of one to the other, closely after it
  Loop = 2       // a place that was found again
};

// A link of the pose graph.
struct ScanLink {
  std::size_t from = 0;                // number of the scan, from 0 on, as it was added
  std::size_t to = 0;                  // of a later one
  GraphPose motion;                    // of `to`, seen from `from`
  GraphInformation information;        // how sure it is
  LinkKind kind = LinkKind::Odometry;  // where it comes from
  bool dropped = false;                // a loop that contradicted the rest, and counts no longer
};

// What has happened so far.
struct AlignerSummary {
  std::size_t scans = 0;          // added
  std::size_t keyScans = 0;       // of these, the nodes of the graph
  std::size_t unmatched = 0;      // scans that fitted nowhere, and stay where odometry has them
  std::size_t loopsFound = 0;     // loops and suggestions, those waiting for others included
  std::size_t loopsAccepted = 0;  // those that became links of the graph
  std::size_t loopsDropped = 0;   // of these, the ones that contradicted the rest later
};

class AlignerCore;

// Aligns scans. Not safe from several threads at once.
class KORRIN_EXPORT ScanAligner {
 public:
  // A setting that is not above 0, or not a number, is std::invalid_argument, which names it.
  explicit ScanAligner(const AlignerSettings& settings = {});
  ScanAligner(ScanAligner&&) noexcept;
  ScanAligner& operator=(ScanAligner&&) noexcept;
  ~ScanAligner();

  // Takes a scan, and the pose of the scanner that odometry gave it (any frame that stays the same;
  // with no odometry the same pose each time). Returns the pose where it was found to be; the first
  // scan's is the odometry's own.
  //
  // Anything may come: scans without hits stay where odometry has them; a pose with a coordinate
  // that is not a number, or beyond 1e7, counts as not having moved. Readings that are no hits
  // (status other than 0) or not numbers are left out.
  //
  // When memory runs out (std::bad_alloc, or OpenCV's error) the scan counts as not added, and all
  // is as it was before; but Ceres Solver, which solves the graph, ends the program when memory
  // runs out within it.
  //
  // Time: some milliseconds, and tens of them when loops are looked for; it grows with the number
  // of key scans. Memory: key scans are kept.
  Pose2D add(const Scan& scan, const Pose2D& odometry);

  // The poses of all scans, as corrected by now. Linear.
  std::vector<Pose2D> poses() const;

  // Numbers of the key scans, rising. Linear.
  std::vector<std::size_t> keyScans() const;

  // All links, dropped ones included, in the order they were made. Linear.
  std::vector<ScanLink> links() const;

  // The graph as it is solved: a node for each key scan, an edge for each link that is not dropped.
  // Linear.
  PoseGraph graph() const;

  // What has happened so far. Linear in the links.
  AlignerSummary summary() const;

 private:
  std::unique_ptr<AlignerCore> core_;
};

}  // namespace Brin::mapping
