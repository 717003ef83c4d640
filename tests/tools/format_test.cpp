#include "tools/format.hpp"

#include <gtest/gtest.h>

#include <sstream>

namespace korrin_test {
namespace {

using namespace korrin_tool;

TEST(Format, CountsAreGroupedByThousands) {
  EXPECT_EQ(formatCount(0), "0");
  EXPECT_EQ(formatCount(999), "999");
  EXPECT_EQ(formatCount(1000), "1,000");
  EXPECT_EQ(formatCount(1234567), "1,234,567");
  EXPECT_EQ(formatCount(-123), "-123");
  EXPECT_EQ(formatCount(-1234), "-1,234");
}

TEST(Format, UnitsComeWithSensibleDigits) {
  EXPECT_EQ(formatMetres(0.256), "0.26 m");
  EXPECT_EQ(formatMetres(12.345), "12.3 m");
  EXPECT_EQ(formatDegrees(3.14159265358979), "180.0 deg");
  EXPECT_EQ(formatSeconds(0.00085), "850 us");
  EXPECT_EQ(formatSeconds(0.0123), "12.3 ms");
  EXPECT_EQ(formatSeconds(0.25), "250 ms");
  EXPECT_EQ(formatSeconds(1.239), "1.24 s");
  EXPECT_EQ(formatShort(0.05f), "0.05");
  EXPECT_EQ(formatPoint({1.25f, -0.5f}), "(1.25, -0.50)");
  EXPECT_EQ(formatPoint({1e30f, 0.0f}), "(1e+30, 0.00)");
}

TEST(Format, TablesAlignTheFirstColumnLeftAndTheOthersRight) {
  std::ostringstream out;
  Table{{"step", "time"}, {{"a", "1 ms"}, {"longer", "1,000 ms"}}}.print(out);
  EXPECT_EQ(out.str(),
            "step        time\n"
            "a           1 ms\n"
            "longer  1,000 ms\n");
  std::ostringstream bare;
  Table{{}, {{"only"}, {"one", "2"}}}.print(bare);
  EXPECT_EQ(bare.str(), "only\none   2\n");
}

}  // namespace
}  // namespace korrin_test
