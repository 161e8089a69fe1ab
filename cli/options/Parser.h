#pragma once

#include "Option.h"

namespace pyrelux::cli {

/// Runs the command that the arguments name, with its options filled, and returns its exit code. Help and version are
/// printed here. Throws UsageError for a wrong command line, and what options and commands throw.
int runCommand(const Program &program, int argc, char **argv);

/// The help of all commands, as options of the program: "-h,--help" and "--version".
std::vector<Option> programOptions();

/// "-h,--help", which every command has.
Option helpOption();

}  // namespace pyrelux::cli
