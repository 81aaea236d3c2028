// rgnC_RegionPair.h: a pair of regions
#pragma once

#include <CoreGeometry/rgnC_Region.h>

/// Two regions, each of which may stand for the ground instead, and a flag that suppresses the pair.
///
/// Empty      the default has two empty regions and no flag.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  region1, region2, ground1, ground2, suppress
class CORE_GEOMETRY_API rgnC_RegionPair {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  rgnC_RegionPair() = default;
  rgnC_RegionPair(const rgnC_Region& region1, const rgnC_Region& region2, bool ground1, bool ground2,
                  bool suppress);
  explicit rgnC_RegionPair(const cls_ReadVisitor& visitor);
  rgnC_RegionPair(const rgnC_RegionPair&) = default;
  rgnC_RegionPair& operator=(const rgnC_RegionPair&) = default;
  virtual ~rgnC_RegionPair() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const rgnC_Region& Region1() const noexcept { return region1_; }
  const rgnC_Region& Region2() const noexcept { return region2_; }
  bool IsGround1() const noexcept { return ground1_; }
  bool IsGround2() const noexcept { return ground2_; }
  bool IsSuppressed() const noexcept { return suppress_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  /// Compares first with first, second with second, and the flags: the order matters.
  bool operator==(const rgnC_RegionPair& other) const;

private:
  static constexpr auto StoredFields();

  rgnC_Region region1_, region2_;
  bool ground1_ = false, ground2_ = false, suppress_ = false;
  cls_OwnUid uid_;
};

using rgnC_RegionPairList = cls_xo1DArrayList<rgnC_RegionPair>;

/// (region1, region2, ground1, ground2, suppress).
CORE_GEOMETRY_API omu_Prim omu_ReturnPrim(const rgnC_RegionPair& pair);
/// One value per pair.
CORE_GEOMETRY_API omu_Prim omu_ReturnPrim(const rgnC_RegionPairList& pairs);
