#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Filter.h"
#include "FireDrawer.h"
#include "FrameRenderer.h"
#include "KeptPictures.h"
#include "Picture.h"
#include "Plan.h"
#include "Preview.h"
#include "StopToken.h"

namespace pyrelux::studio {

/// What the drawing thread draws with, and what it keeps from frame to frame, so that an edit of a parameter costs only
/// the drawing. Thread: one.
class Preview::Hand {
 public:
  /// Throws HostError.
  Hand(const std::string &backend, job::StopToken stop);

  struct Drawing {
    const Image *front = nullptr;  ///< premultiplied; valid until the next drawing
    Backdrop back;
    int bits = 8;
    double pixelAspect = 1.0;
  };

  /// Tells the filter that draws frames of what the plans change, one after the other; the first of all has its initial
  /// values. What the filter raises, the next frame throws.
  void tell(const std::vector<std::shared_ptr<const Plan>> &plans);

  /// Draws a frame of the plan, its sides divided by `scale`. Throws what reading and drawing throw.
  Drawing draw(const std::shared_ptr<const Plan> &plan, const FrameRequest &request, int scale);

  /// The plan's picture in a size, burning with another look. Throws as above.
  Drawing drawLook(const Plan &plan, const project::Project &look, int width, int height);

  DraftEncoder &encoder() { return encoder_; }

  /// How large the plan's frames are over that backdrop: a file decides.
  media::InputInfo infoOver(const std::shared_ptr<const Plan> &plan, const WantedBackdrop &backdrop);

 private:
  /// A filter with what draws its frames.
  struct Easel {
    explicit Easel(const host::FilterInfo &info) : filter(info) {}
    host::Filter filter;
    std::unique_ptr<job::FireDrawer> drawer;
    std::shared_ptr<const Plan> plan;  ///< that the drawer has
  };

  /// The plan over a background file.
  std::shared_ptr<const Plan> planOver(const std::shared_ptr<const Plan> &plan, const WantedBackdrop &backdrop);
  /// `asBytes`: quicker to draw with, and rounded, as drafts may be.
  std::shared_ptr<const Image> input(const Plan &plan, std::int64_t frame, int width, int height, bool asBytes);
  Backdrop backdropOf(const Plan &plan, const WantedBackdrop &wanted, std::int64_t frame, int width, int height,
                      int scale);
  void prepare(Easel &easel, const job::Fire &fire, const Plan &plan, int drawBits);

  job::StopToken stop_;
  host::FrameRenderer renderer_;
  host::Filter planner_;
  Easel frames_;
  std::exception_ptr fault_;  ///< of an edit
  Easel looks_;
  DraftEncoder encoder_;
  Image drawn_;
  KeptPictures inputs_;
  std::shared_ptr<const Plan> over_, overBase_;
  std::string overFile_;
  Backdrop checker_;
  int checkerSquare_ = 0;
};

}  // namespace pyrelux::studio
