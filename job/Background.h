#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Fit.h"
#include "FrameList.h"
#include "FrameRate.h"
#include "Image.h"
#include "Reader.h"
#include "RenderListener.h"
#include "RenderRequest.h"

namespace pyrelux::job {

/// What the frames are laid over: a colour, or a picture, sequence or movie. Thread: one at a time.
class Background {
 public:
  /// Opens the background that the request names; nothing if it names none. Throws ValueError, media::InputError.
  static std::optional<Background> open(const RenderRequest &request, RenderListener &listener);

  /// As it was asked for: a file's path, or the colour's text.
  const std::string &name() const { return name_; }

  /// What a file is read by; null for a colour.
  const media::Reader *reader() const { return reader_.get(); }

  /// What there is to know of a file; null for a colour.
  const media::InputInfo *info() const { return reader_ ? &reader_->info() : nullptr; }

  /// The same if it has frames of its own: a sequence or movie, null otherwise.
  const media::InputInfo *film() const;

  /// Whether it decides how long a movie is that is laid over it: a film that is not repeated.
  bool decidesLength() const { return film() && !isLooped_; }

  /// The rate of the frames that are laid over it, unless --fps says otherwise: a movie's own, else `usual`.
  FrameRate rate(const FrameRate &usual) const;

  /// A film's frames in a film of that rate.
  FrameRange frames(const FrameRate &rate) const;

  /// Throws ValueError for a sequence of which no frame has the number of one of these.
  void requireSome(const FrameList &frames) const;

  /// Brings it into the shape of the frames that come. `rate`: theirs.
  void prepare(const media::PictureShape &shape, const FrameRate &rate);

  /// Its frame under a frame: of a movie the one that is shown at the same time, the first frames of both together; of
  /// a sequence the one of the same number. Before its first and after its last frame these are held, or it is
  /// repeated.
  std::int64_t frameUnder(std::int64_t frame) const;

  /// Its picture under a frame, for lay(); null for a colour. Throws media::InputError.
  std::shared_ptr<const Image> behind(std::int64_t frame);

  /// A premultiplied picture over it, opaque. `density`: see Delivery. Safe while another thread calls behind().
  Image lay(const Image &front, const Image *back, float density) const;

 private:
  explicit Background(const Colour &colour) : colour_(colour) {}
  explicit Background(std::unique_ptr<media::Reader> reader) : reader_(std::move(reader)) {}

  std::string name_;
  Colour colour_{};
  std::unique_ptr<media::Reader> reader_;  // null for a colour
  media::Fit fit_ = media::Fit::Cover;
  bool isLooped_ = false;
  media::PictureShape shape_;
  FrameRate rate_;
  std::shared_ptr<const Image> back_;  // of the frame backFrame_, fitted
  std::int64_t backFrame_ = 0;
};

}  // namespace pyrelux::job
