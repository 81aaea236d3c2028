// Measures of several elements at once, in the namespace of the lanes.

using Real = bme_Lanes;
using Vector = bme_LaneVector;
using Points = std::array<Vector, 8>;

/// Of cosines. Up to a half by the series of the arcsine (M. Abramowitz and I. A. Stegun, Handbook of Mathematical
/// Functions, 4.4.40), which gains two binary digits a term there; above by that of half the angle.
inline Real Degrees(const Real& cosines) {
  const Real size = Min(Abs(cosines), 1), half(0.5);
  const auto isNear = size.v <= half.v; // NaN is far
  const Real square(isNear ? (size * size).v : ((Real(1) - size) * half).v), fourth = square * square;
  Real even = 0, odd = 0;
  for (std::size_t n = kArcSine.size(); n > 0; n -= 2) {
    odd = odd * fourth + kArcSine[n - 1];
    even = even * fourth + kArcSine[n - 2];
  }
  const Real sine(isNear ? size.v : Sqrt(square).v), arc = sine * (even + odd * square);
  const Real angle(isNear ? (Real(std::numbers::pi / 2) - arc).v : (arc + arc).v), straight(std::numbers::pi);
  return Real(cosines.v < Real(0).v ? (straight - angle).v : angle.v) * (180 / std::numbers::pi);
}

/// The greatest cross derivative by the shorter axis, for a pair of axes.
inline Real Taper(const Vector& cross, const Real& a, const Real& b) {
  return Ratio(Length(cross), Min(a, b), kWorst);
}

template<class Family> class Kernel {
public:
  Kernel(const Points& points, bool isPlane) : p_(points), isPlane_(isPlane) {
    for (std::size_t k = 0; k < kNumEdges; ++k) {
      edges_[k] = At(Family::edges[k][1]) - At(Family::edges[k][0]);
      lengths_[k] = Length(edges_[k]);
    }
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
      default: break;
      }
    }
    if constexpr (kIsQuadrilateral || kIsHexahedron) {
      if (measure == Measure::Skew) return Skew();
      if (measure == Measure::Taper) return TaperOfAll();
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
  static constexpr auto kCornerEdges = EdgesOfCorners<Family>();
  /// Unit vectors along the edges, found once for all measures that use them; 0 for an edge without length.
  const std::array<Vector, kNumEdges>& Units() const {
    if (!hasUnits_)
      for (std::size_t k = 0; k < kNumEdges; ++k) units_[k] = edges_[k] * Ratio(1, lengths_[k], 0);
    hasUnits_ = true;
    return units_;
  }
  /// Principal axes: sums of the opposite edges.
  struct PrincipalAxes {
    std::array<Vector, 3> along;
    std::array<Real, 3> lengths;
  };
  const PrincipalAxes& Axes() const {
    if (hasAxes_) return axes_;
    hasAxes_ = true;
    if constexpr (kIsHexahedron)
      axes_.along = {Sum({1, 2, 5, 6}) - Sum({0, 3, 4, 7}), Sum({2, 3, 6, 7}) - Sum({0, 1, 4, 5}),
                     Sum({4, 5, 6, 7}) - Sum({0, 1, 2, 3})};
    else
      axes_.along = {Sum({1, 2}) - Sum({0, 3}), Sum({2, 3}) - Sum({0, 1}), Vector{0, 0, 0}};
    for (std::size_t k = 0; k < 3; ++k) axes_.lengths[k] = Length(axes_.along[k]);
    return axes_;
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
      const auto& axes = Axes().along;
      normal = Cross(axes[0], axes[1]);
    }
    return normal * Ratio(1, Length(normal), 0);
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
      for (const Vector& normal : FaceNormals()) area = area + Length(normal);
      const Corner& corner = Family::corners[0];
      const Real sixVolumes = Abs(Dot(Cross(To(corner, 1), To(corner, 2)), To(corner, 3)));
      return Ratio(longest_ * area, sixVolumes * (2 * std::sqrt(6.0)), kWorst);
    } else if constexpr (kIsHexahedron) {
      const auto& [a, b, c] = Axes().lengths;
      return Ratio(Max(a, Max(b, c)), Min(a, Min(b, c)), kWorst);
    }
    return Ratio(longest_, shortest_, kWorst);
  }

  /// Of a tetrahedron, twice the area long, all out or all in.
  std::array<Vector, 4> FaceNormals() const {
    const Vector a = At(1) - At(0), b = At(2) - At(0), c = At(3) - At(0);
    return {Cross(b, a), Cross(a, c), Cross(b - a, c - a), Cross(c, b)};
  }

  Real ScaledJacobian() const {
    const auto& units = Units();
    Real least = kWorst;
    if constexpr (kIsTriangle || kIsQuadrilateral) {
      const Vector normal = UnitNormal();
      for (const CornerEdges& at : kCornerEdges)
        least = Min(least,
                    Dot(normal, Cross(units[at.edges[0]], units[at.edges[1]])) * (at.signs[0] * at.signs[1]));
      return least * (kIsTriangle ? 2 / std::numbers::sqrt3 : 1);
    } else {
      for (const CornerEdges& at : kCornerEdges)
        least = Min(least, Dot(Cross(units[at.edges[0]], units[at.edges[1]]), units[at.edges[2]])
                               * (at.signs[0] * at.signs[1] * at.signs[2]));
      if constexpr (kIsHexahedron) {
        const auto& [axes, lengths] = Axes();
        return Min(least,
                   Ratio(Dot(Cross(axes[0], axes[1]), axes[2]), lengths[0] * lengths[1] * lengths[2], 0));
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
  void FindCosines() const {
    leastCosine_ = 1;
    greatestCosine_ = -1;
    concave_ = 0; // the greatest angle where a quadrilateral is concave
    Real shortest = shortest_;
    const auto take = [&](const Real& cosine) {
      leastCosine_ = Min(leastCosine_, cosine);
      greatestCosine_ = Max(greatestCosine_, cosine);
    };
    if constexpr (kIsTetrahedron) {
      std::array<Vector, 4> normals = FaceNormals();
      for (Vector& normal : normals) {
        const Real length = Length(normal);
        shortest = Min(shortest, length);
        normal = normal * Ratio(1, length, 0);
      }
      for (std::size_t i = 0; i < 4;
           ++i) // the angle between two faces is what their normals lack to a half turn
        for (std::size_t k = 0; k < i; ++k) take(Real(0) - Dot(normals[i], normals[k]));
    } else {
      const auto& units = Units();
      Vector normal{0, 0, 0};
      if constexpr (kIsQuadrilateral) normal = UnitNormal();
      for (const CornerEdges& at : kCornerEdges)
        for (std::size_t k = 0; k < (at.numEdges == 3 ? 3 : 1); ++k) {
          const std::size_t next = (k + 1) % at.numEdges;
          const Vector &a = units[at.edges[k]], &b = units[at.edges[next]];
          const double sign = at.signs[k] * at.signs[next];
          const Real cosine = Dot(a, b) * sign;
          take(cosine);
          if constexpr (kIsQuadrilateral) {
            const Real side = Dot(normal, Cross(a, b)) * sign;
            concave_ = Max(concave_, Real(side.v < Real(0).v ? (Real(360) - Degrees(cosine)).v : Real(0).v));
          }
        }
    }
    const auto hasNone = shortest.v <= Real(bme_kLeastRatio).v; // an edge or face without size: any angle
    leastCosine_ = Real(hasNone ? Real(-1).v : leastCosine_.v);
    greatestCosine_ = Real(hasNone ? Real(1).v : greatestCosine_.v);
  }

  /// By the least square of a cosine with the cosine's sign, so that roots are drawn once.
  Real Warpage() const {
    constexpr double kNone = -4; // where a normal has no length
    Real least = 1;
    for (const Face& face : Family::faces) {
      std::array<Vector, 4> edges, normals;
      for (std::size_t k = 0; k < 4; ++k) edges[k] = At(face[(k + 1) % 4]) - At(face[k]);
      for (std::size_t k = 0; k < 4; ++k) normals[k] = Cross(edges[(k + 3) % 4], edges[k]);
      for (std::size_t k = 0; k < 2; ++k) {
        const Vector &a = normals[k], &b = normals[k + 2];
        const Real cosine = Dot(a, b);
        least = Min(least, Ratio(cosine * Abs(cosine), Dot(a, a) * Dot(b, b), kNone));
      }
    }
    const Real worst = Real(1) - least * Sqrt(Abs(least));
    return Real(least.v < Real(-2).v ? Real(kWorst).v : worst.v);
  }

  Real Skew() const {
    const auto& [axes, lengths] = Axes();
    Real worst = 0;
    for (std::size_t k = 0; k < (kIsHexahedron ? 3 : 1); ++k) {
      const std::size_t next = (k + 1) % 3;
      worst = Max(worst, Ratio(Abs(Dot(axes[k], axes[next])), lengths[k] * lengths[next], kWorst));
    }
    return worst;
  }

  Real TaperOfAll() const {
    const auto& [a, b, c] = Axes().lengths;
    if constexpr (kIsHexahedron)
      return Max(Taper(Sum({0, 2, 4, 6}) - Sum({1, 3, 5, 7}), a, b),
                 Max(Taper(Sum({0, 3, 5, 6}) - Sum({1, 2, 4, 7}), a, c),
                     Taper(Sum({0, 1, 6, 7}) - Sum({2, 3, 4, 5}), b, c)));
    return Taper(Sum({0, 2}) - Sum({1, 3}), a, b);
  }

  const Points& p_;
  bool isPlane_;
  std::array<Vector, kNumEdges> edges_;
  std::array<Real, kNumEdges> lengths_;
  Real longest_, shortest_;
  mutable bool hasUnits_ = false, hasAxes_ = false, hasCosines_ = false;
  mutable std::array<Vector, kNumEdges> units_;
  mutable PrincipalAxes axes_;
  mutable Real leastCosine_ = 1, greatestCosine_ = -1, concave_ = 0;
};

/// The measures of all elements, a row of values for each; false when a node is not finite.
template<class Family> bool MeasureEach(const Work& work) {
  wip_Poll poll(2048);
  Points points;
  Real nothing = 0; // not a number once a coordinate is not finite
  for (std::size_t first = 0; first < work.numElements; first += bme_kLanes) {
    poll.Advance();
    const std::size_t count = std::min(bme_kLanes, work.numElements - first);
    for (std::size_t i = 0; i < bme_kLanes; ++i) { // lanes that are left over have the last element
      const int* const row = work.rows + (first + std::min(i, count - 1)) * work.numNodes;
      for (std::size_t k = 0; k < work.numCorners; ++k) {
        const float* const p = work.xyz + 3 * static_cast<std::size_t>(row[k]);
        points[k].x.v[i] = p[0];
        points[k].y.v[i] = p[1];
        points[k].z.v[i] = work.isPlane ? 0 : static_cast<double>(p[2]);
      }
    }
    for (std::size_t k = 0; k < work.numCorners; ++k)
      nothing = nothing + (points[k].x + points[k].y + points[k].z) * 0;
    const Kernel<Family> kernel(points, work.isPlane);
    for (std::size_t m = 0; m < work.measures.size(); ++m) {
      const Real values = kernel.Of(work.measures[m]);
      for (std::size_t i = 0; i < count; ++i) work.values[m][first + i] = values.v[i];
    }
  }
  bool isFinite = true;
  for (std::size_t i = 0; i < bme_kLanes; ++i) isFinite &= std::isfinite(static_cast<double>(nothing.v[i]));
  return isFinite;
}
