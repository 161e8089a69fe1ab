#include <memory>

#include "Commands.h"
#include "ContactSheet.h"
#include "Message.h"
#include "SheetOptions.h"
#include "TerminalListener.h"

namespace pyrelux::cli {

namespace {

int drawSheet(const job::SheetRequest &request) {
  Reporting reporting;
  reporting.progress = "none";
  TerminalListener listener(reporting);
  const job::SheetResult result = job::drawSheet(request, listener, listener.stop());
  if (!result.isStopped()) return 0;
  say("interrupted after " + std::to_string(result.drawn) + " of " + std::to_string(result.pictures) +
      " pictures; no sheet is written");
  return exitCodeOf(SignalGuard::signal());
}

}  // namespace

Command sheetCommand() {
  const auto request = std::make_shared<job::SheetRequest>();
  return {"sheet", "Draw one frame with many settings, side by side", sheetOptions(*request),
          [request] { return drawSheet(*request); }};
}

}  // namespace pyrelux::cli
