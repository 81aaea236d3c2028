// gsl_DepthFirstSearch.h: depth-first order of a graph
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

/// Visits the nodes reachable from node 0 depth first, a node before its neighbours and neighbours in the
/// order of their indices. adjacency is an n x n matrix, row by row: element (i, j) says that j is a
/// neighbour of i. order has room for n nodes and gets those reached; count gets their number: below n, the
/// graph is not connected. Nothing is reached for n < 1.
///
/// Cost       O(n squared); no recursion.
CORE_GEOMETRY_API void gsl_DepthFirstSearch(const bool* adjacency, int n, int* order, int& count);
