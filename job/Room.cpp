#include "Room.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "ValueError.h"

namespace pyrelux::job {

namespace {

void requireOneKindOfRoom(const project::Scene &scene) {
  if (!scene.pad) return;
  if (scene.canvas) throw ValueError("'--pad' makes a canvas of its own, and '--canvas' another; give one of them");
  if (scene.place || scene.fit)
    throw ValueError("'--place' and '--fit' go with --canvas, and '--pad' makes a canvas of its own");
}

Room padded(const media::PictureShape &picture, const Padding &padding) {
  const auto side = [&](std::size_t index) { return padding.sides[index].pixels(picture.height); };
  return widened({picture, picture.width, picture.height, 0, 0}, {side(0), side(1), side(2), side(3)});
}

int sideOf(double length) { return std::max(1, static_cast<int>(std::lround(std::min(length, maximumSide * 1.0)))); }

}  // namespace

bool Room::isWhole(const media::PictureShape &picture) const {
  return frame == picture && width == picture.width && height == picture.height && left == 0 && top == 0;
}

Room widened(const Room &room, const Margins &margins) {
  const std::int64_t width = std::int64_t{room.frame.width} + margins.left + margins.right;
  const std::int64_t height = std::int64_t{room.frame.height} + margins.top + margins.bottom;
  if (std::max(width, height) > maximumSide || width * height > maximumPixels)
    throw ValueError("with '--pad' the frame has " + std::to_string(width) + "x" + std::to_string(height) +
                     " pixels; there may be " + std::to_string(maximumSide) + " on a side and " +
                     std::to_string(maximumPixels) + " in all");
  Room wider = room;
  wider.frame.width = static_cast<int>(width);
  wider.frame.height = static_cast<int>(height);
  wider.left += margins.left;
  wider.top += margins.top;
  return wider;
}

Room roomFor(const project::Scene &scene, const media::PictureShape &picture, const media::PictureShape &usual) {
  requireOneKindOfRoom(scene);
  if (scene.pad) return padded(picture, scene.pad->isAuto ? Padding() : *scene.pad);
  const media::PictureShape frame =
      scene.canvas ? media::PictureShape{scene.canvas->width, scene.canvas->height, picture.pixelAspect} : usual;
  // In pixels of the frame.
  const double shownWidth = picture.width * picture.pixelAspect / frame.pixelAspect;
  const double contained = std::min(frame.width / shownWidth, static_cast<double>(frame.height) / picture.height);
  double scale = std::min(contained, 1.0);
  if (scene.fit) scale = scene.fit->percent ? contained * *scene.fit->percent / 100.0 : 1.0;
  Room room{frame, sideOf(shownWidth * scale), sideOf(picture.height * scale), 0, 0};
  if (std::int64_t{room.width} * room.height > maximumPixels)
    throw ValueError("'--fit' makes the input " + std::to_string(room.width) + "x" + std::to_string(room.height) +
                     " pixels large; there may be " + std::to_string(maximumPixels) + " in all");
  const Placement place = scene.place.value_or(Placement());
  // Truncated as halves of odd numbers are.
  room.left = static_cast<int>(place.x / 100.0 * frame.width - room.width / 2.0);
  room.top = static_cast<int>((1.0 - place.y / 100.0) * frame.height - room.height / 2.0);
  return room;
}

}  // namespace pyrelux::job
