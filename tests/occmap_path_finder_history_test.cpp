// One finder through a long life: maps that change their cells and sizes, settings that change
// between requests, requests that fail in between, searches that are continued. At every moment it
// answers as a model that keeps nothing but the fields.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "models/occmap_path_finder_model.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/path_searches.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::Pose2Di;
using korrin_model::PathFinderModel;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::sameSearch;

OccupancyMap someMap(RandomInputs& random) {
  korrin_test::MapBounds bounds;
  bounds.minSide = 3;  // cells are left also when three make one
  bounds.maxSide = random.chance(0.1) ? 70 : 12;
  bounds.levels = {0.0f, 0.2f, 0.5f, 0.9f, 1.0f, 1.0f, 1.0f, 1.0f};
  return random.map(bounds);
}

class Life {
 public:
  Life() {
    for (OccupancyMap& map : maps_) map = someMap(random_);
    choose(0);
  }

  // Something that may happen between two requests.
  void change() {
    switch (random_.between(0, 7)) {
      case 0:
        maps_[chosen_] = someMap(random_);
        break;
      case 1:
      case 2:
        for (int i = random_.between(1, 9); i > 0; --i) {
          const Pose2Di cell = random_.cellNear(maps_[chosen_], 0);
          maps_[chosen_].setCell(cell.x, cell.y, random_.pick<float>({0.0f, 0.2f, 1.0f}));
        }
        break;
      case 3:
        choose(random_.bits() % kMaps);
        break;
      case 4:
        model_.obstacleThreshold = random_.pick<float>({0.2f, 0.2f, 0.5f, 0.0f, 0.6f});
        finder_.setObstacleThreshold(model_.obstacleThreshold);
        break;
      case 5: {
        const int type = random_.between(0, 2);
        model_.setNeighborhoodType(type);
        finder_.setNeighborhoodType(static_cast<OccMapPathFinder::NeighborhoodType>(type));
        break;
      }
      case 6:
        factor_ = random_.pick<int>({1, 1, 1, 2, 3});
        finder_.setCoarseFactor(factor_);
        break;
      default:
        model_.hWeight = random_.pick<float>({0.5f, 0.5f, 0.0f, 1.0f});
        finder_.setHWeight(model_.hWeight);
        model_.angleCostFactor = random_.pick<float>({0.0f, 0.0f, 1.0f});
        finder_.setAngleCostFactor(model_.angleCostFactor);
    }
  }

  // A request of some kind; whether all that it leaves is the model's.
  ::testing::AssertionResult request() {
    switch (random_.between(0, 9)) {
      case 0:
        return byPoses();
      case 1:
        return refused();
      case 2:
        return goOn();
      case 3:
        return searchAgain();
      default:
        model_.coarseMap = korrin_model::coarserMap(maps_[chosen_], factor_);
        return byCells([this](const Pose2Di& from, const Pose2Di& to) {
          finder_.computePath(from, to, path_);
        });
    }
  }

  int paths = 0;
  int rejected = 0;
  int continued = 0;
  int otherSizes = 0;

 private:
  static constexpr std::size_t kMaps = 4;

  void choose(std::size_t map) {
    chosen_ = map;
    finder_.setOccMap(&maps_[map]);
  }

  template <typename Plan>
  ::testing::AssertionResult byCells(Plan plan) {
    const Pose2Di from = random_.cellNear(model_.coarseMap, random_.chance(0.1) ? 1 : 0);
    const Pose2Di to = random_.cellNear(model_.coarseMap, random_.chance(0.1) ? 1 : 0);
    model_.messages.clear();
    plan(from, to);
    const std::vector<Pose2Di> expected = model_.search(from, to);
    if (!sameBits(path_, expected)) return ::testing::AssertionFailure() << "another path";
    return sameNow();
  }

  // The coarse map as it is, without a look at the caller's.
  ::testing::AssertionResult searchAgain() {
    if (!hasSearched_) return ::testing::AssertionSuccess();
    return byCells([this](const Pose2Di& from, const Pose2Di& to) {
      finder_.xDoComputePath(from, to, path_);
    });
  }

  ::testing::AssertionResult byPoses() {
    const OccupancyMap& map = maps_[chosen_];
    const Pose2D from = random_.poseNear(map);
    const Pose2D to = random_.poseNear(map);
    std::vector<Pose2D> poses = {{1.0f, 2.0f, 3.0f}};
    model_.messages.clear();
    finder_.computePath(from, to, poses);
    if (!sameBits(poses, model_.planPoses(map, factor_, from, to))) {
      return ::testing::AssertionFailure() << "other poses";
    }
    return sameNow();
  }

  // No map or no factor: everything stays.
  ::testing::AssertionResult refused() {
    const bool withoutMap = random_.chance(0.5);
    withoutMap ? finder_.setOccMap(nullptr) : finder_.setCoarseFactor(0);
    path_ = {{1, 1, 1.0f}};
    finder_.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(0, 0, 0.0f), path_);
    finder_.setOccMap(&maps_[chosen_]);
    finder_.setCoarseFactor(factor_);
    if (!path_.empty()) return ::testing::AssertionFailure() << "a path without a map";
    ++rejected;
    return hasSearched_ ? sameFields() : ::testing::AssertionSuccess();
  }

  // To another goal, from where the last search ended; possible while the coarse map is its own.
  ::testing::AssertionResult goOn() {
    if (!hasSearched_ || searchedWidth_ != model_.coarseMap.image->width ||
        searchedHeight_ != model_.coarseMap.image->height) {
      return ::testing::AssertionSuccess();
    }
    finder_.end = model_.end = random_.cellNear(model_.coarseMap, 0);
    const bool found = model_.findPath();
    if (finder_.xFindPath() != found) return ::testing::AssertionFailure() << "going on";
    ++continued;
    return sameFields();
  }

  ::testing::AssertionResult sameNow() {
    const bool accepted = model_.messages.empty() || model_.messages[0].front() == 'N';
    (accepted ? paths : rejected) += 1;
    if (accepted) {
      const IplImage& image = *model_.coarseMap.image;
      otherSizes += image.width != searchedWidth_ || image.height != searchedHeight_ ? 1 : 0;
      searchedWidth_ = image.width;
      searchedHeight_ = image.height;
      hasSearched_ = true;
    }
    if (auto same = korrin_test::sameMap(finder_.coarseMap, model_.coarseMap); !same) {
      return same << " (coarse map)";
    }
    return hasSearched_ ? sameFields() : ::testing::AssertionSuccess();
  }

  ::testing::AssertionResult sameFields() {
    if (!sameBits(finder_.start, model_.start) || !sameBits(finder_.end, model_.end)) {
      return ::testing::AssertionFailure() << "another start or goal";
    }
    return sameSearch(finder_, model_);
  }

  RandomInputs random_{131};
  OccupancyMap maps_[kMaps] = {
      {1, 1, 1.0f, false}, {1, 1, 1.0f, false}, {1, 1, 1.0f, false}, {1, 1, 1.0f, false}};
  std::size_t chosen_ = 0;
  int factor_ = 1;
  OccMapPathFinder finder_{nullptr, 0.0f};
  PathFinderModel model_;
  std::vector<Pose2Di> path_;
  bool hasSearched_ = false;
  int searchedWidth_ = 0;
  int searchedHeight_ = 0;
};

TEST(PathFinderHistory, answersAsIfItRememberedNothingButItsFields) {
  const korrin_test::LogCapture log;
  Life life;
  for (int i = 0; i < 25000; ++i) {
    life.change();
    ASSERT_TRUE(life.request()) << "request " << i;
  }
  EXPECT_GT(life.paths, 3000);
  EXPECT_GT(life.rejected, 3000);
  EXPECT_GT(life.continued, 300);
  EXPECT_GT(life.otherSizes, 800);
}

}  // namespace
