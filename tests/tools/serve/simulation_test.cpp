// Robots that drive and explore, and the sessions in which they do.
#include "tools/serve/simulation.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <future>
#include <thread>

#include "support/bits.hpp"
#include "tools/serve/frontier.hpp"
#include "tools/serve/limits.hpp"
#include "tools/serve/refusal.hpp"
#include "tools/serve/sessions.hpp"
#include "tools/serve/source.hpp"

namespace korrin_test {
namespace {

using namespace korrin_tool::serve;

SessionRequest driveTo(float x, float y) {
  SessionRequest request;
  request.settings = defaultSettings();
  request.start = {1.2f, 8.0f, 0.0f};
  request.goal = {x, y, 0.0f};
  request.sensor.beams = 91;
  return request;
}

// All events until the end, at most so many steps.
std::vector<Event> runToEnd(Simulation& robot, float speed, int mostSteps = 20000) {
  std::vector<Event> events;
  for (int i = 0; i < mostSteps && !robot.isDone(); ++i) {
    for (Event& event : robot.step(speed)) events.push_back(std::move(event));
  }
  return events;
}

int countOf(const std::vector<Event>& events, const std::string& name) {
  int count = 0;
  for (const Event& event : events) count += event.name == name ? 1 : 0;
  return count;
}

Brin::Pose2D poseOf(const Event& step) {
  return {step.data["pose"][0], step.data["pose"][1], step.data["pose"][2]};
}

TEST(Drive, GoesAlongItsWaypointsAtItsSpeedAndArrives) {
  World world(demoSource());
  const auto robot = makeDrive(world, driveTo(6.4f, 10.2f));
  const std::vector<Event> events = runToEnd(*robot, 2.0f);
  ASSERT_TRUE(robot->isDone());
  EXPECT_EQ(events.front().name, "plan");
  EXPECT_EQ(events.front().data["reason"], "start");
  EXPECT_EQ(countOf(events, "plan"), 1);
  EXPECT_EQ(events.back().name, "end");
  EXPECT_EQ(events.back().data["reason"], "arrived");
  const Brin::PathPlanner planner(world.maps.current()->map, defaultSettings());
  Brin::Pose2D last{1.2f, 8.0f, 0.0f};
  for (const Event& event : events) {
    if (event.name != "step") continue;
    const Brin::Pose2D pose = poseOf(event);
    EXPECT_LE(std::hypot(pose.x - last.x, pose.y - last.y), 0.2001f);
    const Brin::Pose2Di cell = planner.fineMap().getPixelFromPose(pose);
    EXPECT_GE(planner.fineMap().getCell(cell.x, cell.y), 0.2f) << event.data["pose"];
    EXPECT_EQ(event.data["ranges"].size(), 91u);
    last = pose;
  }
  EXPECT_NEAR(last.x, 6.4f, 0.05f);
  EXPECT_NEAR(last.y, 10.2f, 0.05f);
  // Metres along the waypoints, however the steps fall.
  const double length = events.front().data["length"];
  EXPECT_NEAR(events.back().data["driven"].get<double>(), length, 0.1 * length);
}

TEST(Drive, PlansAnewWhenTheMapChanges) {
  World world(demoSource());
  const auto robot = makeDrive(world, driveTo(6.4f, 10.2f));
  for (int i = 0; i < 5; ++i) robot->step(1.0f);
  world.maps.draw({{0.0f, 0.2f, {{22.0f, 14.8f}}}});
  const std::vector<Event> events = robot->step(1.0f);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].name, "plan");
  EXPECT_EQ(events[0].data["reason"], "mapChanged");
  EXPECT_EQ(runToEnd(*robot, 5.0f).back().data["reason"], "arrived");
}

TEST(Drive, EndsWhenTheWayIsClosed) {
  World world(demoSource());
  const auto robot = makeDrive(world, driveTo(6.4f, 10.2f));
  robot->step(1.0f);
  // Both doors of the meeting room.
  world.maps.draw({{0.0f, 0.3f, {{6.0f, 9.05f}, {7.4f, 9.05f}}}});
  const std::vector<Event> events = robot->step(1.0f);
  ASSERT_TRUE(robot->isDone());
  EXPECT_EQ(events.front().data["outcome"], "noPath");
  EXPECT_EQ(events.back().data["reason"], "noPath");
}

TEST(Drive, EndsAtOnceWhereItCannotBegin) {
  World world(demoSource());
  const auto robot = makeDrive(world, driveTo(14.65f, 8.0f));
  const std::vector<Event> events = runToEnd(*robot, 1.0f);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].data["blocked"]["reason"], "obstacle");
  EXPECT_EQ(events[1].data["reason"], "blocked");
}

TEST(Drive, TakesAnotherGoalOnItsWay) {
  World world(demoSource());
  const auto robot = makeDrive(world, driveTo(18.0f, 1.6f));
  robot->step(1.0f);
  robot->setGoal({4.2f, 5.0f, 0.0f});
  const std::vector<Event> events = runToEnd(*robot, 10.0f);
  EXPECT_EQ(events.front().data["reason"], "goal");
  const Brin::Pose2D last = poseOf(events[events.size() - 2]);
  EXPECT_NEAR(last.x, 4.2f, 0.05f);
  EXPECT_NEAR(last.y, 5.0f, 0.05f);
}

// Whether beams stop in a cell or within two cells of it, at an obstacle or where the map knows
// nothing: as far as the noise of a beam may put its end.
bool isAtAnObstacle(const Brin::OccupancyMap& map, int x, int y) {
  for (int row = y - 2; row <= y + 2; ++row) {
    for (int column = x - 2; column <= x + 2; ++column) {
      if (map.getCell(column, row) < 0.6f) return true;
    }
  }
  return false;
}

// Whether a cell of the map that a beam can go through is within three cells.
bool hasFreeAround(const Brin::OccupancyMap& map, int x, int y) {
  for (int row = y - 3; row <= y + 3; ++row) {
    for (int column = x - 3; column <= x + 3; ++column) {
      if (map.getCell(column, row) >= 0.6f) return true;
    }
  }
  return false;
}

// What the robot knows in the end against what is there: each cell of the building that can be
// seen from where it can go is known, and there are no obstacles where none are.
TEST(Exploration, LearnsAllThatItCanReachFromItsScansAlone) {
  World world(demoSource());
  SessionRequest request = driveTo(0.0f, 0.0f);
  request.sensor.beams = 361;
  const auto robot = makeExploration(world, request);
  const std::vector<Event> events = runToEnd(*robot, 20.0f, 3000);
  ASSERT_TRUE(robot->isDone());
  EXPECT_EQ(events.back().name, "end");
  EXPECT_EQ(events.back().data["reason"], "complete") << events.back().data;
  EXPECT_EQ(events[events.size() - 2].name, "step");
  EXPECT_GT(countOf(events, "plan"), 20);
  const auto truth = world.maps.current();
  int freeCells = 0, known = 0, wrong = 0, outside = 0;
  robot->grid()->read([&](const Brin::OccupancyMap& grid, std::int64_t revision) {
    EXPECT_GT(revision, 100);
    for (int y = 0; y < grid.params.height; ++y) {
      for (int x = 0; x < grid.params.width; ++x) {
        const bool isKnown = !isUnseen(grid.getCell(x, y));
        outside += isKnown && !hasFreeAround(truth->map, x, y) ? 1 : 0;
        if (truth->map.getCell(x, y) != 1.0f) continue;
        ++freeCells;
        known += isKnown ? 1 : 0;
        wrong += grid.getCell(x, y) < 0.4f && !isAtAnObstacle(truth->map, x, y) ? 1 : 0;
      }
    }
  });
  EXPECT_GT(known, 0.97 * freeCells);
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(outside, 0) << "beams stop where the map knows nothing";
}

TEST(Exploration, TellsWhatItKnowsStepByStep) {
  World world(demoSource());
  const auto robot = makeExploration(world, driveTo(0.0f, 0.0f));
  const std::vector<Event> events = robot->step(1.0f);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].name, "plan");
  const Json& step = events[1].data;
  EXPECT_EQ(step["gridRevision"], 1);
  EXPECT_GT(step["knownCells"], 100);
  ASSERT_EQ(step["changed"].size(), 4u);
  EXPECT_LT(step["changed"][2], 480);
  for (const char* stage : {"scan", "map", "frontier", "plan", "move"}) {
    EXPECT_TRUE(step["microseconds"].contains(stage)) << stage;
  }
  EXPECT_THROW(robot->setGoal({}), Refusal);
}

TEST(Sessions, RunUntilTheirRobotIsThere) {
  World world(demoSource());
  Sessions sessions;
  const std::string id = sessions.open(makeDrive(world, driveTo(1.6f, 8.0f)), 20.0f);
  const auto session = sessions.find(id);
  session->claim();
  EXPECT_THROW(session->claim(), Refusal);
  std::string stream;
  session->stream([&](const std::string& bytes) {
    stream += bytes;
    return true;
  });
  EXPECT_EQ(stream.rfind("event: plan\ndata: {", 0), 0u);
  EXPECT_NE(stream.find("event: end\ndata: {\"reason\":\"arrived\""), std::string::npos);
  EXPECT_TRUE(session->isOver());
  EXPECT_THROW(sessions.find(id), Refusal);
}

TEST(Sessions, EndWhenTheClientIsGone) {
  World world(demoSource());
  Sessions sessions;
  const auto session = sessions.find(sessions.open(makeDrive(world, driveTo(18.0f, 1.6f)), 1.0f));
  session->claim();
  int writes = 0;
  session->stream([&](const std::string&) { return ++writes < 3; });
  EXPECT_EQ(writes, 3);
  EXPECT_TRUE(session->isOver());
}

TEST(Sessions, AreControlledAndStoppedFromOutside) {
  World world(demoSource());
  Sessions sessions;
  const auto session = sessions.find(sessions.open(makeDrive(world, driveTo(18.0f, 1.6f)), 1.0f));
  EXPECT_EQ(session->control({}).dump(), R"({"speed":1.0,"paused":false})");
  EXPECT_EQ(session->control({2.5f, true, std::nullopt}).dump(), R"({"speed":2.5,"paused":true})");
  session->claim();
  std::string stream;
  std::thread watcher([&] {
    session->stream([&](const std::string& bytes) {
      stream += bytes;
      return true;
    });
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(1300));
  session->stop("stopped", "enough");
  watcher.join();
  EXPECT_EQ(stream.find("event: step"), std::string::npos);
  EXPECT_EQ(stream.rfind(":\n\n", 0), 0u) << "a heartbeat while it stands still";
  EXPECT_NE(stream.find("\"reason\":\"stopped\",\"sentence\":\"enough\""), std::string::npos);
}

TEST(Sessions, AreLimitedInNumberAndEndWithTheServer) {
  World world(demoSource());
  Sessions sessions;
  for (std::size_t i = 0; i < kMostSessions; ++i) {
    sessions.open(makeDrive(world, driveTo(18.0f, 1.6f)), 1.0f);
  }
  EXPECT_THROW(sessions.checkRoom(), Refusal);
  EXPECT_THROW(sessions.open(makeDrive(world, driveTo(18.0f, 1.6f)), 1.0f), Refusal);
  sessions.find("s3")->stop("stopped", "");
  sessions.checkRoom();
  sessions.stopAll(std::chrono::seconds(100));  // nobody watches, so nobody is waited for
  EXPECT_THROW(sessions.checkRoom(), Refusal);
}

TEST(Sessions, EndWithAWordEvenWhereTheStreamHasYetToBegin) {
  World world(demoSource());
  Sessions sessions;
  const auto session = sessions.find(sessions.open(makeDrive(world, driveTo(18.0f, 1.6f)), 1.0f));
  session->claim();
  auto stopping = std::async(std::launch::async, [&] { sessions.stopAll(std::chrono::hours(1)); });
  EXPECT_EQ(stopping.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
  std::string stream;
  session->stream([&stream](const std::string& bytes) {
    stream += bytes;
    return true;
  });
  stopping.wait();
  EXPECT_EQ(stream.rfind("event: end", 0), 0u);
  EXPECT_NE(stream.find("\"reason\":\"shutdown\""), std::string::npos);
}

TEST(Sessions, WhoseWatcherHasGoneAreNotWaitedForForEver) {
  World world(demoSource());
  Sessions sessions;
  sessions.find(sessions.open(makeDrive(world, driveTo(18.0f, 1.6f)), 1.0f))->claim();
  sessions.stopAll(std::chrono::milliseconds(50));
}

}  // namespace
}  // namespace korrin_test
