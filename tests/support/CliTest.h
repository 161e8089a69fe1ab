#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "PngFile.h"
#include "Process.h"

namespace pyrelux::cli::test {

using Words = std::vector<std::string>;

/// The words of both, for command lines.
Words operator+(Words first, const Words &second);

/// The text with every `from` replaced.
std::string replaced(std::string text, const std::string &from, const std::string &to);

constexpr int testWidth = 64;
constexpr int testHeight = 36;

/// Settings that make a frame cheap to draw.
Words quick();

/// Standard error without what is remarked of the small or opaque pictures that tests burn.
std::string withoutRemarksOnTests(const std::string &err);

/// Sets "exit code 0 and no word about it" as the expectation.
void expectSuccess(const Result &result);

/// Expects a failure told in the one way there is: one line on standard error that holds all of the words, and nothing
/// on standard output.
void expectRefusal(const Result &result, const Words &words);

std::string load(const std::filesystem::path &file);
void save(const std::filesystem::path &file, const std::string &bytes);

/// Every file below a folder by name, hidden ones too, with its bytes; for what is no regular file, what it is.
std::map<std::string, std::string> contentsOf(const std::filesystem::path &folder);

/// The program in a fresh folder, which is removed afterwards.
class CliTest : public testing::Test {
 protected:
  CliTest();
  ~CliTest() override;

  std::filesystem::path path(const std::string &name) const { return folder_ / name; }

  /// Names of the files in a folder of the test's, hidden ones too, in alphabetical order.
  Words names(const std::string &folder) const;

  /// The same without the manifests of sequences.
  Words pictures(const std::string &folder) const;

  /// The command line, run in the test's folder.
  Command commandOf(const Words &arguments) const;
  Result pyrelux(const Words &arguments, const Environment &environment = {}) const;

  /// `pyrelux render INPUT -o OUTPUT --overwrite` with quick settings and more arguments.
  Words renderWords(const std::string &input, const std::string &output, const Words &more = {}) const;
  /// The same, run and expected to succeed.
  void render(const std::string &input, const std::string &output, const Words &more = {}) const;

  /// "NAME_0005.png" and so on, each different.
  void saveSequence(const std::string &name, int first, int last) const;

  /// A movie of moving titles at 25 frames a second, in the container and codec of the name's extension: .mov or .mkv.
  void saveMovie(const std::string &name, int frames) const;

  /// A picture in another layout of pixels, in the format or lossless codec of the new name's extension.
  void convertTo(const std::string &name, const std::string &from, const std::string &pixelFormat) const;

  /// The packets of the file's audio: their times in seconds and the hashes of their bytes.
  struct AudioPacket {
    double time;
    std::string hash;
  };
  std::vector<AudioPacket> audioOf(const std::string &name) const;

  /// The title in another layout of pixels, in the format of the name's extension.
  void saveAs(const std::string &name, const std::string &pixelFormat) const;

  /// What ffmpeg makes of these arguments.
  void saveWithFfmpeg(const Words &arguments, const std::string &name) const;

  /// What ffprobe tells about the picture or movie, its frames counted by decoding ("nb_read_frames").
  nlohmann::json probe(const std::string &name) const;

  /// The tags of the first frame by ffprobe, in alphabetical order.
  nlohmann::json frameTags(const std::string &name) const;

  /// The samples of all frames as ffmpeg decodes them and passes them through a filter.
  std::string decoded(const std::string &name, const std::string &pixelFormat,
                      const std::string &filter = "null") const;

  /// Red, green, blue and alpha of each pixel of all frames, 1 for full, without loss: as deep as the file, since
  /// ffmpeg's usual way from 8 bits to 16 and from integers to floats is not exact.
  std::vector<float> samplesOf(const std::string &name) const;

 private:
  std::filesystem::path folder_;
};

}  // namespace pyrelux::cli::test
