#pragma once

#include <nlohmann/json.hpp>

#include <string>

#include "FakeHost.h"

namespace pyrelux::test {

using nlohmann::json;

/// The file of values: the one that the environment variable PYRELUX_VECTORS names, or else the tree's own.
const json &vectors();

/// A part of the file, by path from its top; an empty array when the file has none.
const json &vectorPart(std::initializer_list<const char *> path);

/// A number, with null as NaN.
double number(const json &value);

/// Doubles agree within 1e-12 of their size, or within `floor`. The floor is there because sines of arguments of
/// several hundred carry the rounding of the argument, 1e-13, whatever their own size.
void expectNumber(const json &expected, double got, const std::string &where, double floor = 1e-13);

/// Singles agree within 1e-6 or one unit in the last place.
void expectSingle(const json &expected, double got, const std::string &where);

bool singlesAgree(double expected, double got);

/// Host values from a frame's "params"; what is not there keeps its declared default.
FakeParameters parametersFrom(const json &params);

/// A field of a snapshot under its name in the file: a number, or a list for colours and points.
json snapshotField(const Snapshot &snapshot, const std::string &name);

}  // namespace pyrelux::test
