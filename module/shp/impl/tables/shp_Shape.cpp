#include <CoreGeometry/shp_Shape.h>

#include "shp_Print.h"

#include <CoreUtils/atr_String.h>
#include <sstream>
#include <utility>

namespace {
const char* Flag(bool value) { return value ? "T" : "F"; }

/// Values as they stand on one line of the members' printout.
atr_String Join(std::initializer_list<int> values) {
  atr_String text;
  for (const int value : values) text += atr_Format(text.empty() ? "%d" : ", %d", {value});
  return text;
}
atr_String JoinFlags(std::initializer_list<bool> flags) {
  atr_String text;
  for (const bool flag : flags) text.append(text.empty() ? "" : ", ").append(Flag(flag));
  return text;
}

atr_String Address(const void* place) {
  std::ostringstream text;
  text << place;
  return text.str();
}
} // namespace

shp_Shape::shp_Shape(cow_String label, const LongKey& key, int index)
    : shp_Topology(key), shp_InverseTopoTable(static_cast<const shp_Topology&>(*this)),
      label_(std::move(label)), index_(index) {}

shp_Shape::~shp_Shape() = default;

void shp_Shape::PrintMembers(aio_ostream& stream) const {
  constexpr bool always = true;
  shp_WriteLine(stream, "-----------");
  shp_WriteLine(stream,
                "Geometry dimensions, Spatial dimensions: " + Join({NumGeomDims(), NumSpatialDims()}));
  shp_WriteLine(stream, "Nodes, Integration points and faces per elem: "
                            + Join({NumNodes(), NumIntPts(), NumFaces()}));
  for (std::size_t face = 0; face < NodesPerFace().size(); ++face)
    shp_WriteLine(stream, atr_Format("Nodes, edges on face %d: ", {static_cast<int>(face)})
                              + Join({NodesPerFace()[face], EdgesPerFace()[face]}));
  const std::pair<const char*, atr_String> lines[] = {
      {"Nodes per edge: ", Address(NodesPerEdge().data())}, // where the table is, not what it holds
      {"Max edges, nodes per face, max nodes per edge: ",
       Join({MaxEdgesPerFace(), MaxNodesPerFace(), MaxNodesPerEdge()})},
      {"Max integration points per face: ", Join({MaxIntPtsPerFace()})},
      {"isAxiSymmetric, isInteraction, isInternal: ",
       JoinFlags({IsAxiSymmetric(), IsInteraction(), IsInternal()})},
      {"isSurface, isRigid, hasResults: ", JoinFlags({IsSurface(), IsRigid(), HasResults()})},
      {"isSweepable, isExtrudable, isShrinkable: ", JoinFlags({always, always, always})},
      {"isAnalyticalRigidSurface, hasBoundingBoxSize: ", JoinFlags({IsAnalyticalRigidSurface(), always})},
      {"draw1DNormal: ", Flag(always)},
      {"interpolationOrder: ", Join({InterpOrder()})},
      {"isTwistedElement: ", Flag(IsTwistedElement())},
      {"isCaxaElement: ", Flag(IsCaxaElement())},
      {"--------------------------------------", ""},
  };
  for (const auto& [title, values] : lines) shp_WriteLine(stream, title + values);
}

void shp_Shape::PrintMembersInTable(aio_ostream& stream) const {
  atr_String row = atr_Format("%d %d %2d %2d ", {NumGeomDims(), NumSpatialDims(), NumNodes(), NumIntPts()});
  for (const int count :
       {NumFaces(), MaxEdgesPerFace(), MaxNodesPerFace(), MaxNodesPerEdge(), MaxIntPtsPerFace()})
    row += atr_Format("%d ", {count});
  for (const bool flag : {IsAxiSymmetric(), IsInteraction(), IsInternal(), IsSurface(), IsRigid(),
                          HasResults(), IsSweepable(), IsExtrudable(), IsAnalyticalRigidSurface()})
    row.append(Flag(flag)).append(" ");
  row += atr_Format("%d ", {InterpOrder()});
  for (const bool flag : {IsTwistedElement(), IsCaxaElement(), HasFlag73()})
    row.append(Flag(flag)).append(" ");
  shp_WriteLine(stream, row);
}
