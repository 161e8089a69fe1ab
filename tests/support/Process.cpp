#include "Process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <spawn.h>
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
      require(pipe(ends) == 0, "no channel");
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
      kill(program, command.signal);
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

}  // namespace

void requireTerminals() { const Channel channel(true); }

Result run(const Command &command) {
  Channel out(false);
  Channel err(command.errorsToTerminal);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  if (command.outputFile.empty())
    posix_spawn_file_actions_adddup2(&actions, out.theirs.number(), STDOUT_FILENO);
  else
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, command.outputFile.c_str(), O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, err.theirs.number(), STDERR_FILENO);
  if (!command.folder.empty()) posix_spawn_file_actions_addchdir_np(&actions, command.folder.c_str());

  std::vector<std::string> words = command.words;
  std::vector<std::string> environment = environmentFor(command);
  pid_t program = 0;
  const int error = posix_spawnp(&program, words.at(0).c_str(), &actions, nullptr, pointers(words).data(),
                                 pointers(environment).data());
  posix_spawn_file_actions_destroy(&actions);
  require(error == 0, "can't start " + words[0]);
  out.theirs.close();
  err.theirs.close();

  Result result;
  collect(command, program, {std::pair{&out.ours, &result.out}, std::pair{&err.ours, &result.err}});
  int status = 0;
  require(waitpid(program, &status, 0) == program, "lost " + words[0]);
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  return result;
}

}  // namespace pyrelux::cli::test
