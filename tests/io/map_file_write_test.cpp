// Maps in map-server form, written and read back.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <opencv2/imgcodecs.hpp>

#include "korrin/io/map_file.hpp"
#include "tests/support/bits.hpp"
#include "tests/support/files.hpp"
#include "tests/support/map_drawing.hpp"
#include "tests/support/random_inputs.hpp"

namespace korrin_test {
namespace {

using Brin::OccupancyMap;
using Brin::io::MapFileFormat;
using Brin::io::MapMode;
using Brin::io::readMapFile;
using Brin::io::writeMapFile;

class MapFileWrite : public ::testing::Test {
 protected:
  OccupancyMap writtenAndRead(const OccupancyMap& map, const MapFileFormat& format = {}) {
    writeMapFile(map, directory_ / "map.yaml", format);
    return readMapFile(directory_ / "map.yaml");
  }

  TemporaryDirectory directory_;
};

TEST_F(MapFileWrite, WritesTheGeometryAndTheUsualGreys) {
  OccupancyMap map = drawMap({"#.?",  //
                              "..."},
                             0.05f);
  map.params.origin = {-9.975f, 3.525f, 0.0f};
  writeMapFile(map, directory_ / "map.yaml");
  EXPECT_EQ(readFile(directory_ / "map.yaml"),
            "image: map.pgm\n"
            "mode: trinary\n"
            "resolution: 0.05\n"
            "origin: [-10, 3.5, 0]\n"
            "negate: 0\n"
            "occupied_thresh: 0.65\n"
            "free_thresh: 0.196\n");
  const cv::Mat picture = cv::imread(directory_ / "map.pgm", cv::IMREAD_UNCHANGED);
  EXPECT_EQ(picture.type(), CV_8UC1);
  EXPECT_EQ(cv::countNonZero(picture != (cv::Mat_<std::uint8_t>(2, 3) << 254, 254, 254,  //
                                         0, 254, 205)),
            0);
}

TEST_F(MapFileWrite, TrinaryTakesTheNearestOfItsThreeValues) {
  EXPECT_EQ(drawingOf(writtenAndRead(drawMap({"#123456789."}))),
            (std::vector<std::string>{"###?????..."}));
}

TEST_F(MapFileWrite, RawKeepsPercentsAndUnknown) {
  OccupancyMap map(102, 1, 0.1f, true);
  for (int percent = 0; percent <= 100; ++percent) {
    map.setCell(percent, 0, static_cast<float>(1.0 - percent / 100.0));
  }
  MapFileFormat format;
  format.mode = MapMode::Raw;
  EXPECT_TRUE(sameImage(writtenAndRead(map, format).image, map.image));
}

TEST_F(MapFileWrite, ScaleInPngKeepsUnknownExactly) {
  MapFileFormat format;
  format.mode = MapMode::Scale;
  format.occupiedThreshold = 1.0;
  format.freeThreshold = 0.0;
  const OccupancyMap map = drawMap({"#?."});
  EXPECT_TRUE(sameImage(writtenAndRead(map, format).image, map.image));
  EXPECT_EQ(cv::imread(directory_ / "map.png", cv::IMREAD_UNCHANGED).channels(), 4);
}

TEST_F(MapFileWrite, ScaleIsWithinHalfALevel) {
  MapFileFormat format;
  format.mode = MapMode::Scale;
  format.occupiedThreshold = 1.0;
  format.freeThreshold = 0.0;
  OccupancyMap map(1001, 1, 0.1f, true);
  for (int x = 0; x <= 1000; ++x) map.setCell(x, 0, static_cast<float>(x) / 1000.0f);
  for (const std::string image : {"map.png", "map.pgm"}) {
    format.image = image;
    const OccupancyMap read = writtenAndRead(map, format);
    for (int x = 0; x <= 1000; ++x) {
      EXPECT_NEAR(read.getCell(x, 0), map.getCell(x, 0), 0.5f / 255.0f + 1e-6f);
    }
  }
}

TEST_F(MapFileWrite, ValuesThatAreNoProbabilitiesBecomeTheNearestOneAndNotANumberUnknown) {
  OccupancyMap map = drawMap({"....."});
  map.setCell(0, 0, -3.0f);
  map.setCell(1, 0, 7.0f);
  map.setCell(2, 0, std::numeric_limits<float>::quiet_NaN());
  map.setCell(3, 0, -std::numeric_limits<float>::infinity());
  for (const MapMode mode : {MapMode::Trinary, MapMode::Raw}) {
    MapFileFormat format;
    format.mode = mode;
    EXPECT_EQ(drawingOf(writtenAndRead(map, format)), (std::vector<std::string>{"#.?#."}));
  }
}

TEST_F(MapFileWrite, NegatedMapsReadBackToo) {
  MapFileFormat format;
  format.negate = true;
  const OccupancyMap map = drawMap({"#?."});
  EXPECT_TRUE(sameImage(writtenAndRead(map, format).image, map.image));
  EXPECT_EQ(cv::imread(directory_ / "map.pgm", cv::IMREAD_UNCHANGED).at<std::uint8_t>(0, 2), 0);
}

// Any format in which all three certain values can be told apart.
MapFileFormat anyFormat(RandomInputs& random) {
  MapFileFormat format;
  format.mode = random.pick<MapMode>({MapMode::Trinary, MapMode::Scale, MapMode::Raw});
  format.negate = random.chance(0.5);
  format.freeThreshold = random.between(0.05f, 0.45f);
  format.occupiedThreshold = format.freeThreshold + random.between(0.05f, 0.5f);
  format.image = random.pick<std::string>({"", "map.pgm", "map.png", "other picture.png"});
  return format;
}

TEST_F(MapFileWrite, WhatWasReadIsWrittenWithoutLoss) {
  RandomInputs random(41);
  MapBounds bounds;
  bounds.minSide = 1;
  bounds.anyValueShare = 0.8;
  bounds.secondImageShare = 1.0;
  int turned = 0;
  for (int i = 0; i < 400; ++i) {
    const MapFileFormat format = anyFormat(random);
    OccupancyMap map = random.map(bounds);
    map.params.resolution = random.between(0.01f, 2.0f);
    turned += map.params.origin.theta != 0.0f ? 1 : 0;

    const OccupancyMap once = writtenAndRead(map, format);
    EXPECT_TRUE(sameParams(once.params, map.params)) << readFile(directory_ / "map.yaml");
    EXPECT_TRUE(sameMap(writtenAndRead(once, format), once));
  }
  EXPECT_GT(turned, 100);
}

TEST_F(MapFileWrite, AnyPictureOfAMapReadsBackAsTheSameMapWhenWrittenInItsOwnFormat) {
  RandomInputs random(42);
  for (int i = 0; i < 200; ++i) {
    MapFileFormat format = anyFormat(random);
    format.image = "map.png";
    cv::Mat picture(random.between(1, 9), random.between(1, 9), CV_8UC1);
    for (int k = 0; k < picture.rows * picture.cols; ++k) {
      picture.data[k] = static_cast<std::uint8_t>(random.bits());
    }
    writeMapFile(OccupancyMap(picture.cols, picture.rows, 0.05f, true), directory_ / "map.yaml",
                 format);
    ASSERT_TRUE(cv::imwrite(directory_ / "map.png", picture));

    MapFileFormat stored;
    const OccupancyMap map = readMapFile(directory_ / "map.yaml", &stored);
    EXPECT_TRUE(sameMap(writtenAndRead(map, stored), map));
  }
}

std::string faultOf(const std::string& yamlPath, const MapFileFormat& format) {
  try {
    writeMapFile(drawMap({"."}), yamlPath, format);
  } catch (const Brin::io::FileError& error) {
    return error.what();
  }
  return "no fault";
}

TEST_F(MapFileWrite, FileThatCannotBeWrittenIsNamed) {
  EXPECT_EQ(faultOf(directory_ / "no/map.yaml", {}), directory_ / "no/map.pgm: cannot be written");
  MapFileFormat format;
  format.image = "map.thing";
  EXPECT_EQ(faultOf(directory_ / "map.yaml", format),
            directory_ / "map.thing: not a kind of picture that can be written (use .pgm or .png)");
  std::filesystem::create_directory(directory_ / "map.yaml");
  EXPECT_EQ(faultOf(directory_ / "map.yaml", {}), directory_ / "map.yaml: cannot be written");
}

TEST_F(MapFileWrite, MapWithoutCellsIsRefused) {
  try {
    writeMapFile(OccupancyMap(0, 3, 1.0f, false), directory_ / "map.yaml");
    FAIL();
  } catch (const Brin::io::FileError& error) {
    EXPECT_EQ(error.what(), directory_ / "map.yaml: cannot be written: the map has no cells");
  }
}

TEST_F(MapFileWrite, WhatWouldNotBeReadBackIsRefusedAndNothingIsWritten) {
  const auto faultOf = [&](const std::function<void(OccupancyMap&, MapFileFormat&)>& spoil) {
    OccupancyMap map = drawMap({".#"}, 0.05f);
    MapFileFormat format;
    spoil(map, format);
    try {
      writeMapFile(map, directory_ / "map.yaml", format);
    } catch (const Brin::io::FileError& error) {
      EXPECT_TRUE(std::filesystem::is_empty(directory_.path()));
      return error.place() + ": " + error.fault();
    }
    return std::string("no fault");
  };
  const std::string noThreshold = "must lie between 0 and 1";
  for (const double bad : {-0.1, 1.5, std::nan("")}) {
    EXPECT_EQ(faultOf([&](OccupancyMap&, MapFileFormat& f) { f.occupiedThreshold = bad; }),
              "occupied_thresh: " + noThreshold);
    EXPECT_EQ(faultOf([&](OccupancyMap&, MapFileFormat& f) { f.freeThreshold = bad; }),
              "free_thresh: " + noThreshold);
  }
  EXPECT_EQ(faultOf([](OccupancyMap&, MapFileFormat& f) { f.freeThreshold = f.occupiedThreshold; }),
            "free_thresh: must be below occupied_thresh");
  for (const float bad : {0.0f, -1.0f, 2e9f, NAN, INFINITY}) {
    EXPECT_EQ(faultOf([&](OccupancyMap& map, MapFileFormat&) { map.params.resolution = bad; }),
              "resolution: must be positive and at most 1e9");
  }
  for (const float bad : {1.1e9f, -1.1e9f, NAN, INFINITY}) {
    for (float Brin::Pose2D::*const field :
         {&Brin::Pose2D::x, &Brin::Pose2D::y, &Brin::Pose2D::theta}) {
      EXPECT_EQ(faultOf([&](OccupancyMap& map, MapFileFormat&) { map.params.origin.*field = bad; }),
                "origin: must lie within 1e9 of 0");
    }
  }
}

}  // namespace
}  // namespace korrin_test
