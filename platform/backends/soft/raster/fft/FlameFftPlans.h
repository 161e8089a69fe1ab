#pragma once

#include <complex>
#include <memory>

#include <fftw3.h>

namespace pyrelux::soft {

/// The smallest size of at least `atLeast` whose transforms are fast.
int fastTransformSize(int atLeast);

/// One-dimensional transforms for the rows and columns of a width x height transform. Thread: any, also several at
/// once. All arrays start at multiples of 64 bytes, as RecycledArrays do. A forward transform followed by a backward
/// one multiplies by the size.
class TransformPlans {
 public:
  using Complex = std::complex<float>;

  TransformPlans(int width, int height);
  ~TransformPlans();
  TransformPlans(const TransformPlans &) = delete;
  TransformPlans &operator=(const TransformPlans &) = delete;

  /// Transforms `width` real values to width / 2 + 1 complex ones.
  void forwardRow(float *from, Complex *to) const;
  /// Transforms back; overwrites `from`.
  void backwardRow(Complex *from, float *to) const;
  /// Transforms `height` complex values.
  void forwardColumn(Complex *from, Complex *to) const;
  void backwardColumn(Complex *from, Complex *to) const;

 private:
  fftwf_plan forwardRow_;
  fftwf_plan backwardRow_;
  fftwf_plan forwardColumn_;
  fftwf_plan backwardColumn_;
};

/// Plans of that size. Those used last are kept for later calls. Thread: any.
std::shared_ptr<const TransformPlans> transformPlans(int width, int height);

}  // namespace pyrelux::soft
