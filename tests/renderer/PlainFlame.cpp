#include "PlainFlame.h"

#include <cmath>

namespace pyrelux::test {

namespace {

constexpr double circle = 3.141592653589793;

double wave(double x, double octaves, double lo, double hi) {
  double sum = 0;
  double k = 2.0;
  while (k <= octaves) {
    const double w = 1 / (4 + k);
    const double inner = (x + k) / 3 + x / 10;
    const double arg = (k + 4) * (x / 7) + (2 * k) * std::cos(inner);
    sum = sum + w * std::sin(arg);
    k = k + 1;
  }
  return (sum / 2 + 0.5) * (hi - lo) + lo;
}

class Draws {
 public:
  explicit Draws(std::uint64_t seed) : state_(seed == 0 ? 123459876 : seed) {}
  double between(double lo, double hi) {
    state_ = (state_ * 16807) % 2147483647;
    const double u = static_cast<double>(state_ % 71539) / 71539.0;
    return u * (hi - lo) + lo;
  }

 private:
  std::uint64_t state_;
};

double bent(double u) {
  const double b = 0.5;
  const double e1 = 0.1736000031232834 / (std::pow(b, 2.8) + 0.029999999329447746);
  const double a = 1 - std::pow(1 - u, e1);
  const double e2 = std::pow(b, 2.5399999618530273) * 5 + 0.14000000059604645;
  const double c = std::pow(u, e2);
  return (a + c) / 2;
}

void addStop(double (&sum)[3], double p, int curve, const Colour &colour, double gain) {
  double u = (p - 0.0) / (1.0 - 0.0);
  double shape = 0;
  if (0 <= u && u <= 1) {
    u = bent(u);
    if (curve == 8) shape = 0.5 + std::cos(u * circle) / 2;
    if (curve == 12) shape = 0.5 - std::cos((u * 2) * circle) / 2;
    if (curve == 4) shape = 0.5 - std::cos(u * circle) / 2;
  }
  sum[0] = sum[0] + (colour.red * shape) * gain;
  sum[1] = sum[1] + (colour.green * shape) * gain;
  sum[2] = sum[2] + (colour.blue * shape) * gain;
}

void turn(double &x, double &y, double degrees, double cx, double cy, double aspect) {
  const double a = (-degrees) / 180 * circle;
  const double dx = x - cx;
  const double dy = (y - cy) / aspect;
  const double nx = dx * std::cos(a) - dy * std::sin(a);
  const double ny = dx * std::sin(a) + dy * std::cos(a);
  x = nx + cx;
  y = ny * aspect + cy;
}

void drawCopy(const Snapshot &s, const FrameGeometry &g, const PlainFlame::OneTongue &tongue,
              const PlainFlame::Copy &copy, std::vector<float> &out) {
  const auto narrow = [&out](double value) { out.push_back(static_cast<float>(value)); };

  const double glowRoot = (s.glow + 9.5) * 0.028200790286064148;
  const double glowFactor = 1 / (glowRoot * glowRoot) + 0.8999999761581421;
  const float single = 1.0f / static_cast<float>(tongue.copies.size());
  const double share = single;
  const double tongueAlpha = (share / s.tongues) * glowFactor + 0.00390625;

  double tint[3] = {0, 0, 0};
  addStop(tint, copy.stepPos, 8, s.inner, 1.0099999904632568);
  addStop(tint, copy.stepPos, 12, s.centre, 1.0329999923706055);
  addStop(tint, copy.stepPos, 4, s.outer, 1.0089999437332153);
  const double intensity = copy.stepWeight / (((s.glow * tongue.weightSum) / 100) * s.tongues);
  narrow(intensity * tint[0]);
  narrow(intensity * tint[1]);
  narrow(intensity * tint[2]);
  narrow(tongueAlpha);

  const double ox = copy.stepOffsetX;
  const double oy = copy.stepOffsetY;
  const double texture[4][2] = {{1 - s.cropRight, 1 - s.cropTop},
                                {1 - s.cropRight, 0 + s.cropBottom},
                                {0 + s.cropLeft, 0 + s.cropBottom},
                                {0 + s.cropLeft, 1 - s.cropTop}};
  const double corner[4][2] = {{(1 + ox) - s.cropRight, (1 + oy) - s.cropTop},
                               {(1 + ox) - s.cropRight, (0 + oy) + s.cropBottom},
                               {(0 + ox) + s.cropLeft, (0 + oy) + s.cropBottom},
                               {(0 + ox) + s.cropLeft, (1 + oy) - s.cropTop}};
  for (int k = 0; k < 4; ++k) {
    double x = (corner[k][0] - s.point.x) * copy.stepScale + s.point.x;
    double y = (corner[k][1] - s.point.y) * copy.stepScale + s.point.y;
    turn(x, y, 0.0, s.point.x, s.point.y, g.aspect);
    narrow(texture[k][0] * g.inW);
    narrow(texture[k][1] * g.inH);
    narrow(x * g.outW);
    narrow(y * g.outH);
  }
}

}  // namespace

PlainFlame plainFlame(const Snapshot &s, const FrameGeometry &geometry, double time, Phases &phases) {
  PlainFlame flame;
  phases.wiggle = phases.wiggle + (time - phases.oldFrame) * s.wiggleTurbulence;
  for (double i = 0; i < s.tongues; i = i + 1.0) {
    Draws draws(static_cast<std::uint64_t>(i));
    const double tongueTurbulence = draws.between(0.2, 4.0);
    const double tongueSpeed = draws.between(0.25, 1.0);
    const double drawn = draws.between(-s.spread, s.spread);
    const double tongueSpread = drawn * wave(time / 50, 30, 0.5, 2.0);
    if (i == 0) {
      phases.turbulence = phases.turbulence + (time - phases.oldFrame) * tongueSpeed * s.turbSpeed;
      phases.oldFrame = time;
    }

    PlainFlame::OneTongue tongue{0.0, {}};
    for (double j = 0; j <= s.steps; j = j + 1.0) {
      PlainFlame::Copy copy;
      const double t = 1 - j / s.steps;
      copy.stepPos = t;
      copy.stepWeight = s.weight >= 0 ? t + (1 - s.weight / 100) * (1 - t) : (s.weight / 100) * t + 1;
      tongue.weightSum = tongue.weightSum + copy.stepWeight;
      copy.stepScale = t * s.attract / 100 + 1;
      const double n1 = wave(t * (0.5 - s.turbWavelength) * 10 - phases.turbulence, 20, -3.0, 3.0);
      const double distance = t * s.length * (1 - s.turbAmount / 4) * (1 + s.turbAmount * tongueTurbulence * n1);
      const double r = draws.between(t, t);
      const double n2 = wave(phases.wiggle + (i * 300 - t * 20) * s.wiggleTurbulence, 10, -t, t);
      const double g = i == 0 ? 0 : 1;
      const double angle = s.direction + tongueSpread * r * g + n2 * s.wiggleAmount;
      copy.stepOffsetX = std::sin(angle) * distance;
      copy.stepOffsetY = std::cos(angle) * distance;
      tongue.copies.push_back(copy);
    }
    for (const PlainFlame::Copy &copy : tongue.copies)
      if (!(copy.stepWeight <= 0)) drawCopy(s, geometry, tongue, copy, flame.arguments);
    flame.tongues.push_back(tongue);
  }
  return flame;
}

}  // namespace pyrelux::test
