#include <algorithm>
#include <regex>
#include <sstream>

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

using Json = nlohmann::json;

struct Row {
  int id;
  const char *name;
  const char *key;
  const char *label;
  const char *kind;
  Json range;
  Json defaultValue;
  Json entries = Json::array();
  const char *unit = "";
};

/// All of it, in the order of the inspector.
std::vector<Row> expectedRows() {
  const Json percent{0, 100}, signedPercent{-100, 100}, share{0, 1}, none = nullptr, noEntries = Json::array();
  const double farthestTurn = 3141.0 * 180.0 / 3.14159265358979323846;
  const char *rgb = "red,green,blue in 0..1";
  const char *entry = "index or name of an entry";
  return {
      {25, "www-morvane-example", "www.morvane.example", "www.morvane.example", "custom", none, none},
      {14, "tongues", "Pyrelux::Pyrelux", "Tongues", "integer", {1, 50}, 6},
      {6, "tongue-length", "Pyrelux::Length of Pyrelux", "Tongue Length", "float", percent, 30},
      {17, "turbulence-amount", "Pyrelux::Turbulence: Amount", "Turbulence: Amount", "float", percent, 6},
      {18, "turbulence-wavelength", "Pyrelux::Turbulence: Wavelength", "Turbulence: Wavelength", "float", percent, 75},
      {19, "turbulence-speed", "Pyrelux::Turbulence: Speed", "Turbulence: Speed", "float", percent, 20},
      {15, "wiggle-amount", "Pyrelux::Wiggle: Amount", "Wiggle: Amount", "float", percent, 20},
      {16, "wiggle-turbulence", "Pyrelux::Wiggle: Turbulence", "Wiggle: Turbulence", "float", {1, 100}, 15},
      {3, "glow", "Pyrelux::Glow", "Glow", "float", signedPercent, 20},
      {2,
       "direction",
       "Pyrelux::Direction",
       "Direction",
       "angle",
       {-farthestTurn, farthestTurn},
       0,
       noEntries,
       "degrees"},
      {20,
       "spread-degrees",
       "Pyrelux::Spread (Degrees)",
       "Spread (Degrees)",
       "angle",
       {0, 180},
       30,
       noEntries,
       "degrees"},
      {4, "steps", "Pyrelux::Steps", "Steps", "integer", {10, 300}, 40},
      {8, "weight-inner-outer", "Pyrelux::Weight Inner<>Outer", "Weight Inner <> Outer", "float", signedPercent, 0},
      {9, "color-inner", "Pyrelux::Color Inner", "Color Inner", "colour", none, {1, 1, 0}, noEntries, rgb},
      {10, "color-center", "Pyrelux::Color Center", "Color Center", "colour", none, {1, 0.5, 0}, noEntries, rgb},
      {11, "color-outer", "Pyrelux::Color Outer", "Color Outer", "colour", none, {1, 0, 0}, noEntries, rgb},
      {13, "attract-repel", "Pyrelux::Attract <> Repel", "Attract <> Repel", "float", signedPercent, 0},
      {7,
       "point-attract-repel",
       "Pyrelux::Point (Attract <> Repel)",
       "Point (Attract <> Repel)",
       "point",
       none,
       {0.5, 0.5},
       noEntries,
       "x,y of the image, 0,0 lower left, 1,1 upper right"},
      {1, "source-opacity", "Pyrelux::Source: Opacity", "Source: Opacity", "float", share, 0},
      {12, "source-mode", "Pyrelux::Source: Mode", "Source: Mode", "popup", none, 0, {"Cover", "Mix"}, entry},
      {21, "crop-left", "Pyrelux::Crop: Left", "Crop: Left", "float", share, 0},
      {22, "crop-right", "Pyrelux::Crop: Right", "Crop: Right", "float", share, 0},
      {23, "crop-top", "Pyrelux::Crop: Top", "Crop: Top", "float", share, 0},
      {24, "crop-bottom", "Pyrelux::Crop: Bottom", "Crop: Bottom", "float", share, 0},
      {5, "color-depth", "Pyrelux::Color Depth", "Color Depth", "popup", none, 0, {"8 Bit", "16 Bit"}, entry},
      {1001, "fire-opacity", "Fire: Opacity", "Fire: Opacity", "float", percent, 100},
  };
}

class ParameterList : public CliTest {
 protected:
  std::string listed(const Words &arguments) const {
    const Result result = pyrelux(Words{"parameters"} + arguments);
    expectSuccess(result);
    return result.out;
  }

  std::vector<Words> table() const {
    std::vector<Words> rows;
    std::istringstream lines(listed({}));
    for (std::string line; std::getline(lines, line);) {
      // Columns are at least two spaces apart; a column without content shows as more of them.
      Words columns;
      for (std::size_t begin = 0; begin < line.size();) {
        const std::size_t end = std::min(line.find("  ", begin), line.size());
        columns.push_back(line.substr(begin, end - begin));
        begin = std::min(line.find_first_not_of(' ', end), line.size());
      }
      rows.push_back(columns);
    }
    return rows;
  }
};

TEST_F(ParameterList, AsJsonHoldsEverythingInTheInspectorsOrder) {
  const Json list = Json::parse(listed({"--json"}));
  const std::vector<Row> rows = expectedRows();
  ASSERT_EQ(list.size(), rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Row &row = rows[i];
    const Json &item = list[i];
    SCOPED_TRACE(row.name);
    EXPECT_EQ(item.size(), 9u);
    EXPECT_EQ(item.at("id"), row.id);
    EXPECT_EQ(item.at("name"), row.name);
    EXPECT_EQ(item.at("key"), row.key);
    EXPECT_EQ(item.at("label"), row.label);
    EXPECT_EQ(item.at("kind"), row.kind);
    EXPECT_EQ(item.at("default"), row.defaultValue);
    EXPECT_EQ(item.at("entries"), row.entries);
    EXPECT_EQ(item.at("unit"), row.unit);
    ASSERT_EQ(item.at("range").is_null(), row.range.is_null());
    if (row.range.is_null()) continue;
    ASSERT_EQ(item.at("range").size(), 2u);
    for (std::size_t end = 0; end < 2; ++end)
      EXPECT_NEAR(item.at("range")[end].get<double>(), row.range[end].get<double>(), 1e-6);
  }
}

TEST_F(ParameterList, AsJsonKeepsTheFieldsInOrder) {
  const std::string text = listed({"--json"});
  std::size_t position = 0;
  for (const char *field : {"id", "name", "key", "label", "kind", "range", "default", "entries", "unit"}) {
    const std::size_t found = text.find("\"" + std::string(field) + "\":", position);
    ASSERT_NE(found, std::string::npos) << field;
    position = found;
  }
  EXPECT_LT(position, text.find("\"id\": 14"));
}

TEST_F(ParameterList, AsATableHasARowForEach) {
  const std::vector<Words> lines = table();
  const std::vector<Row> rows = expectedRows();
  ASSERT_EQ(lines.size(), rows.size() + 1);
  EXPECT_EQ(lines[0], (Words{"ID", "NAME", "LABEL", "KIND", "DEFAULT", "TAKES"}));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Words &line = lines[i + 1];
    ASSERT_GE(line.size(), 4u);
    EXPECT_EQ(Words(line.begin(), line.begin() + 4),
              (Words{std::to_string(rows[i].id), rows[i].name, rows[i].label, rows[i].kind}));
  }
}

TEST_F(ParameterList, AsATableTellsDefaultsAndWhatIsTaken) {
  std::map<std::string, Words> ends;
  for (const Words &line : table()) ends[line[1]] = Words(line.begin() + 4, line.end());
  EXPECT_EQ(ends["www-morvane-example"], Words{});
  EXPECT_EQ(ends["tongues"], (Words{"6", "1..50"}));
  EXPECT_EQ(ends["wiggle-turbulence"], (Words{"15", "1..100"}));
  EXPECT_EQ(ends["glow"], (Words{"20", "-100..100"}));
  EXPECT_EQ(ends["steps"], (Words{"40", "10..300"}));
  EXPECT_EQ(ends["spread-degrees"], (Words{"30", "0..180 degrees"}));
  ASSERT_EQ(ends["direction"].size(), 2u);
  EXPECT_EQ(ends["direction"][0], "0");
  EXPECT_THAT(ends["direction"][1], testing::MatchesRegex("-179966\\.043[0-9]*\\.\\.179966\\.043[0-9]* degrees"));
  EXPECT_EQ(ends["color-center"], (Words{"1,0.5,0", "red,green,blue in 0..1"}));
  EXPECT_EQ(ends["point-attract-repel"], (Words{"0.5,0.5", "x,y of the image, 0,0 lower left, 1,1 upper right"}));
  EXPECT_EQ(ends["source-opacity"], (Words{"0", "0..1"}));
  EXPECT_EQ(ends["source-mode"], (Words{"Cover", "0 Cover, 1 Mix"}));
  EXPECT_EQ(ends["color-depth"], (Words{"8 Bit", "0 8 Bit, 1 16 Bit"}));
}

TEST_F(ParameterList, OfTheHelpTellsWhatEachDoes) {
  const Result result = pyrelux({"render", "--help"});
  expectSuccess(result);
  for (const Row &row : expectedRows()) {
    const bool isListed = std::string(row.kind) != "custom";
    const std::string line = "\n  " + std::string(row.name) + " [^\n]*\n      [A-Z][^\n.]*[a-z ][^\n.]*\\.\n";
    EXPECT_EQ(std::regex_search(result.out, std::regex(line)), isListed) << row.name;
  }
  EXPECT_THAT(result.out, testing::HasSubstr("\n      How fast and how finely the tongues sway.\n"));
}

TEST_F(ParameterList, NeedsNoOpenGl) {
  const Result result = pyrelux({"parameters"}, {{"__EGL_VENDOR_LIBRARY_FILENAMES", "/nonexistent-file"}});
  expectSuccess(result);
  EXPECT_EQ(result.out, listed({}));
}

TEST_F(ParameterList, NeedsTheBundle) {
  expectRefusal(pyrelux({"parameters"}, {{"PYRELUX_PLUGIN_PATH", path("").string()}}),
                {"no filter bundle", path("").string()});
}

TEST_F(ParameterList, ThatCannotBeWrittenIsAFailure) {
  for (const Words &arguments : {Words{"parameters"}, Words{"parameters", "--json"}, Words{"info"}}) {
    SCOPED_TRACE(arguments.back());
    Command command = commandOf(arguments);
    command.outputFile = "/dev/full";
    expectRefusal(run(command), {});
  }
}

}  // namespace
}  // namespace pyrelux::cli::test
