// exo_Skin.h: the outside of a mesh as an Exodus II file
#pragma once

#include <BasicUtils/uti_OutputFile.h>
#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/bme_Outside.h>
#include <CoreGeometry/fmt_Ledger.h>

struct exo_SkinSummary {
  long long nodes = 0, faces = 0, shells = 0, edges = 0;
  fmt_Ledger ledger;
};

/// Writes faces as shells, a block for each group and node count, and with `edges` the feature edges as
/// beams; their nodes keep label and order. Faces with 5 corners or more, which no shell has, are cut into
/// triangles; of faces with only some of their mid nodes the corners are written.
CORE_GEOMETRY_EXCHANGE_API exo_SkinSummary exo_WriteSkin(uti_OutputFile& output, const bme_Mesh& mesh,
                                                         const bme_Outside& outside, bool edges);
