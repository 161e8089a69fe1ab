// Writes the MLT filter's descriptions, from the filter's own declarations: `yaml` writes MLT's metadata, `kdenlive`
// writes Kdenlive's description of the effect.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Bundles.h"
#include "Look.h"
#include "MltParameters.h"
#include "Numbers.h"
#include "ParameterText.h"
#include "Presets.h"
#include "Scene.h"
#include "StaticEffect.h"

namespace pyrelux::adapters {

namespace {

using host::ParameterDeclaration;
using host::ParameterKind;

constexpr char effectText[] = "Sets titles, logos and mattes on fire";
constexpr char pointTakes[] =
    "a place: the middle of a rectangle, X Y or X Y WIDTH HEIGHT, from the upper left, in the profile's pixels or, "
    "with a % behind each number, in percent of the picture";

constexpr char colourTakes[] = "a colour, #rrggbb or 0xrrggbbaa";
constexpr char outputTakes[] = "over: the fire over the source; fire: the fire alone";
constexpr char presetTakes[] =
    "a preset's name, the path of a .json file, or none; what is set to anything but its default wins over the preset";
constexpr char seedTakes[] = "another fire of the same look, 0..1000000";

/// Whether the parameter is the adapter's own; only such parameters have no id.
bool isOwn(const ParameterDeclaration &declaration) { return declaration.id == 0; }

/// The declarations for the MLT filter's properties: the filter's parameters with a value, and the adapter's own.
std::vector<ParameterDeclaration> declarationsOfProperties(const host::ParameterSet &parameters) {
  ParameterDeclaration preset;
  preset.kind = ParameterKind::Popup;
  preset.label = preset.key = "Preset";
  preset.entries = project::shippedPresetNames();
  preset.entries.insert(preset.entries.begin(), Look::noPreset);
  ParameterDeclaration seed;
  seed.kind = ParameterKind::Integer;
  seed.label = seed.key = "Seed";
  seed.maximum = static_cast<double>(project::maxSeed);
  std::vector<ParameterDeclaration> result{preset, seed};
  for (const ParameterDeclaration &declaration : parameters.declarations())
    if (declaration.kind != ParameterKind::Custom) result.push_back(declaration);
  ParameterDeclaration output;
  output.kind = ParameterKind::Popup;
  output.label = output.key = "Output";
  output.entries = {"over", "fire"};
  result.push_back(output);
  return result;
}

/// Range and default of a number in the units of MLT's properties: shares are in percent.
struct Numbers {
  explicit Numbers(const ParameterDeclaration &declaration)
      : Numbers(declaration, isShare(declaration) ? 100.0 : 1.0) {}
  Numbers(const ParameterDeclaration &declaration, double factor)
      : minimum(declaration.minimum * factor),
        maximum(declaration.maximum * factor),
        standard(declaration.defaultValue[0] * factor) {}

  double minimum;
  double maximum;
  double standard;
};

std::string unitOf(const ParameterDeclaration &declaration) {
  return isShare(declaration) ? "%" : declaration.kind == ParameterKind::Angle ? "°" : "";
}

/// Describes the parameter's possible values.
std::string explanation(const ParameterDeclaration &declaration) {
  if (isOwn(declaration))
    return declaration.label == "Preset" ? presetTakes : declaration.label == "Seed" ? seedTakes : outputTakes;
  if (declaration.kind == ParameterKind::Point) return pointTakes;
  if (declaration.kind == ParameterKind::Colour) return colourTakes;
  ParameterDeclaration inPercent = declaration;
  inPercent.minimum = Numbers(declaration).minimum;
  inPercent.maximum = Numbers(declaration).maximum;
  return host::formatTakes(inPercent) + (isShare(declaration) ? " percent" : "");
}

/// A number that every parser takes: "1000000", not "1e+06".
std::string plainNumber(double number) {
  return number == std::floor(number) ? std::to_string(std::llround(number)) : formatNumber(number);
}

/// A colour in MLT's notation, such as "#ff8000".
std::string colourText(const host::ParameterValue &colour) {
  char text[8];
  const auto byte = [](double channel) { return static_cast<unsigned>(std::lround(channel * 255.0)) & 0xffu; };
  std::snprintf(text, sizeof text, "#%02x%02x%02x", byte(colour[0]), byte(colour[1]), byte(colour[2]));
  return text;
}

/// A point as a rectangle around it, `size` percent of the picture wide and high, that a user can grab: "45% 45% 10%
/// 10%" for the picture's middle. With a size of 0, only the point.
std::string pointOf(const host::ParameterValue &point, double size) {
  const auto percent = [](double number) { return formatNumber(number) + "%"; };
  const std::string corner =
      percent(100.0 * point[0] - size / 2.0) + ' ' + percent(100.0 * (1.0 - point[1]) - size / 2.0);
  return size > 0.0 ? corner + ' ' + percent(size) + ' ' + percent(size) : corner;
}

// YAML

/// The text in double quotes, escaped for YAML.
std::string quoted(const std::string &text) {
  std::string result = "\"";
  for (const char c : text) result += (c == '"' || c == '\\') ? std::string{'\\', c} : std::string(1, c);
  return result + '"';
}

void writeYamlParameter(std::ostream &out, const ParameterDeclaration &declaration) {
  out << "\n  - identifier: " << declaration.keySlug() << '\n';
  const auto line = [&out](const char *name, const std::string &value) {
    out << "    " << name << ": " << value << '\n';
  };
  line("title", quoted(declaration.label));
  line("description", quoted(explanation(declaration)));
  line("mutable", "yes");
  if (!isOwn(declaration)) line("animation", "yes");
  switch (declaration.kind) {
    case ParameterKind::Colour:
      line("type", "color");
      line("default", quoted(colourText(declaration.defaultValue)));
      line("widget", "color");
      break;
    case ParameterKind::Point:
      line("type", "rect");
      line("default", quoted(pointOf(declaration.defaultValue, 0.0)));
      break;
    case ParameterKind::Popup:
      line("type", "string");
      line("default", quoted(host::formatValue(declaration, declaration.defaultValue)));
      line("widget", "combo");
      out << "    values:\n";
      for (const std::string &entry : declaration.entries) out << "      - " << quoted(entry) << '\n';
      break;
    default: {
      const Numbers numbers(declaration);
      line("type", declaration.kind == ParameterKind::Integer ? "integer" : "float");
      line("minimum", plainNumber(numbers.minimum));
      line("maximum", plainNumber(numbers.maximum));
      line("default", formatNumber(numbers.standard));
      if (!unitOf(declaration).empty()) line("unit", quoted(unitOf(declaration)));
      line("widget", "slider");
    }
  }
}

void writeYaml(std::ostream &out, const std::vector<ParameterDeclaration> &declarations) {
  out << "schema_version: 7.0\ntype: filter\nidentifier: pyrelux\ntitle: Pyrelux\nversion: 1\ncopyright: Morvane\n"
         "creator: Morvane\nlicense: MIT\nlanguage: en\ntags:\n  - Video\ndescription: "
      << effectText << "\nparameters:\n";
  for (const ParameterDeclaration &declaration : declarations) writeYamlParameter(out, declaration);
}

// Kdenlive

std::string escaped(const std::string &text) {
  std::string result;
  for (const char c : text) {
    const std::string entity = c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '"' ? "&quot;" : "";
    result += entity.empty() ? std::string(1, c) : entity;
  }
  return result;
}

/// The group in a label, such as "Turbulence" in "Turbulence: Amount"; empty when there is none.
std::string groupOf(const ParameterDeclaration &declaration) {
  const std::size_t colon = declaration.label.find(": ");
  return colon == std::string::npos ? std::string() : declaration.label.substr(0, colon);
}

/// The declarations in order, except that those of a group follow its first one: Kdenlive shows controls in the given
/// order and has no headings.
std::vector<ParameterDeclaration> grouped(const std::vector<ParameterDeclaration> &declarations) {
  std::vector<ParameterDeclaration> result;
  for (const ParameterDeclaration &declaration : declarations) {
    const auto last = std::find_if(result.rbegin(), result.rend(), [&](const ParameterDeclaration &other) {
      return !groupOf(declaration).empty() && groupOf(other) == groupOf(declaration);
    });
    result.insert(last == result.rend() ? result.end() : last.base(), declaration);
  }
  return result;
}

void writeKdenliveParameter(std::ostream &out, const ParameterDeclaration &declaration) {
  const auto attribute = [&out](const char *name, const std::string &value) {
    out << ' ' << name << "=\"" << escaped(value) << '"';
  };
  // A slider with more than a turn each way is hard to use. melt accepts keyframes beyond that.
  constexpr double turn = 360.0;
  const bool isAngle = declaration.kind == ParameterKind::Angle;
  std::string titles;
  out << "  <parameter";
  attribute("name", declaration.keySlug());
  switch (declaration.kind) {
    case ParameterKind::Colour:
      attribute("type", "color");
      attribute("default", colourText(declaration.defaultValue));
      attribute("alpha", "0");
      break;
    case ParameterKind::Point:
      attribute("type", "animatedrect");
      attribute("default", pointOf(declaration.defaultValue, 10.0));
      attribute("opacity", "false");
      break;
    case ParameterKind::Popup: {
      std::string values;
      for (const std::string &entry : declaration.entries) {
        values += (values.empty() ? "" : ";") + entry;
        titles += (titles.empty() ? "" : ",") + entry;
      }
      attribute("type", "list");
      attribute("default", host::formatValue(declaration, declaration.defaultValue));
      attribute("paramlist", values);
      break;
    }
    default: {
      const Numbers numbers(declaration);
      attribute("type", isOwn(declaration) ? "constant" : "animated");
      attribute("default", formatNumber(numbers.standard));
      attribute("min", plainNumber(isAngle ? std::max(numbers.minimum, -turn) : numbers.minimum));
      attribute("max", plainNumber(isAngle ? std::min(numbers.maximum, turn) : numbers.maximum));
      attribute("decimals", declaration.kind == ParameterKind::Integer ? "0" : "2");
      if (!unitOf(declaration).empty()) attribute("suffix", unitOf(declaration));
    }
  }
  out << ">\n";
  if (!titles.empty()) out << "    <paramlistdisplay>" << escaped(titles) << "</paramlistdisplay>\n";
  out << "    <name>" << escaped(declaration.label) << "</name>\n    <comment>" << escaped(explanation(declaration))
      << "</comment>\n  </parameter>\n";
}

void writeKdenlive(std::ostream &out, const std::vector<ParameterDeclaration> &declarations) {
  out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE kpartgui>\n"
         "<effect tag=\"pyrelux\" id=\"pyrelux\">\n  <name>Pyrelux</name>\n  <description>"
      << effectText << "</description>\n  <author>Morvane</author>\n";
  for (const ParameterDeclaration &declaration : grouped(declarations)) writeKdenliveParameter(out, declaration);
  out << "</effect>\n";
}

}  // namespace

}  // namespace pyrelux::adapters

int main(int argc, char **argv) {
  using namespace pyrelux;
  try {
    if (argc != 3) throw std::runtime_error("usage: describe yaml|kdenlive FILE");
    const auto declarations =
        adapters::declarationsOfProperties(adapters::parametersOf(host::findFilter(host::defaultSearchPath())));
    std::ofstream out(argv[2]);
    if (std::string(argv[1]) == "yaml")
      adapters::writeYaml(out, declarations);
    else
      adapters::writeKdenlive(out, declarations);
    if (!out.flush()) throw std::runtime_error(std::string("cannot write '") + argv[2] + "'");
    return 0;
  } catch (const std::exception &error) {
    std::cerr << "describe: " << error.what() << '\n';
    return 1;
  }
}
