#include "Formats.h"

#include <gtest/gtest.h>

#include <set>

#include "PageFiles.h"

namespace pyrelux::studio {
namespace {

TEST(Formats, AreAllNamed) {
  std::set<std::string> labels;
  for (const OfferedFormat &format : offeredFormats()) {
    EXPECT_FALSE(format.keeps.empty()) << format.kind.extension << " " << format.kind.codec;
    EXPECT_TRUE(labels.insert(format.label).second) << format.label;
  }
  EXPECT_GT(labels.size(), 10u);
}

TEST(Formats, OfferDepthsWhereThereAreTwo) {
  std::set<std::string> following;
  for (const OfferedFormat &format : offeredFormats())
    if (format.kind.followsBits) following.insert(format.kind.codec);
  EXPECT_EQ(following, (std::set<std::string>{"png", "tiff", "ffv1", "h265"}));
}

TEST(PageFiles, AreFoundByTheirExactNames) {
  const PageFile *index = pageFile("index.html");
  ASSERT_NE(index, nullptr);
  EXPECT_STREQ(index->mime, "text/html; charset=utf-8");
  const std::string_view text(reinterpret_cast<const char *>(index->bytes), index->size);
  EXPECT_EQ(text.substr(0, 15), "<!doctype html>");
  EXPECT_EQ(text.back(), '\n');
  for (const char *name : {"", "Index.html", "index.html/", "../index.html", "page/index.html"})
    EXPECT_EQ(pageFile(name), nullptr) << name;
}

}  // namespace
}  // namespace pyrelux::studio
