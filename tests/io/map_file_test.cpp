// Maps in map-server form, read. Pictures are written as plain PGM, so that their rows can be seen.
#include "korrin/io/map_file.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <opencv2/imgcodecs.hpp>

#include "tests/support/bits.hpp"
#include "tests/support/files.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/map_drawing.hpp"

namespace korrin_test {
namespace {

using Brin::OccupancyMap;
using Brin::io::MapFileFormat;
using Brin::io::MapMode;
using Brin::io::readMapFile;

// A YAML file, complete and valid, in which a test replaces single lines.
struct Yaml {
  std::string image = "image: map.pgm\n";
  std::string resolution = "resolution: 0.05\n";
  std::string origin = "origin: [0, 0, 0]\n";
  std::string negate = "negate: 0\n";
  std::string occupied = "occupied_thresh: 0.65\n";
  std::string free = "free_thresh: 0.196\n";
  std::string mode = "";

  std::string text() const { return image + resolution + origin + negate + occupied + free + mode; }
};

class MapFile : public ::testing::Test {
 protected:
  void writePgm(const std::string& sizeAndPixels, int white = 255) {
    const std::size_t lineEnd = sizeAndPixels.find('\n');
    writeFile(directory_ / "map.pgm", "P2\n" + sizeAndPixels.substr(0, lineEnd) + "\n" +
                                          std::to_string(white) + sizeAndPixels.substr(lineEnd));
  }

  void writePng(const cv::Mat& picture) {
    ASSERT_TRUE(cv::imwrite(directory_ / "map.png", picture));
    yaml_.image = "image: map.png\n";
  }

  OccupancyMap read(MapFileFormat* format = nullptr) {
    writeFile(directory_ / "map.yaml", yaml_.text());
    return readMapFile(directory_ / "map.yaml", format);
  }

  // What is wrong with the map file, without the path of the YAML file in front.
  std::string fault() {
    try {
      read();
    } catch (const Brin::io::FileError& error) {
      const std::string file = directory_ / "map.yaml: ";
      const std::string message = error.what();
      EXPECT_EQ(message.substr(0, file.size()), file);
      return message.substr(std::min(file.size(), message.size()));
    }
    return "no fault";
  }

  std::string inDirectory(const std::string& name) const { return "'" + directory_ / name + "'"; }

  TemporaryDirectory directory_;
  Yaml yaml_;
};

TEST_F(MapFile, TopRowOfThePictureIsTheLastRowOfTheMap) {
  writePgm(
      "3 2\n"
      "  0 254 254\n"
      "254 205   0\n");
  EXPECT_EQ(drawingOf(read()), (std::vector<std::string>{".?#",  //
                                                         "#.."}));
}

TEST_F(MapFile, OriginIsTheCornerOfThePictureAndTheCentreOfTheFirstCell) {
  writePgm("1 1\n0\n");
  yaml_.resolution = "resolution: 0.5\n";
  yaml_.origin = "origin: [-10, 3.5, 0]\n";
  EXPECT_TRUE(sameBits(read().params.origin, {-9.75f, 3.75f, 0.0f}));
}

TEST_F(MapFile, TurnedOriginTurnsTheWayFromCornerToCentre) {
  writePgm("1 1\n0\n");
  yaml_.resolution = "resolution: 0.5\n";
  yaml_.origin = "origin: [1, 2, 1.5707963267948966]\n";  // the grid's x axis points up
  const Brin::Pose2D origin = read().params.origin;
  EXPECT_NEAR(origin.x, 0.75f, 1e-6f);
  EXPECT_NEAR(origin.y, 2.25f, 1e-6f);
  EXPECT_EQ(origin.theta, 1.57079637f);
}

TEST_F(MapFile, EveryWorldPointInsideAPixelFallsIntoItsCell) {
  writePgm("4 3\n0 0 0 0\n0 0 0 0\n0 0 0 0\n");
  yaml_.origin = "origin: [-3.2, 7.1, 0.7]\n";
  const OccupancyMap map = read();
  const Brin::Pose2D corner(-3.2f, 7.1f, 0.7f);
  for (const float inside : {0.01f, 0.5f, 0.99f}) {
    const Brin::Pose2D point = corner.absProject({(2 + inside) * 0.05f, (1 + inside) * 0.05f, 0});
    const Brin::Pose2Di cell = map.getPixelFromPose(point);
    EXPECT_EQ(cell.x, 2);
    EXPECT_EQ(cell.y, 1);
  }
}

TEST_F(MapFile, MapHasTheSecondImageAndTheResolution) {
  writePgm("2 1\n0 0\n");
  const OccupancyMap map = read();
  EXPECT_EQ(map.params.width, 2);
  EXPECT_EQ(map.params.height, 1);
  EXPECT_EQ(map.params.resolution, 0.05f);
  EXPECT_NE(map.secondImage, nullptr);
}

TEST_F(MapFile, TrinaryThresholdsThemselvesAreUnknown) {
  // Pixels 51, 52, 152, 153 stand for the occupied probabilities 0.8, 0.796.., 0.4039.., 0.4.
  writePgm("5 1\n50 51 52 153 154\n");
  yaml_.occupied = "occupied_thresh: 0.8\n";
  yaml_.free = "free_thresh: 0.4\n";
  EXPECT_EQ(drawingOf(read()), (std::vector<std::string>{"#???."}));
}

TEST_F(MapFile, NegateMakesWhiteOccupied) {
  writePgm("3 1\n0 100 255\n");
  yaml_.negate = "negate: 1\n";
  EXPECT_EQ(drawingOf(read()), (std::vector<std::string>{".?#"}));
}

TEST_F(MapFile, ScaleFallsLinearlyBetweenTheThresholds) {
  writePgm("5 1\n0 51 102 153 255\n");
  yaml_.mode = "mode: scale\n";
  yaml_.occupied = "occupied_thresh: 0.8\n";
  yaml_.free = "free_thresh: 0.4\n";
  const OccupancyMap map = read();
  EXPECT_EQ(map.getCell(0, 0), 0.0f);
  EXPECT_NEAR(map.getCell(1, 0), 0.0f, 1e-6f);  // p = 0.8
  EXPECT_NEAR(map.getCell(2, 0), 0.5f, 1e-6f);  // p = 0.6
  EXPECT_NEAR(map.getCell(3, 0), 1.0f, 1e-6f);  // p = 0.4
  EXPECT_EQ(map.getCell(4, 0), 1.0f);
}

TEST_F(MapFile, ScaleWithNegateRunsTheOtherWay) {
  writePgm("3 1\n0 128 255\n");
  yaml_.mode = "mode: scale\n";
  yaml_.negate = "negate: true\n";
  yaml_.occupied = "occupied_thresh: 1\n";
  yaml_.free = "free_thresh: 0\n";
  const OccupancyMap map = read();
  EXPECT_EQ(map.getCell(0, 0), 1.0f);
  EXPECT_EQ(map.getCell(1, 0), static_cast<float>(1.0 - 128.0 / 255.0));
  EXPECT_EQ(map.getCell(2, 0), 0.0f);
}

TEST_F(MapFile, RawPixelIsThePercentageOfOccupancyAndUnknownAbove100) {
  writePgm("6 1\n0 25 100 101 254 255\n");
  yaml_.mode = "mode: raw\n";
  for (const std::string negate : {"negate: 0\n", "negate: 1\n"}) {
    yaml_.negate = negate;
    const OccupancyMap map = read();
    EXPECT_EQ(map.getCell(0, 0), 1.0f);
    EXPECT_EQ(map.getCell(1, 0), 0.75f);
    EXPECT_EQ(map.getCell(2, 0), 0.0f);
    for (const int x : {3, 4, 5}) EXPECT_EQ(map.getCell(x, 0), 0.5f);
  }
}

TEST_F(MapFile, ColoursAreAveraged) {
  cv::Mat picture(1, 2, CV_8UC3);
  picture.at<cv::Vec3b>(0, 0) = {0, 0, 255};      // a third of white: p = 0.667
  picture.at<cv::Vec3b>(0, 1) = {255, 255, 120};  // p = 0.176
  writePng(picture);
  EXPECT_EQ(drawingOf(read()), (std::vector<std::string>{"#."}));
}

TEST_F(MapFile, TrinaryAveragesAlphaIn) {
  cv::Mat picture(1, 2, CV_8UC4);
  picture.at<cv::Vec4b>(0, 0) = {255, 255, 255, 0};  // three quarters of white: p = 0.25
  picture.at<cv::Vec4b>(0, 1) = {0, 0, 0, 255};      // a quarter of white: p = 0.75
  writePng(picture);
  EXPECT_EQ(drawingOf(read()), (std::vector<std::string>{"?#"}));
}

TEST_F(MapFile, ScaleTakesWhatIsNotFullyOpaqueAsUnknown) {
  cv::Mat picture(1, 4, CV_8UC4);
  picture.at<cv::Vec4b>(0, 0) = {0, 0, 0, 254};
  picture.at<cv::Vec4b>(0, 1) = {255, 255, 255, 0};
  picture.at<cv::Vec4b>(0, 2) = {0, 0, 0, 255};
  picture.at<cv::Vec4b>(0, 3) = {255, 255, 255, 255};
  writePng(picture);
  yaml_.mode = "mode: scale\n";
  EXPECT_EQ(drawingOf(read()), (std::vector<std::string>{"??#."}));
}

TEST_F(MapFile, SixteenBitPicturesCountTheirOwnWhite) {
  cv::Mat picture(1, 3, CV_16UC1);
  picture.at<std::uint16_t>(0, 0) = 255;
  picture.at<std::uint16_t>(0, 1) = 40000;
  picture.at<std::uint16_t>(0, 2) = 65535;
  writePng(picture);
  EXPECT_EQ(drawingOf(read()), (std::vector<std::string>{"#?."}));
}

TEST_F(MapFile, FormatTellsHowTheMapWasStored) {
  writePgm("1 1\n0\n");
  yaml_.mode = "mode: raw\n";
  yaml_.negate = "negate: 1\n";
  MapFileFormat format;
  read(&format);
  EXPECT_EQ(format.image, "map.pgm");
  EXPECT_EQ(format.mode, MapMode::Raw);
  EXPECT_TRUE(format.negate);
  EXPECT_EQ(format.occupiedThreshold, 0.65);
  EXPECT_EQ(format.freeThreshold, 0.196);
}

TEST_F(MapFile, AbsoluteImagePathIsTakenAsItIs) {
  writePgm("1 1\n0\n");
  yaml_.image = "image: " + directory_ / "map.pgm\n";
  EXPECT_EQ(drawingOf(read()), (std::vector<std::string>{"#"}));
}

TEST_F(MapFile, EveryMissingKeyIsNamed) {
  writePgm("1 1\n0\n");
  const std::vector<std::pair<std::string Yaml::*, std::string>> keys = {
      {&Yaml::image, "image"},   {&Yaml::resolution, "resolution"},    {&Yaml::origin, "origin"},
      {&Yaml::negate, "negate"}, {&Yaml::occupied, "occupied_thresh"}, {&Yaml::free, "free_thresh"},
  };
  for (const auto& [line, name] : keys) {
    yaml_ = Yaml();
    yaml_.*line = "";
    EXPECT_EQ(fault(), name + ": is missing");
    yaml_.*line = name + ":\n";
    EXPECT_EQ(fault(), name + ": is missing");
  }
}

TEST_F(MapFile, EveryFaultyValueIsNamedWithItsKey) {
  writePgm("1 1\n0\n");
  const std::vector<std::tuple<std::string Yaml::*, std::string, std::string>> faults = {
      {&Yaml::image, "[a, b]", "image: must be a text"},
      {&Yaml::image, "''", "image: must be a text"},
      {&Yaml::resolution, "fine", "resolution: must be a number, found 'fine'"},
      {&Yaml::resolution, "[1]", "resolution: must be a number"},
      {&Yaml::resolution, "0", "resolution: must be positive, found 0"},
      {&Yaml::resolution, "-0.05", "resolution: must be positive, found -0.05"},
      {&Yaml::resolution, "1e-60", "resolution: must be positive, found 1e-60"},
      {&Yaml::resolution, "1e60", "resolution: is too large, found 1e60"},
      {&Yaml::resolution, ".nan", "resolution: must be finite, found '.nan'"},
      {&Yaml::resolution, ".inf", "resolution: must be finite, found '.inf'"},
      {&Yaml::origin, "3", "origin: must be a list of numbers"},
      {&Yaml::origin, "[1, 2]", "origin: must be [x, y, yaw], found 2 numbers"},
      {&Yaml::origin, "[1]", "origin: must be [x, y, yaw], found 1 number"},
      {&Yaml::origin, "[1, 2, 3, 4]", "origin: must be [x, y, yaw], found 4 numbers"},
      {&Yaml::origin, "[1, two, 3]", "origin: must be a number, found 'two'"},
      {&Yaml::origin, "[1, .nan, 3]", "origin: must be finite, found '.nan'"},
      {&Yaml::origin, "[1, 1e10, 3]", "origin: must lie within 1e9 of 0, found 10000000000"},
      {&Yaml::negate, "2", "negate: must be 0 or 1, found '2'"},
      {&Yaml::negate, "[0]", "negate: must be 0 or 1"},
      {&Yaml::occupied, "high", "occupied_thresh: must be a number, found 'high'"},
      {&Yaml::occupied, "1.5", "occupied_thresh: must lie between 0 and 1, found 1.5"},
      {&Yaml::free, "-0.1", "free_thresh: must lie between 0 and 1, found -0.1"},
      {&Yaml::free, ".nan", "free_thresh: must be finite, found '.nan'"},
      {&Yaml::free, "0.65", "free_thresh: must be below occupied_thresh (0.65), found 0.65"},
      {&Yaml::mode, "dual", "mode: must be trinary, scale or raw, found 'dual'"},
  };
  for (const auto& [line, value, message] : faults) {
    yaml_ = Yaml();
    const std::string key = message.substr(0, message.find(':'));
    yaml_.*line = key + ": " + value + "\n";
    EXPECT_EQ(fault(), message) << value;
  }
}

TEST_F(MapFile, PictureThatCannotBeReadIsNamed) {
  EXPECT_EQ(fault(), "image: cannot read " + inDirectory("map.pgm"));
  std::filesystem::create_directory(directory_ / "map.pgm");
  EXPECT_EQ(fault(), "image: cannot read " + inDirectory("map.pgm"));
}

TEST_F(MapFile, FileThatIsNoPictureIsNamed) {
  for (const std::string content : {"", "not a picture", "P7\n", "P5x"}) {
    writeFile(directory_ / "map.pgm", content);
    EXPECT_EQ(fault(), "image: not a picture: " + inDirectory("map.pgm")) << content;
  }
}

TEST_F(MapFile, PictureThatIsDamagedOrCutShortIsNamedAsSuch) {
  for (const std::string content : {"P5\n-3 4\n255\n", "P5\n4 4\n255\nab", "P2\n3 3\n255\n1 2"}) {
    writeFile(directory_ / "map.pgm", content);
    EXPECT_EQ(fault(), "image: damaged or cut short: " + inDirectory("map.pgm")) << content;
  }
  writePng(cv::Mat(64, 64, CV_8UC1, cv::Scalar(205)));
  const std::string whole = readFile(directory_ / "map.png");
  for (const std::size_t length : {std::size_t{4}, std::size_t{40}, whole.size() / 2}) {
    writeFile(directory_ / "map.png", whole.substr(0, length));
    EXPECT_EQ(fault(), "image: damaged or cut short: " + inDirectory("map.png")) << length;
  }
}

TEST_F(MapFile, PictureInPlaceOfTheYamlFileIsToldAsSuch) {
  writePgm("1 1\n0\n");
  try {
    readMapFile(directory_ / "map.pgm");
    FAIL() << "read";
  } catch (const Brin::io::FileError& error) {
    EXPECT_EQ(error.what(), directory_ / "map.pgm" +
                                ": is a picture; what to read is the YAML file that belongs to it");
    EXPECT_EQ(error.systemError(), 0);
  }
}

TEST_F(MapFile, OriginBeyondTenKilometresGivesOneWarning) {
  writePgm("1 1\n0\n");
  yaml_.resolution = "resolution: 0.5\n";
  const LogCapture log;
  yaml_.origin = "origin: [9999.75, -10000.25, 0]\n";
  read();
  EXPECT_TRUE(log.records().empty());
  for (const char* const origin : {"[10000, 0, 0]", "[0, -10001, 0]"}) {
    yaml_.origin = std::string("origin: ") + origin + "\n";
    const std::size_t before = log.records().size();
    read();
    ASSERT_EQ(log.records().size(), before + 1) << origin;
    EXPECT_EQ(log.records().back().level, Brin::NavLogLevel::Warning);
    EXPECT_EQ(log.records().back().message,
              directory_ / "map.yaml" +
                  ": the origin is more than 10 km from 0, where positions are rounded to a "
                  "millimetre or more; use a local origin.");
  }
}

TEST_F(MapFile, FaultTellsFilePlaceAndWhatTheSystemSays) {
  try {
    readMapFile(directory_ / "none.yaml");
    FAIL() << "read";
  } catch (const Brin::io::FileError& error) {
    EXPECT_EQ(error.file(), directory_ / "none.yaml");
    EXPECT_EQ(error.place(), "");
    EXPECT_EQ(error.fault(), "cannot be read");
    EXPECT_EQ(error.systemError(), ENOENT);
  }
  try {
    read();
    FAIL() << "read";
  } catch (const Brin::io::FileError& error) {
    EXPECT_EQ(error.place(), "image");
    EXPECT_EQ(error.fault(), "cannot read " + inDirectory("map.pgm"));
    EXPECT_EQ(error.systemError(), ENOENT);
  }
}

TEST_F(MapFile, PictureOfFloatsIsRefused) {
  ASSERT_TRUE(cv::imwrite(directory_ / "map.tiff", cv::Mat(1, 1, CV_32FC1, cv::Scalar(0.5))));
  yaml_.image = "image: map.tiff\n";
  EXPECT_EQ(fault(), "image: must have 8 or 16 bits a channel: " + inDirectory("map.tiff"));
}

TEST_F(MapFile, YamlThatCannotBeReadOrParsedIsNamed) {
  const std::string path = directory_ / "map.yaml";
  const auto faultOf = [&] {
    try {
      readMapFile(path);
    } catch (const Brin::io::FileError& error) {
      return std::string(error.what());
    }
    return std::string("no fault");
  };
  EXPECT_EQ(faultOf(), path + ": cannot be read");
  writeFile(path, "image: map.pgm\norigin: [0, 0\nnegate: 0\n");
  EXPECT_EQ(faultOf().find(path + ": not valid YAML: line 3: "), 0u) << faultOf();
  for (const std::string content : {"", "just words", "- a\n- list\n"}) {
    writeFile(path, content);
    EXPECT_EQ(faultOf(), path + ": must hold 'key: value' lines") << content;
  }
}

}  // namespace
}  // namespace korrin_test
