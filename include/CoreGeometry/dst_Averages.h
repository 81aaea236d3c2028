// dst_Averages.h: means at the nodes of a split mesh
#pragma once

#include <CoreGeometry/dst_Faces.h>

/// Values at the nodes of elements of an own part: for each element, ascending, and each node of its row, a value of each
/// component. Called twice for a part.
using dst_ElementNodeValues =
    std::function<std::vector<double>(const dst_OpenPart& part, const bme_FEMElemList& elements)>;

/// Means at nodes of the values of some elements, each with the same weight: for each own part a value of each component
/// at each of its nodes. Values at a node are added by ascending number of the element in the whole, and for one element
/// by place in its row, wherever the elements are: every part that holds the node has the bits of one process.
///
/// Empty      what is not a number is left out; a node with nothing else has not a number.
/// Errors     nex_TextException for a wrong number of values, and for a node that is not in the mesh, or that parts do not
///            agree to share.
/// Cost       16 bytes and 8 a component for each element at a shared node go to the owner of the node, and 8 bytes and
///            8 a component come back: only between parts that share nodes.
CORE_GEOMETRY_DISTRIBUTED_API dst_OfParts<std::vector<double>>
dst_AverageAtNodes(const dst_Mesh& mesh, const dst_Elements& elements, std::size_t numComponents,
                   const dst_ElementNodeValues& values);

/// One group of values of a stored field.
struct dst_StoredField {
  cow_String run; ///< its root, "results/<mesh>/<run>"
  cow_String variable;
  int step = 0, frame = 0; ///< from 0
  int sectionPoint = -1;   ///< of the blocks that are meant, and their region
  cow_String region{};
};

/// Means at nodes of values that the parts have stored for some elements: as odiC_NodeAverage takes them of one group of
/// the whole, without borders, angles and weights. Values at integration points are carried to the nodes of their
/// element, and a node that an element has several times counts once, with the mean of its values there. Elements without
/// values are left out; choose elements of one dimension.
///
/// Errors     as above; odiC_Exception for a run or a variable that is not there; nex_TextException for a complex variable
///            and when no part has the field.
CORE_GEOMETRY_DISTRIBUTED_API dst_OfParts<std::vector<double>>
dst_AverageAtNodes(const dst_Mesh& mesh, const dst_Elements& elements, const dst_StoredField& field);
