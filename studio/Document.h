#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Project.h"

// What people make in the studio, and what they do to it. Nothing here touches a file, a filter or a page.

namespace pyrelux::studio {

/// What burns, and how.
struct Content {
  std::optional<std::string> input;        ///< a file, or a pattern of files
  std::optional<std::string> testPattern;  ///< one of testPatternNames()
  project::Project project;                ///< without preset and description: they are in force by its parameters
  std::optional<std::string> file;         ///< the project file that it was opened from or saved to
};

/// A parameter's keyframes; a single one means a constant.
struct Animation {
  std::vector<host::Keyframe> keyframes;
  bool isTimed = false;  ///< see Project::timed
};

// What a change may set; nothing takes it back.
struct InputChange {
  std::optional<std::string> path;
};
struct PatternChange {
  std::optional<std::string> name;
};
struct FileChange {
  std::optional<std::string> path;
};
struct SceneChange {
  std::string key;                  ///< of a project::SceneField
  std::optional<std::string> text;  ///< as the field takes it
};
struct ParameterChange {
  std::uint32_t id = 0;
  std::optional<Animation> animation;
};
using Change = std::variant<InputChange, PatternChange, FileChange, SceneChange, ParameterChange>;

/// `content` after the changes. Throws ValueError for a text that a field of the scene does not take.
Content changed(Content content, const std::vector<Change> &changes);

/// What turns one content into another.
std::vector<Change> differences(const Content &from, const Content &to);

/// The content as one text, the same for what means the same.
std::string textOf(const Content &content, const std::vector<host::ParameterDeclaration> &declarations);

/// The content of textOf(). Throws ProjectError.
Content parseContent(const std::string &text, const std::vector<host::ParameterDeclaration> &declarations);

/// A drag of a slider is one gesture, whatever it sends.
struct Gesture {
  int page = 0;
  std::int64_t number = 0;
  bool operator==(const Gesture &other) const { return page == other.page && number == other.number; }
};

/// A content with its history, which has no end. Thread: one at a time.
class Document {
 public:
  explicit Document(Content content = {}) : content_(std::move(content)) {}

  const Content &content() const { return content_; }

  /// Grows with every change.
  std::uint64_t revision() const { return revision_; }

  /// Makes `content` the document's, as a step that undo() takes back. Changes of one gesture, if nothing comes between
  /// them, are one step. `name`: what a menu calls the step.
  void become(const Content &content, const std::string &name, const std::optional<Gesture> &gesture = {});

  /// What would be undone or redone; nothing if there is none.
  std::optional<std::string> undoName() const;
  std::optional<std::string> redoName() const;

  /// Return whether there was a step.
  bool undo();
  bool redo();

  /// Whether it is not what was last saved.
  bool isDirty() const { return stateNow() != savedState_; }

  /// It is in a file now.
  void markSaved(const std::string &file);

  /// Only what was made since then counts as unsaved.
  void markClean() { savedState_ = stateNow(); }

 private:
  struct Step {
    std::string name;
    std::optional<Gesture> gesture;
    std::vector<Change> back;
    std::vector<Change> forth;
    std::uint64_t state;  ///< that it leads to: a number of its own
  };

  std::uint64_t stateNow() const { return done_ == 0 ? firstState_ : steps_[done_ - 1].state; }

  Content content_;
  std::uint64_t revision_ = 1;
  std::vector<Step> steps_;
  std::size_t done_ = 0;  ///< steps that are in force; those after it can be redone
  std::uint64_t nextState_ = 1;
  std::uint64_t firstState_ = 0;
  std::uint64_t savedState_ = 0;
};

}  // namespace pyrelux::studio
