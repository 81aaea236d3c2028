// exo_Import.h: a mesh from an Exodus II file
#pragma once

#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <CoreGeometry/exo_Ledger.h>
#include <CoreGeometry/exo_Types.h>
#include <memory>

/// What one element block became.
struct exo_ImportedBlock {
  std::int64_t id = 0;
  cow_String type; ///< as spelled in the file
  cow_String label;
  bool supported = false;
  std::int64_t numElements = 0;
};

/// The largest change of a coordinate by rounding to single precision.
struct exo_Rounding {
  double change = 0; ///< in model length, 0 when nothing changed
  int nodeLabel = 0;
  char axis = 'x';
};

struct exo_Import {
  std::unique_ptr<bme_Mesh> mesh;
  cow_String title;
  std::vector<exo_ImportedBlock> blocks; ///< in class order
  std::vector<bme_NamedSet> sets;        ///< element blocks, node sets, side sets, element sets
  exo_Rounding rounding;
  exo_Ledger ledger;
};

/// Reads nodes, element blocks and sets. Blocks become element classes in their order, number maps user
/// labels: nodes always have labels, elements only when theirs are not 1, 2, 3, ... . The category label of a
/// class is "title/block name"; a block without a name is called "block <id>".
///
/// Errors     nex_TextException naming file, block, element and node; wip_Cancelled when the host asks to
///            stop.
/// Cost       one pass; coordinates and connectivity go straight into their final arrays.
CORE_GEOMETRY_EXCHANGE_API exo_Import exo_ReadMesh(const cow_String& fileName, const exo_TypeMap& types,
                                                   unsigned meshId = 0);

/// Gives the mesh another identifier, and its classes and sets with it.
CORE_GEOMETRY_EXCHANGE_API void exo_Renumber(exo_Import& import, unsigned meshId);
