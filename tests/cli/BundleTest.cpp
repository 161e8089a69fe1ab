#include "CliTest.h"

#include <functional>

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

/// Works on a copy of the real bundle, in a folder of its own for each way to break it.
class Bundle : public CliTest {
 protected:
  Bundle() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  fs::path list() const { return bundle() / "Resources" / "Info-gnustep.plist"; }
  fs::path binary() const { return bundle() / "Pyrelux"; }
  fs::path bundle() const { return path("bundles") / "Pyrelux.bundle"; }

  void copyBundle() const {
    fs::remove_all(path("bundles"));
    fs::create_directory(path("bundles"));
    fs::copy(PYRELUX_TEST_BUNDLES "/Pyrelux.bundle", bundle(), fs::copy_options::recursive);
  }

  void replaceInList(const std::string &from, const std::string &to) const {
    const std::string text = load(list());
    ASSERT_THAT(text, testing::HasSubstr(from));
    save(list(), replaced(text, from, to));
  }

  Result renderWith(const std::string &plugInPath) const {
    return pyrelux(renderWords("title.png", "fire.png"), {{"PYRELUX_PLUGIN_PATH", plugInPath}});
  }

  /// Breaks a copy and expects that it is refused in one line with these words.
  void expectBrokenBy(const std::function<void()> &breaking, const Words &words) const {
    copyBundle();
    breaking();
    expectRefusal(renderWith(path("bundles").string()), words);
    EXPECT_EQ(names(""), (Words{"bundles", "title.png"}));
  }
};

TEST_F(Bundle, IsFoundThroughAListOfFolders) {
  copyBundle();
  fs::create_directory(path("none"));
  expectSuccess(renderWith("/nonexistent-folder:" + path("none").string() + "::" + path("bundles").string()));
  EXPECT_TRUE(fs::exists(path("fire.png")));
}

TEST_F(Bundle, IsFoundThroughARelativeFolder) {
  copyBundle();
  expectSuccess(renderWith("bundles"));
  EXPECT_TRUE(fs::exists(path("fire.png")));
}

TEST_F(Bundle, IsPassedOverWhenItIsNoFilter) {
  copyBundle();
  fs::create_directories(path("bundles") / "A.bundle" / "Resources");
  save(path("bundles") / "B.bundle", "a file");
  expectSuccess(renderWith(path("bundles").string()));
}

TEST_F(Bundle, NamesTheFoldersLookedIn) {
  fs::create_directory(path("none"));
  expectRefusal(renderWith(path("none").string() + ":/nonexistent-folder"),
                {"no filter bundle", path("none").string(), "/nonexistent-folder", "PYRELUX_PLUGIN_PATH"});
  expectRefusal(renderWith(""), {"no filter bundle", "empty PYRELUX_PLUGIN_PATH"});
}

TEST_F(Bundle, WithAListThatIsNoListIsNone) {
  const std::string whole = load(PYRELUX_TEST_BUNDLES "/Pyrelux.bundle/Resources/Info-gnustep.plist");
  const std::string head = "<?xml version=\"1.0\"?><plist version=\"1.0\">";
  for (const std::string &text :
       {std::string("<plist><dict><key>"), std::string("{ a = ;;;"), std::string(), whole.substr(0, 1000),
        head + "<array><string>a</string></array></plist>", std::string(200, '\0'), std::string(100000, '('),
        head + replaced(std::string(100000, 'x'), "x", "<dict>"), "bplist00" + std::string(300, '\xd1')}) {
    SCOPED_TRACE(text.substr(0, 1000));
    expectBrokenBy([&] { save(list(), text); }, {"no filter bundle", path("bundles").string()});
  }
}

TEST_F(Bundle, WithoutAListIsNone) {
  expectBrokenBy([&] { fs::remove(list()); }, {"no filter bundle", path("bundles").string()});
}

TEST_F(Bundle, WithoutAClassNameOrOfAnotherKindIsNone) {
  expectBrokenBy([&] { replaceInList("<string>Pyrelux_64</string>", "<integer>5</integer>"); }, {"no filter bundle"});
  expectBrokenBy([&] { replaceInList("FxFilter", "FxGenerator"); }, {"no filter bundle"});
}

TEST_F(Bundle, WithAnOtherClassNameHasNoSuchClass) {
  expectBrokenBy([&] { replaceInList("Pyrelux_64", "Pyrelux_65"); }, {"Pyrelux.bundle", "Pyrelux_65"});
  expectBrokenBy([&] { replaceInList("Pyrelux_64", "NSObject"); }, {"Pyrelux.bundle", "NSObject"});
}

TEST_F(Bundle, WithoutItsBinaryCannotBeLoaded) {
  expectBrokenBy([&] { fs::remove(binary()); }, {"Pyrelux.bundle", "can't be loaded"});
}

TEST_F(Bundle, WithABinaryThatIsNoneCannotBeLoaded) {
  for (const std::string &bytes : {std::string(), std::string("fire"), std::string(5000, 'f')})
    expectBrokenBy([&] { save(binary(), bytes); }, {"Pyrelux.bundle", "can't be loaded"});
}

TEST_F(Bundle, WithABinaryCutShortCannotBeLoaded) {
  const auto size = fs::file_size(PYRELUX_TEST_BUNDLES "/Pyrelux.bundle/Pyrelux");
  for (const std::uintmax_t left : {std::uintmax_t{100}, std::uintmax_t{4096}, size / 4, size / 2})
    expectBrokenBy([&] { fs::resize_file(binary(), left); }, {"Pyrelux.bundle", "its binary is missing or damaged"});
}

TEST_F(Bundle, WithANumberForItsBinarysNameCannotBeLoaded) {
  expectBrokenBy([&] { replaceInList("<string>Pyrelux</string>", "<integer>5</integer>"); }, {"Pyrelux.bundle"});
}

}  // namespace
}  // namespace pyrelux::cli::test
