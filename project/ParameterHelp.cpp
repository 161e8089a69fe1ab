#include "ParameterHelp.h"

#include <algorithm>
#include <iterator>

namespace pyrelux::project {

namespace {

struct Row {
  const char *key;  ///< of the parameter's name
  const char *help;
};

// Filters tell no such words themselves.
constexpr Row rows[] = {
    {"www.morvane.example", "Opens the maker's page."},
    {"Pyrelux::Pyrelux", "How many tongues of fire leave what burns; more make the fire denser."},
    {"Pyrelux::Length of Pyrelux", "How far the tongues reach, in percent of the picture's height."},
    {"Pyrelux::Turbulence: Amount", "How strongly noise stretches and shortens the tongues."},
    {"Pyrelux::Turbulence: Wavelength",
     "How long the waves along a tongue are: short ones ripple it, long ones stretch it whole."},
    {"Pyrelux::Turbulence: Speed", "How fast the waves of the turbulence run, so that the tops rise and sink."},
    {"Pyrelux::Wiggle: Amount", "How far the tongues sway to the sides."},
    {"Pyrelux::Wiggle: Turbulence", "How fast and how finely the tongues sway."},
    {"Pyrelux::Glow", "How bright the fire is: below 0 it is dim, towards 100 it burns out."},
    {"Pyrelux::Direction", "Where the tongues point: 0 is up, and positive angles turn to the right."},
    {"Pyrelux::Spread (Degrees)", "How far the tongues fan out to both sides of their direction."},
    {"Pyrelux::Steps", "How many copies a tongue is drawn with: few stand apart as echoes, many make it smooth."},
    {"Pyrelux::Weight Inner<>Outer",
     "Moves the brightness along the tongues: below 0 to what burns, above 0 to their tips."},
    {"Pyrelux::Color Inner", "The colour of the tongues at what burns."},
    {"Pyrelux::Color Center", "The colour half-way along the tongues."},
    {"Pyrelux::Color Outer", "The colour of the tongues at their tips."},
    {"Pyrelux::Attract <> Repel", "Below 0 the tips shrink to the point, above 0 they grow away from it."},
    {"Pyrelux::Point (Attract <> Repel)", "The point that the tips shrink to or grow away from."},
    {"Pyrelux::Source: Opacity", "How much of the input is seen with the fire; at 0 the fire is alone."},
    {"Pyrelux::Source: Mode", "How the input is seen with the fire: Cover lays it on top, Mix adds its light."},
    {"Pyrelux::Crop: Left", "Cuts the left off what burns, as a share of the picture's width."},
    {"Pyrelux::Crop: Right", "Cuts the right off what burns, as a share of the picture's width."},
    {"Pyrelux::Crop: Top", "Cuts the top off what burns, as a share of the picture's height."},
    {"Pyrelux::Crop: Bottom", "Cuts the bottom off what burns, as a share of the picture's height."},
    {"Pyrelux::Color Depth", "How finely light adds up: 8 Bit clips it at white, 16 Bit keeps what is brighter."},
    {"Fire: Opacity", "How strong the fire is; at 0 the source is left alone."},
};

}  // namespace

std::string parameterHelp(const host::ParameterDeclaration &parameter) {
  const auto found =
      std::find_if(std::begin(rows), std::end(rows), [&](const Row &row) { return parameter.key == row.key; });
  return found == std::end(rows) ? std::string() : found->help;
}

}  // namespace pyrelux::project
