#import "HeaderButton.h"
#import "RecordingHost.h"

#include <gmock/gmock.h>

#include <set>

#include "HostContext.h"
#include "TraceText.h"

// Tests the built bundle, loaded as a host does.

namespace pyrelux::test {
namespace {

using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;

class BundleTest : public ::testing::Test {
 protected:
  void TearDown() override { [filter frameCleanup]; }

  const std::vector<DeclaredParameter> &declare() {
    [manager offerCreation:creation];
    EXPECT_EQ([filter addParameters], YES);
    return [creation declared];
  }

  Pool pool;
  RecordingCreation *creation = [[[RecordingCreation alloc] init] autorelease];
  RecordingAPIManager *manager = [[[RecordingAPIManager alloc] init] autorelease];
  id<TestedFilter> filter = [[[filterClass() alloc] initWithAPIManager:manager] autorelease];
};

TEST_F(BundleTest, NamesItsClassAsThePrincipalOne) {
  EXPECT_EQ(textOf(NSStringFromClass(filterClass())), "Pyrelux_64");
  EXPECT_EQ([NSBundle bundleForClass:filterClass()], filterBundle());
}

TEST_F(BundleTest, TheFilterKeepsItsOwnBundle) {
  EXPECT_EQ(fieldOf<NSBundle *>(filter, "_bundle"), filterBundle());
  EXPECT_EQ(fieldOf<id>(filter, "_apiManager"), manager);
}

TEST_F(BundleTest, ListsOnePlugIn) {
  NSDictionary *info = [filterBundle() infoDictionary];
  EXPECT_EQ(textOf([info objectForKey:@"ProPlugDictionaryVersion"]), "1.0");
  EXPECT_EQ([[info objectForKey:@"ProPlugDynamicRegistration"] boolValue], NO);
  NSArray *groups = [info objectForKey:@"ProPlugPlugInGroupList"];
  NSArray *plugIns = [info objectForKey:@"ProPlugPlugInList"];
  ASSERT_EQ([groups count], 1u);
  ASSERT_EQ([plugIns count], 1u);
  NSDictionary *group = [groups objectAtIndex:0];
  NSDictionary *plugIn = [plugIns objectAtIndex:0];
  EXPECT_EQ(textOf([plugIn objectForKey:@"className"]), "Pyrelux_64");
  EXPECT_EQ(textOf([plugIn objectForKey:@"displayName"]), "Pyrelux");
  EXPECT_EQ(textOf([plugIn objectForKey:@"group"]), textOf([group objectForKey:@"uuid"]));
  EXPECT_NE(textOf([plugIn objectForKey:@"uuid"]), textOf([group objectForKey:@"uuid"]));
  EXPECT_EQ([[plugIn objectForKey:@"uuid"] length], 36u);
  NSArray *protocols = [plugIn objectForKey:@"protocolNames"];
  ASSERT_EQ([protocols count], 1u);
  EXPECT_EQ(textOf([protocols objectAtIndex:0]), "FxFilter");
  for (NSString *key : {@"infoString", @"version"}) EXPECT_GT([[plugIn objectForKey:key] length], 0u) << textOf(key);
  EXPECT_GT([[group objectForKey:@"groupName"] length], 0u);
}

TEST_F(BundleTest, EveryNameIsTranslatedAndUnlikeTheOthers) {
  std::set<std::string> names;
  for (const DeclaredParameter &parameter : declare()) {
    EXPECT_THAT(parameter.name, Not(StartsWith("Pyrelux::")));
    EXPECT_TRUE(names.insert(parameter.name).second) << parameter.name << " names two parameters";
    for (const std::string &entry : parameter.entries) {
      EXPECT_THAT(entry, Not(StartsWith("Pyrelux::")));
      EXPECT_TRUE(names.insert(entry).second) << entry << " names two things";
    }
  }
  EXPECT_EQ(names.size(), 25u + 4u);
}

TEST_F(BundleTest, AKeyOutsideTheTableShowsAsItself) {
  EXPECT_EQ(textOf([filterBundle() localizedStringForKey:@"Pyrelux::No such" value:nil table:nil]), "Pyrelux::No such");
}

TEST_F(BundleTest, TheHeaderRowIsAButtonOfTheLogosSize) {
  prepareViews();
  NSString *path = [filterBundle() pathForResource:@"Morvane" ofType:@"png"];
  ASSERT_NE(path, nil);
  NSImage *logo = [[[NSImage alloc] initWithContentsOfFile:path] autorelease];
  ASSERT_GT([logo size].width, 0.0);
  NSButton *button = headerButton(filter);
  ASSERT_NE(button, nil);
  EXPECT_EQ([button frame].size.width, [logo size].width);
  EXPECT_EQ([button frame].size.height, [logo size].height);
  ASSERT_NE([button image], nil);
  EXPECT_EQ([[button image] size].width, [logo size].width);
  EXPECT_EQ([button alternateImage], [button image]);
  expectHeaderButton(button, filter);
}

TEST_F(BundleTest, NoOtherParameterHasAView) {
  for (UInt32 id = 0; id < 25; ++id) EXPECT_EQ([filter createViewForParm:id], nil) << id;
}

TEST_F(BundleTest, AFrameLeavesNothingButItsPhases) {
  const HostContext host;
  FakeParameters values;
  [manager offerRetrieval:[[[RecordingParameters alloc] initWithValues:&values] autorelease]];
  FxImageInfo image = {};
  image.width = 32;
  image.height = 18;
  image.pixelAspect = 1.0;
  FxImage *input = [[[RecordingTexture alloc] initWithRole:"input" info:image type:2] autorelease];
  FxImage *output = [[[RecordingTexture alloc] initWithRole:"output" info:image type:2] autorelease];
  FxRenderInfo info = {};
  info.frame = 4.5;

  BOOL hardware = NO;
  BOOL software = YES;
  EXPECT_EQ([filter frameSetup:info inputInfo:image hardware:&hardware software:&software], YES);
  EXPECT_EQ([filter renderOutput:output withInput:input withInfo:info], YES);
  EXPECT_EQ(fieldOf<double>(filter, "oldFrame"), 4.5);
  platform::Trace trace;
  EXPECT_EQ([filter frameCleanup], YES);
  EXPECT_THAT(callNames(trace.takeCalls()), ElementsAre("CGLDestroyPBuffer", "CGLDestroyContext"));
  EXPECT_EQ([filter frameCleanup], YES);
  EXPECT_TRUE(trace.takeCalls().empty());
  EXPECT_EQ(CGLGetCurrentContext(), host.handle());
}

}  // namespace
}  // namespace pyrelux::test
