#include "tools/serve/scan_json.hpp"

#include "tools/json_numbers.hpp"

namespace korrin_tool::serve {

void addBeams(const std::vector<Brin::RangeReading>& readings, Json& json) {
  Json angles = Json::array();
  Json ranges = Json::array();
  Json hits = Json::array();
  for (const Brin::RangeReading& reading : readings) {
    angles.push_back(numberJson(reading.angle));
    ranges.push_back(numberJson(reading.range));
    hits.push_back(reading.status == 0 ? 1 : 0);
  }
  json["angles"] = std::move(angles);
  json["ranges"] = std::move(ranges);
  json["hits"] = std::move(hits);
}

}  // namespace korrin_tool::serve
