// msh_Types.h: element types of MSH files, and what they are here
#pragma once

#include <CoreGeometry/bme_ElementClass.h>
#include <CoreGeometry/exo_NodeOrder.h>
#include <CoreGeometry/exo_Types.h>

struct msh_Type {
  int number; ///< in the file
  exo_Cell cell;
  int numNodes;
  std::string_view mids{}; ///< nodes after the corners, for exo_CellNodes
  bool isPlaced = false;   ///< it is known where all nodes stand

  int NumDims() const;
  cow_String Name() const; ///< "HEX20"; of several with one count the others say which they are
};

/// Null when there is no such type.
const msh_Type* msh_FindType(int number);

/// What elements of a type become. The order counts positions in the file's element.
exo_ElementType msh_LabelOf(const msh_Type& type, const exo_TypeMap& types);

/// How the elements of a class are written.
struct msh_Written {
  const msh_Type* type;
  std::vector<std::size_t> nodes; ///< position in our row of each node of the file's element
};
/// The type with its nodes where ours are, or else where the first of ours are; nothing when there is none.
std::optional<msh_Written> msh_WrittenAs(const bme_ElementClass& elements);
