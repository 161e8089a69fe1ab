#include <algorithm>
#include <random>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

constexpr unsigned mutations = 40;

/// The bytes with a little changed, dropped, doubled or cut off, from `begin` on; the same for the same number.
std::string mutated(std::string bytes, unsigned number, std::size_t begin = 0) {
  std::mt19937 random(number);
  for (unsigned change = 0; change <= number % 4; ++change) {
    const std::size_t position = begin + random() % (bytes.size() - begin);
    const std::size_t count = std::min<std::size_t>(1 + random() % 16, bytes.size() - position);
    switch (random() % 6) {
      case 0:
        bytes[position] = static_cast<char>(bytes[position] ^ 1 << random() % 8);
        break;
      case 1:
        bytes[position] = static_cast<char>(random());
        break;
      case 2:
        bytes.replace(position, count, std::string(count, random() % 2 ? '\xFF' : '\0'));
        break;
      case 3:
        bytes.erase(position, count);
        break;
      case 4:
        bytes.insert(position, bytes.substr(position, count));
        break;
      default:
        // Most of the file stays, or the other changes would hardly be looked at.
        if (number % 8 == 0) bytes.resize(std::max(position, begin + 1));
    }
    if (bytes.size() <= begin) break;
  }
  return bytes;
}

/// Damaged files through the whole program.
class Damage : public CliTest {
 protected:
  Damage() { fs::create_directory(path("out")); }

  /// Expects the two ways that there are: the output and silence, or one line and no output.
  void expectOutputOrRefusal(const std::string &input, const std::string &output) const {
    const Result result = pyrelux(renderWords(input, "out/" + output, {"--frames", "1"}));
    if (result.exitCode == 0) {
      expectSuccess(result);
      EXPECT_EQ(names("out"), Words{output});
    } else {
      expectRefusal(result, {input});
      EXPECT_EQ(names("out"), Words{});
    }
    fs::remove(path("out") / output);
  }
};

TEST_F(Damage, OfAPictureEndsInAPictureOrOneLine) {
  const std::string whole = titlePng(testWidth, testHeight);
  for (unsigned number = 0; number < mutations; ++number) {
    SCOPED_TRACE(number);
    save(path("title.png"), mutated(whole, number));
    expectOutputOrRefusal("title.png", "fire.png");
  }
}

TEST_F(Damage, OfAPictureBehindRightChecksumsEndsInAPictureOrOneLine) {
  const std::string whole = titlePng(testWidth, testHeight);
  constexpr std::size_t signatureSize = 8;
  for (unsigned number = 0; number < mutations; ++number) {
    SCOPED_TRACE(number);
    // The headers first: among so many pixels they would hardly be met.
    const std::string damaged = number % 2 ? mutated(whole.substr(0, 64), number, signatureSize) + whole.substr(64)
                                           : mutated(whole, number, signatureSize);
    save(path("title.png"), withRightChecksums(damaged));
    expectOutputOrRefusal("title.png", "fire.png");
  }
}

TEST_F(Damage, OfAJpegXlIsToldInOneLineThoughItsLibraryTellsMore) {
  save(path("title.png"), titlePng(testWidth, testHeight));
  saveWithFfmpeg({"-i", path("title.png").string()}, "title.jxl");
  const std::string whole = load(path("title.jxl"));
  bool isRefused = false;
  for (std::size_t at = 20; at < whole.size(); at += whole.size() / 10) {
    save(path("damaged.jxl"), std::string(whole).replace(at, 4, "junk"));
    isRefused |= pyrelux(renderWords("damaged.jxl", "out/fire.png")).exitCode != 0;
    expectOutputOrRefusal("damaged.jxl", "fire.png");
  }
  EXPECT_TRUE(isRefused);
}

TEST_F(Damage, OfAMovieEndsInAMovieOrOneLine) {
  saveMovie("whole.mov", 3);
  const std::string whole = load(path("whole.mov"));
  const std::size_t description = whole.rfind("moov");
  ASSERT_NE(description, std::string::npos);
  for (unsigned number = 0; number < mutations; ++number) {
    SCOPED_TRACE(number);
    save(path("clip.mov"), mutated(whole, number, number % 2 ? description : 0));
    expectOutputOrRefusal("clip.mov", "fire.mkv");
  }
}

}  // namespace
}  // namespace pyrelux::cli::test
