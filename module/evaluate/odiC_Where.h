// odiC_Where.h: conditions on places, put together by a selection
#pragma once

#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/odiC_Selection.h>
#include <functional>

/// What a condition means when values at nodes are made of those of elements around them.
enum class odiC_Sense {
  Exact, ///< the places that are meant
  /// Elements that may contribute to the nodes that are meant: all around a chosen node, though not all their nodes are
  /// chosen. Least: those that contribute for certain, which is what may be taken away from others.
  Most,
  Least,
  /// Nodes or faces of the result: positions, points and section points were those of the elements. Least as before.
  ResultMost,
  ResultLeast
};
constexpr bool odiC_IsOfResult(odiC_Sense sense) noexcept {
  return sense == odiC_Sense::ResultMost || sense == odiC_Sense::ResultLeast;
}

class odiC_Where {
public:
  using Layout = std::shared_ptr<const odiC_Layout>;
  virtual ~odiC_Where() = default;
  virtual odiC_Places In(const odiC_Run& run, const Layout& layout, odiC_Sense sense) const = 0;
};
using odiC_WherePointer = std::shared_ptr<const odiC_Where>;

/// Chosen nodes, elements or faces of a mesh; one of the three.
struct odiC_Entities {
  std::optional<bme_FEMNodeList> nodes = {};
  std::optional<bme_FEMElemList> elements = {};
  std::optional<bme_FEMFaceList> faces = {};
  cow_String region = {}; ///< the set that they are of
};

odiC_Entities odiC_EntitiesOfRegion(const odiC_Run& run, const cow_String& name);

odiC_WherePointer odiC_WhereBlock(std::function<bool(const odiC_Run&, const odiC_LayoutBlock&)> isMeant);
odiC_WherePointer odiC_WhereClasses(std::function<bool(const odiC_Run&, int classIndex)> isMeant);
odiC_WherePointer odiC_WhereEntities(std::function<odiC_Entities(const odiC_Run&)> entities);
odiC_WherePointer odiC_WherePoints(std::vector<int> points);

enum class odiC_Junction { And, Or, Without };
odiC_WherePointer odiC_WhereBoth(odiC_Junction junction, odiC_WherePointer a, odiC_WherePointer b);
