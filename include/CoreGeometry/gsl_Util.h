// gsl_Util.h: the tolerances of the geometry module
#pragma once

#include <BasicUtils/omi_Singleton.h>
#include <CoreGeometry/CoreGeometryExport.h>

/// The process-wide tolerance record: omi_Singleton<gsl_Util>::Instance().
///
/// Every test of sameness, incidence, parallelism and orthogonality of the module reads these values, so
/// changing one changes the module. They are independent: setting the linear tolerance does not change its
/// square.
///
/// Units      model length for the linear and the coarse tolerance, its square for the squared one.
/// Threads    read from any thread; set only while no other thread uses the module.
class CORE_GEOMETRY_API gsl_Util {
public:
  gsl_Util();

  // ask
  double Tolerance() const noexcept { return tolerance_; }             ///< incidence, zero length
  double TolSquared() const noexcept { return tolSquared_; }           ///< for squared distances
  double RelTolerance() const noexcept { return relTolerance_; }       ///< parallel, orthogonal, colinear
  double CoarseTolerance() const noexcept { return coarseTolerance_; } ///< not used by this module
  /// Display factors 0 to 3, halving from one to the next; any other index gives the last.
  double DisplayFactor(unsigned i) const noexcept { return displayFactor_[i < 3 ? i : 3]; }
  double DisplayScale() const noexcept { return displayScale_; }
  double StartTime() const noexcept { return startTime_; } ///< omi_gettimecounter() at creation

  // change
  void SetTolerance(double value) noexcept { tolerance_ = value; }
  void SetTolSquared(double value) noexcept { tolSquared_ = value; }
  void SetRelTolerance(double value) noexcept { relTolerance_ = value; }
  void SetCoarseTolerance(double value) noexcept { coarseTolerance_ = value; }
  /// Sets display factor 2 to 15.0 when true, to 11.25 when false.
  void SetOldDisplayFactor(bool old) noexcept { displayFactor_[2] = old ? 15.0 : 11.25; }
  void SetDisplayScale(double value) noexcept { displayScale_ = value; }

private:
  double tolerance_ = 1e-6;
  double tolSquared_ = 1e-12;
  double relTolerance_ = 1e-10;
  double coarseTolerance_ = 1e-4;
  double displayFactor_[4] = {45.0, 22.5, 11.25, 5.625};
  double displayScale_ = 1.0;
  double startTime_;
};
