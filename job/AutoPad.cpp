#include "AutoPad.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <string>

#include "CopyPlaces.h"
#include "OwnParameters.h"

namespace pyrelux::job {

namespace {

/// A frame is at most this many times as wide and high as without room for the fire.
constexpr int maxGrowth = 4;

/// In one direction: how far copies of a scale are moved, in shares of the frame. Scales are told apart as finely as no
/// picture shows.
class Moves {
 public:
  void add(double scale, double offset, double from, double to) {
    const auto [move, isNew] = moves_.try_emplace(std::lround(scale * steps), Move{offset, offset, from, to});
    if (isNew) return;
    move->second.least = std::min(move->second.least, offset);
    move->second.most = std::max(move->second.most, offset);
    move->second.from = std::min(move->second.from, from);
    move->second.to = std::max(move->second.to, to);
  }

  /// Where the copies of a part of the frame begin and end, which counts where they show it.
  struct Reach {
    double least, most;
  };
  Reach reachOf(double from, double to) const {
    Reach reach{from, to};
    for (const auto &[step, move] : moves_) {
      const double scale = static_cast<double>(step) / steps;
      const double seenFrom = std::max(from, move.from);
      const double seenTo = std::min(to, move.to);
      if (seenFrom >= seenTo) continue;
      for (const double edge : {seenFrom * scale, seenTo * scale}) {
        reach.least = std::min(reach.least, edge + move.least);
        reach.most = std::max(reach.most, edge + move.most);
      }
    }
    return reach;
  }

 private:
  static constexpr double steps = 1e4;
  struct Move {
    double least, most;  ///< offsets
    double from, to;     ///< the part of the frame that is shown
  };
  std::map<long, Move> moves_;
};

struct Moved {
  Moves across, up;
};

/// The pixels that a side needs for copies that go beyond it by this share of a frame of so many pixels.
int pixelsBeyond(double share, int frame) { return share > 0.0 ? static_cast<int>(std::ceil(share * frame)) : 0; }

/// One more round: the room that the copies need if the frame stays as large as it is.
Margins missingIn(const Room &room, const PixelBox &title, const Moved &moved) {
  const double width = room.frame.width;
  const double height = room.frame.height;
  const Moves::Reach across = moved.across.reachOf(title.left / width, title.right / width);
  const Moves::Reach up = moved.up.reachOf(1.0 - title.bottom / height, 1.0 - title.top / height);
  return {pixelsBeyond(up.most - 1.0, room.frame.height), pixelsBeyond(across.most - 1.0, room.frame.width),
          pixelsBeyond(-up.least, room.frame.height), pixelsBeyond(-across.least, room.frame.width)};
}

bool isNothing(const Margins &margins) {
  return margins.top == 0 && margins.right == 0 && margins.bottom == 0 && margins.left == 0;
}

/// Cuts two opposite margins down to what there may be. Returns whether it did.
bool limit(int &one, int &other, int most) {
  if (one + other <= most) return false;
  const double share = static_cast<double>(std::max(most, 0)) / (one + other);
  one = static_cast<int>(one * share);
  other = static_cast<int>(other * share);
  return true;
}

PixelBox movedBy(const PixelBox &box, const Margins &margins) {
  return {box.left + margins.left, box.top + margins.top, box.right + margins.left, box.bottom + margins.top};
}

}  // namespace

Room roomForFire(host::Filter &filter, const Room &room, const PixelBox &title, const FrameList &frames,
                 std::int64_t firstFrame, const std::function<Fire(int frameHeight)> &fireIn, RenderListener &listener,
                 const StopToken &stop) {
  if (title.isEmpty()) return room;
  Room wider = room;
  // Copies between pixels reach into the next ones.
  PixelBox box{title.left - 1, title.top - 1, title.right + 1, title.bottom + 1};
  bool isLimited = false;
  double lengthMeasured = 0.0;
  Moved moved;
  // Copies move by shares of the frame, so each pixel of room makes them move further; the sum of the rounds converges.
  constexpr int maxRounds = 200;
  for (int round = 0; round < maxRounds && !isLimited && !stop.isRequested(); ++round) {
    const Fire fire = fireIn(wider.frame.height);
    const auto *length = project::flameLengthOf(fire.parameters);
    const double lengthNow = length ? fire.parameters.value(length->id, static_cast<double>(frames.last()))[0] : 0.0;
    if (round == 0 || lengthNow != lengthMeasured) {
      lengthMeasured = lengthNow;
      moved = Moved();
      filter.parameters() = fire.filterParameters();
      host::visitCopies(
          filter, firstFrame, frames, fire.time,
          [&](const host::CopyPlace &copy) {
            moved.across.add(copy.scaleX, copy.offsetX, copy.left, copy.right);
            moved.up.add(copy.scaleY, copy.offsetY, copy.bottom, copy.top);
          },
          [&] { return !stop.isRequested(); });
    }
    Margins missing = missingIn(wider, box, moved);
    if (isNothing(missing)) break;
    const bool isTooWide = limit(missing.left, missing.right, maxGrowth * room.frame.width - wider.frame.width);
    const bool isTooHigh = limit(missing.top, missing.bottom, maxGrowth * room.frame.height - wider.frame.height);
    isLimited = isTooWide || isTooHigh;
    wider = widened(wider, missing);
    box = movedBy(box, missing);
  }
  // Codecs with half as many colours as pixels want even sides.
  wider = widened(wider, {wider.frame.height % 2, wider.frame.width % 2, 0, 0});
  if (isLimited)
    listener.remark("the fire reaches further than '--pad auto' makes room for; the frame is " +
                    std::to_string(wider.frame.width) + "x" + std::to_string(wider.frame.height) + " pixels, " +
                    std::to_string(maxGrowth) + " times the input's width or height");
  return wider;
}

}  // namespace pyrelux::job
