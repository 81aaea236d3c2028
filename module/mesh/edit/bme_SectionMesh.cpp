#include <CoreGeometry/bme_SectionMesh.h>

#include "bme_ClassWalk.h"
#include "bme_Making.h"
#include "bme_Vectors.h"

#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/bme_DivideMesh.h>
#include <algorithm>
#include <unordered_map>

namespace {
/// A point where an edge is cut: its nodes in the order of their numbers; one node twice when that is on the plane.
struct CutEdge {
  int low, high;
  bool operator==(const CutEdge&) const = default;
};

/// Axes of a plane, right-handed.
struct Frame {
  bme_Vector point, normal, first, second;

  explicit Frame(const bme_CutPlane& plane) : point(plane.point) {
    const double length = bme_Length(plane.normal);
    if (!std::isfinite(length + point[0] + point[1] + point[2]))
      throw nex_TextException("the plane of a section is not finite");
    if (length == 0) throw nex_TextException("0, 0, 0 is no normal of a plane");
    normal = bme_Sum({}, 1 / length, plane.normal);
    constexpr double kParallel = 1e-3;
    const bme_Vector x{1, 0, 0}, z{0, 0, 1};
    const bme_Vector& towards = bme_Length(bme_Cross(normal, x)) > kParallel ? x : z;
    first = bme_Sum(towards, -bme_Dot(towards, normal), normal);
    first = bme_Sum({}, 1 / bme_Length(first), first);
    second = bme_Cross(normal, first);
  }
  double Height(const bme_Vector& place) const { return bme_Dot(bme_Sum(place, -1, point), normal); }
  std::array<double, 2> InPlane(const bme_Vector& place) const {
    const bme_Vector from = bme_Sum(place, -1, point);
    return {bme_Dot(from, first), bme_Dot(from, second)};
  }
  bme_Vector Place(const std::array<double, 2>& at) const {
    return bme_Sum(bme_Sum(point, at[0], first), at[1], second);
  }
};

bool IsCuttable(const bme_ElementClass& type) {
  const shp_Shape* shape = type.Shape();
  return shape && type.NumElements() > 0 && shape->NumGeomDims() >= 2 && shape->NumRings() == 1
         && !shape->IsInteraction() && !shape->FaceNodes(0).empty();
}

/// Sums over triangles of a section in its plane, about a point near it.
class MomentSum {
public:
  explicit MomentSum(const std::array<double, 2>& about) : about_(about) {}

  /// Integrals of products of area coordinates over a triangle: a sixth of its area for a square, a twelfth else.
  void Add(const std::array<double, 2>& a, const std::array<double, 2>& b, const std::array<double, 2>& c) {
    const std::array<std::array<double, 2>, 3> p{Shifted(a), Shifted(b), Shifted(c)};
    const double area =
        ((p[1][0] - p[0][0]) * (p[2][1] - p[0][1]) - (p[2][0] - p[0][0]) * (p[1][1] - p[0][1])) / 2;
    area_ += area;
    for (std::size_t k = 0; k < 2; ++k) first_[k] += area * (p[0][k] + p[1][k] + p[2][k]) / 3;
    const auto integral = [&](std::size_t i, std::size_t k) {
      double own = 0, sumI = 0, sumK = 0;
      for (const auto& corner : p) {
        own += corner[i] * corner[k];
        sumI += corner[i];
        sumK += corner[k];
      }
      return area * (own + sumI * sumK) / 12;
    };
    xx_ += integral(0, 0);
    yy_ += integral(1, 1);
    xy_ += integral(0, 1);
  }

  bme_SectionMoments Moments(const Frame& frame) const {
    bme_SectionMoments moments;
    moments.first = frame.first;
    moments.second = frame.second;
    if (area_ == 0) return moments;
    const double x = first_[0] / area_, y = first_[1] / area_;
    moments.area = area_;
    moments.centre = frame.Place({about_[0] + x, about_[1] + y});
    moments.aboutFirst = yy_ - area_ * y * y;
    moments.aboutSecond = xx_ - area_ * x * x;
    moments.product = xy_ - area_ * x * y;
    const double mean = (moments.aboutFirst + moments.aboutSecond) / 2,
                 half = (moments.aboutFirst - moments.aboutSecond) / 2,
                 radius = std::hypot(half, moments.product);
    moments.largest = mean + radius;
    moments.least = mean - radius;
    moments.angle = radius == 0 ? 0 : std::atan2(-moments.product, half) / 2;
    return moments;
  }

private:
  std::array<double, 2> Shifted(const std::array<double, 2>& p) const {
    return {p[0] - about_[0], p[1] - about_[1]};
  }

  std::array<double, 2> about_;
  double area_ = 0, xx_ = 0, yy_ = 0, xy_ = 0;
  std::array<double, 2> first_{};
};

class Cutter {
public:
  Cutter(const bme_MeshAndSets& source, const bme_CutPlane& plane)
      : source_(source), mesh_(source.mesh), frame_(plane) {
    bme_CheckNodes(mesh_);
    const bme_NodeData& nodes = mesh_.NodeData();
    heights_.reserve(nodes.NumNodes());
    for (int node = 0; node < static_cast<int>(nodes.NumNodes()); ++node)
      heights_.push_back(frame_.Height(bme_PlaceOf(nodes, node)));
    map_.nodes.to.assign(nodes.NumNodes(), -1);
    map_.elements.to.assign(mesh_.ElementData().NumElements(), -1);
    map_.classes.to.assign(mesh_.ElementData().NumClasses(), -1);
  }

  bme_Section Cut() {
    std::vector<cow_String> remarks;
    for (unsigned c = 0; c < mesh_.ElementData().NumClasses(); ++c) {
      const bme_ElementClass& type = mesh_.ElementData().GetClass(c);
      if (IsCuttable(type))
        CutClass(type);
      else if (type.NumElements() > 0)
        remarks.push_back(bme_Describe(type) + " is left out: its elements have no section");
    }
    map_.nodes.from.assign(places_.size(), -1);
    bme_NodeData nodes(uti_CoordCont3D(cow_ArrayCOW<float>(std::span<const float>(xyz_))), 3);
    bme_Section section{{{bme_MeshLike(mesh_, nodes, std::move(classes_))}, std::move(map_)}};
    bme_SendSets(source_, section);
    section.remarks.insert(section.remarks.begin(), remarks.begin(), remarks.end());
    Measure(section);
    return section;
  }

private:
  bool IsInFront(int node) const { return heights_[static_cast<std::size_t>(node)] >= 0; }

  void CutClass(const bme_ElementClass& type) {
    const shp_Shape& shape = *type.Shape();
    const bool isSolid = shape.NumGeomDims() == 3;
    rows_[0].clear();
    rows_[1].clear();
    from_[0].clear();
    from_[1].clear();
    wip_Poll poll(8192);
    for (int i = 0; i < type.NumElements(); ++i) {
      poll.Advance();
      const std::span<const int> row = type.Connectivity(i);
      const bool isFirst = IsInFront(row[0]);
      const auto differs = [&](int node) { return IsInFront(node) != isFirst; };
      if (std::ranges::none_of(row, differs)) continue;
      links_.clear();
      const int numFaces = isSolid ? shape.NumFaces() : 1;
      for (int face = 0; face < numFaces; ++face)
        LinkFace(bme_Corners(shape, static_cast<unsigned>(face)), row);
      if (isSolid)
        AddPolygons(i);
      else
        AddLines(i);
    }
    if (isSolid) {
      AddClass(type, "S4", 4, 0);
      AddClass(type, "S3", 3, 1);
    } else {
      AddClass(type, "T3D2", 2, 0);
    }
  }

  CutEdge CutOf(int a, int b) const {
    for (const int node : {a, b})
      if (heights_[static_cast<std::size_t>(node)] == 0) return {node, node};
    return {std::min(a, b), std::max(a, b)};
  }

  /// Where the loop comes to the front and where it goes behind, joined: from the edge of the one to that of the other.
  void LinkFace(std::span<const int> loop, std::span<const int> row) {
    struct Crossing {
      int low, high;
      bool isUp;
    };
    std::array<Crossing, 8> found{};
    std::size_t count = 0;
    double sum = 0;
    for (std::size_t k = 0; k < loop.size(); ++k) {
      const int a = row[static_cast<std::size_t>(loop[k])],
                b = row[static_cast<std::size_t>(loop[(k + 1) % loop.size()])];
      sum += heights_[static_cast<std::size_t>(a)];
      if (IsInFront(a) != IsInFront(b)) found[count++] = {std::min(a, b), std::max(a, b), IsInFront(b)};
    }
    // of two pairs each way up is joined to the way down behind it, or, where the centre is in front, before it
    const std::size_t step = count > 2 && sum >= 0 ? count - 1 : 1;
    for (std::size_t k = 0; k < count; ++k) {
      if (!found[k].isUp) continue;
      const Crossing &up = found[k], &down = found[(k + step) % count];
      if (up.low != down.low || up.high != down.high)
        links_.push_back({{up.low, up.high}, {down.low, down.high}});
    }
  }

  int NodeOf(const CutEdge& edge) {
    const CutEdge cut = CutOf(edge.low, edge.high);
    const auto key = static_cast<unsigned long long>(static_cast<unsigned>(cut.low)) << 32
                     | static_cast<unsigned>(cut.high);
    const auto [at, isNew] = numbers_.try_emplace(key, static_cast<int>(places_.size()));
    if (!isNew) return at->second;
    const double low = heights_[static_cast<std::size_t>(cut.low)],
                 high = heights_[static_cast<std::size_t>(cut.high)];
    const double share = cut.low == cut.high ? 0 : low / (low - high);
    const bme_Vector from = bme_PlaceOf(mesh_.NodeData(), cut.low),
                     to = bme_PlaceOf(mesh_.NodeData(), cut.high);
    const bme_Vector place = bme_Sum(bme_Sum({}, 1 - share, from), share, to);
    places_.push_back(frame_.InPlane(place));
    for (const double value : place) xyz_.push_back(static_cast<float>(value));
    bme_MadeNodes& made = map_.made;
    made.parents.push_back(static_cast<unsigned>(cut.low));
    made.weights.push_back(1 - share);
    if (cut.low != cut.high) {
      made.parents.push_back(static_cast<unsigned>(cut.high));
      made.weights.push_back(share);
    }
    made.starts.push_back(static_cast<unsigned>(made.parents.size()));
    return at->second;
  }

  void AddPolygons(int position) {
    while (!links_.empty()) {
      polygon_.clear();
      const CutEdge begin = links_.front().first;
      for (CutEdge at = begin;;) {
        const auto next = std::ranges::find(links_, at, &Link::first);
        if (next == links_.end()) break;
        if (const int node = NodeOf(at); polygon_.empty() || polygon_.back() != node)
          polygon_.push_back(node);
        at = next->second;
        links_.erase(next);
        if (at == begin) break;
      }
      while (polygon_.size() > 1 && polygon_.front() == polygon_.back()) polygon_.pop_back();
      if (polygon_.size() > 2) AddPolygon(position);
    }
  }

  /// As quadrilaterals about the first corner, and a triangle for an odd number of corners.
  void AddPolygon(int position) {
    double area = 0;
    for (std::size_t k = 1; k + 1 < polygon_.size(); ++k)
      area += AreaOf(polygon_[0], polygon_[k], polygon_[k + 1]);
    if (area < 0) std::ranges::reverse(polygon_);
    for (std::size_t k = 1; k + 1 < polygon_.size(); k += 2) {
      const bool isTriangle = k + 2 == polygon_.size();
      std::vector<int>& rows = rows_[isTriangle ? 1 : 0];
      rows.push_back(polygon_[0]);
      rows.insert(rows.end(), polygon_.begin() + static_cast<std::ptrdiff_t>(k),
                  polygon_.begin() + static_cast<std::ptrdiff_t>(k + (isTriangle ? 2 : 3)));
      from_[isTriangle ? 1 : 0].push_back(position);
    }
  }
  double AreaOf(int a, int b, int c) const {
    const auto &p = places_[static_cast<std::size_t>(a)], &q = places_[static_cast<std::size_t>(b)],
               &r = places_[static_cast<std::size_t>(c)];
    return ((q[0] - p[0]) * (r[1] - p[1]) - (r[0] - p[0]) * (q[1] - p[1])) / 2;
  }

  void AddLines(int position) {
    for (const Link& link : links_) {
      const int a = NodeOf(link.first), b = NodeOf(link.second);
      if (a == b) continue;
      rows_[0].push_back(a);
      rows_[0].push_back(b);
      from_[0].push_back(position);
    }
  }

  void AddClass(const bme_ElementClass& type, const char* label, std::size_t columns, std::size_t which) {
    if (rows_[which].empty()) return;
    int& to = map_.classes.to[static_cast<std::size_t>(type.ClassIndex())];
    if (to < 0) to = static_cast<int>(classes_.size());
    map_.classes.from.push_back(type.ClassIndex());
    classes_.push_back(
        bme_ClassLike(type, {}, cow_ArrayCOW<int>(std::span<const int>(rows_[which])), label, columns));
    classes_.back()->SetElemControlParams({});
    classes_.back()->SetLocationLabels({});
    for (const int position : from_[which]) {
      const int old = type.FirstElementIndex() + position;
      int& first = map_.elements.to[static_cast<std::size_t>(old)];
      if (first < 0) first = static_cast<int>(map_.elements.from.size());
      map_.elements.from.push_back(old);
    }
  }

  void Measure(bme_Section& section) const {
    std::array<double, 2> middle{};
    for (const auto& place : places_)
      for (std::size_t k = 0; k < 2; ++k) middle[k] += place[k] / static_cast<double>(places_.size());
    MomentSum sum(middle);
    std::array<double, 2> centre{};
    const bme_ElementData& elements = section.result.mesh.ElementData();
    for (unsigned c = 0; c < elements.NumClasses(); ++c) {
      const bme_ElementClass& type = elements.GetClass(c);
      for (int i = 0; i < type.NumElements(); ++i) {
        const std::span<const int> row = type.Connectivity(i);
        const auto at = [&](std::size_t k) { return places_[static_cast<std::size_t>(row[k])]; };
        for (std::size_t k = 1; k + 1 < row.size(); ++k) sum.Add(at(0), at(k), at(k + 1));
        if (row.size() != 2) continue;
        const double length = std::hypot(at(1)[0] - at(0)[0], at(1)[1] - at(0)[1]);
        section.length += length;
        for (std::size_t k = 0; k < 2; ++k) centre[k] += length * (at(0)[k] + at(1)[k]) / 2;
      }
    }
    section.moments = sum.Moments(frame_);
    if (section.length > 0)
      section.lineCentre = frame_.Place({centre[0] / section.length, centre[1] / section.length});
  }

  struct Link {
    CutEdge first, second;
  };

  const bme_MeshAndSets& source_;
  const bme_Mesh& mesh_;
  Frame frame_;
  std::vector<double> heights_; ///< of the nodes of the mesh
  bme_Renumbering map_;
  bme_Classes classes_;
  std::unordered_map<unsigned long long, int> numbers_; ///< of new nodes by the edge that was cut
  std::vector<std::array<double, 2>> places_;
  std::vector<float> xyz_;
  std::vector<Link> links_; ///< of one element
  std::vector<int> polygon_, rows_[2], from_[2];
};

/// Elements with mid nodes that the plane may cut, refined; the others as they are.
bme_Edited Refined(const bme_MeshAndSets& source, const bme_CutPlane& plane) {
  const Frame frame(plane);
  const bme_ElementData& elements = source.mesh.ElementData();
  bme_CheckNodes(source.mesh);
  std::vector<unsigned> crossing;
  for (unsigned c = 0; c < elements.NumClasses(); ++c) {
    const bme_ElementClass& type = elements.GetClass(c);
    if (!IsCuttable(type)) continue;
    for (int i = 0; i < type.NumElements(); ++i) {
      std::size_t numInFront = 0;
      const std::span<const int> row = type.Connectivity(i);
      for (const int node : row)
        numInFront += frame.Height(bme_PlaceOf(source.mesh.NodeData(), node)) >= 0 ? 1 : 0;
      if (numInFront > 0 && numInFront < row.size())
        crossing.push_back(static_cast<unsigned>(type.FirstElementIndex() + i));
    }
  }
  bme_Edited edited = bme_ExtractElements(source, crossing);
  for (unsigned i = 0; i < plane.refinements; ++i) {
    bme_Edited finer = bme_RefineMesh(edited.result);
    finer.renumbering = edited.renumbering.Then(finer.renumbering);
    edited = std::move(finer);
  }
  return edited;
}
} // namespace

bme_Section bme_CutMesh(const bme_MeshAndSets& source, const bme_CutPlane& plane) {
  const bme_ElementData& elements = source.mesh.ElementData();
  bool areCurved = false;
  for (unsigned c = 0; c < elements.NumClasses(); ++c)
    if (const shp_Shape* shape = elements.GetClass(c).Shape()) areCurved |= shape->InterpOrder() > 1;
  if (plane.refinements == 0 || !areCurved) return Cutter(source, plane).Cut();
  const bme_Edited fine = Refined(source, plane);
  bme_Section section = Cutter(fine.result, plane).Cut();
  section.renumbering = fine.renumbering.Then(section.renumbering);
  return section;
}
