// Branch and bound over the blocks of a grid of poses: the poses of pose_search.hpp, one after the
// other from the best one on.
//
//   BlockSearch search(tables, points, grid, separation);
//   while (search.findNext()) use(search.found());
//
// A block is a square of 2^level x 2^level poses of one heading, counted from the grid's first
// pose. Poses are compared by score and, where scores are equal, by their place in the grid's
// order. A block is dropped where its bound is below the best score so far, or equal to it and the
// block's first pose comes later than the best one. All blocks of one level are the roots; they are
// searched from the highest bound down, and each depth first, which needs little memory.
//
// Where the grid's steps are whole pixels (pixel_steps.hpp), blocks are divided into four by four,
// whose bounds are found together; elsewhere into two by two, one by one.
#pragma once

#include <cstdint>
#include <vector>

#include "korrin/pose_search.hpp"
#include "src/picture_frame.hpp"
#include "src/pixel_steps.hpp"
#include "src/score_pyramid.hpp"

namespace Brin {

struct SearchTables {
  float inv;     // pixels per metre
  float cutOff;  // pixels
  int step;
  PictureFrame frame;
  ScorePyramid pyramid;

  // Of points that are all visited.
  float score(const std::vector<Point2D>& points, const Pose2D& pose) const;
};

// How far answers are from each other.
struct Separation {
  float metres;
  float radians;
};

class BlockSearch {
 public:
  // Keeps what it is given by reference. `grid` has poses.
  BlockSearch(const SearchTables& tables, const std::vector<Point2D>& points, const PoseGrid& grid,
              const Separation& separation);
  BlockSearch(const BlockSearch&) = delete;
  BlockSearch& operator=(const BlockSearch&) = delete;

  // Finds the best pose elsewhere than all those found before; false where there is none.
  bool findNext();
  // The last one found.
  ScoredPose found() const { return {poseOf(answers_.back()), bestScore_}; }

 private:
  struct Cell {  // of the grid, counted from its first pose
    std::int32_t i;
    std::int32_t j;
    std::int32_t k;
  };
  struct Block {
    std::int64_t bound;
    Cell first;
    std::int32_t level;
  };
  // One of the grid's headings with the points turned by it.
  struct Heading {
    std::vector<float> x;
    std::vector<float> y;
    std::vector<PixelPoint> pixels;  // the same seen from the grid's first pose, if that helps
    std::int64_t unplaced = 0;       // points that it does not help with
  };

  void chooseBounds();
  void chooseLevels();
  void chooseHeadings();
  std::int64_t rootsAt(std::int32_t level) const;
  float scoreOfSum(float sum) const;
  float scoreUpTo(std::int64_t levels) const;
  std::int64_t leastAbove(float score, bool orEqual) const;

  void enterHeadings(std::int32_t first);
  Heading headingOf(std::int32_t k) const;
  void boundRoots(std::int32_t k);
  void setRoot(const Block& root);
  Block rootAt(std::size_t index) const;
  std::vector<Block> promisingRoots() const;

  void searchBelow(const Block& block);
  void visit(const Block& block, std::vector<Block>& parts);
  void addParts(const Block& block, std::vector<Block>& parts) const;
  bool boundTogether(const Block& block, std::int64_t bounds[16]) const;
  std::int64_t boundOf(const Cell& first, std::int32_t level) const;
  void tryPose(const Cell& cell);

  Pose2D poseOf(const Cell& cell) const;
  Cell lastOf(const Cell& first, std::int32_t level) const;
  static bool isEarlier(const Cell& a, const Cell& b);
  static bool isLater(const Block& a, const Block& b);
  const Heading& at(std::int32_t k) const {
    return headings_[static_cast<std::size_t>(k - firstHeading_)];
  }
  std::int64_t neededFrom(const Cell& first) const;
  bool isTaken(const Cell& cell) const;
  bool isWhollyTaken(const Cell& first, std::int32_t level) const;

  const SearchTables& tables_;
  const std::vector<Point2D>& points_;
  const PoseGrid& grid_;
  const Separation separation_;
  const Cell size_;  // of the grid
  const PixelSteps steps_;

  bool isBlind_ = false;  // bounds tell nothing but the highest score that any pose can have
  float highest_ = 0.0f;
  std::int64_t mostLevels_ = 0;
  bool boundsTogether_ = false;   // of sixteen parts of a block
  std::int32_t levelsDown_ = 1;   // from a block to its parts
  std::vector<int> tableLevels_;  // by the level of a block
  std::int32_t rootLevel_ = 0;
  struct {
    std::int64_t i;
    std::int64_t j;
  } rootsAlong_{};
  std::int64_t rootUnit_ = 1;  // what the bounds of roots are counted in
  std::int32_t headingsAtOnce_ = 1;

  std::int32_t firstHeading_ = -1;  // of those at hand
  std::vector<Heading> headings_;
  std::vector<std::int32_t> roots_;  // their bounds, in the grid's order
  std::vector<Block> stack_;

  std::vector<Cell> answers_;
  bool hasBest_ = false;
  Cell best_{};
  float bestScore_ = 0.0f;
  std::int64_t neededEarlier_ = 0;  // of a block that begins before the best pose
  std::int64_t neededLater_ = 0;
};

}  // namespace Brin
