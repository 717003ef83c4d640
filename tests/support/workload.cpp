#include "support/workload.hpp"

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cstring>

#include "core/image_ptr.hpp"
#include "korrin/korrin.hpp"

namespace korrin_test {

int WorldRandom::between(int low, int high) {
  std::uint64_t z = state_ += 0x9e3779b97f4a7c15u;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
  const std::uint64_t upper = (z ^ (z >> 31)) >> 32;
  return low + static_cast<int>(upper % static_cast<std::uint64_t>(high - low + 1));
}

void Words::add(float value) {
  std::uint32_t word = 0x7fc00000u;
  if (value == value) std::memcpy(&word, &value, sizeof word);
  words_.push_back(word);
}

void Words::add(const Brin::Point2D& point) {
  add(point.x);
  add(point.y);
}

void Words::add(const Brin::Point2Di& point) {
  add(point.x);
  add(point.y);
}

void Words::add(const Brin::Pose2D& pose) {
  add(Brin::Point2D(pose));
  add(pose.theta);
}

void Words::add(const Brin::Pose2Di& pose) {
  add(Brin::Point2Di(pose.x, pose.y));
  add(pose.theta);
}

void Words::add(const Brin::RangeReading& reading) {
  for (const float value : {reading.range, reading.angle, reading.weight}) add(value);
  add(reading.mark);
  add(reading.status);
}

void Words::add(const IplImage& image) {
  add(image.width);
  add(image.height);
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      if (image.depth == IPL_DEPTH_32F) {
        add(Brin::imageRow<float>(image, y)[x]);
      } else {
        add(std::int32_t{Brin::imageRow<std::uint8_t>(image, y)[x]});
      }
    }
  }
}

std::uint64_t digestOf(const Words& words) {
  std::uint64_t digest = 14695981039346656037u;
  for (const std::uint32_t word : words.all()) {
    for (int shift = 0; shift < 32; shift += 8) {
      digest = (digest ^ ((word >> shift) & 255u)) * 1099511628211u;
    }
  }
  return digest;
}

namespace {

using Brin::ImagePtr;
using Brin::OccupancyMap;
using Brin::Point2D;
using Brin::Point2Di;
using Brin::Pose2D;
using Brin::Pose2Di;

float parts(int value, int denominator) {
  return static_cast<float>(value) / static_cast<float>(denominator);
}

// Blocks of wall and of the unknown, single cells of any value, and a second image of its own.
void drawCells(WorldRandom& random, OccupancyMap& map) {
  const int columns = map.params.width;
  const int rows = map.params.height;
  map.reset(1.0f);
  for (int i = 0; i < columns * rows / 600; ++i) {
    const int x = random.between(0, columns - 1);
    const int y = random.between(0, rows - 1);
    const int width = random.between(1, 9);
    const int height = random.between(1, 9);
    const float value = random.between(0, 2) == 0 ? 0.5f : 0.0f;
    for (int dy = 0; dy < height; ++dy) {
      for (int dx = 0; dx < width; ++dx) map.setCell(x + dx, y + dy, value);
    }
  }
  for (int i = 0; i < columns * rows / 50; ++i) {
    const int x = random.between(0, columns - 1);
    const int y = random.between(0, rows - 1);
    map.setCell(x, y, parts(random.between(0, 64), 64));
  }
  for (int i = 0; i < columns * rows / 50; ++i) {
    const int x = random.between(0, columns - 1);
    const int y = random.between(0, rows - 1);
    Brin::imageRow<float>(*map.secondImage, y)[x] = parts(random.between(0, 8), 8);
  }
}

void drawScan(WorldRandom& random, int beams, Brin::Scan& scan) {
  while (static_cast<int>(scan.readings.size()) < beams) {
    const int length = random.between(2, 20);
    const int base = random.between(40, 640);
    const bool isRun = random.between(0, 4) == 0;
    for (int i = 0; i < length && static_cast<int>(scan.readings.size()) < beams; ++i) {
      const int index = static_cast<int>(scan.readings.size());
      scan.readings.emplace_back(parts(base + random.between(0, 6), 128),
                                 parts(index - beams / 2, 64));
      scan.readings.back().status = isRun ? 1 : 0;
    }
  }
}

}  // namespace

World makeWorld(int columns, int rows, int beams) {
  WorldRandom random;
  World world{OccupancyMap(columns, rows, 0.05f, true),
              OccupancyMap(0, 0, 1.0f, false),
              {},
              {},
              {},
              {},
              {}};
  world.map.params.origin = {-1.0f, -0.5f, 0.0f};
  drawCells(random, world.map);
  world.turned = world.map;
  world.turned.params.origin = {2.5f, -1.25f, 0.75f};
  drawScan(random, beams, world.scan);
  for (int i = 0; i < 40; ++i) {
    const int x = random.between(-3, columns + 2);
    const int y = random.between(-3, rows + 2);
    world.cells.emplace_back(x, y, parts(random.between(-200, 200), 64));
  }
  for (int i = 0; i < 40; ++i) {
    const int x = random.between(-20, columns * 64 / 20 + 20) - 64;
    const int y = random.between(-20, rows * 64 / 20 + 20) - 32;
    world.poses.emplace_back(parts(x, 64), parts(y, 64), parts(random.between(-200, 200), 64));
  }
  int x = 0;
  int y = 0;
  for (int i = 0; i < 300; ++i) {
    x += random.between(-2, 6);
    y += random.between(-6, 7);
    world.path.emplace_back(parts(x, 256), parts(y, 256), parts(random.between(-200, 200), 64));
  }
  for (int i = 0; i < 500; ++i) {
    const int px = random.between(-256, 256);
    const int py = random.between(-256, 256);
    world.points.emplace_back(parts(px, 64), parts(py, 64));
  }
  return world;
}

namespace {

// Geometry

void exactGeometry(const World& world, Words& words) {
  for (const Pose2D& pose : world.poses) {
    words.add(Brin::canonicalAngle(pose.theta * 7.0f));
    words.add(Brin::computeNorm(pose));
    words.add(world.map.getPixelFromPose(pose));
    words.add(world.turned.getPixelFromPose(pose));
  }
  for (const Pose2Di& cell : world.cells) {
    words.add(Brin::computeNorm(cell.x, cell.y));
    words.add(world.map.getPoseFromPixel(cell));
  }
  words.add(Brin::relStdDevPose2D(world.path, world.path.front()));
  words.add(world.scan.getResolution());
}

void turnedGeometry(const World& world, Words& words) {
  for (const Pose2D& pose : world.poses) {
    words.add(world.poses.front().absProject(pose));
    words.add(world.poses.front().relProject(pose));
    words.add(Brin::gaussianValueAt(0.3f, pose.x));
  }
  for (const Pose2Di& cell : world.cells) words.add(world.turned.getPoseFromPixel(cell));
  for (const Brin::RangeReading& reading : world.scan.readings) words.add(reading.toPoint2D());
  words.add(Brin::avgPose2D(world.path));
}

// Path planning

void addSearch(const Brin::OccMapPathFinder& finder, Words& words) {
  words.add(finder.getNumIterations());
  words.add(finder.openList);
  words.add(static_cast<std::int32_t>(finder.closedNodes.size()));
  for (const Brin::OccMapPathFinder::Node& node : finder.closedNodes) {
    words.add(Pose2Di(node.x, node.y, node.theta));
    words.add(node.parent);
    for (const float value : {node.f, node.g, node.h}) words.add(value);
  }
}

void planOn(const World& world, int factor, Words& words) {
  using Finder = Brin::OccMapPathFinder;
  for (const auto type : {Finder::Simple, Finder::Double, Finder::Triple}) {
    Finder finder(&world.map, 0.0f);
    finder.setNeighborhoodType(type);
    finder.setCoarseFactor(factor);
    for (std::size_t i = 0; i + 1 < world.cells.size(); i += 8) {
      finder.setObstacleThreshold(parts(static_cast<int>(i % 5), 8));
      finder.setAngleCostFactor(parts(static_cast<int>(i % 3), 4));
      Finder::setHWeight(parts(static_cast<int>(i % 4), 4));
      const Pose2Di& from = world.cells[i];
      const Pose2Di& to = world.cells[i + 1];
      std::vector<Pose2Di> cells;
      finder.computePath({from.x / factor, from.y / factor, from.theta},
                         {to.x / factor, to.y / factor, to.theta}, cells);
      words.add(cells);
      addSearch(finder, words);
      std::vector<Pose2D> poses;
      finder.computePath(world.poses[i], world.poses[i + 1], poses);
      words.add(poses);
    }
  }
}

void plan(const World& world, Words& words) { planOn(world, 1, words); }

void coarsePlan(const World& world, Words& words) {
  OccupancyMap coarse(0, 0, 1.0f, false);
  Brin::computeCoarserMap(world.map, coarse, 3);
  words.add(*coarse.image);
  planOn(world, 2, words);
}

void upSample(const World& world, Words& words) {
  std::vector<Pose2Di> cells;
  Brin::pathUpSample(world.cells, cells);
  words.add(cells);
}

// Path evaluation

void simplify(const World& world, Words& words) {
  Brin::PathSimplifier plain;
  for (const float accuracy : {3.0f, 50.0f, 200.0f}) {
    plain.samplingAccuracy = accuracy;
    words.add(plain.sample(world.path));
  }
  Brin::SafePathSimplifier safe;
  safe.setObstacleThreshold(0.6f);
  words.add(safe.sample(world.path, world.map));
  for (const Pose2D& pose : world.poses) {
    const auto closest = Brin::findClosestInVect(world.path, pose, 1.0f);
    words.add(static_cast<std::int32_t>(closest - world.path.begin()));
  }
}

void addStats(const Brin::PathCostStats& stats, Words& words) {
  for (const float value : {stats.minCost, stats.maxCost, stats.avgCost, stats.length}) {
    words.add(value);
  }
}

void pathStatistics(const World& world, Words& words) {
  const Brin::PathCostStats whole = Brin::computePathCostStat(world.map, world.path);
  const Brin::PathCostStats wild = Brin::computePathCostStat(world.map, world.poses);
  addStats(whole, words);
  addStats(wild, words);
  addStats(Brin::mergePathCostStats(whole, wild), words);
  for (const float length : {0.0f, 0.5f, 2.0f}) {
    addStats(Brin::computePathCostStat(world.map, world.poses, &length), words);
  }
}

// Map building

void updateMaps(const World& world, Words& words) {
  OccupancyMap map = world.map;
  Brin::OccupancyMapper mapper(&map);
  for (std::size_t i = 0; i < 6; ++i) {
    mapper.updateMap(world.scan.readings, world.poses[i], 0.03f, 0.07f);
    mapper.updateMap2(world.scan.readings, world.poses[i + 6], 0.03f, 0.07f);
  }
  mapper.xLineBres(3, 4, 40, 17, 0.01f, -0.2f);
  words.add(*map.image);
  Brin::fillOccMapFromScan(world.scan, world.poses[12], map, 3);
  words.add(*map.image);
}

void rays(const World& world, Words& words) {
  const Brin::ScanModel model(181, 10.0f, 3.0f);
  OccupancyMap map = world.map;
  const Brin::OccupancyMapper mapper(&map);
  for (std::size_t i = 0; i + 1 < world.cells.size(); ++i) {
    const Pose2Di& from = world.cells[i];
    const Pose2Di& to = world.cells[i + 1];
    words.add(mapper.xThrowRay(from.x, from.y, to.x, to.y, 0.45f));
    words.add(mapper.throwRay(world.poses[i], world.poses[i + 1], 0.45f));
    words.add(Brin::occMapGetRange(map, model, {from.x, from.y}, {to.x, to.y}, 0.45f));
  }
}

void simulatedScans(const World& world, Words& words) {
  const Brin::ScanModel model(181, 10.0f, 3.0f);
  OccupancyMap map = world.map;
  const Brin::OccupancyMapper mapper(&map);
  std::vector<Brin::RangeReading> readings;
  for (std::size_t i = 0; i < 10; ++i) {
    mapper.simulateScan(world.poses[i], 3.0f, 0.1f, 10.0f, 91, readings, 0.45f);
    words.add(readings);
    Brin::occMapSimulateScan(world.turned, model, world.poses[i], readings, 0.45f);
    words.add(readings);
  }
}

void preparedMaps(const World& world, Words& words) {
  const Brin::ScanModel model(181, 10.0f, 3.0f);
  OccupancyMap map = world.map;
  Brin::PreparedMap prepared(map, 0.45f);
  map.setCell(20, 15, 0.0f);
  prepared.refresh(20, 15, 1, 1);
  std::vector<Brin::RangeReading> readings;
  for (std::size_t i = 0; i < 10; ++i) {
    prepared.simulateScan(world.poses[i], 3.0f, 0.1f, 10.0f, 91, readings);
    words.add(readings);
    prepared.occMapSimulateScan(model, world.poses[i], readings);
    words.add(readings);
    words.add(prepared.throwRay(world.poses[i], world.poses[i + 1]));
  }
}

void likelihood(const World& world, Words& words) {
  const Brin::ScanModel model(181, 10.0f, 3.0f);
  std::vector<Brin::RangeReading> other = world.scan.readings;
  for (Brin::RangeReading& reading : other) reading.range += 0.25f;
  for (int step = 1; step < 10; ++step) {
    words.add(model.scanLikelihood(world.scan.readings, other, step));
  }
}

// Map processing

void dilateBy(const World& world, Brin::ObstacleDilater::DilateType type, Words& words) {
  OccupancyMap map = world.map;
  Brin::ObstacleDilater dilater(map.params.width, map.params.height);
  dilater.setParams(0.2f, 0.45f);
  dilater.setObstProbThreshold(0.3f);
  dilater.dilate(map, type);
  words.add(*map.image);
}

void dilate(const World& world, Words& words) {
  dilateBy(world, Brin::ObstacleDilater::DILATE_LINEAR, words);
  dilateBy(world, Brin::ObstacleDilater::DILATE_INVERSE, words);
}

void dilateSmoothly(const World& world, Words& words) {
  dilateBy(world, Brin::ObstacleDilater::DILATE_ERODE_SMOOTH, words);
}

struct ImageSlot {
  ~ImageSlot() { cvReleaseImage(&image); }
  IplImage* image = nullptr;
};

void scale(const World& world, Words& words) {
  for (const float factor : {0.7f, 1.9f, -0.3f}) {
    OccupancyMap map = world.map;
    Brin::occMapMultiplyProb(map, factor);
    words.add(*map.image);
    ImageSlot bytes;
    world.map.toCharIplImage(&bytes.image);
    Brin::imgMultiplyProb8(bytes.image, factor);
    words.add(*bytes.image);
    OccupancyMap other = world.map;
    Brin::imgMultiplyProb32F(other.image, factor);
    words.add(*other.image);
  }
}

void scroll(const World& world, Words& words) {
  OccupancyMap map = world.map;
  Brin::scrollOccMapInPlace(map, Point2Di(7, -5));
  words.add(*map.image);
  words.add(*map.secondImage);
  words.add(map.params.origin);
  Brin::scrollOccMap(world.map, map, world.poses[3]);
  words.add(*map.image);
  const int side = std::min(map.params.width, map.params.height);
  const ImagePtr square = Brin::makeImage(cvSize(side, side), IPL_DEPTH_32F, 1);
  for (int y = 0; y < side; ++y) {
    std::memcpy(Brin::imageRow<float>(*square, y), Brin::imageRow<float>(*map.image, y),
                sizeof(float) * static_cast<std::size_t>(side));
  }
  Brin::rotateIplImage90_2(square.get(), square.get());
  words.add(*square);
}

void scrollSmoothly(const World& world, Words& words) {
  OccupancyMap map = world.map;
  Brin::scrollIplImage(world.map.image, map.image, {2.5f, -3.25f});
  words.add(*map.image);
  Brin::rotateIplImage90(world.map.image, map.image);
  words.add(*map.image);
  ImageSlot merged;
  Brin::mergeImages2({{world.map.image, 0.1f, 0.2f, 0.0f}, {world.map.secondImage, 0.33f, 0.0f, 0}},
                     &merged.image, 0.05f, 0.0f);
  words.add(*merged.image);
}

// Map queries

void searchCells(const World& world, Words& words) {
  for (std::size_t i = 0; i + 1 < world.cells.size(); ++i) {
    const Pose2Di& start = world.cells[i];
    Pose2Di cell;
    words.add(Brin::findFirstFreeCell(world.map, start, cell, 0.9f));
    words.add(cell);
    words.add(Brin::findFirstGrayCell(world.map, start, cell, 0.3f, 0.1f));
    words.add(cell);
    words.add(Brin::findFirstFreeCellInLine(world.map, start, world.cells[i + 1], cell, 0.9f));
    words.add(cell);
    const auto isAmber = [](float value) { return value > 0.1f && value < 0.4f; };
    words.add(Brin::findFirstCellWithCond(world.map, start, cell, isAmber));
    words.add(cell);
  }
}

void findDirections(const World& world, Words& words) {
  for (const Pose2Di& cell : world.cells) {
    float direction = 0.0f;
    words.add(Brin::findObstaclesMainDirection(world.map, cell, 1.0f, direction, 0.4f));
    words.add(direction);
  }
}

// Scan analysis

std::vector<Brin::ScanHole> holesOf(const Brin::Scan& scan) {
  std::vector<Brin::ScanHole> all;
  for (const float width : {0.2f, 0.8f, 1.5f}) {
    std::vector<Brin::ScanHole> holes;
    Brin::findScanHoles(scan, holes, width);
    all.insert(all.end(), holes.begin(), holes.end());
    Brin::findScanHoles_old(scan, holes, width, 6);
    all.insert(all.end(), holes.begin(), holes.end());
  }
  return all;
}

void findHoles(const World& world, Words& words) {
  const std::vector<Brin::ScanHole> holes = holesOf(world.scan);
  words.add(static_cast<std::int32_t>(holes.size()));
  for (const Brin::ScanHole& hole : holes) words.add(Point2Di(hole.beginIndex, hole.endIndex));
}

void placeHoles(const World& world, Words& words) {
  for (const Brin::ScanHole& hole : holesOf(world.scan)) {
    words.add(hole.heading);
    words.add(hole.normalAngle);
    for (const Point2D& p : {hole.beginPoint, hole.endPoint, hole.approachPoint}) words.add(p);
  }
}

struct Reference : Brin::ScanDistMap {
  ~Reference() {
    cvReleaseImage(&distanceMap);
    cvReleaseImage(&laserImage);
  }
};

void score(const World& world, Words& words) {
  Reference reference;
  reference.build(world.scan, {0.0f, 0.0f, 0.25f}, 0.05f);
  words.add(*reference.laserImage);
  words.add(*reference.distanceMap);
  for (const Pose2D& pose : world.poses) {
    std::int32_t count = 0;
    words.add(reference.score(world.points, pose, 0.5f, &count));
    words.add(count);
    words.add(reference.score(world.scan, pose, 0.5f, &count));
    words.add(count);
    words.add(reference.scorePxlScan(world.points, pose, 0.5f, &count));
    words.add(count);
  }
}

void scoreBatches(const World& world, Words& words) {
  Reference reference;
  reference.build(world.scan, {0.0f, 0.0f, 0.25f}, 0.05f);
  std::vector<float> scores;
  std::vector<int> counts;
  for (const int step : {1, 3}) {
    Brin::scanScores(reference.distanceMap, world.points, world.poses, 0.05f, 0.5f, scores, &counts,
                     step);
    words.add(scores);
    words.add(counts);
    Brin::scanScores(reference.distanceMap, world.scan, world.poses, 0.05f, 0.5f, scores, &counts,
                     step);
    words.add(scores);
    words.add(counts);
  }
}

void addFound(const std::vector<Brin::ScoredPose>& found, Words& words) {
  words.add(static_cast<std::int32_t>(found.size()));
  for (const Brin::ScoredPose& each : found) {
    words.add(each.pose);
    words.add(each.score);
  }
}

void searchPoses(const World& world, Words& words) {
  Reference reference;
  reference.build(world.scan, {0.0f, 0.0f, 0.0f}, 0.05f);
  const Brin::PoseSearch onScan(reference, 0.5f);
  const Brin::PoseSearch onMap(world.map, 0.45f, 0.5f);
  const Brin::PoseSearch onTurnedMap(world.turned, 0.45f, 0.5f);
  for (std::size_t i = 0; i < 3; ++i) {
    Brin::PoseGrid grid;
    grid.centre = world.poses[i];
    grid.reachX = 0.7f;
    grid.step = world.map.params.resolution;
    grid.turn = grid.turnStep = 0.25f;
    addFound(onMap.best(world.points, grid, 3, 0.5f), words);
    addFound(onTurnedMap.best(world.points, grid, 2, 1.0f, 4.0f), words);
    grid.step = i == 1 ? 0.05f : 0.07f;
    addFound(onScan.best(world.points, grid, 2, 0.25f), words);
    words.add(onScan.score(world.points, grid.centre));
  }
}

void drawPictures(const World& world, Words& words) {
  ImageSlot bytes;
  world.map.toCharIplImage(&bytes.image);
  words.add(*bytes.image);
  Brin::drawLaser(world.scan, world.poses[0], &bytes.image, 0.1f, true, 0);
  words.add(*bytes.image);
  OccupancyMap map = world.map;
  map.clip();
  words.add(*map.image);
}

}  // namespace

const std::vector<Family>& families() {
  constexpr auto kOwn = Arithmetic::Own;
  constexpr auto kBorrowed = Arithmetic::Borrowed;
  static const std::vector<Family> kFamilies = {
      {"geometry", kOwn, true, exactGeometry},
      {"turned geometry", kBorrowed, true, turnedGeometry},
      {"plan", kOwn, false, plan},
      {"plan on a coarse map", kOwn, false, coarsePlan},
      {"path up-sampling", kOwn, true, upSample},
      {"path simplification", kOwn, true, simplify},
      {"path statistics", kOwn, true, pathStatistics},
      {"map update", kOwn, true, updateMaps},
      {"rays", kOwn, true, rays},
      {"simulated scans", kOwn, true, simulatedScans},
      {"prepared maps", kOwn, true, preparedMaps},
      {"scan likelihood", kBorrowed, true, likelihood},
      {"dilation", kOwn, true, dilate},
      {"dilation with a blur", kBorrowed, true, dilateSmoothly},
      {"scaling", kOwn, true, scale},
      {"scrolling by whole cells", kOwn, true, scroll},
      {"scrolling by fractions", kBorrowed, true, scrollSmoothly},
      {"cell search", kOwn, true, searchCells},
      {"obstacle direction", kBorrowed, true, findDirections},
      {"scan holes", kOwn, true, findHoles},
      {"places of scan holes", kBorrowed, true, placeHoles},
      {"scores", kOwn, true, score},
      {"scores by the batch", kOwn, true, scoreBatches},
      {"search for poses", kOwn, true, searchPoses},
      {"pictures", kOwn, true, drawPictures},
  };
  return kFamilies;
}

}  // namespace korrin_test
