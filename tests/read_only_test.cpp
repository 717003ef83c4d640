// What only reads does not write: not a cell, not a byte between the rows of an image, not a
// header, not an element of a scan or a path. One law over all operations that take such things to
// look at them; what they are given is compared byte by byte.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "korrin/korrin.hpp"
#include "support/log_capture.hpp"
#include "support/padded_images.hpp"
#include "support/random_inputs.hpp"
#include "support/random_scans.hpp"

namespace {

using Brin::ImagePtr;
using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::Pose2Di;
using Brin::RangeReading;
using korrin_test::RandomInputs;

constexpr int kSide = 16;  // of the square images

// What operations are given to look at.
struct Inputs {
  explicit Inputs(RandomInputs& random);
  ~Inputs() {
    cvReleaseImage(&reference.distanceMap);
    cvReleaseImage(&reference.laserImage);
  }
  Inputs(const Inputs&) = delete;
  Inputs& operator=(const Inputs&) = delete;

  OccupancyMap map;
  Brin::Scan scan;
  Brin::Scan otherScan;
  std::vector<Pose2D> path;
  std::vector<Pose2Di> cells;
  std::vector<Brin::Point2D> points;
  ImagePtr square;   // floats
  ImagePtr picture;  // bytes, 0 where a laser hit something
  Brin::ScanDistMap reference;
  Brin::ScanHole hole;
  Pose2D pose;
  Pose2D goal;
  Pose2Di cell;
  float threshold;
};

korrin_test::MapBounds boundsOf(RandomInputs& random) {
  korrin_test::MapBounds bounds;
  bounds.minSide = 2;
  bounds.maxSide = 20;
  bounds.levels = {0.0f, 0.5f, 1.0f, 1.0f, 1.0f, 1.0f};
  bounds.wildShare = random.chance(0.3) ? 0.1 : 0.0;
  return bounds;
}

ImagePtr randomImage(RandomInputs& random, int depth) {
  const ImagePtr plain = Brin::makeImage(cvSize(kSide, kSide), depth, 1);
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      cvSet2D(plain.get(), y, x, cvScalarAll(random.chance(0.2) ? 0 : random.between(1, 9)));
    }
  }
  return korrin_test::paddedCopyOf(*plain, 8);
}

Inputs::Inputs(RandomInputs& random) : map(random.map(boundsOf(random))) {
  // All images have bytes between their rows, but for distance maps, which have none by promise.
  map = OccupancyMap(map.params, true);
  const korrin_test::MapBounds bounds = boundsOf(random);
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      map.setCell(
          x, y, random.chance(bounds.wildShare) ? random.wildFloat() : random.pick(bounds.levels));
    }
  }
  korrin_test::padRows(map.image, 12);
  korrin_test::padRows(map.secondImage, 4);
  // Without wild ranges, which make the largest distance maps there are.
  korrin_test::ScanBounds scans;
  scan = korrin_test::randomScan(random, scans);
  otherScan = korrin_test::randomScan(random, scans);
  for (int i = random.between(0, 9); i > 0; --i) {
    path.push_back(random.chance(0.05) ? random.wildPose() : random.poseNear(map));
    cells.push_back(random.cellNear(map, 1));
  }
  for (const RangeReading& reading : scan.readings) points.push_back(reading.toPoint2D());
  square = randomImage(random, IPL_DEPTH_32F);
  picture = randomImage(random, IPL_DEPTH_8U);
  reference.build(otherScan, {}, 0.5f);
  hole.beginIndex = random.between(-1, 9);
  hole.endIndex = hole.beginIndex + 1;
  hole.approachPoint = {random.between(-3.0f, 3.0f), random.between(-3.0f, 3.0f)};
  pose = random.poseNear(map);
  goal = random.poseNear(map);
  cell = random.cellNear(map, 1);
  threshold = random.pick<float>({0.2f, 0.5f, 0.9f});
}

class Bytes {
 public:
  template <typename T>
  void add(const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    const char* first = reinterpret_cast<const char*>(&value);
    all_.insert(all_.end(), first, first + sizeof value);
  }
  // Where they are, too.
  template <typename T>
  void add(const std::vector<T>& sequence) {
    add(sequence.data());
    add(sequence.size());
    for (const T& element : sequence) add(element);
  }
  void add(const IplImage* image) {
    add<const IplImage*>(image);
    if (image == nullptr) return;
    add(*image);
    all_.insert(all_.end(), image->imageData, image->imageData + image->imageSize);
  }

  const std::vector<char>& all() const { return all_; }

 private:
  std::vector<char> all_;
};

std::vector<char> bytesOf(const Inputs& in) {
  Bytes bytes;
  bytes.add(in.map.params);
  bytes.add(static_cast<const IplImage*>(in.map.image));
  bytes.add(static_cast<const IplImage*>(in.map.secondImage));
  bytes.add(in.scan.readings);
  bytes.add(in.otherScan.readings);
  bytes.add(in.path);
  bytes.add(in.cells);
  bytes.add(in.points);
  bytes.add(static_cast<const IplImage*>(in.square.get()));
  bytes.add(static_cast<const IplImage*>(in.picture.get()));
  bytes.add(in.reference);
  bytes.add(static_cast<const IplImage*>(in.reference.distanceMap));
  bytes.add(static_cast<const IplImage*>(in.reference.laserImage));
  bytes.add(in.hole);
  return bytes.all();
}

struct Operation {
  const char* name;
  void (*run)(Inputs& in);
};

// An image for an operation to write to.
ImagePtr emptyImage(const IplImage& like) {
  ImagePtr image = Brin::makeImage(cvSize(like.width, like.height), like.depth, like.nChannels);
  cvSetZero(image.get());
  return image;
}

const Operation kMapReaders[] = {
    {"copies", [](Inputs& in) { const OccupancyMap copy(in.map); }},
    {"getCell and isInside",
     [](Inputs& in) { in.map.getCell(in.cell.x, in.cell.y + in.map.isInside(0, 0)); }},
    {"conversions", [](Inputs& in) { in.map.getPoseFromPixel(in.map.getPixelFromPose(in.pose)); }},
    {"toCharIplImage",
     [](Inputs& in) {
       IplImage* bytes = nullptr;
       in.map.toCharIplImage(&bytes);
       cvReleaseImage(&bytes);
     }},
    {"computePath, cells",
     [](Inputs& in) {
       Brin::OccMapPathFinder finder(&in.map, 0.0f);
       std::vector<Pose2Di> path;
       finder.computePath(in.cell, in.map.getPixelFromPose(in.goal), path);
     }},
    {"computePath, poses",
     [](Inputs& in) {
       Brin::OccMapPathFinder finder(&in.map, 0.0f);
       finder.setCoarseFactor(2);
       std::vector<Pose2D> path;
       finder.computePath(in.pose, in.goal, path);
     }},
    {"computeCoarserMap",
     [](Inputs& in) {
       OccupancyMap coarse(0, 0, 1.0f, true);
       Brin::computeCoarserMap(in.map, coarse, 2);
     }},
    {"throwRay",
     [](Inputs& in) { Brin::OccupancyMapper(&in.map).throwRay(in.pose, in.goal, 0.5f); }},
    {"xThrowRay",
     [](Inputs& in) {
       Brin::OccupancyMapper(&in.map).xThrowRay(in.cell.x, in.cell.y, 5, 5, in.threshold);
     }},
    {"simulateScan",
     [](Inputs& in) {
       std::vector<RangeReading> out;
       const Brin::OccupancyMapper mapper(&in.map);
       mapper.simulateScan(in.pose, -1.0f, 1.0f, 0.1f, 9.0f, 20, out, in.threshold);
       mapper.simulateScan(in.pose, 2.0f, 0.1f, 9.0f, 20, out, in.threshold);
     }},
    {"occMapGetRange",
     [](Inputs& in) {
       const Brin::ScanModel model(20, 9.0f, 3.0f);
       Brin::occMapGetRange(in.map, model, {in.cell.x, in.cell.y}, {9, 1}, in.threshold);
     }},
    {"occMapSimulateScan",
     [](Inputs& in) {
       std::vector<RangeReading> out;
       const Brin::ScanModel model(20, 9.0f, 3.0f);
       Brin::occMapSimulateScan(in.map, model, in.pose, out, in.threshold);
     }},
    {"PreparedMap",
     [](Inputs& in) {
       Brin::PreparedMap prepared(in.map, in.threshold);
       prepared.refresh(1, 1, 3, 3);
       prepared.throwRay(in.pose, in.goal);
       std::vector<RangeReading> out;
       prepared.simulateScan(in.pose, 2.0f, 0.1f, 9.0f, 20, out);
     }},
    {"SafePathSimplifier", [](Inputs& in) { Brin::SafePathSimplifier().sample(in.path, in.map); }},
    {"computePathCostStat",
     [](Inputs& in) { Brin::computePathCostStat(in.map, in.path, &in.threshold); }},
    {"findFirstFreeCell",
     [](Inputs& in) {
       Pose2Di out;
       Brin::findFirstFreeCell(in.map, in.cell, out, in.threshold);
     }},
    {"findFirstGrayCell",
     [](Inputs& in) {
       Pose2Di out;
       Brin::findFirstGrayCell(in.map, in.cell, out, 0.4f, 0.1f);
     }},
    {"findFirstFreeCellInLine",
     [](Inputs& in) {
       Pose2Di out;
       Brin::findFirstFreeCellInLine(in.map, in.cell, {3, 9, 0.0f}, out, in.threshold);
     }},
    {"findFirstCellWithCond",
     [](Inputs& in) {
       Pose2Di out;
       Brin::findFirstCellWithCond(in.map, in.cell, out, [](float value) { return value > 0.99f; });
     }},
    {"findObstaclesMainDirection",
     [](Inputs& in) {
       float direction = 0.0f;
       Brin::findObstaclesMainDirection(in.map, in.cell, 2.0f, direction, in.threshold);
     }},
    {"scrollOccMap, from it",
     [](Inputs& in) {
       OccupancyMap scrolled(in.map);
       Brin::scrollOccMap(in.map, scrolled, Brin::Point2Di{2, -1});
       Brin::scrollOccMap(in.map, scrolled, in.pose);
     }},
};

const Operation kImageReaders[] = {
    {"scrollIplImage, from it",
     [](Inputs& in) {
       const ImagePtr out = emptyImage(*in.square);
       Brin::scrollIplImage(in.square.get(), out.get(), {1.0f, 2.0f});
       Brin::scrollIplImage(in.square.get(), out.get(), {0.5f, 0.25f});
       const ImagePtr bytes = emptyImage(*in.picture);
       Brin::scrollIplImage(in.picture.get(), bytes.get(), {1.0f, 2.0f});
     }},
    {"mergeImages2",
     [](Inputs& in) {
       IplImage* out = nullptr;
       Brin::mergeImages2(
           {{in.square.get(), 1.0f, 0.0f, 0.0f}, {in.square.get(), 0.5f, 0.0f, 0.0f}}, &out, 1.0f,
           0.0f);
       const ImagePtr owner(out);
     }},
    {"rotateIplImage90, from it",
     [](Inputs& in) { Brin::rotateIplImage90(in.square.get(), emptyImage(*in.square).get()); }},
    {"rotateIplImage90_2, from it",
     [](Inputs& in) {
       Brin::rotateIplImage90_2(in.square.get(), emptyImage(*in.square).get());
       Brin::rotateIplImage90_2(in.picture.get(), emptyImage(*in.picture).get());
     }},
    {"buildLaserDistance, of a picture",
     [](Inputs& in) {
       IplImage* laserImage = in.picture.get();
       IplImage* distances = nullptr;
       Brin::buildLaserDistance(in.scan, in.pose, &laserImage, &distances, 0.5f);
       EXPECT_EQ(laserImage, in.picture.get());
       const ImagePtr owner(distances);
     }},
    {"scanScore",
     [](Inputs& in) {
       IplImage* debug = nullptr;
       const IplImage* map = in.reference.distanceMap;
       Brin::scanScore(map, in.points, in.pose, 0.5f, 1.0f, nullptr, &debug, 2);
       Brin::scanScore(map, in.scan, in.pose, 0.5f, 1.0f, nullptr, &debug, 2);
       const ImagePtr owner(debug);
     }},
    {"ScanDistMap",
     [](Inputs& in) {
       const Brin::ScanDistMap& reference = in.reference;
       reference.score(in.points, in.pose, 1.0f, nullptr);
       reference.score(in.scan, in.pose, 1.0f, nullptr);
       reference.scorePxlScan(in.points, in.pose, 1.0f, nullptr);
     }},
    {"scanScores",
     [](Inputs& in) {
       std::vector<float> scores;
       const IplImage* map = in.reference.distanceMap;
       const std::vector<Pose2D> many(200, in.pose);
       Brin::scanScores(map, in.points, many, 0.5f, 1.0f, scores, nullptr, 1);
       Brin::scanScores(map, in.points, in.path, 0.5f, 1.0f, scores, nullptr, 2);
       Brin::scanScores(map, in.scan, in.path, 0.5f, 1.0f, scores, nullptr, 1);
     }},
};

const Operation kSequenceReaders[] = {
    {"getResolution and toPoint2D",
     [](Inputs& in) {
       in.scan.getResolution();
       for (const RangeReading& reading : in.scan.readings) reading.toPoint2D();
     }},
    {"updateMap, of a scan",
     [](Inputs& in) {
       OccupancyMap target(in.map);
       Brin::OccupancyMapper(&target).updateMap(in.scan.readings, in.pose, 0.1f, 0.2f);
       Brin::OccupancyMapper(&target).updateMap2(in.scan.readings, in.pose, 0.1f, 0.2f);
     }},
    {"fillOccMapFromScan, of a scan",
     [](Inputs& in) {
       OccupancyMap target(in.map);
       Brin::fillOccMapFromScan(in.scan, in.pose, target, 3);
     }},
    {"scanLikelihood",
     [](Inputs& in) {
       Brin::ScanModel(9, 5.0f, 3.0f).scanLikelihood(in.scan.readings, in.otherScan.readings, 1);
     }},
    {"drawLaser, of a scan",
     [](Inputs& in) {
       IplImage* picture = nullptr;
       Brin::drawLaser(in.scan, in.pose, &picture, 1.0f, true, 0);
       const ImagePtr owner(picture);
     }},
    {"findScanHoles",
     [](Inputs& in) {
       std::vector<Brin::ScanHole> holes;
       Brin::findScanHoles(in.scan, holes, 0.3f);
       Brin::findScanHoles_old(in.scan, holes, 0.3f, 3);
     }},
    {"the steps of findScanHoles",
     [](Inputs& in) {
       Brin::xIsHoleOK(in.scan, in.hole);
       Brin::headingAmpCompare(in.hole, in.hole);
       Brin::Scan filtered;
       Brin::xFilterNoHit(in.scan, filtered, 3);
       int i = Brin::xNextStepInScan(in.scan, 0, 0.0f);
       Brin::xNextStepInScanNoHit(in.scan, i);
       Brin::xNextStepInScanDistanceGap(in.scan, i, 0.3f, 1.0f);
     }},
    {"pathUpSample",
     [](Inputs& in) {
       std::vector<Pose2Di> out;
       Brin::pathUpSample(in.cells, out);
     }},
    {"PathSimplifier", [](Inputs& in) { Brin::PathSimplifier().sample(in.path); }},
    {"findClosestInVect", [](Inputs& in) { Brin::findClosestInVect(in.path, in.pose, 5.0f); }},
    {"averages of poses",
     [](Inputs& in) { Brin::relStdDevPose2D(in.path, Brin::avgPose2D(in.path)); }},
};

void expectReadersToKeep(const Operation* first, const Operation* last, std::uint64_t seed) {
  RandomInputs random(seed);
  const korrin_test::LogCapture log;
  int runs = 0;
  for (int i = 0; i < 300; ++i) {
    Inputs in(random);
    const std::vector<char> before = bytesOf(in);
    for (const Operation* operation = first; operation != last; ++operation) {
      SCOPED_TRACE(operation->name);
      operation->run(in);
      ASSERT_TRUE(bytesOf(in) == before) << "inputs " << i;
      ++runs;
    }
  }
  EXPECT_EQ(runs, 300 * static_cast<int>(last - first));
}

TEST(ReadOnly, mapsAreLeftAsTheyWere) {
  expectReadersToKeep(std::begin(kMapReaders), std::end(kMapReaders), 101);
}

TEST(ReadOnly, imagesAreLeftAsTheyWere) {
  expectReadersToKeep(std::begin(kImageReaders), std::end(kImageReaders), 102);
}

TEST(ReadOnly, scansAndPathsAreLeftAsTheyWere) {
  expectReadersToKeep(std::begin(kSequenceReaders), std::end(kSequenceReaders), 103);
}

// The comparison sees a byte of any kind.
TEST(ReadOnly, aByteThatChangesIsSeen) {
  RandomInputs random(104);
  Inputs in(random);
  const std::vector<char> before = bytesOf(in);
  for (char* byte :
       {in.map.image->imageData, in.map.secondImage->imageData + 1,
        in.map.image->imageData + in.map.image->imageSize - 1,
        reinterpret_cast<char*>(&in.map.params.height),
        reinterpret_cast<char*>(&in.map.image->origin), in.picture->imageData + in.picture->width,
        in.reference.distanceMap->imageData, reinterpret_cast<char*>(&in.reference.step)}) {
    *byte ^= 1;
    EXPECT_TRUE(bytesOf(in) != before);
    *byte ^= 1;
    EXPECT_TRUE(bytesOf(in) == before);
  }
}

}  // namespace
