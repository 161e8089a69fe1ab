// For instruction sets without a shuffle of bytes: samples narrow tables pixel by pixel, like the others. Such a set
// includes this file once, before KernelLoops.h.

Words sampleWide(const std::int8_t *row, const LevelColumnTable &columns, int x);
inline Words sampleNarrow(const std::int8_t *row, const LevelColumnTable &columns, int x) {
  return sampleWide(row, columns, x);
}

Floats sampleWide(const float *row, const FloatColumnTable &columns, int x);
inline Floats sampleNarrow(const float *row, const FloatColumnTable &columns, int x) {
  return sampleWide(row, columns, x);
}
