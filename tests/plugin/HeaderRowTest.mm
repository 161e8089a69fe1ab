#import "HeaderButton.h"
#import "Main.h"

#include <gtest/gtest.h>

// Tests the class that is linked into this program, whose bundle has no logo.

namespace pyrelux::test {
namespace {

class HeaderRowTest : public ::testing::Test {
 protected:
  void SetUp() override { prepareViews(); }

  Pool pool;
  Pyrelux_64 *filter = [[[Pyrelux_64 alloc] initWithAPIManager:nil] autorelease];
};

TEST_F(HeaderRowTest, OnlyTheHeaderHasAView) {
  for (const UInt32 id : {0u, 1u, 5u, 14u, 24u, 26u, 0xffffffffu}) EXPECT_EQ([filter createViewForParm:id], nil);
}

TEST_F(HeaderRowTest, WithoutALogoTheButtonHasNoSize) {
  NSButton *button = headerButton(filter);
  ASSERT_NE(button, nil);
  EXPECT_EQ([button frame].size.width, 0.0);
  EXPECT_EQ([button frame].size.height, 0.0);
  EXPECT_EQ([button image], nil);
  EXPECT_EQ([button alternateImage], nil);
  expectHeaderButton(button, filter);
}

std::vector<std::string> *opened = nullptr;

BOOL keepURL(id, SEL, NSURL *url) {
  opened->push_back(textOf([url absoluteString]));
  return NO;
}

/// A workspace that starts no desktop service.
id bareWorkspace(id, SEL) {
  static const id workspace = class_createInstance([NSWorkspace class], 0);
  return workspace;
}

TEST_F(HeaderRowTest, TheActionOpensTheMakersPageAndIgnoresTheResult) {
  std::vector<std::string> urls;
  opened = &urls;
  const ReplacedMethod open([NSWorkspace class], @selector(openURL:), keepURL);
  const ReplacedMethod shared(object_getClass([NSWorkspace class]), @selector(sharedWorkspace), bareWorkspace);
  [filter procSpecParamHeader:headerButton(filter)];
  [filter procSpecParamHeader:nil];
  EXPECT_EQ(urls, std::vector<std::string>(2, "https://www.morvane.example"));
}

}  // namespace
}  // namespace pyrelux::test
