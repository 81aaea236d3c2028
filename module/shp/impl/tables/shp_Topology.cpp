#include <CoreGeometry/shp_Topology.h>

#include "shp_AttributeBits.h"
#include "shp_Basis.h"
#include "shp_Connectivity.h"
#include "shp_Facts.h"
#include "shp_MapTable.h"
#include "shp_WeightTables.h"

#include <algorithm>

namespace {
/// Columns of a single node: a point, or the node that carries an analytic rigid surface.
constexpr bool IsSingleNode(shp_Family family) {
  return family == shp_Family::Point || family == shp_Family::RigidSurface;
}

/// Lines and the edges of plane elements have two points, triangular faces one or three, others four.
int IntPtsPerFace(const shp_Options& options, const shp_Facts& facts) {
  if (facts.numDims == 1 || (facts.numDims == 2 && options.IsTwoDimensional())) return 2;
  if (!facts.IsSimplex()) return 4;
  return options.NumNodes() == facts.NumCorners() ? 1 : 3;
}
} // namespace

shp_Topology::Counts shp_Topology::DeriveCounts(const shp_Options& options, const shp_NodePattern* pattern) {
  if (IsSingleNode(options.Family())) return {.geomDims = 1, .faces = 1, .edgesPerFace = 1, .interpOrder = 1};
  const shp_Facts* facts = shp_FindFacts(options.Family());
  if (!facts) return {};

  Counts counts{.geomDims = facts->numDims, .faces = facts->NumFaces(), .nodesPerFace = 0, .nodesPerEdge = 0};
  for (int face = 0; face < facts->NumFaces(); ++face)
    counts.edgesPerFace = std::max(counts.edgesPerFace, facts->NumEdges(face));
  if (options.Family() == shp_Family::Quadrilateral && options.HasBit(shp_Bit::kInfinite))
    --counts.edgesPerFace;
  counts.intPtsPerFace = IntPtsPerFace(options, *facts);
  if (pattern) {
    counts.nodesPerFace = pattern->maxNodesPerFace;
    counts.nodesPerEdge = pattern->maxNodesPerEdge;
    counts.interpOrder =
        options.HasBit(shp_Bit::kCylindrical) ? pattern->interpOrderCylindrical : pattern->interpOrder;
    counts.shapeCode = pattern->shapeCode;
  }
  return counts;
}

shp_Topology::shp_Topology(const LongKey& key)
    : options_(key), pattern_(shp_FindNodePattern(options_)), connectivity_(shp_FindConnectivity(options_)),
      counts_(DeriveCounts(options_, pattern_)), numNodes_(NumBaseNodes()), numIntPts_(NumBaseIntPts()) {
  if (IsCaxaElement()) {
    numNodes_ *= NumRings();
    numIntPts_ *= NumRings() * 2;
  }
  AttachTables();
  if (pattern_) {
    basis_ = &shp_BasisOf(*pattern_);
    map_ = &shp_MapTableOf(*pattern_);
  }
  weights_ = shp_FindWeightTables(options_, MaxIntPtsPerFace());

  const bool swept = IsAnalyticalRigidSurface() ? !options_.HasBit(shp_Bit::kExtrusion)
                                                : IsAxiSymmetric() || IsCaxaElement();
  const bool isInternalSurface = IsInternal() && IsSurface() && !options_.HasBit(shp_Bit::kKeepsSweep);
  isSweepable_ = swept && !isInternalSurface;
  isExtrudable_ = !swept && options_.HasBit(shp_Bit::kExtrusion) && !isInternalSurface;
}

int shp_Topology::NumSpatialDims() const noexcept { return options_.IsTwoDimensional() ? 2 : 3; }

int shp_Topology::NumBaseIntPts() const noexcept {
  return options_.HasBit(shp_Bit::kIntPtsAtNodes) ? options_.NumNodes() : options_.NumIntPts();
}

std::span<const shp_IsoPoint> shp_Topology::NodeCoordinates() const noexcept {
  if (!pattern_) return {};
  return std::span(pattern_->coordinates).first(static_cast<std::size_t>(pattern_->numNodes));
}

bool shp_Topology::IsAxiSymmetric() const noexcept { return options_.HasBit(shp_Bit::kAxiSymmetric); }
bool shp_Topology::IsInteraction() const noexcept { return options_.HasBit(shp_Bit::kInteraction); }
bool shp_Topology::IsInternal() const noexcept { return options_.HasBit(shp_Bit::kInternal); }
bool shp_Topology::IsSurface() const noexcept { return options_.HasBit(shp_Bit::kSurface); }
bool shp_Topology::IsRigid() const noexcept { return options_.HasBit(shp_Bit::kRigid); }
bool shp_Topology::HasResults() const noexcept { return !options_.HasBit(shp_Bit::kNoResults); }
bool shp_Topology::IsAnalyticalRigidSurface() const noexcept {
  return options_.HasBit(static_cast<int>(shp_Family::RigidSurface));
}
bool shp_Topology::IsTwistedElement() const noexcept { return options_.HasBit(shp_Bit::kTwisted); }
bool shp_Topology::IsCaxaElement() const noexcept { return options_.HasBit(shp_Bit::kCaxa); }
bool shp_Topology::IsGasket() const noexcept { return options_.HasBit(shp_Bit::kGasket); }
bool shp_Topology::IsCohesive() const noexcept { return options_.HasBit(shp_Bit::kCohesive); }
bool shp_Topology::IsContinuumShell() const noexcept { return options_.HasBit(shp_Bit::kContinuumShell); }
bool shp_Topology::IsNumberedSolid() const noexcept { return options_.HasBit(shp_Bit::kNumberedSolid); }
bool shp_Topology::HasNodalIntegration() const noexcept {
  return options_.HasBit(shp_Bit::kIntPtsAtNodes) || options_.HasBit(shp_Bit::kNodalIntegration);
}
bool shp_Topology::HasFlag73() const noexcept { return options_.HasBit(shp_Bit::kFlag73); }
