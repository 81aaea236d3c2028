#include <CoreGeometry/dtu_Mapping.h>

#include <CoreGeometry/gsl_Util.h>
#include <algorithm>
#include <array>
#include <cmath>

namespace {
constexpr double kPi = 3.141592653589793, kHalfPi = 1.5707963267948966, kDegrees = 57.29577951308232;
constexpr double kOnAxis = 1e-5;

using Triple = std::array<double, 3>;

/// As gsl_RealEqual: inclusive, and a NaN is equal to everything.
bool Near(double a, double b, double tol) { return !(b - a > tol || b - a < -tol); }
bool OnAxis(double a, double b) { return Near(a, 0, kOnAxis) && Near(b, 0, kOnAxis); }

/// What the mappings need of a system, taken once for many points.
struct Frame {
  explicit Frame(const dtu_DatumCsys& csys)
      : kind(csys.GetCsysType()), tolerance(omi_Singleton<gsl_Util>::Instance().Tolerance()) {
    gsl_Vector axes[3];
    csys.Geometry(origin, axes[0], axes[1], axes[2]);
    for (unsigned i = 0; i < 3; ++i) rows[i] = {axes[i][0], axes[i][1], axes[i][2]};
  }

  Triple ToGlobal(const Triple& local) const {
    Triple q{};
    switch (kind) {
    case dtu_CARTESIAN: q = local; break;
    case dtu_CYLINDRICAL: {
      const double angle = local[1] * kPi / 180;
      q = {local[0] * std::cos(angle), local[0] * std::sin(angle), local[2]};
      break;
    }
    case dtu_SPHERICAL: {
      const double azimuth = local[1] * kPi / 180, polar = local[2] * kPi / 180;
      q = {local[0] * std::cos(azimuth) * std::sin(polar), local[0] * std::sin(azimuth) * std::sin(polar),
           local[0] * std::cos(polar)};
      break;
    }
    default: break;
    }
    Triple global;
    for (unsigned i = 0; i < 3; ++i)
      global[i] = rows[0][i] * q[0] + rows[1][i] * q[1] + rows[2][i] * q[2] + origin[i];
    return global;
  }

  Triple ToLocal(const Triple& global, bool inDegrees) const {
    const double d[] = {global[0] - origin[0], global[1] - origin[1], global[2] - origin[2]};
    Triple v;
    for (unsigned i = 0; i < 3; ++i) v[i] = rows[i][0] * d[0] + rows[i][1] * d[1] + rows[i][2] * d[2];
    switch (kind) {
    case dtu_CARTESIAN: return v;
    case dtu_CYLINDRICAL: return Cylindrical(v, inDegrees);
    case dtu_SPHERICAL: return Spherical(v, inDegrees);
    }
    return {0, 0, 0};
  }

  Triple Cylindrical(const Triple& v, bool inDegrees) const {
    const auto [a, b, h] = v;
    double radius = std::fabs(h), angle = 0; // on the axis
    if (!OnAxis(a, b)) {
      angle = std::atan2(b, a);
      if (Near(std::fabs(angle), kHalfPi, tolerance)) {
        angle = b > 0 ? kHalfPi : -kHalfPi;
        radius = b / std::sin(angle);
      } else {
        radius = a / std::cos(angle);
      }
    }
    return {radius, inDegrees ? angle * kDegrees : angle, h};
  }

  static Triple Spherical(const Triple& v, bool inDegrees) {
    const auto [a, b, h] = v;
    const double length = gsl_Vector(a, b, h).Magnitude(), unit = inDegrees ? kDegrees : 1;
    if (Near(length, 0, kOnAxis)) return {0, 0, 0};
    const double polar = Near(h, 0, kOnAxis) ? (inDegrees ? 90.0 : kHalfPi)
                                             : std::acos(std::clamp(h / length, -1., 1.)) * unit;
    if (OnAxis(a, b)) return {std::fabs(h), 0, polar};
    return {length, std::atan2(b, a) * unit, polar};
  }

  dtu_DatumCsysType kind;
  double tolerance;
  gsl_Point origin;
  std::array<Triple, 3> rows; ///< x, y and z axis as stored
};

template<class T, class Map> void ForEachTriple(std::span<T> xyz, Map map) {
  for (std::size_t i = 0; i + 2 < xyz.size(); i += 3) {
    const Triple moved = map(Triple{xyz[i], xyz[i + 1], xyz[i + 2]});
    for (unsigned k = 0; k < 3; ++k) xyz[i + k] = static_cast<T>(moved[k]);
  }
}
template<class T> void LocalIntoGlobal(std::span<T> xyz, const dtu_DatumCsys& csys) {
  const Frame frame(csys);
  ForEachTriple(xyz, [&](const Triple& p) { return frame.ToGlobal(p); });
}
template<class T> void GlobalIntoLocal(std::span<T> xyz, const dtu_DatumCsys& csys, bool inDegrees) {
  const Frame frame(csys);
  ForEachTriple(xyz, [&](const Triple& p) { return frame.ToLocal(p, inDegrees); });
}

using Directions = std::array<Triple, 3>;

double Dot(const Triple& a, const Triple& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

/// Takes the parts along the given unit vectors away; false when no direction remains.
bool MakeUnit(Triple& v, std::span<const Triple> against) {
  const double smallest = omi_Singleton<gsl_Util>::Instance().RelTolerance();
  double length = gsl_Vector(v[0], v[1], v[2]).Magnitude();
  if (!(length > 0) || !std::isfinite(length)) return false;
  for (double& x : v) x /= length;
  for (int pass = 0; pass < 2; ++pass) { // the second pass removes what rounding left of the first
    for (const Triple& unit : against) {
      const double along = Dot(v, unit);
      for (unsigned i = 0; i < 3; ++i) v[i] -= along * unit[i];
    }
    length = std::sqrt(Dot(v, v));
    if (!(length > smallest)) return false;
    for (double& x : v) x /= length;
  }
  return true;
}

/// The local directions of one system at any point.
class Turner {
public:
  explicit Turner(const dtu_DatumCsys& csys) : kind_(csys.GetCsysType()) {
    const Frame frame(csys);
    origin_ = {frame.origin[0], frame.origin[1], frame.origin[2]};
    axes_ = frame.rows;
    isSound_ = (kind_ == dtu_CARTESIAN || kind_ == dtu_CYLINDRICAL || kind_ == dtu_SPHERICAL)
               && MakeUnit(axes_[0], {}) && MakeUnit(axes_[1], std::span(axes_).first<1>())
               && MakeUnit(axes_[2], std::span(axes_).first<2>());
  }
  bool IsSound() const { return isSound_; }

  Directions At(double x, double y, double z) const {
    if (kind_ == dtu_CARTESIAN) return axes_;
    const Triple d{x - origin_[0], y - origin_[1], z - origin_[2]};
    const double a = Dot(axes_[0], d), b = Dot(axes_[1], d), h = Dot(axes_[2], d);
    const bool onAxis = OnAxis(a, b);
    const double rho = onAxis ? 0 : std::sqrt(a * a + b * b);
    const double c = onAxis ? 1 : a / rho, s = onAxis ? 0 : b / rho;
    const Triple outward = Combine(c, axes_[0], s, axes_[1]), around = Combine(-s, axes_[0], c, axes_[1]);
    if (kind_ == dtu_CYLINDRICAL) return {outward, around, axes_[2]};
    const double length = onAxis ? std::fabs(h) : std::sqrt(rho * rho + h * h);
    const bool atOrigin = Near(length, 0, kOnAxis);
    const double cosPolar = atOrigin ? 1 : h / length, sinPolar = atOrigin ? 0 : rho / length;
    return {Combine(sinPolar, outward, cosPolar, axes_[2]), around,
            Combine(cosPolar, outward, -sinPolar, axes_[2])};
  }

private:
  static Triple Combine(double s, const Triple& a, double t, const Triple& b) {
    return {s * a[0] + t * b[0], s * a[1] + t * b[1], s * a[2] + t * b[2]};
  }

  dtu_DatumCsysType kind_;
  Triple origin_;
  Directions axes_;
  bool isSound_;
};

/// Calls turn(directions, first number of the value) for each value of `width` numbers.
template<class T, class Turn>
bool ForEachValue(std::span<const float> points, const dtu_DatumCsys& csys, std::span<T> values,
                  std::size_t width, Turn turn) {
  if (points.size() % 3 != 0 || values.size() % width != 0 || points.size() / 3 != values.size() / width)
    throw nex_AssertionException(std::to_string(points.size()) + " coordinates are not those of "
                                 + std::to_string(values.size()) + " numbers in rows of "
                                 + std::to_string(width));
  const Turner turner(csys);
  if (!turner.IsSound()) return false;
  for (std::size_t i = 0; i < points.size() / 3; ++i)
    turn(turner.At(points[3 * i], points[3 * i + 1], points[3 * i + 2]), values.data() + width * i);
  return true;
}

template<class T>
bool RotateVectors(std::span<const float> points, const dtu_DatumCsys& csys, std::span<T> vectors) {
  return ForEachValue(points, csys, vectors, 3, [](const Directions& directions, T* vector) {
    const Triple v{vector[0], vector[1], vector[2]};
    for (unsigned i = 0; i < 3; ++i) vector[i] = static_cast<T>(Dot(directions[i], v));
  });
}

template<class T>
bool RotateTensors(std::span<const float> points, const dtu_DatumCsys& csys, std::span<T> tensors) {
  return ForEachValue(points, csys, tensors, 6, [](const Directions& directions, T* tensor) {
    const double xx = tensor[0], yy = tensor[1], zz = tensor[2], xy = tensor[3], xz = tensor[4],
                 yz = tensor[5];
    Directions product; // of the tensor and each direction
    for (unsigned i = 0; i < 3; ++i) {
      const Triple& d = directions[i];
      product[i] = {xx * d[0] + xy * d[1] + xz * d[2], xy * d[0] + yy * d[1] + yz * d[2],
                    xz * d[0] + yz * d[1] + zz * d[2]};
    }
    constexpr unsigned kPairs[6][2] = {{0, 0}, {1, 1}, {2, 2}, {0, 1}, {0, 2}, {1, 2}};
    for (unsigned k = 0; k < 6; ++k)
      tensor[k] = static_cast<T>(Dot(directions[kPairs[k][0]], product[kPairs[k][1]]));
  });
}
} // namespace

gsl_Point dtu_MapLocalIntoGlobal(const gsl_Point& local, const dtu_DatumCsys* csys) {
  const auto [x, y, z] = Frame(*csys).ToGlobal({local[0], local[1], local[2]});
  return {x, y, z};
}

gsl_Point dtu_MapGlobalIntoLocal(const gsl_Point& global, const dtu_DatumCsys* csys, bool inDegrees) {
  const auto [x, y, z] = Frame(*csys).ToLocal({global[0], global[1], global[2]}, inDegrees);
  return {x, y, z};
}

void dtu_MapLocalIntoGlobal(std::span<double> xyz, const dtu_DatumCsys& csys) { LocalIntoGlobal(xyz, csys); }
void dtu_MapLocalIntoGlobal(std::span<float> xyz, const dtu_DatumCsys& csys) { LocalIntoGlobal(xyz, csys); }
void dtu_MapGlobalIntoLocal(std::span<double> xyz, const dtu_DatumCsys& csys, bool inDegrees) {
  GlobalIntoLocal(xyz, csys, inDegrees);
}
void dtu_MapGlobalIntoLocal(std::span<float> xyz, const dtu_DatumCsys& csys, bool inDegrees) {
  GlobalIntoLocal(xyz, csys, inDegrees);
}

bool dtu_LocalDirections(const gsl_Point& at, const dtu_DatumCsys& csys, double (&directions)[3][3]) {
  const Turner turner(csys);
  if (!turner.IsSound()) return false;
  const Directions found = turner.At(at[0], at[1], at[2]);
  for (unsigned i = 0; i < 3; ++i) std::copy(found[i].begin(), found[i].end(), directions[i]);
  return true;
}

bool dtu_RotateVectorsIntoLocal(std::span<const float> points, const dtu_DatumCsys& csys,
                                std::span<double> vectors) {
  return RotateVectors(points, csys, vectors);
}
bool dtu_RotateVectorsIntoLocal(std::span<const float> points, const dtu_DatumCsys& csys,
                                std::span<float> vectors) {
  return RotateVectors(points, csys, vectors);
}
bool dtu_RotateTensorsIntoLocal(std::span<const float> points, const dtu_DatumCsys& csys,
                                std::span<double> tensors) {
  return RotateTensors(points, csys, tensors);
}
bool dtu_RotateTensorsIntoLocal(std::span<const float> points, const dtu_DatumCsys& csys,
                                std::span<float> tensors) {
  return RotateTensors(points, csys, tensors);
}
