// Numbers of several elements, worked on together: in a namespace for each kind of processor, with the number of lanes in
// BME_LANES. Results do not depend on it.

inline constexpr std::size_t bme_kLanes = BME_LANES;

/// A vector of the compiler (GCC and clang), which stays in registers; arithmetic is that of doubles, one by one.
struct bme_Lanes {
  using Vector = double __attribute__((vector_size(bme_kLanes * sizeof(double))));
  Vector v;

  bme_Lanes() = default;
  bme_Lanes(double value) : v(value - Vector{}) {}
  explicit bme_Lanes(const Vector& vector) : v(vector) {}
};

template<class F> inline bme_Lanes bme_Each(F f) {
  bme_Lanes made;
  for (std::size_t i = 0; i < bme_kLanes; ++i) made.v[i] = f(i);
  return made;
}
inline bme_Lanes operator+(const bme_Lanes& a, const bme_Lanes& b) { return bme_Lanes(a.v + b.v); }
inline bme_Lanes operator-(const bme_Lanes& a, const bme_Lanes& b) { return bme_Lanes(a.v - b.v); }
inline bme_Lanes operator*(const bme_Lanes& a, const bme_Lanes& b) { return bme_Lanes(a.v * b.v); }
inline bme_Lanes operator/(const bme_Lanes& a, const bme_Lanes& b) { return bme_Lanes(a.v / b.v); }
inline bme_Lanes Min(const bme_Lanes& a, const bme_Lanes& b) { return bme_Lanes(b.v < a.v ? b.v : a.v); }
inline bme_Lanes Max(const bme_Lanes& a, const bme_Lanes& b) { return bme_Lanes(b.v > a.v ? b.v : a.v); }
inline bme_Lanes Abs(const bme_Lanes& a) { return bme_Lanes(a.v < bme_Lanes(0).v ? -a.v : a.v); }
inline bme_Lanes Sqrt(const bme_Lanes& a) {
  return bme_Each([&](std::size_t i) { return std::sqrt(a.v[i]); });
}
/// a / b where b is not next to nothing, else the limit; never NaN when a is none.
inline constexpr double bme_kLeastRatio = 1e-300;
inline bme_Lanes Ratio(const bme_Lanes& a, const bme_Lanes& b, double limit) {
  const bme_Lanes least(bme_kLeastRatio), one(1), otherwise(limit);
  const bme_Lanes::Vector quotient = a.v / (b.v > least.v ? b.v : one.v);
  return bme_Lanes(b.v > least.v ? quotient : otherwise.v);
}
struct bme_LaneVector {
  bme_Lanes x, y, z;
};
inline bme_LaneVector operator+(const bme_LaneVector& a, const bme_LaneVector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline bme_LaneVector operator-(const bme_LaneVector& a, const bme_LaneVector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline bme_LaneVector operator*(const bme_LaneVector& a, const bme_Lanes& factor) {
  return {a.x * factor, a.y * factor, a.z * factor};
}
inline bme_Lanes Dot(const bme_LaneVector& a, const bme_LaneVector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline bme_LaneVector Cross(const bme_LaneVector& a, const bme_LaneVector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline bme_Lanes Length(const bme_LaneVector& a) { return Sqrt(Dot(a, a)); }
