#include <vector>

#include "python/src/bindings.hpp"
#include "python/src/finder.hpp"

namespace korrin_python {
namespace {

using Brin::OccMapPathFinder;
using Brin::Pose2Di;
using Node = OccMapPathFinder::Node;

template <const std::vector<Pose2Di>& Table>
std::vector<Pose2Di> neighborDeltas() {
  std::vector<Pose2Di> deltas;
  unlockedAlone([&] { deltas = Table; });
  return deltas;
}

}  // namespace

void bindFinderSteps(FinderClass& type) {
  using F = OccMapPathFinder;
  type.def(
          "x_do_compute_path",
          [](Finder& self, const Pose2Di& start, const Pose2Di& end) {
            std::vector<Pose2Di> path;
            self.search([&](F& finder) { finder.xDoComputePath(start, end, path); });
            return path;
          },
          py::arg("start_cell"), py::arg("end_cell"),
          R"(Searches `coarse_map` as it is, between two of its cells.

>>> finder = korrin.OccMapPathFinder(None, 0)
>>> finder.coarse_map = korrin.OccupancyMap(3, 1, 1)
>>> len(finder.x_do_compute_path((0, 0, 0), (2, 0, 0)))
3
)")
      .def(
          "x_find_path",
          [](Finder& self) {
            bool found = false;
            self.with([&](F& finder) { found = finder.xFindPath(); });
            return found;
          },
          R"(Expands nodes until the goal is taken (True) or none is open (False).

>>> korrin.OccMapPathFinder(None, 0).x_find_path()
False
)")
      .def(
          "x_build_path",
          [](Finder& self) {
            std::vector<Pose2Di> path;
            self.with([&](F& finder) { finder.xBuildPath(path); });
            return path;
          },
          R"(The cells from the start to the node closed last, N x 3.

>>> korrin.OccMapPathFinder(None, 0).x_build_path().shape
(0, 3)
)")
      .def(
          "x_add_in_open_nodes",
          [](Finder& self, const Node& node) {
            self.with([&](F& finder) { finder.xAddInOpenNodes(node); });
          },
          py::arg("node"), R"(Stores a node and files it in the open list.

>>> finder = korrin.OccMapPathFinder(korrin.OccupancyMap(4, 4, 1), 0)
>>> path = finder.compute_path((0, 0, 0), (0, 0, 0))
>>> finder.x_add_in_open_nodes(finder.Node())
>>> finder.open_list.tolist()
[1]
)")
      .def(
          "x_cmp_pt",
          [](Finder& self, const Pose2Di& a, const Pose2Di& b, bool near) {
            bool same = false;
            self.with([&](F& finder) { same = finder.xCmpPt(a, b, near); });
            return same;
          },
          py::arg("a"), py::arg("b"), py::arg("near_is_enough"),
          R"(Whether two cells are the same, or with `near_is_enough` and Double next to each other.

>>> korrin.OccMapPathFinder(None, 0).x_cmp_pt((1, 2, 0), (1, 2, 0), False)
True
)")
      .def(
          "x_get_cell_state",
          [](Finder& self, const Pose2Di& cell) { return self.entry(cell, &F::cellStates); },
          py::arg("cell"), R"(The cell's entry of cell_states; IndexError off the searched map.

>>> finder = korrin.OccMapPathFinder(korrin.OccupancyMap(4, 4, 1), 0)
>>> path = finder.compute_path((0, 0, 0), (3, 0, 0))
>>> finder.x_get_cell_state((3, 0, 0))
2
)")
      .def(
          "x_get_cell_node",
          [](Finder& self, const Pose2Di& cell) { return self.entry(cell, &F::cellNodes); },
          py::arg("cell"), R"(The cell's entry of cell_nodes; IndexError off the searched map.

>>> finder = korrin.OccMapPathFinder(korrin.OccupancyMap(4, 4, 1), 0)
>>> path = finder.compute_path((0, 0, 0), (3, 0, 0))
>>> int(finder.nodes[finder.x_get_cell_node((3, 0, 0))]["x"])
3
)")
      .def(
          "x_find_node",
          [](Finder& self, const Pose2Di& cell) -> py::object {
            std::vector<Node> found;
            self.with([&](F& finder) {
              if (const Node* node = finder.xFindNode(cell)) found.push_back(*node);
            });
            return found.empty() ? py::none() : py::cast(found.front());
          },
          py::arg("cell"), R"(A copy of the first open node at a cell, or None.

>>> finder = korrin.OccMapPathFinder(korrin.OccupancyMap(4, 4, 1), 0)
>>> path = finder.compute_path((0, 0, 0), (3, 0, 0))
>>> finder.x_find_node((2, 1, 0)).parent
1
)")
      .def(
          "x_distance",
          [](Finder& self, int dx, int dy) {
            float metres = 0.0f;
            self.with([&](F& finder) { metres = finder.xDistance(dx, dy); });
            return metres;
          },
          py::arg("dx"), py::arg("dy"), R"(The length of a cell offset on the coarse map, metres.

>>> korrin.OccMapPathFinder(None, 0).x_distance(3, 4)
5.0
)")
      .def(
          "x_compute_angle_cost",
          [](Finder& self, float theta, const Pose2Di& delta) {
            float cost = 0.0f;
            self.with([&](F& finder) { cost = finder.xComputeAngleCost(theta, delta); });
            return cost;
          },
          py::arg("theta"), py::arg("delta"),
          R"(What turning from heading `theta` (radians) to the direction of a step costs.

>>> finder = korrin.OccMapPathFinder(None, 0)
>>> finder.set_angle_cost_factor(2)
>>> finder.x_compute_angle_cost(0.5, (1, 0, 0))
1.0
)");
}

void bindNeighborTables(py::module_& module) {
  module.def(
      "init_neighbor_deltas", [] { unlockedAlone(&Brin::initNeighborDeltas); },
      R"(Fills the three neighbour tables, as every new finder does.

>>> korrin.init_neighbor_deltas()
)");
  module.def("k_simple_neighbor_deltas", &neighborDeltas<Brin::kSimpleNeighborDeltas>,
             R"(The offsets of the 8 adjacent cells, N x 3; empty until there was a finder.

>>> korrin.init_neighbor_deltas()
>>> korrin.k_simple_neighbor_deltas()[0].tolist()
[-1.0, -1.0, 0.0]
)");
  module.def("k_double_neighbor_deltas", &neighborDeltas<Brin::kDoubleNeighborDeltas>,
             R"(The offsets of 12 cells 2 or the root of 5 away, likewise.

>>> korrin.init_neighbor_deltas()
>>> len(korrin.k_double_neighbor_deltas())
12
)");
  module.def("k_triple_neighbor_deltas", &neighborDeltas<Brin::kTripleNeighborDeltas>,
             R"(The offsets of 16 cells up to the root of 10 away, likewise.

>>> korrin.init_neighbor_deltas()
>>> len(korrin.k_triple_neighbor_deltas())
16
)");
}

}  // namespace korrin_python
