// bme_NodeNormals.h: normals of surface elements at nodes
#pragma once

#include "bme_Vectors.h"

#include <CoreGeometry/bme_Mesh.h>
#include <vector>

/// Whether elements of the class are surfaces with one plane of nodes.
bool bme_CanBeSwept(const bme_ElementClass& type);

/// Unit normals of nodes that surface elements have, zero for others: means weighted by the angle of each element at the
/// node, half a turn at mid nodes. nex_TextException with the label of a node where they cancel.
std::vector<bme_Vector> bme_NodeNormals(const bme_Mesh& mesh);
