// Any lines as the messages of a page: each is refused and changes nothing, or leaves a document that can be written,
// read, undone and done again.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "Document.h"
#include "Edits.h"
#include "Folders.h"
#include "MediaErrors.h"
#include "Requests.h"
#include "Require.h"
#include "SampleParameters.h"

namespace {

using namespace pyrelux;
using namespace pyrelux::studio;
using pyrelux::fuzz::require;

/// A folder with a little of everything, for as long as the program runs.
class Place {
 public:
  Place() {
    char name[] = "/tmp/pyrelux-fuzz-XXXXXX";
    root_ = mkdtemp(name);
    std::filesystem::create_directory(root_ / "folder");
    for (const char *file : {"logo.png", "in_0001.png", "in_0002.png", "title.json", "folder/red"})
      std::ofstream(root_ / file) << "{}";
    std::filesystem::create_symlink("/etc", root_ / "out");
  }
  ~Place() { std::filesystem::remove_all(root_); }

  const std::filesystem::path &root() const { return root_; }

 private:
  std::filesystem::path root_;
};

const std::vector<host::ParameterDeclaration> &declarations() {
  static const std::vector<host::ParameterDeclaration> samples = host::test::sampleDeclarations();
  return samples;
}

/// What a studio does with a page's message to its document. Returns whether it was an edit.
bool answer(Document &document, const Json &message, const Folders &folders) {
  const std::string type = textIn(message, "type");
  if (type == "edit") {
    const Content content = edited(document.content(), listIn(message, "edits"), declarations(), folders);
    std::optional<Gesture> gesture;
    if (isIn(message, "gesture")) gesture = Gesture{1, wholeIn(message, "gesture", 0, 1000)};
    document.become(content, optionalTextIn(message, "name").value_or("Edit"), gesture);
  } else if (type == "undo") {
    document.undo();
  } else if (type == "redo") {
    document.redo();
  } else if (type == "frame") {
    const FrameRequest request = frameRequest(message, folders);
    require(request.frame >= 0 && request.id >= 0, "frames have numbers");
  } else if (type == "export") {
    const job::RenderRequest request = exportRequest(document.content(), message, folders);
    require(!request.output.empty(), "exports have a file");
  } else if (type == "files") {
    folders.list(textIn(message, "folder"), "folder");
  }
  return type == "edit";
}

std::string textOf(const Document &document) { return textOf(document.content(), declarations()); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const Place place;
  static const Folders folders(place.root().string());
  Document document;
  const std::string first = textOf(document);
  std::string newest = first;  // after the last edit
  std::string rest(reinterpret_cast<const char *>(data), size);
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    const std::string line = rest.substr(0, end);
    rest = end == std::string::npos ? std::string() : rest.substr(end + 1);
    const std::string before = textOf(document);
    const std::uint64_t revision = document.revision();
    bool isRefused = false, isEdit = false;
    try {
      isEdit = answer(document, parseMessage(line), folders);
    } catch (const Refusal &) {
      isRefused = true;
    } catch (const media::InputError &) {
      isRefused = true;
    }
    const std::string after = textOf(document);
    require(!isRefused || (after == before && document.revision() == revision), "what is refused changes nothing");
    if (after == before) continue;
    if (isEdit) newest = after;
    require(textOf(parseContent(after, declarations()), declarations()) == after,
            "what is written is read as it was meant");
    const auto &input = document.content().input;
    require(!input || input->rfind(place.root().string(), 0) == 0, "inputs lie in the folder");
  }
  while (document.undo()) {
  }
  require(textOf(document) == first, "all steps can be undone");
  while (document.redo()) {
  }
  require(textOf(document) == newest, "all steps can be done again");
  return 0;
}
