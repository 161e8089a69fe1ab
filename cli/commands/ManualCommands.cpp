// The commands that print the command line itself.

#include <iostream>
#include <memory>

#include "Commands.h"
#include "Completion.h"
#include "Description.h"
#include "ManPage.h"
#include "OptionsPage.h"
#include "ParameterList.h"

namespace pyrelux::cli {

Command completionCommand(const Program &program) {
  const auto shell = std::make_shared<std::string>();
  Command command;
  command.name = "completion";
  command.about = "Print a script that completes command lines";
  command.options = {option("SHELL", "REQUIRED", "For which shell", ": bash, zsh or fish")
                         .required()
                         .oneOf(shellNames())
                         .filling(*shell)};
  command.run = [shell, &program] {
    std::cout << completionScript(*shell, describe(program, settableParameters()));
    return 0;
  };
  return command;
}

Command manCommand(const Program &program) {
  Command command;
  command.name = "man";
  command.about = "Print the manual page";
  command.run = [&program] {
    const auto parameters = settableParameters();
    std::cout << manPage(describe(program, parameters), parameters);
    return 0;
  };
  command.isHidden = true;
  return command;
}

Command optionsCommand(const Program &program) {
  Command command;
  command.name = "options";
  command.about = "Print the options as a page of Markdown";
  command.run = [&program] {
    std::cout << optionsPage(describe(program, {}));
    return 0;
  };
  command.isHidden = true;
  return command;
}

}  // namespace pyrelux::cli
