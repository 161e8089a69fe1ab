#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

/// EGL finds no implementation; what does without it is not asked.
const Environment noOpenGl{{"__EGL_VENDOR_LIBRARY_FILENAMES", "/nonexistent-file"}};

class Info : public CliTest {};

TEST_F(Info, NamesVersionBackendRendererAndBundle) {
  const Result result = pyrelux({"info"});
  expectSuccess(result);
  EXPECT_THAT(result.out, ContainsRegex("version: +[0-9]+\\.[0-9]+\\.[0-9]+\n"));
  EXPECT_THAT(result.out, ContainsRegex("backend: +[a-z]+\n"));
  EXPECT_THAT(result.out, ContainsRegex("renderer: +[A-Za-z]"));
  EXPECT_THAT(result.out, ContainsRegex("filter: +Pyrelux [0-9.]+"));
  EXPECT_THAT(result.out, HasSubstr(PYRELUX_TEST_BUNDLES "/Pyrelux.bundle\n"));
  EXPECT_THAT(result.out, Not(HasSubstr("none")));
}

TEST_F(Info, IsJsonForPrograms) {
  const Result result = pyrelux({"info", "--json", "--backend", "soft"});
  expectSuccess(result);
  const auto facts = nlohmann::json::parse(result.out);
  EXPECT_EQ("version:   " + facts.at("version").get<std::string>(), pyrelux({"info"}).out.substr(0, 16));
  EXPECT_EQ(facts.at("backend").at("name"), "soft");
  EXPECT_EQ(facts.at("filter").at("name"), "Pyrelux");
  EXPECT_EQ(facts.at("filter").at("bundle"), PYRELUX_TEST_BUNDLES "/Pyrelux.bundle");
  const Result without = pyrelux({"info", "--json"}, {{"PYRELUX_PLUGIN_PATH", path("").string()}});
  EXPECT_EQ(without.exitCode, 1);
  EXPECT_THAT(nlohmann::json::parse(without.out).at("filter").at("error").get<std::string>(),
              HasSubstr("no filter bundle"));
}

TEST_F(Info, TellsOfABackendByName) {
  const Result result = pyrelux({"info", "--backend", "egl"});
  expectSuccess(result);
  EXPECT_THAT(result.out, ContainsRegex("backend: +(egl|gpu|mesa)\n"));
}

TEST_F(Info, WithoutABundleStillTellsWhatDraws) {
  const Result result = pyrelux({"info"}, {{"PYRELUX_PLUGIN_PATH", path("").string()}});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(result.out, ContainsRegex("bundle: +none: no filter bundle in " + path("").string()));
  EXPECT_THAT(result.out, HasSubstr("PYRELUX_PLUGIN_PATH"));
  EXPECT_THAT(result.out, ContainsRegex("backend: +[a-z]+\n"));
  EXPECT_THAT(result.out, Not(HasSubstr("filter: ")));
}

TEST_F(Info, WithoutOpenGlStillTellsTheBundle) {
  const Result result = pyrelux({"info", "--backend", "egl"}, noOpenGl);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(result.out, ContainsRegex("backend: +none: no usable OpenGL: .*install"));
  EXPECT_THAT(result.out, Not(HasSubstr("renderer: ")));
  EXPECT_THAT(result.out, HasSubstr(PYRELUX_TEST_BUNDLES "/Pyrelux.bundle\n"));
}

TEST_F(Info, WithoutEitherTellsBoth) {
  Environment nothing = noOpenGl;
  nothing["PYRELUX_PLUGIN_PATH"] = path("").string();
  const Result result = pyrelux({"info", "--backend", "egl"}, nothing);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.out, ContainsRegex("backend: +none"));
  EXPECT_THAT(result.out, ContainsRegex("bundle: +none"));
  EXPECT_THAT(result.out, ContainsRegex("version: +[0-9]"));
}

}  // namespace
}  // namespace pyrelux::cli::test
