#include "tools/path_file.hpp"

#include <charconv>
#include <cmath>
#include <fstream>
#include <optional>

#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

constexpr const char* kBlanks = " \t\r";

std::string trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::optional<float> parseNumber(const std::string& text) {
  const std::string number = trimmed(text);
  float value = 0.0f;
  const char* const end = number.data() + number.size();
  const auto [rest, error] = std::from_chars(number.data(), end, value);
  if (error != std::errc() || rest != end || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<Brin::Pose2D> parseLine(const std::string& line) {
  std::vector<float> numbers;
  std::size_t begin = 0;
  for (;;) {
    const std::size_t comma = std::min(line.find(',', begin), line.size());
    const std::optional<float> number = parseNumber(line.substr(begin, comma - begin));
    if (!number || numbers.size() == 3) return std::nullopt;
    numbers.push_back(*number);
    if (comma == line.size()) break;
    begin = comma + 1;
  }
  if (numbers.size() < 2) return std::nullopt;
  return Brin::Pose2D(numbers[0], numbers[1], numbers.size() == 3 ? numbers[2] : 0.0f);
}

}  // namespace

std::vector<Brin::Pose2D> readPathFile(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw UsageError(path + ": cannot be read");
  std::vector<Brin::Pose2D> poses;
  std::size_t number = 0;
  bool mayBeHeader = true;
  for (std::string line; std::getline(file, line);) {
    ++number;
    const std::string content = trimmed(line);
    if (content.empty() || content[0] == '#') continue;
    const std::optional<Brin::Pose2D> pose = parseLine(content);
    if (pose) {
      poses.push_back(*pose);
    } else if (!mayBeHeader) {
      throw UsageError(path + ": line " + std::to_string(number) + ": must be x,y or x,y,theta");
    }
    mayBeHeader = false;
  }
  if (poses.empty()) throw UsageError(path + ": no poses");
  return poses;
}

}  // namespace korrin_tool
