#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "ExitCodes.h"
#include "Manifest.h"
#include "Message.h"

namespace pyrelux::cli {

namespace {

/// A state as people and as programs read it.
struct StateWords {
  const char *sentence;  ///< after the picture's name
  const char *word;
};

StateWords wordsFor(record::RecordState state) {
  switch (state) {
    case record::RecordState::Right:
      return {" is as it was rendered", "right"};
    case record::RecordState::Missing:
      return {" is missing", "missing"};
    case record::RecordState::Unreadable:
      return {" can't be read", "unreadable"};
    default:
      return {" is not what was rendered", "different"};
  }
}

int verify(const std::string &manifest, bool asJson) {
  const std::vector<record::CheckedPicture> pictures = record::checkPictures(manifest);
  std::size_t right = 0;
  auto listed = nlohmann::ordered_json::array();
  for (const auto &[file, state] : pictures) {
    const bool isRight = state == record::RecordState::Right;
    right += isRight;
    if (asJson)
      listed.push_back({{"file", file}, {"state", wordsFor(state).word}});
    else if (!isRight)
      std::cout << printable(file) << wordsFor(state).sentence << '\n';
  }
  if (asJson)
    std::cout << nlohmann::ordered_json{{"right", right}, {"total", pictures.size()}, {"pictures", listed}}.dump(2)
              << '\n';
  else
    std::cout << right << " of " << pictures.size() << " pictures are as they were rendered\n";
  return right == pictures.size() ? 0 : failedExit;
}

}  // namespace

Command verifyCommand() {
  struct Arguments {
    std::string manifest;
    bool asJson = false;
  };
  const auto arguments = std::make_shared<Arguments>();
  return {"verify",
          "Check that a rendered sequence is as it was rendered",
          {option("MANIFEST", "MANIFEST", "What render left beside the pictures",
                  ": fire.png.manifest.jsonl for fire.%04d.png")
               .required()
               .filling(arguments->manifest),
           flag("--json", arguments->asJson, true, "As JSON", ", with the state of every picture")},
          [arguments] { return verify(arguments->manifest, arguments->asJson); }};
}

}  // namespace pyrelux::cli
