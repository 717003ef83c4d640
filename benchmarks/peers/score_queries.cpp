// score: how well a scan fits the floor at each pose around the true one, with all that can be
// prepared prepared. score_first: the same on a floor that nothing is prepared for.
#include <mrpt/poses/CPose3D.h>
#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/occupancy_mapper.hpp"
#include "korrin/scan_matching.hpp"
#include "peers/agreement.hpp"
#include "peers/mrpt_inputs.hpp"
#include "peers/queries.hpp"

namespace korrin_peers {
namespace {

using Brin::Pose2D;
using mrpt::maps::COccupancyGridMap2D;

constexpr float kFieldOfView = 3.14159274f;
constexpr float kMaxRange = 10.0f;
constexpr float kMaxDist = 0.5f;
constexpr int kBeams = 361;

// In the upper right part of every floor, so that most points lie right of and above the middle of
// our picture: truncation towards zero moves those on the other sides by up to a pixel.
constexpr std::size_t kPlace = 28;

struct Search {
  Pose2D truth;
  std::vector<Brin::RangeReading> readings;  // taken at `truth`, hits only
  std::vector<Brin::Point2D> points;
  std::vector<Pose2D> poses;  // +-0.25 m along both axes, +-10 degrees
};

Search makeSearch(const Floor& given) {
  Floor floor = given;
  const Brin::OccupancyMapper mapper(&floor.map);
  Search search;
  search.truth = floor.places[kPlace];
  mapper.simulateScan(search.truth, kFieldOfView, 0.0f, kMaxRange, kBeams, search.readings,
                      kObstacleThreshold);
  for (const Brin::RangeReading& reading : search.readings) {
    if (reading.status == 0) search.points.push_back(reading.toPoint2D());
  }
  for (int turn = -10; turn <= 10; ++turn) {
    for (int y = -5; y <= 5; ++y) {
      for (int x = -5; x <= 5; ++x) {
        search.poses.emplace_back(search.truth.x + 0.05f * static_cast<float>(x),
                                  search.truth.y + 0.05f * static_cast<float>(y),
                                  search.truth.theta + 0.0174533f * static_cast<float>(turn));
      }
    }
  }
  return search;
}

using Scores = std::vector<double>;  // one a pose

void report(benchmark::State& state, const Search& search, const Scores& scores) {
  const auto pointPoses = static_cast<std::int64_t>(search.points.size() * search.poses.size());
  state.SetItemsProcessed(state.iterations() * pointPoses);
  const auto best = std::max_element(scores.begin(), scores.end()) - scores.begin();
  const Pose2D& found = search.poses[static_cast<std::size_t>(best)];
  state.counters["points"] = static_cast<double>(search.points.size());
  state.counters["poses"] = static_cast<double>(search.poses.size());
  state.counters["off_truth_m"] = std::hypot(static_cast<double>(found.x) - search.truth.x,
                                             static_cast<double>(found.y) - search.truth.y);
  state.counters["off_truth_deg"] =
      std::fabs(static_cast<double>(found.theta) - search.truth.theta) * 180.0 / 3.14159265358979;
}

// Black where the floor is occupied; square, as distance maps have to be.
Brin::ImagePtr pictureOf(const Floor& floor) {
  const Brin::OccupancyMap& map = floor.map;
  const int side = std::max(map.params.width, map.params.height);
  Brin::ImagePtr picture = Brin::makeImage(cvSize(side, side), IPL_DEPTH_8U, 1);
  cvSet(picture.get(), cvScalarAll(255));
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      if (map.getCell(x, y) < kObstacleThreshold) cvSetReal2D(picture.get(), y, x, 0.0);
    }
  }
  return picture;
}

// The floor as a reference to score against, and the search in its frame.
class Reference {
 public:
  explicit Reference(const Floor& floor)
      : resolution_(floor.map.params.resolution), picture_(pictureOf(floor)) {
    const int half = picture_->height / 2;
    const Pose2D middle = floor.map.getPoseFromPixel({half, half, 0.0f});
    for (const Pose2D& pose : makeSearch(floor).poses) poses_.push_back(middle.relProject(pose));
  }

  void prepare() {
    IplImage* picture = picture_.get();
    IplImage* distances = distances_.release();
    Brin::buildLaserDistance({}, {}, &picture, &distances, resolution_);
    distances_.reset(distances);
  }

  void search(const std::vector<Brin::Point2D>& points, Scores& scores) const {
    scores.clear();
    for (const Pose2D& pose : poses_) {
      scores.push_back(static_cast<double>(Brin::scanScore(
          distances_.get(), points, pose, resolution_, kMaxDist, nullptr, nullptr, 1)));
    }
  }

 private:
  float resolution_;
  Brin::ImagePtr picture_;
  Brin::ImagePtr distances_;
  std::vector<Pose2D> poses_;
};

void scoreWithKorrin(benchmark::State& state, const Floor& floor) {
  const Search search = makeSearch(floor);
  Reference reference(floor);
  reference.prepare();
  Scores scores;
  for (auto _ : state) reference.search(search.points, scores);
  report(state, search, scores);
}

void firstScoreWithKorrin(benchmark::State& state, const Floor& floor) {
  const Search search = makeSearch(floor);
  Reference reference(floor);
  Scores scores;
  for (auto _ : state) {
    reference.prepare();
    reference.search(search.points, scores);
  }
  report(state, search, scores);
}

COccupancyGridMap2D scoringGrid(const Floor& floor) {
  COccupancyGridMap2D grid = mrptGrid(floor.map);
  grid.likelihoodOptions.likelihoodMethod = COccupancyGridMap2D::lmLikelihoodField_Thrun;
  grid.likelihoodOptions.LF_decimation = 1;
  grid.likelihoodOptions.LF_maxCorrsDistance = kMaxDist;
  grid.likelihoodOptions.LF_maxRange = kMaxRange;
  return grid;
}

struct MrptSearch {
  mrpt::obs::CObservation2DRangeScan scan;
  std::vector<mrpt::poses::CPose3D> poses;

  explicit MrptSearch(const Search& search)
      : scan(mrptScan(search.readings, kFieldOfView, kMaxRange)) {
    for (const Pose2D& pose : search.poses) poses.emplace_back(mrptPose(pose));
  }
  void run(const COccupancyGridMap2D& grid, Scores& scores) const {
    scores.clear();
    for (const auto& pose : poses) scores.push_back(grid.computeObservationLikelihood(scan, pose));
  }
};

void scoreWithMrpt(benchmark::State& state, const Floor& floor) {
  const Search search = makeSearch(floor);
  const MrptSearch theirs(search);
  const COccupancyGridMap2D grid = scoringGrid(floor);
  Scores scores;
  theirs.run(grid, scores);  // fills the cache of likelihoods
  for (auto _ : state) theirs.run(grid, scores);
  report(state, search, scores);

  Reference reference(floor);
  reference.prepare();
  Scores ours;
  reference.search(search.points, ours);
  state.counters["rank_correlation"] = rankCorrelation(ours, scores);
}

void firstScoreWithMrpt(benchmark::State& state, const Floor& floor) {
  const Search search = makeSearch(floor);
  const MrptSearch theirs(search);
  const COccupancyGridMap2D unused = scoringGrid(floor);
  Scores scores;
  for (auto _ : state) {
    state.PauseTiming();
    const COccupancyGridMap2D grid = unused;
    state.ResumeTiming();
    theirs.run(grid, scores);
  }
  report(state, search, scores);
}

}  // namespace

void registerScoreQueries() {
  onEveryFloor("score", "korrin", scoreWithKorrin);
  onEveryFloor("score", "mrpt", scoreWithMrpt);
  onEveryFloor("score_first", "korrin", firstScoreWithKorrin);
  onEveryFloor("score_first", "mrpt", firstScoreWithMrpt);
}

}  // namespace korrin_peers
