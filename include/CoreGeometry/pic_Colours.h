// pic_Colours.h: colours, and values as colours
#pragma once

#include <CoreGeometry/PictureExport.h>
#include <CoreGeometry/res_Field.h>
#include <span>

struct pic_Colour {
  double red = 0, green = 0, blue = 0; ///< 0 to 1, as shown
};

inline constexpr pic_Colour pic_kMissing{0.6, 0.6, 0.6};   ///< of what has no value
inline constexpr pic_Colour pic_kTooLow{0.35, 0.35, 0.35}; ///< of values below a fixed minimum
inline constexpr pic_Colour pic_kTooHigh{0.85, 0.85, 0.85};

enum class pic_ColourTable { Viridis, Inferno, Grey };
/// 256 times red, green, blue from 0 to 255.
CORE_GEOMETRY_PICTURE_API std::span<const unsigned char> pic_ColoursOf(pic_ColourTable table);

/// The colour of each value.
///
/// With t = (value - low) / (high - low), band k of n covers k / n <= t < (k + 1) / n, the last one also t = 1,
/// in the colour of the table at (k + 1/2) / n. Without bands the colours are linear between the entries of the
/// table. When low and high are one, their colour is that of the middle.
struct CORE_GEOMETRY_PICTURE_API pic_Scale {
  double low = 0, high = 1;
  res_ClampTypeEnm clamps = res_NO_CLAMPS; ///< which ends are fixed; values outside a fixed end are grey
  int bands = 12;                          ///< 0 for a smooth scale
  pic_ColourTable table = pic_ColourTable::Viridis;

  bool HasFixedLow() const noexcept { return clamps == res_MINIMUM_CLAMP || clamps == res_BOTH_CLAMPS; }
  bool HasFixedHigh() const noexcept { return clamps == res_MAXIMUM_CLAMP || clamps == res_BOTH_CLAMPS; }
  pic_Colour At(double value) const; ///< pic_kMissing when it is not a number
};
