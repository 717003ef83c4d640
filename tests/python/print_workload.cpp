// Prints what each family of the common workload gives: its name, a tab and its words, in decimal.
#include <iostream>

#include "support/log_capture.hpp"
#include "support/workload.hpp"

int main() {
  const korrin_test::LogCapture log;
  const korrin_test::World world = korrin_test::makeWorld(160, 120, 361);
  for (const korrin_test::Family& family : korrin_test::families()) {
    korrin_test::Words words;
    family.run(world, words);
    std::cout << family.name << '\t';
    for (const std::uint32_t word : words.all()) std::cout << word << ' ';
    std::cout << '\n';
  }
}
