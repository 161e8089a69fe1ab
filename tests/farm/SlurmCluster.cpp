#include "SlurmCluster.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <random>
#include <thread>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {

namespace {

constexpr const char *nodes[] = {"n1", "n2"};

/// The scheduler looks often, and what is ended has no long grace.
constexpr const char *configuration = R"(ClusterName=pyrelux
SlurmctldHost=@HOST@(127.0.0.1)
SlurmctldPort=@PORT0@
SlurmUser=@USER@
SlurmdUser=@USER@
AuthType=auth/munge
AuthInfo=socket=@FOLDER@/munge.socket,cred_expire=5
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerParameters=batch_sched_delay=0,bf_interval=1,sched_interval=1,sched_min_interval=0
ReturnToService=2
SlurmdTimeout=5
KillWait=5
JobRequeue=1
MailProg=/bin/true
StateSaveLocation=@FOLDER@/state
SlurmdSpoolDir=@FOLDER@/spool-%n
SlurmdPidFile=@FOLDER@/%n.pid
SlurmctldPidFile=@FOLDER@/slurmctld.pid
NodeName=n1 NodeHostname=@HOST@ NodeAddr=127.0.0.1 Port=@PORT1@ CPUs=1 RealMemory=100
NodeName=n2 NodeHostname=@HOST@ NodeAddr=127.0.0.1 Port=@PORT2@ CPUs=1 RealMemory=100
PartitionName=all Nodes=n1,n2 Default=YES MaxTime=INFINITE State=UP
)";

/// Ports that nobody listens at.
std::vector<std::string> freePorts(std::size_t count) {
  std::vector<int> sockets;
  std::vector<std::string> ports;
  while (ports.size() < count) {
    sockets.push_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto *plain = reinterpret_cast<sockaddr *>(&address);
    if (bind(sockets.back(), plain, length) != 0 || getsockname(sockets.back(), plain, &length) != 0)
      throw NoSlurm("there is no free port");
    ports.push_back(std::to_string(ntohs(address.sin_port)));
  }
  for (const int number : sockets) close(number);
  return ports;
}

std::string firstLine(const Words &words) {
  Command command;
  command.words = words;
  const Result result = run(command);
  if (result.exitCode != 0) throw NoSlurm(result.err);
  return result.out.substr(0, result.out.find('\n'));
}

/// The processes of this machine that satisfy a condition on their folder in /proc.
template <typename Condition>
std::vector<pid_t> processes(Condition condition) {
  std::vector<pid_t> found;
  for (const fs::directory_entry &entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") == std::string::npos && condition(entry.path()))
      found.push_back(std::stoi(name));
  }
  return found;
}

/// Whether a process was given the variable, as "NAME=VALUE". What has ended has none.
bool hasVariable(const fs::path &process, const std::string &variable) {
  std::ifstream file(process / "environ", std::ios::binary);
  const std::string all{std::istreambuf_iterator<char>(file), {}};
  const std::string whole = '\0' + variable + '\0';
  return ('\0' + all).find(whole) != std::string::npos;
}

void endProcess(pid_t process, int signal) {
  kill(process, signal);
  while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

bool comesTrue(const std::function<bool()> &condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(2);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return true;
}

SlurmCluster::SlurmCluster() {
  std::string name = (fs::temp_directory_path() / "pyrelux-slurm-XXXXXX").string();
  if (!mkdtemp(name.data())) throw NoSlurm("can't make " + name);
  folder_ = name;
  // munged insists that everybody may get to its socket.
  chmod(name.c_str(), 0711);
  environment_["SLURM_CONF"] = file("slurm.conf").string();
  try {
    configure();
    startAll();
  } catch (...) {
    endAll();
    throw;
  }
}

SlurmCluster::~SlurmCluster() { endAll(); }

void SlurmCluster::configure() {
  for (const char *program : {"munged", "slurmctld", "slurmd", "sbatch", "scontrol"})
    firstLine({"sh", "-c",
               "PATH=$PATH:/usr/sbin:/sbin; command -v \"$1\" || { echo \"$1 is not installed\" >&2; false; }", program,
               program});
  std::string text = replaced(configuration, "@FOLDER@", folder_.string());
  text = replaced(text, "@HOST@", firstLine({"hostname"}));
  text = replaced(text, "@USER@", firstLine({"id", "-un"}));
  const std::vector<std::string> ports = freePorts(3);
  for (std::size_t index = 0; index < ports.size(); ++index)
    text = replaced(text, "@PORT" + std::to_string(index) + "@", ports[index]);
  save(file("slurm.conf"), text);
  fs::create_directory(file("state"));
  for (const char *node : nodes) fs::create_directory(file(std::string("spool-") + node));
  std::random_device random;
  std::string key;
  while (key.size() < 128) key += static_cast<char>(random());
  save(file("key"), key);
  chmod(file("key").c_str(), 0400);
}

pid_t SlurmCluster::start(const std::vector<std::string> &words, const std::string &log) {
  const std::string path = file(log + ".log").string();
  const std::string variable = "SLURM_CONF=" + environment_.at("SLURM_CONF");
  std::vector<std::string> all =
      Words{"env", variable, "PATH=" + std::string(std::getenv("PATH")) + ":/usr/sbin:/sbin"} + words;
  std::vector<char *> pointers;
  for (std::string &word : all) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int in = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int out = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (getppid() == parent && dup2(in, STDIN_FILENO) >= 0 && dup2(out, STDOUT_FILENO) >= 0 &&
        dup2(out, STDERR_FILENO) >= 0)
      execvp(pointers[0], pointers.data());
    _exit(127);
  }
  if (child < 0) throw NoSlurm("can't start " + words[0]);
  daemons_.emplace_back(log, child);
  return child;
}

void SlurmCluster::startNode(const std::string &node) { start({"slurmd", "-D", "-N", node}, node); }

bool SlurmCluster::isWaiting(const std::string &node) const {
  Command command;
  command.words = {"sinfo", "--noheader", "--nodes=" + node, "--format=%t"};
  command.environment = environment_;
  return run(command).out == "idle\n";
}

void SlurmCluster::startAll() {
  start({"munged", "--foreground", "--key-file=" + file("key").string(), "--socket=" + file("munge.socket").string(),
         "--pid-file=" + file("munge.pid").string(), "--log-file=" + file("munge.log").string(),
         "--seed-file=" + file("munge.seed").string()},
        "munged");
  const auto hasEnded = [&] {
    return std::find_if(daemons_.begin(), daemons_.end(), [](const auto &daemon) {
             siginfo_t info{};
             waitid(P_PID, static_cast<id_t>(daemon.second), &info, WEXITED | WNOHANG | WNOWAIT);
             return info.si_pid != 0;
           }) != daemons_.end();
  };
  comesTrue([&] { return fs::exists(file("munge.socket")) || hasEnded(); });
  start({"slurmctld", "-D"}, "slurmctld");
  for (const char *node : nodes) startNode(node);
  const bool isReady = comesTrue([&] {
    return hasEnded() ||
           std::all_of(std::begin(nodes), std::end(nodes), [&](const char *node) { return isWaiting(node); });
  });
  if (isReady && !hasEnded()) return;
  std::string logs;
  for (const auto &daemon : daemons_) logs += load(file(daemon.first + ".log"));
  throw NoSlurm("its daemons do not get ready:\n" + logs);
}

void SlurmCluster::endAll() {
  // Daemons first, so that nothing new begins.
  while (!daemons_.empty()) {
    endProcess(daemons_.back().second, SIGKILL);
    daemons_.pop_back();
  }
  const std::string variable = "SLURM_CONF=" + environment_.at("SLURM_CONF");
  const auto left = [&] {
    const auto all = processes([&](const fs::path &process) { return hasVariable(process, variable); });
    for (const pid_t process : all) kill(process, SIGKILL);
    return !all.empty();
  };
  comesTrue([&] { return !left(); });
  std::error_code error;
  fs::remove_all(folder_, error);
}

std::string SlurmCluster::ask(const std::vector<std::string> &words) const {
  Command command;
  command.words = words;
  command.environment = environment_;
  const Result result = run(command);
  if (result.exitCode != 0) throw std::runtime_error(words[0] + ": " + result.err);
  return result.out;
}

void SlurmCluster::cutOff(const std::string &node) {
  const auto daemon =
      std::find_if(daemons_.begin(), daemons_.end(), [&](const auto &one) { return one.first == node; });
  if (daemon == daemons_.end()) throw std::runtime_error("there is no node " + node);
  endProcess(daemon->second, SIGKILL);
  daemons_.erase(daemon);
  const std::string ours = "SLURM_CONF=" + environment_.at("SLURM_CONF");
  // A job's shell knows its node, and what Slurm started it by is in the same session.
  comesTrue([&] {
    const auto jobs = processes([&](const fs::path &process) {
      return hasVariable(process, ours) && hasVariable(process, "SLURMD_NODENAME=" + node);
    });
    std::vector<pid_t> sessions;
    for (const pid_t job : jobs) sessions.push_back(getsid(job));
    const auto all = processes([&](const fs::path &process) {
      const pid_t session = getsid(std::stoi(process.filename().string()));
      return hasVariable(process, ours) && std::count(sessions.begin(), sessions.end(), session) > 0;
    });
    for (const pid_t process : all) kill(process, SIGKILL);
    return jobs.empty();
  });
}

void SlurmCluster::tellOfItsEnd(const std::string &node) const {
  ask({"scontrol", "update", "NodeName=" + node, "State=down", "Reason=ended"});
}

void SlurmCluster::bringBack(const std::string &node) {
  startNode(node);
  if (!comesTrue([&] { return isWaiting(node); })) throw std::runtime_error(node + " does not come back");
}

}  // namespace pyrelux::cli::test
