#include <iostream>
#include <memory>

#include "Commands.h"
#include "ExitCodes.h"
#include "Manifest.h"
#include "Message.h"

namespace pyrelux::cli {

namespace {

const char *whatIsWrong(record::RecordState state) {
  switch (state) {
    case record::RecordState::Missing:
      return " is missing";
    case record::RecordState::Unreadable:
      return " can't be read";
    default:
      return " is not what was rendered";
  }
}

int verify(const std::string &manifest) {
  const std::vector<record::CheckedPicture> pictures = record::checkPictures(manifest);
  std::size_t right = 0;
  for (const auto &[file, state] : pictures)
    if (state == record::RecordState::Right)
      ++right;
    else
      std::cout << printable(file) << whatIsWrong(state) << '\n';
  std::cout << right << " of " << pictures.size() << " pictures are as they were rendered\n";
  return right == pictures.size() ? 0 : failedExit;
}

}  // namespace

Command verifyCommand() {
  const auto manifest = std::make_shared<std::string>();
  return {"verify",
          "Check that a rendered sequence is as it was rendered",
          {option("MANIFEST", "MANIFEST", "What render left beside the pictures",
                  ": fire.png.manifest.jsonl for fire.%04d.png")
               .required()
               .filling(*manifest)},
          [manifest] { return verify(*manifest); }};
}

}  // namespace pyrelux::cli
