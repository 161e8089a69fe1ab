#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Progress.h"
#include "RenderListener.h"
#include "Reporting.h"
#include "SignalGuard.h"
#include "StopToken.h"

namespace pyrelux::cli {

/// Shows a job to whoever runs the command: messages on standard error, progress as the options ask for it. From the
/// start of the frames on, signals request the job's stop.
class TerminalListener : public job::RenderListener {
 public:
  explicit TerminalListener(const Reporting &reporting) : reporting_(reporting) {}

  const job::StopToken &stop() const { return stop_; }

  /// Has signals request the stop from now on.
  void heedSignals(SignalGuard::FurtherTerms terms) { signals_.emplace(stop_, terms); }

  void remark(const std::string &text) override;
  void warn(const std::string &text) override;
  void backendChosen(const std::string &name, const std::string &description) override;
  void started(std::int64_t frames) override;
  void frameFinished(std::int64_t frame, job::FrameOutcome outcome) override;
  void frameFailed(std::int64_t frame, const std::string &cause) override;
  void finished() override;

 private:
  Reporting reporting_;
  job::StopToken stop_;
  std::optional<SignalGuard> signals_;
  std::optional<Progress> progress_;
};

}  // namespace pyrelux::cli
