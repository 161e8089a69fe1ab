#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "HostError.h"
#include "Parameters.h"

namespace pyrelux::host::test {

enum SampleId : std::uint32_t {
  kHeader = 25,
  kTongues = 14,
  kGlow = 3,
  kDirection = 2,
  kWeight = 8,
  kColour = 9,
  kPoint = 7,
  kMode = 12
};

/// A parameter or more of each kind, with labels that are translations and labels that are not.
std::vector<ParameterDeclaration> sampleDeclarations();

/// The sample with that id.
ParameterDeclaration sample(SampleId id);

/// What a call throws as HostError; empty if nothing.
template <typename Call>
std::string refusal(Call call) {
  try {
    call();
  } catch (const HostError &error) {
    return error.what();
  }
  return {};
}

}  // namespace pyrelux::host::test
