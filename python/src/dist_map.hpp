// The module's ScanDistMap: a reference scan's distance map whose images outlive the next build
// while somebody looks at them.
#pragma once

#include <opencv2/core/core_c.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>
#include <utility>

#include "korrin/scan_matching.hpp"
#include "python/src/arrays.hpp"
#include "python/src/log.hpp"

namespace korrin_python {

using ScoreAndCount = std::pair<float, int>;

// The images of one build. Scores under way and arrays keep them while another build makes others.
struct Built {
  Brin::ScanDistMap map;

  Built() = default;
  ~Built() {
    cvReleaseImage(&map.laserImage);
    cvReleaseImage(&map.distanceMap);
  }
  Built(const Built&) = delete;
  Built& operator=(const Built&) = delete;
};

struct DistMap {
  float resolution = 0.0f;
  std::int32_t step = 1;
  std::shared_ptr<const Built> built = std::make_shared<Built>();

  void build(const Brin::Scan& scan, const Brin::Pose2D& pose, float metres) {
    auto fresh = std::make_shared<Built>();
    unlocked([&] { fresh->map.build(scan, pose, metres); });
    resolution = metres;
    built = std::move(fresh);
  }

  // The score and the count that `method` gives.
  template <typename Readings>
  ScoreAndCount score(float (Brin::ScanDistMap::*method)(const Readings&, const Brin::Pose2D&,
                                                         float, int*) const,
                      const Readings& readings, const Brin::Pose2D& pose, float maxDist) const {
    const std::shared_ptr<const Built> held = built;
    const Brin::ScanDistMap map = current();
    float value = 0.0f;
    int count = 0;
    unlocked([&] { value = (map.*method)(readings, pose, maxDist, &count); });
    return {value, count};
  }

  // The last build with what Python may have written since; ValueError before any. Its images live
  // as long as `built` does.
  Brin::ScanDistMap current() const {
    if (built->map.distanceMap == nullptr) {
      throw pybind11::value_error("build the distance map first");
    }
    Brin::ScanDistMap map = built->map;
    map.resolution = resolution;
    map.step = step;
    return map;
  }

  pybind11::object view(IplImage* Brin::ScanDistMap::*image) const {
    const IplImage* held = built->map.*image;
    if (held == nullptr) return pybind11::none();
    using Owner = std::shared_ptr<const Built>;
    const pybind11::capsule owner(new Owner(built),
                                  [](void* memory) { delete static_cast<Owner*>(memory); });
    return viewOf(*held, owner);
  }
};

}  // namespace korrin_python
