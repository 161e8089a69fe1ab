// How a text is set: where it is, how its lines lie, wrap and are spaced, and the fonts of files.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "TestTitles.h"

namespace fs = std::filesystem;

namespace pyrelux {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// In a font of a size that does not depend on the text.
Title setTitle(const std::string &text, const std::string &font = "DejaVu Sans 20") { return titleOf(text, font); }

bool hasInk(const Image &picture, int x, int y) {
  return picture.asBytes()[(static_cast<std::size_t>(y) * picture.width() + x) * 4 + 3] > 0;
}

/// The ink of each line, from the top: of rows with ink, parted by rows without.
std::vector<PixelBox> linesOf(const Title &title) {
  const Image picture = drawTitle(title).picture;
  std::vector<PixelBox> lines;
  bool isInLine = false;
  for (int y = 0; y < picture.height(); ++y) {
    bool isInked = false;
    for (int x = 0; x < picture.width(); ++x) {
      if (!hasInk(picture, x, y)) continue;
      if (!isInLine && !isInked) lines.push_back({pictureWidth, y, 0, y});
      isInked = true;
      lines.back().left = std::min(lines.back().left, x);
      lines.back().right = std::max(lines.back().right, x + 1);
      lines.back().bottom = y + 1;
    }
    isInLine = isInked;
  }
  return lines;
}

TEST(TitlePosition, IsOfTheMiddleOfTheInk) {
  for (const Placement &place : {Placement{50.0, 50.0}, Placement{25.0, 80.0}, Placement{70.0, 12.5}}) {
    Title title = setTitle("gypsy\nI");
    title.font = "DejaVu Sans 10";
    title.position = place;
    const PixelBox ink = inkOf(title);
    EXPECT_NEAR((ink.left + ink.right) / 2.0, place.x / 100.0 * pictureWidth, 1.0);
    EXPECT_NEAR((ink.top + ink.bottom) / 2.0, (1.0 - place.y / 100.0) * pictureHeight, 1.0);
  }
}

TEST(TitlePosition, LeavesRoomForWhatFits) {
  Title title = setTitle("A rather long title", "DejaVu Sans");
  title.position = {20.0, 50.0};
  const PixelBox ink = inkOf(title);
  EXPECT_NEAR(ink.width(), 0.9 * 0.4 * pictureWidth, 2.0);
  title.font = "DejaVu Sans 20";
  EXPECT_THAT(refusalOf(title), AllOf(HasSubstr("more than the 128x180 pixels"), HasSubstr("around its position")));
  for (const Placement &place :
       {Placement{0.0, 50.0}, Placement{100.0, 50.0}, Placement{50.0, -3.0}, Placement{50.0, 101.0}}) {
    title.position = place;
    EXPECT_THAT(refusalOf(title), HasSubstr("position is not within the picture"));
  }
}

TEST(TitleAlign, LaysLinesAtASide) {
  const auto linesAt = [](TextAlign align) {
    Title title = setTitle("HHHHHH\nHH");
    title.align = align;
    return linesOf(title);
  };
  const auto left = linesAt(TextAlign::Left);
  const auto center = linesAt(TextAlign::Center);
  const auto right = linesAt(TextAlign::Right);
  ASSERT_EQ(left.size(), 2u);
  EXPECT_NEAR(left[0].left, left[1].left, 1);
  EXPECT_NEAR(right[0].right, right[1].right, 1);
  EXPECT_NEAR(center[0].left + center[0].right, center[1].left + center[1].right, 2);
  for (const auto &lines : {left, center, right}) {
    EXPECT_NEAR(lines[0].left + lines[0].right, pictureWidth, 2) << "the block stays in the middle";
    EXPECT_LT(lines[1].width(), lines[0].width() / 2);
  }
  // In Hebrew.
  Title fromTheRight = setTitle("\u05D0\u05D0\u05D0\u05D0\u05D0\n\u05D0");
  fromTheRight.align = TextAlign::Left;
  const auto lines = linesOf(fromTheRight);
  EXPECT_NEAR(lines.front().right, lines.back().right, 2) << "the other way round";
}

TEST(TitleLineSpacing, IsTimesTheFonts) {
  const auto distanceAt = [](std::optional<double> spacing) {
    Title title = setTitle("H\nH\nH");
    title.lineSpacing = spacing;
    const auto lines = linesOf(title);
    EXPECT_EQ(lines.size(), 3u);
    return (lines.back().top - lines.front().top) / 2.0;
  };
  const double own = distanceAt(std::nullopt);
  EXPECT_NEAR(distanceAt(1.0), own, 0.5);
  EXPECT_NEAR(distanceAt(2.0), 2.0 * own, 1.0);
  EXPECT_NEAR(distanceAt(0.75), 0.75 * own, 1.0);
}

TEST(TitleLetterSpacing, IsInEms) {
  const auto widthAt = [](double spacing) {
    Title title = setTitle("HHHHH");
    title.letterSpacing = spacing;
    return inkOf(title).width();
  };
  const int own = widthAt(0.0);
  EXPECT_NEAR(widthAt(0.5), own + 4 * 0.5 * 20, 1);
  EXPECT_NEAR(widthAt(-0.25), own - 4 * 0.25 * 20, 1);
}

TEST(TitleWrap, BreaksLinesBetweenWords) {
  Title title = setTitle("HHH HHH HHH HHH");
  EXPECT_EQ(linesOf(title).size(), 1u);
  title.wrap = 0.5;
  const auto lines = linesOf(title);
  ASSERT_EQ(lines.size(), 2u);
  for (const PixelBox &line : lines) EXPECT_LE(line.width(), 0.5 * pictureWidth);
  title.wrap = 0.05;
  EXPECT_EQ(linesOf(title).size(), 4u) << "a word stays whole";
  title.text = "HHH HHH\nHHH HHH";
  title.wrap = 1.0;
  EXPECT_EQ(linesOf(title).size(), 2u);
}

TEST(TitleWrap, LeavesLettersAsLargeAsFit) {
  std::string text;
  for (int word = 0; word < 60; ++word) text += "word ";
  Title title = setTitle(text);
  title.font = "DejaVu Sans";
  title.wrap = 0.6;
  const PixelBox ink = inkOf(title);
  EXPECT_LE(ink.width(), 0.6 * pictureWidth + 1);
  EXPECT_GT(ink.height(), 0.75 * pictureHeight) << "as much of the height as another line needs";
  EXPECT_LE(ink.height(), 0.9 * pictureHeight + 2);
  // What fits has the size that it has without wrapping.
  Title small = setTitle("H", "DejaVu Sans");
  const int height = inkOf(small).height();
  small.wrap = 0.6;
  EXPECT_EQ(inkOf(small).height(), height);
}

TEST(TitleWrap, TakesTheLongestText) {
  std::string text;
  while (text.size() + 2 < maxTitleBytes) text += text.size() % 1500 < 2 ? "\nI" : " I";
  Title title = setTitle(text, "DejaVu Sans");
  title.wrap = 0.01;
  EXPECT_THAT(refusalOf(title), HasSubstr("too long for the picture's"));
  title.font = "DejaVu Sans 20";
  EXPECT_THAT(refusalOf(title), HasSubstr("more than 1000 lines"));
}

/// A folder for fonts of its own, and the fonts that fontconfig finds by a name.
class TitleFontFile : public testing::Test {
 protected:
  TitleFontFile() : folder_(fs::temp_directory_path() / ("title-fonts-" + std::to_string(getpid()))) {
    fs::create_directories(folder_);
  }
  ~TitleFontFile() override {
    unsetenv("FONTCONFIG_FILE");
    fs::remove_all(folder_);
  }

  static std::string installed(const std::string &name) { return "/usr/share/fonts/truetype/dejavu/" + name; }

  static std::string bytesOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string save(const std::string &name, const std::string &bytes) const {
    std::ofstream(folder_ / name, std::ios::binary) << bytes;
    return (folder_ / name).string();
  }

  /// Lets Fontconfig find one font: DejaVu Sans.
  void leaveOneFont() const {
    fs::create_directories(folder_ / "installed");
    fs::copy_file(installed("DejaVuSans.ttf"), folder_ / "installed/sans.ttf");
    setenv("FONTCONFIG_FILE",
           save("fonts.conf", "<fontconfig><dir>" + (folder_ / "installed").string() + "</dir><cachedir>" +
                                  (folder_ / "cache").string() + "</cachedir></fontconfig>")
               .c_str(),
           1);
  }

  static Title titleIn(const std::string &file, const std::optional<std::string> &font = {}) {
    Title title = setTitle("Fire");
    title.fontFile = file;
    title.font = font;
    return title;
  }

  static std::string fontRefusalOf(const Title &title) {
    try {
      drawTitle(title);
    } catch (const FontFileError &error) {
      return error.what();
    } catch (const TitleError &) {
    }
    return {};
  }

 private:
  fs::path folder_;
};

TEST_F(TitleFontFile, IsUsedWithoutBeingInstalled) {
  const auto serif = drawTitle(setTitle("Fire", "DejaVu Serif")).picture.asBytes();
  const auto bold = drawTitle(setTitle("Fire", "DejaVu Serif Bold")).picture.asBytes();
  const auto large = drawTitle(setTitle("Fire", "DejaVu Serif 50")).picture.asBytes();
  leaveOneFont();
  const std::string file = save("brand.ttf", bytesOf(installed("DejaVuSerif.ttf")));
  const DrawnTitle drawn = drawTitle(titleIn(file));
  EXPECT_EQ(drawn.picture.asBytes(), serif);
  EXPECT_THAT(drawn.remarks, IsEmpty());
  EXPECT_EQ(drawTitle(titleIn(save("bold.ttf", bytesOf(installed("DejaVuSerif-Bold.ttf"))))).picture.asBytes(), bold)
      << "as it is, and not made bold once more";
  EXPECT_EQ(drawTitle(titleIn(file, "50")).picture.asBytes(), large) << "a font without a family is the file's";
}

TEST_F(TitleFontFile, WinsOverInstalledFontsOfItsFamily) {
  const std::string bold = save("bold.ttf", bytesOf(installed("DejaVuSerif-Bold.ttf")));
  EXPECT_EQ(drawTitle(titleIn(bold, "50")).picture.asBytes(),
            drawTitle(setTitle("Fire", "DejaVu Serif Bold 50")).picture.asBytes());
}

TEST_F(TitleFontFile, LeavesOtherTextAlone) {
  const std::string file = save("brand.ttf", bytesOf(installed("DejaVuSerif.ttf")));
  const auto before = drawTitle(setTitle("Fire", "DejaVu Sans")).picture.asBytes();
  drawTitle(titleIn(file));
  EXPECT_EQ(drawTitle(setTitle("Fire", "DejaVu Sans")).picture.asBytes(), before);
  EXPECT_EQ(drawTitle(titleIn(file, "DejaVu Sans")).picture.asBytes(), before) << "a family that is named wins";
}

TEST_F(TitleFontFile, StandsBesideTheInstalledFonts) {
  // Hebrew, which the serif font lacks.
  Title title = titleIn(installed("DejaVuSerif.ttf"));
  title.text = "\u05D0";
  EXPECT_THAT(drawTitle(title).remarks, ElementsAre(HasSubstr("'DejaVu Serif' lacks 1 of the characters in '\u05D0'")));
  EXPECT_EQ(inkOf(title).height(), inkOf(setTitle("\u05D0", "DejaVu Serif")).height());
}

TEST(TitleFont, ThatLacksCharactersIsNamed) {
  const std::string text = "a \u05D0 \u05D0";
  EXPECT_THAT(drawTitle(setTitle(text, "DejaVu Serif 20")).remarks,
              ElementsAre(HasSubstr("the font 'DejaVu Serif' lacks 2 of the characters")));
  for (const char *font : {"DejaVu Sans 20", "Serif 20", "20"})
    EXPECT_THAT(drawTitle(setTitle(text, font)).remarks, IsEmpty()) << font;
}

TEST_F(TitleFontFile, ThatIsNoneIsRefused) {
  EXPECT_EQ(fontRefusalOf(titleIn(save("text.ttf", "no font at all"))), "it is not a TrueType or OpenType font");
  EXPECT_EQ(fontRefusalOf(titleIn(save("empty.ttf", ""))), "it is not a TrueType or OpenType font");
  EXPECT_EQ(fontRefusalOf(titleIn("/usr/share/fonts")), "it is not a regular file");
  EXPECT_THAT(fontRefusalOf(titleIn("/nonexistent.ttf")), HasSubstr("no such file"));
}

TEST_F(TitleFontFile, ThatDrawsNothingIsRefused) {
  std::string bytes = bytesOf(installed("DejaVuSerif.ttf"));
  // The table of outlines, by its entry in the file's directory: a name, a sum, where it begins and how long it is.
  const std::size_t entry = bytes.find("glyf");
  ASSERT_LT(entry, 1000u);
  const auto numberAt = [&](std::size_t at) {
    std::size_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) number = number * 256 + static_cast<unsigned char>(bytes[at + i]);
    return number;
  };
  const std::size_t begin = numberAt(entry + 8);
  const std::size_t length = numberAt(entry + 12);
  bytes.replace(begin, length, length, '\0');
  EXPECT_THAT(fontRefusalOf(titleIn(save("blank.ttf", bytes))), HasSubstr("it draws nothing of the text"));
}

TEST_F(TitleFontFile, ThatIsDamagedDoesNoHarm) {
  const std::string whole = bytesOf(installed("DejaVuSerif.ttf"));
  ASSERT_GT(whole.size(), 100000u);
  int drawn = 0;
  int refused = 0;
  int number = 0;
  const auto tryFont = [&](const std::string &bytes) {
    const std::string file = save("damaged" + std::to_string(++number) + ".ttf", bytes);
    try {
      drawTitle(titleIn(file));
      ++drawn;
    } catch (const FontFileError &) {
      ++refused;
    } catch (const TitleError &) {
      ++refused;
    }
    fs::remove(file);
  };
  for (const std::size_t length : {4u, 12u, 100u, 300u, 1000u, 20000u, 60000u, 100000u, 200000u, 300000u})
    tryFont(whole.substr(0, length));
  unsigned seed = 1;
  const auto random = [&seed](std::size_t below) { return (seed = seed * 1664525u + 1013904223u) / 65536u % below; };
  for (int round = 0; round < 60; ++round) {
    std::string bytes = whole;
    // In the directory, in the tables that follow it, or anywhere.
    const std::size_t reach = round % 3 == 0 ? 300 : round % 3 == 1 ? 4000 : bytes.size();
    for (int change = 0; change < 1 + round; ++change) bytes[random(reach)] = static_cast<char>(random(256));
    tryFont(bytes);
  }
  EXPECT_GT(drawn, 0);
  EXPECT_GT(refused, 5);
}

}  // namespace
}  // namespace pyrelux
