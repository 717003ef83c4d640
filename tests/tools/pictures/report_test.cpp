#include "tools/pictures/report.hpp"

#include <gtest/gtest.h>

#include "korrin/io/file_error.hpp"
#include "tests/tools/tool_run.hpp"

namespace korrin_test {
namespace {

using korrin_tool::base64;
using korrin_tool::Report;

std::string base64Of(const std::string& text) { return base64({text.begin(), text.end()}); }

// The test vectors of RFC 4648.
TEST(Base64, PadsToGroupsOfFour) {
  EXPECT_EQ(base64Of(""), "");
  EXPECT_EQ(base64Of("f"), "Zg==");
  EXPECT_EQ(base64Of("fo"), "Zm8=");
  EXPECT_EQ(base64Of("foo"), "Zm9v");
  EXPECT_EQ(base64Of("foob"), "Zm9vYg==");
  EXPECT_EQ(base64Of("fooba"), "Zm9vYmE=");
  EXPECT_EQ(base64Of("foobar"), "Zm9vYmFy");
}

TEST(Base64, KnowsAllDigits) {
  EXPECT_EQ(base64({0x00, 0x10, 0x83, 0x10, 0x51, 0x87, 0x20, 0x92, 0x8b, 0x30, 0xd3, 0x8f}),
            "ABCDEFGHIJKLMNOP");
  EXPECT_EQ(base64({0xfb, 0xff, 0xbf}), "+/+/");
}

TEST(ReportTest, EscapesEveryText) {
  Report report("a < b", "\"c\" & d");
  report.addTable({{"<th>"}, {{"1 > 0"}}});
  report.addPicture("<h2>", "<p>", {1, 2, 3});
  const std::string html = report.html();
  for (const std::string part :
       {"<title>a &lt; b</title>", "<h1>a &lt; b</h1>", "&quot;c&quot; &amp; d",
        "<th>&lt;th&gt;</th>", "<td>1 &gt; 0</td>", "<h2>&lt;h2&gt;</h2>", "<p>&lt;p&gt;</p>",
        "src=\"data:image/png;base64,AQID\""}) {
    EXPECT_NE(html.find(part), std::string::npos) << part << " in\n" << html;
  }
}

TEST(ReportTest, ShowsThingsInTheOrderTheyWereAdded) {
  Report report("title", "introduction");
  report.addPicture("first", "", {});
  report.addTable({{}, {{"second"}}});
  report.addPicture("third", "", {});
  const std::string html = report.html();
  EXPECT_LT(html.find("introduction"), html.find("first"));
  EXPECT_LT(html.find("first"), html.find("second"));
  EXPECT_LT(html.find("second"), html.find("third"));
  EXPECT_EQ(html.find("<thead>"), std::string::npos);
}

TEST(ReportTest, SavesWhatItShowsOrNamesTheFile) {
  const TemporaryDirectory directory;
  const Report report("title", "introduction");
  report.save(directory / "report.html");
  EXPECT_EQ(readFile(directory / "report.html"), report.html());
  try {
    report.save(directory / "no/report.html");
    FAIL();
  } catch (const Brin::io::FileError& error) {
    EXPECT_EQ(error.what(), directory / "no/report.html: cannot be written");
  }
}

}  // namespace
}  // namespace korrin_test
