// shp_ArsDataHolder.h: an analytic rigid surface in its older form, its newer form, or both
#pragma once

#include <BasicUtils/cow_COW.h>
#include <CoreGeometry/shp_AnalyticRigidSurfaceData.h>
#include <CoreGeometry/shp_AnalyticSurface.h>

/// The older record of a surface, the newer surface, both or neither.
///
/// Errors     nex_TextException when there is neither; nex_OutOfRangeException as each function states.
/// Cost       copy O(1).
/// Threads    a value: concurrent reads are safe, and copies are independent.
class CORE_GEOMETRY_API shp_ArsDataHolder {
public:
  using OldData = cow_COW<shp_AnalyticRigidSurfaceData, cow_Virtual<shp_AnalyticRigidSurfaceData>>;
  using Surface = cow_COW<shp_AnalyticSurface, cow_Virtual<shp_AnalyticSurface>>;

  // make
  shp_ArsDataHolder() = default; ///< neither
  shp_ArsDataHolder(OldData oldData, Surface surface);

  // ask
  bool hasValue() const noexcept { return !oldData_.IsNull() || !surface_.IsNull(); }
  /// The flat list of typed points: the record's list, with its uid, then the points of the surface's
  /// profile. Raises nex_OutOfRangeException for a segment without its points.
  shp_SuppDataPairList ConstGetDataPairList() const;
  /// A local coordinate vector. When there are both, the index must be valid in both, and the surface's
  /// vector is returned. An index above the surface's count is a nex_TextException, one equal to it or
  /// outside the record's a nex_OutOfRangeException.
  g3d_Vector ConstGetLocalCoordDef(int index) const;

private:
  void Require(int line) const;

  OldData oldData_;
  Surface surface_;
};
