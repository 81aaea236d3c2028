#include "pic_Text.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr double kFront = 1e30, kCapital = 6, kAdvance = 6; // in units of the grid

/// Strokes of the characters from ! to ~ on a grid: points as two digits, x from 0 to 4 and y from 0 to 8 with
/// the base line at 2, joined by lines; a blank lifts the pen.
constexpr std::string_view kGlyphs[] = {"2824 2322",
                                        "1816 3836",
                                        "1812 3832 0646 0444",
                                        "473818070615354443321203 2822",
                                        "4802 0818170708 3343423233",
                                        "420607182827040312223344",
                                        "2826",
                                        "38272332",
                                        "18272312",
                                        "2723 0644 4604",
                                        "2723 0545",
                                        "232110",
                                        "1535",
                                        "2322",
                                        "0248",
                                        "180703123243473818",
                                        "172822 1232",
                                        "07183847460242",
                                        "0718384746354443321203 1535",
                                        "32380444",
                                        "480805354443321203",
                                        "473818070312324344351504",
                                        "084812",
                                        "180706153546473818 1504031232434435",
                                        "463515060718384743321203",
                                        "2625 2322",
                                        "2625 232110",
                                        "470543",
                                        "0646 0444",
                                        "074503",
                                        "07183847462524 2322",
                                        "433212030718384744342636",
                                        "022842 1434",
                                        "02083847463505 3544433202",
                                        "4738180703123243",
                                        "02082846442202",
                                        "48080242 0535",
                                        "480802 0535",
                                        "47381807031232434525",
                                        "0802 4842 0545",
                                        "1838 2822 1232",
                                        "4843321203",
                                        "0802 4804 1542",
                                        "080242",
                                        "0208254842",
                                        "02084248",
                                        "180703123243473818",
                                        "02083847463505",
                                        "180703123243473818 2442",
                                        "02083847463505 2542",
                                        "473818070615354443321203",
                                        "0848 2822",
                                        "080312324348",
                                        "082248",
                                        "0812253248",
                                        "0842 4802",
                                        "082548 2522",
                                        "08480242",
                                        "38181232",
                                        "0842",
                                        "18383212",
                                        "062846",
                                        "0141",
                                        "1827",
                                        "4642 4536160503123243",
                                        "0802 0516364543321203",
                                        "4536160503123243",
                                        "4842 4536160503123243",
                                        "04444536160503123243",
                                        "38281712 0636",
                                        "4641301001 4536160503123243",
                                        "0802 0516364542",
                                        "2622 2827",
                                        "36312010 3837",
                                        "0802 4603 1542",
                                        "2822",
                                        "0602 05162522 25364542",
                                        "0602 0516364542",
                                        "160503123243453616",
                                        "0600 0516364543321203",
                                        "4640 4536160503123243",
                                        "0602 05163645",
                                        "45361605143443321203",
                                        "282332 1636",
                                        "0603123243 4642",
                                        "062246",
                                        "0612243246",
                                        "0642 4602",
                                        "0622 4610",
                                        "06460242",
                                        "38272615242332",
                                        "2820",
                                        "18272635242312",
                                        "0415253445"};
static_assert(std::size(kGlyphs) == '~' - '!' + 1);
constexpr std::string_view kBox = "0208484202";

/// Calls take(glyph) for each character of UTF-8.
template<class Take> void ForEachGlyph(std::string_view text, Take&& take) {
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if ((code & 0xC0U) == 0x80U) continue; // a further byte of the character
    take(code == ' ' ? std::string_view() : c >= '!' && c <= '~' ? kGlyphs[c - '!'] : kBox);
  }
}
} // namespace

void pic_DrawText(pic_Canvas& canvas, double atX, double atY, double height, std::string_view text,
                  const pic_Colour& colour) {
  const double unit = height / kCapital, width = std::max(1.0, 0.7 * unit);
  ForEachGlyph(text, [&](std::string_view glyph) {
    const auto point = [&](std::size_t i) {
      return pic_Vector{atX + unit * (glyph[i] - '0'), atY + unit * (glyph[i + 1] - '0' - 2), kFront};
    };
    for (std::size_t i = 0; i + 3 < glyph.size(); i += 2) {
      if (glyph[i + 2] == ' ') {
        ++i; // the next stroke begins behind the blank
        continue;
      }
      canvas.Line(point(i), point(i + 2), width, colour, kFront);
    }
    atX += unit * kAdvance;
  });
}

double pic_TextWidth(std::string_view text, double height) {
  double width = 0;
  ForEachGlyph(text, [&](std::string_view) { width += height / kCapital * kAdvance; });
  return width;
}

std::string pic_FittingText(std::string_view text, double height, double width) {
  if (pic_TextWidth(text, height) <= width) return std::string(text);
  std::string cut(text);
  while (!cut.empty() && pic_TextWidth(cut + "...", height) > width) {
    do cut.pop_back();
    while (!cut.empty() && (static_cast<unsigned char>(cut.back()) & 0xC0U) == 0x80U);
  }
  return cut + "...";
}
