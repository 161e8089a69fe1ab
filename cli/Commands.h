#pragma once

#include <string>

#include "RenderOptions.h"
#include "SheetOptions.h"

namespace pyrelux::cli {

// Each command throws the errors of media/, host/ and UsageError; its result is the program's exit code.

/// Burns an input into an output. When a signal interrupts it, what is finished is kept, and a movie ends there.
int render(const RenderOptions &options);

/// Prints which pictures of a sequence are missing or differ from what its manifest says; 1 when there are any.
int verify(const std::string &manifest);

/// Draws a contact sheet.
int drawSheet(const SheetOptions &options);

/// The filter's parameters for the help of render, or why they are not known.
std::string parametersHelp();

/// Prints the filter's parameters in the inspector's order.
int listParameters(bool json);

/// Prints the JSON Schema of project files.
int printProjectSchema();

/// Prints the looks that are shipped.
int listPresets(bool json);

/// Prints what draws and which filter was found; 1 when either is missing.
int info(const std::string &backend);

}  // namespace pyrelux::cli
