#include <CoreGeometry/shp_ArsDataHolder.h>

#include <CoreUtils/atr_String.h>

namespace {
// the positions that failures have always been reported with
constexpr const char* kSource = "generated/module/shp/impl/shp_ArsDataHolder";
constexpr int kPairsLine = 17, kVectorLine = 61, kIndexLine = 72;

/// The pairs' type of a segment's type; pairs per segment are its points.
constexpr shp_SuppDataPairEnm kPairTypes[] = {shp_START, shp_LINE, shp_CIRCL, shp_PARAB};
} // namespace

shp_ArsDataHolder::shp_ArsDataHolder(OldData oldData, Surface surface)
    : oldData_(std::move(oldData)), surface_(std::move(surface)) {}

void shp_ArsDataHolder::Require(int line) const {
  if (!hasValue())
    nex_Exception::Throw(nex_TextException("ARS data does not have a valid old/new representation"), kSource,
                         line);
}

shp_SuppDataPairList shp_ArsDataHolder::ConstGetDataPairList() const {
  Require(kPairsLine);
  shp_SuppDataPairList pairs;
  if (!oldData_.IsNull()) pairs = oldData_->DataPairList();
  if (surface_.IsNull()) return pairs;
  for (const shp_AnalyticSurfaceSegment& segment : surface_->Profile().List())
    for (int i = 0; i < shp_AnalyticSurfaceSegment::NumPoints(segment.Type()); ++i)
      pairs.ListToModify().Append({segment.Data().ConstGet(i), kPairTypes[segment.Type()]});
  return pairs;
}

g3d_Vector shp_ArsDataHolder::ConstGetLocalCoordDef(int index) const {
  Require(kVectorLine);
  g3d_Vector vector;
  if (!oldData_.IsNull()) vector = oldData_->LocalCoordDef().ConstGet(index);
  if (surface_.IsNull()) return vector;
  const auto& vectors = surface_->LocalCoordData();
  if (index > vectors.Size())
    nex_Exception::Throw(nex_TextException(atr_Format(
                             "localcoord data requested for %d when size is %d",
                             {static_cast<long long>(index), static_cast<long long>(vectors.Size())})),
                         kSource, kIndexLine);
  return vectors.ConstGet(index);
}
