#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BatchRun.h"
#include "Commands.h"
#include "ParameterList.h"
#include "RenderJob.h"
#include "RenderOptions.h"
#include "RenderReport.h"
#include "TerminalListener.h"

namespace pyrelux::cli {

namespace {

struct RenderArguments {
  job::RenderRequest request;
  Reporting reporting;
  std::string batch;  ///< a file; empty for none
  std::vector<Option> options;
};

int render(RenderArguments &arguments) {
  if (!arguments.batch.empty())
    return runBatch(arguments.batch, arguments.request, arguments.options, arguments.reporting);
  const job::RenderRequest &request = arguments.request;
  TerminalListener listener(arguments.reporting);
  const job::RenderResult result = job::RenderJob(request).run(listener, listener.stop());
  return reportResult(request, result, arguments.reporting);
}

Option batchOption(std::string &batch) {
  return option("--batch", "FILE", "Render each row of a table",
                ", .csv or .json: columns are options (text, preset, seed) or parameters (glow), and their names in "
                "braces stand in the output's name: '{id}_{text}.mov'. With --resume what is complete is kept")
      .filling(batch);
}

}  // namespace

Command renderCommand() {
  const auto arguments = std::make_shared<RenderArguments>();
  arguments->options = renderOptions(arguments->request, arguments->reporting);
  std::vector<Option> options = arguments->options;
  options.push_back(batchOption(arguments->batch));
  return {"render", "Burn a picture, a sequence or a movie", std::move(options),
          [arguments] { return render(*arguments); }, parametersHelp};
}

}  // namespace pyrelux::cli
