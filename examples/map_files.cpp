// Reads a map file, plans on it, and leaves the waypoints in a file for others.
#include <filesystem>
#include <iostream>
#include <korrin/io/io.hpp>
#include <korrin/korrin.hpp>

// A map file to read: a room of 4 m x 3 m with a wall.
std::string someMapFile(const std::filesystem::path& directory) {
  Brin::OccupancyMap room(80, 60, 0.05f, false);
  room.reset(1.0f);
  for (int y = 0; y < 45; ++y) room.setCell(40, y, 0.0f);
  Brin::io::writeMapFile(room, directory / "room.yaml");
  return directory / "room.yaml";
}

int main() {
  const std::filesystem::path directory = std::filesystem::temp_directory_path();
  const std::string file = someMapFile(directory);
  const Brin::OccupancyMap map = Brin::io::readMapFile(file);  // throws io::FileError
  const Brin::PathPlanner planner(map);
  const Brin::Plan plan = planner.plan(Brin::Pose2D(1, 1, 0), Brin::Pose2D(3, 1, 0));
  Brin::io::writePathFile(plan.waypoints, directory / "room-way.csv");
  std::cout << Brin::io::readPathFile(directory / "room-way.csv").size() << " waypoints\n";

  try {
    Brin::io::readMapFile("nowhere.yaml");
  } catch (const Brin::io::FileError& error) {
    std::cout << error.what() << '\n';
  }
  std::filesystem::remove(directory / "room.yaml");
  std::filesystem::remove(directory / "room.pgm");
  std::filesystem::remove(directory / "room-way.csv");
}
