// SplitMesh.h: a mesh with everything that is awkward to split, whole and in parts
#pragma once

#include "ExchangeUnderTest.h"

#include <CoreGeometry/dst_Model.h>
#include <CoreGeometry/dst_WriteSplit.h>
#include <split/MixedMesh.h>

/// The mixed mesh with elements that stand in it twice, also with the same labels.
inline bme_Mesh MeshWithDuplicates(Labelled labelled) {
  bme_Mesh mesh = MixedMesh(labelled);
  for (const auto& [of, count] : {std::array{0, 4}, std::array{6, 2}, std::array{0, 1}}) {
    auto* again = new bme_ElementClass(mesh.ElementData().GetClass(static_cast<unsigned>(of)));
    again->ResetConnectArraySz(count);
    mesh.ElementDataToModify().AppendClass(again);
  }
  mesh.ElementDataToModify().Init();
  return mesh;
}

/// Writes the mesh, split at random, on the first rank and once a program.
inline cow_String SplitOf(const bme_Mesh& whole, Labelled labelled, unsigned numParts,
                          dst_Exchange& exchange) {
  const cow_String folder =
      (TestFolder()
       / (std::to_string(static_cast<int>(labelled)) + "." + std::to_string(numParts) + ".split"))
          .string();
  exchange.OnFirstRank([&] {
    if (std::filesystem::exists(folder)) return;
    const std::vector<unsigned> parts = RandomParts(whole.ElementData().NumElements(), numParts, numParts);
    dst_WriteSplit(*dst_MeshSource("Mixed", whole, MixedSets()), parts, numParts, folder);
  });
  exchange.Agree();
  return folder;
}

/// Calls check(split mesh, whole mesh, exchange) for random assignments to parts of many numbers.
template<class Check> void ForEachSplit(Check check) {
  const std::unique_ptr<dst_Exchange> exchange = MakeExchange();
  for (const Labelled labelled : {Labelled::Both, Labelled::Nodes, Labelled::Neither}) {
    const bme_Mesh whole = MeshWithDuplicates(labelled);
    const unsigned numElements = whole.ElementData().NumElements();
    for (const unsigned numParts : {1U, 2U, 3U, 4U, 7U, 8U, 27U, numElements}) {
      // labels make a difference for a few numbers only
      if (labelled == Labelled::Nodes && numParts != 7) continue;
      if (labelled == Labelled::Neither && numParts != 3 && numParts != 27) continue;
      SCOPED_TRACE(std::to_string(numParts) + " parts, labelled "
                   + std::to_string(static_cast<int>(labelled)));
      const dst_Model model(SplitOf(whole, labelled, numParts, *exchange), *exchange);
      check(model.Mesh("Mixed"), whole, *exchange);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}
