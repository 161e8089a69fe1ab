#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>

#include "Commands.h"
#include "MediaErrors.h"
#include "Message.h"
#include "Numbers.h"
#include "RenderOptions.h"
#include "SignalGuard.h"
#include "Studio.h"
#include "ValueError.h"

extern char **environ;  // NOLINT(readability-redundant-declaration): macOS declares none

namespace pyrelux::cli {

namespace {

constexpr const char *studioGroup = "Studio";

struct StudioArguments {
  studio::StudioOptions options;
  bool opensBrowser = true;
};

/// The program of that name in PATH; empty if there is none.
std::string programNamed(const std::string &name) {
  const char *path = std::getenv("PATH");
  const std::string folders = path ? path : "";
  for (std::size_t from = 0; from < folders.size();) {
    const std::size_t end = std::min(folders.find(':', from), folders.size());
    const std::string candidate = folders.substr(from, end - from) + "/" + name;
    if (access(candidate.c_str(), X_OK) == 0) return candidate;
    from = end + 1;
  }
  return {};
}

/// Hands an address or folder to the desktop, where there is one; its program lives on by itself.
bool openOnDesktop(const std::string &what) {
  if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY")) return false;
  std::string program = programNamed("xdg-open");
  if (program.empty()) return false;
  std::string argument = what;
  char *const words[] = {program.data(), argument.data(), nullptr};
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    posix_spawn_file_actions_addopen(&files, stream, "/dev/null", O_RDWR, 0);
  pid_t child = 0;
  const int failed = posix_spawn(&child, program.c_str(), &files, nullptr, words, environ);
  posix_spawn_file_actions_destroy(&files);
  return failed == 0;
}

std::string refusalOfPort(const std::string &text) {
  const auto number = readNumber(text);
  const bool isPort = number && *number >= 1 && *number <= 65535 && *number == static_cast<int>(*number);
  return isPort ? std::string() : "'" + text + "' is no port in 1..65535";
}

std::string refusalOfMemory(const std::string &text) {
  const auto number = readNumber(text);
  const bool isSize = number && *number >= 16 && *number <= 65536 && *number == static_cast<int>(*number);
  return isSize ? std::string() : "'" + text + "' is no whole number in 16..65536";
}

/// Desktops know one place for a file that is to be opened, be it a picture or a project.
void takeProjectFromInput(studio::StudioOptions &options) {
  std::optional<std::string> &input = options.start.input;
  if (!input || std::filesystem::path(*input).extension() != ".json") return;
  if (options.project) throw ValueError("'" + *input + "' and '" + *options.project + "' are two projects; give one");
  options.project = *input;
  input.reset();
}

int runStudio(const StudioArguments &arguments) {
  studio::StudioOptions options = arguments.options;
  takeProjectFromInput(options);
  if (options.start.input == "-" || options.start.scene.title.textFile == "-")
    throw ValueError("the studio burns files, and '-' is none; give an INPUT's name");
  options.reveal = openOnDesktop;
  options.ready = [&](const std::string &address) {
    std::cout << "The studio is at " << address << std::endl;
    if (arguments.opensBrowser) openOnDesktop(address);
  };
  const job::StopToken stop;
  const SignalGuard signals(stop);
  studio::runStudio(options, stop);
  return 0;
}

std::vector<Option> studioOptions(StudioArguments &arguments) {
  studio::StudioOptions &options = arguments.options;
  std::vector<Option> rows = inputOptions(options.start);
  // Documents say nothing of fields.
  rows.erase(
      std::remove_if(rows.begin(), rows.end(), [](const Option &row) { return row.names[0] == "--deinterlace"; }),
      rows.end());
  append(rows,
         {option("--project", "FILE", "A file of settings and keyframes to open",
                 ", as the studio saves them; an INPUT that ends with .json is one, too")
              .filling(options.project)
              .in(studioGroup),
          option("--root", "DIR", "The folder whose files the page may open and write",
                 " (default: the one that the command runs in)")
              .filling(options.root)
              .in(studioGroup),
          option("--port", "N", "The port on 127.0.0.1 to serve on", ", 1..65535 (default: 7717, or the next free one)")
              .refusing(refusalOfPort)
              .filling(options.port,
                       [](const std::string &text) { return static_cast<unsigned short>(*readNumber(text)); })
              .in(studioGroup),
          flag("--no-browser", arguments.opensBrowser, false, "Only print the address", "; no browser is started")
              .in(studioGroup),
          option("--memory", "MB", "How much memory a page may keep drawn frames in", ", 16..65536 (default: 512)")
              .refusing(refusalOfMemory)
              .filling(options.memory, [](const std::string &text) { return static_cast<int>(*readNumber(text)); })
              .in(studioGroup),
          backendOption(options.backend)});
  return rows;
}

}  // namespace

Command studioCommand() {
  const auto arguments = std::make_shared<StudioArguments>();
  return {"studio", "Set the fire up in a browser", studioOptions(*arguments),
          [arguments] { return runStudio(*arguments); }};
}

}  // namespace pyrelux::cli
