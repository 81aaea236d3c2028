// msh_Groups.h: sets of a mesh as physical groups of an MSH file
#pragma once

#include "msh_Parts.h"

#include <CoreGeometry/fmt_Format.h>
#include <functional>
#include <set>

/// A set of nodes.
struct msh_NodeGroup {
  int tag = 0;
  std::span<const int> nodes{};
};

/// Tags and members of groups. Sets keep their index as the tag where no other of their kind has it.
///
/// Lifetime   the mesh and the sets must outlive it.
class msh_Groups {
public:
  /// With `isAlone` an element is in the first of its sets only.
  msh_Groups(const bme_Mesh& mesh, std::span<const bme_NamedSet> sets, bool isAlone);

  std::span<const msh_NodeGroup> OfNodes() const noexcept { return nodes_; } ///< one for each set of nodes
  std::int64_t NumNodes() const noexcept { return numNodes_; }               ///< in all of these

  /// Calls each(tags, positions of elements in the class) for each combination of sets of elements in it, in the
  /// order of their first elements. The positions last as long as this.
  void ForEachCombination(const bme_ElementClass& elements, int dims,
                          const std::function<void(std::span<const int>, std::span<const int>)>& each);

  /// All groups in the order of the sets. A set without elements gets the dimension of the mesh.
  std::vector<msh_GroupName> Names(int dimsOfMesh) const;
  void List(fmt_Ledger& ledger) const; ///< what was lost

private:
  struct Group {
    const bme_NamedSet* set;
    bool isOfNodes;
    int tag;
    std::set<int> dims{}; ///< that its elements have
  };
  void AddElements(const rgnC_SubsetData& subset, int group);
  void ChooseTags();

  const bme_Mesh& mesh_;
  bool isAlone_;
  std::vector<Group> groups_;
  std::vector<msh_NodeGroup> nodes_;
  std::deque<std::vector<int>> lists_;             ///< what spans refer to
  std::vector<std::vector<int>> combinations_{{}}; ///< each the positions of groups
  std::map<std::pair<int, int>, int> next_;        ///< the combination with one more group
  std::vector<int> combinationOf_;                 ///< of each element
  std::int64_t numNodes_ = 0;
  long long numSides_ = 0, numElsewhere_ = 0, numRest_ = 0, numPoints_ = 0;
};
