#include "ExitCodes.h"

namespace pyrelux::cli {

const std::vector<std::pair<std::string, std::string>> &exitCodes() {
  static const std::vector<std::pair<std::string, std::string>> all{
      {"0", "success"},
      {std::to_string(failedExit), "some frames or something else failed"},
      {std::to_string(usageExit), "wrong command line"},
      {std::to_string(inputExit), "an input can't be read"},
      {std::to_string(outputExit), "an output can't be written"},
      {std::to_string(encoderExit), "an encoder failed"},
      {"128 and more", "ended by a signal"},
  };
  return all;
}

std::string exitCodesText() {
  std::string text;
  for (const auto &[code, when] : exitCodes()) text += (text.empty() ? "Exit status: " : ", ") + code + " " + when;
  return text + ".";
}

}  // namespace pyrelux::cli
