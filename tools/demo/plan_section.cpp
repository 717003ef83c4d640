// The path from the entrance to the far room.
#include "tools/demo/demo.hpp"
#include "tools/pictures/plan_picture.hpp"

namespace korrin_tool {

DemoPicture planSection(DemoState& state) {
  state.plan = planPath(state.grown, state.floor.entrance, state.floor.farRoom, state.settings);
  const Plan& plan = state.plan;
  state.addRow(
      "plan to the far room",
      formatMetres(lengthOf(plan.path)) + ", " + formatCount(plan.iterations) + " iterations",
      plan.timings.plan);
  state.addRow("simplify the path",
               formatCount(static_cast<std::int64_t>(plan.path.size())) + " cells to " +
                   formatCount(static_cast<std::int64_t>(plan.waypoints.size())) + " waypoints",
               plan.timings.simplify);
  return {"04-plan.png", "The planned path",
          "From the entrance to the far end of the workshop, around the closed fire door; the "
          "tint tells in which order the search looked at cells. The robot drives the straight "
          "legs between the waypoints, each checked to be clear.",
          drawPlan(state.grid, plan)};
}

}  // namespace korrin_tool
