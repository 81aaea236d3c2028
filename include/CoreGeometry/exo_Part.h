// exo_Part.h: what makes an Exodus II file one of several that hold a mesh together
#pragma once

#include <cstdint>
#include <span>
#include <vector>

/// What a part has in common with another one, in an order that both have.
struct exo_Neighbour {
  unsigned part = 0;
  std::vector<int> nodes{};      ///< indices of the nodes that the other part has, too
  std::vector<unsigned> faces{}; ///< words of the faces whose other side is there
};

/// One part of a mesh: its file has the counts of the whole, the numbers of nodes and elements in it, and communication
/// maps. User labels are in further maps of the name "user_label".
struct exo_Part {
  unsigned number = 0, count = 1;
  int numDims = 3;                                         ///< that the nodes of the whole need
  std::uint64_t numNodes = 0, numElements = 0;             ///< of the whole
  std::span<const unsigned> nodeNumbers, elementNumbers{}; ///< in the whole, of each node and element
  std::vector<std::uint64_t> classSizes{};                 ///< elements of each class of the whole
  std::vector<int> pyramidNodes{};                         ///< of each class of the whole; see bme_Pyramids.h
  std::vector<std::vector<std::uint64_t>>
      setSizes{};                          ///< entries of each subset of each given set in the whole
  std::vector<exo_Neighbour> neighbours{}; ///< ascending
};
