// The filter that GvIIR_ coefficients describe: two passes of one two-pole
// section, each pass forming its output by the routine's shape.
#include <cmath>
#include <complex>
#include <cstring>

#include "audio/iir.h"

namespace gv::audio::iir {
namespace {

constexpr double kTwoPi = 6.283185307179586;

// What the shape adds to c6 * u: the weight of the section's output s and
// of u itself in c7's term, so y = c6 u + c7 (du * u + ds * s).
struct Mix {
  double du, ds;
  bool band;  // the section is fed u[n] - u[n-2]
};

Mix MixOf(const tGVIIRCOEFFS &k, Shape shape) {
  const double *c = k.c;
  switch (shape) {
    case Shape::LowShelfCut: return {1.0, -1.0, false};
    case Shape::LowShelfBoost: return {0.0, 1.0, false};
    case Shape::HiShelfBoost: return {c[5], -c[5] * (1.0 - c[2] + c[3]), false};
    case Shape::HiShelfCut: return {c[5], -c[5], false};
    case Shape::Band: return {0.0, 1.0, true};
  }
  return {0.0, 0.0, false};
}

// One sample through both passes; h: per pass s[n-1], s[n-2], u[n-1], u[n-2].
inline double Step(const double *c, const Mix &mix, double (&p)[2][4], double u) {
  for (auto &h : p) {
    const double v = mix.band ? u - h[3] : u;
    const double s = c[4] * v + c[2] * h[0] - c[3] * h[1];
    h[1] = h[0], h[0] = s, h[3] = h[2], h[2] = u;
    u = c[6] * u + c[7] * (mix.du * u + mix.ds * s);
  }
  return u;
}

}  // namespace

void Run(const tGVIIRCOEFFS &coeffs, Shape shape, float *samples, int channels, long frames,
         std::vector<ChannelState> &state) {
  if (channels < 1 || frames < 1 || !samples) return;
  if (state.size() < size_t(channels)) state.resize(size_t(channels));
  const double *c = coeffs.c;
  const Mix mix = MixOf(coeffs, shape);
  int ch = 0;
  // Two channels side by side: each sample waits on the one before it, so
  // a second, independent channel keeps the processor busy meanwhile.
  for (; ch + 1 < channels; ch += 2) {
    double a[2][4], b[2][4];
    std::memcpy(a, state[size_t(ch)].pass, sizeof a);
    std::memcpy(b, state[size_t(ch) + 1].pass, sizeof b);
    float *x = samples + ch;
    for (long n = 0; n < frames; ++n, x += channels) {
      const double ua = Step(c, mix, a, x[0]), ub = Step(c, mix, b, x[1]);
      x[0] = float(ua), x[1] = float(ub);
    }
    std::memcpy(state[size_t(ch)].pass, a, sizeof a);
    std::memcpy(state[size_t(ch) + 1].pass, b, sizeof b);
  }
  if (ch < channels) {
    double(&p)[2][4] = state[size_t(ch)].pass;
    float *x = samples + ch;
    for (long n = 0; n < frames; ++n, x += channels) *x = float(Step(c, mix, p, *x));
  }
}

double Magnitude(const tGVIIRCOEFFS &coeffs, Shape shape, double x) {
  const double *c = coeffs.c;
  const Mix mix = MixOf(coeffs, shape);
  const std::complex<double> z1 = std::polar(1.0, -kTwoPi * x), z2 = z1 * z1;
  const std::complex<double> v = mix.band ? 1.0 - z2 : 1.0;
  const std::complex<double> s = c[4] * v / (1.0 - c[2] * z1 + c[3] * z2);
  const std::complex<double> pass = c[6] + c[7] * (mix.du + mix.ds * s);
  return std::norm(pass);  // |pass|^2: the two passes in series
}

}  // namespace gv::audio::iir
