#include "korrin/io/path_file.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/bits.hpp"
#include "tests/support/files.hpp"
#include "tests/support/random_inputs.hpp"

namespace korrin_test {
namespace {

using Brin::Pose2D;
using Brin::io::FileError;
using Brin::io::readPathFile;
using Brin::io::writePathFile;

class PathFile : public ::testing::Test {
 protected:
  std::vector<Pose2D> read(const std::string& text) {
    writeFile(file_, text);
    return readPathFile(file_);
  }

  // What is wrong, without the file's name in front.
  template <typename Action>
  std::string faultOf(const Action& action) const {
    try {
      action();
    } catch (const FileError& error) {
      EXPECT_EQ(error.file(), file_);
      return std::string(error.what()).substr(file_.size() + 2);
    }
    return "no fault";
  }

  TemporaryDirectory directory_;
  const std::string file_ = directory_ / "way.csv";
};

TEST_F(PathFile, readsPosesWithAndWithoutHeading) {
  const std::vector<Pose2D> poses = read("x,y,theta\n1,2,0.5\n# half way\n\n -3 , 4.25\r\n");
  ASSERT_EQ(poses.size(), 2u);
  EXPECT_TRUE(sameBits(poses[0], {1.0f, 2.0f, 0.5f}));
  EXPECT_TRUE(sameBits(poses[1], {-3.0f, 4.25f, 0.0f}));
}

TEST_F(PathFile, faultsNameTheLine) {
  EXPECT_EQ(faultOf([&] { read("1,2\n1\n"); }), "line 2: must be x,y or x,y,theta");
  EXPECT_EQ(faultOf([&] { read("x,y\n1,inf\n"); }), "line 2: must be x,y or x,y,theta");
  EXPECT_EQ(faultOf([&] { read("# nothing\n"); }), "no poses");
}

TEST_F(PathFile, aFileThatIsNotThereTellsWhatTheSystemSays) {
  try {
    readPathFile(file_);
    FAIL() << "read";
  } catch (const FileError& error) {
    EXPECT_EQ(error.systemError(), ENOENT);
    EXPECT_EQ(error.what(), file_ + ": cannot be read");
  }
}

TEST_F(PathFile, writesAHeaderAndTheFewestDigits) {
  writePathFile({{1.0f, -0.1f, 0.5f}, {1e10f, 0.0f, 3.1415927f}}, file_);
  EXPECT_EQ(readFile(file_), "x,y,theta\n1,-0.1,0.5\n10000000000,0,3.1415927\n");
}

TEST_F(PathFile, whatIsWrittenReadsBackBitForBit) {
  RandomInputs random(3);
  std::vector<Pose2D> path;
  for (int i = 0; i < 1000; ++i) {
    const float size = std::pow(10.0f, random.between(-40.0f, 38.0f));
    path.emplace_back(random.between(-1.0f, 1.0f) * size, random.between(-9.0f, 9.0f), -0.0f);
  }
  path.emplace_back(std::numeric_limits<float>::max(), std::numeric_limits<float>::denorm_min(),
                    std::numeric_limits<float>::lowest());
  writePathFile(path, file_);
  const std::vector<Pose2D> back = readPathFile(file_);
  ASSERT_EQ(back.size(), path.size());
  for (std::size_t i = 0; i < path.size(); ++i) EXPECT_TRUE(sameBits(back[i], path[i])) << i;
}

TEST_F(PathFile, aPathThatCannotBeReadBackLeavesTheFileAsItWas) {
  writeFile(file_, "1,2\n");
  EXPECT_EQ(faultOf([&] { writePathFile({}, file_); }), "cannot be written: no poses");
  for (const float bad : {NAN, INFINITY, -INFINITY}) {
    for (const Pose2D& pose : {Pose2D(bad, 0, 0), Pose2D(0, bad, 0), Pose2D(0, 0, bad)}) {
      EXPECT_EQ(faultOf([&] { writePathFile({pose}, file_); }),
                "cannot be written: a pose is not finite");
    }
  }
  EXPECT_EQ(readFile(file_), "1,2\n");
}

TEST_F(PathFile, aFileThatCannotBeWrittenIsNamed) {
  const std::string nowhere = directory_ / "no/such/way.csv";
  try {
    writePathFile({{1.0f, 2.0f, 0.0f}}, nowhere);
    FAIL() << "written";
  } catch (const FileError& error) {
    EXPECT_EQ(error.what(), nowhere + ": cannot be written");
    EXPECT_EQ(error.systemError(), ENOENT);
  }
}

}  // namespace
}  // namespace korrin_test
