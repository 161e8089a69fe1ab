#pragma once

#include <complex>
#include <memory>

#include <fftw3.h>

namespace pyrelux::soft {

/// The smallest size that is not below `atLeast` and whose transforms are fast.
int fastTransformSize(int atLeast);

/// One-dimensional transforms for the rows and columns of a width x height transform. May be used by several threads at
/// once. All arrays are RecycledArrays or start at multiples of 64 bytes in one; a forward transform followed by a
/// backward one multiplies by the size.
class TransformPlans {
 public:
  using Complex = std::complex<float>;

  TransformPlans(int width, int height);
  ~TransformPlans();
  TransformPlans(const TransformPlans &) = delete;
  TransformPlans &operator=(const TransformPlans &) = delete;

  /// width values to width / 2 + 1.
  void forwardRow(float *from, Complex *to) const;
  /// And back; `from` is overwritten.
  void backwardRow(Complex *from, float *to) const;
  void forwardColumn(Complex *from, Complex *to) const;
  void backwardColumn(Complex *from, Complex *to) const;

 private:
  fftwf_plan forwardRow_;
  fftwf_plan backwardRow_;
  fftwf_plan forwardColumn_;
  fftwf_plan backwardColumn_;
};

/// Plans of that size, kept for the next call. Only the sizes used last are kept.
std::shared_ptr<const TransformPlans> transformPlans(int width, int height);

}  // namespace pyrelux::soft
