// shp_Facts.h: corners and face loops of the families, from which the rest of their topology follows
#pragma once

#include "shp_ShortList.h"

#include <CoreGeometry/shp_Topology.h>

using shp_FaceLoop = shp_ShortList<int, 4>;

/// What cannot be computed about a family: its reference domain and the faces of that.
///
/// The first numSimplexDims directions of the domain run over a simplex with its first corner at the origin,
/// the others from -1 to 1. All that depends on the kind of the domain asks this row.
struct shp_Facts {
  int numDims;
  int numSimplexDims; ///< 0, 2 or 3
  shp_ShortList<shp_IsoPoint, 8> corners;
  shp_ShortList<shp_FaceLoop, 6> faces; ///< corners seen from outside, counter-clockwise

  constexpr bool HasSimplex() const noexcept { return numSimplexDims > 0; }
  constexpr bool IsSimplex() const noexcept { return numSimplexDims == numDims; }
  constexpr int NumSimplexCorners() const noexcept { return HasSimplex() ? numSimplexDims + 1 : 0; }
  constexpr int NumCorners() const noexcept { return static_cast<int>(corners.size()); }
  constexpr int NumFaces() const noexcept { return static_cast<int>(faces.size()); }
  /// Edge k of a loop runs from its corner k to the next; a line has one edge.
  constexpr int NumEdges(int face) const {
    return numDims == 1 ? 1 : static_cast<int>(faces[static_cast<std::size_t>(face)].size());
  }
};

// clang-format off
inline constexpr shp_Facts kLine{
    .numDims = 1, .numSimplexDims = 0,
    .corners = {{-1, 0, 0}, {1, 0, 0}},                       //   0-------1   -> xi
    .faces = {{0, 1}}};

inline constexpr shp_Facts kTriangle{
    .numDims = 2, .numSimplexDims = 2,                        //   2
    .corners = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}},             //   |  \        eta
    .faces = {{0, 1, 2}}};                                    //   0----1      o--xi

inline constexpr shp_Facts kQuadrilateral{
    .numDims = 2, .numSimplexDims = 0,                        //   3-------2
    .corners = {{-1, -1, 0}, {1, -1, 0},                      //   |       |   eta
                { 1,  1, 0}, {-1, 1, 0}},                     //   |       |   |
    .faces = {{0, 1, 2, 3}}};                                 //   0-------1   o--xi

inline constexpr shp_Facts kTetrahedron{
    .numDims = 3, .numSimplexDims = 3,
    .corners = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},  //       3
    .faces = {{0, 2, 1},   // zeta = 0                        //     / | \     zeta
              {0, 1, 3},   // eta  = 0                        //    /  2  \    |  eta
              {1, 2, 3},   // the slanted one                 //   / /   \ \   | /
              {0, 3, 2}}}; // xi   = 0                        //   0-------1   o--xi

inline constexpr shp_Facts kHexahedron{
    .numDims = 3, .numSimplexDims = 0,
    .corners = {{-1, -1, -1}, {1, -1, -1}, {1, 1, -1}, {-1, 1, -1},
                {-1, -1,  1}, {1, -1,  1}, {1, 1,  1}, {-1, 1,  1}},
    .faces = {{0, 3, 2, 1},                                   //     7-------6
              {4, 5, 6, 7},                                   //    /|      /|   zeta
              {0, 1, 5, 4},                                   //   4-------5 |   |  eta
              {1, 2, 6, 5},                                   //   | 3-----|-2   | /
              {3, 7, 6, 2},                                   //   |/      |/    |/
              {4, 7, 3, 0}}};                                 //   0-------1     o--xi

inline constexpr shp_Facts kWedge{
    .numDims = 3, .numSimplexDims = 2,
    .corners = {{0, 0, -1}, {1, 0, -1}, {0, 1, -1},           //       5
                {0, 0,  1}, {1, 0,  1}, {0, 1,  1}},          //     / | \       zeta
    .faces = {{0, 2, 1},                                      //   3-------4     |  eta
              {3, 4, 5},                                      //   |   2   |     | /
              {0, 1, 4, 3},                                   //   | /   \ |     |/
              {1, 2, 5, 4},                                   //   0-------1     o--xi
              {0, 3, 5, 2}}};
// clang-format on

/// Null for families without faces of their own: None, Point, RigidSurface.
constexpr const shp_Facts* shp_FindFacts(shp_Family family) noexcept {
  switch (family) {
  case shp_Family::Line: return &kLine;
  case shp_Family::Triangle: return &kTriangle;
  case shp_Family::Quadrilateral: return &kQuadrilateral;
  case shp_Family::Tetrahedron: return &kTetrahedron;
  case shp_Family::Hexahedron: return &kHexahedron;
  case shp_Family::Wedge: return &kWedge;
  case shp_Family::None:
  case shp_Family::Point:
  case shp_Family::RigidSurface: break;
  }
  return nullptr;
}
