#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "Commands.h"
#include "FrameRange.h"
#include "HostError.h"
#include "Progress.h"
#include "Renderers.h"

namespace {

// What the program ends with; 0 is done, and 128 and more a signal.
constexpr int failedExit = 1;
constexpr int usageExit = 2;
constexpr int inputExit = 3;
constexpr int outputExit = 4;
constexpr int encoderExit = 5;

/// One line, whatever a name may hold.
int fail(const std::string &message, int exitCode) {
  std::string line;
  for (const char c : message) line += static_cast<unsigned char>(c) < ' ' || c == 0x7F ? '?' : c;
  std::cerr << "pyrelux: " << line << '\n';
  return exitCode;
}

/// CLI11's message without what it adds on further lines.
std::string firstLine(const std::string &text) { return text.substr(0, text.find('\n')); }

void addBackendOption(CLI::App &command, std::string &backend) {
  command
      .add_option("--backend", backend,
                  "What draws: auto (a GPU where there is one, else soft), gpu, mesa (Mesa's software renderer), soft "
                  "(our own, on "
                  "the processor), egl (a GPU, else mesa)")
      ->check(CLI::IsMember(pyrelux::host::rendererNames()))
      ->option_text("NAME");
}

int run(int argc, char **argv) {
  using namespace pyrelux::cli;
  CLI::App app("Sets titles, logos and mattes on fire.", "pyrelux");
  app.set_version_flag("--version", "pyrelux " PYRELUX_VERSION, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.require_subcommand(1);
  app.footer(
      "Ends with 0 when all is done, 1 when something else failed, 2 for a wrong command line, 3 for an input\n"
      "that can't be read, 4 for an output that can't be written, 5 for an encoder's failure, 128 and more for a "
      "signal.");
  int exitCode = 0;

  RenderOptions options;
  CLI::App *renderCommand = app.add_subcommand("render", "Burn a picture, a sequence or a movie");
  renderCommand
      ->add_option("INPUT", options.input, "Picture, movie, or numbered sequence with %04d or #### in its name")
      ->type_name("")
      ->required();
  renderCommand
      ->add_option("-o,--output", options.output,
                   "Where to: .png .exr (%04d or #### for a sequence), .mov (ProRes 4444), .mkv (FFV1, lossless), "
                   ".mp4 (H.264 over black)")
      ->type_name("FILE")
      ->required();
  renderCommand
      ->add_option("--frames", options.frames,
                   "Frames to render, 7, 1-48, 1-240x2 (every second one) or 1,5,9-12; frame N is rendered at time N, "
                   "whichever frames are rendered before it (default: all of the input; of a picture 1-48 into a "
                   "movie or sequence, 1 into a picture)")
      ->type_name("RANGE");
  renderCommand
      ->add_option("--fps", options.fps,
                   "Frames per second of a movie, 24, 23.976 or 30000/1001 (default: the input's, else 24)")
      ->type_name("RATE");
  renderCommand
      ->add_option("--preset", options.preset,
                   "A look to begin with, which --set changes; 'pyrelux presets' lists them")
      ->type_name("NAME");
  renderCommand
      ->add_option("--set", options.settings,
                   "A parameter's value; may be repeated. 'pyrelux parameters' lists names, ranges and units")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  renderCommand
      ->add_option("--bits", options.bits,
                   "Bits per channel of drawing and output, 8 or 16 (default: 16 for .exr and .mov, else 8)")
      ->check(CLI::IsMember({"8", "16"}))
      ->option_text("BITS");
  addBackendOption(*renderCommand, options.backend);
  renderCommand
      ->add_option(
          "--progress", options.progress,
          "How far it is: line (on standard error), json (an object for every frame on standard output, with "
          "frame, done, total, seconds, frames_per_second, seconds_left), none, or auto (a line on a terminal)")
      ->check(CLI::IsMember(progressNames()))
      ->option_text("KIND");
  renderCommand->add_flag_callback(
      "--quiet", [&] { options.progress = "none"; }, "The same as --progress none");
  renderCommand->add_flag("--verbose", options.verbose, "Say what draws, on standard error");
  renderCommand->callback([&] { exitCode = render(options); });

  bool json = false;
  CLI::App *parametersCommand =
      app.add_subcommand("parameters", "List the effect's parameters in the inspector's order");
  parametersCommand->add_flag("--json", json, "As JSON");
  parametersCommand->callback([&] { exitCode = listParameters(json); });

  bool presetsAsJson = false;
  CLI::App *presetsCommand = app.add_subcommand("presets", "List the looks that --preset takes");
  presetsCommand->add_flag("--json", presetsAsJson, "As JSON, with their settings");
  presetsCommand->callback([&] { exitCode = listPresets(presetsAsJson); });

  std::string infoBackend = "auto";
  CLI::App *infoCommand = app.add_subcommand("info", "Tell the version, what draws, and which bundle was found");
  addBackendOption(*infoCommand, infoBackend);
  infoCommand->callback([&] { exitCode = info(infoBackend); });

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
    if (error.get_exit_code() == 0) return app.exit(error);
    return fail(firstLine(error.what()) + "; see 'pyrelux --help'", usageExit);
  }
  std::cout.flush();
  if (!std::cout) return fail("cannot write to standard output", outputExit);
  return exitCode;
}

}  // namespace

int main(int argc, char **argv) {
  try {
    return run(argc, argv);
  } catch (const pyrelux::cli::UsageError &error) {
    return fail(error.what(), usageExit);
  } catch (const pyrelux::media::InputError &error) {
    return fail(error.what(), inputExit);
  } catch (const pyrelux::media::OutputError &error) {
    return fail(error.what(), outputExit);
  } catch (const pyrelux::media::EncoderError &error) {
    return fail(error.what(), encoderExit);
  } catch (const std::bad_alloc &) {
    return fail("not enough memory", failedExit);
  } catch (const std::exception &error) {
    return fail(error.what(), failedExit);
  }
}
