#include "RenderReport.h"

#include <string>

#include "ExitCodes.h"
#include "Message.h"
#include "SignalGuard.h"
#include "StandardStream.h"

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
  if (result.isStopped) {
    const std::string rest =
        result.done() > 0 ? "; " + media::shownName(request.output) + " holds what was finished" : "";
    // How many a stream would have had, nobody knows.
    const bool isKnown = result.done() < result.frames;
    say("interrupted after " +
        (isKnown ? ofFrames(result.done(), result.frames) : std::to_string(result.done()) + " frames") + rest);
    return exitCodeOf(SignalGuard::signal());
  }
  return result.failed > 0 ? failedExit : 0;
}

}  // namespace pyrelux::cli
