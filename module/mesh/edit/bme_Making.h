// bme_Making.h: meshes that take over what an edit does not change
#pragma once

#include <CoreGeometry/bme_Renumbering.h>

/// "element class 3 (C3D8)", for messages.
cow_String bme_Describe(const bme_ElementClass& type);
/// User label, or index + 1.
int bme_LabelOfNode(const bme_NodeData& nodes, unsigned node);
int bme_LabelOfElement(const bme_ElementData& elements, unsigned element);
std::vector<int> bme_NodeLabels(const bme_NodeData& nodes);
std::vector<int> bme_AllElementLabels(const bme_ElementData& elements);

/// Throws nex_TextException for a node index of an element that is outside the mesh, with its label and class.
void bme_CheckNodes(const bme_Mesh& mesh);
void bme_CheckNodes(const bme_Mesh& mesh, const bme_ElementClass& type);

using bme_Classes = std::vector<std::unique_ptr<bme_ElementClass>>;

/// A class with type, controls, category, region and location labels of the old one, and other elements: those at
/// old positions, whose stack directions it takes over. No labels yet.
std::unique_ptr<bme_ElementClass> bme_ClassLike(const bme_ElementClass& old, std::span<const int> positions,
                                                cow_ArrayCOW<int> connectivity);
/// The same, of another type.
std::unique_ptr<bme_ElementClass> bme_ClassLike(const bme_ElementClass& old, std::span<const int> positions,
                                                cow_ArrayCOW<int> connectivity, const cow_String& type,
                                                std::size_t columns);
/// Identifier, type and placement of the old mesh.
bme_Mesh bme_MeshLike(const bme_Mesh& old, const bme_NodeData& nodes, bme_Classes classes);
