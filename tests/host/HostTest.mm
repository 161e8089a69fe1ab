// The host against the probe filters: discovery, loading, units, images, and filters that misbehave.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#import <FxPlug/FxPlugSDK.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "BackendChoice.h"
#include "Bundles.h"
#include "Filter.h"
#include "FrameRenderer.h"
#include "HostError.h"
#include "ParameterText.h"

@interface NSObject (ProbeReport)
+ (NSDictionary *)report;
@end

namespace pyrelux::host {
namespace {

namespace fs = std::filesystem;

FilterInfo probe(const std::string &displayName) {
  for (const FilterInfo &info : findFilters({PYRELUX_PROBE_BUNDLES}))
    if (info.displayName == displayName) return info;
  throw HostError("there is no probe '" + displayName + "'");
}

/// The sentence of the HostError that `call` throws; "nothing thrown" when it throws none.
template <typename Call>
std::string complaint(Call call) {
  try {
    call();
  } catch (const HostError &error) {
    return error.what();
  }
  return "nothing thrown";
}

/// Rows, columns and channels all different; straight alpha.
Image smallInput(bool floats) {
  Image image = floats ? Image::floats(3, 2, Alpha::Straight) : Image::bytes(3, 2, Alpha::Straight);
  for (std::size_t i = 0; i < image.sampleCount(); ++i) {
    if (floats)
      image.asFloats()[i] = i % 4 == 3 ? 1.0f : 0.125f * static_cast<float>(i);
    else
      image.asBytes()[i] = static_cast<std::uint8_t>(i % 4 == 3 ? 255 : 10 * i);
  }
  return image;
}

class Host : public ::testing::TestWithParam<const char *> {
 protected:
  void SetUp() override { pool_ = [[NSAutoreleasePool alloc] init]; }
  void TearDown() override { [pool_ release]; }

  static double reported(NSString *name) {
    return [[[NSClassFromString(@"ProbeFilter") report] objectForKey:name] doubleValue];
  }

  FrameRenderer renderer{chooseBackend(GetParam())};

 private:
  NSAutoreleasePool *pool_ = nil;
};

// --- Discovery

TEST_P(Host, FindsTheFiltersOfAPropertyListWithoutLoadingThem) {
  const FilterInfo info = probe("Probe");
  EXPECT_EQ(info.className, "ProbeFilter");
  EXPECT_EQ(info.groupName, "Probes");
  EXPECT_EQ(info.infoString, "Tells what it was given");
  EXPECT_EQ(info.uuid, "P-1");
  EXPECT_EQ(info.version, "2.5");
  EXPECT_EQ(fs::path(info.bundlePath).filename(), "ProbeFilters.bundle");
  EXPECT_EQ(findFilters({PYRELUX_PROBE_BUNDLES}).size(), 15u) << "the generator is no filter";
}

TEST_P(Host, SearchesFoldersInOrderAndSkipsWhatIsNoBundle) {
  const fs::path folder = fs::temp_directory_path() / ("pyrelux-host-" + std::to_string(getpid()));
  fs::create_directories(folder / "Broken.bundle" / "Resources");
  std::ofstream(folder / "Broken.bundle" / "Resources" / "Info-gnustep.plist") << "{ ProPlugPlugInList = ( oops";
  fs::create_directories(folder / "Odd.bundle" / "Resources");
  std::ofstream(folder / "Odd.bundle" / "Resources" / "Info-gnustep.plist")
      << "{ ProPlugPlugInList = ( \"text\", { className = (\"list\"); protocolNames = (FxFilter); } ); }";
  fs::create_directories(folder / "Empty.bundle");
  std::ofstream(folder / "File.bundle") << "no folder";
  EXPECT_TRUE(findFilters({folder.string(), "/no/such/folder"}).empty());
  EXPECT_EQ(findFilter({folder.string(), PYRELUX_TEST_BUNDLES, PYRELUX_PROBE_BUNDLES}).className, "Pyrelux_64");
  EXPECT_EQ(findFilter({PYRELUX_PROBE_BUNDLES, PYRELUX_TEST_BUNDLES}).className, "ProbeFilter");
  EXPECT_EQ(complaint([&] {
              findFilter({"/no/a", "/no/b"});
            }),
            "no filter bundle in /no/a, /no/b; name the folder that holds Pyrelux.bundle in PYRELUX_PLUGIN_PATH");
  fs::remove_all(folder);
}

TEST_P(Host, TakesTheSearchPathFromTheEnvironment) {
  setenv("PYRELUX_PLUGIN_PATH", "/one:/two/three::", 1);
  EXPECT_EQ(defaultSearchPath(), (std::vector<std::string>{"/one", "/two/three"}));
  unsetenv("PYRELUX_PLUGIN_PATH");
  const char *kept = std::getenv("HOME");
  const std::string home = kept ? kept : "/";
  setenv("HOME", "/home/somebody", 1);
  const std::vector<std::string> path = defaultSearchPath();
  setenv("HOME", home.c_str(), 1);
  ASSERT_EQ(path.size(), 4u);
  // The platform library lies beside the bundles, in the build as in an installation.
  EXPECT_TRUE(fs::equivalent(path[0], PYRELUX_TEST_BUNDLES));
  EXPECT_EQ(path[1], "/home/somebody/.local/lib/pyrelux");
  EXPECT_EQ(path[2], "/usr/local/lib/pyrelux");
  EXPECT_EQ(path[3], "/usr/lib/pyrelux");
}

TEST_P(Host, SaysWhatIsWrongWithABundle) {
  FilterInfo nowhere = probe("Probe");
  nowhere.bundlePath = "/no/such.bundle";
  EXPECT_EQ(
      complaint([&] { Filter filter(nowhere); }),
      "the bundle '/no/such.bundle' can't be loaded: its binary is missing or damaged; build or install it again");
  FilterInfo binaryless = probe("Probe");
  binaryless.executable.clear();
  const std::string bundle = binaryless.bundlePath;
  const std::string cannot = "the bundle '" + bundle + "' can't be loaded";
  EXPECT_EQ(complaint([&] { Filter filter(binaryless); }),
            cannot + ": its property list names no binary; build or install it again");
  FilterInfo text = probe("Probe");
  text.executable = "Resources/Info-gnustep.plist";
  EXPECT_EQ(complaint([&] { Filter filter(text); }),
            cannot + ": its binary is missing or damaged; build or install it again");
  // What begins like a library and is none.
  const fs::path folder =
      fs::temp_directory_path() / ("pyrelux-damaged-" + std::to_string(getpid())) / "Damaged.bundle";
  fs::create_directories(folder / "Resources");
  fs::copy(fs::path(bundle) / "Resources" / "Info-gnustep.plist", folder / "Resources");
  std::ofstream(folder / "ProbeFilters") << "\177ELF and no more";
  FilterInfo damaged = probe("Probe");
  damaged.bundlePath = folder.string();
  EXPECT_EQ(complaint([&] { Filter filter(damaged); }),
            "the bundle '" + folder.string() +
                "' can't be loaded: its binary is missing or damaged; build or install it again");
  // A whole program, which is no library.
  fs::copy_file("/proc/self/exe", folder / "ProbeFilters", fs::copy_options::overwrite_existing);
  EXPECT_EQ(complaint([&] { Filter filter(damaged); }),
            "the bundle '" + folder.string() + "' can't be loaded; build or install it again");
  fs::remove_all(folder.parent_path());
  EXPECT_EQ(complaint([] { Filter filter(probe("Missing")); }),
            "the bundle '" + bundle + "' has no class 'MissingFilter'");
  EXPECT_EQ(complaint([] { Filter filter(probe("Not a filter")); }),
            "the class 'NotAFilter' in '" + bundle + "' is no filter");
  EXPECT_EQ(complaint([] { Filter filter(probe("Silent")); }), "the filter 'Silent' declares no parameters");
  EXPECT_EQ(complaint([] { Filter filter(probe("Raising Early")); }), "the filter 'Raising Early' raised an exception");
}

// --- Declarations and values

TEST_P(Host, KeepsDeclarationsInOrderAndInAPersonsUnits) {
  const Filter filter(probe("Probe"));
  const auto &declarations = filter.parameters().declarations();
  ASSERT_EQ(declarations.size(), 7u);
  EXPECT_EQ(declarations[0].label, "Turn");
  EXPECT_EQ(declarations[0].kind, ParameterKind::Angle);
  EXPECT_DOUBLE_EQ(declarations[0].defaultValue[0], 30.0);
  EXPECT_DOUBLE_EQ(declarations[0].minimum, -180.0);
  EXPECT_DOUBLE_EQ(declarations[0].maximum, 360.0);
  EXPECT_EQ(declarations[1].kind, ParameterKind::Integer);
  EXPECT_EQ(declarations[1].sliderMinimum, 2);
  EXPECT_EQ(declarations[1].sliderMaximum, 8);
  EXPECT_EQ(declarations[1].minimum, 1);
  EXPECT_EQ(declarations[1].maximum, 9);
  EXPECT_EQ(declarations[1].delta, 1);
  EXPECT_EQ(declarations[1].defaultValue[0], 5);
  EXPECT_EQ(declarations[2].defaultValue[0], 0.5);
  EXPECT_EQ(declarations[2].minimum, -1);
  EXPECT_EQ(declarations[2].maximum, 1);
  EXPECT_EQ(declarations[2].sliderMinimum, -0.5);
  EXPECT_EQ(declarations[2].sliderMaximum, 1);
  EXPECT_EQ(declarations[2].delta, 0.01);
  EXPECT_DOUBLE_EQ(declarations[0].sliderMinimum, -180.0);
  EXPECT_DOUBLE_EQ(declarations[0].sliderMaximum, 360.0);
  EXPECT_EQ(declarations[3].defaultValue, (ParameterValue{0.25, 0.5, 0.75}));
  EXPECT_EQ(declarations[4].defaultValue, (ParameterValue{0.25, 0.125}));
  EXPECT_EQ(declarations[5].entries, (std::vector<std::string>{"First", "Second One"}));
  EXPECT_EQ(declarations[5].defaultValue[0], 1);
  EXPECT_EQ(declarations[6].kind, ParameterKind::Custom);
  EXPECT_EQ(declarations[6].flags, 64u);
  for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(declarations[i].flags, 0u);
  EXPECT_EQ(reported(@"added"), 1) << "every declaration is answered with YES";
  EXPECT_EQ(filter.properties(), (std::map<std::string, bool>{{"IsThreadSafe", false}, {"SupportsRowBytes", true}}));
}

TEST_P(Host, FindsTheKeyBehindATranslatedLabel) {
  const Filter filter(findFilter({PYRELUX_TEST_BUNDLES}));
  EXPECT_EQ(filter.parameters().find(14)->key, "Pyrelux::Pyrelux");
  EXPECT_EQ(filter.parameters().find(14)->label, "Tongues");
  EXPECT_EQ(filter.parameters().named("tongues").id, 14u);
  EXPECT_EQ(filter.parameters().named("pyrelux").id, 14u);
}

TEST_P(Host, HandsDefaultsToTheFilterInItsUnits) {
  Filter filter(probe("Probe"));
  renderer.render(filter, smallInput(false), 2.5, {});
  EXPECT_DOUBLE_EQ(reported(@"turn"), 0.5235987755982988) << "30 degrees in radians";
  EXPECT_EQ(reported(@"count"), 5);
  EXPECT_EQ(reported(@"amount"), 0.5);
  EXPECT_EQ(reported(@"red"), 0.25);
  EXPECT_EQ(reported(@"green"), 0.5);
  EXPECT_EQ(reported(@"blue"), 0.75);
  EXPECT_EQ(reported(@"x"), 0.25);
  EXPECT_EQ(reported(@"y"), 0.125);
  EXPECT_EQ(reported(@"mode"), 1);
  EXPECT_EQ(reported(@"time"), 2.5);
  EXPECT_EQ(reported(@"setUp"), 2.5);
  EXPECT_EQ(reported(@"outputAsked"), 2.5);
  EXPECT_EQ(reported(@"answersUnknownId"), 0);
  EXPECT_EQ(reported(@"answersWrongKind"), 0);
}

TEST_P(Host, HandsSetValuesToTheFilterAndLeavesTheOthers) {
  Filter filter(probe("Probe"));
  ParameterSet &parameters = filter.parameters();
  parameters.set(parameters.named("turn"), {-90});
  parameters.set(parameters.named("mode"), {0});
  parameters.set(parameters.named("centre"), {0.75, 0.875});
  renderer.render(filter, smallInput(false), 0, {});
  EXPECT_DOUBLE_EQ(reported(@"turn"), -M_PI / 2);
  EXPECT_EQ(reported(@"mode"), 0);
  EXPECT_EQ(reported(@"y"), 0.875);
  EXPECT_EQ(reported(@"count"), 5);
}

TEST_P(Host, HandsValuesAtTheFramesTimeToTheFilter) {
  Filter filter(probe("Probe"));
  ParameterSet &parameters = filter.parameters();
  const auto key = [&](const char *name, const ParameterValue &from, const ParameterValue &to) {
    parameters.setKeyframes(parameters.named(name), {{1, from}, {5, to}});
  };
  key("turn", {0}, {180});
  key("count", {1}, {9});
  key("amount", {-1}, {1});
  key("tint", {0, 0, 1}, {1, 0, 0});
  key("centre", {0.25, 1}, {0.75, 0});
  key("mode", {1}, {0});
  renderer.render(filter, smallInput(false), 3.5, {});
  EXPECT_DOUBLE_EQ(reported(@"turn"), 0.625 * M_PI);
  EXPECT_EQ(reported(@"count"), 6);
  EXPECT_EQ(reported(@"amount"), 0.25);
  EXPECT_EQ(reported(@"red"), 0.625);
  EXPECT_EQ(reported(@"blue"), 0.375);
  EXPECT_EQ(reported(@"x"), 0.5625);
  EXPECT_EQ(reported(@"y"), 0.375);
  EXPECT_EQ(reported(@"mode"), 1);
  renderer.render(filter, smallInput(false), 5, {});
  EXPECT_EQ(reported(@"count"), 9);
  EXPECT_EQ(reported(@"mode"), 0);
}

// --- Frames

TEST_P(Host, TellsTheFilterWhatItsImagesAre) {
  Filter filter(probe("Probe"));
  FrameSettings settings;
  settings.pixelAspect = 0.9;
  const Image drawn = renderer.render(filter, smallInput(false), 0, settings);
  EXPECT_EQ(drawn.width(), 3);
  EXPECT_EQ(drawn.height(), 2);
  EXPECT_EQ(reported(@"inputDepth"), 8);
  EXPECT_EQ(reported(@"renderDepth"), kFxDepth_UINT8);
  EXPECT_EQ(reported(@"outputDepth"), 8);
  EXPECT_EQ(reported(@"inputPremultiplied"), 1);
  EXPECT_EQ(reported(@"inputChannels"), 4);
  EXPECT_EQ(reported(@"inputPixelFormat"), kFxPixelFormat_RGBA);
  EXPECT_EQ(reported(@"outputType"), kFxImageType_TEXTURE);
  EXPECT_EQ(reported(@"outputOrigin"), kFxImageOrigin_BOTTOM_LEFT);
  EXPECT_EQ(reported(@"inputWidth"), 3);
  EXPECT_EQ(reported(@"inputHeight"), 2);
  EXPECT_EQ(reported(@"inputRight"), 3);
  EXPECT_EQ(reported(@"inputTop"), 2);
  EXPECT_EQ(reported(@"pixelAspect"), 0.9);
  EXPECT_EQ(reported(@"sharesContext"), 1);
  EXPECT_EQ(reported(@"scaleX"), 1.0);
  EXPECT_EQ(reported(@"scaleY"), 1.0);
  EXPECT_EQ(reported(@"quality"), kFxQuality_HIGH);
  EXPECT_EQ(reported(@"fieldOrder"), kFxField_PROGRESSIVE);
  EXPECT_EQ(reported(@"outputWidth"), 3);
  EXPECT_EQ(reported(@"outputHeight"), 2);

  settings.origin = Origin::TopLeft;
  settings.floatOutput = true;
  renderer.render(filter, smallInput(true), 0, settings);
  EXPECT_EQ(reported(@"inputDepth"), 32);
  EXPECT_EQ(reported(@"renderDepth"), kFxDepth_FLOAT16);
  EXPECT_EQ(reported(@"outputDepth"), 16);
  EXPECT_EQ(reported(@"outputOrigin"), kFxImageOrigin_TOP_LEFT);
  EXPECT_EQ(reported(@"y"), 0.875) << "the point counts from the first row, which is the top";
}

TEST_P(Host, BringsBytesThroughUnchangedWithBothOrigins) {
  Filter filter(probe("Probe"));
  for (const Origin origin : {Origin::BottomLeft, Origin::TopLeft}) {
    FrameSettings settings;
    settings.origin = origin;
    const Image output = renderer.render(filter, smallInput(false), 0, settings);
    EXPECT_EQ(output.asBytes(), smallInput(false).asBytes());
    EXPECT_EQ(output.alpha(), Alpha::Premultiplied);
  }
}

TEST_P(Host, BringsFloatsThroughAboveOneWithBothOrigins) {
  Filter filter(probe("Probe"));
  for (const Origin origin : {Origin::BottomLeft, Origin::TopLeft}) {
    FrameSettings settings;
    settings.origin = origin;
    settings.floatOutput = true;
    // Multiples of 1/8 up to 2.75, which halves hold exactly.
    EXPECT_EQ(renderer.render(filter, smallInput(true), 0, settings).asFloats(), smallInput(true).asFloats());
  }
}

TEST_P(Host, PremultipliesInFloatBeforeTheUpload) {
  Filter filter(probe("Probe"));
  Image input = Image::bytes(1, 1, Alpha::Straight);
  input.asBytes() = {200, 51, 255, 77};
  EXPECT_EQ(renderer.render(filter, input, 0, {}).asBytes(), (Image::Bytes{60, 15, 77, 77}));
}

TEST_P(Host, FollowsSizesAndDepthsFromFrameToFrame) {
  Filter filter(probe("Probe"));
  FrameSettings deep;
  deep.floatOutput = true;
  Image other = Image::bytes(5, 7, Alpha::Premultiplied);
  for (std::size_t i = 0; i < other.sampleCount(); ++i) other.asBytes()[i] = static_cast<std::uint8_t>(i);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(renderer.render(filter, other, 0, {}).asBytes(), other.asBytes());
    EXPECT_EQ(renderer.render(filter, smallInput(false), 0, {}).asBytes(), smallInput(false).asBytes());
    EXPECT_EQ(renderer.render(filter, smallInput(true), 0, deep).asFloats(), smallInput(true).asFloats());
  }
}

TEST_P(Host, LeavesNoContextCurrent) {
  Filter filter(probe("Probe"));
  renderer.render(filter, smallInput(false), 0, {});
  EXPECT_EQ(CGLGetCurrentContext(), nullptr);
}

TEST_P(Host, RefusesAnInputLargerThanTextures) {
  Filter filter(probe("Probe"));
  EXPECT_NE(complaint([&] {
              renderer.render(filter, Image::bytes(100000, 1, Alpha::Straight), 0, {});
            }).find("the picture is 100000x1 pixels; the renderer takes "),
            std::string::npos);
}

TEST_P(Host, SaysWhatAFilterDidWrongAndGoesOn) {
  const auto rendering = [&](const char *name) {
    Filter filter(probe(name));
    return complaint([&] { renderer.render(filter, smallInput(false), 4.5, {}); });
  };
  EXPECT_EQ(rendering("Refusing"), "the filter 'Refusing' refused the frame at time 4.5");
  const double cleanups = reported(@"cleanups");
  EXPECT_EQ(rendering("Raising"), "the filter 'Raising' raised an exception");
  EXPECT_EQ(reported(@"cleanups"), cleanups + 1) << "a frame that raised is cleaned up after";
  EXPECT_EQ(rendering("Erroneous"), "OpenGL reports error 0x0500 after the frame");
  EXPECT_EQ(rendering("Software"), "the filter 'Software' does not render with OpenGL");
  EXPECT_EQ(rendering("Raising Last"), "the filter 'Raising Last' raised an exception");
  EXPECT_EQ(rendering("Vague"), "the filter 'Vague' does not render with OpenGL");
  EXPECT_EQ(rendering("Sizeless"), "the filter 'Sizeless' gives no output size");
  EXPECT_EQ(rendering("Probe"), "nothing thrown") << "the renderer is fit for the next filter";
}

// --- Backends

TEST_P(Host, NamesTheBackends) {
  EXPECT_EQ(backendNames().front(), "auto");
  EXPECT_EQ(backendName(chooseBackend("mesa")), "mesa");
  EXPECT_EQ(backendName(chooseBackend("soft")), "soft");
  EXPECT_THAT(backendName(chooseBackend("auto")), ::testing::AnyOf("gpu", "soft"));
  EXPECT_THAT(backendName(chooseBackend("egl")), ::testing::AnyOf("gpu", "mesa"));
  EXPECT_EQ(backendName(0), "none");
  EXPECT_EQ(complaint([] { chooseBackend("abacus"); }), "there is no backend 'abacus'");
  EXPECT_FALSE(renderer.description().empty());
}

INSTANTIATE_TEST_SUITE_P(Backends, Host, ::testing::Values("mesa", "soft"),
                         [](const auto &name) { return std::string(name.param); });

}  // namespace
}  // namespace pyrelux::host
