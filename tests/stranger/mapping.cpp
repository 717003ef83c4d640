// A program that knows korrin_mapping only from outside: it solves a small graph and writes it.
#include <cmath>
#include <iostream>
#include <korrin/mapping/mapping.hpp>

int main() {
  Brin::mapping::PoseGraph graph = Brin::mapping::parseG2o(
      "VERTEX_SE2 0 0 0 0\n"
      "VERTEX_SE2 1 1 0 0\n"
      "EDGE_SE2 0 1 2 0 0 1 0 0 1 0 1\n"
      "EDGE_SE2 0 1 4 0 0 1 0 0 1 0 1\n");
  graph.solve();
  std::cout << std::round(1000.0 * graph.nodes[1].x) << '\n';
  Brin::io::LoggedScan logged;
  logged.scan.readings.emplace_back(2.0f, 0.0f);
  std::cout << Brin::mapping::gridAround({logged}, 0.1f)->width << '\n';
}
