// The types of korrin/mapping as plain fields, in which korrin.mapping and the extension exchange
// them.
#pragma once

#include <array>
#include <tuple>
#include <utility>
#include <vector>

#include "korrin/mapping/mapping.hpp"

namespace korrin_python {

using PoseFields = std::array<double, 3>;
using InformationFields = std::array<double, 6>;
// (from, to, motion, information, loss scale)
using EdgeFields = std::tuple<std::size_t, std::size_t, PoseFields, InformationFields, double>;
using GraphFields = std::pair<std::vector<PoseFields>, std::vector<EdgeFields>>;
// (from, to, motion, information, kind, dropped)
using LinkFields =
    std::tuple<std::size_t, std::size_t, PoseFields, InformationFields, std::int32_t, bool>;
using SummaryFields = std::array<std::size_t, 6>;
// (key distance, key turn, maximum range, closes loops)
using SettingsFields = std::tuple<float, float, float, bool>;

inline PoseFields fieldsOfPose(const Brin::mapping::GraphPose& pose) {
  return {pose.x, pose.y, pose.theta};
}

inline Brin::mapping::GraphPose poseOfFields(const PoseFields& fields) {
  return {fields[0], fields[1], fields[2]};
}

inline InformationFields fieldsOfInformation(const Brin::mapping::GraphInformation& known) {
  return {known.xx, known.xy, known.xTheta, known.yy, known.yTheta, known.thetaTheta};
}

inline GraphFields fieldsOfGraph(const Brin::mapping::PoseGraph& graph) {
  GraphFields fields;
  for (const Brin::mapping::GraphPose& node : graph.nodes)
    fields.first.push_back(fieldsOfPose(node));
  for (const Brin::mapping::GraphEdge& edge : graph.edges) {
    fields.second.emplace_back(edge.from, edge.to, fieldsOfPose(edge.motion),
                               fieldsOfInformation(edge.information), edge.lossScale);
  }
  return fields;
}

inline Brin::mapping::GraphEdge edgeOfFields(const EdgeFields& fields) {
  const auto& [from, to, motion, known, lossScale] = fields;
  return {from,
          to,
          poseOfFields(motion),
          {known[0], known[1], known[2], known[3], known[4], known[5]},
          lossScale};
}

inline Brin::mapping::PoseGraph graphOfFields(const GraphFields& fields) {
  Brin::mapping::PoseGraph graph;
  for (const PoseFields& node : fields.first) graph.nodes.push_back(poseOfFields(node));
  for (const EdgeFields& edge : fields.second) graph.edges.push_back(edgeOfFields(edge));
  return graph;
}

inline std::vector<LinkFields> fieldsOfLinks(const std::vector<Brin::mapping::ScanLink>& links) {
  std::vector<LinkFields> fields;
  for (const Brin::mapping::ScanLink& link : links) {
    fields.emplace_back(link.from, link.to, fieldsOfPose(link.motion),
                        fieldsOfInformation(link.information), static_cast<std::int32_t>(link.kind),
                        link.dropped);
  }
  return fields;
}

inline SummaryFields fieldsOfSummary(const Brin::mapping::AlignerSummary& summary) {
  return {summary.scans,      summary.keyScans,      summary.unmatched,
          summary.loopsFound, summary.loopsAccepted, summary.loopsDropped};
}

inline Brin::mapping::AlignerSettings settingsOfFields(const SettingsFields& fields) {
  const auto [keyDistance, keyTurn, maxRange, closesLoops] = fields;
  return {keyDistance, keyTurn, maxRange, closesLoops};
}

}  // namespace korrin_python
