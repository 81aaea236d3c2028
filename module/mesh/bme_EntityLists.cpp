#include "bme_ClassWalk.h"

#include <CoreGeometry/bme_FEMEdgeList.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/rgnC_SetData.h>
#include <iterator>
#include <numeric>

cow_String bme_CompactLabels(std::span<const int> labels) {
  constexpr std::size_t kShortest = 3;
  cow_String text;
  for (std::size_t i = 0; i < labels.size();) {
    const long long step = i + 1 < labels.size() ? static_cast<long long>(labels[i + 1]) - labels[i] : 0;
    std::size_t end = i + 1;
    while (step != 0 && end < labels.size() && static_cast<long long>(labels[end]) - labels[end - 1] == step)
      ++end;
    if (!text.empty()) text += ",";
    text += std::to_string(labels[i]);
    if (end - i < kShortest) {
      ++i;
      continue;
    }
    text += ":" + std::to_string(labels[end - 1]);
    if (step != 1) text += ":" + std::to_string(step);
    i = end;
  }
  return text;
}

std::vector<unsigned> bme_CombineWords(bme_SetOperation operation, const bme_Mesh& meshA,
                                       std::span<const unsigned> a, const bme_Mesh& meshB,
                                       std::span<const unsigned> b, bool areAddresses) {
  if (&meshA != &meshB)
    throw nex_TextException("lists of two meshes, with the identifiers " + std::to_string(meshA.Id())
                            + " and " + std::to_string(meshB.Id()) + ", cannot be combined");
  std::vector<unsigned> result;
  const auto combine = [&](auto order) {
    const auto out = std::back_inserter(result);
    switch (operation) {
    case bme_SetOperation::Union: std::ranges::set_union(a, b, out, {}, order, order); break;
    case bme_SetOperation::Intersection: std::ranges::set_intersection(a, b, out, {}, order, order); break;
    case bme_SetOperation::Difference: std::ranges::set_difference(a, b, out, {}, order, order); break;
    case bme_SetOperation::SymmetricDifference:
      std::ranges::set_symmetric_difference(a, b, out, {}, order, order);
      break;
    }
  };
  if (areAddresses)
    combine(bme_MeshOrder);
  else
    combine(std::identity());
  return result;
}

std::vector<int> bme_CornersOfElement(const shp_Shape& shape) {
  std::vector<int> corners;
  for (int ring = 0; ring < shape.NumRings(); ++ring)
    for (int face = 0; face < shape.NumFaces() && !shape.FaceNodes(face, ring).empty(); ++face) {
      const auto ofFace = bme_Corners(shape, static_cast<unsigned>(face), ring);
      corners.insert(corners.end(), ofFace.begin(), ofFace.end());
    }
  if (corners.empty()) {
    corners.resize(static_cast<std::size_t>(shape.NumNodes()));
    std::iota(corners.begin(), corners.end(), 0);
  }
  std::ranges::sort(corners);
  corners.erase(std::ranges::unique(corners).begin(), corners.end());
  return corners;
}

namespace {
unsigned NumNodes(const bme_Mesh& mesh) { return mesh.NodeData().NumNodes(); }
unsigned NumElements(const bme_Mesh& mesh) { return mesh.ElementData().NumElements(); }

std::vector<unsigned> UpTo(unsigned count) {
  std::vector<unsigned> all(count);
  std::iota(all.begin(), all.end(), 0U);
  return all;
}

/// Keeps what the mesh does not have, for one message.
class UnknownItems {
public:
  UnknownItems(const bme_Mesh& mesh, const char* what, bme_Unknown treatment)
      : mesh_(mesh), what_(what), treatment_(treatment) {}
  void Add(long long item) {
    constexpr std::size_t kNamed = 20;
    if (count_++ < kNamed)
      named_ += (named_.empty() ? "" : ", ") + std::to_string(item);
    else if (count_ == kNamed + 1)
      named_ += ", ...";
  }
  void Settle() const {
    if (count_ == 0 || treatment_ == bme_Unknown::Skip) return;
    throw nex_TextException("mesh " + std::to_string(mesh_.Id()) + " does not have " + std::to_string(count_)
                            + " " + what_ + (count_ == 1 ? ": " : "s: ") + named_);
  }

private:
  const bme_Mesh& mesh_;
  const char* what_;
  bme_Unknown treatment_;
  std::size_t count_ = 0;
  cow_String named_;
};

std::vector<unsigned> CheckedIndices(const bme_Mesh& mesh, const char* what, unsigned count,
                                     std::vector<unsigned> indices) {
  UnknownItems unknown(mesh, what, bme_Unknown::Refuse);
  for (const unsigned index : indices)
    if (index >= count) unknown.Add(index);
  unknown.Settle();
  return indices;
}

std::vector<unsigned> KnownIndices(const bme_Mesh& mesh, const char* what, std::span<const int> labels,
                                   std::vector<unsigned> indices, bme_Unknown treatment) {
  UnknownItems unknown(mesh, what, treatment);
  for (std::size_t i = 0; i < labels.size(); ++i)
    if (indices[i] == bme_kNotFound) unknown.Add(labels[i]);
  unknown.Settle();
  std::erase(indices, bme_kNotFound);
  return indices;
}

/// word(class's shape or null, id, facet id or -1) of each item of the subsets of the wanted kinds;
/// bme_kNotFound when the mesh does not have it.
template<class Word>
std::vector<unsigned> WordsOfSet(const bme_Mesh& mesh, const rgnC_SetData& set, const char* what,
                                 std::initializer_list<res_SetTypeEnm> kinds, unsigned count,
                                 bme_Unknown treatment, Word word) {
  std::vector<unsigned> words;
  UnknownItems unknown(mesh, what, treatment);
  for (int i = 0; i < set.NumSubset(); ++i) {
    const rgnC_SubsetData& subset = set.SubSet(i);
    if (subset.MeshIndex() != mesh.Id() || std::ranges::find(kinds, subset.SubsetType()) == kinds.end())
      continue;
    const std::span<const int> ids = subset.IdArray(), facets = subset.FacetIdArray();
    for (std::size_t k = 0; k < ids.size(); ++k) {
      const auto id = static_cast<unsigned>(ids[k]);
      const unsigned found = id < count ? word(id, facets.empty() ? -1 : facets[k]) : bme_kNotFound;
      if (found == bme_kNotFound)
        unknown.Add(ids[k]);
      else
        words.push_back(found);
    }
  }
  unknown.Settle();
  return words;
}
unsigned SameIndex(unsigned id, int) { return id; }

/// Indices of the nodes that were marked.
class NodeMarks {
public:
  explicit NodeMarks(const bme_Mesh& mesh) : marks_(NumNodes(mesh)) {}
  void Set(int node) {
    if (Has(node, true)) marks_[static_cast<std::size_t>(node)] = 1;
  }
  bool Has(int node, bool any = false) const {
    return static_cast<std::size_t>(static_cast<unsigned>(node)) < marks_.size()
           && (any || marks_[static_cast<std::size_t>(node)] != 0);
  }
  std::vector<unsigned> Marked() const {
    std::vector<unsigned> nodes;
    for (std::size_t i = 0; i < marks_.size(); ++i)
      if (marks_[i] != 0) nodes.push_back(static_cast<unsigned>(i));
    return nodes;
  }

private:
  std::vector<unsigned char> marks_;
};

/// Words that `isPlace` (class, shape, word) does not accept are an error.
template<class IsPlace>
std::vector<unsigned> CheckedWords(const bme_Mesh& mesh, const char* what, std::vector<unsigned> words,
                                   IsPlace isPlace) {
  const unsigned count = NumElements(mesh);
  UnknownItems unknown(mesh, what, bme_Unknown::Refuse);
  const bme_ElementClass* type = nullptr;
  const shp_Shape* shape = nullptr;
  for (const unsigned word : words) {
    const unsigned element = bme_ElementOf(word);
    if (element >= count) {
      unknown.Add(word);
      continue;
    }
    if (!type || element < static_cast<unsigned>(type->FirstElementIndex())
        || element - static_cast<unsigned>(type->FirstElementIndex())
               >= static_cast<unsigned>(type->NumElements())) {
      type = &mesh.ElementData().GetElemClass(element);
      shape = type->Shape();
    }
    if (!shape || !isPlace(*shape, word)) unknown.Add(word);
  }
  unknown.Settle();
  return words;
}

bool IsFace(const shp_Shape& shape, unsigned word) {
  return bme_FaceOf(word) < bme_NumListedFaces(shape)
         && word >> 29 <= static_cast<unsigned>(shape.NumGeomDims() == 2);
}
bool IsEdge(const shp_Shape& shape, unsigned word) {
  return word >> 31 == 0 && bme_EdgeOf(word) < bme_NumEdges(shape, bme_FaceOf(word));
}

void CheckAddressable(const bme_Mesh& mesh, std::span<const unsigned> elements) {
  if (!elements.empty() && elements.back() >= bme_kMaxWordElements)
    throw nex_TextException("mesh " + std::to_string(mesh.Id()) + ": element index "
                            + std::to_string(elements.back()) + " does not fit the words of faces and edges");
}
} // namespace

// nodes

bme_FEMNodeList::bme_FEMNodeList(const bme_Mesh& mesh, std::vector<unsigned> nodes)
    : bme_EntityList(mesh, CheckedIndices(mesh, "node index", NumNodes(mesh), std::move(nodes))) {}

bme_FEMNodeList bme_FEMNodeList::All(const bme_Mesh& mesh) { return {mesh, UpTo(NumNodes(mesh))}; }

bme_FEMNodeList bme_FEMNodeList::FromLabels(const bme_Mesh& mesh, std::span<const int> labels,
                                            bme_Unknown unknown) {
  std::vector<unsigned> indices(labels.size());
  mesh.NodeData().GetMeshNodeIndices(labels, indices);
  return {mesh, KnownIndices(mesh, "node label", labels, std::move(indices), unknown)};
}

bme_FEMNodeList bme_FEMNodeList::FromSet(const bme_Mesh& mesh, const rgnC_SetData& set, bme_Unknown unknown) {
  return {mesh, WordsOfSet(mesh, set, "node index", {res_NODE_SET, res_SURFACE_NODE}, NumNodes(mesh), unknown,
                           SameIndex)};
}

bme_FEMNodeList bme_FEMNodeList::InBox(const bme_Mesh& mesh, const gsl_BBox& box) {
  std::vector<unsigned> nodes;
  const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
  const auto isIn = [&](const float* at, unsigned axis) {
    return static_cast<double>(at[axis]) >= box.Min()[axis]
           && static_cast<double>(at[axis]) <= box.Max()[axis];
  };
  for (unsigned node = 0; node < NumNodes(mesh); ++node) {
    const float* at = &xyz[3 * std::size_t{node}];
    if (isIn(at, 0) && isIn(at, 1) && isIn(at, 2)) nodes.push_back(node);
  }
  return {mesh, std::move(nodes)};
}

bme_FEMNodeList bme_FEMNodeList::OfElements(const bme_FEMElemList& elements, bme_NodesOf which) {
  NodeMarks marks(elements.Mesh());
  bme_ForEachClassOfElements(
      elements.Mesh(), elements.Words(),
      [&](const bme_ElementClass& type, const shp_Shape* shape, std::span<const unsigned> words) {
        const std::vector<int> corners =
            shape && which == bme_NodesOf::Corners ? bme_CornersOfElement(*shape) : std::vector<int>();
        for (const unsigned element : words) {
          const std::span<const int> row = bme_Row(type, element);
          if (corners.empty())
            for (const int node : row) marks.Set(node);
          for (const int corner : corners) marks.Set(row[static_cast<std::size_t>(corner)]);
        }
      });
  return {elements.Mesh(), marks.Marked()};
}

bme_FEMNodeList bme_FEMNodeList::OfFaces(const bme_FEMFaceList& faces, bme_NodesOf which) {
  NodeMarks marks(faces.Mesh());
  bme_ForEachClassOfWords(
      faces.Mesh(), faces.Words(),
      [&](const bme_ElementClass& type, const shp_Shape* shape, std::span<const unsigned> words) {
        for (const unsigned word : words) {
          const std::span<const int> row = bme_Row(type, bme_ElementOf(word));
          for (const int local : which == bme_NodesOf::Corners
                                     ? bme_Corners(*shape, bme_FaceOf(word))
                                     : shape->FaceNodes(static_cast<int>(bme_FaceOf(word))))
            marks.Set(row[static_cast<std::size_t>(local)]);
        }
      });
  return {faces.Mesh(), marks.Marked()};
}

bme_FEMNodeList bme_FEMNodeList::OfEdges(const bme_FEMEdgeList& edges, bme_NodesOf which) {
  NodeMarks marks(edges.Mesh());
  bme_ForEachClassOfWords(
      edges.Mesh(), edges.Words(),
      [&](const bme_ElementClass& type, const shp_Shape* shape, std::span<const unsigned> words) {
        for (const unsigned word : words) {
          const std::span<const int> row = bme_Row(type, bme_ElementOf(word));
          const std::span<const int> local =
              shape->EdgeNodes(static_cast<int>(bme_FaceOf(word)), static_cast<int>(bme_EdgeOf(word)));
          const std::size_t step =
              which == bme_NodesOf::Corners ? std::max<std::size_t>(1, local.size() - 1) : 1;
          for (std::size_t i = 0; i < local.size(); i += step)
            marks.Set(row[static_cast<std::size_t>(local[i])]);
        }
      });
  return {edges.Mesh(), marks.Marked()};
}

std::vector<int> bme_FEMNodeList::Labels() const {
  std::vector<int> labels(Count());
  const bme_NodeData& nodes = Mesh().NodeData();
  if (nodes.HasUserNodeLabels())
    std::ranges::transform(Words(), labels.begin(),
                           [all = nodes.UserNodeLabels().Const()](unsigned node) { return all[node]; });
  else
    std::ranges::transform(Words(), labels.begin(), [](unsigned node) { return static_cast<int>(node) + 1; });
  return labels;
}

// elements

bme_FEMElemList::bme_FEMElemList(const bme_Mesh& mesh, std::vector<unsigned> elements)
    : bme_EntityList(mesh, CheckedIndices(mesh, "element index", NumElements(mesh), std::move(elements))) {}

bme_FEMElemList bme_FEMElemList::All(const bme_Mesh& mesh) { return {mesh, UpTo(NumElements(mesh))}; }

bme_FEMElemList bme_FEMElemList::OfClass(const bme_Mesh& mesh, unsigned classIndex) {
  const bme_ElementClass& type = mesh.ElementData().GetClass(classIndex);
  std::vector<unsigned> elements(static_cast<std::size_t>(type.NumElements()));
  std::iota(elements.begin(), elements.end(), static_cast<unsigned>(type.FirstElementIndex()));
  return {mesh, std::move(elements)};
}

bme_FEMElemList bme_FEMElemList::FromLabels(const bme_Mesh& mesh, std::span<const int> labels,
                                            bme_Unknown unknown) {
  std::vector<unsigned> indices(labels.size());
  mesh.ElementData().GetMeshElemIndices(labels, indices);
  return {mesh, KnownIndices(mesh, "element label", labels, std::move(indices), unknown)};
}

bme_FEMElemList bme_FEMElemList::FromSet(const bme_Mesh& mesh, const rgnC_SetData& set, bme_Unknown unknown) {
  return {mesh, WordsOfSet(mesh, set, "element index",
                           {res_ELEMENT_SET, res_SURFACE_ELEMENT, res_SURFACE_FACET, res_SURFACE_EDGE},
                           NumElements(mesh), unknown, SameIndex)};
}

bme_FEMElemList bme_FEMElemList::InBox(const bme_Mesh& mesh, const gsl_BBox& box, bme_Touching touching) {
  return OfNodes(bme_FEMNodeList::InBox(mesh, box), touching);
}

bme_FEMElemList bme_FEMElemList::OfNodes(const bme_FEMNodeList& nodes, bme_Touching touching) {
  NodeMarks marks(nodes.Mesh());
  for (const unsigned node : nodes) marks.Set(static_cast<int>(node));
  std::vector<unsigned> elements;
  for (const auto& [position, type] : nodes.Mesh().ElementData().ElementClasses()) {
    const auto first = static_cast<unsigned>(type->FirstElementIndex());
    for (unsigned i = 0; i < static_cast<unsigned>(type->NumElements()); ++i) {
      const std::span<const int> row = bme_Row(*type, first + i);
      const auto isMarked = [&](int node) { return marks.Has(node); };
      if (touching == bme_Touching::AnyNode ? std::ranges::any_of(row, isMarked)
                                            : !row.empty() && std::ranges::all_of(row, isMarked))
        elements.push_back(first + i);
    }
  }
  return {nodes.Mesh(), std::move(elements)};
}

namespace {
std::vector<unsigned> ElementsOf(std::span<const unsigned> words) {
  std::vector<unsigned> elements(words.size());
  std::ranges::transform(words, elements.begin(), bme_ElementOf);
  return elements;
}
} // namespace

bme_FEMElemList bme_FEMElemList::OfFaces(const bme_FEMFaceList& faces) {
  return {faces.Mesh(), ElementsOf(faces.Words())};
}
bme_FEMElemList bme_FEMElemList::OfEdges(const bme_FEMEdgeList& edges) {
  return {edges.Mesh(), ElementsOf(edges.Words())};
}

std::vector<int> bme_FEMElemList::Labels() const {
  std::vector<int> labels;
  labels.reserve(Count());
  const bool areImplicit = !Mesh().ElementData().HasUserElementLabels();
  bme_ForEachClassOfElements(
      Mesh(), Words(), [&](const bme_ElementClass& type, const shp_Shape*, std::span<const unsigned> words) {
        for (const unsigned element : words)
          labels.push_back(
              areImplicit
                  ? static_cast<int>(element) + 1
                  : type.UserElementLabels()[element - static_cast<unsigned>(type.FirstElementIndex())]);
      });
  return labels;
}

// faces

bme_FEMFaceList::bme_FEMFaceList(const bme_Mesh& mesh, std::vector<unsigned> words)
    : bme_EntityList(mesh, CheckedWords(mesh, "face word", std::move(words), IsFace)) {}

bme_FEMFaceList bme_FEMFaceList::All(const bme_Mesh& mesh) { return OfElements(bme_FEMElemList::All(mesh)); }

bme_FEMFaceList bme_FEMFaceList::FromSet(const bme_Mesh& mesh, const rgnC_SetData& set, bme_Unknown unknown) {
  return {mesh, WordsOfSet(mesh, set, "facet of element index", {res_SURFACE_FACET},
                           std::min(NumElements(mesh), bme_kMaxWordElements), unknown,
                           [&](unsigned id, int facetId) {
                             const shp_Shape* shape = mesh.ElementData().GetElemClass(id).Shape();
                             if (!shape || facetId < 0) return bme_kNotFound;
                             const rgnC_Facet facet = rgnC_FacetOf(*shape, facetId);
                             if (facet.face >= static_cast<int>(bme_NumListedFaces(*shape)))
                               return bme_kNotFound;
                             const bool isBack = facet.isBack && shape->NumGeomDims() == 2;
                             return bme_FaceWord(id, static_cast<unsigned>(facet.face), isBack);
                           })};
}

bme_FEMFaceList bme_FEMFaceList::OfElements(const bme_FEMElemList& elements) {
  CheckAddressable(elements.Mesh(), elements.Words());
  std::vector<unsigned> faces;
  bme_ForEachClassOfElements(
      elements.Mesh(), elements.Words(),
      [&](const bme_ElementClass&, const shp_Shape* shape, std::span<const unsigned> words) {
        const unsigned count = shape ? bme_NumListedFaces(*shape) : 0;
        for (const unsigned element : words)
          for (unsigned face = 0; face < count; ++face) faces.push_back(bme_FaceWord(element, face));
      });
  return {elements.Mesh(), std::move(faces)};
}

bme_LocalNodes bme_FEMFaceList::FaceNodes(std::size_t i) const {
  const unsigned word = Words()[i];
  const bme_ElementClass& type = Mesh().ElementData().GetElemClass(bme_ElementOf(word));
  const shp_Shape& shape = *type.Shape();
  const int face = static_cast<int>(bme_FaceOf(word));
  bme_LocalNodes result;
  result.count = static_cast<unsigned>(shape.FaceNodes(face).size());
  result.corners = static_cast<unsigned>(shape.CornersPerFace()[bme_FaceOf(word)]);
  shape.FaceConnectivity(bme_Row(type, bme_ElementOf(word)), face, result.nodes);
  if (bme_IsBack(word)) shape.ReverseFaceConnectivity(std::span(result.nodes).first(result.count), face);
  return result;
}

// edges

bme_FEMEdgeList::bme_FEMEdgeList(const bme_Mesh& mesh, std::vector<unsigned> words)
    : bme_EntityList(mesh, CheckedWords(mesh, "edge word", std::move(words), IsEdge)) {}

bme_FEMEdgeList bme_FEMEdgeList::All(const bme_Mesh& mesh) { return OfElements(bme_FEMElemList::All(mesh)); }

bme_FEMEdgeList bme_FEMEdgeList::FromSet(const bme_Mesh& mesh, const rgnC_SetData& set, bme_Unknown unknown) {
  return {mesh, WordsOfSet(mesh, set, "edge of element index", {res_SURFACE_EDGE},
                           std::min(NumElements(mesh), bme_kMaxWordElements), unknown,
                           [&](unsigned id, int facetId) {
                             const shp_Shape* shape = mesh.ElementData().GetElemClass(id).Shape();
                             if (!shape || facetId < 0) return bme_kNotFound;
                             const rgnC_EdgeFacet edge = rgnC_EdgeFacetOf(facetId);
                             if (edge.face >= shape->NumFaces()) return bme_kNotFound;
                             const unsigned word = bme_EdgeWord(id, static_cast<unsigned>(edge.face),
                                                                static_cast<unsigned>(edge.edge));
                             return IsEdge(*shape, word) ? word : bme_kNotFound;
                           })};
}

bme_FEMEdgeList bme_FEMEdgeList::OfElements(const bme_FEMElemList& elements) {
  CheckAddressable(elements.Mesh(), elements.Words());
  std::vector<unsigned> edges;
  bme_ForEachClassOfElements(
      elements.Mesh(), elements.Words(),
      [&](const bme_ElementClass&, const shp_Shape* shape, std::span<const unsigned> words) {
        const unsigned count = shape ? static_cast<unsigned>(shape->EdgesPerFace().size()) : 0;
        for (const unsigned element : words)
          for (unsigned face = 0; face < count; ++face)
            for (unsigned edge = 0; edge < bme_NumEdges(*shape, face); ++edge)
              edges.push_back(bme_EdgeWord(element, face, edge));
      });
  return {elements.Mesh(), std::move(edges)};
}

bme_FEMEdgeList bme_FEMEdgeList::OfFaces(const bme_FEMFaceList& faces) {
  std::vector<unsigned> edges;
  bme_ForEachClassOfWords(
      faces.Mesh(), faces.Words(),
      [&](const bme_ElementClass&, const shp_Shape* shape, std::span<const unsigned> words) {
        for (const unsigned word : words)
          for (unsigned edge = 0; edge < bme_NumEdges(*shape, bme_FaceOf(word)); ++edge)
            edges.push_back(bme_EdgeWord(bme_ElementOf(word), bme_FaceOf(word), edge));
      });
  return {faces.Mesh(), std::move(edges)};
}

bme_LocalNodes bme_FEMEdgeList::EdgeNodes(std::size_t i) const {
  const unsigned word = Words()[i];
  const bme_ElementClass& type = Mesh().ElementData().GetElemClass(bme_ElementOf(word));
  const shp_Shape& shape = *type.Shape();
  const int face = static_cast<int>(bme_FaceOf(word)), edge = static_cast<int>(bme_EdgeOf(word));
  bme_LocalNodes result;
  result.count = static_cast<unsigned>(shape.EdgeNodes(face, edge).size());
  shape.EdgeConnectivity(bme_Row(type, bme_ElementOf(word)), face, edge, result.nodes);
  return result;
}
