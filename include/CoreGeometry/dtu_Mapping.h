// dtu_Mapping.h: points, vectors and tensors between global and local coordinates
#pragma once

#include <CoreGeometry/dtu_DatumCsys.h>
#include <span>

// Local coordinates are (x, y, z), (radius, angle, axial) or (radius, azimuth, polar angle).
//
// Points go through the axes as stored and their transpose as the inverse, so the two mappings undo each
// other only for orthonormal axes. A point counts as on the axis when neither local coordinate across it
// exceeds 1e-5. The forms for many points move them in place, three numbers each, a rest is left alone, and
// give the bits of the point-wise ones (single precision: computed in double, rounded once). They do not
// raise.

/// Local into global; angles are in degrees, always. The origin for a system of another kind.
CORE_GEOMETRY_API gsl_Point dtu_MapLocalIntoGlobal(const gsl_Point& local, const dtu_DatumCsys* csys);
CORE_GEOMETRY_API void dtu_MapLocalIntoGlobal(std::span<double> xyz, const dtu_DatumCsys& csys);
CORE_GEOMETRY_API void dtu_MapLocalIntoGlobal(std::span<float> xyz, const dtu_DatumCsys& csys);

/// Global into local; angles are in radians unless degrees are asked for. A cylindrical point on the axis has
/// the angle 0 and its absolute axial coordinate as radius, a spherical one the azimuth 0; the spherical
/// origin and any point in a system of another kind are (0, 0, 0).
CORE_GEOMETRY_API gsl_Point dtu_MapGlobalIntoLocal(const gsl_Point& global, const dtu_DatumCsys* csys,
                                                   bool inDegrees);
CORE_GEOMETRY_API void dtu_MapGlobalIntoLocal(std::span<double> xyz, const dtu_DatumCsys& csys,
                                              bool inDegrees);
CORE_GEOMETRY_API void dtu_MapGlobalIntoLocal(std::span<float> xyz, const dtu_DatumCsys& csys,
                                              bool inDegrees);

/// For callers that report a failed mapping; nothing here prints it.
inline constexpr const char* dtu_kFailedCylindricalMapping =
    "ERROR: Failed to map node into local Cylindrical Csys.";

// Vectors and tensors turn with the local directions at a point: those in which the local coordinates grow,
// in their stored order. The stored axes are made orthonormal first (x is kept, y in the plane of x and y, z
// on the side of the stored z); false, and nothing changed, when they cannot be or the kind is unknown.
//
// On the axis the angle counts as 0, at the spherical origin the polar angle too. The spherical directions
// (radius, azimuth, polar angle) of right-handed axes are left-handed: their determinant is -1.

/// Rows are the three directions at a point.
CORE_GEOMETRY_API bool dtu_LocalDirections(const gsl_Point& at, const dtu_DatumCsys& csys,
                                           double (&directions)[3][3]);
/// Vectors (x, y, z each) into local components, at the points whose coordinates are given, three each.
/// Raises nex_AssertionException when there are not as many points as values.
CORE_GEOMETRY_API bool dtu_RotateVectorsIntoLocal(std::span<const float> points, const dtu_DatumCsys& csys,
                                                  std::span<double> vectors);
CORE_GEOMETRY_API bool dtu_RotateVectorsIntoLocal(std::span<const float> points, const dtu_DatumCsys& csys,
                                                  std::span<float> vectors);
/// Symmetric tensors likewise: xx, yy, zz, xy, xz, yz each, with tensor (not engineering) shear.
CORE_GEOMETRY_API bool dtu_RotateTensorsIntoLocal(std::span<const float> points, const dtu_DatumCsys& csys,
                                                  std::span<double> tensors);
CORE_GEOMETRY_API bool dtu_RotateTensorsIntoLocal(std::span<const float> points, const dtu_DatumCsys& csys,
                                                  std::span<float> tensors);
