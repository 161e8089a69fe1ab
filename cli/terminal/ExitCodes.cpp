#include "ExitCodes.h"

namespace pyrelux::cli {

const std::vector<std::pair<std::string, std::string>> &exitCodes() {
  static const std::vector<std::pair<std::string, std::string>> all{
      {"0", "when all is done"},
      {std::to_string(failedExit), "when some frames or something else failed"},
      {std::to_string(usageExit), "for a wrong command line"},
      {std::to_string(inputExit), "for an input that can't be read"},
      {std::to_string(outputExit), "for an output that can't be written"},
      {std::to_string(encoderExit), "for an encoder's failure"},
      {"128 and more", "for a signal"},
  };
  return all;
}

std::string exitCodesText() {
  std::string text;
  for (const auto &[code, when] : exitCodes()) text += (text.empty() ? "Ends with " : ", ") + code + " " + when;
  return text + ".";
}

}  // namespace pyrelux::cli
