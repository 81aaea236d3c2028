// bme_NodeMaker.h: nodes that lie between others, each made once
#pragma once

#include <CoreGeometry/bme_Renumbering.h>

/// A node of an element that is made, as a weighted sum of nodes of an old one.
using bme_NodeSum = std::vector<std::pair<int, double>>;

/// Gives the index of the node that is a weighted sum of old ones: an old index, or one behind them.
class bme_NodeMaker {
public:
  explicit bme_NodeMaker(unsigned numOld) : numOld_(numOld), table_(1024, -1) {}

  /// Local nodes of the row; those that are one node count together.
  int Node(const bme_NodeSum& sum, std::span<const int> row);
  std::size_t NumMade() const noexcept { return made_.starts.size() - 1; }
  /// Coordinates of all nodes, and labels if there were some.
  bme_NodeData Nodes(const bme_NodeData& old) const;
  bme_MadeNodes Take() && { return std::move(made_); }

private:
  std::size_t Slot() const;
  void Grow();

  unsigned numOld_;
  bme_MadeNodes made_;
  bme_NodeSum sum_;        ///< of mesh nodes, ascending
  std::vector<int> table_; ///< made nodes by their hash, -1 for none
};
