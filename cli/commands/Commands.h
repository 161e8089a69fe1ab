#pragma once

#include <vector>

#include "Option.h"

namespace pyrelux::cli {

// Each command throws what the libraries below throw; its result is the program's exit code.

/// `render`: burns an input into an output. When a signal interrupts it, what is finished is kept, and a movie ends
/// there.
Command renderCommand();

/// `studio`: serves a page to set the fire up with, until it is interrupted or the page ends it.
Command studioCommand();

/// `farm-plan`, `farm-submit`, `farm-run`, `farm-status`, `farm-retry`, `farm-merge`, `farm-task`: a render in parts on
/// many machines.
std::vector<Command> farmCommands();

/// `sheet`: draws a contact sheet.
Command sheetCommand();

/// `parameters`: prints the filter's parameters, or the JSON Schema of project files.
Command parametersCommand();

/// `presets`: prints the presets.
Command presetsCommand();

/// `verify`: prints which pictures of a sequence are missing or differ from what its manifest says; 1 when there are
/// any.
Command verifyCommand();

/// `info`: prints what draws and which filter was found; 1 when either is missing.
Command infoCommand();

/// `completion`: prints what a shell completes from.
Command completionCommand(const Program &program);

/// `man`: prints or writes the manual pages. Hidden: the pages are installed, and who builds them knows.
Command manCommand(const Program &program);

/// `options`: prints the options of all commands as a page of Markdown. Hidden, like `man`.
Command optionsCommand(const Program &program);

}  // namespace pyrelux::cli
