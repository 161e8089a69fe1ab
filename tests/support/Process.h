#pragma once

#include <map>
#include <string>
#include <vector>

namespace pyrelux::cli::test {

using Environment = std::map<std::string, std::string>;

/// A program to run, without a shell in between: arguments arrive as they are.
struct Command {
  std::vector<std::string> words;  ///< the program, looked up in PATH, and its arguments
  std::string folder;              ///< the folder to run in
  Environment environment;         ///< added to this process's own
  bool errorsToTerminal = false;   ///< standard error is a pseudo-terminal instead of a pipe
  std::string signalAfter;         ///< once either stream holds this, when not empty, the program gets `signal`
  int signal = 0;
  bool signalsAll = false;  ///< all that it runs get the signal, too, as from a terminal
  std::string outputFile;   ///< standard output goes there instead of into the result, when not empty
};

struct Result {
  int exitCode = -1;  ///< -1 when a signal ended the program
  int signal = 0;
  std::string out;
  std::string err;
};

/// Throws std::runtime_error where there are no pseudo-terminals, before a test waits for one.
void requireTerminals();

/// Runs to the end. A program that is silent for minutes is killed, so that one that waits for ever fails its test.
/// Throws std::runtime_error when it can't be started.
Result run(const Command &command);

}  // namespace pyrelux::cli::test
