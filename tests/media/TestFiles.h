#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "AvPtr.h"
#include "MediaErrors.h"
#include "Reader.h"
#include "Writer.h"

/// Pictures and files for the tests of media/.
namespace pyrelux::media::test {

using FileBytes = std::vector<std::uint8_t>;

/// A fresh folder for each test, removed after it.
class MediaTest : public testing::Test {
 protected:
  MediaTest();
  ~MediaTest() override;

  std::string path(const std::string &name) const { return folder_ + "/" + name; }
  const std::string &folder() const { return folder_; }

  /// The names in the folder, hidden ones too, in alphabetical order.
  std::vector<std::string> names() const;

 private:
  std::string folder_;
};

FileBytes load(const std::string &path);
void save(const std::string &path, const FileBytes &bytes);
void save(const std::string &path, const std::string &text);

/// A straight picture that looks different from every side and in every channel, with transparent and opaque parts.
Image straightPicture(int width, int height);

/// The same with floats that 16 bits hold exactly but 8 do not.
Image deepStraightPicture(int width, int height);

/// A premultiplied float picture of one colour.
Image flat(int width, int height, float red, float green, float blue, float alpha);

/// Writes one still, or the pictures as the frames of a movie from 1.
void write(const std::string &path, const OutputFormat &format, const std::vector<Image> &images);

/// The format for the picture's size.
OutputFormat formatFor(const Image &image, int bits);

/// The picture of a still.
Image readStill(const std::string &path);

/// What opening the path and reading one frame of it throws; empty if nothing.
std::string readingMessage(const std::string &path, std::int64_t frame = 1);

/// What opening a writer throws; empty if nothing.
std::string writingMessage(const std::string &path, const OutputFormat &format);

/// A frame of the layout with all its bytes zero.
FramePtr blankFrame(AVPixelFormat layout, int width, int height);

/// A frame of the layout holding the picture, through the library's own conversion.
FramePtr frameOf(const Image &image, AVPixelFormat layout);

/// A picture in one of FFmpeg's still formats, some of which Writer does not write. Option: "name=value" or empty.
FileBytes encodeStill(const std::string &encoder, const AVFrame &frame, const std::string &option = "");

/// A movie of the frames through FFmpeg's encoder and muxer of these names, 25 frames a second, all tags of the frame
/// and its display matrix kept. The first frame's time may be negative, in frames; `times`, if there are any, tell all
/// of them.
void saveMovie(const std::string &path, const std::string &muxer, const std::string &encoder,
               const std::vector<FramePtr> &frames, std::int64_t firstTime = 0,
               const std::vector<std::int64_t> &times = {});

/// Expects equal size, kind and samples.
void expectSame(const Image &actual, const Image &expected);

/// Expects equal size and kind of samples, none further off than `tolerance` (in units of the samples).
void expectNear(const Image &actual, const Image &expected, double tolerance);

}  // namespace pyrelux::media::test
