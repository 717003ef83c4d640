// The heuristic weight belongs to the process, not to a finder: every construction sets it back.
#include <iostream>
#include <korrin/korrin.hpp>

// Plans with a weight of its own, whatever others have set; not from two threads at once.
std::vector<Brin::Pose2D> plan(Brin::OccMapPathFinder& finder, float weight,
                               const Brin::Pose2D& from, const Brin::Pose2D& to) {
  Brin::OccMapPathFinder::setHWeight(weight);
  std::vector<Brin::Pose2D> path;
  finder.computePath(from, to, path);
  return path;
}

int main() {
  Brin::OccupancyMap map(60, 60, 0.1f, false);
  map.reset(1.0f);

  Brin::OccMapPathFinder careful(&map, 0.0f);
  Brin::OccMapPathFinder::setHWeight(0.0f);
  std::cout << "set to " << Brin::OccMapPathFinder::Node::hWeight << '\n';
  Brin::OccMapPathFinder greedy(&map, 0.0f);
  std::cout << "after another finder " << Brin::OccMapPathFinder::Node::hWeight << '\n';

  const Brin::Pose2D from(0.5f, 0.5f, 0.0f);
  const Brin::Pose2D to(5.0f, 3.0f, 0.0f);
  plan(careful, 0.0f, from, to);
  plan(greedy, 1.0f, from, to);
  std::cout << careful.getNumIterations() << " and " << greedy.getNumIterations()
            << " cells expanded\n";
}
