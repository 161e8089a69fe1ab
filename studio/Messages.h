#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Document.h"
#include "ExportQueue.h"
#include "Fields.h"
#include "Folders.h"
#include "Plan.h"
#include "Preview.h"

// What the studio tells its pages.

namespace pyrelux::studio {

/// A preset as pages list it.
struct ListedPreset {
  std::string name;
  std::string description;
  bool isOwn = false;
};

/// Those that can be read.
std::vector<ListedPreset> listPresets(const std::vector<host::ParameterDeclaration> &declarations);

Json messageOf(const std::vector<ListedPreset> &presets);

/// What does not change while the studio runs.
struct Greeting {
  std::vector<host::ParameterDeclaration> declarations;
  std::vector<std::string> fonts;
  std::string root;  ///< its name
  int memory = 512;  ///< megabytes that a page may keep frames in
  struct Recovery {
    std::string when;  ///< ISO 8601
    std::string title;
  };
  std::optional<Recovery> recovery = {};
};

Json helloMessage(const Greeting &greeting, PageId page, const std::vector<ListedPreset> &presets);

/// The document as pages see it. `plan` is null for one that can't be drawn, and `problem` says why then.
struct ShownDocument {
  const Document &document;
  const std::vector<host::ParameterDeclaration> &declarations;
  const Plan *plan = nullptr;
  std::string problem;
  const host::ParameterSet *inForce = nullptr;
};

Json documentMessage(const ShownDocument &shown, const Folders &folders, PageId changedBy);

Json exportsMessage(const std::vector<ExportStatus> &jobs, const Folders &folders);

Json filesReply(const std::string &folder, const std::vector<FolderEntry> &entries);

/// A binary message: the length of its header, 32 bits with the least first, the header, the picture.
std::vector<std::uint8_t> binaryOf(const DrawnFrame &frame);
std::vector<std::uint8_t> binaryOf(const DrawnThumbnail &thumbnail);

}  // namespace pyrelux::studio
