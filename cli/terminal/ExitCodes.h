#pragma once

#include <string>
#include <utility>
#include <vector>

namespace pyrelux::cli {

// What the program ends with; 0 is done, and 128 and more a signal.
constexpr int failedExit = 1;
constexpr int usageExit = 2;
constexpr int inputExit = 3;
constexpr int outputExit = 4;
constexpr int encoderExit = 5;

/// All of them, and when: "2", "wrong command line".
const std::vector<std::pair<std::string, std::string>> &exitCodes();

/// The same as a sentence.
std::string exitCodesText();

}  // namespace pyrelux::cli
