#include <CoreGeometry/bme_SendDatums.h>

#include "bme_Making.h"

#include <CoreGeometry/bme_RegenerateDatums.h>
#include <CoreGeometry/dtu_6dofNodeDatumCsys.h>
#include <CoreGeometry/dtu_DatumContainer.h>
#include <optional>

dtu_DatumContainer bme_SendDatums(const dtu_DatumContainer& datums, const bme_Renumbering& renumbering,
                                  const bme_Mesh& oldMesh, const bme_Mesh& newMesh, const gsl_Matrix& matrix,
                                  std::vector<cow_String>& remarks) {
  dtu_DatumContainer sent = datums;
  if (gsl_Matrix copy = matrix; !copy.IsIdentity()) sent.TransformData(matrix);
  const auto labelNow = [&](int label) -> std::optional<int> {
    const unsigned node = oldMesh.NodeData().GetMeshNodeIndex(label);
    if (node >= renumbering.nodes.to.size() || renumbering.nodes.to[node] < 0) return std::nullopt;
    return bme_LabelOfNode(newMesh.NodeData(), static_cast<unsigned>(renumbering.nodes.to[node]));
  };
  for (const int id : datums.OfKind(dtu_CSYS)) {
    const auto* csys = dynamic_cast<const dtu_DatumCsys*>(sent.Find(id));
    const auto* three = dynamic_cast<const dtu_DynamicDatumCsys*>(csys);
    const auto* one = dynamic_cast<const dtu_6dofNodeDatumCsys*>(csys);
    if (!three && !one) continue;
    gsl_Point origin;
    gsl_Vector x, y, z;
    csys->Geometry(origin, x, y, z);
    const dtu_DatumCsys fixed(csys->GetOwnerFeatID(), csys->GetInstFeatID(), origin, x, y, z,
                              csys->GetCsysType());
    std::vector<int> labels, instances;
    bool isSame = true, isGone = false;
    for (int i = 1; i <= (three ? 3 : 1); ++i) {
      const int before = three ? three->NodesPackage().ConstGetNodeLabel(i) : one->Node().GetEntityId();
      const std::optional<int> now = labelNow(before);
      isGone |= !now;
      isSame &= now == before;
      labels.push_back(now.value_or(before));
      instances.push_back(three ? three->NodesPackage().ConstGetInstanceID(i) : one->Node().GetInstanceId());
    }
    if (isGone) {
      remarks.push_back("system \"" + datums.NameOf(id)
                        + "\" follows no node any more: a node of it is gone");
      sent.Replace(id, fixed);
    } else if (!isSame && three) {
      sent.Replace(id, dtu_DynamicDatumCsys(csys->GetOwnerFeatID(), csys->GetInstFeatID(), instances[0],
                                            instances[1], instances[2], labels[0], labels[1], labels[2],
                                            csys->GetCsysType(), three->NodesPackage().NodesOnCircle()));
    } else if (!isSame) {
      sent.Replace(id, dtu_6dofNodeDatumCsys(csys->GetOwnerFeatID(), csys->GetInstFeatID(), instances[0],
                                             labels[0], csys->GetCsysType(), &fixed));
    }
  }
  for (const bme_LostDatum& lost : bme_RegenerateDatums(sent, newMesh))
    remarks.push_back("system \"" + sent.NameOf(lost.datum) + "\" keeps its frame: " + lost.Text());
  return sent;
}
