// The same bits everywhere: what a small run through the whole library gives is stored in
// tests/data/workload.txt, and every compiler, optimisation, word size and processor must give it
// again. The file has a line for each family of the library:
//
//   name TAB number of words TAB digest of all words           where the arithmetic is our own
//   name TAB number of words TAB up to 32 of them, evenly taken  where the last bits are borrowed
//
// Borrowed are sine, cosine, arcus tangent, exponential and power of the maths library, and
// OpenCV's interpolations and blur. Measured over g++ 12 and 14 and clang 14, x86 and ARM with 64
// and 32 bits, with and without AVX2 and FMA, Debian 12 and 13: the blur differs by up to 4 units
// in the last place, interpolations by up to 3, directions and hole points by up to 2; nothing else
// differs at all. docs/reliability.md says what differs where.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iomanip>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/log_capture.hpp"
#include "support/workload.hpp"

using namespace korrin_test;

namespace {

constexpr std::int64_t kMostUlps = 8;
constexpr std::size_t kMostSamples = 32;

std::map<std::string, std::string> storedLines() {
  std::ifstream file("tests/data/workload.txt");
  std::map<std::string, std::string> lines;
  for (std::string line; std::getline(file, line);) lines[line.substr(0, line.find('\t'))] = line;
  return lines;
}

std::vector<std::uint32_t> samplesOf(const std::vector<std::uint32_t>& words) {
  std::vector<std::uint32_t> samples;
  const std::size_t count = std::min(words.size(), kMostSamples);
  for (std::size_t i = 0; i < count; ++i) samples.push_back(words[i * words.size() / count]);
  return samples;
}

std::string lineOf(const Family& family, const Words& words) {
  std::ostringstream line;
  line << family.name << '\t' << words.all().size() << '\t' << std::hex << std::setfill('0');
  if (family.arithmetic == Arithmetic::Own) {
    line << std::setw(16) << digestOf(words);
  } else {
    const char* gap = "";
    for (const std::uint32_t word : samplesOf(words.all())) {
      line << gap << std::setw(8) << word;
      gap = " ";
    }
  }
  return line.str();
}

// The place of a float among all floats, 0 and -0 being the same.
std::int64_t rankOf(std::uint32_t bits) {
  constexpr std::int64_t kSign = 0x80000000;
  return bits < kSign ? std::int64_t{bits} : kSign - bits;
}

// How far apart the farthest of the words are, or -1 when their numbers differ.
std::int64_t ulpsApart(const std::string& line, const std::string& otherLine) {
  std::istringstream words(line.substr(line.rfind('\t')));
  std::istringstream others(otherLine.substr(otherLine.rfind('\t')));
  words >> std::hex;
  others >> std::hex;
  const bool isSameCount =
      line.size() == otherLine.size() &&
      line.substr(0, line.rfind('\t')) == otherLine.substr(0, otherLine.rfind('\t'));
  if (!isSameCount) return -1;
  std::int64_t most = 0;
  for (std::uint32_t a = 0, b = 0; words >> a && others >> b;) {
    most = std::max(most, std::abs(rankOf(a) - rankOf(b)));
  }
  return most;
}

TEST(Digest, OfEveryFamilyIsTheStoredOne) {
  const LogCapture log;
  const auto stored = storedLines();
  const World world = makeWorld(160, 120, 361);
  for (const Family& family : families()) {
    Words words;
    family.run(world, words);
    const std::string line = lineOf(family, words);
    if (stored.count(family.name) == 0) {
      ADD_FAILURE() << "not in tests/data/workload.txt: " << line;
    } else if (family.arithmetic == Arithmetic::Own) {
      EXPECT_EQ(line, stored.at(family.name));
    } else {
      const std::int64_t apart = ulpsApart(line, stored.at(family.name));
      EXPECT_TRUE(apart >= 0 && apart <= kMostUlps) << apart << " units apart: " << line;
    }
  }
  EXPECT_EQ(stored.size(), families().size());
}

// Another order of the bytes, another start or another factor would be another hash.
TEST(Digest, IsFnv1aOfTheBytesLowestFirst) {
  Words words;
  EXPECT_EQ(digestOf(words), 0xcbf29ce484222325u);
  words.add(std::int32_t{'f' + ('o' << 8) + ('o' << 16) + ('b' << 24)});
  EXPECT_EQ(digestOf(words), 0xdd120e790c2512afu);
}

// Two of three requests of the workload end with a path, so that its digests are of something.
TEST(Workload, FindsMostPaths) {
  const LogCapture failures;
  const World world = makeWorld(160, 120, 361);
  for (const Family& family : families()) {
    Words words;
    if (std::string(family.name) == "plan") family.run(world, words);
  }
  EXPECT_GT(failures.records().size(), 0u);
  EXPECT_LE(failures.records().size(), 10u);  // of 30
}

}  // namespace
