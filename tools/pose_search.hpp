// Where was a scan taken? Candidate poses are scored against the distance map of a reference scan.
//
//   korrin_tool::ReferenceScan reference(first, 0.025f, 0.2f);
//   korrin_tool::SearchWindow window;                          // half a metre, 20 degrees each way
//   auto found = korrin_tool::searchAllPoses(reference, korrin_tool::hitPoints(second), {},
//   window); robotMovedBy(found.best.pose);
//
// Poses are relative to the reference's frame: metres and radians.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"
#include "korrin/scan_matching.hpp"

namespace korrin_tool {

// The ends of the beams that hit something nearer than `maxRange` metres, in the sensor's frame.
std::vector<Brin::Point2D> hitPoints(const Brin::Scan& scan,
                                     float maxRange = std::numeric_limits<float>::infinity());

// The distance map of a reference scan at `resolution` metres a pixel. A point farther than
// `cutOff` metres from the reference's hits adds nothing to a score.
class ReferenceScan {
 public:
  ReferenceScan(const Brin::Scan& scan, float resolution, float cutOff);
  ~ReferenceScan();
  ReferenceScan(const ReferenceScan&) = delete;
  ReferenceScan& operator=(const ReferenceScan&) = delete;

  // From 0 to 1, a perfect fit.
  float score(const std::vector<Brin::Point2D>& points, const Brin::Pose2D& pose) const {
    return map_.score(points, pose, cutOff_, nullptr);
  }

 private:
  Brin::ScanDistMap map_;
  float cutOff_;
};

struct ScoredPose {
  Brin::Pose2D pose;
  float score = 0.0f;
};

// The poses centre + (i * step, j * step, k * turnStep) for all whole i, j and k that stay within
// `reach` and `turn` either way.
struct SearchWindow {
  float reach = 0.5f;           // metres
  float step = 0.025f;          // metres
  float turn = 0.34906585f;     // radians: 20 degrees
  float turnStep = 0.0043633f;  // radians: a quarter of a degree

  int shifts() const;  // the largest i and j
  int turns() const;   // the largest k
  std::int64_t poses() const;
};

struct SearchResult {
  ScoredPose best;            // of equally good poses the one nearest to the centre
  std::vector<float> scores;  // the best score of any heading at each shift, j by j, i ascending
};

// Scores every pose of the window. Time: poses times points.
SearchResult searchAllPoses(const ReferenceScan& reference,
                            const std::vector<Brin::Point2D>& points, const Brin::Pose2D& centre,
                            const SearchWindow& window);

// How much a search distrusts poses away from its guess: a pose d metres and a radians off loses
// perSquareMetre * d * d + perSquareRadian * a * a from its score. Where the scan leaves a
// direction open, as along a corridor, this keeps the guess.
struct Stiffness {
  float perSquareMetre;
  float perSquareRadian;
};

// The best pose near a good guess: on a grid of 0.05 m and half a degree, `shifts` and `turns`
// steps each way, then around the best of these at half and at a quarter of these steps. Its score
// is the one before the loss. A pose other than the guess is truly better than the guess.
ScoredPose refinePose(const ReferenceScan& reference, const std::vector<Brin::Point2D>& points,
                      const Brin::Pose2D& guess, const Stiffness& stiffness, int shifts, int turns);

}  // namespace korrin_tool
