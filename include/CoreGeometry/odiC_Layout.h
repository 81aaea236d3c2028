// odiC_Layout.h: which entities of a mesh have values, and where their rows are
#pragma once

#include <BasicUtils/cow_ArrayCOW.h>
#include <CoreGeometry/odiC_Stored.h>
#include <CoreGeometry/res_Field.h>
#include <CoreGeometry/res_OutputPosition.h>
#include <vector>

/// Points of an element that are not the integration points of its shape.
///
/// Units      iso coordinates; weights are those of integration.
/// Empty      without coordinates it only says how many points there are.
/// Stored as  name, elemTypeLabel, count, isoCoordinates, weights
class CORE_GEOMETRY_API odiC_PointSet : public odiC_Stored<odiC_PointSet> {
public:
  static constexpr const char* kName = "odiC_PointSet";
  static constexpr unsigned short kOrdinal = 6;

  odiC_PointSet() = default;
  explicit odiC_PointSet(const cls_ReadVisitor& visitor);

  cow_String WhatIsWrong() const; ///< empty when nothing is

  cow_String name, elemTypeLabel;
  int count = 0;
  std::vector<double> isoCoordinates; ///< three for each point, or none
  std::vector<double> weights;        ///< one for each point, or none

private:
  friend odiC_Stored<odiC_PointSet>;
  static constexpr auto StoredFields();
};
extern template class odiC_Stored<odiC_PointSet>;

/// Entities of one position and element class, with the same number of values each.
///
/// Stored as  position, classIndex, category, sectionPoint, pointSet, valuesPerEntity, firstRow, numEntities, entities,
///            faces, region
class CORE_GEOMETRY_API odiC_LayoutBlock : public odiC_Stored<odiC_LayoutBlock> {
public:
  static constexpr const char* kName = "odiC_LayoutBlock";
  static constexpr unsigned short kOrdinal = 7;

  odiC_LayoutBlock() = default;
  explicit odiC_LayoutBlock(const cls_ReadVisitor& visitor);

  int NumRows() const noexcept { return numEntities * valuesPerEntity; }
  bool IsNodal() const noexcept;
  bool HasFaces() const noexcept;
  /// Index of a node, or position of an element in its class.
  int Entity(int at) const noexcept { ///< of that position in the block
    return entities.IsEmpty() ? at : entities.Const()[static_cast<std::size_t>(at)];
  }
  /// Position of an entity in the block, -1 when it has no values. The first one of an element with several faces.
  int Find(int entity) const noexcept;

  res_OutputPositionEnm position = res_UNDEFINED_POSITION;
  int classIndex = -1;   ///< -1 for nodes and whole regions
  int category = -1;     ///< of the run, -1 for none
  int sectionPoint = -1; ///< of the category, -1 for none
  int pointSet = -1;     ///< of the run, -1 for the shape's own integration points
  int valuesPerEntity = 1;
  int firstRow = 0;
  int numEntities = 0;
  cow_ArrayCOW<int> entities; ///< ascending; none when all of the class or mesh
  cow_ArrayCOW<int> faces;    ///< facet ids of face positions, see rgnC_Facet.h; one for each entity
  cow_String region;          ///< the set that the values belong to

private:
  friend odiC_Stored<odiC_LayoutBlock>;
  static constexpr auto StoredFields();
};
extern template class odiC_Stored<odiC_LayoutBlock>;

/// Where the rows of a field are: block after block, in a block entity by entity, in an entity point by point. Shared by
/// all fields with the same places.
///
/// Range      2147483647 rows.
/// Errors     nex_TextException for a block that does not fit; damage when a stored one does not.
/// Stored as  completeness, numRows, blocks
class CORE_GEOMETRY_API odiC_Layout : public odiC_Stored<odiC_Layout> {
public:
  static constexpr const char* kName = "odiC_Layout";
  static constexpr unsigned short kOrdinal = 8;

  odiC_Layout() = default;
  explicit odiC_Layout(const cls_ReadVisitor& visitor);

  /// Appends a block and numbers its rows. Blocks come sorted by position, class, section point and region.
  void Add(odiC_LayoutBlock block);
  /// What is wrong with it, without looking at a mesh; empty when nothing is.
  cow_String WhatIsWrong() const;

  res_FieldCompletenessEnm completeness = res_EMPTY_FIELD;
  int numRows = 0;
  std::vector<odiC_LayoutBlock> blocks;

private:
  friend odiC_Stored<odiC_Layout>;
  static constexpr auto StoredFields();
};
extern template class odiC_Stored<odiC_Layout>;
