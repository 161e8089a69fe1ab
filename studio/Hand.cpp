#include "Hand.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "BackendChoice.h"
#include "Bundles.h"
#include "Compositing.h"
#include "Fit.h"
#include "OwnParameters.h"
#include "Settings.h"

namespace pyrelux::studio {

namespace {

/// A side of a draft, in pixels.
int divided(int side, int scale) { return std::max(1, (side + scale / 2) / scale); }

/// The frame of a look that shows it well.
constexpr std::int64_t telling = 24;

}  // namespace

Preview::Hand::Hand(const std::string &backend, job::StopToken stop)
    : stop_(std::move(stop)),
      renderer_(host::chooseBackend(backend)),
      planner_(host::findFilter(host::defaultSearchPath())),
      frames_(planner_.info()),
      looks_(planner_.info()) {}

std::shared_ptr<const Plan> Preview::Hand::planOver(const std::shared_ptr<const Plan> &plan,
                                                    const WantedBackdrop &backdrop) {
  if (backdrop.kind != WantedBackdrop::Kind::File) return plan;
  if (overBase_ == plan && overFile_ == backdrop.text) return over_;
  job::RenderRequest request = plan->read.request;
  request.background = job::BackgroundRequest{backdrop.text, std::nullopt, {}, false};
  const bool isSameFile = overFile_ == backdrop.text;
  over_ = makePlan(request, isSameFile ? over_.get() : nullptr, planner_);
  overBase_ = plan;
  overFile_ = backdrop.text;
  return over_;
}

media::InputInfo Preview::Hand::infoOver(const std::shared_ptr<const Plan> &plan, const WantedBackdrop &backdrop) {
  return planOver(plan, backdrop)->info;
}

std::shared_ptr<const Image> Preview::Hand::input(const Plan &plan, std::int64_t frame, int width, int height,
                                                  bool asBytes) {
  if (plan.info.kind == media::InputKind::Still) frame = 0;
  const KeptPictures::Key key{plan.open, frame, width, height, asBytes};
  if (std::shared_ptr<const Image> kept = inputs_.find(key)) return kept;
  std::shared_ptr<const Image> picture;
  if (asBytes) {
    picture = std::make_shared<const Image>(toBytes(*input(plan, frame, width, height, false)));
  } else if (width == plan.info.width && height == plan.info.height) {
    const std::lock_guard<std::mutex> lock(plan.open->mutex);
    // Converted once, and not for each frame.
    picture = std::make_shared<const Image>(premultiplied(*plan.open->sources.input().share(frame)));
  } else {
    picture = std::make_shared<const Image>(
        media::resized(*input(plan, frame, plan.info.width, plan.info.height, false), width, height));
  }
  inputs_.keep(key, picture);
  return picture;
}

Backdrop Preview::Hand::backdropOf(const Plan &plan, const WantedBackdrop &wanted, std::int64_t frame, int width,
                                   int height, int scale) {
  if (wanted.kind == WantedBackdrop::Kind::Colour) return {wanted.colour, nullptr};
  if (wanted.kind == WantedBackdrop::Kind::Checker) {
    const int square = std::max(1, checkerSquare / scale);
    const bool fits = checker_.picture && checker_.picture->width() == width && checker_.picture->height() == height;
    if (!fits || checkerSquare_ != square)
      checker_.picture = std::make_shared<const Image>(checkerboard(width, height, square));
    checkerSquare_ = square;
    return checker_;
  }
  const std::lock_guard<std::mutex> lock(plan.open->mutex);
  std::shared_ptr<const Image> behind = plan.open->sources.background()->behind(frame);
  if (scale != 1) behind = std::make_shared<const Image>(toFloat(media::resized(*behind, width, height)));
  return {{}, behind};
}

void Preview::Hand::prepare(Easel &easel, const job::Fire &fire, const Plan &plan, int drawBits) {
  host::FrameSettings settings;
  settings.floatOutput = drawBits == 16;
  settings.pixelAspect = plan.info.pixelAspect;
  if (easel.drawer) {
    easel.drawer->edit(fire, settings, plan.firstFrame());
    return;
  }
  const auto goesOn = [stop = stop_](std::int64_t, std::int64_t) { return !stop.isRequested(); };
  easel.drawer = std::make_unique<job::FireDrawer>(easel.filter, renderer_, fire, settings, plan.firstFrame(), goesOn);
}

void Preview::Hand::tell(const std::vector<std::shared_ptr<const Plan>> &plans) try {
  inputs_.keepOnly(plans.back()->open, over_ ? over_->open : nullptr);
  frames_.plan = nullptr;
  for (const auto &plan : plans) {
    const bool isPassed = frames_.drawer && plan != plans.back();
    if (isPassed)
      frames_.filter.edit(plan->fire().filterParameters());
    else
      prepare(frames_, plan->fire(), *plan, plan->read.drawBits);
  }
  frames_.plan = plans.back();
} catch (const std::exception &) {
  fault_ = std::current_exception();
}

Preview::Hand::Drawing Preview::Hand::draw(const std::shared_ptr<const Plan> &shown, const FrameRequest &request,
                                           int scale) {
  if (fault_) std::rethrow_exception(std::exchange(fault_, nullptr));
  const std::shared_ptr<const Plan> plan = planOver(shown, request.backdrop);
  const int width = divided(plan->info.width, scale);
  const int height = divided(plan->info.height, scale);
  const std::shared_ptr<const Image> picture = input(*plan, request.frame, width, height, !request.isSettled);
  if (request.wantsSource) {
    drawn_ = *picture;
  } else {
    if (frames_.plan != plan) {
      frames_.plan = nullptr;
      prepare(frames_, plan->fire(), *plan, plan->read.drawBits);
      frames_.plan = plan;
    }
    frames_.drawer->draw(request.frame, *picture, drawn_);
  }
  return {&drawn_, backdropOf(*plan, request.backdrop, request.frame, width, height, scale), plan->bits(),
          plan->info.pixelAspect};
}

Preview::Hand::Drawing Preview::Hand::drawLook(const Plan &plan, const project::Project &look, int width, int height) {
  const media::InputInfo &info = plan.info;
  const double wide = info.width * info.pixelAspect;
  const double share = std::min({1.0, width / wide, static_cast<double>(height) / info.height});
  const int fitWidth = std::max(1, static_cast<int>(std::lround(wide * share)));
  const int fitHeight = std::max(1, static_cast<int>(std::lround(info.height * share)));
  const bool isStill = info.kind == media::InputKind::Still;
  const std::int64_t frame = isStill ? telling : std::clamp(telling, info.firstFrame, info.lastFrame);

  host::ParameterSet parameters(plan.read.defaults.declarations());
  project::Layers layers;
  layers.preset = &look;
  const int drawBits = project::applyLayers(parameters, layers, plan.planned.clock);
  project::Scene scene = plan.read.request.scene;
  for (const project::SceneField &field : project::sceneFields())
    if (field.isLook) field.clear(scene);
  project::fillIn(scene, look.scene, true);
  // One frame is no loop, and neither the beginning nor the end of a fire.
  scene.loops = std::nullopt;
  scene.loopBlend = std::nullopt;
  double titleShare = 0.25;
  if (scene.flameScale == project::FlameScale::Title) {
    const std::lock_guard<std::mutex> lock(plan.open->mutex);
    titleShare = static_cast<double>(plan.open->sources.titleBox().height()) / info.height;
  }
  job::RenderListener silence;
  const job::Fire fire =
      job::planFire(scene, parameters, FrameRange{frame, frame}, plan.planned.clock, titleShare, silence);
  const std::shared_ptr<const Image> picture = input(plan, frame, fitWidth, fitHeight, true);
  prepare(looks_, fire, plan, drawBits);
  looks_.drawer->draw(frame, *picture, drawn_);
  return {&drawn_, Backdrop{}, 8, 1.0};
}

}  // namespace pyrelux::studio
