#include "Process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace pyrelux::cli::test {

namespace {

constexpr int silenceMilliseconds = 300000;

void require(bool success, const std::string &what) {
  if (!success) throw std::runtime_error(what);
}

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) { fcntl(number_, F_SETFD, FD_CLOEXEC); }
  ~Descriptor() { close(); }
  Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }

  int number() const { return number_; }
  bool isOpen() const { return number_ >= 0; }
  void close() {
    if (isOpen()) ::close(std::exchange(number_, -1));
  }

 private:
  int number_ = -1;
};

void openTerminal(int (&ends)[2]) {
  require(openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr) == 0,
          "there is no pseudo-terminal, which this test needs: mount /dev/pts");
}

/// A way from the program to here.
struct Channel {
  Descriptor ours;
  Descriptor theirs;

  explicit Channel(bool isTerminal) {
    int ends[2];
    if (isTerminal)
      openTerminal(ends);
    else
      require(pipe2(ends, O_CLOEXEC) == 0, "no channel");
    ours = Descriptor(ends[0]);
    theirs = Descriptor(ends[1]);
  }
};

/// Reads both to their ends, whichever has something, because a program blocks when one of them is full.
void collect(const Command &command, pid_t program, std::array<std::pair<Descriptor *, std::string *>, 2> channels) {
  bool hasSignal = !command.signalAfter.empty();
  for (;;) {
    std::array<pollfd, 2> waiting{};
    bool anyOpen = false;
    for (std::size_t i = 0; i < channels.size(); ++i) {
      waiting[i] = {channels[i].first->number(), POLLIN, 0};
      anyOpen = anyOpen || channels[i].first->isOpen();
    }
    if (!anyOpen) return;
    if (poll(waiting.data(), waiting.size(), silenceMilliseconds) == 0) kill(program, SIGKILL);
    for (std::size_t i = 0; i < channels.size(); ++i) {
      if (!waiting[i].revents) continue;
      char bytes[4096];
      const ssize_t count = read(waiting[i].fd, bytes, sizeof bytes);
      // A terminal reports its end as an error.
      if (count <= 0)
        channels[i].first->close();
      else
        channels[i].second->append(bytes, static_cast<std::size_t>(count));
    }
    const auto isTold = [&](const auto &channel) {
      return channel.second->find(command.signalAfter) != std::string::npos;
    };
    if (hasSignal && std::any_of(channels.begin(), channels.end(), isTold)) {
      kill(command.signalsAll ? -program : program, command.signal);
      hasSignal = false;
    }
  }
}

std::vector<std::string> environmentFor(const Command &command) {
  // Where bundles are looked for is up to each test.
  Environment variables{{"PYRELUX_PLUGIN_PATH", ""}};
  for (const auto &[name, value] : command.environment) variables[name] = value;
  std::vector<std::string> lines;
  for (char **line = environ; *line; ++line) {
    const std::string text = *line;
    if (!variables.count(text.substr(0, text.find('=')))) lines.push_back(text);
  }
  for (const auto &[name, value] : command.environment) lines.push_back(name + "=" + value);
  return lines;
}

std::vector<char *> pointers(std::vector<std::string> &texts) {
  std::vector<char *> all;
  for (std::string &text : texts) all.push_back(text.data());
  all.push_back(nullptr);
  return all;
}

/// What a child needs to become the program. Made before the fork, after which other threads' locks stay as they were.
struct Start {
  const Command &command;
  pid_t parent;
  int out;
  int err;
  char *const *words;
  char *const *environment;
};

/// In the child: returns only when the program can't be started.
void become(const Start &start) {
  // A test program that is killed leaves nothing behind. The signal comes when the thread that forked ends, and that
  // one waits for the program.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != start.parent) return;
  const Command &command = start.command;
  if (command.signalsAll) setpgid(0, 0);
  const int in = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const int out = command.outputFile.empty() ? start.out : open(command.outputFile.c_str(), O_WRONLY | O_CLOEXEC);
  if (dup2(in, STDIN_FILENO) < 0 || dup2(out, STDOUT_FILENO) < 0 || dup2(start.err, STDERR_FILENO) < 0) return;
  if (!command.folder.empty() && chdir(command.folder.c_str()) != 0) return;
  execvpe(start.words[0], start.words, start.environment);
}

}  // namespace

void requireTerminals() { const Channel channel(true); }

Result run(const Command &command) {
  Channel out(false);
  Channel err(command.errorsToTerminal);
  Channel failure(false);
  std::vector<std::string> words = command.words;
  std::vector<std::string> environment = environmentFor(command);
  const std::vector<char *> wordPointers = pointers(words), environmentPointers = pointers(environment);
  const Start start{
      command, getpid(), out.theirs.number(), err.theirs.number(), wordPointers.data(), environmentPointers.data()};
  const pid_t program = fork();
  if (program == 0) {
    become(start);
    [[maybe_unused]] const ssize_t told = write(failure.theirs.number(), "", 1);
    _exit(127);
  }
  failure.theirs.close();
  require(program > 0, "can't start " + words.at(0));
  out.theirs.close();
  err.theirs.close();
  char byte;
  if (read(failure.ours.number(), &byte, 1) != 0) {
    waitpid(program, nullptr, 0);
    throw std::runtime_error("can't start " + words[0]);
  }

  Result result;
  collect(command, program, {std::pair{&out.ours, &result.out}, std::pair{&err.ours, &result.err}});
  int status = 0;
  require(waitpid(program, &status, 0) == program, "lost " + words[0]);
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  return result;
}

}  // namespace pyrelux::cli::test
