// TwoMeshes.h: a model of two meshes that share an array, with sets
#pragma once

#include <BasicUtils/cls_WritePass.h>

/// Writes "meshes/Left" and "meshes/Right", blocks of hexahedra that share their connectivity, and a node set
/// and an element set of each with their regions. Arrays are large enough to be objects of their own.
void WriteTwoMeshes(cls_Database& database);
