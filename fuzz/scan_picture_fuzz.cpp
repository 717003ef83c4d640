// Draws the picture of a scan and builds its distance map.
#include "core/image_ptr.hpp"
#include "fuzz/fuzz_target.hpp"
#include "korrin/scan_matching.hpp"
#include "models/core/image_model.hpp"
#include "models/distance_transform_model.hpp"

namespace {

using Brin::ImagePtr;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_test::sameImage;

const Mark kSeveral("several hits drawn");
const Mark kAgain("drawn over by a scan that needs another size");
const Mark kNothing("nothing to draw");

// A larger picture is too slow to draw at every turn.
constexpr int kMostSide = 400;

void build(FuzzInput& in, Brin::ScanDistMap& built) {
  Brin::Scan scan;
  scan.readings = in.readings(30);
  const Brin::Pose2D pose(in.someFloat(), in.someFloat(), in.someFloat());
  const float resolution = in.pickOrAny({0.1f, 0.2f, 0.3f, 1.0f});
  const auto hits = korrin_model::hitsOf(scan, pose.theta, resolution);
  const int side = korrin_model::neededSide(hits);
  if (side > kMostSide) return;
  kAgain.count(built.laserImage != nullptr && built.laserImage->width != side);
  kNothing.count(hits.empty());
  kSeveral.count(hits.size() > 2);
  built.build(scan, pose, resolution);

  const ImagePtr picture = Brin::makeImage(cvSize(side, side), IPL_DEPTH_8U, 1);
  const auto rows = korrin_model::drawHits(hits, side, '\xff', '\0');
  for (int y = 0; y < side; ++y) {
    const std::string& row = rows[static_cast<std::size_t>(y)];
    std::copy(row.begin(), row.end(), Brin::imageRow<char>(*picture, y));
  }
  require(sameImage(built.laserImage, picture.get()), "picture");
  const ImagePtr distances = Brin::makeImage(cvSize(side, side), IPL_DEPTH_32F, 1);
  korrin_model::chamferDistances(picture.get(), distances.get());
  require(sameImage(built.distanceMap, distances.get()), "distance map");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  Brin::ScanDistMap built;
  for (int i = in.between(1, 3); i > 0; --i) build(in, built);
  cvReleaseImage(&built.laserImage);
  cvReleaseImage(&built.distanceMap);
  return 0;
}
