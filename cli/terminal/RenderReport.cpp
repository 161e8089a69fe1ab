#include "RenderReport.h"

#include <string>

#include "ExitCodes.h"
#include "Message.h"
#include "SignalGuard.h"

namespace pyrelux::cli {

namespace {

std::string ofFrames(std::int64_t part, std::int64_t whole) {
  return std::to_string(part) + " of " + std::to_string(whole) + " frames";
}

}  // namespace

int reportResult(const job::RenderRequest &request, const job::RenderResult &result, const Reporting &reporting) {
  if (reporting.verbose && request.existing == job::Existing::Resume)
    say(ofFrames(result.kept, result.frames) + " were there already");
  if (result.failed > 0) say(ofFrames(result.failed, result.frames) + " failed");
  if (result.isStopped()) {
    const std::string rest = result.done() > 0 ? "; '" + request.output + "' holds what was finished" : "";
    say("interrupted after " + ofFrames(result.done(), result.frames) + rest);
    return exitCodeOf(SignalGuard::signal());
  }
  return result.failed > 0 ? failedExit : 0;
}

}  // namespace pyrelux::cli
