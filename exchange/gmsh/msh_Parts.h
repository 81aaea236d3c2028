// msh_Parts.h: what an MSH file holds, while it is read
#pragma once

#include "fmt_Chunks.h"
#include "fmt_Coordinates.h"
#include "msh_Types.h"

#include <deque>

/// Elements of one type in one entity with the same physical groups.
struct msh_Part {
  const msh_Type* type = nullptr;
  int entity = 0;
  std::vector<int> groups{}; ///< physical tags, rising; the dimension is that of the type
  fmt_Chunks<int> rows{};    ///< node indices from 0, whole rows in each piece, in the order of the file
  fmt_Chunks<int> labels{};

  /// Points of a group are a node set, and no elements.
  bool AreSetOfNodes() const { return type->cell == exo_Cell::Point && !groups.empty(); }
};

struct msh_GroupName {
  int dims, tag;
  cow_String name;
};

struct msh_Contents {
  cow_String fileName;
  std::optional<fmt_Coordinates> coordinates;
  cls_xp1DArrayListInt nodeLabels;
  std::deque<msh_Part> parts; ///< they do not move
  std::vector<msh_GroupName> names;
  fmt_Ledger ledger;
};

/// Reads the whole file.
msh_Contents msh_ReadContents(const cow_String& file, const fmt_ReadOptions& options);

/// Parts of one entity whose elements are the same, by their rows or by their labels, become one in the groups of all.
/// nex_TextException when a label is given to two that differ.
void msh_MergeRepeated(msh_Contents& contents);

/// The mesh with its sets. The contents are used up.
fmt_Import msh_Build(msh_Contents contents, const fmt_ReadOptions& options);
