// fmt_Import.h: what a mesh file became
#pragma once

#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/bme_MeshNotes.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <CoreGeometry/fmt_Ledger.h>
#include <memory>

/// What one block of elements of one type became.
struct fmt_ImportedBlock {
  std::int64_t id = 0; ///< in the file; where the format has none, from 1
  cow_String type;     ///< as the format names it
  cow_String label;
  bool supported = false;
  std::int64_t numElements = 0;
};

/// What rounding of coordinates to single precision changed.
struct fmt_Rounding {
  double change = 0; ///< the largest one, in model length; 0 when nothing changed
  int nodeLabel = 0;
  char axis = 'x';
  /// Nodes that moved by more than a thousandth of the shortest edge of an element there, by label.
  std::vector<int> coarseNodes{};
  /// Elements that collapsed or turned inside out by it, by label.
  std::vector<int> damagedElements{};
  std::vector<float> byNode{}; ///< the largest change of each node, while a file is read
};

struct fmt_Import {
  std::unique_ptr<bme_Mesh> mesh;
  cow_String title;
  std::vector<fmt_ImportedBlock> blocks; ///< in class order
  std::vector<bme_NamedSet> sets;        ///< of elements, nodes and sides
  bme_MeshNotes notes;                   ///< of the classes and sets, and of the whole
  fmt_Rounding rounding;
  fmt_Ledger ledger; ///< what the file holds beside
};

/// Gives the mesh another identifier, and its classes and sets with it.
CORE_GEOMETRY_EXCHANGE_API void fmt_Renumber(fmt_Import& import, unsigned meshId);
