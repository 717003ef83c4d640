// Reading the fields of a JSON object, each with what it may be.
//
//   Fields fields(parseBody(body));
//   fields.pose("start", Need::Must, request.start);
//   fields.number("noise", 0.0f, 10.0f, request.noise);  // stays as it is when left out
//   fields.done();
//
// Whatever is wrong is a Refusal of status 400 that names the field, says what it must be, and what
// was found. A field that nobody asked for is wrong, too.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"

namespace korrin_tool::serve {

using Json = nlohmann::ordered_json;

// The object that a body holds. No nesting beyond kMostNesting, no text that is no UTF-8, and no
// number that a double does not hold.
Json parseBody(const std::string& body);

enum class Need { Must, May };

// Places are in metres, at most this far from the world's origin.
constexpr float kMostMetres = 1e6f;

class Fields {
 public:
  // `name` is that of the object itself, empty for a request. The object must outlive this.
  explicit Fields(const Json& object, std::string name = "");

  bool has(const std::string& key) const;

  // A number from `low` to `high`, both included; for integers a whole one.
  void number(const std::string& key, float low, float high, float& value);
  void integer(const std::string& key, std::int64_t low, std::int64_t high, std::int64_t& value);
  void flag(const std::string& key, bool& value);
  void text(const std::string& key, Need need, std::string& value);
  // One of these words: its place among them.
  void word(const std::string& key, Need need, const std::vector<std::string>& words,
            std::size_t& place);
  // [x, y] or [x, y, theta].
  void pose(const std::string& key, Need need, Brin::Pose2D& value);
  // The object or list under a key; null when it is left out and need not be there.
  const Json* object(const std::string& key, Need need);
  const Json* list(const std::string& key, Need need);

  // The name of a field, as sentences have it: "settings.weight".
  std::string nameOf(const std::string& key) const;

  // To be called when all fields are read.
  void done() const;

 private:
  const Json* find(const std::string& key, Need need);

  const Json& object_;
  std::string name_;
  std::set<std::string> known_;
};

// The pose that `json` holds; the sentence about another thing begins with `name`.
Brin::Pose2D poseFrom(const Json& json, const std::string& name);

// Refuses `found` under that name: "noise: must be a number from 0 to 10, found -1".
[[noreturn]] void refuseField(const std::string& name, const std::string& wanted,
                              const Json& found);

}  // namespace korrin_tool::serve
