#pragma once

#include "Option.h"

namespace pyrelux::cli {

/// Runs the command that the arguments name, with its options filled, and returns its exit code. Help and version are
/// printed here. Throws ValueError for a wrong command line, and what options and commands throw.
int runCommand(const Program &program, int argc, char **argv);

/// The options that stand before a command: "-h,--help" and "--version". runCommand() declares them itself.
std::vector<Option> programOptions();

/// "-h,--help", which every command has.
Option helpOption();

}  // namespace pyrelux::cli
