// shp_AttributeBits.h: names of the attribute bits that decide something about a shape
#pragma once

namespace shp_Bit {
// groups, of which the lowest set bit counts
inline constexpr int kFirstFamily = 1, kLastFamily = 8;
inline constexpr int kFirstIntPts = 10, kLastIntPts = 22;
inline constexpr int kFirstNodes = 30, kLastNodes = 44;
inline constexpr int kFirstRing = 90, kLastRing = 93;

// single bits
inline constexpr int kGasket = 51;
inline constexpr int kAxiSymmetric = 52;
inline constexpr int kInfinite = 57;      // a quadrilateral is open at its far edge
inline constexpr int kIntPtsAtNodes = 58; // replaces the listed number of integration points
inline constexpr int kTwisted = 59;
inline constexpr int kRigid = 60;
inline constexpr int kInternal = 61;
inline constexpr int kSurface = 62;
inline constexpr int kNoResults = 63;
inline constexpr int kInteraction = 64;
inline constexpr int kCaxa = 65;        // axisymmetric with rings of nodes
inline constexpr int kCylindrical = 66; // cubic about the axis
inline constexpr int kExtrusion = 67;
inline constexpr int kNodalIntegration = 68; // leaves the listed number of integration points
inline constexpr int kCohesive = 70;
inline constexpr int kContinuumShell = 71;
inline constexpr int kFlag73 = 73;
inline constexpr int kNumberedSolid = 74;
inline constexpr int kTwoDimensional = 80;
inline constexpr int kThreeDimensional =
    81;                                 // on labels only; what is not two-dimensional is three-dimensional
inline constexpr int kKeepsSweep = 108; // an internal surface that is swept or extruded all the same
} // namespace shp_Bit
