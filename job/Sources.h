#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Background.h"
#include "Compositing.h"
#include "FrameList.h"
#include "Parameters.h"
#include "Project.h"
#include "Reader.h"
#include "RenderListener.h"
#include "RenderRequest.h"
#include "Room.h"
#include "Settings.h"

namespace pyrelux::job {

/// The files of settings that a request names, read.
struct SettingsFiles {
  std::optional<project::Project> preset;
  std::optional<project::Project> project;

  /// All that sets parameters for the request.
  project::Layers layers(const RenderRequest &request) const;
};

/// Reads the request's project and its preset, or the project's. Throws ValueError, media::InputError.
SettingsFiles loadSettings(const RenderRequest &request, const std::vector<host::ParameterDeclaration> &declarations);

/// The request, with the project's values in the places of those that it does not have, then the preset's. A preset is
/// a look for any title: of its scene only what belongs to a look counts.
RenderRequest withSettings(RenderRequest request, const SettingsFiles &files);

/// What burns, and what it is laid over.
class Sources {
 public:
  /// `drawBits`: the depth that a text or test pattern is drawn with. Throws ValueError, media::InputError.
  Sources(const RenderRequest &request, int drawBits, RenderListener &listener);

  media::Reader &input() { return *input_; }
  const media::InputInfo &info() const { return input_->info(); }
  bool isStill() const { return info().kind == media::InputKind::Still; }
  /// The first frame of the run that counts: stills burn from frame 1.
  std::int64_t firstFrame() const { return isStill() ? 1 : info().firstFrame; }

  /// Puts the input's pictures into a room.
  void putIn(const Room &room);

  /// What of the input burns: the box of the alpha of its picture, or of eight pictures of a movie or sequence, or of a
  /// stream's first. Empty for none. Throws media::InputError.
  PixelBox titleBox();

  /// Null for none.
  Background *background() { return background_ ? &*background_ : nullptr; }

  /// Refuses a request whose output would replace what is read, or what is there already. Throws ValueError,
  /// media::OutputError.
  void guardOutput(const RenderRequest &request, const FrameList &frames) const;

 private:
  PixelBox findTitle();

  std::optional<Background> background_;
  std::unique_ptr<media::Reader> input_;
  std::optional<PixelBox> titleBox_;  // once it was looked for
};

}  // namespace pyrelux::job
