#include "CliTest.h"

#include <stdlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>

namespace fs = std::filesystem;

namespace pyrelux::cli::test {

namespace {

const Words ffmpeg{PYRELUX_FFMPEG, "-v", "error"};

/// The output of a program that has to succeed for the test to make sense.
std::string outputOf(const Words &words) {
  Command command;
  command.words = words;
  const Result result = run(command);
  if (result.exitCode != 0) throw std::runtime_error(words[0] + ": " + result.err);
  return result.out;
}

std::string numbered(const std::string &name, int frame) {
  char number[16];
  std::snprintf(number, sizeof number, "_%04d.png", frame);
  return name + number;
}

template <typename Sample>
std::vector<float> scaled(const std::string &bytes, float full) {
  std::vector<Sample> samples(bytes.size() / sizeof(Sample));
  std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(Sample));
  std::vector<float> floats;
  for (const Sample sample : samples) floats.push_back(sample / full);
  return floats;
}

/// From planes of green, blue, red and alpha.
template <typename Sample>
std::vector<float> interleaved(const std::string &bytes, float full) {
  const std::vector<float> planes = scaled<Sample>(bytes, full);
  constexpr std::size_t places[] = {2, 0, 1, 3};
  std::vector<float> pixels;
  for (std::size_t sample = 0; sample < planes.size(); ++sample)
    pixels.push_back(planes[places[sample % 4] * (planes.size() / 4) + sample / 4]);
  return pixels;
}

}  // namespace

Words operator+(Words first, const Words &second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

std::string replaced(std::string text, const std::string &from, const std::string &to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
    text.replace(at, from.size(), to);
  return text;
}

Words quick() { return {"--set", "steps=10", "--set", "pyrelux=2"}; }

std::string withoutRemarksOnTests(const std::string &err) {
  // What tests burn is small and often opaque, and that is remarked.
  static const std::regex remarks(
      "pyrelux: (the fire is cut off at the [^\n]*; --pad auto makes room for it|'[^\n]*' has no alpha and burns as a "
      "rectangle; [^\n]*)\n");
  return std::regex_replace(err, remarks, "");
}

void expectSuccess(const Result &result) {
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(withoutRemarksOnTests(result.err), "");
}

void expectRefusal(const Result &result, const Words &words) {
  EXPECT_EQ(result.signal, 0);
  EXPECT_GT(result.exitCode, 0);
  EXPECT_EQ(result.out, "");
  const std::string err = withoutRemarksOnTests(result.err);
  EXPECT_THAT(err, testing::StartsWith("pyrelux: "));
  EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
  EXPECT_THAT(err, testing::EndsWith("\n"));
  for (const std::string &word : words) EXPECT_THAT(err, testing::HasSubstr(word));
}

std::string load(const fs::path &file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error("can't read " + file.string());
  return {std::istreambuf_iterator<char>(stream), {}};
}

void save(const fs::path &file, const std::string &bytes) {
  std::ofstream stream(file, std::ios::binary);
  stream << bytes;
  if (!stream.flush()) throw std::runtime_error("can't write " + file.string());
}

std::map<std::string, std::string> contentsOf(const fs::path &folder) {
  std::map<std::string, std::string> contents;
  for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder)) {
    const std::string name = entry.path().lexically_relative(folder).string();
    // A link to itself is nothing that could be looked at.
    std::error_code error;
    contents[name] = entry.is_regular_file(error) ? load(entry.path())
                     : entry.is_directory(error)  ? "folder"
                                                  : "special";
  }
  return contents;
}

CliTest::CliTest() {
  std::string name = (fs::temp_directory_path() / "pyrelux-cli-XXXXXX").string();
  if (!mkdtemp(name.data())) throw std::runtime_error("can't make " + name);
  folder_ = name;
}

CliTest::~CliTest() {
  std::error_code error;
  fs::remove_all(folder_, error);
}

Words CliTest::names(const std::string &folder) const {
  Words names;
  for (const fs::directory_entry &entry : fs::directory_iterator(path(folder)))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

Words CliTest::pictures(const std::string &folder) const {
  Words pictures = names(folder);
  const auto isManifest = [](const std::string &name) { return fs::path(name).extension() == ".jsonl"; };
  pictures.erase(std::remove_if(pictures.begin(), pictures.end(), isManifest), pictures.end());
  return pictures;
}

Command CliTest::commandOf(const Words &arguments) const {
  Command command;
  command.words = Words{PYRELUX_PROGRAM} + arguments;
  command.folder = folder_.string();
  // A developer's own presets are not the tests' business.
  command.environment = {{"XDG_CONFIG_HOME", path("config").string()}};
  return command;
}

Result CliTest::pyrelux(const Words &arguments, const Environment &environment) const {
  Command command = commandOf(arguments);
  for (const auto &[name, value] : environment) command.environment[name] = value;
  return run(command);
}

Words CliTest::renderWords(const std::string &input, const std::string &output, const Words &more) const {
  return Words{"render", input, "-o", output, "--overwrite"} + quick() + more;
}

void CliTest::render(const std::string &input, const std::string &output, const Words &more) const {
  const Result result = pyrelux(renderWords(input, output, more));
  expectSuccess(result);
  EXPECT_EQ(result.out, "");
}

void CliTest::saveSequence(const std::string &name, int first, int last) const {
  for (int frame = first; frame <= last; ++frame)
    save(path(numbered(name, frame)), titlePng(testWidth, testHeight, 3 * frame));
}

void CliTest::saveMovie(const std::string &name, int frames) const {
  const fs::path pictures = path("of-" + name);
  fs::create_directory(pictures);
  saveSequence((pictures / "frame").string(), 1, frames);
  const Words encoder = fs::path(name).extension() == ".mov" ? Words{"prores_ks", "-profile:v", "4444"} : Words{"ffv1"};
  const Words input{"-framerate", "25", "-i", (pictures / "frame_%04d.png").string()};
  outputOf(ffmpeg + input + Words{"-c:v"} + encoder + Words{path(name).string()});
  fs::remove_all(pictures);
}

void CliTest::convertTo(const std::string &name, const std::string &from, const std::string &pixelFormat) const {
  const Words codec = fs::path(name).extension() == ".mkv" ? Words{"-c:v", "ffv1"} : Words{};
  outputOf(ffmpeg + Words{"-i", path(from).string(), "-pix_fmt", pixelFormat} + codec + Words{path(name).string()});
}

void CliTest::saveAs(const std::string &name, const std::string &pixelFormat) const {
  save(path("layout.png"), titlePng(testWidth, testHeight));
  convertTo(name, "layout.png", pixelFormat);
  fs::remove(path("layout.png"));
}

void CliTest::saveWithFfmpeg(const Words &arguments, const std::string &name) const {
  outputOf(ffmpeg + Words{"-y"} + arguments + Words{path(name).string()});
}

std::vector<CliTest::AudioPacket> CliTest::audioOf(const std::string &name) const {
  const Words words{PYRELUX_FFPROBE, "-v", "error", "-select_streams", "a", "-show_packets", "-show_data_hash", "md5"};
  const nlohmann::json told = nlohmann::json::parse(outputOf(words + Words{"-of", "json", path(name).string()}));
  std::vector<AudioPacket> packets;
  for (const nlohmann::json &packet : told.at("packets"))
    packets.push_back({std::stod(packet.at("pts_time").get<std::string>()), packet.at("data_hash")});
  return packets;
}

nlohmann::json CliTest::probe(const std::string &name) const {
  const Words words{PYRELUX_FFPROBE, "-v", "error", "-show_streams", "-count_frames", "-of", "json"};
  return nlohmann::json::parse(outputOf(words + Words{path(name).string()})).at("streams").at(0);
}

nlohmann::json CliTest::frameTags(const std::string &name) const {
  const Words words{PYRELUX_FFPROBE, "-v", "error", "-show_entries", "frame_tags", "-of", "json"};
  return nlohmann::json::parse(outputOf(words + Words{path(name).string()})).at("frames").at(0).at("tags");
}

std::string CliTest::decoded(const std::string &name, const std::string &pixelFormat, const std::string &filter) const {
  return outputOf(ffmpeg +
                  Words{"-i", path(name).string(), "-vf", filter, "-f", "rawvideo", "-pix_fmt", pixelFormat, "-"});
}

std::vector<float> CliTest::samplesOf(const std::string &name) const {
  const std::string pixels = probe(name).at("pix_fmt");
  const auto has = [&pixels](const char *part) { return pixels.find(part) != std::string::npos; };
  if (has("f32")) return interleaved<float>(decoded(name, "gbrapf32le"), 1.0f);
  if (has("yuv")) return interleaved<std::uint16_t>(decoded(name, "gbrap16le", "zscale"), 65535.0f);
  if (has("16") || has("48") || has("64")) return scaled<std::uint16_t>(decoded(name, "rgba64le"), 65535.0f);
  return scaled<std::uint8_t>(decoded(name, "rgba"), 255.0f);
}

}  // namespace pyrelux::cli::test
