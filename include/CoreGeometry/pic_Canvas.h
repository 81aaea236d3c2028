// pic_Canvas.h: a picture with depth
#pragma once

#include <BasicUtils/uti_OutputFile.h>
#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/pic_Colours.h>
#include <array>
#include <memory>
#include <variant>
#include <vector>

using pic_Vector = std::array<double, 3>;

/// Triangles and lines hidden by what is nearer to the viewer.
///
/// Errors     wip_Cancelled when the host wants the work to stop; no file is left then.
/// Units      pixels: x to the right, y up from the lower left corner, z towards the viewer.
/// Cost       several samples a pixel, 16 bytes each. Same bytes for the same calls: only the four operations
///            and square roots of doubles.
class CORE_GEOMETRY_PICTURE_API pic_Canvas {
public:
  /// A canvas whose colour goes from one at the bottom to one at the top.
  pic_Canvas(int width, int height, const pic_Colour& below, const pic_Colour& above);
  /// What nothing is drawn on stays transparent in the file.
  void SetTransparent(bool isTransparent) noexcept { isTransparent_ = isTransparent; }

  struct Corner {
    pic_Vector at, normal; ///< the normal may point away from the viewer, of any length
  };
  void Triangle(const std::array<Corner, 3>& corners, const pic_Colour& colour);
  /// Values that are linear between the corners. The light is weak, from the viewer: what faces him has the very
  /// colour of the scale.
  void Triangle(const std::array<Corner, 3>& corners, const std::array<double, 3>& values,
                const pic_Scale& scale);
  /// Seen where nothing is nearer by more than `lift`.
  void Line(const pic_Vector& from, const pic_Vector& to, double width, const pic_Colour& colour,
            double lift);

  /// From now on shapes are collected and drawn many together, on lent threads in rows of their own. The pixels
  /// are the same. Without lent threads nothing changes.
  void BeginTogether() noexcept { areTogether_ = wip_NumThreads() > 1; }
  void EndTogether(); ///< draws what waits; to be called before the canvas is used

  std::vector<unsigned char>
  Pixels() const; ///< red, green, blue, and opacity if transparent; rows from above
  void WritePng(uti_OutputFile& output) const; ///< and commits it
  int Width() const noexcept { return width_; }
  int Height() const noexcept { return height_; }
  bool IsTransparent() const noexcept { return isTransparent_; }

private:
  struct Sample {
    float depth;                ///< minus infinity where nothing is drawn
    std::array<float, 3> light; ///< squares of the colour: about what adds up in the eye
  };
  struct Flat {
    std::array<Corner, 3> corners;
    pic_Colour colour;
  };
  struct Valued {
    std::array<Corner, 3> corners;
    std::array<double, 3> values;
    pic_Scale scale;
  };
  struct Straight {
    pic_Vector from, to;
    double width;
    pic_Colour colour;
    double lift;
  };
  /// Rows of samples, in which one thread draws.
  class Band;

  template<class Shape> void Draw(const Shape& shape);
  void DrawWaiting();

  int width_, height_, perPixel_;
  bool isTransparent_ = false, areTogether_ = false;
  wip_Poll poll_{1U << 17U}; ///< of samples
  std::vector<std::variant<Flat, Valued, Straight>> waiting_;
  std::unique_ptr<Sample[]> samples_; ///< row by row, from below
};
