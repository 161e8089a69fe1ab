// The commands that print the command line itself.

#include <iostream>
#include <memory>

#include "Commands.h"
#include "Completion.h"
#include "Description.h"
#include "ManPage.h"
#include "OptionsPage.h"
#include "ParameterList.h"
#include "TextFile.h"

namespace pyrelux::cli {

Command completionCommand(const Program &program) {
  const auto shell = std::make_shared<std::string>();
  const auto print = [shell, &program] {
    std::cout << completionScript(*shell, describe(program, settableParameters()));
    return 0;
  };
  return {"completion",
          "Print a script that completes command lines",
          {option("SHELL", "SHELL", "For which shell", ": bash, zsh or fish")
               .required()
               .oneOf(shellNames())
               .filling(*shell)},
          print};
}

Command manCommand(const Program &program) {
  const auto folder = std::make_shared<std::string>();
  const auto print = [folder, &program] {
    const auto parameters = settableParameters();
    const std::vector<ManualPage> pages = manualPages(describe(program, parameters), parameters);
    if (folder->empty())
      std::cout << pages.front().text;
    else
      for (const ManualPage &page : pages) media::writeText(*folder + "/" + page.name + ".1", page.text);
    return 0;
  };
  return {
      "man",
      "Print the program's manual page",
      {option("--folder", "FOLDER", "Write it and those of the commands", " into this folder, which has to be there")
           .filling(*folder)},
      print,
      {},
      true};
}

Command optionsCommand(const Program &program) {
  const auto print = [&program] {
    std::cout << optionsPage(describe(program, {}));
    return 0;
  };
  return {"options", "Print the options as a page of Markdown", {}, print, {}, true};
}

}  // namespace pyrelux::cli
