// odiC_NodeGroups.h: which elements are averaged together at a node
#pragma once

#include <CoreGeometry/odiC_NodeAverage.h>
#include <algorithm>

/// Elements of a class that have values, as rows of nodes.
struct odiC_ElementRun {
  int block;        ///< of the source's layout
  int first, count; ///< positions in the block
};

/// One group. A target is a node, or beyond the nodes of the mesh a further chain at a node.
struct odiC_NodeGroup {
  cow_String name;
  int sectionPoint = -1, category = -1, dims = 0;
  cow_String region;       ///< of the layout blocks
  int regionIndex = -1;    ///< with borders by regions
  std::vector<int> blocks; ///< of the source, each once
  std::vector<std::vector<int>>
      targets; ///< for each of the blocks: of all elements of its class; empty: its nodes; below 0: see odiC_IsRepeat
  std::vector<bool> haveRepeats; ///< of the blocks
  std::vector<int>
      nodes; ///< of the targets with contributions, ascending; chains beyond the first come after
  std::vector<int> levels;    ///< of the chains, from 0; empty when there are none beyond the first
  std::vector<double> shares; ///< sums of weights of the targets
};

/// In place of the target of a node that an element has already had: it counts once for the element. -1: no target.
constexpr int odiC_RepeatOf(std::size_t first) noexcept { return -2 - static_cast<int>(first); }
constexpr bool odiC_IsRepeat(int target) noexcept { return target < -1; }
constexpr std::size_t odiC_FirstOf(int repeat) noexcept { return static_cast<std::size_t>(-2 - repeat); }

/// The runs of elements of a group, and the groups themselves.
class odiC_NodeGroups {
public:
  odiC_NodeGroups(const bme_Mesh& mesh, const odiC_Places& places, const odiC_ToNodes& options,
                  std::span<const odiC_ElementGroup> regions);

  const bme_Mesh& mesh;
  std::vector<odiC_NodeGroup> groups;
  std::vector<std::vector<odiC_ElementRun>> runs; ///< of each block
  std::vector<std::vector<double>> weights;       ///< of all elements of each class; empty: 1
  int numNodesOfSeveral = 0;

  const bme_ElementClass& ClassOf(int block) const;
  std::span<const int> Targets(const odiC_NodeGroup& group, int block) const;
  bool HasRepeats(const odiC_NodeGroup& group, int block) const {
    return group.haveRepeats[IndexOf(group, block)];
  }
  /// Position in the class of an entity of a block.
  int Element(int block, int at) const { return layout_->blocks[static_cast<std::size_t>(block)].Entity(at); }
  /// Calls for runs of neighbouring positions from `first` on whose elements belong to the group.
  template<class Call>
  void ForEachRunIn(const odiC_NodeGroup& group, int block, int first, int count, const Call& call) const {
    if (group.regionIndex < 0) return call(first, count);
    const auto isIn = [&](int at) { return RegionOf(block, Element(block, at)) == group.regionIndex; };
    for (int at = first, end = first; at < first + count; at = end) {
      const bool in = isIn(at);
      for (end = at + 1; end < first + count && isIn(end) == in;) ++end;
      if (in) call(at, end - at);
    }
  }

private:
  static std::size_t IndexOf(const odiC_NodeGroup& group, int block) {
    return static_cast<std::size_t>(std::ranges::find(group.blocks, block) - group.blocks.begin());
  }
  int RegionOf(int block, int element) const;
  void MakeRegions(std::span<const odiC_ElementGroup> regions);
  void MakeGroups(const odiC_ToNodes& options, std::span<const odiC_ElementGroup> regions);
  void NameGroups();
  void MakeWeights();
  /// Calls for each element of a group.
  template<class Call> void ForEachElement(const odiC_NodeGroup& group, const Call& call) const;
  void Divide(odiC_NodeGroup& group, double angle);
  void Count(odiC_NodeGroup& group);

  std::shared_ptr<const odiC_Layout> layout_;
  std::vector<unsigned short> regionOf_; ///< of mesh elements; empty without regions
};
