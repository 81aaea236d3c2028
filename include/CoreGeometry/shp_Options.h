// shp_Options.h: the meaning of the attribute bits of an element label
#pragma once

#include <BasicUtils/LongKey.h>
#include <CoreGeometry/CoreGeometryExport.h>

/// Basic form of an element. The values are the attribute bits that select it.
enum class shp_Family : int {
  None,
  Point,
  Line,
  Triangle,
  Quadrilateral,
  Tetrahedron,
  Hexahedron,
  Wedge,
  RigidSurface, ///< analytic: a profile of curves on one node
};

/// The attribute key of an element label, decoded once.
///
/// Where several bits of a group are set, the lowest counts.
/// Empty      an empty key gives family None and no counts.
/// Threads    immutable.
class CORE_GEOMETRY_API shp_Options {
public:
  explicit shp_Options(const LongKey& key);

  // ask
  shp_Family Family() const noexcept { return family_; }
  int NumNodes() const noexcept { return numNodes_; }   ///< as listed, 0 when the key names none
  int NumIntPts() const noexcept { return numIntPts_; } ///< as listed, 0 when the key names none
  /// Number 1 to 4 at the end of a numbered label (CAXA43: 3), 0 for labels that are not numbered.
  int RingCount() const noexcept { return ringCount_; }
  bool IsTwoDimensional() const noexcept { return isTwoDimensional_; }
  bool HasBit(int bit) const noexcept { return key_.hasBit(bit); }
  const LongKey& Key() const noexcept { return key_; }

private:
  LongKey key_;
  shp_Family family_ = shp_Family::None;
  int numNodes_ = 0;
  int numIntPts_ = 0;
  int ringCount_ = 0;
  bool isTwoDimensional_ = false;
};
