#import "RecordingHost.h"

#include <gtest/gtest.h>

#include "Trace.h"
#include "VectorFile.h"

namespace pyrelux::test {
namespace {

std::string localised(const json &key) {
  NSString *text = [NSString stringWithUTF8String:key.get<std::string>().c_str()];
  return textOf([filterBundle() localizedStringForKey:text value:nil table:nil]);
}

void expectOptional(const json &row, const char *name, const std::optional<double> &got, const std::string &where) {
  if (!row.contains(name)) return;
  const json wanted = row[name];
  ASSERT_EQ(wanted.is_null(), !got.has_value()) << where << " " << name;
  if (got) {
    EXPECT_EQ(*got, wanted.get<double>()) << where << " " << name;
  }
}

void expectRow(const json &row, const DeclaredParameter &got) {
  const std::string where = "parameter " + row["id"].dump();
  EXPECT_EQ(got.id, row["id"].get<std::uint32_t>());
  EXPECT_EQ(got.kind, row["kind"].get<std::string>()) << where;
  if (row.contains("key") && !row["key"].is_null()) {
    EXPECT_EQ(got.name, localised(row["key"])) << where;
  }
  if (row.contains("default")) {
    const json wanted = row["default"].is_null()    ? json::array()
                        : row["default"].is_array() ? row["default"]
                                                    : json::array({row["default"]});
    EXPECT_EQ(got.defaults, wanted.get<std::vector<double>>()) << where;
    EXPECT_FALSE(got.hasDefaultObject) << where;
  }
  expectOptional(row, "min", got.minimum, where);
  expectOptional(row, "max", got.maximum, where);
  expectOptional(row, "sliderMin", got.sliderMinimum, where);
  expectOptional(row, "sliderMax", got.sliderMaximum, where);
  expectOptional(row, "delta", got.delta, where);
  EXPECT_EQ(got.flags, row.value("flags", got.flags)) << where;
  if (row.contains("entries")) {
    std::vector<std::string> entries;
    // null runs through no entry.
    for (const json &entry : row["entries"]) entries.push_back(localised(entry));
    EXPECT_EQ(got.entries, entries) << where;
  }
}

TEST(vectors, Declaration) {
  const Pool pool;
  const json &rows = vectorPart({"declaration"});
  RecordingCreation *creation = [[[RecordingCreation alloc] init] autorelease];
  RecordingAPIManager *manager = [[[RecordingAPIManager alloc] init] autorelease];
  [manager offerCreation:creation];
  id<TestedFilter> filter = [[[filterClass() alloc] initWithAPIManager:manager] autorelease];
  EXPECT_TRUE([filter addParameters]);
  const std::vector<DeclaredParameter> &declared = [creation declared];
  if (!rows.empty()) {
    ASSERT_EQ(declared.size(), rows.size());
  }
  for (std::size_t i = 0; i < rows.size(); ++i) expectRow(rows[i], declared[i]);
}

}  // namespace
}  // namespace pyrelux::test
