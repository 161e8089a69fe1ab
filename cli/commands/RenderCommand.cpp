#include <memory>

#include "Commands.h"
#include "ExitCodes.h"
#include "Message.h"
#include "ParameterList.h"
#include "RenderJob.h"
#include "RenderOptions.h"
#include "TerminalListener.h"

namespace pyrelux::cli {

namespace {

struct RenderArguments {
  job::RenderRequest request;
  Reporting reporting;
};

std::string ofFrames(std::int64_t part, std::int64_t whole) {
  return std::to_string(part) + " of " + std::to_string(whole) + " frames";
}

int render(const RenderArguments &arguments) {
  TerminalListener listener(arguments.reporting);
  const job::RenderRequest &request = arguments.request;
  const job::RenderResult result = job::RenderJob(request).run(listener, listener.stop());
  if (arguments.reporting.verbose && request.existing == job::Existing::Resume)
    say(ofFrames(result.kept, result.frames) + " were there already");
  if (result.failed > 0) say(ofFrames(result.failed, result.frames) + " failed");
  if (result.isStopped()) {
    const std::string rest = result.done() > 0 ? "; '" + request.output + "' holds what was finished" : "";
    say("interrupted after " + ofFrames(result.done(), result.frames) + rest);
    return exitCodeOf(SignalGuard::signal());
  }
  return result.failed > 0 ? failedExit : 0;
}

}  // namespace

Command renderCommand() {
  const auto arguments = std::make_shared<RenderArguments>();
  return {"render", "Burn a picture, a sequence or a movie", renderOptions(arguments->request, arguments->reporting),
          [arguments] { return render(*arguments); }, parametersHelp};
}

}  // namespace pyrelux::cli
