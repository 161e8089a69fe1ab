#pragma once

#include <array>
#include <cstdint>
#include <string>

/// PNG files made by hand, so that the tests can also make wrong ones.
namespace pyrelux::cli::test {

/// A file with an opaque title on a transparent ground, moved `shift` pixels to the right.
std::string titlePng(int width, int height, int shift = 0);

/// A file that says it has this size and holds a few bytes of pixels.
std::string emptyPromisePng(std::uint32_t width, std::uint32_t height);

/// A small file whose header says these five things in a row: bits per component, layout (6 is colour with alpha),
/// packing, filtering, interlacing (0 each as the format has them).
std::string headedPng(const std::array<std::uint8_t, 5> &kind);

/// The file with the checksums of its chunks made right, as far as its chunks can be told apart.
std::string withRightChecksums(std::string png);

}  // namespace pyrelux::cli::test
