#include <CoreGeometry/pic_Colours.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace {
// viridis and inferno by Stefan van der Walt, Nathaniel Smith and Eric Firing, published under CC0 1.0 as
// colormaps.py of the repository BIDS/colormap: 256 triples each, rounded to bytes, in base 64.
constexpr std::string_view kViridis =
    "RAFURAJWRQRXRQVZRgdaRghcRgpdRgteRw1gRw5hRxBjRxFkRxNlSBRnSBZoSBdpSBhqSBpsSBttSBxuSB1vSB9wSCBxSCFz"
    "SCN0SCR1SCV2SCZ3SCh4SCl5Ryp6Ryx6Ry17Ry58Ry99RjB+RjJ+RjN/RjSARTWBRTeBRTiCRDmDRDqDRDuEQz2EQz6FQj+F"
    "QkCGQkGGQUKHQUSHQEWIQEaIP0eIP0iJPkmJPkqJPkyKPU2KPU6KPE+KPFCLO1GLO1KLOlOLOlSMOVWMOVaMOFiMOFmMN1qM"
    "N1uNNlyNNl2NNV6NNV+NNGCNNGGNM2KNM2ONMmSOMmWOMWaOMWeOMWiOMGmOMGqOL2uOL2yOLm2OLm6OLm+OLXCOLXGOLHGO"
    "LHKOLHOOK3SOK3WOKnaOKneOKniOKXmOKXqOKXuOKHyOKH2OJ36OJ3+OJ4COJoGOJoKOJoKOJYOOJYSOJYWOJIaOJIeOI4iO"
    "I4mOI4qNIouNIoyNIo2NIY6NIY+NIZCNIZGMIJKMIJKMIJOMH5SMH5WLH5aLH5eLH5iLH5mKH5qKHpuKHpyJHp2JH56JH5+I"
    "H6CIH6GIH6GHH6KHIKOGIKSGIaWFIaaFIqeFIqiEI6mDJKqDJauCJayCJq2BJ62BKK6AKa9/KrB/LLF+LbJ9LrN8L7R8MbV7"
    "MrZ6NLZ5Nbd5N7h4OLl3Orp2O7t1Pbx0P7xzQL1yQr5xRL9wRsBvSMFuSsFtTMJsTsNrUMRqUsVpVMVoVsZnWMdlWshkXMhj"
    "XsliYMpgY8tfZcteZ8xcac1bbM1abs5YcM9Xc9BWddBUd9FTetFRfNJQf9NOgdNNhNRLhtVJidVIi9ZGjtZFkNdDk9dBldhA"
    "mNg+m9k8ndk7oNo5oto3pds2qNs0qtwyrdwwsN0vst0ttd4ruN4put4ovd8mwN8lwt8jxeAhyOAgyuEfzeEd0OEc0uIb1eIa"
    "2OIZ2uMZ3eMY3+MY4uQY5eQZ5+QZ6uUa7OUb7+Uc8eUd9OYe9uYg+OYh++cj/ecl";
constexpr std::string_view kInferno =
    "AAAEAQAFAQEGAQEIAgEKAgIMAgIOAwIQBAMSBAMUBQQXBgQZBwUbCAUdCQYfCgciCwckDAgmDQgpDgkrEAktEQowEgoyFAs0"
    "FQs3Fgs5GAw8GQw+GwxBHAxDHgxFHwxIIQxKIwxMJAxPJgxRKAtTKQtVKwtXLQtZLwpbMQpcMgpeNApfNglhOAliOQljOwlk"
    "PQllPglmQApnQgpoRApoRQppRwtqSQtqSgxrTAxrTQ1sTw1sUQ5sUg5tVA9tVQ9tVxBuWRBuWhFuXBJuXRJuXxNuYRNuYhRu"
    "ZBVuZRVuZxZuaRZuahdubBhubRhubxlucRluchpudBpudRtudxxteBxteh1tfB1tfR5tfx5sgB9sgiBshCBrhSFrhyFriCJq"
    "iiJqjCNpjSNpjyRpkCVokiVokyZnlSZnlydmmCdmmihlmylknSlknypjoCpjoitioyxhpSxgpi1gqC5fqS5eqy9erTBdrjBc"
    "sDFbsTJaszJatDNZtjRYtzVXuTVWujZVvDdUvThTvzlSwDpRwTpQwztPxDxOxj1Nxz5MyD9LykBKy0FJzEJIzkNHz0RG0EVF"
    "0kZE00dD1EhC1UpB10s/2Ew+2U092k4821A73VE63lI431M34FU24VY14lc041kz5Fox5Vww5l0v514u6GAt6WEr6mMq62Qp"
    "62Yo7Gcm7Wkl7mok72wj724h8G8g8XEf8XMd8nQc83Yb83gZ9HkY9XsX9X0V9n4U9oAT94IS94QQ+IUP+IcO+IkM+YsL+YwK"
    "+Y4J+pAI+pIH+pQH+5YG+5cG+5kG+5sG+50H/J8H/KEI/KMJ/KUK/KYM/KgN/KoP/KwR/K4S/LAU/LIW/LQY+7Ya+7gd+7of"
    "+7wh+74j+sAm+sIo+sQq+sYt+ccv+cky+cs1+M03+M8699E999NA9tVD9tdG9dlJ9dtM9N1P9N9T9OFW8+Na8+Vd8uZh8uhl"
    "8upp8ext8e1x8e918fF58vJ98vSC8/WG8/aK9PiO9fmS9vqW+Pua+fyd+v2h/P+k";
static_assert(kViridis.size() == 1024 && kInferno.size() == 1024);

using Table = std::array<unsigned char, 768>;

constexpr unsigned Digit(char c) {
  const auto from = [&](char first, int value) { return static_cast<unsigned>(c - first + value); };
  return c >= 'a' ? from('a', 26) : c >= 'A' ? from('A', 0) : c >= '0' ? from('0', 52) : c == '+' ? 62U : 63U;
}

constexpr Table Decoded(std::string_view text) {
  Table table{};
  for (std::size_t i = 0; i < table.size() / 3; ++i) {
    unsigned bits = 0;
    for (std::size_t k = 0; k < 4; ++k) bits = bits << 6U | Digit(text[4 * i + k]);
    for (std::size_t k = 0; k < 3; ++k) table[3 * i + k] = static_cast<unsigned char>(bits >> (16 - 8 * k));
  }
  return table;
}

constexpr Table Greys() {
  Table table{};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<unsigned char>(i / 3);
  return table;
}

constexpr Table kTables[] = {Decoded(kViridis), Decoded(kInferno), Greys()};
static_assert(kTables[0][0] == 68 && kTables[0][3 * 128 + 1] == 145 && kTables[0][767] == 37);

/// Linear between the entries, for 0 <= t <= 1.
pic_Colour At(pic_ColourTable table, double t) {
  const Table& bytes = kTables[static_cast<std::size_t>(table)];
  const double place = 255 * t;
  const std::size_t first = std::min<std::size_t>(254, static_cast<std::size_t>(place));
  const double part = place - static_cast<double>(first);
  const auto mix = [&](std::size_t channel) {
    const double a = bytes[3 * first + channel], b = bytes[3 * first + 3 + channel];
    return (a + part * (b - a)) / 255;
  };
  return {mix(0), mix(1), mix(2)};
}
} // namespace

std::span<const unsigned char> pic_ColoursOf(pic_ColourTable table) {
  return kTables[static_cast<std::size_t>(table)];
}

pic_Colour pic_Scale::At(double value) const {
  if (std::isnan(value)) return pic_kMissing;
  if (value < low && HasFixedLow()) return pic_kTooLow;
  if (value > high && HasFixedHigh()) return pic_kTooHigh;
  if (!(low < high)) return ::At(table, value < low ? 0 : value > high ? 1 : 0.5);
  const double width = high - low;
  // halves, when the width is beyond all numbers
  const double t = std::clamp(
      std::isinf(width) ? (value / 2 - low / 2) / (high / 2 - low / 2) : (value - low) / width, 0.0, 1.0);
  if (bands <= 0) return ::At(table, t);
  int band = std::min(bands - 1, static_cast<int>(t * bands));
  // as the borders are rounded, not as the product is
  if (band + 1 < bands && t >= static_cast<double>(band + 1) / bands) ++band;
  if (t < static_cast<double>(band) / bands) --band;
  return ::At(table, (band + 0.5) / bands);
}
