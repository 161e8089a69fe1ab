#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "Choices.h"
#include "CommandLine.h"
#include "Commands.h"
#include "Completion.h"
#include "ExitCodes.h"
#include "HelpFormatter.h"
#include "HostError.h"
#include "ManPage.h"
#include "MediaErrors.h"
#include "Message.h"
#include "ParameterList.h"
#include "UsageError.h"

namespace {

int fail(const std::string &message, int exitCode) {
  pyrelux::cli::say(message);
  return exitCode;
}

/// Foundation for Linux reads the arguments too, and finds no bundle any more after one that is not UTF-8.
void requireUtf8(const std::string &argument) {
  try {
    nlohmann::json(argument).dump();
  } catch (const nlohmann::json::type_error &) {
    throw pyrelux::cli::UsageError("'" + argument + "' is not UTF-8");
  }
}

/// A file must not get the number of a standard stream that is closed: what is printed would end up in the file.
void occupyStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    // Standard output is as good as closed then, as printing to it has to fail.
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDERR_FILENO ? O_WRONLY : O_RDONLY);
}

/// A stack that ends is a crash, and its limit that of the threads' stacks, too. Raises it where that is allowed, and
/// refuses where not.
void requireStack() {
  constexpr rlim_t usual = 8 << 20;
  constexpr rlim_t least = 1 << 20;
  struct rlimit limit = {};
  if (getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur >= least) return;
  const rlim_t before = limit.rlim_cur;
  limit.rlim_cur = std::min(usual, limit.rlim_max);
  if (limit.rlim_cur < least || setrlimit(RLIMIT_STACK, &limit) != 0)
    throw std::runtime_error("the stack is limited to " + std::to_string(before >> 10) +
                             " kilobytes, and 1024 are needed; raise the limit (ulimit -s)");
  pthread_attr_t threads;
  pthread_attr_init(&threads);
  pthread_attr_setstacksize(&threads, limit.rlim_cur);
  pthread_setattr_default_np(&threads);
  pthread_attr_destroy(&threads);
}

/// What the system's error means to whoever has set limits.
std::string remedyFor(const std::system_error &error) {
  if (error.code() == std::errc::resource_unavailable_try_again)
    return "no thread can be started: memory (ulimit -v) or the number of processes (ulimit -u) is limited; raise the "
           "limit, or set PYRELUX_THREADS=1";
  return error.what();
}

/// CLI11's message without what it adds on further lines.
std::string firstLine(const std::string &text) { return text.substr(0, text.find('\n')); }

int run(int argc, char **argv) {
  using namespace pyrelux::cli;
  CLI::App app("Sets titles, logos and mattes on fire.", "pyrelux");
  app.set_version_flag("--version", "pyrelux " PYRELUX_VERSION, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.require_subcommand(1);
  app.footer(broken(exitCodesText(), helpWidth));
  app.formatter(std::make_shared<HelpFormatter>());
  int exitCode = 0;

  RenderOptions options;
  CLI::App *renderCommand = app.add_subcommand("render", "Burn a picture, a sequence or a movie");
  addRenderOptions(*renderCommand, options);
  renderCommand->footer(parametersHelp);
  renderCommand->callback([&] { exitCode = render(options); });

  SheetOptions sheetOptions;
  CLI::App *sheetCommand = app.add_subcommand("sheet", "Draw one frame with many settings, side by side");
  addSheetOptions(*sheetCommand, sheetOptions);
  sheetCommand->callback([&] { exitCode = drawSheet(sheetOptions); });

  bool json = false;
  CLI::App *parametersCommand =
      app.add_subcommand("parameters", "List the effect's parameters in the inspector's order");
  CLI::Option *asJson = parametersCommand->add_flag("--json", json, "As JSON");
  bool schema = false;
  parametersCommand->add_flag("--schema", schema, "As a JSON Schema of the files that 'render --project' takes")
      ->excludes(asJson);
  parametersCommand->callback([&] { exitCode = schema ? printProjectSchema() : listParameters(json); });

  bool presetsAsJson = false;
  CLI::App *presetsCommand = app.add_subcommand("presets", "List the looks that --preset takes");
  presetsCommand->add_flag("--json", presetsAsJson, "As JSON, with their settings");
  presetsCommand->callback([&] { exitCode = listPresets(presetsAsJson); });

  std::string manifest;
  CLI::App *verifyCommand = app.add_subcommand("verify", "Check that a rendered sequence is as it was rendered");
  verifyCommand
      ->add_option("MANIFEST", manifest,
                   "What render left beside the pictures: fire.png.manifest.jsonl for fire.%04d.png")
      ->type_name("")
      ->required();
  verifyCommand->callback([&] { exitCode = verify(manifest); });

  std::string shell;
  CLI::App *completionCommand = app.add_subcommand("completion", "Print a script that completes command lines");
  CLI::Option *shellOption =
      completionCommand->add_option("SHELL", shell, "For which shell: bash, zsh or fish")->required();
  takesOneOf(shellOption, shellNames(), "REQUIRED");
  completionCommand->callback([&] { std::cout << completionScript(shell, describe(app, settableParameters())); });

  // Hidden: the page is installed, and who builds it knows.
  CLI::App *manCommand = app.add_subcommand("man", "Print the manual page")->group("");
  manCommand->callback([&] {
    const auto parameters = settableParameters();
    std::cout << manPage(describe(app, parameters), parameters);
  });

  std::string infoBackend = "auto";
  CLI::App *infoCommand = app.add_subcommand("info", "Tell the version, what draws, and which bundle was found");
  addBackendOption(*infoCommand, infoBackend);
  infoCommand->callback([&] { exitCode = info(infoBackend); });

  for (int index = 1; index < argc; ++index) requireUtf8(argv[index]);
  if (argc > 1) {
    // Named here, since the library only says that a command is missing.
    const std::string first = argv[1];
    const bool option = first.rfind('-', 0) == 0;
    const auto commands = app.get_subcommands([&](const CLI::App *command) { return command->get_name() == first; });
    if (option ? !app.get_option_no_throw(first) : commands.empty())
      throw UsageError(std::string("there is no ") + (option ? "option '" : "command '") + first +
                       "'; see 'pyrelux --help'");
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &error) {
    if (error.get_exit_code() != 0) return fail(firstLine(error.what()) + "; see 'pyrelux --help'", usageExit);
    exitCode = app.exit(error);
  }
  std::cout.flush();
  if (!std::cout) return fail("cannot write to standard output", outputExit);
  return exitCode;
}

}  // namespace

int main(int argc, char **argv) {
  using namespace pyrelux;
  using namespace pyrelux::cli;
  occupyStandardStreams();
  // What exceeds a limit on the size of files fails to be written, like what exceeds the disk.
  signal(SIGXFSZ, SIG_IGN);
  // So does what nobody reads any more: a movie is not to be lost with the reader of its progress.
  signal(SIGPIPE, SIG_IGN);
  try {
    requireStack();
    return run(argc, argv);
  } catch (const ValueError &error) {
    return fail(error.what(), usageExit);
  } catch (const media::InputError &error) {
    return fail(error.what(), inputExit);
  } catch (const media::OutputError &error) {
    return fail(error.what(), outputExit);
  } catch (const media::EncoderError &error) {
    return fail(error.what(), encoderExit);
  } catch (const media::MediaError &error) {
    // Of what is neither: a name that can be none of an input or output.
    return fail(error.what(), usageExit);
  } catch (const std::bad_alloc &) {
    return fail("not enough memory; raise the limit if there is one (ulimit -v), or draw smaller pictures", failedExit);
  } catch (const std::system_error &error) {
    return fail(remedyFor(error), failedExit);
  } catch (const std::exception &error) {
    return fail(error.what(), failedExit);
  }
}
