// The commands of the program. Each function adds one command, with its options, its help and an
// example, to the program; the command's work happens in its callback, which throws UsageError or
// NegativeAnswer when it cannot be done.
#pragma once

namespace CLI {
class App;
}

namespace korrin_tool {

void addBuildCommand(CLI::App& app);
void addDemoCommand(CLI::App& app);
void addDilateCommand(CLI::App& app);
void addHolesCommand(CLI::App& app);
void addLocateCommand(CLI::App& app);
void addMatchCommand(CLI::App& app);
void addPairsCommand(CLI::App& app);
void addPlanCommand(CLI::App& app);
void addQueryCommand(CLI::App& app);
void addScaleCommand(CLI::App& app);
void addScrollCommand(CLI::App& app);
void addServeCommand(CLI::App& app);
void addSimulateCommand(CLI::App& app);
void addStatsCommand(CLI::App& app);

}  // namespace korrin_tool
