// What programs that write into one sequence at the same time leave.

#include "Manifest.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <nlohmann/json.hpp>
#include <thread>

#include "LockedFile.h"

namespace fs = std::filesystem;

namespace pyrelux::record {
namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr int rounds = 10;  // which take as long as a hundred do without
#else
constexpr int rounds = 100;
#endif

class ManifestTest : public testing::Test {
 protected:
  ManifestTest() {
    std::string name = (fs::temp_directory_path() / "pyrelux-manifest-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("can't make " + name);
    folder_ = name;
  }
  ~ManifestTest() override { fs::remove_all(folder_); }

  std::string path(const std::string &name) const { return (folder_ / name).string(); }
  std::string output() const { return path("fire.%d.png"); }
  std::string manifest() const { return path("fire.png.manifest.jsonl"); }

  static void save(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }

  /// Adds a picture of these bytes, as a writer does.
  void add(Manifest &manifest, std::int64_t frame, const std::string &bytes) const {
    const std::string final = path("fire." + std::to_string(frame) + ".png");
    const std::string temporary = final + "." + std::to_string(getpid());
    save(temporary, bytes);
    manifest.add({frame, final, temporary, [&] { fs::rename(temporary, final); }}, "origin");
  }

  /// Runs work(number) in processes of their own, which begin together. Expects that all succeed.
  static void together(int processes, const std::function<void(int)> &work) {
    std::array<int, 2> start{};
    ASSERT_EQ(pipe(start.data()), 0);
    for (int number = 0; number < processes; ++number) {
      if (fork() != 0) continue;
      close(start[1]);
      char nothing;
      if (read(start[0], &nothing, 1) != 0) _exit(2);
      try {
        work(number);
      } catch (...) {
        _exit(1);
      }
      _exit(0);
    }
    close(start[0]);
    close(start[1]);
    for (int number = 0; number < processes; ++number) {
      int status = -1;
      EXPECT_GT(wait(&status), 0);
      EXPECT_EQ(status, 0);
    }
  }

  fs::path folder_;
};

TEST_F(ManifestTest, KeepsEveryLineOfSixteenProcesses) {
  constexpr int processes = 16;
  constexpr int own = 3;
  constexpr std::int64_t shared = 1000;
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    // Whichever comes first finds nothing but pictures that are gone, and begins the file afresh.
    for (const fs::directory_entry &entry : fs::directory_iterator(folder_)) fs::remove(entry);
    save(manifest(), "{\"settings\":\"old\"}\n{\"frame\":7,\"file\":\"gone.png\",\"bytes\":1,\"xxh3\":\"0\"}\n{\"fra");
    together(processes, [&](int process) {
      Manifest manifest(output(), nlohmann::json({{"process", process}}).dump());
      for (int picture = 0; picture < own; ++picture)
        add(manifest, process * own + picture, std::string(static_cast<std::size_t>(process + 1), 'x'));
      // The same picture for all, of other bytes: the last line has to be that of the file that stays.
      add(manifest, shared, std::string(static_cast<std::size_t>(process + 1), 'y'));
    });

    std::ifstream lines(manifest());
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) EXPECT_TRUE(nlohmann::json::accept(line)) << line;
    EXPECT_EQ(count, processes * (1 + own + 1)) << "in round " << round;
    const PictureRecords records = readManifest(manifest());
    EXPECT_EQ(records.size(), static_cast<std::size_t>(processes * own + 1));
    for (const auto &[file, record] : records)
      EXPECT_EQ(stateOf(file, record, folder_.string()), RecordState::Right) << file << " in round " << round;
  }
}

TEST_F(ManifestTest, ReadsAFileInItsTurnThatAnotherProgramBeginsAfresh) {
  save(manifest(), "{\"sett");
  std::promise<void> isLocked;
  std::thread other([&] {
    LockedFile file(manifest());
    isLocked.set_value();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    file.clear();
    file.append("{\"settings\":\"new\"}");
  });
  isLocked.get_future().wait();
  EXPECT_NO_THROW(Manifest(output(), "{}"));
  other.join();
}

TEST_F(ManifestTest, HoldsOnToTheFileThatHasTheName) {
  Manifest manifest(output(), "{}");
  add(manifest, 1, "one");
  // As editors and synchronising programs do it.
  fs::copy_file(this->manifest(), path("copy"));
  fs::rename(path("copy"), this->manifest());
  add(manifest, 2, "two");
  EXPECT_EQ(readManifest(this->manifest()).size(), 2u);
}

TEST_F(ManifestTest, LeavesNoPartOfALineWhereThereIsNoRoom) {
  LockedFile file(path("lines"));
  file.append("whole");
  together(1, [&](int) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{10, 10};
    setrlimit(RLIMIT_FSIZE, &limit);
    try {
      file.append("this is too long");
    } catch (const media::OutputError &) {
      return;
    }
    throw std::runtime_error("no failure");
  });
  EXPECT_EQ(fs::file_size(path("lines")), std::string("whole\n").size());
}

TEST_F(ManifestTest, WaitsForALockAndThenSaysSo) {
  save(path("lines"), "whole\n");
  const int other = ::open(path("lines").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(flock(other, LOCK_EX), 0);
  try {
    const LockedFile file(path("lines"), std::chrono::milliseconds(40));
    ADD_FAILURE() << "two have it";
  } catch (const media::OutputError &error) {
    EXPECT_EQ(error.what(), "cannot write '" + path("lines") + "': another program keeps it locked");
  }
  close(other);
  LockedFile(path("lines"), std::chrono::milliseconds(0)).append("more");
}

TEST_F(ManifestTest, EndsALineThatWasCutOff) {
  save(path("lines"), "cut");
  LockedFile(path("lines")).append("whole");
  std::ifstream stream(path("lines"));
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "cut\nwhole\n");
}

TEST_F(ManifestTest, PassesOverLinesThatAreNoRecords) {
  const auto record = [](const char *name, const std::string &more) {
    return std::string("{\"frame\":1,\"bytes\":1,\"xxh3\":\"0\",\"file\":\"") + name + "\"" + more + "}\n";
  };
  const std::string opened(300000, '[');
  const std::string closed(300000, ']');
  const std::string shallow(8000, '[');
  save(manifest(), record("deep.png", ",\"more\":" + opened + closed) + opened + closed + "\n" + opened + "\n" +
                       shallow + "\n" + std::string(100000, ' ') + record("far.png", "") + record("right.png", "") +
                       record("../other.png", "") + record("", ""));
  const PictureRecords records = readManifest(manifest());
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records.begin()->first, "right.png");
}

TEST_F(ManifestTest, RefusesAFileThatOnlyLooksLargeAtOnce) {
  save(manifest(), "");
  fs::resize_file(manifest(), std::uintmax_t{1} << 40);
  EXPECT_THROW(readManifest(manifest()), media::InputError);
  EXPECT_THROW(Manifest(output(), "{}"), media::OutputError);
}

}  // namespace
}  // namespace pyrelux::record
