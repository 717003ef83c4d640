#include "korrin/io/path_file.hpp"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <fstream>
#include <optional>

#include "io/number_text.hpp"
#include "io/write_file.hpp"

namespace Brin::io {
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

std::optional<Pose2D> parseLine(const std::string& line) {
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
  return Pose2D(numbers[0], numbers[1], numbers.size() == 3 ? numbers[2] : 0.0f);
}

}  // namespace

std::vector<Pose2D> readPathFile(const std::string& path) {
  errno = 0;
  std::ifstream file(path);
  if (!file) throw FileError(path, "", "cannot be read", errno != 0 ? errno : EIO);
  std::vector<Pose2D> poses;
  std::size_t number = 0;
  bool mayBeHeader = true;
  for (std::string line; std::getline(file, line);) {
    ++number;
    const std::string content = trimmed(line);
    if (content.empty() || content[0] == '#') continue;
    const std::optional<Pose2D> pose = parseLine(content);
    if (pose) {
      poses.push_back(*pose);
    } else if (!mayBeHeader) {
      throw FileError(path, "line " + std::to_string(number), "must be x,y or x,y,theta");
    }
    mayBeHeader = false;
  }
  if (poses.empty()) throw FileError(path, "", "no poses");
  return poses;
}

void writePathFile(const std::vector<Pose2D>& poses, const std::string& path) {
  if (poses.empty()) throw FileError(path, "", "cannot be written: no poses");
  std::string text = "x,y,theta\n";
  for (const Pose2D& pose : poses) {
    if (!std::isfinite(pose.x) || !std::isfinite(pose.y) || !std::isfinite(pose.theta)) {
      throw FileError(path, "", "cannot be written: a pose is not finite");
    }
    text += shortText(pose.x) + ',' + shortText(pose.y) + ',' + shortText(pose.theta) + '\n';
  }
  writeFile(path, text);
}

}  // namespace Brin::io
