// Waveform pictures for gvtool draw: per-pixel minimum and maximum pairs
// (16-bit values, as the peak draw data give them) drawn into an RGB image
// with a centre line per band and a time axis labelled in seconds. Plain
// C++ with no Windows calls, inline so the test program builds it too.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace gvtool {

struct Rgb {
  unsigned char r, g, b;
};

// `a` moved towards `b` by `part` (0..1).
inline Rgb Blend(Rgb a, Rgb b, double part) {
  auto mix = [part](int x, int y) { return static_cast<unsigned char>(x + (y - x) * part + 0.5); };
  return Rgb{mix(a.r, b.r), mix(a.g, b.g), mix(a.b, b.b)};
}

// "RRGGBB" (a leading '#' allowed); false when it is not six hex digits.
inline bool ParseRgb(const std::string &text, Rgb *out) {
  const std::string hex = !text.empty() && text[0] == '#' ? text.substr(1) : text;
  if (hex.size() != 6 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
    return false;
  const unsigned long v = std::stoul(hex, nullptr, 16);
  *out = Rgb{static_cast<unsigned char>(v >> 16), static_cast<unsigned char>(v >> 8),
             static_cast<unsigned char>(v)};
  return true;
}

class Picture {
 public:
  Picture(int width, int height, Rgb fill)
      : width_(width), height_(height), rgb_(size_t(width) * height * 3) {
    Fill(0, 0, width, height, fill);
  }
  int width() const { return width_; }
  int height() const { return height_; }
  const unsigned char *data() const { return rgb_.data(); }
  Rgb At(int x, int y) const {
    const unsigned char *p = &rgb_[(size_t(y) * width_ + x) * 3];
    return Rgb{p[0], p[1], p[2]};
  }
  // The rectangle clipped to the picture.
  void Fill(int x, int y, int w, int h, Rgb c) {
    const int x0 = std::max(x, 0), x1 = std::min(x + w, width_);
    const int y0 = std::max(y, 0), y1 = std::min(y + h, height_);
    for (int row = y0; row < y1; ++row)
      for (int col = x0; col < x1; ++col) {
        unsigned char *p = &rgb_[(size_t(row) * width_ + col) * 3];
        p[0] = c.r, p[1] = c.g, p[2] = c.b;
      }
  }

 private:
  int width_, height_;
  std::vector<unsigned char> rgb_;
};

// A 5 x 7 font for the axis labels: digits, '.', '-' and 's'; a row per
// byte, its five low bits left to right.
constexpr int kGlyphWidth = 5, kGlyphHeight = 7;
inline const unsigned char *Glyph(char c) {
  static const unsigned char kDigits[10][7] = {
      {14, 17, 19, 21, 25, 17, 14}, {4, 12, 4, 4, 4, 4, 14},    {14, 17, 1, 2, 4, 8, 31},
      {31, 2, 4, 2, 1, 17, 14},     {2, 6, 10, 18, 31, 2, 2},   {31, 16, 30, 1, 1, 17, 14},
      {6, 8, 16, 30, 17, 17, 14},   {31, 1, 2, 4, 8, 8, 8},     {14, 17, 17, 14, 17, 17, 14},
      {14, 17, 17, 15, 1, 2, 12}};
  static const unsigned char kDot[7] = {0, 0, 0, 0, 0, 12, 12}, kMinus[7] = {0, 0, 0, 31, 0, 0, 0},
                             kS[7] = {0, 0, 14, 16, 14, 1, 30};
  if (c >= '0' && c <= '9') return kDigits[c - '0'];
  return c == '.' ? kDot : c == '-' ? kMinus : c == 's' ? kS : nullptr;
}

// Each character kGlyphWidth + 1 cells wide, a cell `scale` pixels square.
inline int TextWidth(const std::string &text, int scale) {
  return text.empty() ? 0 : (int(text.size()) * (kGlyphWidth + 1) - 1) * scale;
}

inline void DrawText(Picture &pic, int x, int y, const std::string &text, int scale, Rgb c) {
  for (char ch : text) {
    if (const unsigned char *g = Glyph(ch))
      for (int row = 0; row < kGlyphHeight; ++row)
        for (int col = 0; col < kGlyphWidth; ++col)
          if (g[row] & (16 >> col)) pic.Fill(x + col * scale, y + row * scale, scale, scale, c);
    x += (kGlyphWidth + 1) * scale;
  }
}

// A band: `height` rows from `top`, made odd so that 0 has a row of its own
// and +v and -v lie the same distance above and below it; full scale
// (32767 and -32767, -32768 taken as -32767) reaches the first and last rows.
struct Band {
  int top, height;
  int Centre() const { return top + (height - 1) / 2; }
  int Row(int v) const {
    const int half = (height - 1) / 2, a = std::min(v < 0 ? -v : v, 32767);
    const int offset = (a * half + 16383) / 32767;
    return Centre() - (v < 0 ? -offset : offset);
  }
};

struct WaveformView {
  int width = 1800, height = 280;
  int channels = 1;  // in the draw data: 1 or 2
  int columns = 0;   // leading pixel columns that hold data; the rest are past the end
  bool split = false;
  double startSeconds = 0, endSeconds = 0;  // the time axis
  Rgb background{255, 255, 255}, waveform{31, 95, 191};
};

// Rows of the time axis under the bands for a picture of `height` pixels:
// a line, ticks and labels.
inline int AxisScale(int height) { return height >= 160 ? 2 : 1; }
inline int AxisHeight(int height) { return 6 + (kGlyphHeight + 1) * AxisScale(height); }

// The band of channel `index` (0 or 1).
inline Band BandOf(const WaveformView &v, int index) {
  const int area = v.height - AxisHeight(v.height);
  const int bands = v.split ? v.channels : 1;
  const int each = area / bands;
  return Band{each * (v.split ? index : 0), each - (each % 2 == 0)};
}

// A tick every 1, 2 or 5 times a power of ten seconds, labels at least
// ~12 characters apart.
inline void DrawTimeAxis(Picture &pic, const WaveformView &v, Rgb colour) {
  const int scale = AxisScale(v.height), top = v.height - AxisHeight(v.height);
  pic.Fill(0, top, v.width, 1, colour);
  const double span = v.endSeconds - v.startSeconds;
  if (span <= 0) return;
  const double wanted = span * 12 * (kGlyphWidth + 1) * scale / v.width;
  double step = std::pow(10.0, std::floor(std::log10(wanted)));
  for (double m : {1.0, 2.0, 5.0, 10.0})
    if (m * step >= wanted) {
      step *= m;
      break;
    }
  const int decimals = step >= 1 ? 0 : int(std::ceil(-std::log10(step) - 1e-9));
  int freeFrom = 0;  // the first column a label may use
  for (long long k = (long long)std::ceil(v.startSeconds / step - 1e-9);
       k * step <= v.endSeconds + step * 1e-9; ++k) {
    const double t = k * step;
    const int x = std::min(int((t - v.startSeconds) / span * v.width), v.width - 1);
    pic.Fill(x, top + 1, 1, 2 + scale, colour);
    char label[32];
    std::snprintf(label, sizeof label, "%.*fs", decimals, k == 0 ? 0.0 : t);
    const int w = TextWidth(label, scale);
    const int at = std::max(0, std::min(x - w / 2, v.width - w));
    if (at < freeFrom) continue;
    DrawText(pic, at, top + 4 + scale, label, scale, colour);
    freeFrom = at + w + 3 * scale;
  }
}

// Draws `data`: per pixel column, min and max of channel 1, then (two
// channels) of channel 2. Without `split` both channels share one band.
inline Picture DrawWaveform(const WaveformView &v, const short *data) {
  Picture pic(v.width, v.height, v.background);
  const Rgb centreLine = Blend(v.background, v.waveform, 0.35);
  const bool dark = v.background.r * 3 + v.background.g * 6 + v.background.b < 1280;
  const Rgb axis = Blend(v.background, dark ? Rgb{255, 255, 255} : Rgb{0, 0, 0}, 0.6);
  for (int ch = 0; ch < (v.split ? v.channels : 1); ++ch)
    pic.Fill(0, BandOf(v, ch).Centre(), v.width, 1, centreLine);
  const int columns = std::max(0, std::min(v.columns, v.width));
  for (int ch = 0; ch < v.channels; ++ch) {
    // Rows of each column's maximum (top) and minimum (bottom).
    const Band band = BandOf(v, ch);
    std::vector<int> top(columns), bottom(columns);
    for (int x = 0; x < columns; ++x) {
      const short *mm = data + (size_t(x) * v.channels + ch) * 2;
      top[x] = band.Row(std::max(mm[0], mm[1]));
      bottom[x] = band.Row(std::min(mm[0], mm[1]));
    }
    // Columns that do not touch are joined half way from each side, so a
    // close view is a line and not scattered dashes; a column's own extent
    // is always filled.
    for (int x = 0; x < columns; ++x) {
      int y0 = top[x], y1 = bottom[x];
      for (int n : {x - 1, x + 1}) {
        if (n < 0 || n >= columns) continue;
        if (bottom[n] < top[x]) y0 = std::min(y0, (bottom[n] + top[x] + 1) / 2);
        if (top[n] > bottom[x]) y1 = std::max(y1, (bottom[x] + top[n]) / 2);
      }
      pic.Fill(x, y0, 1, y1 - y0 + 1, v.waveform);
    }
  }
  DrawTimeAxis(pic, v, axis);
  return pic;
}

// Writes the picture as a PNG file under a temporary name in the target's
// folder and renames it over `path` when complete; false after a one-line
// error. (waveform.cpp: the tool only.)
bool WritePng(const std::string &path, const Picture &pic);

}  // namespace gvtool
