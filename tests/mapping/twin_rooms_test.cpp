// Rooms that look alike: the loops that a robot would like to see between them are wrong.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/mapping/drives.hpp"

namespace korrin_test {
namespace {

using Brin::Pose2D;
using Brin::mapping::ScanAligner;

constexpr float kQuarter = 1.57079633f;
constexpr float kFirstRoom = 8.0f;                // metres, where its left wall is
constexpr float kWidth = 24.0f, kHeight = 16.0f;  // metres, of a block with its corridor

struct Slip {
  float drift;
  float scale;
};

constexpr Slip kSlips[] = {{0.01f, 1.02f}, {-0.01f, 0.97f}, {0.0f, 1.06f}, {0.004f, 1.0f}};

class Walls {
 public:
  void wall(float fromX, float fromY, float toX, float toY) {
    walls_.push_back({{fromX, fromY}, {toX, toY}});
  }
  void box(float left, float bottom, float right, float top) {
    wall(left, bottom, right, bottom);
    wall(right, bottom, right, top);
    wall(right, top, left, top);
    wall(left, top, left, bottom);
  }
  // A room above y = 3 with a door to the corridor below; what stands in it is in all rooms.
  void room(float left) {
    wall(left, 3.0f, left + 1.0f, 3.0f);
    wall(left + 2.0f, 3.0f, left + 3.0f, 3.0f);
    wall(left, 3.0f, left, 6.0f);
    wall(left, 6.0f, left + 3.0f, 6.0f);
    wall(left + 3.0f, 6.0f, left + 3.0f, 3.0f);
    box(left + 0.3f, 5.2f, left + 1.0f, 5.6f);
    wall(left + 2.6f, 4.0f, left + 3.0f, 4.0f);
  }
  LaserWorld world() const { return LaserWorld(walls_); }

 private:
  std::vector<Wall> walls_;
};

// A bare corridor around a block, with equal rooms in the block; metres outside.
LaserWorld blockWith(const std::vector<float>& rooms, float width = kWidth,
                     float height = kHeight) {
  const float right = width - 3.0f, top = height - 3.0f;
  Walls walls;
  walls.box(0.0f, 0.0f, width, height);
  walls.wall(3.0f, 3.0f, 3.0f, top);
  walls.wall(3.0f, top, right, top);
  walls.wall(right, top, right, 3.0f);
  float end = 3.0f;
  for (const float left : rooms) {
    walls.wall(end, 3.0f, left, 3.0f);
    walls.room(left);
    end = left + 3.0f;
  }
  walls.wall(end, 3.0f, right, 3.0f);
  return walls.world();
}

LaserWorld twinRooms(float second) { return blockWith({kFirstRoom, second}); }

// A drive of straight lines, with turns where they meet.
class Drive {
 public:
  explicit Drive(const Pose2D& start) : poses_{start} {}

  void turnTo(float heading) {
    const Pose2D from = poses_.back();
    const float turn = std::remainder(heading - from.theta, 4.0f * kQuarter);
    turnBy(turn, static_cast<int>(std::ceil(std::fabs(turn) / 0.35f)));
  }
  void turnBy(float turn, int steps) {
    const Pose2D from = poses_.back();
    for (int i = 1; i <= steps; ++i) {
      const float share = static_cast<float>(i) / static_cast<float>(steps);
      poses_.push_back({from.x, from.y, Brin::canonicalAngle(from.theta + share * turn)});
    }
  }
  void goTo(float x, float y) {
    const Pose2D begin = poses_.back();
    if (std::hypot(x - begin.x, y - begin.y) < 0.01f) return;
    turnTo(std::atan2(y - begin.y, x - begin.x));
    const Pose2D from = poses_.back();
    const float metres = std::hypot(x - from.x, y - from.y);
    const int steps = static_cast<int>(std::ceil(metres / 0.4f));
    for (int i = 1; i <= steps; ++i) {
      const float along = metres * static_cast<float>(i) / static_cast<float>(steps);
      poses_.push_back(from.absProject({along, 0.0f, 0.0f}));
    }
  }
  // From the corridor in front of its door into a room, once around, and back.
  void visit(float left) {
    goTo(left + 1.5f, 1.5f);
    goTo(left + 1.5f, 4.5f);
    turnBy(4.0f * kQuarter, 16);
    goTo(left + 1.5f, 1.5f);
  }
  // Along the corridor around a block of that size, from its lower left corner to its lower right
  // one.
  void around(float width, float height) {
    goTo(1.5f, 1.5f);
    goTo(1.5f, height - 1.5f);
    goTo(width - 1.5f, height - 1.5f);
    goTo(width - 1.5f, 1.5f);
  }
  // A visit with a lap of the room instead of a turn.
  void lap(float left) {
    goTo(left + 1.5f, 1.5f);
    goTo(left + 1.5f, 3.9f);
    goTo(left + 2.2f, 4.3f);
    goTo(left + 2.2f, 5.0f);
    goTo(left + 1.3f, 5.0f);
    goTo(left + 0.8f, 4.3f);
    goTo(left + 1.5f, 3.9f);
    goTo(left + 1.5f, 1.5f);
  }
  const std::vector<Pose2D>& poses() const { return poses_; }

 private:
  std::vector<Pose2D> poses_;
};

// Out of the first room and nearly all around the block.
Drive outAndAround() {
  Drive drive({kFirstRoom + 1.5f, 1.5f, kQuarter});
  drive.visit(kFirstRoom);
  drive.around(kWidth, kHeight);
  return drive;
}

// To the second room, which comes first that way.
Drive aroundToTheTwin(float second) {
  Drive drive = outAndAround();
  drive.visit(second);
  return drive;
}

// The twin is within what the drift leaves open, and nothing has been seen that tells them apart.
TEST(TwinRooms, TheSecondIsNotTakenForTheFirst) {
  for (const float second : {11.5f, 12.0f, 13.0f}) {
    const LaserWorld world = twinRooms(second);
    const std::vector<Pose2D> truth = aroundToTheTwin(second).poses();
    for (const Slip& slip : {kSlips[0], kSlips[2]}) {
      const ScanAligner aligner = aligned(world, truth, drifting(truth, slip.drift, slip.scale));
      EXPECT_EQ(loopsOf(aligner, truth).wrong, 0) << second << ' ' << slip.drift;
      EXPECT_LT(worstError(aligner.poses(), truth), 0.1) << second << ' ' << slip.drift;
    }
  }
}

// Nor when the first one comes again, and the two could be compared.
TEST(TwinRooms, NoLoopToTheWrongOneIsEverAccepted) {
  const LaserWorld world = twinRooms(11.5f);
  Drive drive = aroundToTheTwin(11.5f);
  drive.visit(kFirstRoom);
  drive.goTo(1.5f, 1.5f);
  for (const Slip& slip : kSlips) {
    const std::vector<Pose2D>& truth = drive.poses();
    const ScanAligner aligner = aligned(world, truth, drifting(truth, slip.drift, slip.scale));
    const Loops loops = loopsOf(aligner, truth);
    EXPECT_EQ(loops.wrong, 0) << slip.drift;
    EXPECT_EQ(loops.wrongDropped, 0) << slip.drift;
    EXPECT_GT(loops.all, 100) << slip.drift;
    EXPECT_LT(worstError(aligner.poses(), truth), 0.05) << slip.drift;
  }
}

// Who stays long in each room sees much that fits the other one, and three scans agree soon. But
// that is farther than the graph is unsure: only the corners of the window that is searched are so
// far.
TEST(TwinRooms, TheSecondIsNotTakenForTheFirstAfterALap) {
  const float second = kFirstRoom + 3.5f;
  const LaserWorld world = blockWith({kFirstRoom, second}, 30.0f, 22.0f);
  Drive drive({kFirstRoom + 1.5f, 1.5f, kQuarter});
  drive.lap(kFirstRoom);
  drive.around(30.0f, 22.0f);
  drive.lap(second);
  drive.lap(kFirstRoom);
  drive.goTo(1.5f, 1.5f);
  const std::vector<Pose2D>& truth = drive.poses();
  for (const Slip& slip : {kSlips[0], kSlips[2]}) {
    const ScanAligner aligner = aligned(world, truth, drifting(truth, slip.drift, slip.scale));
    EXPECT_EQ(loopsOf(aligner, truth).wrong, 0) << slip.drift;
    EXPECT_LT(worstError(aligner.poses(), truth), 0.05) << slip.drift;
  }
}

// What moves while nobody looks is two places at once: loops to it contradict those to the rest.
TEST(MovedRooms, LoopsThatContradictTheRestAreDroppedAndTold) {
  const LaserWorld before = blockWith({kFirstRoom});
  const LaserWorld after = blockWith({kFirstRoom + 0.8f});
  Drive drive = outAndAround();
  const std::size_t moved = drive.poses().size();
  drive.visit(kFirstRoom);
  drive.goTo(1.5f, 1.5f);
  drive.goTo(1.5f, 14.5f);
  drive.goTo(22.5f, 14.5f);
  const std::vector<Pose2D>& truth = drive.poses();
  const std::vector<Pose2D> odometry = drifting(truth, 0.01f);
  ScanAligner aligner;
  for (std::size_t i = 0; i < truth.size(); ++i) {
    aligner.add(scanAt(i < moved ? before : after, truth[i]), odometry[i]);
  }
  const std::vector<Pose2D> poses = aligner.poses();
  std::size_t dropped = 0, kept = 0;
  for (const Brin::mapping::ScanLink& link : aligner.links()) {
    dropped += link.dropped ? 1 : 0;
    kept += link.dropped ? 0 : 1;
    if (link.kind != Brin::mapping::LinkKind::Loop || link.dropped) continue;
    const Pose2D seen = poses[link.from].relProject(poses[link.to]);
    EXPECT_LT(std::hypot(seen.x - link.motion.x, seen.y - link.motion.y), 0.31);
  }
  EXPECT_GT(dropped, 10u);
  EXPECT_EQ(aligner.summary().loopsDropped, dropped);
  EXPECT_EQ(aligner.graph().edges.size(), kept);
}

// Far apart on a straight way: odometry alone says that they are two.
TEST(TwinRooms, FarApartTheyAreTwo) {
  Walls walls;
  walls.wall(0.0f, 0.0f, 40.0f, 0.0f);
  walls.wall(0.0f, 0.0f, 0.0f, 3.0f);
  walls.wall(40.0f, 0.0f, 40.0f, 3.0f);
  walls.wall(0.0f, 3.0f, 2.0f, 3.0f);
  walls.room(2.0f);
  walls.wall(5.0f, 3.0f, 32.0f, 3.0f);
  walls.room(32.0f);
  walls.wall(35.0f, 3.0f, 40.0f, 3.0f);
  Drive drive({3.5f, 1.3f, kQuarter});
  drive.visit(2.0f);
  drive.visit(32.0f);
  const std::vector<Pose2D>& truth = drive.poses();
  const ScanAligner aligner = aligned(walls.world(), truth, drifting(truth, 0.002f));
  EXPECT_EQ(loopsOf(aligner, truth).wrong, 0);
  EXPECT_LT(worstError(aligner.poses(), truth), 1.5);
}

}  // namespace
}  // namespace korrin_test
