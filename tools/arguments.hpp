// Reading what the user typed: poses, and numbers that must make sense.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "korrin/core/geometry.hpp"

namespace korrin_tool {

// "X,Y" or "X,Y,THETA" (metres, metres, radians; theta 0 when left out). Anything else, numbers
// that are not finite included, is a UsageError that names `option`.
Brin::Pose2D parsePose(const std::string& text, const std::string& option);

// Checks for an option's number: finite; finite and at least 0; finite and above 0.
CLI::Validator finiteNumber();
CLI::Validator notNegative();
CLI::Validator positive();

}  // namespace korrin_tool
