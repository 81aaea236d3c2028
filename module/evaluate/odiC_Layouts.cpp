#include <CoreGeometry/odiC_Run.h>

#include <CoreGeometry/shp_Shape.h>

namespace {
/// Values that each element of a class has at a position; 0 when it can have none.
int ValuesPerElement(const odiC_LayoutBlock& block, const bme_ElementClass& type,
                     std::span<const int> pointSetCounts) {
  const shp_Shape* shape = type.Shape();
  switch (block.position) {
  case res_ELEMENT_NODAL: return type.NumNodesPerElem();
  case res_INTEGRATION_POINT:
    if (block.pointSet >= 0)
      return static_cast<std::size_t>(block.pointSet) < pointSetCounts.size()
                 ? pointSetCounts[static_cast<std::size_t>(block.pointSet)]
                 : 0;
    return shape ? shape->NumIntPts() : 0;
  case res_WHOLE_ELEMENT:
  case res_ELEMENT_CENTROID:
  case res_ELEMENT_FACE: return 1;
  case res_ELEMENT_FACE_INTEGRATION_POINT:
  case res_SURFACE_INTEGRATION_POINT: return block.valuesPerEntity;
  default: return 0;
  }
}
} // namespace

cow_String odiC_WhatIsWrong(const odiC_Layout& layout, const bme_Mesh& mesh,
                            std::span<const int> pointSetCounts) {
  cow_String wrong = layout.WhatIsWrong();
  const bme_ElementData& elements = mesh.ElementData();
  for (std::size_t i = 0; i < layout.blocks.size() && wrong.empty(); ++i) {
    const odiC_LayoutBlock& block = layout.blocks[i];
    const char* position = omu_FindText(omu_EnumTable<res_OutputPositionEnm>::entries, block.position);
    if (!position)
      return "layout block " + std::to_string(i) + ": there is no position " + std::to_string(block.position);
    const cow_String place = "layout block " + std::to_string(i) + " (" + position + "): ";
    long long most = block.numEntities;
    int wanted = 1;
    const bool isOfClass = !block.IsNodal() && block.position != res_WHOLE_REGION
                           && block.position != res_WHOLE_PART_INSTANCE && block.position != res_WHOLE_MODEL
                           && block.position != res_GENERAL_PARTICLE;
    if (!isOfClass && block.classIndex != -1)
      return place + "element class " + std::to_string(block.classIndex) + ", and it is of none";
    if (block.IsNodal()) {
      most = mesh.NodeData().NumNodes();
    } else if (isOfClass) {
      if (block.classIndex < 0 || block.classIndex >= static_cast<int>(elements.NumClasses()))
        return place + "the mesh has no element class " + std::to_string(block.classIndex);
      const bme_ElementClass& type = elements.GetClass(static_cast<unsigned>(block.classIndex));
      most = type.NumElements();
      wanted = ValuesPerElement(block, type, pointSetCounts);
    }
    const std::span<const int> entities = block.entities.Const();
    const long long last = entities.empty() ? block.numEntities - 1 : entities.back();
    if (block.valuesPerEntity != wanted)
      wrong =
          place + std::to_string(block.valuesPerEntity) + " values for each, not " + std::to_string(wanted);
    else if (entities.empty() && block.numEntities != most)
      wrong = place + "all of " + std::to_string(block.numEntities) + ", and the mesh has "
              + std::to_string(most);
    else if (last >= most)
      wrong = place + "entity " + std::to_string(last) + " is outside the " + std::to_string(most)
              + " of the mesh";
  }
  return wrong;
}

odiC_Layout odiC_FullLayout(const bme_Mesh& mesh, res_OutputPositionEnm position) {
  odiC_Layout layout;
  odiC_LayoutBlock block;
  block.position = position;
  if (block.IsNodal()) {
    block.numEntities = static_cast<int>(mesh.NodeData().NumNodes());
    layout.Add(block);
  }
  const bme_ElementData& elements = mesh.ElementData();
  for (unsigned i = 0; !block.IsNodal() && i < elements.NumClasses(); ++i) {
    const bme_ElementClass& type = elements.GetClass(i);
    block.classIndex = static_cast<int>(i);
    block.numEntities = type.NumElements();
    block.valuesPerEntity = ValuesPerElement(block, type, {});
    if (!type.Shape() || block.valuesPerEntity == 0) continue;
    layout.Add(block);
  }
  layout.completeness = layout.numRows == 0 ? res_EMPTY_FIELD : res_FULL_FIELD;
  return layout;
}

bool odiC_IsOf(const odiC_Results& run, const bme_Mesh& mesh) {
  const bme_ElementData& elements = mesh.ElementData();
  if (run.numNodes != static_cast<int>(mesh.NodeData().NumNodes())
      || run.classSizes.size() != elements.NumClasses())
    return false;
  for (unsigned i = 0; i < elements.NumClasses(); ++i)
    if (run.classSizes[i] != elements.GetClass(i).NumElements()
        || run.classTypes[i] != elements.GetClass(i).ElemTypeLabel())
      return false;
  return true;
}
