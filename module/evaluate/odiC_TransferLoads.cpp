#include "odiC_FaceFinder.h"
#include "odiC_FacePoints.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_Placement.h>
#include <CoreGeometry/gsl_ExactSum.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <set>

namespace {
using Vector = std::array<double, 3>;

Vector Cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double Dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

/// Sums of forces and of their moments about the origin.
struct Resultant {
  std::array<gsl_ExactSum, 3> force, moment;

  void Add(const Vector& at, const Vector& f) {
    const Vector m = Cross(at, f);
    for (std::size_t k = 0; k < 3; ++k) {
      force[k].Add(f[k]);
      moment[k].Add(m[k]);
    }
  }
  Vector Force() const { return {force[0].Value(), force[1].Value(), force[2].Value()}; }
  Vector Moment() const { return {moment[0].Value(), moment[1].Value(), moment[2].Value()}; }
};

/// x of the symmetric equations J x = b, by Cramer's rule; false when they have no single answer.
bool Solve(const std::array<Vector, 3>& j, const Vector& b, Vector& x) {
  const double determinant = Dot(j[0], Cross(j[1], j[2])), size = j[0][0] + j[1][1] + j[2][2];
  constexpr double kSingular = 1e-12;
  if (!(std::abs(determinant) > kSingular * size * size * size)) return false;
  x = {Dot(b, Cross(j[1], j[2])) / determinant, Dot(j[0], Cross(b, j[2])) / determinant,
       Dot(j[0], Cross(j[1], b)) / determinant};
  return true;
}

class Transfer {
public:
  Transfer(const odiC_Values& donor, const odiC_When& when, const bme_Mesh& target,
           const odiC_MapOptions& options)
      : mesh_(donor.Run().Mesh()), target_(target), options_(options), rows_(donor, when),
        finder_(*options.targetFaces, options.sides), fromNodes_(target.NodeData().NumNodes(), -1) {
    if (rows_.Width() != 1 && rows_.Width() != 3)
      throw odiC_Exception(donor.Text() + ": loads are one number, a pressure, or vectors of three");
    const bme_Placement from(mesh_), to(target);
    if (!from.IsNone() || !to.IsNone()) move_ = from.Into(to);
    if (move_ && (from.IsTurned() || to.IsTurned()))
      throw odiC_Exception(donor.Text() + ": loads need meshes that are not turned by their placements");
    loads_.when = when;
  }

  odiC_Loads Run() {
    CountNodes();
    wip_Poll poll(16);
    for (std::size_t i = 0; i < options_.donorFaces->Count(); ++i) {
      poll.Advance();
      AddFace((*options_.donorFaces)[i]);
    }
    for (const auto& [word, couple] : couples_) AddCouple(couple);
    loads_.forceBefore = before_.Force();
    loads_.momentBefore = before_.Moment();
    Resultant after;
    for (std::size_t i = 0; i < nodes_.size(); ++i)
      after.Add(PlaceOf(target_, nodes_[i]),
                {loads_.forces[3 * i], loads_.forces[3 * i + 1], loads_.forces[3 * i + 2]});
    loads_.forceAfter = after.Force();
    loads_.momentAfter = after.Moment();
    loads_.areaMissing = missing_.Value();
    loads_.unmapped = bme_FEMElemList(mesh_, {unmapped_.begin(), unmapped_.end()}).Labels();
    return std::move(loads_);
  }

private:
  struct Couple {
    Vector moment{};
    std::vector<int> nodes;
  };

  static Vector PlaceOf(const bme_Mesh& mesh, int node) {
    const float* const at = mesh.NodeData().Coordinates().Const().data() + 3 * static_cast<std::size_t>(node);
    return {at[0], at[1], at[2]};
  }

  void CountNodes() {
    const bme_FEMNodeList nodes = bme_FEMNodeList::OfFaces(*options_.targetFaces);
    for (const unsigned node : nodes) {
      fromNodes_[node] = static_cast<int>(nodes_.size());
      nodes_.push_back(static_cast<int>(node));
    }
    loads_.forces.assign(3 * nodes_.size(), 0);
    odiC_LayoutBlock block;
    block.position = res_NODAL;
    block.numEntities = static_cast<int>(nodes_.size());
    block.entities = cow_ArrayCOW<int>(std::span<const int>(nodes_));
    loads_.layout.completeness = res_PARTIAL_FIELD;
    loads_.layout.Add(std::move(block));
  }

  void AddFace(unsigned word) {
    const bme_ElementClass& type = mesh_.ElementData().GetElemClass(bme_ElementOf(word));
    const shp_Shape& shape = *type.Shape();
    const auto face = static_cast<int>(bme_FaceOf(word));
    const std::span<const int> row = type.Connectivity(static_cast<int>(bme_ElementOf(word))
                                                       - type.FirstElementIndex()),
                               local = shape.FaceNodes(face);
    auto [known, isNew] = points_.try_emplace({&shape, face});
    if (isNew) known->second = odiC_PointsOfFace(shape, face);
    faceNodes_.clear();
    for (const int node : local) faceNodes_.push_back(row[static_cast<std::size_t>(node)]);
    weights_.resize(local.size());
    for (const odiC_FacePoint& point : known->second) {
      Vector at{}, u{}, v{};
      for (std::size_t k = 0; k < local.size(); ++k) {
        const auto n = static_cast<std::size_t>(local[k]);
        weights_[k] = point.functions[n];
        const Vector place = PlaceOf(mesh_, faceNodes_[k]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
          at[axis] += point.functions[n] * place[axis];
          u[axis] += point.alongU[n] * place[axis];
          v[axis] += point.alongV[n] * place[axis];
        }
      }
      Vector area = Cross(u, v);
      for (double& part : area) part *= bme_IsBack(word) ? -point.weight : point.weight;
      AddPart(word, Moved(at), area);
    }
  }

  Vector Moved(const Vector& at) const {
    if (!move_) return at;
    gsl_Point point(at[0], at[1], at[2]);
    point.Transform(*move_);
    return {point[0], point[1], point[2]};
  }

  /// The load on a part of a donor face, as an area along its normal.
  void AddPart(unsigned word, const Vector& at, const Vector& area) {
    const double size = std::sqrt(Dot(area, area));
    if (size == 0) return;
    std::array<double, 3> load{};
    rows_.Read(word, faceNodes_, weights_, std::span(load).first(rows_.Width()));
    const bool isFound = finder_.Find(at, area, hit_) && hit_.distance <= options_.distance;
    if (!isFound || !std::isfinite(load[0] + load[1] + load[2])) {
      missing_.Add(size);
      unmapped_.insert(bme_ElementOf(word));
      return;
    }
    loads_.largestDistance = std::max(loads_.largestDistance, hit_.distance);
    Vector force{};
    // a pressure pushes into the target, whichever way the donor looks
    const double sign = Dot(finder_.NormalOf(hit_.word), area) < 0 ? 1 : -1;
    for (std::size_t k = 0; k < 3; ++k)
      force[k] = rows_.Width() == 1 ? sign * load[0] * area[k] : load[k] * size;
    before_.Add(at, force);
    Vector there{};
    for (std::size_t n = 0; n < hit_.nodes.size(); ++n) {
      const Vector place = PlaceOf(target_, hit_.nodes[n]);
      for (std::size_t k = 0; k < 3; ++k) {
        there[k] += hit_.weights[n] * place[k];
        Force(hit_.nodes[n], k) += hit_.weights[n] * force[k];
      }
    }
    Couple& couple = couples_[hit_.word];
    if (couple.nodes.empty()) couple.nodes = hit_.nodes;
    const Vector moment = Cross({at[0] - there[0], at[1] - there[1], at[2] - there[2]}, force);
    for (std::size_t k = 0; k < 3; ++k) couple.moment[k] += moment[k];
  }

  void AddCouple(const Couple& couple) {
    Vector centre{};
    for (const int node : couple.nodes)
      for (std::size_t k = 0; k < 3; ++k)
        centre[k] += PlaceOf(target_, node)[k] / static_cast<double>(couple.nodes.size());
    const auto arm = [&](int node) {
      const Vector place = PlaceOf(target_, node);
      return Vector{place[0] - centre[0], place[1] - centre[1], place[2] - centre[2]};
    };
    std::array<Vector, 3> inertia{};
    for (const int node : couple.nodes) {
      const Vector r = arm(node);
      for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t k = 0; k < 3; ++k) inertia[i][k] += (i == k ? Dot(r, r) : 0) - r[i] * r[k];
    }
    Vector turn{};
    if (!Solve(inertia, couple.moment, turn))
      throw odiC_Exception("the nodes of a target face are on a line, so it cannot take a moment");
    for (const int node : couple.nodes) {
      const Vector force = Cross(turn, arm(node));
      for (std::size_t k = 0; k < 3; ++k) Force(node, k) += force[k];
    }
  }

  double& Force(int node, std::size_t axis) {
    return loads_.forces[3 * static_cast<std::size_t>(fromNodes_[static_cast<std::size_t>(node)]) + axis];
  }

  const bme_Mesh &mesh_, &target_;
  const odiC_MapOptions& options_;
  odiC_FaceRows rows_;
  odiC_FaceFinder finder_;
  std::optional<gsl_Matrix> move_;
  std::vector<int> fromNodes_, nodes_; ///< rows of nodes of the target, and its nodes by row
  std::map<std::pair<const shp_Shape*, int>, std::vector<odiC_FacePoint>> points_;
  std::map<unsigned, Couple> couples_; ///< by faces of the target
  std::vector<int> faceNodes_;
  std::vector<double> weights_;
  odiC_FaceHit hit_;
  std::set<unsigned> unmapped_;
  gsl_ExactSum missing_;
  Resultant before_;
  odiC_Loads loads_;
};
} // namespace

odiC_Loads odiC_TransferLoads(const odiC_Values& donor, const odiC_When& when, const bme_Mesh& target,
                              const odiC_MapOptions& options) {
  if (!options.donorFaces || !options.targetFaces || options.donorFaces->IsEmpty()
      || options.targetFaces->IsEmpty())
    throw odiC_Exception(donor.Text() + ": loads go from faces to faces");
  if (!(options.distance > 0))
    throw odiC_Exception(donor.Text() + ": a distance of " + std::to_string(options.distance)
                         + " is none within which a face is taken");
  return Transfer(donor, when, target, options).Run();
}
