#include "korrin/safepathsimplifier.hpp"

#include <cstddef>
#include <sstream>
#include <string>

#include "korrin/core/log.hpp"
#include "src/safe_simplification.hpp"

namespace Brin {
namespace {

// The records of one call. Making a string stream takes longer than all else, so there is one.
class Records {
 public:
  explicit Records(PathSimplifier& simplifier) : simplifier_(simplifier) {}

  // The accuracy of a level is left in the simplifier, where callers can see it.
  void level(float accuracy) { simplifier_.samplingAccuracy = accuracy; }
  void sizeBefore(std::size_t size) { addSize("path size before ", size, 88); }
  void sizeAfter(std::size_t size) { addSize("path size after ", size, 96); }
  void stretchSize(std::size_t size) { addSize("subPath size ", size, 129); }
  void limitReached() { add(NavLogLevel::Info, "Limit reached !!!!", 76); }
  void notFinite() {
    add(NavLogLevel::Warning, "accuracy is not finite, the path is kept as it is.", __LINE__);
  }

 private:
  void add(NavLogLevel level, const std::string& message, int line) const {
    completeLog(level, message, file_, function_, line);
  }

  void addSize(const char* what, std::size_t size, int line) {
    message_.str({});
    message_ << what << size;
    add(NavLogLevel::Info, message_.str(), line);
  }

  PathSimplifier& simplifier_;
  std::string file_ = "src/safepathsimplifier";
  std::string function_ = "xRecursiveSample";
  std::ostringstream message_;
};

}  // namespace

SafePathSimplifier::SafePathSimplifier() : pathSimplifier(new PathSimplifier) {}

SafePathSimplifier::~SafePathSimplifier() { delete pathSimplifier; }

std::vector<Pose2D> SafePathSimplifier::sample(const std::vector<Pose2D>& path,
                                               const OccupancyMap& map) {
  return xRecursiveSample(path, map, initialSamplingAccuracy);
}

std::vector<Pose2D> SafePathSimplifier::xRecursiveSample(const std::vector<Pose2D>& path,
                                                         const OccupancyMap& map, float accuracy) {
  Records records(*pathSimplifier);
  return SafeSimplification<Records>({minSamplingAccuracy, accuracyDivisor, obstacleThreshold}, map,
                                     records)
      .run(path, accuracy);
}

std::vector<Pose2D>::const_iterator findClosestInVect(const std::vector<Pose2D>& v, const Pose2D& p,
                                                      float maxDist) {
  auto closest = v.end();
  float best = maxDist;
  for (auto it = v.begin(); it != v.end(); ++it) {
    const float distance = computeNorm(Point2D(it->x - p.x, it->y - p.y));
    if (best > distance) {
      closest = it;
      best = distance;
    }
  }
  return closest;
}

}  // namespace Brin
