#include "MeltRun.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {

Melt::Melt() {
  fs::create_directory(path("modules"));
  // Of MLT's own those that read, write, normalise and mix pictures.
  for (const char *module : {"core", "avformat", "gdk", "qt", "xine", "xml"}) {
    const std::string file = std::string("libmlt") + module + ".so";
    fs::create_symlink(fs::path(PYRELUX_MLT_SYSTEM_MODULES) / file, path("modules/" + file));
  }
  fs::create_symlink(PYRELUX_MLT_MODULE, path("modules") / fs::path(PYRELUX_MLT_MODULE).filename());
  save(path("title.png"), titlePng(testWidth, testHeight));
  saveProfile("small", testWidth, testHeight);
}

void Melt::saveProfile(const std::string &name, int width, int height, const std::string &pixelAspect) const {
  const std::size_t slash = pixelAspect.find('/');
  const int across = std::stoi(pixelAspect);
  const int down = std::stoi(pixelAspect.substr(slash + 1));
  std::string text = "description=" + name + "\n";
  for (const auto &[key, value] : {std::pair<const char *, int>("frame_rate_num", 25),
                                   {"frame_rate_den", 1},
                                   {"width", width},
                                   {"height", height},
                                   {"progressive", 1},
                                   {"sample_aspect_num", across},
                                   {"sample_aspect_den", down},
                                   {"display_aspect_num", width * across},
                                   {"display_aspect_den", height * down},
                                   {"colorspace", 709}})
    text += std::string(key) + "=" + std::to_string(value) + "\n";
  save(path(name), text);
}

Result Melt::melt(const Words &arguments, const Environment &environment) const {
  Command command;
  // Ends runs of melt that wait although everything is written.
  command.words = Words{"timeout", "30", PYRELUX_MELT, "-quiet"} + arguments;
  command.folder = path("").string();
  command.environment = environment;
  command.environment["MLT_REPOSITORY"] = path("modules").string();
  return run(command);
}

Result Melt::meltInto(const std::string &name, const Words &arguments, const Environment &environment) const {
  // On a busy machine melt's consumer at times sees the film before melt plays it, takes that for its end, and writes
  // nothing; melt then ends, or not. It does so with any filter and with none.
  constexpr int attempts = 6;
  Result result;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    fs::remove(path(name));
    result = melt(arguments, environment);
    if (fs::exists(path(name)) && fs::file_size(path(name)) > 0) break;
  }
  return result;
}

Words Melt::rawConsumer(const Words &settings) {
  return Words{"-consumer",    "avformat:frames",       "f=rawvideo", "vcodec=rawvideo",
               "pix_fmt=rgba", "mlt_image_format=rgba", "an=1"} +
         settings;
}

std::string Melt::frames(const std::string &profile, const Words &arguments, const Words &consumer) const {
  const Result result = meltInto("frames", Words{"-profile", profile} + arguments + rawConsumer(consumer));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  return load(path("frames"));
}

std::string Melt::burnt(const Words &properties, int count, const Words &consumer) const {
  return frames("small", Words{"title.png", "out=" + std::to_string(count - 1), "-filter", "pyrelux"} + properties,
                consumer);
}

std::string Melt::frame(const std::string &frames, std::size_t number, int width, int height) {
  const std::size_t bytes = static_cast<std::size_t>(width) * height * 4;
  return frames.size() < (number + 1) * bytes ? std::string() : frames.substr(number * bytes, bytes);
}

std::string Melt::fire(const std::string &input, int frame, const Words &arguments) const {
  const Result result = pyrelux(
      Words{"render", input, "-o", "fire.exr", "--overwrite", "--codec", "float", "--frames", std::to_string(frame)} +
      arguments);
  expectSuccess(result);
  return decoded("fire.exr", "gbrapf32le");
}

}  // namespace pyrelux::cli::test
