// The colours of the pictures.
#pragma once

#include <cstdint>

namespace korrin_tool {

struct Colour {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;
};

// One palette for all pictures, distinguishable in the common kinds of colour blindness.
namespace palette {
constexpr Colour kInk{31, 41, 55};         // text, walls
constexpr Colour kPaper{255, 255, 255};    // free space
constexpr Colour kShade{226, 230, 236};    // walls and furniture, where they are background
constexpr Colour kUnknown{203, 209, 217};  // never seen
constexpr Colour kPath{0, 114, 178};       // what was planned
constexpr Colour kStart{0, 140, 100};      // where it begins
constexpr Colour kGoal{213, 94, 0};        // where it ends
constexpr Colour kRobot{204, 121, 167};    // where the robot is or was
constexpr Colour kAccent{230, 159, 0};     // what the eye should find
constexpr Colour kFurniture{148, 130, 110};
constexpr Colour kNear{236, 136, 98};     // too close to an obstacle
constexpr Colour kCostly{250, 214, 150};  // rather close to one
constexpr Colour kEarly{253, 224, 130};   // searched first
constexpr Colour kLate{105, 89, 205};     // searched last
constexpr Colour kFaint{140, 150, 165};   // what it should not
}  // namespace palette

// The mix of two colours: `from` at share 0, `to` at share 1.
Colour mix(Colour from, Colour to, double share);

// A colour for a share from 0 (light) to 1 (hot).
Colour heat(double share);

}  // namespace korrin_tool
