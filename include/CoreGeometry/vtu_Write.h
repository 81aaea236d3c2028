// vtu_Write.h: a mesh as an unstructured grid in the XML form of VTK
#pragma once

#include <CoreGeometry/fmt_Format.h>

/// Writes nodes, elements as VTK cells, user labels, the class of each element, and a 0-1 array for each set
/// of nodes or of elements. The numbers follow the XML as they are, or compressed with zlib at its fastest; in ascii
/// they are in it. An element with no cell of its nodes is written with its first nodes, or as a cloud of its
/// points. What is lost is in the ledger.
///
/// An array has the name of its set, unless that is not UTF-8, has control characters, or is the name of
/// another array. Of several of one name, first the file's own, then those of nodes, then those of elements,
/// all but one get " (nodes)" or " (elements)" added, or " (nodes 2)".
///
/// Errors     nex_TextException naming file, class, element and node; see uti_OutputFile, which is committed.
/// Cost       one pass; arrays that the mesh does not have are made in slices.
CORE_GEOMETRY_EXCHANGE_API fmt_Ledger vtu_WriteMesh(uti_OutputFile& output, const bme_Mesh& mesh,
                                                    std::span<const bme_NamedSet> sets,
                                                    exo_VtkWedges wedges = exo_VtkWedges::Plain,
                                                    fmt_Encoding encoding = fmt_Encoding::Default);
/// With the values of a frame of a run, the last one that is asked for: those at nodes as point data, those of elements as
/// cell data, those at integration points as the options say. Tensors have the components XX YY ZZ XY YZ XZ. Missing
/// values are not a number, of integers -2147483648.
CORE_GEOMETRY_EXCHANGE_API fmt_Ledger vtu_WriteMesh(uti_OutputFile& output, const bme_Mesh& mesh,
                                                    std::span<const bme_NamedSet> sets,
                                                    const fmt_WriteOptions& options);
/// A PVD file with a VTU file for each frame beside it, NAME_0000.vtu and so on.
CORE_GEOMETRY_EXCHANGE_API fmt_Ledger vtu_WriteCollection(uti_OutputFile& output, const bme_Mesh& mesh,
                                                          std::span<const bme_NamedSet> sets,
                                                          const fmt_WriteOptions& options);
