#include "Canvas.h"

#include "HostError.h"

namespace pyrelux::adapters {

std::optional<Composition> readComposition(const std::string &text) {
  if (text == "over") return Composition::OverSource;
  if (text == "fire") return Composition::FireAlone;
  return std::nullopt;
}

void Canvas::paint(const std::uint8_t *input, std::uint8_t *output, int width, int height, Composition composition,
                   const std::function<void(const Image &, Image &)> &draw) {
  if (width < 1 || height < 1)
    throw host::HostError("a picture of " + std::to_string(width) + "x" + std::to_string(height) +
                          " pixels can't be drawn");
  input_.reshape(width, height, Alpha::Premultiplied, false);
  premultiply(input, input_.asBytes().data(), input_.sampleCount() / 4);
  draw(input_, fire_);
  compose(fire_, composition == Composition::OverSource ? input : nullptr, output);
}

}  // namespace pyrelux::adapters
