#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <iostream>
#include <iterator>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include "Commands.h"
#include "ExitCodes.h"
#include "MediaErrors.h"
#include "Message.h"
#include "Parser.h"
#include "ValueError.h"

namespace {

int fail(const std::string &message, int exitCode) {
  pyrelux::cli::say(message);
  return exitCode;
}

/// A file must not get the number of a standard stream that is closed: what is printed would end up in the file.
void occupyStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    // Opened read-only, so that writing to a closed stdout still fails.
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

int run(int argc, char **argv) {
  using namespace pyrelux::cli;
  Program program{"pyrelux", "Sets titles, logos and mattes on fire.", programOptions(), {}};
  program.commands = {renderCommand(),
                      studioCommand(),
                      sheetCommand(),
                      parametersCommand(),
                      presetsCommand(),
                      verifyCommand(),
                      completionCommand(program),
                      infoCommand(),
                      manCommand(program),
                      optionsCommand(program)};
  std::vector<Command> farm = farmCommands();
  program.commands.insert(program.commands.begin() + 1, std::make_move_iterator(farm.begin()),
                          std::make_move_iterator(farm.end()));
  const int exitCode = runCommand(program, argc, argv);
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
