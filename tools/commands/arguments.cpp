#include "tools/commands/arguments.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

#include "tools/format.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

// The whole text as a finite number, or nothing. Independent of the locale.
std::optional<float> parseFinite(const std::string& text) {
  float value = 0.0f;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || rest != end || !std::isfinite(value)) return std::nullopt;
  return value;
}

float parsePart(const std::string& part, const std::string& text, const std::string& option) {
  const std::optional<float> number = parseFinite(part);
  if (!number) throw UsageError(option + ": not a number: '" + part + "' in '" + text + "'");
  return *number;
}

template <typename Holds>
CLI::Validator numberThat(const Holds& holds, const std::string& wanted) {
  return CLI::Validator(
      [holds, wanted](const std::string& text) {
        const std::optional<float> value = parseFinite(text);
        return value && holds(*value) ? std::string() : "must be " + wanted + ", found " + text;
      },
      "");
}

std::string exactMetres(float metres) { return formatShort(metres) + " m"; }

}  // namespace

Brin::Pose2D parsePose(const std::string& text, const std::string& option) {
  std::vector<float> numbers;
  for (const std::string& part : CLI::detail::split(text, ',')) {
    numbers.push_back(parsePart(part, text, option));
  }
  if (numbers.size() != 2 && numbers.size() != 3) {
    throw UsageError(option + ": must be X,Y or X,Y,THETA, found '" + text + "'");
  }
  return {numbers[0], numbers[1], numbers.size() == 3 ? numbers[2] : 0.0f};
}

CLI::Validator notNegative() {
  return numberThat([](float value) { return value >= 0.0f; }, "a finite number, at least 0");
}

CLI::Validator positive() {
  return numberThat([](float value) { return value > 0.0f; }, "a finite number above 0");
}

CLI::Validator between(float low, float high) {
  return numberThat([low, high](float value) { return value >= low && value <= high; },
                    "a number from " + formatShort(low) + " to " + formatShort(high));
}

CLI::Validator oneOf(const std::vector<std::string>& words) {
  return CLI::Validator(
      [words](const std::string& text) {
        if (std::find(words.begin(), words.end(), text) != words.end()) return std::string();
        return "must be one of " + CLI::detail::join(words, ", ") + ", found " + text;
      },
      "");
}

void checkLinearGrowth(float radius, float fade, const std::string& asked) {
  if (fade >= radius) return;
  throw UsageError("--fade: must be at least the radius (" + exactMetres(radius) + ") with " +
                   asked + ", found " + exactMetres(fade));
}

}  // namespace korrin_tool
