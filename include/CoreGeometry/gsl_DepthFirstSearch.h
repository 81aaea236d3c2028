// gsl_DepthFirstSearch.h: depth-first order of a graph
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

/// Visits the nodes that can be reached from node 0 depth first: a node before its neighbours, neighbours by
/// ascending index. adjacency is an n x n matrix, row by row: element (i, j) is true when j is a neighbour of
/// i. order has room for n nodes and gets the visited ones; count is their number: below n, the graph is not
/// connected. For n < 1 no node is visited.
///
/// Cost       O(n squared); no recursion.
CORE_GEOMETRY_API void gsl_DepthFirstSearch(const bool* adjacency, int n, int* order, int& count);
