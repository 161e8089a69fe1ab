#include "Requests.h"

#include <filesystem>
#include <system_error>

#include "MediaErrors.h"
#include "ValueError.h"
#include "Writer.h"

namespace fs = std::filesystem;

namespace pyrelux::studio {

namespace {

/// Frames are planned as for an output that holds all of them.
constexpr const char *anySequence = "frame_####.png";

std::optional<int> optionalWhole(const Json &message, const char *key, int least, int most) {
  if (!isIn(message, key)) return std::nullopt;
  return static_cast<int>(wholeIn(message, key, least, most));
}

/// The file's path as the render command takes it for a background: "./red" is no colour.
std::string backgroundName(const std::string &path) { return readColour(path) || path[0] == '#' ? "./" + path : path; }

/// The backdrop of a message's "background"; the checkerboard if it has none.
WantedBackdrop backdropIn(const Json &message, const Folders &folders) {
  WantedBackdrop backdrop;
  if (!isIn(message, "background")) return backdrop;
  const Json &json = message["background"];
  if (!json.is_object()) throw Refusal("'background' takes an object", "background");
  const std::string kind = textIn(json, "kind");
  if (kind == "checker") return backdrop;
  if (kind == "file") {
    backdrop.kind = WantedBackdrop::Kind::File;
    backdrop.text = backgroundName(folders.resolve(textIn(json, "path"), "background"));
  } else if (kind == "color") {
    backdrop.kind = WantedBackdrop::Kind::Colour;
    backdrop.text = textIn(json, "value");
    const auto colour = readColour(backdrop.text);
    if (!colour || !isInRange(*colour))
      throw Refusal("'" + backdrop.text + "' is no colour; it takes " + colourTakes, "background");
    backdrop.colour = *colour;
  } else {
    throw Refusal("there is no background '" + kind + "'", "background");
  }
  return backdrop;
}

}  // namespace

bool hasFire(const Content &content) {
  return content.input || content.testPattern || content.project.scene.title.hasText();
}

job::RenderRequest requestOf(const Content &content) {
  job::RenderRequest request;
  request.input = content.input;
  request.testPattern = content.testPattern;
  request.projectInMemory = content.project;
  request.output = anySequence;
  project::Scene &scene = request.projectInMemory->scene;
  if (content.input)
    scene.size.reset();
  else
    scene.inputMatte.reset();
  return request;
}

job::RenderRequest exportRequest(const Content &content, const Json &message, const Folders &folders) {
  job::RenderRequest request = requestOf(content);
  request.output = folders.resolve(textIn(message, "output"), "output");
  request.codec = optionalTextIn(message, "codec").value_or("");
  try {
    // Refuses an extension or codec that there is none of.
    media::Writer::holdsAlpha(request.output, request.codec);
  } catch (const media::MediaError &error) {
    throw Refusal(error.what(), "output");
  }
  if (const auto alpha = optionalTextIn(message, "alpha")) {
    request.alpha = valueOf(job::alphaWords(), *alpha);
    if (!request.alpha) throw Refusal("there is no alpha '" + *alpha + "'", "alpha");
  }
  const auto setScene = [&](const char *key) {
    if (!isIn(message, key)) return;
    const Json &value = message[key];
    try {
      project::sceneField(key).parse(request.scene, value.is_string() ? value.get<std::string>() : value.dump());
    } catch (const ValueError &error) {
      throw Refusal(std::string("'") + key + "': " + error.what(), key);
    }
  };
  setScene("bits");
  setScene("frames");
  request.crf = optionalWhole(message, "crf", 0, 63);
  request.quality = optionalWhole(message, "quality", 0, 100);
  if (isIn(message, "density")) {
    request.density = numberIn(message, "density");
    if (*request.density < 0.0 || *request.density > 1.0) throw Refusal("'density' is not in 0..1", "density");
  }
  if (isIn(message, "background")) {
    const WantedBackdrop backdrop = backdropIn(message, folders);
    if (backdrop.kind == WantedBackdrop::Kind::Checker)
      throw Refusal("the checkerboard is for looking; a file has a colour, a picture or nothing behind it",
                    "background");
    request.background = job::BackgroundRequest{backdrop.text, std::nullopt, {}, false};
    if (backdrop.kind == WantedBackdrop::Kind::Colour) request.background->colour = backdrop.colour;
  }
  if (flagIn(message, "replace")) request.existing = job::Existing::Replace;
  std::error_code error;
  const fs::path folder = fs::path(request.output).parent_path();
  request.makeFolders = !folder.empty() && !fs::exists(folder, error);
  return request;
}

FrameRequest frameRequest(const Json &message, const Folders &folders) {
  constexpr std::int64_t mostFrame = 1000000000;
  constexpr std::int64_t mostId = std::int64_t{1} << 52;
  FrameRequest request;
  request.id = wholeIn(message, "id", 0, mostId);
  request.frame = wholeIn(message, "frame", 0, mostFrame);
  if (isIn(message, "width")) request.shownWidth = numberIn(message, "width");
  const std::string size = optionalTextIn(message, "size").value_or("auto");
  static const Words<DraftSize> sizes{{"auto", DraftSize::Auto},
                                      {"full", DraftSize::Whole},
                                      {"half", DraftSize::Half},
                                      {"quarter", DraftSize::Quarter}};
  const auto draft = valueOf(sizes, size);
  if (!draft) throw Refusal("there is no size '" + size + "'", "size");
  request.size = *draft;
  request.backdrop = backdropIn(message, folders);
  const std::string view = optionalTextIn(message, "view").value_or("fire");
  if (view != "fire" && view != "source") throw Refusal("there is no view '" + view + "'", "view");
  request.wantsSource = view == "source";
  request.isSettled = flagIn(message, "settled");
  return request;
}

}  // namespace pyrelux::studio
