#include <CoreGeometry/pic_Canvas.h>

#include "pic_PngFile.h"

#include <BasicUtils/wip_Executor.h>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {
pic_Vector Normalised(const pic_Vector& v) {
  const double length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  return length > 0 ? pic_Vector{v[0] / length, v[1] / length, v[2] / length} : pic_Vector{0, 0, 1};
}

double Dot(const pic_Vector& a, const pic_Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

float Light(double value) {
  const double inside = std::clamp(value, 0.0, 1.0);
  return static_cast<float>(inside * inside);
}
} // namespace

pic_Canvas::pic_Canvas(int width, int height, const pic_Colour& below, const pic_Colour& above)
    : width_(width), height_(height) {
  constexpr long long kManyPixels = 3'000'000;
  perPixel_ = static_cast<long long>(width) * height > kManyPixels ? 2 : 3;
  const auto columns = static_cast<std::size_t>(width_) * static_cast<std::size_t>(perPixel_),
             rows = static_cast<std::size_t>(height_) * static_cast<std::size_t>(perPixel_);
  samples_ = std::make_unique_for_overwrite<Sample[]>(columns * rows);
  constexpr std::size_t kRows = 64;
  const auto fill = [&](std::size_t piece) {
    for (std::size_t y = piece * kRows; y < std::min(rows, (piece + 1) * kRows); ++y) {
      const double up = static_cast<double>(y) / static_cast<double>(rows);
      const auto mix = [&](double a, double b) { return Light(a + (b - a) * up); };
      std::fill_n(
          &samples_[y * columns], columns,
          Sample{-std::numeric_limits<float>::infinity(),
                 {mix(below.red, above.red), mix(below.green, above.green), mix(below.blue, above.blue)}});
    }
  };
  wip_RunAllPieces((rows + kRows - 1) / kRows, std::ref(fill));
}

/// A range of rows of samples.
class pic_Canvas::Band {
public:
  Band(pic_Canvas& canvas, long long firstRow, long long endRow, wip_Poll& poll)
      : canvas_(canvas), firstRow_(firstRow), endRow_(endRow), poll_(poll) {}

  void Draw(const Flat& flat) {
    Cover(flat.corners, [&](double depth, const pic_Vector& normal, double, double, double) {
      return Shaded(depth, normal, flat.colour);
    });
  }

  void Draw(const Valued& valued) {
    const auto& values = valued.values;
    const double least = std::min({values[0], values[1], values[2]}),
                 most = std::max({values[0], values[1], values[2]});
    Cover(valued.corners, [&](double depth, const pic_Vector& normal, double wa, double wb, double wc) {
      // rounding never leaves the range
      const double value = std::clamp(wa * values[0] + wb * values[1] + wc * values[2], least, most);
      const double shade = 0.7 + 0.3 * std::abs(Normalised(normal)[2]);
      const pic_Colour colour = valued.scale.At(value);
      return Sample{static_cast<float>(depth),
                    {Light(shade * colour.red), Light(shade * colour.green), Light(shade * colour.blue)}};
    });
  }

  void Draw(const Straight& line) {
    const pic_Vector &from = line.from, &to = line.to;
    const double half = line.width / 2, dx = to[0] - from[0], dy = to[1] - from[1];
    const double square = dx * dx + dy * dy;
    const std::array<float, 3> light{Light(line.colour.red), Light(line.colour.green),
                                     Light(line.colour.blue)};
    const auto paint = [&](Sample& sample, double x, double y) {
      const double along =
          square > 0 ? std::clamp(((x - from[0]) * dx + (y - from[1]) * dy) / square, 0.0, 1.0) : 0.0;
      const double offX = x - from[0] - along * dx, offY = y - from[1] - along * dy;
      if (offX * offX + offY * offY > half * half) return;
      const double depth = from[2] + along * (to[2] - from[2]);
      if (depth + line.lift < static_cast<double>(sample.depth)) return;
      sample = {std::max(sample.depth, static_cast<float>(depth)), light};
    };
    // piece by piece, so that the boxes around slanting lines are small
    const int pieces = 1 + static_cast<int>(std::min(4096.0, std::sqrt(square) / 16));
    for (int i = 0; i < pieces; ++i) {
      const double s = static_cast<double>(i) / pieces, t = static_cast<double>(i + 1) / pieces;
      const auto [lowX, highX] = std::minmax({from[0] + s * dx, from[0] + t * dx});
      const auto [lowY, highY] = std::minmax({from[1] + s * dy, from[1] + t * dy});
      Fill(lowX - half, highX + half, lowY - half, highY + half, paint);
    }
  }

private:
  /// A light over the viewer's left shoulder, some from everywhere, and a weak gloss.
  static Sample Shaded(double depth, const pic_Vector& normal, const pic_Colour& colour) {
    static const pic_Vector kToLight = Normalised({-0.45, 0.65, 0.9});
    static const pic_Vector kHalfway = Normalised({kToLight[0], kToLight[1], kToLight[2] + 1});
    pic_Vector facing = Normalised(normal);
    if (facing[2] < 0) facing = {-facing[0], -facing[1], -facing[2]};
    const double diffuse = std::max(0.0, Dot(facing, kToLight));
    double gloss = std::max(0.0, Dot(facing, kHalfway));
    for (int i = 0; i < 5; ++i) gloss *= gloss; // to the power of 32
    const double shade = 0.60 + 0.10 * facing[2] + 0.40 * diffuse;
    const auto lit = [&](double part) { return Light(part * shade + 0.08 * gloss); };
    return {static_cast<float>(depth), {lit(colour.red), lit(colour.green), lit(colour.blue)}};
  }

  /// Calls paint(sample, x, y) for the middle of every sample in a box.
  template<class Paint> void Fill(double lowX, double highX, double lowY, double highY, Paint&& paint) {
    const int perPixel = canvas_.perPixel_;
    const long long columns = static_cast<long long>(canvas_.width_) * perPixel;
    const auto first = [&](double low) { return std::max(0.0, std::ceil(low * perPixel - 0.5)); };
    const auto last = [&](double high, long long most) {
      return static_cast<long long>(
          std::min(static_cast<double>(most - 1), std::floor(high * perPixel - 0.5)));
    };
    const long long endX = last(highX, columns), endY = last(highY, endRow_);
    const auto startX = static_cast<long long>(first(lowX));
    for (auto y = std::max(firstRow_, static_cast<long long>(first(lowY))); y <= endY; ++y) {
      poll_.Advance(4 + static_cast<std::size_t>(std::max(0LL, endX - startX)));
      for (auto x = startX; x <= endX; ++x)
        paint(canvas_.samples_[static_cast<std::size_t>(y * columns + x)],
              (static_cast<double>(x) + 0.5) / perPixel, (static_cast<double>(y) + 0.5) / perPixel);
    }
  }

  /// Sets what is nearer than before to sampleOf(depth, normal, wa, wb, wc), with the parts of the three corners.
  template<class SampleOf> void Cover(const std::array<Corner, 3>& corners, SampleOf&& sampleOf) {
    const auto &a = corners[0].at, &b = corners[1].at, &c = corners[2].at;
    const double area = (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
    if (area == 0) return;
    const auto [lowX, highX] = std::minmax({a[0], b[0], c[0]});
    const auto [lowY, highY] = std::minmax({a[1], b[1], c[1]});
    Fill(lowX, highX, lowY, highY, [&](Sample& sample, double x, double y) {
      const double wb = ((x - a[0]) * (c[1] - a[1]) - (y - a[1]) * (c[0] - a[0])) / area;
      const double wc = ((b[0] - a[0]) * (y - a[1]) - (b[1] - a[1]) * (x - a[0])) / area;
      const double wa = 1 - wb - wc;
      if (wa < 0 || wb < 0 || wc < 0) return;
      const double depth = wa * a[2] + wb * b[2] + wc * c[2];
      if (static_cast<float>(depth) <= sample.depth) return;
      pic_Vector normal;
      for (std::size_t axis = 0; axis < 3; ++axis)
        normal[axis] =
            wa * corners[0].normal[axis] + wb * corners[1].normal[axis] + wc * corners[2].normal[axis];
      sample = sampleOf(depth, normal, wa, wb, wc);
    });
  }

  pic_Canvas& canvas_;
  long long firstRow_, endRow_;
  wip_Poll& poll_;
};

template<class Shape> void pic_Canvas::Draw(const Shape& shape) {
  constexpr std::size_t kTogether = 4096;
  if (!areTogether_) {
    Band(*this, 0, static_cast<long long>(height_) * perPixel_, poll_).Draw(shape);
    return;
  }
  waiting_.push_back(shape);
  if (waiting_.size() == kTogether) DrawWaiting();
}

/// Each row is drawn by one thread, which takes the shapes in their order.
void pic_Canvas::DrawWaiting() {
  constexpr long long kRows = 64;
  const long long rows = static_cast<long long>(height_) * perPixel_;
  if (waiting_.empty()) return;
  wip_RunPieces(static_cast<std::size_t>((rows + kRows - 1) / kRows), [&](std::size_t piece) {
    wip_Poll poll(std::size_t{1} << 17);
    const long long first = static_cast<long long>(piece) * kRows;
    Band band(*this, first, std::min(first + kRows, rows), poll);
    for (const auto& one : waiting_) std::visit([&](const auto& shape) { band.Draw(shape); }, one);
  });
  waiting_.clear();
}

void pic_Canvas::EndTogether() {
  DrawWaiting();
  areTogether_ = false;
}

void pic_Canvas::Triangle(const std::array<Corner, 3>& corners, const pic_Colour& colour) {
  Draw(Flat{corners, colour});
}

void pic_Canvas::Triangle(const std::array<Corner, 3>& corners, const std::array<double, 3>& values,
                          const pic_Scale& scale) {
  Draw(Valued{corners, values, scale});
}

void pic_Canvas::Line(const pic_Vector& from, const pic_Vector& to, double width, const pic_Colour& colour,
                      double lift) {
  Draw(Straight{from, to, width, colour, lift});
}

std::vector<unsigned char> pic_Canvas::Pixels() const {
  const auto numChannels = static_cast<std::size_t>(isTransparent_ ? 4 : 3),
             rowBytes = numChannels * static_cast<std::size_t>(width_);
  std::vector<unsigned char> pixels(rowBytes * static_cast<std::size_t>(height_));
  const auto n = static_cast<std::size_t>(perPixel_), columns = static_cast<std::size_t>(width_) * n;
  const auto byte = [](double shown) { return static_cast<unsigned char>(std::lround(shown * 255)); };
  constexpr std::size_t kRows = 16;
  wip_RunPieces((static_cast<std::size_t>(height_) + kRows - 1) / kRows, [&](std::size_t piece) {
    for (std::size_t row = piece * kRows, end = std::min(row + kRows, static_cast<std::size_t>(height_));
         row < end; ++row) {
      unsigned char* at = &pixels[row * rowBytes];
      const std::size_t y = static_cast<std::size_t>(height_) - 1 - row;
      for (std::size_t x = 0; x < static_cast<std::size_t>(width_); ++x) {
        std::array<double, 3> sum{};
        std::size_t count = 0;
        for (std::size_t k = 0; k < n * n; ++k) {
          const Sample& sample = samples_[(y * n + k / n) * columns + x * n + k % n];
          if (isTransparent_ && std::isinf(sample.depth) && sample.depth < 0) continue;
          ++count;
          for (std::size_t channel = 0; channel < 3; ++channel)
            sum[channel] += static_cast<double>(sample.light[channel]);
        }
        for (const double light : sum)
          *at++ = byte(count > 0 ? std::sqrt(light / static_cast<double>(count)) : 0);
        if (isTransparent_) *at++ = byte(static_cast<double>(count) / static_cast<double>(n * n));
      }
    }
  });
  return pixels;
}

void pic_Canvas::WritePng(uti_OutputFile& output) const {
  const std::vector<unsigned char> pixels = Pixels();
  pic_PngFile file(output, width_, height_, isTransparent_);
  file.WritePicture(pixels);
  file.End();
  output.Commit();
}
