// The path from the entrance to the far room.
#include "tools/demo/demo.hpp"
#include "tools/pictures/plan_picture.hpp"

namespace korrin_tool {

DemoPicture planSection(DemoState& state) {
  state.plan = planPath(*state.planner, state.floor.entrance, state.floor.farRoom);
  const Plan& plan = state.plan;
  state.addRow("plan to the far room",
               formatMetres(plan.length) + ", " + formatCount(plan.iterations) + " iterations, " +
                   formatCount(static_cast<std::int64_t>(plan.waypoints.size())) + " waypoints",
               plan.seconds);
  return {"04-plan.png", "The planned path",
          "From the entrance to the far end of the workshop, around the closed fire door; the "
          "tint tells in which order the search looked at cells. The robot drives the straight "
          "legs between the waypoints, each checked to be clear.",
          drawPlan(state.grid, plan, searchBehind(*state.planner, plan))};
}

}  // namespace korrin_tool
