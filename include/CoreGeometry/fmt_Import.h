// fmt_Import.h: the result of reading a mesh file
#pragma once

#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/bme_MeshNotes.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <CoreGeometry/fmt_Ledger.h>
#include <memory>

/// What was read of one block of elements of one type.
struct fmt_ImportedBlock {
  std::int64_t id = 0; ///< in the file; where the format has none, from 1
  cow_String type;     ///< as the format names it
  cow_String label;
  bool supported = false;
  std::int64_t numElements = 0;
};

/// Effect of rounding the coordinates to single precision.
struct fmt_Rounding {
  double change = 0; ///< the largest one, in model length; 0 when nothing changed
  int nodeLabel = 0;
  char axis = 'x';
  /// Nodes that moved by more than a thousandth of the shortest edge of their elements, by label.
  std::vector<int> coarseNodes{};
  /// Elements that the rounding has collapsed or inverted, by label.
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
  fmt_Ledger ledger; ///< contents of the file that were not read
};

/// Gives the mesh another identifier, also in its classes and sets.
CORE_GEOMETRY_EXCHANGE_API void fmt_Renumber(fmt_Import& import, unsigned meshId);
