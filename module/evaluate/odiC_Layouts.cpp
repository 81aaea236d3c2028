#include <CoreGeometry/odiC_MeshSizes.h>
#include <CoreGeometry/odiC_Run.h>

#include <CoreGeometry/shp_Shape.h>

namespace {
/// Values that each element of a class has at a position; 0 when it can have none.
int ValuesPerElement(const odiC_LayoutBlock& block, const odiC_MeshSizes::Class& type,
                     std::span<const int> pointSetCounts) {
  switch (block.position) {
  case res_ELEMENT_NODAL: return type.nodesPerElement;
  case res_INTEGRATION_POINT:
    if (block.pointSet >= 0)
      return static_cast<std::size_t>(block.pointSet) < pointSetCounts.size()
                 ? pointSetCounts[static_cast<std::size_t>(block.pointSet)]
                 : 0;
    return type.shape ? type.shape->NumIntPts() : 0;
  case res_WHOLE_ELEMENT:
  case res_ELEMENT_CENTROID:
  case res_ELEMENT_FACE: return 1;
  case res_ELEMENT_FACE_INTEGRATION_POINT:
  case res_SURFACE_INTEGRATION_POINT: return block.valuesPerEntity;
  default: return 0;
  }
}
} // namespace

odiC_MeshSizes::odiC_MeshSizes(const bme_Mesh& mesh)
    : meshId(mesh.Id()), numNodes(static_cast<int>(mesh.NodeData().NumNodes())) {
  for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(i);
    classes.push_back({type.ElemTypeLabel(), type.NumElements(), type.NumNodesPerElem(), type.Shape()});
  }
}

cow_String odiC_WhatIsWrong(const odiC_Layout& layout, const bme_Mesh& mesh,
                            std::span<const int> pointSetCounts) {
  return odiC_WhatIsWrong(layout, odiC_MeshSizes(mesh), pointSetCounts);
}

cow_String odiC_WhatIsWrong(const odiC_Layout& layout, const odiC_MeshSizes& mesh,
                            std::span<const int> pointSetCounts) {
  cow_String wrong = layout.WhatIsWrong();
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
      most = mesh.numNodes;
    } else if (isOfClass) {
      if (block.classIndex < 0 || block.classIndex >= static_cast<int>(mesh.classes.size()))
        return place + "the mesh has no element class " + std::to_string(block.classIndex);
      const odiC_MeshSizes::Class& type = mesh.classes[static_cast<std::size_t>(block.classIndex)];
      most = type.numElements;
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
  const odiC_MeshSizes sizes = mesh;
  odiC_Layout layout;
  odiC_LayoutBlock block;
  block.position = position;
  if (block.IsNodal()) {
    block.numEntities = sizes.numNodes;
    layout.Add(block);
  }
  for (std::size_t i = 0; !block.IsNodal() && i < sizes.classes.size(); ++i) {
    const odiC_MeshSizes::Class& type = sizes.classes[i];
    block.classIndex = static_cast<int>(i);
    block.numEntities = type.numElements;
    block.valuesPerEntity = ValuesPerElement(block, type, {});
    if (!type.shape || block.valuesPerEntity == 0) continue;
    layout.Add(block);
  }
  layout.completeness = layout.numRows == 0 ? res_EMPTY_FIELD : res_FULL_FIELD;
  return layout;
}

bool odiC_IsOf(const odiC_Results& run, const bme_Mesh& mesh) { return odiC_IsOf(run, odiC_MeshSizes(mesh)); }

bool odiC_IsOf(const odiC_Results& run, const odiC_MeshSizes& mesh) {
  if (run.numNodes != mesh.numNodes || run.classSizes.size() != mesh.classes.size()) return false;
  for (std::size_t i = 0; i < mesh.classes.size(); ++i)
    if (run.classSizes[i] != mesh.classes[i].numElements || run.classTypes[i] != mesh.classes[i].type)
      return false;
  return true;
}
