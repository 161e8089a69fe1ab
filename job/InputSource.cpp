#include "InputSource.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <utility>

#include "Compositing.h"
#include "DrawnInput.h"
#include "InputReaders.h"
#include "MediaErrors.h"
#include "StandardStream.h"
#include "SvgDrawing.h"
#include "TextFile.h"
#include "ValueError.h"
#include "Writer.h"

namespace pyrelux::job {

namespace {

/// What a still is rendered to when no frames are asked for.
constexpr FrameRange stillToMovie{1, 48};
constexpr FrameRange stillToStill{1, 1};

bool isKept(const RenderRequest &request) { return request.variableRate == VariableRate::Keep; }

void requirePlaceForTimes(const RenderRequest &request) {
  if (!isKept(request)) return;
  // The pictures of a part wait for the whole, which has the times.
  if (!request.part && !media::Writer::holdsAudio(request.output))
    throw ValueError("'--vfr keep' is for .mov, .mkv, .mp4 and .webm, and '" + request.output +
                     "' has no place for times; leave it out");
  if (request.scene.frameRate)
    throw ValueError("'--vfr keep' keeps the times of the input, and 'fps' sets others: give one of them");
}

/// With the remedy where there is one: backgrounds go by the frames of what is laid over them.
std::string resampledText(const RenderRequest &request, const std::string &path, const FrameRate &rate) {
  const bool couldKeep = path == request.input && media::Writer::holdsAudio(request.output);
  return "the movie '" + path + "' has a variable frame rate and is resampled to " + formatFrameRate(rate) +
         " frames per second" + (couldKeep ? "; --vfr keep keeps the times of its pictures" : "");
}

/// A stray file with a large number would have a render ask for all the numbers before it.
void refuseGaps(const std::string &path, const media::InputInfo &input, const FrameList &wanted) {
  constexpr std::int64_t maxMissing = 100000;
  const std::int64_t there = std::count_if(input.present.begin(), input.present.end(),
                                           [&](std::int64_t frame) { return wanted.contains(frame); });
  if (wanted.count() - there <= maxMissing) return;
  throw ValueError("of the frames " + formatFrames(wanted) + ", '" + path + "' has " + std::to_string(there) +
                   "; choose them with --frames");
}

void requireFileToKeepTimes(const RenderRequest &request) {
  if (request.input == media::standardInput && isKept(request))
    throw ValueError("'--vfr keep' reads a movie twice, and standard input can be read once; give the movie's file");
}

void requireMovieToDeinterlace(const RenderRequest &request, bool isMovie) {
  if (request.deinterlace && !isMovie) throw ValueError("'--deinterlace' is for movies, and there is none to read");
}

/// A rectangle that burns is rarely what was meant.
void remarkRectangle(const RenderRequest &request, media::Reader &reader, RenderListener &listener) {
  if (request.scene.inputMatte) return;
  const media::InputInfo &info = reader.info();
  const bool isOpaqueStill = info.hasAlpha && info.kind == media::InputKind::Still && isOpaque(reader.read(1));
  if (info.hasAlpha && !isOpaqueStill) return;
  listener.remark(media::shownName(*request.input) +
                  " has no alpha and burns as a rectangle; --input-alpha luma or key=COLOR makes one of its colours");
}

void requireOneInput(const RenderRequest &request) {
  const project::TitleFields &title = request.scene.title;
  const int inputs =
      request.input.has_value() + title.text.has_value() + title.textFile.has_value() + request.testPattern.has_value();
  if (inputs == 0) throw ValueError("nothing to burn: give an INPUT, --text, --text-file or --input-test-pattern");
  if (inputs > 1)
    throw ValueError("INPUT, --text, --text-file and --input-test-pattern exclude each other: give one of them");
  if (title.hasText()) return;
  project::Scene ofText;
  ofText.title = title;
  for (const project::SceneField &field : project::sceneFields())
    if (field.format(ofText))
      throw ValueError("'--" + field.key + "' is for a text: give --text or --text-file, or leave it out");
}

/// The input in the room that the request gives it: without one, in a frame as large as the background, or as itself.
std::unique_ptr<media::Reader> inItsRoom(const RenderRequest &request, std::unique_ptr<media::Reader> input,
                                         const media::InputInfo *back) {
  const auto shapeOf = [](const media::InputInfo &info) {
    return media::PictureShape{info.width, info.height, info.pixelAspect};
  };
  const media::PictureShape own = shapeOf(input->info());
  return inRoom(std::move(input), roomFor(request.scene, own, back ? shapeOf(*back) : own));
}

bool isSvg(const std::string &path) {
  std::string extension = std::filesystem::path(path).extension().string();
  for (char &letter : extension) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  return extension == ".svg";
}

/// A drawing in its room, as sharp as it is large there.
std::unique_ptr<media::Reader> openSvg(const RenderRequest &request, const project::InputMatte &matte,
                                       const media::InputInfo *back) {
  constexpr std::size_t maxBytes = 64u << 20;
  const std::string &path = *request.input;
  if (request.variableRate) throw ValueError("'--vfr' is for movies, and '" + path + "' is none");
  requireMovieToDeinterlace(request, back && back->kind == media::InputKind::Movie);
  if (matte.kind == project::InputMatte::Kind::Own && matte.alpha != media::InputAlpha::Auto)
    throw ValueError("'--input-alpha' is for pictures of pixels: '" + path +
                     "' is a drawing, with an alpha of its own");
  try {
    const SvgDrawing drawing(media::readText(path, maxBytes));
    const media::PictureShape own{drawing.width(), drawing.height(), 1.0};
    const bool followsBack = back && !request.background->fit;
    const Room room = roomFor(request.scene, own,
                              followsBack ? media::PictureShape{back->width, back->height, back->pixelAspect} : own);
    auto reader = media::Reader::of(drawing.draw(room.width, room.height), {path});
    if (matte.kind != project::InputMatte::Kind::Own) reader = withMatte(std::move(reader), matte);
    return inRoom(std::move(reader), room);
  } catch (const SvgError &error) {
    media::failReading(path, error.what());
  }
}

}  // namespace

std::unique_ptr<media::Reader> openFile(const RenderRequest &request, const std::string &path,
                                        const media::ReadOptions &how, RenderListener &listener) {
  auto reader = media::Reader::open(path, how);
  const media::InputInfo &info = reader->info();
  if (info.isInterlaced)
    listener.remark("the movie '" + path + "' is interlaced; --deinterlace makes whole pictures of its fields");
  if (info.isResampled) listener.remark(resampledText(request, path, info.frameRate));
  return reader;
}

FrameRate chooseRate(const RenderRequest &request, const Background *background, const FrameRate &usual) {
  if (request.scene.frameRate) return *request.scene.frameRate;
  return background ? background->rate(usual) : usual;
}

std::unique_ptr<media::Reader> openInput(const RenderRequest &request, int bits, const Background *background,
                                         RenderListener &listener) {
  requireOneInput(request);
  requirePlaceForTimes(request);
  requireFileToKeepTimes(request);
  const media::InputInfo *back = background ? background->info() : nullptr;
  const bool hasMovie = back && back->kind == media::InputKind::Movie;
  if (!request.input) {
    if (request.variableRate) throw ValueError("'--vfr' is for movies; give one as INPUT");
    requireMovieToDeinterlace(request, hasMovie);
    const bool followsBack = back && !request.scene.size;
    PictureSize size = request.scene.size.value_or(PictureSize());
    // Drawn with square pixels, whatever those of the background are.
    if (followsBack) size = {std::max(1, static_cast<int>(std::lround(back->width * back->pixelAspect))), back->height};
    auto drawn = media::Reader::of(drawInput(request, size, bits > 8, listener));
    return inItsRoom(request, std::move(drawn), followsBack ? back : nullptr);
  }
  const project::InputMatte matte = request.scene.inputMatte.value_or(project::InputMatte());
  if (isSvg(*request.input)) return openSvg(request, matte, back);
  auto reader = openFile(request, *request.input, {matte.alpha, request.deinterlace, isKept(request)}, listener);
  const bool isMovie = reader->info().kind == media::InputKind::Movie;
  requireMovieToDeinterlace(request, isMovie || hasMovie);
  if (request.variableRate && !isMovie) throw ValueError("'--vfr' is for movies, and '" + *request.input + "' is none");
  if (background && background->film() && isKept(request))
    throw ValueError("the background '" + background->name() + "' has frames of its own; leave '--vfr keep' out");
  remarkRectangle(request, *reader, listener);
  if (matte.kind != project::InputMatte::Kind::Own) reader = withMatte(std::move(reader), matte);
  if (!back) return inItsRoom(request, std::move(reader), nullptr);
  const FrameRate rate = chooseRate(request, background, reader->info().frameRate);
  return inItsRoom(request, alongFilm(std::move(reader), *background, rate), request.background->fit ? nullptr : back);
}

FrameList chooseFrames(const RenderRequest &request, const media::InputInfo &input, const Background *background,
                       bool manyFrames) {
  const bool isStill = input.kind == media::InputKind::Still;
  const auto usual = [&]() -> FrameRange {
    const bool hasFilm = background && background->film();
    if (hasFilm && (isStill || (input.kind == media::InputKind::Movie && background->decidesLength()))) {
      const FrameRange film = background->frames(chooseRate(request, background, input.frameRate));
      return manyFrames ? film : FrameRange{film.first, film.first};
    }
    if (isStill) return manyFrames ? stillToMovie : stillToStill;
    // How many there are is not known.
    if (input.isStream && !manyFrames) return {input.firstFrame, input.firstFrame};
    return {input.firstFrame, input.lastFrame};
  };
  const auto timed = [&](double seconds) -> FrameRange {
    const double frames = std::round(seconds * chooseRate(request, background, input.frameRate).perSecond());
    const std::int64_t first = isStill ? 1 : input.firstFrame;
    return {first, first + std::max<std::int64_t>(1, static_cast<std::int64_t>(frames)) - 1};
  };
  FrameList wanted = request.scene.frames     ? *request.scene.frames
                     : request.scene.duration ? FrameList(timed(*request.scene.duration))
                                              : FrameList(usual());
  if (!isStill && (wanted.first() < input.firstFrame || wanted.last() > input.lastFrame))
    throw ValueError("'" + *request.input + "' has the frames " + std::to_string(input.firstFrame) + "-" +
                     std::to_string(input.lastFrame) + "; '" + formatFrames(wanted) + "' is not among them");
  if (input.kind == media::InputKind::Sequence) refuseGaps(*request.input, input, wanted);
  if (background) background->requireSome(wanted);
  return wanted;
}

}  // namespace pyrelux::job
