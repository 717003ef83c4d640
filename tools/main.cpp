#include "tools/app.hpp"

int main(int argc, char** argv) {
  return korrin_tool::runApp(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
