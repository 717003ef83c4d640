#include <memory>
#include <vector>

#include "python/src/bindings.hpp"
#include "python/src/finder.hpp"

namespace korrin_python {
namespace {

using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::Pose2Di;
using Node = OccMapPathFinder::Node;

constexpr const char* kFinderDoc = R"(Plans paths over a map: weighted A* from cell to cell.

A cell is free when its value is not below `obstacle_threshold` (0.2 at first), and freer cells are
cheaper. With a coarse factor above 1 the map is reduced so many times before each search. Settings
take effect at the next request. Fields that are arrays are copies.

The weight of the distance to the goal (set_h_weight) and the neighbour tables are shared by all
finders of the process, and every new finder sets the weight back to 0.5. Threads may share finders
all the same: one request runs at a time, while other Python code goes on.

As a value a finder is its map and its settings. What the last search left is neither compared nor
copied nor pickled, and a copy leaves the weight as it is.

>>> map = korrin.OccupancyMap(200, 100, 0.05)     # 10 m x 5 m
>>> map.reset(1)
>>> map.image[:80, 100] = 0                       # a wall with a way round
>>> finder = korrin.OccMapPathFinder(map, 0)
>>> path = finder.compute_path((1, 1, 0), (9, 1, 0))
>>> path.shape[1], np.round(path[0], 3).tolist(), np.round(path[-1], 3).tolist()
(3, [1.0, 1.0, 0.0], [9.0, 1.0, 0.0])
>>> bool(path[:, 1].max() > 3.9)
True
)";

constexpr const char* kPosesDoc = R"(The way between two world poses (metres, radians) as an N x 3
array of poses: the centres of its cells, both ends included. The heading of the start is dropped.

Empty, with one log record that says why, when there is none: the start or the goal is not free or
off the map, or there is no way.

>>> map = korrin.OccupancyMap(20, 20, 0.5)
>>> korrin.OccMapPathFinder(map, 0).compute_path((1, 1, 0), (2, 1, 0)).tolist()
[[1.0, 1.0, 0.0], [1.5, 1.0, 0.0], [2.0, 1.0, 0.0]]
)";

constexpr const char* kCellsDoc = R"(The same between two cells of the coarse map, given as Pose2Di
or by keyword; N x 3: column, row, heading. The start keeps its heading, all other cells have 0.

>>> map = korrin.OccupancyMap(20, 20, 0.5)
>>> finder = korrin.OccMapPathFinder(map, 0)
>>> finder.compute_path(start_cell=(1, 1, 0), end_cell=(3, 1, 0)).tolist()
[[1.0, 1.0, 0.0], [2.0, 1.0, 0.0], [3.0, 1.0, 0.0]]
)";

template <typename Place>
std::vector<Place> computePath(Finder& self, const Place& start, const Place& end) {
  std::vector<Place> path;
  self.search([&](OccMapPathFinder& finder) { finder.computePath(start, end, path); });
  return path;
}

float hWeight() {
  float weight = 0.0f;
  unlockedAlone([&] { weight = Node::hWeight; });
  return weight;
}

void setHWeight(float weight) {
  unlockedAlone([&] { OccMapPathFinder::setHWeight(weight); });
}

template <typename Value>
void field(FinderClass& type, const char* name, Value OccMapPathFinder::*member, const char* doc) {
  type.def_property(
      name, [member](const Finder& self) { return self.get(member); },
      [member](Finder& self, const Value& value) { self.set(member, value); }, doc);
}

template <typename Value>
void constField(FinderClass& type, const char* name, Value OccMapPathFinder::*member,
                const char* doc) {
  type.def_property_readonly(
      name, [member](const Finder& self) { return self.get(member); }, doc);
}

void bindNode(FinderClass& type) {
  PYBIND11_NUMPY_DTYPE(Node, x, y, theta, parent, f, g, h);
  py::class_<Node> node(type, "Node", R"(A node of a search.

>>> korrin.OccMapPathFinder.Node().parent
-1
)");
  node.def(py::init<>())
      .def_property_static(
          "h_weight", [](const py::object&) { return hWeight(); },
          [](const py::object&, float weight) { setHWeight(weight); },
          "The weight of the distance to the goal, of all finders of the process");
  actsAsRecord(node, Node(), Field{"x", &Node::x, "Column"}, Field{"y", &Node::y, "Row"},
               Field{"theta", &Node::theta, "The start's heading in the start node, else 0"},
               Field{"parent", &Node::parent, "Index into closed_nodes, -1: start"},
               Field{"f", &Node::f, "Priority, lower first"},
               Field{"g", &Node::g, "Cost from the start"},
               Field{"h", &Node::h, "Straight distance to the goal, metres"});
}

void finderActsAsValue(FinderClass& type) {
  using F = OccMapPathFinder;
  const auto make = [](const std::shared_ptr<OccupancyMap>& map, float threshold, int coarseFactor,
                       float angleCostFactor, F::NeighborhoodType neighborhood, float value,
                       const Pixels& deltas) {
    std::vector<Pose2Di> steps;
    if (!readCells(deltas.array, steps)) throw py::cast_error("not the steps of a finder");
    return Finder::remade(map, value, [&](F& finder) {
      finder.obstacleThreshold = threshold;
      finder.coarseFactor = coarseFactor;
      finder.angleCostFactor = angleCostFactor;
      finder.neighborhoodType = neighborhood;
      finder.neighborDeltas = steps;
    });
  };
  const auto read = [](auto member) {
    return [member](const Finder& self) { return self.get(member); };
  };
  const Field map{"map", &Finder::map};
  const Field threshold{"obstacle_threshold", read(&F::obstacleThreshold)};
  const Field coarse{"coarse_factor", read(&F::coarseFactor)};
  const Field turn{"angle_cost_factor", read(&F::angleCostFactor)};
  const Field type_{"neighborhood_type", read(&F::neighborhoodType)};
  const Field value{"init_param", read(&F::initParam)};
  // Those of the type, unless it is none of the three.
  const Field steps{"neighbor_deltas", [](const Finder& self) {
                      return Pixels{arrayFrom(self.get(&F::neighborDeltas))};
                    }};
  showsFields(type, map, threshold, coarse, turn, type_);
  comparesFields(type, map, threshold, coarse, turn, type_, value, steps);
  picklesFields(type, make, map, threshold, coarse, turn, type_, value, steps);
}

void bindFields(FinderClass& type) {
  using F = OccMapPathFinder;
  type.def_property("occ_map", &Finder::map, &Finder::setMap, "The map to plan on, or None");
  field(type, "obstacle_threshold", &F::obstacleThreshold, "A cell below it is an obstacle");
  field(type, "init_param", &F::initParam, "The constructor's second argument, not used");
  field(type, "coarse_factor", &F::coarseFactor, "Cells along one side of a coarse cell");
  field(type, "angle_cost_factor", &F::angleCostFactor, "Cost of a turn, metres a radian");
  constField(type, "start", &F::start, "Cell of the last accepted request");
  constField(type, "end", &F::end, "Cell of the last accepted request");
  constField(type, "num_iterations", &F::numIterations, "Nodes expanded by the last search");
  constField(type, "neighborhood_type", &F::neighborhoodType, "As it was set last");
  constField(type, "neighbor_deltas", &F::neighborDeltas, "Steps that are tried, N x 3");
  const auto copied = [](auto member) {
    return [member](const Finder& self) { return takeOver(self.get(member)); };
  };
  type.def_property_readonly("nodes", copied(&F::nodes), "Every node, a structured array")
      .def_property_readonly("closed_nodes", copied(&F::closedNodes), "Expanded nodes, in order")
      .def_property_readonly("open_list", copied(&F::openList), "Indexes into nodes, next first")
      .def_property_readonly(
          "cell_states", [](Finder& self) { return self.array(&F::cellStates); },
          "Rows x columns: 0 never seen, 1 open, 2 closed; None before the first request")
      .def_property_readonly(
          "cell_nodes", [](Finder& self) { return self.array(&F::cellNodes); },
          "Rows x columns: index into nodes; None before the first request")
      .def_property(
          "coarse_map",
          [](Finder& self) {
            auto copy = std::make_shared<OccupancyMap>(0, 0, 1.0f, false);
            self.with([&](F& finder) { *copy = finder.coarseMap; });
            return copy;
          },
          [](Finder& self, const OccupancyMap& map) {
            self.with([&](F& finder) { finder.coarseMap = map; });
          },
          "The map that is searched; a copy, both ways");
}

void bindSettings(FinderClass& type) {
  using F = OccMapPathFinder;
  type.def("set_occ_map", &Finder::setMap, py::arg("map"), R"(Plans on another map from now on.

>>> finder = korrin.OccMapPathFinder(None, 0)
>>> finder.set_occ_map(korrin.OccupancyMap(4, 4, 1))
>>> len(finder.compute_path((0, 0, 0), (3, 0, 0)))
4
)")
      .def_static("set_h_weight", &setHWeight, py::arg("weight"),
                  R"(The weight of the distance to the goal, in [0, 1], of all finders there are.

0 finds a cheapest path, 0.5 (plain A*) stands at first, 1 runs at the goal greedily.

>>> finder = korrin.OccMapPathFinder(None, 0)
>>> korrin.OccMapPathFinder.set_h_weight(0.25)
>>> finder.Node.h_weight
0.25
)")
      .def(
          "set_obstacle_threshold",
          [](Finder& self, float value) { self.set(&F::obstacleThreshold, value); },
          py::arg("threshold"), R"(Sets the value below which a cell is an obstacle.

>>> korrin.OccMapPathFinder(None, 0).set_obstacle_threshold(0.4)
)")
      .def(
          "get_obstacle_threshold",
          [](const Finder& self) { return self.get(&F::obstacleThreshold); },
          R"(The value below which a cell is an obstacle.

>>> round(korrin.OccMapPathFinder(None, 0).get_obstacle_threshold(), 3)
0.2
)")
      .def(
          "set_coarse_factor",
          [](Finder& self, std::int32_t value) { self.set(&F::coarseFactor, value); },
          py::arg("factor"), R"(Searches a map so many times coarser.

>>> finder = korrin.OccMapPathFinder(korrin.OccupancyMap(40, 40, 0.25), 0)
>>> finder.set_coarse_factor(4)
>>> len(finder.compute_path((0, 0, 0), (3, 0, 0)))
4
)")
      .def(
          "set_angle_cost_factor",
          [](Finder& self, float value) { self.set(&F::angleCostFactor, value); },
          py::arg("factor"), R"(Metres that a turn of one radian before the first step costs.

>>> korrin.OccMapPathFinder(None, 0).set_angle_cost_factor(0.5)
)")
      .def(
          "get_angle_cost_factor", [](const Finder& self) { return self.get(&F::angleCostFactor); },
          R"(Metres that a turn of one radian before the first step costs.

>>> korrin.OccMapPathFinder(None, 0).get_angle_cost_factor()
0.0
)")
      .def(
          "set_neighborhood_type",
          [](Finder& self, F::NeighborhoodType value) {
            self.with([&](F& finder) { finder.setNeighborhoodType(value); });
          },
          py::arg("type"), R"(Chooses the steps: the 8 adjacent cells, or 12 or 16 farther ones.

>>> finder = korrin.OccMapPathFinder(None, 0)
>>> finder.set_neighborhood_type(finder.Triple)
>>> len(finder.neighbor_deltas)
16
)")
      .def(
          "get_num_iterations", [](const Finder& self) { return self.get(&F::numIterations); },
          R"(Nodes that the last accepted request expanded.

>>> korrin.OccMapPathFinder(None, 0).get_num_iterations()
0
)");
}

}  // namespace

void bindPathFinder(py::module_& module) {
  bindNeighborTables(module);
  FinderClass type(module, "OccMapPathFinder", kFinderDoc);
  py::enum_<OccMapPathFinder::NeighborhoodType> steps(type, "NeighborhoodType",
                                                      R"(Which cells a step can reach.

Its name, such as "double", serves where a member is expected.

>>> korrin.OccMapPathFinder.Simple
<NeighborhoodType.Simple: 0>
>>> korrin.OccMapPathFinder(None).set_neighborhood_type("double")
)");
  picklesNumber(steps);
  steps.value("Simple", OccMapPathFinder::Simple)
      .value("Double", OccMapPathFinder::Double)
      .value("Triple", OccMapPathFinder::Triple)
      .export_values();
  bindNode(type);
  finderActsAsValue(type);
  type.def(py::init<std::shared_ptr<OccupancyMap>, float>(), py::arg("map"),
           py::arg("value") = 0.0f)
      .def("compute_path", &computePath<Pose2D>, py::arg("start_pose"), py::arg("end_pose"),
           kPosesDoc)
      .def("compute_path", &computePath<Pose2Di>, py::arg("start_cell"), py::arg("end_cell"),
           kCellsDoc);
  bindFields(type);
  bindSettings(type);
  bindFinderSteps(type);
}

}  // namespace korrin_python
