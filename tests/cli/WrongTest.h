#pragma once

#include <iosfwd>
#include <string>

#include "CliTest.h"

/// The tables of what has to be refused: WrongCommandLineTest, WrongInputTest, WrongOutputTest.
namespace pyrelux::cli::test {

/// What the program ends with.
constexpr int failed = 1, wrongUsage = 2, wrongInput = 3, wrongOutput = 4, wrongEncoder = 5;

struct WrongRow {
  const char *name;
  Words arguments;
  int exit;
  Words words;  ///< in the message: the thing, and what is wrong with it or what would be right
  Environment environment = {};
};

void PrintTo(const WrongRow &row, std::ostream *stream);
std::string nameOf(const testing::TestParamInfo<WrongRow> &row);

/// "render INPUT -o OUTPUT", with settings that would be quick.
Words renderOf(const std::string &input, const std::string &output, const Words &more = {});
/// A picture, and a movie, out of a title that there is.
Words still(const Words &more);
Words movie(const Words &more);

/// One row in a folder with "out" and those files that its arguments name: WrongTest.cpp lists what can be made.
/// Expects one line, the exit code, and that nothing in the folder is other than before.
class WrongTest : public CliTest, public testing::WithParamInterface<WrongRow> {
 protected:
  WrongTest();

 private:
  /// A file and what makes it.
  using Makers = std::map<std::string, void (*)(const WrongTest &, const std::filesystem::path &)>;
  static const Makers &makers();

  void saveCut(const std::string &name, const std::string &whole, std::size_t size) const;
};

}  // namespace pyrelux::cli::test
