#include "FlameFftPlans.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "RecycledArray.h"

namespace pyrelux::soft {

namespace {

/// Held while FFTW plans, because only its transforms are thread safe.
std::mutex plannerMutex;

/// Enough for a few pictures that are drawn in turn, each at a size or two.
constexpr std::size_t maxPlansKept = 8;

fftwf_complex *plain(TransformPlans::Complex *values) { return reinterpret_cast<fftwf_complex *>(values); }

bool isSmooth(int size) {
  for (const int prime : {2, 3, 5, 7})
    while (size % prime == 0) size /= prime;
  return size == 1;
}

struct KeptPlans {
  int width;
  int height;
  std::shared_ptr<const TransformPlans> plans;
};

}  // namespace

int fastTransformSize(int atLeast) {
  // FFTW has no vector code for odd sizes; with few factors of 2 a transform takes up to three times as long.
  constexpr int unit = 16;
  int units = std::max(1, (atLeast + unit - 1) / unit);
  while (!isSmooth(units)) ++units;
  return units * unit;
}

TransformPlans::TransformPlans(int width, int height) {
  RecycledArray<float> row(static_cast<std::size_t>(width));
  const auto maxLength = static_cast<std::size_t>(std::max(width / 2 + 1, height));
  RecycledArray<Complex> from(maxLength), to(maxLength);
  const std::lock_guard<std::mutex> lock(plannerMutex);
  // FFTW_ESTIMATE, because measuring takes longer than a faster plan saves in many films.
  forwardRow_ = fftwf_plan_dft_r2c_1d(width, row.data(), plain(to.data()), FFTW_ESTIMATE);
  backwardRow_ = fftwf_plan_dft_c2r_1d(width, plain(from.data()), row.data(), FFTW_ESTIMATE | FFTW_DESTROY_INPUT);
  forwardColumn_ = fftwf_plan_dft_1d(height, plain(from.data()), plain(to.data()), FFTW_FORWARD, FFTW_ESTIMATE);
  backwardColumn_ = fftwf_plan_dft_1d(height, plain(from.data()), plain(to.data()), FFTW_BACKWARD, FFTW_ESTIMATE);
}

TransformPlans::~TransformPlans() {
  const std::lock_guard<std::mutex> lock(plannerMutex);
  for (const fftwf_plan plan : {forwardRow_, backwardRow_, forwardColumn_, backwardColumn_}) fftwf_destroy_plan(plan);
}

void TransformPlans::forwardRow(float *from, Complex *to) const { fftwf_execute_dft_r2c(forwardRow_, from, plain(to)); }

void TransformPlans::backwardRow(Complex *from, float *to) const {
  fftwf_execute_dft_c2r(backwardRow_, plain(from), to);
}

void TransformPlans::forwardColumn(Complex *from, Complex *to) const {
  fftwf_execute_dft(forwardColumn_, plain(from), plain(to));
}

void TransformPlans::backwardColumn(Complex *from, Complex *to) const {
  fftwf_execute_dft(backwardColumn_, plain(from), plain(to));
}

std::shared_ptr<const TransformPlans> transformPlans(int width, int height) {
  static std::mutex mutex;
  static std::vector<KeptPlans> kept;  // ordered by last use
  const std::lock_guard<std::mutex> lock(mutex);
  const auto found = std::find_if(
      kept.begin(), kept.end(), [&](const KeptPlans &entry) { return entry.width == width && entry.height == height; });
  if (found != kept.end()) {
    std::rotate(found, found + 1, kept.end());
  } else {
    if (kept.size() == maxPlansKept) kept.erase(kept.begin());
    kept.push_back({width, height, std::make_shared<const TransformPlans>(width, height)});
  }
  return kept.back().plans;
}

}  // namespace pyrelux::soft
