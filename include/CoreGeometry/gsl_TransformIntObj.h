// gsl_TransformIntObj.h: a transform as the interface layer sees it
#pragma once

#include <CaeUtils/omu_Prim.h>
#include <CoreGeometry/gsl_Matrix.h>

/// Interface object of a transform.
///
/// Threads    a value: concurrent reads are safe, and copies are independent.
class CORE_GEOMETRY_API gsl_TransformIntObj : public omu_InterfaceObject {
public:
  explicit gsl_TransformIntObj(const gsl_Matrix& transform) noexcept : transform_(transform) {}

  cow_String TypeName() const override; ///< "gsl_TransformIntObj"
  const gsl_Matrix& Transform() const noexcept { return transform_; }

private:
  gsl_Matrix transform_;
};
