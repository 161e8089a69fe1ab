#include "VectorFile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace pyrelux::test {

namespace {

/// The file that the environment names; empty for the tree's own.
std::string namedFile() {
  const char *named = std::getenv("PYRELUX_VECTORS");
  return named ? named : "";
}

json load() {
  const std::string path = namedFile().empty() ? PYRELUX_TEST_DATA "/vectors.json" : namedFile();
  std::ifstream file(path);
  if (!file) throw std::runtime_error("cannot read " + path);
  return json::parse(file);
}

void apply(FakeParameters &parameters, std::uint32_t id, const json &value) {
  if (parameters.ints.count(id))
    parameters.ints[id] = value.get<int>();
  else if (parameters.floats.count(id))
    parameters.floats[id] = number(value);
  else if (parameters.colours.count(id))
    parameters.colours[id] = {number(value[0]), number(value[1]), number(value[2])};
  else if (parameters.points.count(id))
    parameters.points[id] = {number(value[0]), number(value[1])};
  else
    ADD_FAILURE() << "the file gives a value to the unknown parameter " << id;
}

/// The values of parameters that a file omits.
void applyDeclaredDefaults(FakeParameters &parameters) {
  for (const json &row : vectorPart({"declaration"}))
    if (row.contains("default") && !row["default"].is_null())
      apply(parameters, row["id"].get<std::uint32_t>(), row["default"]);
}

}  // namespace

const json &vectors() {
  static const json file = load();
  return file;
}

const json &vectorPart(std::initializer_list<const char *> path) {
  static const json nothing = json::array();
  const json *part = &vectors();
  for (const char *name : path) {
    if (!part->contains(name)) {
      EXPECT_FALSE(namedFile().empty()) << "the tree's own file has no " << name;
      return nothing;
    }
    part = &(*part)[name];
  }
  return *part;
}

double number(const json &value) {
  return value.is_null() ? std::numeric_limits<double>::quiet_NaN() : value.get<double>();
}

void expectNumber(const json &expected, double got, const std::string &where) {
  const double wanted = number(expected);
  if (std::isnan(wanted) && std::isnan(got)) return;
  EXPECT_EQ(got, wanted) << where << ": expected " << json(wanted) << ", got " << json(got);
}

FakeParameters parametersFrom(const json &params) {
  FakeParameters parameters;
  applyDeclaredDefaults(parameters);
  for (const auto &[id, value] : params.items()) apply(parameters, static_cast<std::uint32_t>(std::stoul(id)), value);
  return parameters;
}

json snapshotField(const Snapshot &s, const std::string &name) {
  const auto colour = [](const Colour &c) { return json{c.red, c.green, c.blue}; };
  const std::map<std::string, json> fields = {{"tongues", s.tongues},
                                              {"turbAmount", s.turbAmount},
                                              {"turbWavelength", s.turbWavelength},
                                              {"turbSpeed", s.turbSpeed},
                                              {"wiggleAmount", s.wiggleAmount},
                                              {"wiggleTurbulence", s.wiggleTurbulence},
                                              {"glow", s.glow},
                                              {"direction", s.direction},
                                              {"spread", s.spread},
                                              {"length", s.length},
                                              {"inner", colour(s.inner)},
                                              {"centre", colour(s.centre)},
                                              {"outer", colour(s.outer)},
                                              {"attract", s.attract},
                                              {"point", json{s.point.x, s.point.y}},
                                              {"opacity", s.opacity},
                                              {"mode", s.mode},
                                              {"weight", s.weight},
                                              {"steps", s.steps},
                                              {"cropLeft", s.cropLeft},
                                              {"cropRight", s.cropRight},
                                              {"cropTop", s.cropTop},
                                              {"cropBottom", s.cropBottom},
                                              {"depth", s.depth}};
  const auto found = fields.find(name);
  return found == fields.end() ? json() : found->second;
}

}  // namespace pyrelux::test
