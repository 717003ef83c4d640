// Reading what the user typed: poses, and numbers that must make sense.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"

namespace korrin_tool {

constexpr double kDegrees = 3.14159265358979323846 / 180.0;  // one degree, in radians

// "X,Y" or "X,Y,THETA" (metres, metres, radians; theta 0 when left out). Anything else, numbers
// that are not finite included, is a UsageError that names `option`.
Brin::Pose2D parsePose(const std::string& text, const std::string& option);

// Checks for an option's number; each also wants it finite.
CLI::Validator notNegative();
CLI::Validator positive();
CLI::Validator between(float low, float high);  // both ends included

// A check that an option is one of these words.
CLI::Validator oneOf(const std::vector<std::string>& words);

// Linear growth must not end within its radius: a UsageError that tells both numbers (metres) and
// who `asked` for that growth.
void checkLinearGrowth(float radius, float fade, const std::string& asked);

}  // namespace korrin_tool
