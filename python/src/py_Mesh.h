// py_Mesh.h: meshes and blocks of elements as immutable Python objects
#pragma once

#include "py_Errors.h"

#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_Mesh.h>
#include <memory>
#include <mutex>

class gsl_Matrix;

/// Elements of one type, with or without a mesh. Copies of element classes share their arrays.
struct py_Block {
  bme_ElementClass elements;
};

/// A mesh that never changes, and what is derived from it when it is first asked for.
///
/// Threads    the mutex guards what is built lazily; it is taken only while the GIL is not held.
struct py_MeshState {
  py_MeshState(const bme_Mesh& made, double rounding) : mesh(made), rounding(rounding) {}

  const bme_Mesh mesh;
  const double rounding; ///< largest change of a coordinate by conversion to single precision
  mutable std::mutex mutex;
  mutable std::unique_ptr<const bme_ElementLocator> locator;
};

inline constexpr std::size_t py_kMostNamed = 20; ///< labels that an exception holds

/// Lists, sets and locators hold a copy: what they refer to stays at its address.
struct py_Mesh {
  std::shared_ptr<const py_MeshState> state;

  py_Mesh() = default;
  explicit py_Mesh(const bme_Mesh& mesh, double rounding = 0)
      : state(std::make_shared<const py_MeshState>(mesh, rounding)) {}
  const bme_Mesh& operator*() const noexcept { return state->mesh; }
  const bme_Mesh* operator->() const noexcept { return &state->mesh; }
  const bme_NodeData& Nodes() const noexcept { return state->mesh.NodeData(); }
  const bme_ElementData& Elements() const noexcept { return state->mesh.ElementData(); }
};

/// A mesh of other nodes or elements with the identifier, type and placement of a mesh.
py_Mesh py_Remake(const py_Mesh& mesh, const bme_NodeData& nodes, const bme_ElementData& elements,
                  double rounding = 0);
/// Labels of all nodes, of all elements, or both; ValueError for another number of them and for repeated ones.
void py_SetLabels(bme_NodeData& nodes, bme_ElementData& elements, nb::handle ofNodes, nb::handle ofElements);
/// IndexError for a node of a block that is not in [0, numNodes).
void py_CheckNodes(const py_Block& block, std::size_t numNodes, std::size_t number);
/// Parameter "which" and the like: the value of the word; ValueError with the words that there are.
template<class Value>
Value py_Choose(const char* what, const std::string& word,
                std::initializer_list<std::pair<const char*, Value>> words) {
  std::string all;
  for (const auto& [name, value] : words) {
    if (word == name) return value;
    all += all.empty() ? "" : ", ";
    all += name;
  }
  throw py_Error("ValueError", std::string(what) + " \"" + word + "\" is none of " + all);
}

/// A block of checked arrays. Node indices are in [0, numNodes); `place` begins its messages.
py_Block py_MakeBlock(const std::string& type, nb::handle connectivity, nb::handle labels,
                      const std::string& category, const bme_ElemCtrlParams& controls, bool keepUnknown,
                      std::size_t numNodes, const std::string& place);
std::string py_PlaceOf(std::size_t block, const std::string& type); ///< "block 3 (C3D8R)"
/// ValueError naming five of the labels that are given twice.
void py_RefuseDuplicates(std::span<const std::span<const int>> labels, const char* what);
/// (4, 4) or (3, 4) finite numbers; ValueError for others and for a last row that is not 0 0 0 1.
gsl_Matrix py_ToMatrix(nb::handle argument, const char* what);
std::string py_NearTypes(const std::string& type); ///< "; did you mean ...", of the three nearest

void py_BindBlock(nb::module_& module);
void py_BindMesh(nb::module_& module);
void py_BindEdit(nb::module_& module);
void py_BindEditor(nb::module_& module);
void py_BindSolids(nb::module_& module);
void py_BindPicture(nb::module_& module);
