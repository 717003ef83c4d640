#include "korrin/mapping/pose_graph.hpp"

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "python/src/bindings.hpp"
#include "python/src/log.hpp"
#include "python/src/mapping_fields.hpp"

namespace korrin_python {
namespace {

namespace mapping = Brin::mapping;

// The nodes, and how they came about: (converged, iterations, cost before, cost after).
using SolutionFields = std::tuple<bool, int, double, double>;

std::pair<std::vector<PoseFields>, SolutionFields> solveGraph(const GraphFields& fields,
                                                              int maxIterations) {
  mapping::PoseGraph graph = graphOfFields(fields);
  mapping::GraphSolution solution;
  unlocked([&] { solution = graph.solve(maxIterations); });
  return {fieldsOfGraph(graph).first,
          {solution.converged, solution.iterations, solution.costBefore, solution.costAfter}};
}

}  // namespace

void bindPoseGraph(py::module_& module) {
  module.def("_composed", [](const PoseFields& pose, const PoseFields& rel) {
    return fieldsOfPose(mapping::composed(poseOfFields(pose), poseOfFields(rel)));
  });
  module.def("_seen_from", [](const PoseFields& origin, const PoseFields& pose) {
    return fieldsOfPose(mapping::seenFrom(poseOfFields(origin), poseOfFields(pose)));
  });
  module.def("_solve_graph", &solveGraph);
  module.def("_squared_residual", [](const GraphFields& graph, const EdgeFields& edge) {
    return graphOfFields(graph).squaredResidual(edgeOfFields(edge));
  });
  module.def("_to_g2o", [](const GraphFields& graph, const std::string& name) {
    return mapping::toG2o(graphOfFields(graph), name);
  });
  module.def("_parse_g2o", [](const std::string& text, const std::string& name) {
    return fieldsOfGraph(mapping::parseG2o(text, name));
  });
  module.def("_read_g2o", [](const std::filesystem::path& path) {
    return fieldsOfGraph(mapping::readG2o(path.string()));
  });
  module.def("_write_g2o", [](const GraphFields& graph, const std::filesystem::path& path) {
    mapping::writeG2o(graphOfFields(graph), path.string());
  });
}

}  // namespace korrin_python
