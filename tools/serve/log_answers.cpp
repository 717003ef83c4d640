#include "tools/json_numbers.hpp"
#include "tools/serve/answers.hpp"
#include "tools/serve/refusal.hpp"
#include "tools/serve/scan_json.hpp"

namespace korrin_tool::serve {

Json scansAnswer(World& world) {
  world.scan(0);  // refuses where there is no log
  Json poses = Json::array();
  for (const Brin::io::LoggedScan& logged : world.scans) poses.push_back(poseJson(logged.pose));
  return {{"count", world.scans.size()}, {"poses", std::move(poses)}, {"aligned", world.isAligned}};
}

Json loggedScanAnswer(std::size_t number, World& world) {
  const Brin::io::LoggedScan& logged = world.scan(number);
  Json json = {{"number", number},
               {"pose", poseJson(logged.pose)},
               {"logged", poseJson(world.loggedPoses.at(number))},
               {"time", logged.time}};
  addBeams(logged.scan.readings, json);
  return json;
}

}  // namespace korrin_tool::serve
