// py_Edited.h: what editing a mesh gives
#pragma once

#include "py_Arrays.h"
#include "py_Lists.h"

#include <CoreGeometry/bme_Renumbering.h>

/// A new mesh, and where the nodes and elements of the old one went.
struct py_Edited {
  py_Mesh old, made;
  std::vector<bme_NamedSet> sets;
  bme_Renumbering renumbering;
  std::vector<cow_String> remarks;
  std::vector<unsigned> nodes, elements; ///< of the old mesh, that the work was about
};

/// A mesh and the sets that follow it.
inline bme_MeshAndSets py_SourceOf(const py_Mesh& mesh, const std::vector<nb::object>& items) {
  bme_MeshAndSets source{*mesh, {}, {}};
  for (const nb::object& item : items) {
    const auto& set = nb::cast<const py_Set&>(item);
    if (set.mesh.state != mesh.state)
      throw py_Error("ValueError", "the set " + set.set.name + " is of another mesh");
    source.sets.push_back(set.set);
  }
  return source;
}

/// The sets of a mesh by what tells them apart.
inline nb::dict py_SetsOf(const py_Mesh& mesh, const std::vector<bme_NamedSet>& sets) {
  nb::dict made;
  for (const bme_NamedSet& set : sets) made[set.Root().c_str()] = py_Set{mesh, set};
  return made;
}

template<class Result> py_Edited py_MadeOf(const py_Mesh& old, Result&& edited) {
  return {old,
          py_Mesh(edited.result.mesh),
          std::move(edited.result.sets),
          std::move(edited.renumbering),
          std::move(edited.remarks),
          {},
          {}};
}

template<class List> std::vector<unsigned> py_ItemsOf(const py_Mesh& mesh, const py_List<List>& list) {
  if (list.mesh.state != mesh.state) throw py_Error("ValueError", "the list is of another mesh");
  return {list.list.begin(), list.list.end()};
}
