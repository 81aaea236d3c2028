#include <CoreGeometry/bme_RegenerateDatums.h>

#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/dtu_6dofNodeDatumCsys.h>
#include <CoreGeometry/dtu_DatumContainer.h>
#include <algorithm>
#include <cmath>

namespace {
class Regenerator {
public:
  Regenerator(dtu_DatumContainer& container, const bme_Mesh& mesh, std::span<const float> displacements,
              std::span<const float> rotations, bool display)
      : container_(container), nodes_(mesh.NodeData()), displacements_(displacements), rotations_(rotations),
        display_(display) {
    Expect(displacements, "displacements");
    Expect(rotations, "rotations");
  }

  std::vector<bme_LostDatum> Run() {
    for (const int id : container_.OfKind(dtu_CSYS)) {
      const dtu_Datum& datum = container_.Get(id);
      if (const auto* three = dynamic_cast<const dtu_DynamicDatumCsys*>(&datum))
        FollowThree(id, three->NodesPackage());
      else if (const auto* one = dynamic_cast<const dtu_6dofNodeDatumCsys*>(&datum))
        FollowOne(id, one->Node().GetEntityId());
    }
    return std::move(lost_);
  }

private:
  using Triple = float (&)[3];

  void Expect(std::span<const float> values, const char* what) const {
    const std::size_t wanted = 3 * static_cast<std::size_t>(nodes_.NumNodes());
    if (!values.empty() && values.size() != wanted)
      throw nex_AssertionException(std::to_string(values.size()) + " numbers are no " + what + " of "
                                   + std::to_string(nodes_.NumNodes()) + " nodes");
  }

  void FollowThree(int id, const dtu_NodesPackage& nodes) {
    bme_LostDatum lost{id, bme_LostDatum::COLLINEAR_NODES, {}};
    bool areOfOnePart = true;
    for (int i = 1; i <= 3; ++i) {
      lost.labels.push_back(nodes.ConstGetNodeLabel(i));
      areOfOnePart &= nodes.ConstGetInstanceID(i) == nodes.ConstGetInstanceID(1);
    }
    dtu_NodesCoordPackage coords;
    if (!areOfOnePart)
      lost.reason = bme_LostDatum::SEVERAL_INSTANCES;
    else if (Places(lost, coords.coordinates) && container_.Regenerate(id, coords, display_))
      return;
    lost_.push_back(std::move(lost));
  }

  void FollowOne(int id, int label) {
    bme_LostDatum lost{id, bme_LostDatum::MISSING_NODES, {label}};
    float places[1][3];
    dtu_6dofNodeCoord coords;
    if (!Places(lost, places)) return lost_.push_back(std::move(lost));
    std::ranges::copy(places[0], coords.position);
    if (!Add(rotations_, nodes_.GetMeshNodeIndex(label), coords.rotation)) {
      lost.reason = bme_LostDatum::NOT_FINITE;
      return lost_.push_back(std::move(lost));
    }
    container_.Regenerate(id, coords, display_);
  }

  /// Where the nodes are now; false, and only the labels of those that have no place are left, if there are such.
  template<std::size_t count> bool Places(bme_LostDatum& lost, float (&places)[count][3]) const {
    std::vector<int> missing, notFinite;
    for (std::size_t i = 0; i < count; ++i) {
      const unsigned node = nodes_.GetMeshNodeIndex(lost.labels[i]);
      if (node == bme_kNotFound || !nodes_.GetNodalCoord(node, places[i][0], places[i][1], places[i][2]))
        missing.push_back(lost.labels[i]);
      else if (!Add(displacements_, node, places[i]))
        notFinite.push_back(lost.labels[i]);
    }
    if (missing.empty() && notFinite.empty()) return true;
    lost.reason = missing.empty() ? bme_LostDatum::NOT_FINITE : bme_LostDatum::MISSING_NODES;
    lost.labels = missing.empty() ? std::move(notFinite) : std::move(missing);
    return false;
  }

  /// False when the sum is not finite.
  static bool Add(std::span<const float> values, unsigned node, Triple sum) {
    for (std::size_t k = 0; k < 3 && !values.empty(); ++k) sum[k] += values[3 * std::size_t{node} + k];
    return std::ranges::all_of(sum, [](float x) { return std::isfinite(x); });
  }

  dtu_DatumContainer& container_;
  const bme_NodeData& nodes_;
  std::span<const float> displacements_, rotations_;
  bool display_;
  std::vector<bme_LostDatum> lost_;
};
} // namespace

cow_String bme_LostDatum::Text() const {
  cow_String text = labels.size() == 1 ? "node " : "nodes ";
  for (std::size_t i = 0; i < labels.size(); ++i) text += (i > 0 ? ", " : "") + std::to_string(labels[i]);
  text += labels.size() == 1 ? " is " : " are ";
  switch (reason) {
  case MISSING_NODES: return text + "not in the mesh";
  case NOT_FINITE: return text + "at no finite place";
  case COLLINEAR_NODES: return text + "on one line";
  case SEVERAL_INSTANCES: return text + "of several instances";
  }
  return text;
}

std::vector<bme_LostDatum> bme_RegenerateDatums(dtu_DatumContainer& container, const bme_Mesh& mesh,
                                                std::span<const float> displacements,
                                                std::span<const float> rotations, bool display) {
  return Regenerator(container, mesh, displacements, rotations, display).Run();
}
