// Scores points and scans on distance maps.
#include "fuzz/fuzz_target.hpp"
#include "fuzz/scoring_input.hpp"
#include "korrin/scan_matching.hpp"
#include "models/scan_matching_model.hpp"

namespace {

using Brin::ImagePtr;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_fuzz::ScoringInput;
using korrin_test::sameBits;
using korrin_test::sameImage;

const Mark kPoints("points match");
const Mark kReadings("readings match");
const Mark kPixels("points in pixels match");
const Mark kNone("nothing to score");

ImagePtr whiteImage(CvSize size) {
  ImagePtr image = Brin::makeImage(size, IPL_DEPTH_8U, 1);
  std::fill_n(image->imageData, image->imageSize, '\xff');
  return image;
}

// `Items` is a vector of points or a scan; returns the count of matches.
template <typename Items>
int score(const ScoringInput& s, const Items& items) {
  const Brin::Pose2D pose = s.poses.front();
  const ImagePtr debug = whiteImage(cvGetSize(s.map.get()));
  const ImagePtr expectedDebug = whiteImage(cvGetSize(s.map.get()));
  IplImage* slot = debug.get();
  int count = -77, expectedCount = -77;
  const float score =
      Brin::scanScore(s.map.get(), items, pose, s.resolution, s.maxDist, &count, &slot, s.step);
  const float expected = korrin_model::scanScore(s.map.get(), items, pose, s.resolution, s.maxDist,
                                                 &expectedCount, expectedDebug.get(), s.step);
  require(sameBits(score, expected) && count == expectedCount, "scanScore");
  require(sameImage(debug.get(), expectedDebug.get()), "debug image");
  const float plain =
      Brin::scanScore(s.map.get(), items, pose, s.resolution, s.maxDist, &count, nullptr, s.step);
  require(sameBits(plain, expected) && count == expectedCount, "scanScore without debug image");
  return count;
}

int scorePixels(const ScoringInput& s) {
  Brin::ScanDistMap matcher;
  matcher.distanceMap = s.map.get();
  matcher.resolution = s.resolution;
  matcher.step = s.step;
  int count = -77, expectedCount = -77;
  const float score = matcher.scorePxlScan(s.points, s.poses.front(), s.maxDist, &count);
  const float expected = korrin_model::scorePxlScan(
      s.map.get(), s.points, s.poses.front(), s.resolution, s.maxDist, &expectedCount, s.step);
  require(sameBits(score, expected) && count == expectedCount, "scorePxlScan");
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  korrin_fuzz::FuzzInput in(data, size);
  const ScoringInput s(in, 1);
  kPoints.count(score(s, s.points) > 0);
  const int readings = score(s, s.scan);
  kReadings.count(readings > 0);
  kNone.count(readings == -77);
  kPixels.count(scorePixels(s) > 0);
  return 0;
}
