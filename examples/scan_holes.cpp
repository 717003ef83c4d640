// Finds the openings in a laser scan that a robot can pass: jumps of the range between two
// neighbouring beams, here on both sides of a door, and stretches whose beams meet nothing, here a
// corridor to the left. Such a stretch is found once more as the jump that is left without it.
#include <cmath>
#include <iostream>
#include <korrin/korrin.hpp>

int main() {
  Brin::Scan scan;
  for (int degrees = -180; degrees < 180; ++degrees) {
    const float angle = static_cast<float>(degrees) * Brin::kPi / 180.0f;
    scan.readings.emplace_back(2.0f, angle);                               // a round room of 2 m
    if (degrees > -10 && degrees < 20) scan.readings.back().range = 5.0f;  // the wall past a door
    if (degrees > 70 && degrees < 120) scan.readings.back().status = 1;    // nothing in range
  }
  std::vector<Brin::ScanHole> holes;
  Brin::findScanHoles(scan, holes, 0.8f);  // at least 0.8 m wide; straight ahead comes first
  for (const Brin::ScanHole& hole : holes) {
    const float dx = hole.endPoint.x - hole.beginPoint.x;
    const float dy = hole.endPoint.y - hole.beginPoint.y;
    std::cout << "towards " << std::lround(hole.heading * 180.0f / Brin::kPi) << " degrees, "
              << std::lround(std::hypot(dx, dy) * 100.0f) << " cm wide\n";
  }
}
