// exo_Export.h: a mesh as an Exodus II file
#pragma once

#include <BasicUtils/uti_OutputFile.h>
#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/bme_MeshNotes.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <CoreGeometry/exo_Part.h>
#include <CoreGeometry/fmt_Ledger.h>
#include <CoreGeometry/odiC_Run.h>

/// Writes nodes, labels, element classes and sets: what reading the file again makes the same mesh of.
///
/// Classes become blocks in their order. The common beginning of their category labels is the title, the rest
/// the name of the block; a set that holds just the elements of a class under that name gives the block its
/// id. Node, element and side sets have the set's index as their id, or the next free one. Elements that
/// the format has no type for are written with their first nodes only. Coordinates are those of placed space, in
/// double precision when the mesh has a placement. What is lost is in the ledger. With `notes` the file has what they
/// say, sets stand in the order that they came in, and types have their names of that file; real numbers are written in
/// double precision if a note needs it. The same mesh and notes give the same file: no record of the writing is added.
///
/// The frames of a run of the mesh follow one another as time steps: variables are scalars NAME_xx_1 for component and
/// point, histories of the whole model are global variables. What an element has at its nodes has no
/// place in the format: it is left out, or with `atNodes` averaged at nodes.
///
/// Errors     nex_TextException naming file, class, element and node; see uti_OutputFile, which is committed.
/// Cost       one pass; connectivity and sets are copied once.
CORE_GEOMETRY_EXCHANGE_API fmt_Ledger exo_WriteMesh(uti_OutputFile& output, const bme_Mesh& mesh,
                                                    std::span<const bme_NamedSet> sets,
                                                    const bme_MeshNotes* notes = nullptr,
                                                    const odiC_Run* run = nullptr, bool atNodes = false);

/// One file of several, for a part of a mesh whose parts all have the same classes and sets. Id maps are the numbers in
/// the whole, counted from 1.
///
/// Errors     also for numbers above 2147483647.
CORE_GEOMETRY_EXCHANGE_API fmt_Ledger exo_WritePart(uti_OutputFile& output, const bme_Mesh& mesh,
                                                    std::span<const bme_NamedSet> sets, const exo_Part& part);

/// What no format for meshes alone has a place for: control parameters and so on.
CORE_GEOMETRY_EXCHANGE_API void exo_ListNotMesh(const bme_Mesh& mesh, fmt_Ledger& ledger);

/// Throws nex_TextException unless every node of the class is one of the mesh; begins with `place`.
CORE_GEOMETRY_EXCHANGE_API void exo_CheckNodes(const bme_Mesh& mesh, const bme_ElementClass& type,
                                               const cow_String& place);
