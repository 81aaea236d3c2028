#include <CoreGeometry/odiC_Layout.h>

#include "odiC_Fields.h"

#include <algorithm>
#include <limits>
#include <tuple>

template<> struct cls_FieldKind<cow_ArrayCOW<int>> {
  static constexpr cls_AttributeType kType = cls_AttributeType::IntArray;
  static unsigned ElemTypeId() { return 1; }
  static void Read(const cls_ReadVisitor& visitor, const char* name, cow_ArrayCOW<int>& value) {
    value = cls_ReadVisitor(visitor, name).GetArray<int>();
  }
  static void Write(const cls_WriteVisitor& visitor, const char* name, const cow_ArrayCOW<int>& value) {
    cls_WriteVisitor(visitor, name).PutArray(value, 1);
  }
};

constexpr auto odiC_PointSet::StoredFields() {
  return cls_Fields{
      cls_Field{"name", &odiC_PointSet::name}, cls_Field{"elemTypeLabel", &odiC_PointSet::elemTypeLabel},
      cls_Field{"count", &odiC_PointSet::count}, cls_Field{"isoCoordinates", &odiC_PointSet::isoCoordinates},
      cls_Field{"weights", &odiC_PointSet::weights}};
}
template class odiC_Stored<odiC_PointSet>;

constexpr auto odiC_LayoutBlock::StoredFields() {
  return cls_Fields{cls_Field{"position", &odiC_LayoutBlock::position},
                    cls_Field{"classIndex", &odiC_LayoutBlock::classIndex},
                    cls_Field{"category", &odiC_LayoutBlock::category},
                    cls_Field{"sectionPoint", &odiC_LayoutBlock::sectionPoint},
                    cls_Field{"pointSet", &odiC_LayoutBlock::pointSet},
                    cls_Field{"valuesPerEntity", &odiC_LayoutBlock::valuesPerEntity},
                    cls_Field{"firstRow", &odiC_LayoutBlock::firstRow},
                    cls_Field{"numEntities", &odiC_LayoutBlock::numEntities},
                    cls_Field{"entities", &odiC_LayoutBlock::entities},
                    cls_Field{"faces", &odiC_LayoutBlock::faces},
                    cls_Field{"region", &odiC_LayoutBlock::region}};
}
template class odiC_Stored<odiC_LayoutBlock>;

constexpr auto odiC_Layout::StoredFields() {
  return cls_Fields{cls_Field{"completeness", &odiC_Layout::completeness},
                    cls_Field{"numRows", &odiC_Layout::numRows}, cls_Field{"blocks", &odiC_Layout::blocks}};
}
template class odiC_Stored<odiC_Layout>;

odiC_PointSet::odiC_PointSet(const cls_ReadVisitor& visitor) : odiC_Stored(visitor) {
  ReadFields(visitor);
  if (const cow_String wrong = WhatIsWrong(); !wrong.empty()) visitor.Refuse(wrong);
}

cow_String odiC_PointSet::WhatIsWrong() const {
  const auto points = static_cast<std::size_t>(std::max(0, count));
  return count >= 1 && (isoCoordinates.empty() || isoCoordinates.size() == 3 * points)
                 && (weights.empty() || weights.size() == points)
             ? cow_String()
             : "point set \"" + name + "\" of " + std::to_string(count) + " points has "
                   + std::to_string(isoCoordinates.size()) + " coordinates and "
                   + std::to_string(weights.size()) + " weights";
}

odiC_LayoutBlock::odiC_LayoutBlock(const cls_ReadVisitor& visitor) : odiC_Stored(visitor) {
  ReadFields(visitor);
}

bool odiC_LayoutBlock::IsNodal() const noexcept {
  return position == res_NODAL || position == res_SURFACE_NODAL;
}

bool odiC_LayoutBlock::HasFaces() const noexcept {
  return position == res_ELEMENT_FACE || position == res_ELEMENT_FACE_INTEGRATION_POINT
         || position == res_SURFACE_INTEGRATION_POINT;
}

int odiC_LayoutBlock::Find(int entity) const noexcept {
  if (entities.IsEmpty()) return entity >= 0 && entity < numEntities ? entity : -1;
  const std::span<const int> all = entities.Const();
  const auto at = std::ranges::lower_bound(all, entity);
  return at != all.end() && *at == entity ? static_cast<int>(at - all.begin()) : -1;
}

odiC_Layout::odiC_Layout(const cls_ReadVisitor& visitor) : odiC_Stored(visitor) {
  ReadFields(visitor);
  if (const cow_String wrong = WhatIsWrong(); !wrong.empty()) visitor.Refuse(wrong);
}

namespace {
/// What is wrong with a block that begins at a row and comes after others.
cow_String WhatIsWrongWith(std::span<const odiC_LayoutBlock> blocks, std::size_t i, long long row) {
  const auto key = [](const odiC_LayoutBlock& block) {
    return std::tuple(block.position, block.classIndex, block.sectionPoint, block.region);
  };
  const odiC_LayoutBlock& block = blocks[i];
  const cow_String place = "layout block " + std::to_string(i);
  const auto count = static_cast<std::size_t>(std::max(0, block.numEntities));
  if (block.numEntities < 0 || block.valuesPerEntity < 1)
    return place + ": " + std::to_string(block.numEntities) + " entities of "
           + std::to_string(block.valuesPerEntity) + " values";
  if (block.firstRow != row)
    return place + ": begins at row " + std::to_string(block.firstRow) + ", not " + std::to_string(row);
  const std::span<const int> entities = block.entities.Const(), faces = block.faces.Const();
  if (!entities.empty() && entities.size() != count)
    return place + ": " + std::to_string(entities.size()) + " entities are listed of "
           + std::to_string(count);
  if (block.HasFaces() ? faces.size() != count : !faces.empty())
    return place + ": " + std::to_string(faces.size()) + " faces are listed of " + std::to_string(count);
  for (std::size_t k = 0; k < entities.size(); ++k) {
    const bool isAfter = k == 0 || entities[k - 1] < entities[k]
                         || (!faces.empty() && entities[k - 1] == entities[k] && faces[k - 1] < faces[k]);
    if (entities[k] < 0 || !isAfter)
      return place + ": entity " + std::to_string(entities[k]) + " at position " + std::to_string(k)
             + " does not follow the one before";
  }
  if (i > 0 && !(key(blocks[i - 1]) < key(block)))
    return place + ": comes before the one before it, or holds the same places";
  return {};
}
} // namespace

void odiC_Layout::Add(odiC_LayoutBlock block) {
  block.firstRow = numRows;
  const long long rows = numRows + static_cast<long long>(block.numEntities) * block.valuesPerEntity;
  if (rows > std::numeric_limits<int>::max())
    throw nex_TextException("a layout of " + std::to_string(rows) + " rows; there may be "
                            + std::to_string(std::numeric_limits<int>::max()));
  blocks.push_back(std::move(block));
  if (const cow_String wrong = WhatIsWrongWith(blocks, blocks.size() - 1, numRows); !wrong.empty()) {
    blocks.pop_back();
    throw nex_TextException(wrong);
  }
  numRows = static_cast<int>(rows);
}

cow_String odiC_Layout::WhatIsWrong() const {
  long long row = 0;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    if (cow_String wrong = WhatIsWrongWith(blocks, i, row); !wrong.empty()) return wrong;
    row += static_cast<long long>(blocks[i].numEntities) * blocks[i].valuesPerEntity;
  }
  if (row != numRows)
    return "a layout of " + std::to_string(numRows) + " rows has blocks of " + std::to_string(row);
  return {};
}
