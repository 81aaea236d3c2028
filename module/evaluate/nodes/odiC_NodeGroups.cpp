#include "odiC_NodeGroups.h"

#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/shp_MeasureRule.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <tuple>

namespace {
constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }
constexpr double kPi = 3.141592653589793;

int DimsOf(const bme_ElementClass& type) { return type.Shape() ? type.Shape()->NumGeomDims() : 0; }

using Triple = std::array<double, 3>;

/// Unit normal of a surface element from the sum over its corners; zero when it has no area.
Triple NormalOf(const shp_Shape& shape, const int* nodes, std::span<const float> xyz) {
  const auto corners = shape.FaceNodes(0).first(At(shape.CornersPerFace()[0]));
  const auto point = [&](std::size_t k) { return &xyz[3 * At(nodes[corners[k % corners.size()]])]; };
  Triple normal{};
  const float* origin = point(0);
  for (std::size_t k = 1; k + 1 < corners.size(); ++k) {
    Triple a, b;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      a[axis] = double{point(k)[axis]} - double{origin[axis]};
      b[axis] = double{point(k + 1)[axis]} - double{origin[axis]};
    }
    for (std::size_t axis = 0; axis < 3; ++axis)
      normal[axis] += a[(axis + 1) % 3] * b[(axis + 2) % 3] - a[(axis + 2) % 3] * b[(axis + 1) % 3];
  }
  const double length = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
  if (length > 0)
    for (double& x : normal) x /= length;
  return normal;
}

/// For each node of a surface shape two nodes that mark the edges it lies on, -1 for none: of a corner its neighbours,
/// of a mid node the ends of its edge.
std::vector<std::array<int, 2>> MarksOf(const shp_Shape& shape) {
  std::vector<std::array<int, 2>> marks(At(shape.NumNodes()), {-1, -1});
  for (int edge = 0; edge < shape.EdgesPerFace()[0]; ++edge) {
    const std::span<const int> nodes = shape.EdgeNodes(0, edge);
    marks[At(nodes.front())][1] = nodes.back();
    marks[At(nodes.back())][0] = nodes.front();
    for (const int middle : nodes.subspan(1, nodes.size() - 2))
      marks[At(middle)] = {nodes.front(), nodes.back()};
  }
  return marks;
}
} // namespace

odiC_NodeGroups::odiC_NodeGroups(const bme_Mesh& ofMesh, const odiC_Places& places,
                                 const odiC_ToNodes& options, std::span<const odiC_ElementGroup> regions)
    : mesh(ofMesh), runs(places.SharedLayout()->blocks.size()), layout_(places.SharedLayout()) {
  const odiC_Places whole = places.WholeEntities();
  int block = 0;
  for (const odiC_RowRun& run : whole.Runs())
    for (int row = run.first; row < run.End();) {
      while (row >= layout_->blocks[At(block)].firstRow + layout_->blocks[At(block)].NumRows()) ++block;
      const odiC_LayoutBlock& one = layout_->blocks[At(block)];
      if (one.position != res_ELEMENT_NODAL && one.position != res_WHOLE_ELEMENT
          && one.position != res_ELEMENT_CENTROID)
        throw odiC_Exception(cow_String("values at ")
                             + omu_FindText(omu_EnumTable<res_OutputPositionEnm>::entries, one.position)
                             + " have no mean at nodes: they must be carried to element nodes first");
      const int end = std::min(run.End(), one.firstRow + one.NumRows());
      runs[At(block)].push_back(
          {block, (row - one.firstRow) / one.valuesPerEntity, (end - row) / one.valuesPerEntity});
      row = end;
    }
  if (options.borders == odiC_Borders::Regions) MakeRegions(regions);
  if (options.weights == odiC_Weights::Measure) MakeWeights();
  MakeGroups(options, regions);
  std::vector<unsigned char> numRows(mesh.NodeData().NumNodes());
  for (odiC_NodeGroup& group : groups) {
    if (options.normals > 0 && group.dims == 2) Divide(group, options.normals * kPi / 180);
    Count(group);
  }
  // section points are values of the same place, not of several
  for (std::size_t i = 0; i < groups.size(); ++i) {
    if (i == 0 || groups[i].sectionPoint != groups[i - 1].sectionPoint
        || groups[i].region != groups[i - 1].region)
      for (unsigned char& count : numRows) count = count == 2 ? 2 : 0;
    for (const int node : groups[i].nodes)
      numRows[At(node)] = static_cast<unsigned char>(std::min(2, numRows[At(node)] + 1));
  }
  numNodesOfSeveral = static_cast<int>(std::ranges::count(numRows, 2));
  NameGroups();
}

const bme_ElementClass& odiC_NodeGroups::ClassOf(int block) const {
  return mesh.ElementData().GetClass(static_cast<unsigned>(layout_->blocks[At(block)].classIndex));
}
std::span<const int> odiC_NodeGroups::Targets(const odiC_NodeGroup& group, int block) const {
  const std::vector<int>& own = group.targets[IndexOf(group, block)];
  return own.empty() ? ClassOf(block).ElementConnectivity().Const() : std::span<const int>(own);
}

int odiC_NodeGroups::RegionOf(int block, int element) const {
  return regionOf_[At(ClassOf(block).FirstElementIndex() + element)];
}
void odiC_NodeGroups::MakeRegions(std::span<const odiC_ElementGroup> regions) {
  constexpr std::size_t kMost = 65535;
  if (regions.size() >= kMost)
    throw odiC_Exception(std::to_string(regions.size()) + " regions; there may be 65534");
  regionOf_.assign(mesh.ElementData().NumElements(), static_cast<unsigned short>(regions.size()));
  for (std::size_t i = regions.size(); i-- > 0;) // the first one is written last
    for (const unsigned element : regions[i].elements)
      if (element < regionOf_.size()) regionOf_[element] = static_cast<unsigned short>(i);
}

void odiC_NodeGroups::MakeWeights() {
  weights.resize(mesh.ElementData().NumClasses());
  for (std::size_t block = 0; block < runs.size(); ++block) {
    if (runs[block].empty()) continue;
    const bme_ElementClass& type = ClassOf(static_cast<int>(block));
    std::vector<double>& measures = weights[At(layout_->blocks[block].classIndex)];
    if (!measures.empty() || !type.Shape()) continue;
    shp_MeasureRule rule(*type.Shape(), shp_MomentOrder::Measure);
    if (rule.IsEmpty()) continue; // points weigh the same
    std::vector<shp_Moments> moments(At(type.NumElements()));
    rule.IntegrateEach(type.ElementConnectivity().Const(), At(type.NumNodesPerElem()),
                       mesh.NodeData().Coordinates().Const(), {}, moments);
    measures.reserve(moments.size());
    for (const shp_Moments& one : moments) measures.push_back(std::fabs(one.measure));
  }
}

void odiC_NodeGroups::MakeGroups(const odiC_ToNodes& options, std::span<const odiC_ElementGroup> regions) {
  // in the order of the layout of the result: section point, then names
  std::map<std::tuple<int, cow_String, int, cow_String, int, int>, odiC_NodeGroup> made;
  for (std::size_t block = 0; block < runs.size(); ++block) {
    if (runs[block].empty()) continue;
    const odiC_LayoutBlock& one = layout_->blocks[block];
    const bme_ElementClass& type = ClassOf(static_cast<int>(block));
    const auto add = [&](const cow_String& name, int number, int region) {
      const int dims = DimsOf(type);
      // a category of the run may have several labels
      const cow_String& key = options.borders == odiC_Borders::Category && number >= 0 ? one.region : name;
      odiC_NodeGroup& group = made[{one.sectionPoint, one.region, number, key, -dims, region}];
      if (group.blocks.empty()) group.name = name;
      group.sectionPoint = one.sectionPoint;
      group.category = one.category;
      group.region = one.region;
      group.dims = dims;
      group.regionIndex = region;
      group.blocks.push_back(static_cast<int>(block));
    };
    switch (options.borders) {
    case odiC_Borders::None: add({}, 0, -1); break;
    case odiC_Borders::Class:
      add(type.ElemTypeLabel() + " " + std::to_string(one.classIndex + 1), one.classIndex, -1);
      break;
    case odiC_Borders::Category:
      add(type.CategoryLabel().empty() ? cow_String("without category") : type.CategoryLabel(), one.category,
          -1);
      break;
    case odiC_Borders::Regions: {
      std::vector<bool> isThere(regions.size() + 1);
      for (const odiC_ElementRun& run : runs[block])
        for (int at = run.first; at < run.first + run.count; ++at)
          isThere[At(RegionOf(static_cast<int>(block), one.Entity(at)))] = true;
      for (std::size_t k = 0; k < isThere.size(); ++k)
        if (isThere[k])
          add(k < regions.size() ? regions[k].name : cow_String("elsewhere"), static_cast<int>(k),
              static_cast<int>(k));
    }
    }
  }
  for (auto& [key, group] : made) groups.push_back(std::move(group));
  for (odiC_NodeGroup& group : groups) group.targets.resize(group.blocks.size());
}

void odiC_NodeGroups::NameGroups() {
  constexpr const char* kDims[] = {"points", "lines", "surfaces", "solids"};
  std::map<cow_String, int> numDims; // for each name
  for (const odiC_NodeGroup& group : groups) numDims[group.name] |= 1 << group.dims;
  const bool isOnly = numDims.size() == 1;
  for (odiC_NodeGroup& group : groups) {
    const int dims = numDims[group.name];
    if (isOnly) group.name.clear();
    if ((dims & (dims - 1)) != 0) // several
      group.name += (group.name.empty() ? "" : ", ") + cow_String(kDims[group.dims]);
  }
}

template<class Call>
void odiC_NodeGroups::ForEachElement(const odiC_NodeGroup& group, const Call& call) const {
  for (const int block : group.blocks) {
    const bme_ElementClass& type = ClassOf(block);
    for (const odiC_ElementRun& run : runs[At(block)])
      ForEachRunIn(group, block, run.first, run.count, [&](int first, int count) {
        for (int at = first; at < first + count; ++at) call(block, type, Element(block, at));
      });
  }
}

void odiC_NodeGroups::Divide(odiC_NodeGroup& group, double angle) {
  const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
  const int numNodes = static_cast<int>(mesh.NodeData().NumNodes());
  const double cosine = std::cos(angle);
  struct Incidence {
    int block, element, local, normal;
    std::array<int, 2> marks; ///< mesh nodes
  };
  std::vector<Triple> normals;
  std::vector<unsigned> first(At(numNodes) + 1);
  std::vector<Incidence> all;
  std::map<int, std::vector<std::array<int, 2>>> marksOf;
  const auto isInMesh = [&](int node) { return node >= 0 && node < numNodes; };
  ForEachElement(group, [&](int block, const bme_ElementClass& type, int element) {
    const shp_Shape& shape = *type.Shape();
    const std::span<const int> nodes = type.Connectivity(element);
    if (shape.NumSpatialDims() != 3 || shape.NumFaces() == 0 || !std::ranges::all_of(nodes, isInMesh)) return;
    auto& marks = marksOf[block];
    if (marks.empty()) marks = MarksOf(shape);
    for (std::size_t local = 0; local < nodes.size(); ++local) {
      const auto mark = [&](int end) { return end < 0 ? -1 : nodes[At(end)]; };
      all.push_back({block,
                     element,
                     static_cast<int>(local),
                     static_cast<int>(normals.size()),
                     {mark(marks[local][0]), mark(marks[local][1])}});
    }
    normals.push_back(NormalOf(shape, nodes.data(), xyz));
  });
  const auto nodeOf = [&](const Incidence& one) {
    return ClassOf(one.block).Connectivity(one.element)[At(one.local)];
  };
  for (const Incidence& one : all) ++first[At(nodeOf(one)) + 1];
  std::partial_sum(first.begin(), first.end(), first.begin());
  std::vector<unsigned> order(all.size()), next(first.begin(), first.end() - 1);
  for (unsigned i = 0; i < all.size(); ++i) order[next[At(nodeOf(all[i]))]++] = i;

  const auto areLinked = [&](const Incidence& a, const Incidence& b) {
    const bool share = std::ranges::any_of(
        a.marks, [&](int mark) { return mark >= 0 && (mark == b.marks[0] || mark == b.marks[1]); });
    const Triple &m = normals[At(a.normal)], &n = normals[At(b.normal)];
    constexpr double kRounding = 1e-7; // of single precision: an angle as large as the limit is no border
    return share && m[0] * n[0] + m[1] * n[1] + m[2] * n[2] >= cosine - kRounding;
  };
  int nextTarget = numNodes;
  std::vector<int> chain;
  for (int node = 0; node < numNodes; ++node) {
    const std::span<const unsigned> here =
        std::span(order).subspan(first[At(node)], first[At(node) + 1] - first[At(node)]);
    chain.assign(here.size(), -1);
    int numChains = 0;
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < here.size(); ++i) {
      if (chain[i] >= 0) continue;
      chain[i] = numChains;
      open.assign(1, i);
      while (!open.empty()) {
        const std::size_t from = open.back();
        open.pop_back();
        for (std::size_t k = 0; k < here.size(); ++k)
          if (chain[k] < 0 && areLinked(all[here[from]], all[here[k]])) {
            chain[k] = numChains;
            open.push_back(k);
          }
      }
      if (numChains++ == 0) continue;
      group.nodes.push_back(node); // of the further target
      group.levels.push_back(numChains - 1);
      ++nextTarget;
    }
    for (std::size_t i = 0; i < here.size(); ++i) {
      if (chain[i] == 0) continue;
      const Incidence& one = all[here[i]];
      std::vector<int>& targets = group.targets[IndexOf(group, one.block)];
      const bme_ElementClass& type = ClassOf(one.block);
      if (targets.empty())
        targets.assign(type.ElementConnectivity().Const().begin(), type.ElementConnectivity().Const().end());
      targets[At(one.element) * At(type.NumNodesPerElem()) + At(one.local)] =
          nextTarget - numChains + chain[i];
    }
  }
}

void odiC_NodeGroups::Count(odiC_NodeGroup& group) {
  const int numNodes = static_cast<int>(mesh.NodeData().NumNodes());
  // nodes outside the mesh get nothing
  for (std::size_t k = 0; k < group.blocks.size(); ++k) {
    const std::span<const int> nodes = ClassOf(group.blocks[k]).ElementConnectivity().Const();
    std::vector<int>& targets = group.targets[k];
    if (targets.empty() && std::ranges::all_of(nodes, [&](int node) { return node >= 0 && node < numNodes; }))
      continue;
    if (targets.empty()) targets.assign(nodes.begin(), nodes.end());
    for (std::size_t i = 0; i < nodes.size(); ++i)
      if (nodes[i] < 0 || nodes[i] >= numNodes) targets[i] = -1;
  }
  const std::size_t numFurther = group.nodes.size();
  std::vector<double> shares(At(numNodes) + numFurther);
  std::vector<unsigned> last(shares.size()); // element that had the target last, numbered from 1
  unsigned number = 0;
  group.haveRepeats.resize(group.blocks.size());
  std::vector<std::size_t> repeats; // positions in the targets of a block
  for (std::size_t k = 0; k < group.blocks.size(); ++k) {
    const int block = group.blocks[k];
    const bme_ElementClass& type = ClassOf(block);
    const std::size_t width = At(type.NumNodesPerElem());
    const std::span<const int> targets = Targets(group, block);
    const std::vector<double>* own =
        weights.empty() ? nullptr : &weights[At(layout_->blocks[At(block)].classIndex)];
    for (const odiC_ElementRun& run : runs[At(block)])
      ForEachRunIn(group, block, run.first, run.count, [&](int first, int count) {
        for (int at = first; at < first + count; ++at) {
          const std::size_t element = At(Element(block, at));
          ++number;
          for (std::size_t i = element * width; i < (element + 1) * width; ++i) {
            if (targets[i] < 0) continue;
            const std::size_t target = At(targets[i]);
            if (last[target] == number) {
              repeats.push_back(i);
              continue;
            }
            last[target] = number;
            shares[target] += own && !own->empty() ? (*own)[element] : 1;
          }
        }
      });
    if (repeats.empty()) continue;
    group.haveRepeats[k] = true;
    std::vector<int>& marked = group.targets[k];
    if (marked.empty()) marked.assign(targets.begin(), targets.end());
    for (const std::size_t i : repeats) {
      const auto begin = marked.begin() + static_cast<std::ptrdiff_t>(i / width * width);
      marked[i] = odiC_RepeatOf(static_cast<std::size_t>(
          std::find(begin, begin + static_cast<std::ptrdiff_t>(width), marked[i]) - begin));
    }
    repeats.clear();
  }
  std::vector<int> nodes, levels;
  for (int node = 0; node < numNodes; ++node)
    if (shares[At(node)] > 0) {
      nodes.push_back(node);
      group.shares.push_back(shares[At(node)]);
    }
  if (numFurther > 0) levels.assign(nodes.size(), 0);
  for (std::size_t i = 0; i < numFurther; ++i) group.shares.push_back(shares[At(numNodes) + i]);
  nodes.insert(nodes.end(), group.nodes.begin(), group.nodes.end());
  levels.insert(levels.end(), group.levels.begin(), group.levels.end());
  group.nodes = std::move(nodes);
  group.levels = std::move(levels);
}
