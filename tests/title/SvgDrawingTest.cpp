#include "SvgDrawing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>
#include <array>
#include <cstdlib>
#include <fstream>

namespace pyrelux {
namespace {

using testing::HasSubstr;

std::string svg(const std::string &attributes, const std::string &content) {
  return "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" " + attributes + ">" +
         content + "</svg>";
}

std::array<int, 4> pixel(const Image &image, int x, int y) {
  std::array<int, 4> channels{};
  for (std::size_t channel = 0; channel < 4; ++channel)
    channels[channel] = image.asBytes()[4 * static_cast<std::size_t>(y * image.width() + x) + channel];
  return channels;
}

std::string refusal(const std::string &text) {
  try {
    SvgDrawing drawing(text);
    drawing.draw(8, 8);
  } catch (const SvgError &error) {
    return error.what();
  }
  return {};
}

TEST(SvgDrawing, HasPixelsPremultiplied) {
  const SvgDrawing drawing(svg("width=\"4\" height=\"2\"",
                               "<rect width=\"2\" height=\"2\" fill=\"#ff8000\"/>"
                               "<rect x=\"2\" width=\"1\" height=\"2\" fill=\"#0000ff\" opacity=\"0.2\"/>"));
  EXPECT_EQ(drawing.width(), 4);
  EXPECT_EQ(drawing.height(), 2);
  const Image image = drawing.draw(4, 2);
  EXPECT_EQ(image.alpha(), Alpha::Premultiplied);
  EXPECT_EQ(pixel(image, 0, 1), (std::array<int, 4>{255, 128, 0, 255}));
  EXPECT_EQ(pixel(image, 2, 0), (std::array<int, 4>{0, 0, 51, 51}));
  EXPECT_EQ(pixel(image, 3, 0), (std::array<int, 4>{0, 0, 0, 0}));
}

TEST(SvgDrawing, IsAsSharpAsItIsLarge) {
  const SvgDrawing drawing(svg("width=\"4\" height=\"4\"", "<rect width=\"2\" height=\"4\" fill=\"white\"/>"));
  const Image image = drawing.draw(400, 400);
  EXPECT_EQ(pixel(image, 199, 200)[3], 255);
  EXPECT_EQ(pixel(image, 200, 200)[3], 0);
}

TEST(SvgDrawing, HasASizeByItsUnitsOrItsViewBox) {
  EXPECT_EQ(SvgDrawing(svg("width=\"1in\" height=\"0.5in\"", "")).width(), 96);
  EXPECT_EQ(SvgDrawing(svg("viewBox=\"0 0 30 20\"", "")).height(), 20);
  EXPECT_EQ(SvgDrawing(svg("width=\"100%\" height=\"100%\" viewBox=\"5 5 30 20\"", "")).width(), 30);
  EXPECT_THAT(refusal(svg("", "<rect width=\"9\" height=\"9\"/>")), HasSubstr("has no size"));
  EXPECT_THAT(refusal(svg("width=\"0\" height=\"5\"", "")), HasSubstr("not above 0"));
  EXPECT_THAT(refusal(svg("width=\"20000\" height=\"5\"", "")), HasSubstr("16384"));
}

TEST(SvgDrawing, IsRefusedWhenItIsNone) {
  for (const std::string &text : {std::string(), std::string("no drawing"), std::string("<html/>"),
                                  std::string("<svg xmlns=\"http://www.w3.org/2000/svg\"><rect"),
                                  std::string("\x89PNG\r\n\x1a\n"), std::string(1000, '\0')}) {
    EXPECT_NE(refusal(text), "") << text.substr(0, 20);
    EXPECT_EQ(refusal(text).find('\n'), std::string::npos);
  }
}

TEST(SvgDrawing, ReadsNoOtherFile) {
  char folder[] = "/tmp/pyrelux-svg-XXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  const std::string secret = std::string(folder) + "/secret.svg";
  std::ofstream(secret) << svg("width=\"8\" height=\"8\"", "<rect width=\"8\" height=\"8\" fill=\"red\"/>");
  for (const std::string &reference : {secret, "file://" + secret}) {
    const Image image =
        SvgDrawing(svg("width=\"8\" height=\"8\"",
                       "<image width=\"8\" height=\"8\" href=\"" + reference + "\" xlink:href=\"" + reference + "\"/>"))
            .draw(8, 8);
    EXPECT_EQ(pixel(image, 4, 4)[3], 0) << reference;
  }
  EXPECT_NE(refusal("<!DOCTYPE svg [<!ENTITY x SYSTEM \"file://" + secret + "\">]>" +
                    svg("width=\"8\" height=\"8\"", "&x;<")),
            "");
  unlink(secret.c_str());
  rmdir(folder);
}

TEST(SvgDrawing, EndsWhateverItRepeats) {
  std::string entities = "<!DOCTYPE svg [<!ENTITY a0 \"<rect width='1' height='1'/>\">";
  for (int level = 1; level < 30; ++level) {
    const std::string before = "&a" + std::to_string(level - 1) + ";";
    entities += "<!ENTITY a" + std::to_string(level) + " \"" + before + before + "\">";
  }
  refusal(entities + "]>" + svg("width=\"8\" height=\"8\"", "&a29;"));
  std::string nested;
  for (int depth = 0; depth < 100000; ++depth) nested += "<g>";
  refusal(svg("width=\"8\" height=\"8\"", nested));
  EXPECT_EQ(refusal(svg("width=\"8\" height=\"8\"", "<g id=\"a\"><use href=\"#a\"/></g>")).find('\n'),
            std::string::npos);
}

}  // namespace
}  // namespace pyrelux
