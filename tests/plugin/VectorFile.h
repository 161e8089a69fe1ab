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

/// Numbers, in single or double precision, must have equal bits: the file's come from the same steps in the same order,
/// with the same C library's sines and powers. NaN equals NaN.
void expectNumber(const json &expected, double got, const std::string &where);

/// Host values from a frame's "params"; missing ones have their declared defaults.
FakeParameters parametersFrom(const json &params);

/// A field of a snapshot under its name in the file: a number, or a list for colours and points.
json snapshotField(const Snapshot &snapshot, const std::string &name);

}  // namespace pyrelux::test
