#include "tools/serve/fields.hpp"

#include <cmath>
#include <limits>

#include "tools/format.hpp"
#include "tools/serve/limits.hpp"
#include "tools/serve/refusal.hpp"

namespace korrin_tool::serve {
namespace {

constexpr int kBadRequest = 400;
constexpr std::size_t kShownLetters = 40;
constexpr float kMostRadians = 1000.0f;

// What was found, shortly.
std::string foundText(const Json& found) {
  if (found.is_array()) return "a list of " + std::to_string(found.size());
  if (found.is_object()) return "an object";
  std::string text = found.dump(-1, ' ', true, Json::error_handler_t::replace);
  if (text.size() > kShownLetters) text = text.substr(0, kShownLetters) + "...";
  return text;
}

std::string rangeText(double low, double high) {
  return "from " + formatShort(low) + " to " + formatShort(high);
}

// A finite number as a float between two others; false for anything else.
bool readFloat(const Json& json, float low, float high, float& value) {
  if (!json.is_number()) return false;
  const double number = json.get<double>();
  if (!(std::abs(number) <= std::numeric_limits<float>::max())) return false;
  const auto rounded = static_cast<float>(number);
  if (!(rounded >= low && rounded <= high)) return false;
  value = rounded;
  return true;
}

}  // namespace

void refuseField(const std::string& name, const std::string& wanted, const Json& found) {
  throw Refusal(kBadRequest, name + ": must be " + wanted + ", found " + foundText(found));
}

Json parseBody(const std::string& body) {
  if (body.size() > kMostBodyBytes) {
    throw Refusal(kBadRequest, "the body is larger than " +
                                   formatCount(std::int64_t{kMostBodyBytes}) + " bytes");
  }
  const auto checkNesting = [](int depth, Json::parse_event_t, Json&) {
    if (depth <= kMostNesting) return true;
    throw Refusal(kBadRequest, "the body has lists or objects more than " +
                                   std::to_string(kMostNesting) + " deep in each other");
  };
  Json json;
  try {
    json = Json::parse(body, checkNesting);
  } catch (const Json::parse_error& error) {
    throw Refusal(kBadRequest, "the body is no JSON: wrong at byte " + std::to_string(error.byte));
  } catch (const Json::out_of_range&) {
    throw Refusal(kBadRequest, "the body has a number that is too large");
  }
  if (!json.is_object()) refuseField("the body", "an object", json);
  return json;
}

Fields::Fields(const Json& object, std::string name) : object_(object), name_(std::move(name)) {
  if (!object.is_object()) refuseField(name_.empty() ? "the body" : name_, "an object", object);
}

std::string Fields::nameOf(const std::string& key) const {
  return name_.empty() ? key : name_ + "." + key;
}

const Json* Fields::find(const std::string& key, Need need) {
  known_.insert(key);
  const auto found = object_.find(key);
  if (found != object_.end()) return &*found;
  if (need == Need::Must) throw Refusal(kBadRequest, nameOf(key) + ": is missing");
  return nullptr;
}

bool Fields::has(const std::string& key) const { return object_.contains(key); }

void Fields::number(const std::string& key, float low, float high, float& value) {
  const Json* const json = find(key, Need::May);
  if (json == nullptr || readFloat(*json, low, high, value)) return;
  refuseField(nameOf(key), "a number " + rangeText(low, high), *json);
}

void Fields::integer(const std::string& key, std::int64_t low, std::int64_t high,
                     std::int64_t& value) {
  const Json* const json = find(key, Need::May);
  if (json == nullptr) return;
  const double number = json->is_number() ? json->get<double>() : std::nan("");
  if (!(number >= static_cast<double>(low) && number <= static_cast<double>(high)) ||
      number != std::floor(number)) {
    refuseField(nameOf(key),
                "a whole number from " + std::to_string(low) + " to " + std::to_string(high),
                *json);
  }
  value = static_cast<std::int64_t>(number);
}

void Fields::flag(const std::string& key, bool& value) {
  const Json* const json = find(key, Need::May);
  if (json == nullptr) return;
  if (!json->is_boolean()) refuseField(nameOf(key), "true or false", *json);
  value = json->get<bool>();
}

void Fields::text(const std::string& key, Need need, std::string& value) {
  const Json* const json = find(key, need);
  if (json == nullptr) return;
  if (!json->is_string()) refuseField(nameOf(key), "a text", *json);
  value = json->get<std::string>();
}

void Fields::word(const std::string& key, Need need, const std::vector<std::string>& words,
                  std::size_t& place) {
  const Json* const json = find(key, need);
  if (json == nullptr) return;
  std::string wanted;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (json->is_string() && json->get_ref<const std::string&>() == words[i]) {
      place = i;
      return;
    }
    wanted += (i == 0 ? "" : i + 1 < words.size() ? ", " : " or ") + words[i];
  }
  refuseField(nameOf(key), wanted, *json);
}

void Fields::pose(const std::string& key, Need need, Brin::Pose2D& value) {
  const Json* const json = find(key, need);
  if (json != nullptr) value = poseFrom(*json, nameOf(key));
}

const Json* Fields::object(const std::string& key, Need need) {
  const Json* const json = find(key, need);
  if (json != nullptr && !json->is_object()) refuseField(nameOf(key), "an object", *json);
  return json;
}

const Json* Fields::list(const std::string& key, Need need) {
  const Json* const json = find(key, need);
  if (json != nullptr && !json->is_array()) refuseField(nameOf(key), "a list", *json);
  return json;
}

void Fields::done() const {
  for (const auto& [key, value] : object_.items()) {
    if (known_.count(key) > 0) continue;
    throw Refusal(kBadRequest, "no field is called " + foundText(Json(key)) +
                                   (name_.empty() ? "" : " in " + name_));
  }
}

Brin::Pose2D poseFrom(const Json& json, const std::string& name) {
  const std::string wanted = "[x, y] or [x, y, theta]";
  if (!json.is_array() || json.size() < 2 || json.size() > 3) refuseField(name, wanted, json);
  Brin::Pose2D pose;
  for (const std::size_t i : {std::size_t{0}, std::size_t{1}}) {
    if (readFloat(json[i], -kMostMetres, kMostMetres, i == 0 ? pose.x : pose.y)) continue;
    refuseField(name, wanted + " of numbers " + rangeText(-kMostMetres, kMostMetres), json[i]);
  }
  if (json.size() == 3 && !readFloat(json[2], -kMostRadians, kMostRadians, pose.theta)) {
    refuseField(name, "[x, y, theta] with theta " + rangeText(-kMostRadians, kMostRadians),
                json[2]);
  }
  return pose;
}

}  // namespace korrin_tool::serve
