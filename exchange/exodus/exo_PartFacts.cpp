#include "exo_PartFacts.h"

#include "exo_Streams.h"

#include <BasicUtils/nex_Exception.h>
#include <algorithm>
#include <exodusII.h>
#include <limits>

namespace {
/// The library takes integers of 32 bits.
int Narrow(std::int64_t number, const cow_String& name) {
  if (number > std::numeric_limits<int>::max())
    throw nex_TextException(name + ": " + std::to_string(number)
                            + " nodes, elements or entries of a set in the whole are more than "
                            + std::to_string(std::numeric_limits<int>::max()));
  return static_cast<int>(number);
}

std::vector<int> Narrow(std::span<const std::int64_t> numbers, const cow_String& name) {
  std::vector<int> narrow;
  narrow.reserve(numbers.size());
  for (const std::int64_t number : numbers) narrow.push_back(Narrow(number, name));
  return narrow;
}

/// Ids and sizes of the sets of a kind.
struct Sizes {
  std::vector<int> ids, sizes, factors;
};
Sizes SizesOf(exo_SetKind kind, const exo_OutMesh& mesh, const exo_OutPart& part, const cow_String& name) {
  Sizes all;
  for (std::size_t i = 0; i < mesh.sets.size(); ++i) {
    if (mesh.sets[i].kind != kind) continue;
    all.ids.push_back(Narrow(mesh.sets[i].id, name));
    all.sizes.push_back(Narrow(part.setSizes[i], name));
    all.factors.push_back(0);
  }
  return all;
}
} // namespace

void exo_WritePartFacts(int file, const cow_String& name, const exo_OutMesh& mesh, const exo_OutPart& part) {
  const auto check = [&](int status, const char* what) {
    if (status < 0) throw nex_TextException(name + ": writing " + what + ": " + exo_WhyFailed());
  };
  Sizes nodeSets = SizesOf(exo_SetKind::Nodes, mesh, part, name),
        sideSets = SizesOf(exo_SetKind::Sides, mesh, part, name);
  std::vector<int> blocks, blockSizes = Narrow(part.blockSizes, name);
  for (const exo_OutBlock& block : mesh.blocks) blocks.push_back(Narrow(block.id, name));
  char kind[] = "p";
  check(ex_put_init_info(file, part.count, 1, kind), "the number of parts");
  check(ex_put_init_global(file, Narrow(part.numNodes, name), Narrow(part.numElements, name),
                           static_cast<std::int64_t>(blocks.size()),
                           static_cast<std::int64_t>(nodeSets.ids.size()),
                           static_cast<std::int64_t>(sideSets.ids.size())),
        "counts of the whole");
  if (!blocks.empty())
    check(ex_put_eb_info_global(file, blocks.data(), blockSizes.data()), "blocks of the whole");
  if (!nodeSets.ids.empty())
    check(ex_put_ns_param_global(file, nodeSets.ids.data(), nodeSets.sizes.data(), nodeSets.factors.data()),
          "node sets of the whole");
  if (!sideSets.ids.empty())
    check(ex_put_ss_param_global(file, sideSets.ids.data(), sideSets.sizes.data(), sideSets.factors.data()),
          "side sets of the whole");
  const auto size = [](const std::vector<int>& list) { return static_cast<std::int64_t>(list.size()); };
  std::vector<int> nodeMaps, nodeCounts, elementMaps, elementCounts;
  for (const exo_OutNeighbour& one : part.neighbours) {
    nodeMaps.push_back(one.part + 1);
    nodeCounts.push_back(static_cast<int>(one.nodes.size()));
    if (one.elements.empty()) continue;
    elementMaps.push_back(one.part + 1);
    elementCounts.push_back(static_cast<int>(one.elements.size()));
  }
  check(ex_put_loadbal_param(file, size(part.insideNodes), size(part.borderNodes), 0,
                             size(part.insideElements), size(part.borderElements), size(nodeMaps),
                             size(elementMaps), part.number),
        "the sizes of the part");
  exo_OutPart lists = part; // the library takes lists that it might change
  check(ex_put_processor_node_maps(file, lists.insideNodes.data(), lists.borderNodes.data(), nullptr,
                                   part.number),
        "lists of nodes");
  check(
      ex_put_processor_elem_maps(file, lists.insideElements.data(), lists.borderElements.data(), part.number),
      "lists of elements");
  if (part.neighbours.empty()) return;
  check(ex_put_cmap_params(file, nodeMaps.data(), nodeCounts.data(), elementMaps.data(), elementCounts.data(),
                           part.number),
        "sizes of communication maps");
  for (exo_OutNeighbour& one : lists.neighbours) {
    std::vector<int> parts(std::max(one.nodes.size(), one.elements.size()), one.part);
    check(ex_put_node_cmap(file, one.part + 1, one.nodes.data(), parts.data(), part.number),
          "a map of nodes");
    if (!one.elements.empty())
      check(ex_put_elem_cmap(file, one.part + 1, one.elements.data(), one.sides.data(), parts.data(),
                             part.number),
            "a map of elements");
  }
}
