#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AutoSave.h"
#include "CustomView.h"
#include "Document.h"
#include "ExportQueue.h"
#include "Fields.h"
#include "Folders.h"
#include "Messages.h"
#include "Plan.h"
#include "Preview.h"
#include "Studio.h"

namespace pyrelux::studio {

/// Where answers go. Any thread.
class Mail {
 public:
  virtual ~Mail() = default;
  virtual void send(PageId page, const Json &message) = 0;
  virtual void sendToAll(const Json &message) = 0;
  /// An address for another browser.
  virtual std::string newAddress() = 0;
};

/// What the pages work at: the document, what draws it, and the exports. Takes the pages' messages in the order in
/// which they came. Thread: one.
class Desk {
 public:
  /// `exportsChanged` is called on other threads. Throws what reading the input and the project throws.
  Desk(const StudioOptions &options, Mail &mail, PreviewListener &drawn, std::function<void()> exportsChanged);

  void connected(PageId page);
  void received(PageId page, const std::string &text);
  void gone(PageId page);

  /// Tells all pages how far the exports are.
  void tellExports();

  /// The picture of the filter's own row; empty if it has none.
  std::vector<std::uint8_t> headerPng();

  /// Whether a page has asked for the end.
  bool isEnded() const { return isEnded_; }

 private:
  using Declarations = std::vector<host::ParameterDeclaration>;

  Json answer(PageId page, const Json &message);
  Json answerEdit(PageId page, const Json &message);
  Json answerHistory(PageId page, bool isUndo);
  Json answerOpen(PageId page, const Json &message);
  Json answerSave(PageId page, const Json &message);
  Json answerNew(PageId page);
  Json answerRecover(PageId page, const Json &message);
  Json answerSavePreset(const Json &message);
  Json answerFrame(PageId page, const Json &message);
  Json answerThumbnails(PageId page, const Json &message);
  Json answerFiles(const Json &message);
  Json answerPress();
  Json answerExport(const Json &message);
  Json answerCommand(const Json &message);
  Json answerCancel(const Json &message);
  Json answerReveal(const Json &message);
  Json answerQuit(const Json &message);

  /// Makes a content the document's after planning it. A document that could be drawn stays one: what can't be planned
  /// is refused, unless the document could not be planned before.
  void take(PageId page, const Content &content, const std::string &name, const std::optional<Gesture> &gesture);
  /// Plans what the document is now.
  void planAgain();
  void tellDocument(PageId changedBy);
  Json documentNow(PageId changedBy) const;
  /// A project file with the document's settings beside the output; the one that it is saved in, if there is one.
  std::string projectFor(const job::RenderRequest &request);
  host::CustomView &header();

  const StudioOptions &options_;
  Mail &mail_;
  Folders folders_;
  host::Filter filter_;  ///< plans, and makes the header row
  Declarations declarations_;
  Greeting greeting_;
  Document document_;
  std::shared_ptr<const Plan> plan_;
  std::string problem_;
  std::optional<host::ParameterSet> inForce_;
  AutoSave autoSave_;
  Preview preview_;
  ExportQueue exports_;
  std::unique_ptr<host::CustomView> header_;
  bool isEnded_ = false;
};

}  // namespace pyrelux::studio
