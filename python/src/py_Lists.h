// py_Lists.h: lists of nodes, elements, faces and edges, and named sets of them
#pragma once

#include "py_Mesh.h"

#include <CoreGeometry/bme_FEMEdgeList.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_NamedSet.h>

/// Some nodes, elements, faces or edges, with the mesh that they refer to.
template<class List> struct py_List {
  py_Mesh mesh;
  List list;
};
using py_NodeList = py_List<bme_FEMNodeList>;
using py_ElementList = py_List<bme_FEMElemList>;
using py_FaceList = py_List<bme_FEMFaceList>;
using py_EdgeList = py_List<bme_FEMEdgeList>;

struct py_Set {
  py_Mesh mesh;
  bme_NamedSet set;
};

/// Python's name of a class of lists.
template<class List> constexpr const char* py_kListName = "NodeList";
template<> inline constexpr const char* py_kListName<bme_FEMElemList> = "ElementList";
template<> inline constexpr const char* py_kListName<bme_FEMFaceList> = "FaceList";
template<> inline constexpr const char* py_kListName<bme_FEMEdgeList> = "EdgeList";

bme_NodesOf py_NodesOf(const std::string& which);
bme_Touching py_Touching(const std::string& touching);

/// The list of another kind that a list stands for; of nodes, by `touching`.
template<class To, class From> To py_Convert(const From& from, bme_NodesOf which, bme_Touching touching) {
  if constexpr (std::is_same_v<To, From>)
    return from;
  else if constexpr (std::is_same_v<From, bme_FEMNodeList>)
    return To::OfNodes(from, touching);
  else if constexpr (std::is_same_v<From, bme_FEMElemList>) {
    if constexpr (std::is_same_v<To, bme_FEMNodeList>)
      return To::OfElements(from, which);
    else
      return To::OfElements(from);
  } else if constexpr (std::is_same_v<From, bme_FEMFaceList>) {
    if constexpr (std::is_same_v<To, bme_FEMNodeList>)
      return To::OfFaces(from, which);
    else
      return To::OfFaces(from);
  } else {
    if constexpr (std::is_same_v<To, bme_FEMNodeList>)
      return To::OfEdges(from, which);
    else if constexpr (std::is_same_v<To, bme_FEMFaceList>)
      return To::OfElements(bme_FEMElemList::OfEdges(from));
    else
      return To::OfEdges(from);
  }
}

/// The Python object of a mesh that pickles of lists, sets and the mesh itself have in common.
nb::object py_TheMesh(const py_Mesh& mesh);

void py_BindLists(nb::module_& module);
void py_BindSelections(nb::module_& module);
void py_BindFaces(nb::module_& module);
