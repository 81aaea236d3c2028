#include <CoreGeometry/bme_CombineMeshes.h>

#include "bme_Making.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_Placement.h>
#include <CoreGeometry/shp_Shape.h>
#include <array>
#include <cmath>

namespace {
double Determinant(const gsl_Matrix& m) {
  const auto minor = [&](unsigned j, unsigned k) {
    return m.Element(1, j) * m.Element(2, k) - m.Element(1, k) * m.Element(2, j);
  };
  return m.Element(0, 0) * minor(1, 2) - m.Element(0, 1) * minor(0, 2) + m.Element(0, 2) * minor(0, 1);
}

/// A row with one number that is not zero multiplies one coordinate, so that its zero keeps a sign, too.
struct Row {
  std::array<double, 4> factors{};
  int only = -1;

  Row(const gsl_Matrix& m, unsigned row) {
    int count = 0;
    for (unsigned k = 0; k < 4; ++k) {
      factors[k] = m.Element(row, k);
      if (factors[k] == 0) continue;
      ++count;
      only = static_cast<int>(k);
    }
    if (count != 1 || only == 3) only = -1;
  }
  float Apply(const std::array<double, 3>& p) const {
    if (only >= 0)
      return static_cast<float>(factors[static_cast<std::size_t>(only)] * p[static_cast<std::size_t>(only)]);
    return static_cast<float>(factors[0] * p[0] + factors[1] * p[1] + factors[2] * p[2] + factors[3]);
  }
};

bme_NodeData Move(const bme_NodeData& nodes, const gsl_Matrix& matrix) {
  bme_NodeData moved = nodes;
  const std::array<Row, 3> rows{Row(matrix, 0), Row(matrix, 1), Row(matrix, 2)};
  const std::span<float> xyz = moved.CoordinatesToModify();
  wip_InBlocks(nodes.NumNodes(), 65536, [&](std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
      const std::array<double, 3> p{xyz[3 * i], xyz[3 * i + 1], xyz[3 * i + 2]};
      const bool wasFinite = std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
      for (std::size_t axis = 0; axis < 3; ++axis) {
        xyz[3 * i + axis] = rows[axis].Apply(p);
        if (wasFinite && !std::isfinite(xyz[3 * i + axis]))
          throw nex_TextException("node " + std::to_string(bme_LabelOfNode(nodes, static_cast<unsigned>(i)))
                                  + " is moved beyond what single precision can hold");
      }
    }
  });
  return moved;
}

/// Whether elements of the shape are inside out after the matrix.
bool IsTurned(const bme_ElementClass& type, const shp_Shape& shape, const gsl_Matrix& m) {
  if (shape.NumGeomDims() < 2) return false;
  if (shape.NumGeomDims() == 3 || shape.NumSpatialDims() == 3) return Determinant(m) < 0;
  constexpr double kRounding = 1e-12;
  const double scale = std::abs(m.Element(0, 0)) + std::abs(m.Element(0, 1)) + std::abs(m.Element(1, 0))
                       + std::abs(m.Element(1, 1));
  if (std::abs(m.Element(2, 0)) + std::abs(m.Element(2, 1)) > kRounding * scale)
    throw nex_TextException(bme_Describe(type) + ": plane elements cannot leave their plane");
  return m.Element(0, 0) * m.Element(1, 1) - m.Element(0, 1) * m.Element(1, 0) < 0;
}
} // namespace

bme_Edited bme_TransformMesh(const bme_MeshAndSets& source, const gsl_Matrix& matrix) {
  gsl_Matrix local = matrix;
  if (const bme_Placement placement(source.mesh); !placement.IsNone()) {
    local = placement.ToPlaced();
    local.Concatenate(matrix);
    local.Concatenate(placement.ToLocal());
  }
  double scale = 0, determinant = Determinant(local);
  for (unsigned i = 0; i < 3; ++i)
    for (unsigned k = 0; k < 4; ++k) {
      if (!std::isfinite(local.Element(i, k))) determinant = 0;
      if (k < 3) scale = std::max(scale, std::abs(local.Element(i, k)));
    }
  if (!(std::abs(determinant) > 1e-12 * scale * scale * scale))
    throw nex_TextException("the matrix flattens the mesh, or is not finite");
  bme_Edited edited{{source.mesh}, bme_Renumbering::Identity(source.mesh)};
  const bme_ElementData& elements = source.mesh.ElementData();
  bme_Classes classes;
  for (unsigned c = 0; c < elements.NumClasses(); ++c) {
    const bme_ElementClass& type = elements.GetClass(c);
    classes.push_back(std::make_unique<bme_ElementClass>(type));
    const shp_Shape* shape = type.Shape();
    if (type.NumElements() == 0 || (!shape && determinant > 0)) continue;
    if (!shape || (IsTurned(type, *shape, local) && shape->ReversalPermutation().empty()))
      throw nex_TextException(bme_Describe(type)
                              + ": a mirror would leave the elements inside out, as the type has no "
                                "reversal");
    if (!IsTurned(type, *shape, local)) continue;
    wip_Poll::Now();
    classes.back()->InvertElementsConnectivities();
    std::vector<unsigned char>& turns = edited.renumbering.turns;
    turns.resize(elements.NumElements(), 0);
    std::fill_n(turns.begin() + type.FirstElementIndex(), type.NumElements(),
                bme_Renumbering::kNodesExchanged);
  }
  edited.result.mesh = bme_MeshLike(source.mesh, Move(source.mesh.NodeData(), local), std::move(classes));
  bme_SendSets(source, edited);
  return edited;
}

bme_Combined bme_CopyMesh(const bme_MeshAndSets& source, std::span<const gsl_Matrix> copies) {
  std::vector<bme_MeshAndSets> made{source};
  std::vector<std::vector<unsigned char>> turns(1);
  for (const gsl_Matrix& matrix : copies) {
    bme_Edited copy = bme_TransformMesh(source, matrix);
    turns.push_back(std::move(copy.renumbering.turns));
    made.push_back(std::move(copy.result));
    const cow_String number = "-" + std::to_string(made.size() - 1);
    for (bme_NamedSet& set : made.back().sets) {
      if (!set.root.empty()) set.root += number;
      set.name += number;
      set.data.SetLabel(set.name);
    }
  }
  std::vector<bme_MeshToCombine> meshes;
  for (std::size_t i = 0; i < made.size(); ++i) meshes.push_back({std::to_string(i), &made[i]});
  bme_Combined combined = bme_CombineMeshes(meshes, bme_Labels::Offset);
  combined.turns = std::move(turns);
  return combined;
}
