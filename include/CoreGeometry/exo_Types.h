// exo_Types.h: Exodus II element types and the element labels they become
#pragma once

#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/exo_Sides.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreUtils/cow_String.h>
#include <optional>
#include <string_view>

/// Our element type for the elements of a block.
struct exo_ElementType {
  cow_String label;       ///< element label, or the type name of the file when there is none
  bool supported = false; ///< the label has a shape with these nodes
  /// Position in the file's element of each of our nodes; empty when the two orders are the same. A pyramid
  /// is a hexahedron of ours whose upper face is the apex: more nodes than in the file.
  std::vector<int> order;
  bool arePyramids = false;
  std::vector<exo_Side> sides; ///< side 1 first; empty when they are unknown
};

/// Maps type names and node counts of Exodus II blocks to element labels.
///
/// Names are accepted in many spellings (hex8, HEX, Tetra, SHELL4); the node count of the block decides, not
/// the number in the name.
/// Errors     nex_TextException naming the type, the label and the counts.
class CORE_GEOMETRY_EXCHANGE_API exo_TypeMap {
public:
  /// "HEX8=C3D8R": the type with that many nodes gets another label than by default.
  void Override(const cow_String& assignment);
  void Override(const cow_String& typeName, int numNodes, const cow_String& label); ///< of a block, unchecked
  exo_ElementType Find(const cow_String& typeName, int numNodes, int numDims) const;

private:
  struct Entry {
    cow_String family;
    int numNodes;
    cow_String label;
  };
  std::vector<Entry> overrides_;
};

/// Whether two names of the format are spellings of one type: HEX and hex8.
CORE_GEOMETRY_EXCHANGE_API bool exo_AreOneType(const cow_String& a, const cow_String& b);

/// How elements of a shape are written.
struct exo_TypeName {
  cow_String name; ///< the format's name of their type
  int numNodes = 0;
  std::vector<int> order;      ///< position in the file's element of our first nodes; others are not written
  std::vector<exo_Side> sides; ///< side 1 first
  cow_String label;            ///< element label that a reader chooses for it
};

/// The format's element whose nodes are at those of the shape, or else at the first nodes of the shape; no
/// value when there is none. `pyramidNodes` is the result of bme_PyramidNodes.
CORE_GEOMETRY_EXCHANGE_API std::optional<exo_TypeName> exo_NameType(const shp_Shape& shape, int numDims,
                                                                    int pyramidNodes = 0);
