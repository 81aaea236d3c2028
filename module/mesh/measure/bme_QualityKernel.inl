// Measures of several elements at once, in the namespace of the lanes.

using Real = bme_Lanes;
using Vector = bme_LaneVector;
using Points = std::array<Vector, 8>;

inline double Degrees(double cosine) {
  return std::acos(std::clamp(cosine, -1.0, 1.0)) * 180 / std::numbers::pi;
}
inline Real Degrees(const Real& cosines) {
  return bme_Each([&](std::size_t i) { return Degrees(static_cast<double>(cosines.v[i])); });
}

/// The greatest cross derivative by the shorter axis, for a pair of axes.
inline Real Taper(const Vector& cross, const Real& a, const Real& b) {
  return Ratio(Length(cross), Min(a, b), kWorst);
}

template<class Family> class Kernel {
public:
  Kernel(const Points& points, bool isPlane) : p_(points), isPlane_(isPlane) {
    for (std::size_t k = 0; k < kNumEdges; ++k)
      lengths_[k] = Length(At(Family::edges[k][1]) - At(Family::edges[k][0]));
    longest_ = shortest_ = lengths_[0];
    for (const Real& length : lengths_) {
      longest_ = Max(longest_, length);
      shortest_ = Min(shortest_, length);
    }
  }

  static constexpr bool Has(Measure measure) {
    switch (measure) {
    case Measure::Size: return kIsQuadrilateral || kIsHexahedron || kIsTetrahedron;
    case Measure::EdgeRatio: return kNumEdges > 1;
    case Measure::AspectRatio:
    case Measure::ScaledJacobian:
    case Measure::MinimumAngle:
    case Measure::MaximumAngle: return !Family::corners.empty();
    case Measure::Warpage: return !Family::faces.empty();
    case Measure::Skew:
    case Measure::Taper: return kIsQuadrilateral || kIsHexahedron;
    default: return false;
    }
  }

  Real Of(Measure measure) const {
    if constexpr (!Family::corners.empty()) {
      switch (measure) {
      case Measure::Size: return Size();
      case Measure::AspectRatio: return AspectRatio();
      case Measure::ScaledJacobian: return ScaledJacobian();
      case Measure::MinimumAngle: return Angle(false);
      case Measure::MaximumAngle: return Angle(true);
      case Measure::Warpage: return Warpage();
      case Measure::Skew: return Skew();
      case Measure::Taper: return TaperOfAll();
      default: break;
      }
    }
    return Ratio(longest_, shortest_, kWorst);
  }

private:
  static constexpr std::size_t kNumEdges = Family::edges.size();
  static constexpr bool kIsTriangle = std::is_same_v<Family, Triangle>,
                        kIsQuadrilateral = std::is_same_v<Family, Quadrilateral>,
                        kIsTetrahedron = std::is_same_v<Family, Tetrahedron>,
                        kIsHexahedron = std::is_same_v<Family, Hexahedron>;

  const Vector& At(int corner) const { return p_[static_cast<std::size_t>(corner)]; }
  Vector To(const Corner& corner, std::size_t k) const { return At(corner[k]) - At(corner[0]); }
  static constexpr auto kEdges = EdgesOfCorners<Family>();
  const Real& LengthTo(const Corner& corner, std::size_t k) const {
    return lengths_[kEdges[static_cast<std::size_t>(&corner - Family::corners.data())][k - 1]];
  }
  /// Principal axes: sums of the opposite edges.
  std::array<Vector, 3> Axes() const {
    if constexpr (kIsHexahedron)
      return {Sum({1, 2, 5, 6}) - Sum({0, 3, 4, 7}), Sum({2, 3, 6, 7}) - Sum({0, 1, 4, 5}),
              Sum({4, 5, 6, 7}) - Sum({0, 1, 2, 3})};
    return {Sum({1, 2}) - Sum({0, 3}), Sum({2, 3}) - Sum({0, 1}), {0, 0, 0}};
  }
  Vector Sum(std::initializer_list<int> corners) const {
    Vector sum{0, 0, 0};
    for (const int corner : corners) sum = sum + At(corner);
    return sum;
  }
  /// Of a quadrilateral or triangle: the unit normal that says what is inside out.
  Vector UnitNormal() const {
    if (isPlane_) return {0, 0, 1};
    Vector normal = Cross(At(1) - At(0), At(2) - At(0));
    if constexpr (kIsQuadrilateral) {
      const auto axes = Axes();
      normal = Cross(axes[0], axes[1]);
    }
    const Real factor = Ratio(1, Length(normal), 0);
    return {normal.x * factor, normal.y * factor, normal.z * factor};
  }

  /// Twice the area of a triangle; four times that of a quadrilateral, seen along the normal in its middle.
  Real Areas() const {
    if constexpr (kIsTriangle) return Length(Cross(To(Family::corners[0], 1), To(Family::corners[0], 2)));
    const Vector normal = UnitNormal();
    Real sum = 0;
    for (const Corner& corner : Family::corners) sum = sum + Dot(normal, Cross(To(corner, 1), To(corner, 2)));
    return sum;
  }

  /// That of the trilinear map is exact with two Gauss points in each direction; the derivative along a direction is
  /// between those of the four edges that run there.
  Real Size() const {
    if constexpr (kIsTetrahedron) {
      const Corner& corner = Family::corners[0];
      return Dot(Cross(To(corner, 1), To(corner, 2)), To(corner, 3)) * (1.0 / 6);
    } else if constexpr (kIsHexahedron) {
      constexpr double kNear = 0.5 + 0.28867513459481287, kFar = 0.5 - 0.28867513459481287;
      // edges in three directions, by their places low and high in the two others
      constexpr Edge kAlong[3][2][2] = {{{{0, 1}, {4, 5}}, {{3, 2}, {7, 6}}},
                                        {{{0, 3}, {4, 7}}, {{1, 2}, {5, 6}}},
                                        {{{0, 4}, {3, 7}}, {{1, 5}, {2, 6}}}};
      Vector at[3][2][2];
      for (std::size_t direction = 0; direction < 3; ++direction) {
        Vector edges[2][2];
        for (std::size_t i = 0; i < 2; ++i)
          for (std::size_t k = 0; k < 2; ++k)
            edges[i][k] = At(kAlong[direction][i][k][1]) - At(kAlong[direction][i][k][0]);
        const auto between = [](const Vector& a, const Vector& b) {
          return Vector{a.x * kNear + b.x * kFar, a.y * kNear + b.y * kFar, a.z * kNear + b.z * kFar};
        };
        for (std::size_t k = 0; k < 2; ++k) {
          const Vector low = between(edges[0][k], edges[1][k]), high = between(edges[1][k], edges[0][k]);
          edges[0][k] = low;
          edges[1][k] = high;
        }
        for (std::size_t i = 0; i < 2; ++i) {
          at[direction][i][0] = between(edges[i][0], edges[i][1]);
          at[direction][i][1] = between(edges[i][1], edges[i][0]);
        }
      }
      Real sum = 0;
      for (std::size_t r = 0; r < 2; ++r)
        for (std::size_t s = 0; s < 2; ++s)
          for (std::size_t t = 0; t < 2; ++t) sum = sum + Dot(Cross(at[0][s][t], at[1][r][t]), at[2][r][s]);
      return sum * 0.125;
    }
    return Areas() * 0.25;
  }

  Real AspectRatio() const {
    Real sum = 0, area = 0;
    if constexpr (kIsTriangle || kIsQuadrilateral) {
      for (const Real& length : lengths_) sum = sum + length;
      return Ratio(longest_ * sum, Abs(Areas()) * (kIsTriangle ? 2 * std::numbers::sqrt3 : 1), kWorst);
    } else if constexpr (kIsTetrahedron) {
      for (const Face& face : {Face{0, 1, 2}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}})
        area = area + Length(Cross(At(face[1]) - At(face[0]), At(face[2]) - At(face[0])));
      const Corner& corner = Family::corners[0];
      const Real sixVolumes = Abs(Dot(Cross(To(corner, 1), To(corner, 2)), To(corner, 3)));
      return Ratio(longest_ * area, sixVolumes * (2 * std::sqrt(6.0)), kWorst);
    } else if constexpr (kIsHexahedron) {
      const auto axes = Axes();
      const Real a = Length(axes[0]), b = Length(axes[1]), c = Length(axes[2]);
      return Ratio(Max(a, Max(b, c)), Min(a, Min(b, c)), kWorst);
    }
    return Ratio(longest_, shortest_, kWorst);
  }

  Real ScaledJacobian() const {
    Real least = kWorst;
    if constexpr (kIsTriangle || kIsQuadrilateral) {
      const Vector normal = UnitNormal();
      for (const Corner& corner : Family::corners)
        least = Min(least, Ratio(Dot(normal, Cross(To(corner, 1), To(corner, 2))),
                                 LengthTo(corner, 1) * LengthTo(corner, 2), 0));
      return least * (kIsTriangle ? 2 / std::numbers::sqrt3 : 1);
    } else {
      for (const Corner& corner : Family::corners)
        least = Min(least, Ratio(Dot(Cross(To(corner, 1), To(corner, 2)), To(corner, 3)),
                                 LengthTo(corner, 1) * LengthTo(corner, 2) * LengthTo(corner, 3), 0));
      if constexpr (kIsHexahedron) {
        const auto axes = Axes();
        least = Min(least, Ratio(Dot(Cross(axes[0], axes[1]), axes[2]),
                                 Length(axes[0]) * Length(axes[1]) * Length(axes[2]), 0));
        return least;
      }
      return least * (kIsTetrahedron ? std::numbers::sqrt2 : 2 / std::numbers::sqrt3);
    }
  }

  /// Least and greatest cosine of the angles, found once for both measures.
  Real Angle(bool isMaximum) const {
    if (!hasCosines_) FindCosines();
    hasCosines_ = true;
    return isMaximum ? Max(Degrees(leastCosine_), concave_) : Degrees(greatestCosine_);
  }
  void TakeCosine(const Real& product, const Real& lengths) const {
    leastCosine_ = Min(leastCosine_, Ratio(product, lengths, -1));
    greatestCosine_ = Max(greatestCosine_, Ratio(product, lengths, 1));
  }
  void FindCosines() const {
    leastCosine_ = 1;
    greatestCosine_ = -1;
    concave_ = 0; // the greatest angle where a quadrilateral is concave
    if constexpr (kIsTetrahedron) {
      // angles between faces: of the planes across each edge
      for (const auto& [a, b, c, d] :
           {std::array{0, 1, 2, 3}, {1, 2, 0, 3}, {2, 0, 1, 3}, {0, 3, 1, 2}, {1, 3, 0, 2}, {2, 3, 0, 1}}) {
        const Vector edge = At(b) - At(a), one = Cross(edge, At(c) - At(a)),
                     other = Cross(edge, At(d) - At(a));
        TakeCosine(Dot(one, other), Length(one) * Length(other));
      }
    } else {
      Vector normal{0, 0, 0};
      if constexpr (kIsQuadrilateral) normal = UnitNormal();
      for (const Corner& corner : Family::corners)
        for (std::size_t k = 1; k < 4; ++k) {
          const std::size_t next = corner[3] < 0 ? 2 : k % 3 + 1;
          if (corner[3] < 0 && k > 1) break;
          const Vector a = To(corner, k), b = To(corner, next);
          const Real product = Dot(a, b), lengths = LengthTo(corner, k) * LengthTo(corner, next);
          TakeCosine(product, lengths);
          if constexpr (kIsQuadrilateral) {
            const Real sign = Dot(normal, Cross(a, b)), own = Ratio(product, lengths, -1);
            for (std::size_t i = 0; i < bme_kLanes; ++i)
              if (sign.v[i] < 0) concave_.v[i] = std::max<double>(concave_.v[i], 360 - Degrees(own.v[i]));
          }
        }
    }
  }

  Real Warpage() const {
    Real worst = 0;
    for (const Face& face : Family::faces) {
      std::array<Vector, 4> normals;
      for (std::size_t k = 0; k < 4; ++k)
        normals[k] = Cross(At(face[(k + 1) % 4]) - At(face[k]), At(face[(k + 3) % 4]) - At(face[k]));
      for (std::size_t k = 0; k < 2; ++k) {
        const Real both = Length(normals[k]) * Length(normals[k + 2]),
                   cosine = Ratio(Dot(normals[k], normals[k + 2]), both, 2);
        const Real own = Real(1) - cosine * cosine * cosine;
        worst = bme_Each([&](std::size_t i) {
          return cosine.v[i] > 1.5 ? kWorst : std::max<double>(worst.v[i], own.v[i]);
        });
      }
    }
    return worst;
  }

  Real Skew() const {
    const auto axes = Axes();
    Real worst = 0;
    for (std::size_t k = 0; k < (kIsHexahedron ? 3 : 1); ++k) {
      const Vector &a = axes[k], &b = axes[(k + 1) % 3];
      worst = Max(worst, Ratio(Abs(Dot(a, b)), Length(a) * Length(b), kWorst));
    }
    return worst;
  }

  Real TaperOfAll() const {
    const auto axes = Axes();
    const Real a = Length(axes[0]), b = Length(axes[1]);
    if constexpr (kIsHexahedron) {
      const Real c = Length(axes[2]);
      return Max(Taper(Sum({0, 2, 4, 6}) - Sum({1, 3, 5, 7}), a, b),
                 Max(Taper(Sum({0, 3, 5, 6}) - Sum({1, 2, 4, 7}), a, c),
                     Taper(Sum({0, 1, 6, 7}) - Sum({2, 3, 4, 5}), b, c)));
    }
    return Taper(Sum({0, 2}) - Sum({1, 3}), a, b);
  }

  const Points& p_;
  bool isPlane_;
  std::array<Real, kNumEdges> lengths_;
  Real longest_, shortest_;
  mutable bool hasCosines_ = false;
  mutable Real leastCosine_ = 1, greatestCosine_ = -1, concave_ = 0;
};

/// The measures of all elements, a row of values for each; false when a node is not finite.
template<class Family> bool MeasureEach(const Work& work) {
  wip_Poll poll(2048);
  Points points;
  double nothing = 0; // not a number once a coordinate is not finite
  for (std::size_t first = 0; first < work.numElements; first += bme_kLanes) {
    poll.Advance();
    const std::size_t count = std::min(bme_kLanes, work.numElements - first);
    for (std::size_t i = 0; i < bme_kLanes; ++i) { // lanes that are left over have the last element
      const int* const row = work.rows + (first + std::min(i, count - 1)) * work.numNodes;
      for (std::size_t k = 0; k < work.numCorners; ++k) {
        const float* const p = work.xyz + 3 * static_cast<std::size_t>(row[k]);
        nothing += 0 * (static_cast<double>(p[0]) + p[1] + p[2]);
        points[k].x.v[i] = p[0];
        points[k].y.v[i] = p[1];
        points[k].z.v[i] = work.isPlane ? 0 : static_cast<double>(p[2]);
      }
    }
    const Kernel<Family> kernel(points, work.isPlane);
    for (std::size_t m = 0; m < work.measures.size(); ++m) {
      const Real values = kernel.Of(work.measures[m]);
      for (std::size_t i = 0; i < count; ++i) work.values[m][first + i] = values.v[i];
    }
  }
  return std::isfinite(nothing);
}
