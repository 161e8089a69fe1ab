#include "BatchRun.h"

#include <filesystem>
#include <memory>
#include <new>
#include <optional>

#include "BatchJobs.h"
#include "BatchLedger.h"
#include "BatchTable.h"
#include "Bundles.h"
#include "ExitCodes.h"
#include "Filter.h"
#include "Message.h"
#include "OwnParameters.h"
#include "RenderJob.h"
#include "RenderReport.h"
#include "TerminalListener.h"
#include "Writer.h"

namespace fs = std::filesystem;

namespace pyrelux::cli {

namespace {

/// Beside the outputs: the folders of the output's name up to the first that differs by row.
std::string ledgerPath(const std::string &batch, const std::string &output) {
  const fs::path folder = fs::path(output.substr(0, output.find('{')) + "x").parent_path();
  return (folder / (fs::path(batch).filename().string() + ".done.jsonl")).string();
}

class Batch {
 public:
  Batch(BatchJobs &jobs, BatchLedger &ledger, const Reporting &reporting)
      : jobs_(jobs), ledger_(ledger), reporting_(reporting) {}

  int run() {
    for (std::size_t index = 0; index < jobs_.count(); ++index) {
      job::RenderRequest request = jobs_.request(index);
      const std::optional<int> stopped = runRow(index, request);
      if (stopped) return *stopped;
    }
    if (failedRows_ > 0) say(std::to_string(failedRows_) + " of " + std::to_string(jobs_.count()) + " rows failed");
    return failedRows_ > 0 ? failedExit : 0;
  }

 private:
  /// Returns the exit code of a run that a signal ended.
  std::optional<int> runRow(std::size_t index, job::RenderRequest &request) {
    Reporting reporting = reporting_;
    reporting.row = jobs_.row(index);
    try {
      TerminalListener listener(reporting);
      std::string record;
      // Sequences have a manifest.
      if (!media::Writer::isSequence(request.output)) {
        const bool keeps = request.existing == job::Existing::Resume;
        if (keeps) request.existing = job::Existing::Replace;
        request.isThere = [&, keeps](const std::string &whole) {
          record = whole;
          return keeps && ledger_.holds(request.output, whole);
        };
      }
      const job::RenderResult result = job::RenderJob(request).run(listener, listener.stop());
      const int exitCode = reportResult(jobs_.request(index), result, reporting);
      if (result.isStopped) return exitCode;
      if (!record.empty() && result.failed == 0) ledger_.add(request.output, record);
      failedRows_ += result.failed > 0;
    } catch (const std::bad_alloc &) {
      throw;
    } catch (const std::exception &error) {
      say("row " + std::to_string(reporting.row) + ", '" + request.output + "': " + error.what());
      ++failedRows_;
    }
    return std::nullopt;
  }

  BatchJobs &jobs_;
  BatchLedger &ledger_;
  const Reporting &reporting_;
  std::size_t failedRows_ = 0;
};

}  // namespace

int runBatch(const std::string &file, job::RenderRequest &request, const std::vector<Option> &options,
             const Reporting &reporting) {
  const job::RenderRequest common = request;
  const host::Filter filter(host::findFilter(host::defaultSearchPath()));
  BatchJobs jobs(readBatch(file), common, options, request, project::allParameters(filter));
  BatchLedger ledger(ledgerPath(file, common.output));
  return Batch(jobs, ledger, reporting).run();
}

}  // namespace pyrelux::cli
