#include "mapping/agreement.hpp"

namespace Brin::mapping {
namespace {

constexpr double kNear = 0.15;   // metres between hits of one surface
constexpr double kBehind = 0.4;  // metres that a beam must go on behind a point to contradict it

enum class Verdict { Unknown, Matched, Violated };

Verdict verdictOn(double x, double y, const std::vector<PlacedSurface>& references) {
  Verdict verdict = Verdict::Unknown;
  for (const PlacedSurface& reference : references) {
    const double seenX = reference.frame.inX(x, y);
    const double seenY = reference.frame.inY(x, y);
    if (reference.surface->nearest(seenX, seenY, kNear) != nullptr) return Verdict::Matched;
    if (verdict == Verdict::Unknown && reference.surface->looksThrough(seenX, seenY, kBehind)) {
      verdict = Verdict::Violated;
    }
  }
  return verdict;
}

}  // namespace

double Agreement::ratio() const {
  const int told = matched + violated;
  return told > 0 ? static_cast<double>(matched) / told : 0.0;
}

double Agreement::share() const { return points > 0 ? static_cast<double>(matched) / points : 0.0; }

Agreement agreementOf(const std::vector<PlacedSurface>& scans,
                      const std::vector<PlacedSurface>& references, std::size_t stride) {
  Agreement agreement;
  for (const PlacedSurface& scan : scans) {
    const std::vector<SurfacePoint>& points = scan.surface->points();
    for (std::size_t i = 0; i < points.size(); i += stride) {
      const Verdict verdict = verdictOn(scan.frame.outX(points[i].x, points[i].y),
                                        scan.frame.outY(points[i].x, points[i].y), references);
      ++agreement.points;
      agreement.matched += verdict == Verdict::Matched ? 1 : 0;
      agreement.violated += verdict == Verdict::Violated ? 1 : 0;
    }
  }
  return agreement;
}

}  // namespace Brin::mapping
