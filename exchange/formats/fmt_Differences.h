// fmt_Differences.h: differences while they are gathered
#pragma once

#include <CoreGeometry/fmt_Compare.h>
#include <cmath>
#include <concepts>
#include <functional>

inline constexpr const char* fmt_kAbsent = "absent";

/// Text of a number that gives the same one back.
CORE_GEOMETRY_EXCHANGE_API cow_String fmt_TextOf(double number);
cow_String fmt_TextOf(std::integral auto number) { return std::to_string(number); }

/// The numbers of one array, in parts if they are many.
class CORE_GEOMETRY_EXCHANGE_API fmt_ArrayDifference {
public:
  /// `placeOf` tells where the number of that index stands. Real numbers are equal within tolerance * scale; scale 0
  /// means the larger of the two.
  explicit fmt_ArrayDifference(std::function<cow_String(std::size_t index)> placeOf, double tolerance = 0,
                               double scale = 0)
      : placeOf_(std::move(placeOf)), tolerance_(tolerance), scale_(scale) {}

  template<class Number> void Add(std::span<const Number> a, std::span<const Number> b) {
    for (std::size_t i = 0; i < a.size(); ++i)
      if (a[i] != b[i]
          && !AreEqual(static_cast<double>(a[i]), static_cast<double>(b[i]), std::integral<Number>))
        Note(next_ + i, fmt_TextOf(a[i]), fmt_TextOf(b[i]),
             std::abs(static_cast<double>(a[i]) - static_cast<double>(b[i])));
    next_ += a.size();
  }
  void Finish(std::vector<fmt_Difference>& differences);

private:
  bool AreEqual(double a, double b, bool exactly) const {
    if (exactly) return false;
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    return std::abs(a - b) <= tolerance_ * (scale_ > 0 ? scale_ : std::max(std::abs(a), std::abs(b)));
  }
  void Note(std::size_t index, const cow_String& a, const cow_String& b, double by);

  std::function<cow_String(std::size_t)> placeOf_;
  double tolerance_, scale_;
  std::size_t next_ = 0;
  fmt_Difference found_{{}, {}, {}, 0, 0};
};

/// Differences of whole texts, counts and arrays.
class CORE_GEOMETRY_EXCHANGE_API fmt_Differences {
public:
  std::vector<fmt_Difference> all;

  void Texts(const cow_String& place, const cow_String& a, const cow_String& b) {
    if (a != b) all.push_back({place, '"' + a + '"', '"' + b + '"'});
  }
  /// Whether the counts are the same.
  bool Counts(const cow_String& place, long long a, long long b) {
    if (a != b) all.push_back({place, std::to_string(a), std::to_string(b)});
    return a == b;
  }
  void Presence(const cow_String& place, bool inFirst, const cow_String& what) {
    all.push_back({place, inFirst ? what : fmt_kAbsent, inFirst ? fmt_kAbsent : what});
  }
  void Lists(const cow_String& place, std::span<const cow_String> a, std::span<const cow_String> b);
  /// Numbers one by one if there are as many.
  template<class Number>
  void Arrays(const cow_String& place, const char* item, std::span<const Number> a, std::span<const Number> b,
              double tolerance = 0) {
    if (!Counts(place + ": number of " + item + "s", static_cast<long long>(a.size()),
                static_cast<long long>(b.size())))
      return;
    fmt_ArrayDifference found(
        [&](std::size_t i) { return place + ": " + item + " " + std::to_string(i + 1); }, tolerance);
    found.Add(a, b);
    found.Finish(all);
  }
};
