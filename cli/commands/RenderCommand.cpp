#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BatchRun.h"
#include "Commands.h"
#include "Joined.h"
#include "ParameterList.h"
#include "RenderJob.h"
#include "RenderOptions.h"
#include "RenderReport.h"
#include "StandardStream.h"
#include "TerminalListener.h"
#include "ValueError.h"
#include "Writer.h"

namespace pyrelux::cli {

namespace {

struct RenderArguments {
  job::RenderRequest request;
  Reporting reporting;
  std::string format;  ///< of standard output; empty for a file
  std::string batch;   ///< a file; empty for none
  std::vector<Option> options;
};

/// Standard output has a format where files have an extension.
void nameStandardOutput(RenderArguments &arguments) {
  const bool isStream = arguments.request.output == "-";
  if (!isStream && !arguments.format.empty())
    throw ValueError("'--format' is for standard output; give '--output -', or leave it out");
  if (!isStream) return;
  if (arguments.format.empty())
    throw ValueError("'--output -' needs '--format': " + joined(media::Writer::streamFormats(), ", "));
  if (arguments.reporting.progress == "json")
    throw ValueError("'--progress json' and '--output -' both want standard output; give one of them");
  arguments.request.output = media::standardOutput(arguments.format);
}

void refuseStreamsForBatch(const RenderArguments &arguments) {
  if (arguments.request.output == "-" || !arguments.format.empty())
    throw ValueError("a batch writes a file for each row; give '--output' a name with a column in braces");
  if (arguments.request.project == media::standardInput)
    throw ValueError("a batch reads its project for every row, and standard input can be read once; give a file");
}

int render(RenderArguments &arguments) {
  if (!arguments.batch.empty()) {
    refuseStreamsForBatch(arguments);
    return runBatch(arguments.batch, arguments.request, arguments.options, arguments.reporting);
  }
  nameStandardOutput(arguments);
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

Option formatOption(std::string &format) {
  return option("--format", "NAME", "What standard output holds",
                ", when FILE is \"-\": a still, stills one after the other (png), a movie, y4m (YUV without alpha) or "
                "rgba (pixels alone, 4 bytes each, or 8 with --bits 16)")
      .oneOf(media::Writer::streamFormats())
      .filling(format)
      .in("Output");
}

}  // namespace

Command renderCommand() {
  const auto arguments = std::make_shared<RenderArguments>();
  arguments->options = renderOptions(arguments->request, arguments->reporting);
  std::vector<Option> options = arguments->options;
  // Where people look for it.
  const auto output =
      std::find_if(options.begin(), options.end(), [](const Option &row) { return row.names.back() == "--output"; });
  options.insert(output + 1, formatOption(arguments->format));
  options.push_back(batchOption(arguments->batch));
  return {"render", "Burn a picture, a sequence or a movie", std::move(options),
          [arguments] { return render(*arguments); }, parametersHelp};
}

}  // namespace pyrelux::cli
