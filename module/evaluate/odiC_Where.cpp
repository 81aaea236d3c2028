#include "odiC_Where.h"

#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>

namespace {
using Layout = odiC_Where::Layout;

/// Positions in a block of ascending entities, each with all its values.
void AddEntities(odiC_Places& places, const odiC_LayoutBlock& block, std::span<const int> entities) {
  const auto add = [&](int at) {
    places.Add(block.firstRow + at * block.valuesPerEntity, block.valuesPerEntity);
  };
  if (block.entities.IsEmpty()) {
    for (const int entity : entities)
      if (entity < block.numEntities) add(entity);
    return;
  }
  const std::span<const int> all = block.entities.Const();
  auto at = all.begin();
  for (const int entity : entities)
    for (at = std::lower_bound(at, all.end(), entity); at != all.end() && *at == entity; ++at)
      add(static_cast<int>(at - all.begin()));
}

/// What conditions on places of elements mean for the nodes of a result.
odiC_Places AnyOrNone(const Layout& layout, odiC_Sense sense) {
  return sense == odiC_Sense::ResultMost ? odiC_Places::All(layout) : odiC_Places(layout);
}

odiC_Sense Opposite(odiC_Sense sense) {
  switch (sense) {
  case odiC_Sense::Exact: return odiC_Sense::Exact;
  case odiC_Sense::Most: return odiC_Sense::Least;
  case odiC_Sense::Least: return odiC_Sense::Most;
  case odiC_Sense::ResultMost: return odiC_Sense::ResultLeast;
  case odiC_Sense::ResultLeast: return odiC_Sense::ResultMost;
  }
  return sense;
}

class Block final : public odiC_Where {
public:
  explicit Block(std::function<bool(const odiC_Run&, const odiC_LayoutBlock&)> isMeant)
      : isMeant_(std::move(isMeant)) {}
  odiC_Places In(const odiC_Run& run, const Layout& layout, odiC_Sense sense) const override {
    if (odiC_IsOfResult(sense)) return AnyOrNone(layout, sense);
    odiC_Places places(layout);
    for (const odiC_LayoutBlock& block : layout->blocks)
      if (isMeant_(run, block)) places.Add(block.firstRow, block.NumRows());
    return places;
  }

private:
  std::function<bool(const odiC_Run&, const odiC_LayoutBlock&)> isMeant_;
};

class Classes final : public odiC_Where {
public:
  explicit Classes(std::function<bool(const odiC_Run&, int)> isMeant) : isMeant_(std::move(isMeant)) {}
  odiC_Places In(const odiC_Run& run, const Layout& layout, odiC_Sense) const override {
    odiC_Places places(layout);
    std::vector<int> nodes;
    for (const odiC_LayoutBlock& block : layout->blocks) {
      if (block.IsNodal()) {
        if (nodes.empty()) nodes = NodesOfClasses(run);
        AddEntities(places, block, nodes);
      } else if (block.classIndex >= 0 && isMeant_(run, block.classIndex)) {
        places.Add(block.firstRow, block.NumRows());
      }
    }
    return places;
  }

private:
  std::vector<int> NodesOfClasses(const odiC_Run& run) const {
    const bme_Mesh& mesh = run.Mesh();
    std::vector<char> isMeant(mesh.NodeData().NumNodes());
    for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i)
      if (isMeant_(run, static_cast<int>(i)))
        for (const int node : mesh.ElementData().GetClass(i).ElementConnectivity().Const())
          if (node >= 0 && static_cast<std::size_t>(node) < isMeant.size())
            isMeant[static_cast<std::size_t>(node)] = 1;
    std::vector<int> nodes;
    for (std::size_t node = 0; node < isMeant.size(); ++node)
      if (isMeant[node]) nodes.push_back(static_cast<int>(node));
    return nodes;
  }
  std::function<bool(const odiC_Run&, int)> isMeant_;
};

class Entities final : public odiC_Where {
public:
  explicit Entities(std::function<odiC_Entities(const odiC_Run&)> make) : make_(std::move(make)) {}

  odiC_Places In(const odiC_Run& run, const Layout& layout, odiC_Sense sense) const override {
    const odiC_Entities chosen = make_(run);
    const bme_Mesh& mesh = run.Mesh();
    odiC_Places places(layout);
    const bool isOfNodes = !chosen.elements;
    if (sense == odiC_Sense::Least && isOfNodes) return places;
    const bool hasOwn =
        !chosen.region.empty() && std::ranges::any_of(layout->blocks, [&](const odiC_LayoutBlock& block) {
          return block.region == chosen.region;
        });
    std::optional<bme_FEMNodeList> nodes;
    std::vector<int> numbers; ///< of the nodes
    std::optional<bme_FEMElemList> elements;
    for (const odiC_LayoutBlock& block : layout->blocks) {
      if (hasOwn && sense == odiC_Sense::Exact && block.region != chosen.region) continue;
      if (block.IsNodal()) {
        if (!nodes) nodes = NodesOf(chosen);
        if (numbers.empty()) numbers.assign(nodes->begin(), nodes->end());
        AddEntities(places, block, numbers);
      } else if (block.classIndex >= 0) {
        if (chosen.faces && block.HasFaces() && sense != odiC_Sense::Most && sense != odiC_Sense::Least) {
          AddFaces(places, block, *chosen.faces);
          continue;
        }
        if (isOfNodes && odiC_IsOfResult(sense) && block.position == res_ELEMENT_NODAL) {
          if (!nodes) nodes = NodesOf(chosen);
          AddElementNodes(places, block, mesh, *nodes);
          continue;
        }
        if (!elements) elements = ElementsOf(chosen, sense);
        AddEntities(places, block, InClass(mesh, block.classIndex, *elements));
      } else if (hasOwn) {
        places.Add(block.firstRow, block.NumRows());
      }
    }
    return places;
  }

private:
  static bme_FEMNodeList NodesOf(const odiC_Entities& chosen) {
    return chosen.nodes      ? *chosen.nodes
           : chosen.elements ? bme_FEMNodeList::OfElements(*chosen.elements)
                             : bme_FEMNodeList::OfFaces(*chosen.faces);
  }
  static bme_FEMElemList ElementsOf(const odiC_Entities& chosen, odiC_Sense sense) {
    if (chosen.elements) return *chosen.elements;
    if (sense == odiC_Sense::Most) return bme_FEMElemList::OfNodes(NodesOf(chosen), bme_Touching::AnyNode);
    return chosen.nodes ? bme_FEMElemList::OfNodes(*chosen.nodes, bme_Touching::AllNodes)
                        : bme_FEMElemList::OfFaces(*chosen.faces);
  }
  static std::vector<int> InClass(const bme_Mesh& mesh, int classIndex, const bme_FEMElemList& elements) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(static_cast<unsigned>(classIndex));
    const auto first = static_cast<unsigned>(type.FirstElementIndex());
    const std::span<const unsigned> words = elements.Words();
    std::vector<int> positions;
    for (auto at = std::ranges::lower_bound(words, first);
         at != words.end() && *at - first < static_cast<unsigned>(type.NumElements()); ++at)
      positions.push_back(static_cast<int>(*at - first));
    return positions;
  }
  static void AddElementNodes(odiC_Places& places, const odiC_LayoutBlock& block, const bme_Mesh& mesh,
                              const bme_FEMNodeList& nodes) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
    for (int at = 0; at < block.numEntities; ++at) {
      const std::span<const int> own = type.Connectivity(block.Entity(at));
      for (int k = 0; k < block.valuesPerEntity; ++k)
        if (nodes.Contains(static_cast<unsigned>(own[static_cast<std::size_t>(k)])))
          places.Add(block.firstRow + at * block.valuesPerEntity + k, 1);
    }
  }
  /// Rows of the facets that the list has; of lines and edges nothing.
  static void AddFaces(odiC_Places& places, const odiC_LayoutBlock& block, const bme_FEMFaceList& faces) {
    const bme_ElementClass& type =
        faces.Mesh().ElementData().GetClass(static_cast<unsigned>(block.classIndex));
    const shp_Shape* shape = type.Shape();
    if (!shape) return;
    for (int at = 0; at < block.numEntities; ++at) {
      const rgnC_Facet facet = rgnC_FacetOf(*shape, block.faces.Const()[static_cast<std::size_t>(at)]);
      const auto element = static_cast<unsigned>(type.FirstElementIndex() + block.Entity(at));
      if (facet.face >= 0 && facet.face < static_cast<int>(bme_kMaxWordFaces)
          && faces.Contains(bme_FaceWord(element, static_cast<unsigned>(facet.face), facet.isBack)))
        places.Add(block.firstRow + at * block.valuesPerEntity, block.valuesPerEntity);
    }
  }
  std::function<odiC_Entities(const odiC_Run&)> make_;
};

class Points final : public odiC_Where {
public:
  explicit Points(std::vector<int> points) : points_(std::move(points)) {
    std::ranges::sort(points_);
    points_.erase(std::unique(points_.begin(), points_.end()), points_.end());
  }
  odiC_Places In(const odiC_Run&, const Layout& layout, odiC_Sense sense) const override {
    if (odiC_IsOfResult(sense)) return AnyOrNone(layout, sense);
    odiC_Places places(layout);
    for (const odiC_LayoutBlock& block : layout->blocks) {
      if (block.position != res_INTEGRATION_POINT && block.position != res_ELEMENT_NODAL) continue;
      for (int at = 0; at < block.numEntities; ++at)
        for (const int point : points_)
          if (point >= 1 && point <= block.valuesPerEntity)
            places.Add(block.firstRow + at * block.valuesPerEntity + point - 1, 1);
    }
    return places;
  }

private:
  std::vector<int> points_;
};

class Both final : public odiC_Where {
public:
  Both(odiC_Junction junction, odiC_WherePointer a, odiC_WherePointer b)
      : junction_(junction), a_(std::move(a)), b_(std::move(b)) {}
  odiC_Places In(const odiC_Run& run, const Layout& layout, odiC_Sense sense) const override {
    const odiC_Places a = a_->In(run, layout, sense);
    switch (junction_) {
    case odiC_Junction::And: return a.And(b_->In(run, layout, sense));
    case odiC_Junction::Or: return a.Or(b_->In(run, layout, sense));
    default: return a.Without(b_->In(run, layout, Opposite(sense)));
    }
  }

private:
  odiC_Junction junction_;
  odiC_WherePointer a_, b_;
};
} // namespace

odiC_WherePointer odiC_WhereBlock(std::function<bool(const odiC_Run&, const odiC_LayoutBlock&)> isMeant) {
  return std::make_shared<Block>(std::move(isMeant));
}
odiC_WherePointer odiC_WhereClasses(std::function<bool(const odiC_Run&, int)> isMeant) {
  return std::make_shared<Classes>(std::move(isMeant));
}
odiC_WherePointer odiC_WhereEntities(std::function<odiC_Entities(const odiC_Run&)> entities) {
  return std::make_shared<Entities>(std::move(entities));
}
odiC_WherePointer odiC_WherePoints(std::vector<int> points) {
  return std::make_shared<Points>(std::move(points));
}
odiC_WherePointer odiC_WhereBoth(odiC_Junction junction, odiC_WherePointer a, odiC_WherePointer b) {
  return std::make_shared<Both>(junction, std::move(a), std::move(b));
}
