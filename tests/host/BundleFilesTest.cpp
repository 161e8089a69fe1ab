// What is looked at in a bundle's files before others read them.

#include "BundleFiles.h"

#include <gtest/gtest.h>

#include <string>

namespace pyrelux::host {
namespace {

std::string repeated(const std::string &text, int count) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

TEST(PropertyList, OfBinaryKindIsNotRead) {
  EXPECT_FALSE(isShallowPropertyList("bplist00"));
  EXPECT_TRUE(isShallowPropertyList("{ kind = bplist; }"));
}

TEST(PropertyList, MayHaveSomeThousandLevels) {
  for (const char *beginning : {"{", "(", "<a>"}) {
    EXPECT_TRUE(isShallowPropertyList(repeated(beginning, 5000))) << beginning;
    EXPECT_FALSE(isShallowPropertyList(repeated(beginning, 5001))) << beginning;
  }
  EXPECT_FALSE(isShallowPropertyList(repeated("{", 2500) + repeated("(", 2501)));
}

TEST(PropertyList, MayHaveAnyNumberOfOtherCharacters) {
  EXPECT_TRUE(isShallowPropertyList(repeated("word;", 6000)));
  EXPECT_TRUE(isShallowPropertyList(repeated("<a></a>", 5000))) << "what ends is no beginning";
}

}  // namespace
}  // namespace pyrelux::host
