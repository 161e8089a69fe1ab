#import "Main.h"
#import "RecordingHost.h"

#include <gmock/gmock.h>

#include "TraceText.h"

// The class is linked into this program. Its bundle has no string table, so every key is its own text.

namespace pyrelux::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class FilterParametersTest : public ::testing::Test {
 protected:
  const std::vector<DeclaredParameter> &declare() {
    [manager offerCreation:creation];
    EXPECT_EQ([filter addParameters], YES);
    return [creation declared];
  }

  const DeclaredParameter &declared(std::uint32_t id) {
    for (const DeclaredParameter &parameter : declare())
      if (parameter.id == id) return parameter;
    throw std::runtime_error("parameter " + std::to_string(id) + " is not declared");
  }

  Pool pool;
  RecordingCreation *creation = [[[RecordingCreation alloc] init] autorelease];
  RecordingAPIManager *manager = [[[RecordingAPIManager alloc] init] autorelease];
  Pyrelux_64 *filter = [[[Pyrelux_64 alloc] initWithAPIManager:manager] autorelease];
};

TEST_F(FilterParametersTest, WithoutTheInterfaceDeclaresNothing) {
  platform::Trace trace;
  EXPECT_EQ([filter addParameters], NO);
  EXPECT_THAT(TraceText()(trace.takeCalls()), ElementsAre("apiForProtocol:(FxParameterCreationAPI)"));
  EXPECT_THAT([creation declared], IsEmpty());
  EXPECT_EQ(fieldOf<id>(filter, "popup1"), nil);
  EXPECT_EQ([filter properties] != nil, true) << "the filter stays usable";
}

TEST_F(FilterParametersTest, ComeInTheInspectorsOrder) {
  std::vector<std::uint32_t> ids;
  for (const DeclaredParameter &parameter : declare()) ids.push_back(parameter.id);
  EXPECT_THAT(ids,
              ElementsAre(25, 14, 6, 17, 18, 19, 15, 16, 3, 2, 20, 4, 8, 9, 10, 11, 13, 7, 1, 12, 21, 22, 23, 24, 5));
}

TEST_F(FilterParametersTest, UntranslatedKeysShowAsThemselves) {
  std::vector<std::string> names;
  for (const DeclaredParameter &parameter : declare()) {
    if (parameter.id == kHeader) continue;
    names.push_back(parameter.name);
    names.insert(names.end(), parameter.entries.begin(), parameter.entries.end());
  }
  EXPECT_EQ(names.size(), 24u + 4u);
  EXPECT_THAT(names, Each(StartsWith("Pyrelux::")));
  EXPECT_EQ(declared(kGlow).name, "Pyrelux::Glow");
  EXPECT_EQ(declared(kPoint).name, "Pyrelux::Point (Attract <> Repel)");
}

TEST_F(FilterParametersTest, TheHeaderIsTheMakersDomainWithAViewOfItsOwn) {
  const DeclaredParameter &header = declare().front();
  EXPECT_EQ(header.kind, "custom");
  EXPECT_EQ(header.name, "www.morvane.example");
  EXPECT_EQ(header.flags, 64u);
  EXPECT_FALSE(header.hasDefaultObject);
}

TEST_F(FilterParametersTest, AllButTheHeaderAreOrdinary) {
  for (const DeclaredParameter &parameter : declare()) {
    if (parameter.id != kHeader) {
      EXPECT_EQ(parameter.flags, 0u) << parameter.name;
    }
  }
}

TEST_F(FilterParametersTest, SlidersTravelOverTheWholeRange) {
  int sliders = 0;
  for (const DeclaredParameter &parameter : declare()) {
    if (!parameter.sliderMinimum) continue;
    ++sliders;
    EXPECT_EQ(parameter.sliderMinimum, parameter.minimum) << parameter.name;
    EXPECT_EQ(parameter.sliderMaximum, parameter.maximum) << parameter.name;
    EXPECT_GE(parameter.defaults.at(0), *parameter.minimum) << parameter.name;
    EXPECT_LE(parameter.defaults.at(0), *parameter.maximum) << parameter.name;
  }
  EXPECT_EQ(sliders, 16);
}

TEST_F(FilterParametersTest, SpreadIsDeclaredWithItsDefaultAboveItsMaximum) {
  const DeclaredParameter &spread = declared(kSpread);
  EXPECT_EQ(spread.kind, "angle");
  EXPECT_EQ(spread.defaults, std::vector<double>{30.0});
  EXPECT_EQ(spread.minimum, 0.0);
  EXPECT_EQ(spread.maximum, 3.141592653589793);
}

TEST_F(FilterParametersTest, DirectionSpansTheWholePartOfAThousandPi) {
  const DeclaredParameter &direction = declared(kDirection);
  EXPECT_EQ(direction.minimum, -3141.0);
  EXPECT_EQ(direction.maximum, 3141.0);
  EXPECT_EQ(direction.defaults, std::vector<double>{0.0});
}

TEST_F(FilterParametersTest, WiggleTurbulenceCannotBeBelowOne) { EXPECT_EQ(declared(kWiggleTurbulence).minimum, 1.0); }

TEST_F(FilterParametersTest, StepsEndWhereTheRenderersArraysDo) {
  EXPECT_EQ(declared(kSteps).maximum, static_cast<double>(maximumSteps));
  EXPECT_EQ(declared(kSteps).minimum, 10.0);
}

TEST_F(FilterParametersTest, OnlyTheFireIsSeenByDefault) {
  EXPECT_EQ(declared(kSourceOpacity).defaults, std::vector<double>{0.0});
  EXPECT_EQ(declared(kSourceOpacity).delta, 0.01);
  EXPECT_EQ(declared(kSourceMode).defaults, std::vector<double>{0.0});
  EXPECT_THAT(declared(kSourceMode).entries, ElementsAre("Pyrelux::Cover", "Pyrelux::Mix"));
}

TEST_F(FilterParametersTest, TheFieldsKeepTheLastPopupsEntries) {
  declare();
  EXPECT_EQ(textOf(fieldOf<NSString *>(filter, "popup1")), "Pyrelux::8 Bit");
  EXPECT_EQ(textOf(fieldOf<NSString *>(filter, "popup2")), "Pyrelux::16 Bit");
  EXPECT_EQ(fieldOf<id>(filter, "popup3"), nil);
  NSArray *entries = fieldOf<NSArray *>(filter, "popupmenu1");
  ASSERT_EQ([entries count], 2u);
  EXPECT_EQ(textOf([entries objectAtIndex:0]), "Pyrelux::8 Bit");
  EXPECT_EQ(textOf([entries objectAtIndex:1]), "Pyrelux::16 Bit");
}

TEST_F(FilterParametersTest, DeclaringTwiceIsHarmless) {
  declare();
  EXPECT_EQ(declare().size(), 50u);
  EXPECT_EQ(textOf(fieldOf<NSString *>(filter, "popup1")), "Pyrelux::8 Bit");
}

/// The filter's requests to its bundle's string table.
struct Lookups {
  std::vector<std::string> keys;
  bool plain = true;  ///< without a default value and a table's name
  NSBundle *bundle = nil;
};
Lookups *lookups = nullptr;

id recordLookup(id self, SEL, NSString *key, NSString *value, NSString *table) {
  lookups->keys.push_back(textOf(key));
  lookups->plain = lookups->plain && value == nil && table == nil;
  lookups->bundle = self;
  return [@"<" stringByAppendingString:key];
}

class FilterLookupTest : public FilterParametersTest {
 protected:
  FilterLookupTest() { lookups = &seen; }

  Lookups seen;
  ReplacedMethod replaced { [NSBundle class], @selector(localizedStringForKey:value:table:), recordLookup };
};

TEST_F(FilterLookupTest, NamesAreWhatTheStringTableGives) {
  EXPECT_EQ(declared(kGlow).name, "<Pyrelux::Glow");
  EXPECT_THAT(declared(kColorDepth).entries, ElementsAre("<Pyrelux::8 Bit", "<Pyrelux::16 Bit"));
  EXPECT_EQ(declare().front().name, "www.morvane.example") << "the header is not localised";
}

TEST_F(FilterLookupTest, GoToTheFiltersBundleAndItsDefaultTable) {
  declare();
  EXPECT_TRUE(seen.plain);
  EXPECT_EQ(seen.bundle, [NSBundle mainBundle]);
  EXPECT_EQ(seen.keys.size(), 28u);
}

TEST_F(FilterLookupTest, EntriesAreLookedUpBeforeTheirPopup) {
  declare();
  const auto place = [this](const std::string &key) {
    return std::find(seen.keys.begin(), seen.keys.end(), key) - seen.keys.begin();
  };
  EXPECT_EQ(place("Pyrelux::Mix"), place("Pyrelux::Cover") + 1);
  EXPECT_EQ(place("Pyrelux::Source: Mode"), place("Pyrelux::Mix") + 1);
  EXPECT_EQ(place("Pyrelux::Crop: Left"), place("Pyrelux::Source: Mode") + 1);
  EXPECT_EQ(place("Pyrelux::16 Bit"), place("Pyrelux::8 Bit") + 1);
  EXPECT_EQ(place("Pyrelux::Color Depth"), place("Pyrelux::16 Bit") + 1);
  EXPECT_EQ(seen.keys.back(), "Pyrelux::Color Depth");
}

}  // namespace
}  // namespace pyrelux::test
