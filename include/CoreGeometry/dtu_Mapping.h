// dtu_Mapping.h: points, vectors and tensors between global and local coordinates
#pragma once

#include <CoreGeometry/dtu_DatumCsys.h>
#include <span>

// Local coordinates are (x, y, z), (radius, angle, axial) or (radius, azimuth, polar angle).
//
// Points are mapped with the axes as stored, and with their transpose as the inverse, so the two mappings
// undo each other only for orthonormal axes. A point counts as on the axis when both local coordinates normal
// to the axis are at most 1e-5. The functions for many points map them in place, three numbers each, and
// ignore an incomplete last point; they give the same bits as those for one point (single precision: computed
// in double, rounded once). They throw nothing.

/// Local to global; angles are always in degrees. A system of an unknown kind gives the origin.
CORE_GEOMETRY_API gsl_Point dtu_MapLocalIntoGlobal(const gsl_Point& local, const dtu_DatumCsys* csys);
CORE_GEOMETRY_API void dtu_MapLocalIntoGlobal(std::span<double> xyz, const dtu_DatumCsys& csys);
CORE_GEOMETRY_API void dtu_MapLocalIntoGlobal(std::span<float> xyz, const dtu_DatumCsys& csys);

/// Global to local; angles are in radians unless degrees are requested. A cylindrical point on the axis has
/// the angle 0 and its absolute axial coordinate as radius, a spherical one the azimuth 0; the spherical
/// origin, and any point in a system of an unknown kind, give (0, 0, 0).
CORE_GEOMETRY_API gsl_Point dtu_MapGlobalIntoLocal(const gsl_Point& global, const dtu_DatumCsys* csys,
                                                   bool inDegrees);
CORE_GEOMETRY_API void dtu_MapGlobalIntoLocal(std::span<double> xyz, const dtu_DatumCsys& csys,
                                              bool inDegrees);
CORE_GEOMETRY_API void dtu_MapGlobalIntoLocal(std::span<float> xyz, const dtu_DatumCsys& csys,
                                              bool inDegrees);

/// Text for callers that report a failed mapping; this module does not print it.
inline constexpr const char* dtu_kFailedCylindricalMapping =
    "ERROR: Failed to map node into local Cylindrical Csys.";

// Vectors and tensors are rotated into the local directions at a point: those in which the local coordinates
// increase, in their stored order. The stored axes are made orthonormal first (x is kept, y in the plane of x
// and y, z on the side of the stored z); false, and nothing is changed, when that is impossible or the kind
// is unknown.
//
// On the axis the angle counts as 0, at the spherical origin the polar angle too. The spherical directions
// (radius, azimuth, polar angle) of right-handed axes are left-handed: their determinant is -1.

/// The rows are the three directions at a point.
CORE_GEOMETRY_API bool dtu_LocalDirections(const gsl_Point& at, const dtu_DatumCsys& csys,
                                           double (&directions)[3][3]);
/// Rotates vectors (x, y, z each) into local components at the given points, three coordinates each. Raises
/// nex_AssertionException when there are not as many points as vectors.
CORE_GEOMETRY_API bool dtu_RotateVectorsIntoLocal(std::span<const float> points, const dtu_DatumCsys& csys,
                                                  std::span<double> vectors);
CORE_GEOMETRY_API bool dtu_RotateVectorsIntoLocal(std::span<const float> points, const dtu_DatumCsys& csys,
                                                  std::span<float> vectors);
/// The same for symmetric tensors: xx, yy, zz, xy, xz, yz each, with tensor (not engineering) shear.
CORE_GEOMETRY_API bool dtu_RotateTensorsIntoLocal(std::span<const float> points, const dtu_DatumCsys& csys,
                                                  std::span<double> tensors);
CORE_GEOMETRY_API bool dtu_RotateTensorsIntoLocal(std::span<const float> points, const dtu_DatumCsys& csys,
                                                  std::span<float> tensors);
