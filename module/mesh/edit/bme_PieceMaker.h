// bme_PieceMaker.h: a mesh whose elements are made of those of another one, class by class
#pragma once

#include "bme_Making.h"

/// Takes the new elements of each class one after the other, and numbers and labels them: the first one that is made of an
/// element keeps its label, the others get labels above the largest one.
class bme_PieceMaker {
public:
  explicit bme_PieceMaker(const bme_MeshAndSets& source);

  void Begin(const bme_ElementClass& type);
  /// Nodes of a new element that is made of the one at that position of its class.
  void Add(const bme_ElementClass& type, int position, std::span<const int> row);
  bool HasNone() const noexcept { return positions_.empty(); } ///< since Begin
  /// The class of what came since Begin; with its own controls and points of the section, or without.
  void End(const bme_ElementClass& type, const cow_String& label, std::size_t columns,
           bool withControls = true);
  void Keep(const bme_ElementClass& type); ///< as it is
  int LabelOf(const bme_ElementClass& type, int position) const;

  /// The mesh; the sets have not been sent.
  bme_Edited Make(const bme_NodeData& nodes, bme_MadeNodes made);

private:
  void AddElement(const bme_ElementClass& type, int position);
  void SetLabels();

  const bme_MeshAndSets& source_;
  std::vector<int> labels_;
  long long largest_ = 0;
  bool areSeveral_ = false;
  bme_Renumbering map_;
  bme_Classes classes_;
  std::vector<int> positions_, rows_; ///< of the class that is being made
};
