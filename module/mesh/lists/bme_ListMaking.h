// bme_ListMaking.h: what the lists of nodes, elements, faces and edges are made with
#pragma once

#include "bme_ClassWalk.h"

#include <BasicUtils/cls_Database.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/rgnC_Region.h>

std::vector<unsigned> bme_UpTo(unsigned count);

/// A kind of entity, as messages name it.
struct bme_Noun {
  const char *one, *several;
};

/// Keeps what the mesh does not have, or what cannot be used, for one message.
class bme_UnknownItems {
public:
  bme_UnknownItems(const bme_Mesh& mesh, bme_Noun noun, bme_Unknown treatment,
                   const char* what = " does not have ")
      : mesh_(mesh), noun_(noun), treatment_(treatment), what_(what) {}
  void Add(const cow_String& item);
  void Add(long long item) { Add(std::to_string(item)); }
  /// Throws nex_TextException when there was anything that is refused: "mesh 1", what, "2 things: 5, 7".
  void Settle() const;

private:
  const bme_Mesh& mesh_;
  bme_Noun noun_;
  bme_Unknown treatment_;
  const char* what_;
  std::size_t count_ = 0;
  cow_String named_;
};

/// The indices, all of them below the count.
std::vector<unsigned> bme_CheckedIndices(const bme_Mesh& mesh, bme_Noun noun, unsigned count,
                                         std::vector<unsigned> indices);
/// Those of the labels that are not bme_kNotFound.
std::vector<unsigned> bme_KnownIndices(const bme_Mesh& mesh, bme_Noun noun, std::span<const int> labels,
                                       std::vector<unsigned> indices, bme_Unknown treatment);

/// The word of a face or an edge; bme_kNotFound when the shape has no such face or edge.
unsigned bme_WordOfFace(const shp_Shape& shape, unsigned element, int face, bool isBack);
unsigned bme_WordOfEdge(const shp_Shape& shape, unsigned element, int face, int edge);

/// A set that a list of entities of a mesh is made from.
class bme_SetSource {
public:
  bme_SetSource(const bme_Mesh& mesh, const rgnC_SetData& set, bme_Unknown treatment)
      : mesh_(mesh), set_(set), treatment_(treatment) {}
  const bme_Mesh& Mesh() const noexcept { return mesh_; }
  bme_Unknown Treatment() const noexcept { return treatment_; }

  /// What an item of a subset stands for. A surface without facet ids is facetless.
  enum class Kind { Node, Element, Facetless, Face, Edge, Nothing };
  static Kind KindOf(const rgnC_SubsetData& subset);
  /// word(id, facet id or -1) of each item of those kinds; bme_kNotFound when the mesh does not have it.
  template<class Word>
  std::vector<unsigned> Words(bme_Noun noun, std::initializer_list<Kind> kinds, unsigned count,
                              Word word) const {
    std::vector<unsigned> words;
    bme_UnknownItems unknown(mesh_, noun, treatment_);
    for (int i = 0; i < set_.NumSubset(); ++i) {
      const rgnC_SubsetData& subset = set_.SubSet(i);
      if (subset.MeshIndex() != mesh_.Id() || std::ranges::find(kinds, KindOf(subset)) == kinds.end())
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
  std::vector<unsigned> Elements(std::initializer_list<Kind> kinds) const; ///< that the items are or are of
  std::vector<unsigned> Faces() const;                                     ///< that facet ids name
  std::vector<unsigned> FacesOfFacetless() const; ///< of surface elements; solids are refused
  std::vector<unsigned> Edges() const;
  /// The list as it is. Refuses an empty one of a set that is not empty, saying what that holds instead.
  template<class List> List Checked(const char* entities, List list) const {
    if (list.IsEmpty() && treatment_ == bme_Unknown::Refuse) RefuseIfNotEmpty(entities);
    return list;
  }

private:
  void RefuseIfNotEmpty(const char* entities) const;

  const bme_Mesh& mesh_;
  const rgnC_SetData& set_;
  bme_Unknown treatment_;
};

/// Makes a set of a mesh, subset by subset.
class bme_SetMaker {
public:
  bme_SetMaker(const bme_Mesh& mesh, res_SetTypeEnm type) : meshId_(mesh.Id()) { set_.SetType(type); }
  void Add(int classIndex, res_SetTypeEnm type, const std::vector<int>& ids,
           const std::vector<int>& facets = {});
  rgnC_SetData Made() {
    set_.SetConstructionOk(true);
    return set_;
  }

private:
  int meshId_;
  rgnC_SetData set_;
};

/// The set of words of faces or edges; facetId(shape, word) is that of one.
template<class FacetId>
rgnC_SetData bme_SetOfWords(const bme_Mesh& mesh, std::span<const unsigned> words, res_SetTypeEnm type,
                            FacetId facetId) {
  bme_SetMaker maker(mesh, res_SURFACE_SET);
  bme_ForEachClassOfWords(
      mesh, words,
      [&](const bme_ElementClass& elements, const shp_Shape* shape, std::span<const unsigned> some) {
        std::vector<int> ids(some.size()), facets(some.size());
        for (std::size_t i = 0; i < some.size(); ++i) {
          ids[i] = static_cast<int>(bme_ElementOf(some[i]));
          facets[i] = facetId(*shape, some[i]);
        }
        maker.Add(elements.ClassIndex(), type, ids, facets);
      });
  return maker.Made();
}

cow_String bme_NameOf(const rgnC_Region& region); ///< and of its owners, for messages

/// The list's FromSet of what the region refers to.
template<class List>
List bme_ListOfRegion(const bme_Mesh& mesh, const rgnC_Region& region, bme_Unknown unknown) {
  try {
    return List::FromSet(mesh, region.ConstSet(), unknown);
  } catch (const cls_BusyException&) {
    throw;
  } catch (const nex_TextException& failure) {
    throw nex_TextException(bme_NameOf(region) + ": " + failure.Message());
  }
}

/// Nodes that were marked; what is not in the mesh is passed over.
class bme_NodeMarks {
public:
  explicit bme_NodeMarks(const bme_Mesh& mesh) : marks_(mesh.NodeData().NumNodes()) {}
  explicit bme_NodeMarks(const bme_FEMNodeList& nodes) : bme_NodeMarks(nodes.Mesh()) {
    for (const unsigned node : nodes) Set(static_cast<int>(node));
  }
  void Set(int node) {
    if (IsNode(node)) marks_[static_cast<std::size_t>(node)] = 1;
  }
  bool Has(int node) const { return IsNode(node) && marks_[static_cast<std::size_t>(node)] != 0; }
  /// None of no nodes.
  bool Touch(std::span<const int> nodes, bme_Touching touching) const {
    const auto has = [&](int node) { return Has(node); };
    return touching == bme_Touching::AnyNode ? std::ranges::any_of(nodes, has)
                                             : !nodes.empty() && std::ranges::all_of(nodes, has);
  }
  std::vector<unsigned> Marked() const;

private:
  bool IsNode(int node) const {
    return static_cast<std::size_t>(static_cast<unsigned>(node)) < marks_.size();
  }

  std::vector<unsigned char> marks_;
};

/// Words that `isPlace` (shape, word) does not accept are an error.
template<class IsPlace>
std::vector<unsigned> bme_CheckedWords(const bme_Mesh& mesh, bme_Noun noun, std::vector<unsigned> words,
                                       IsPlace isPlace) {
  const unsigned count = mesh.ElementData().NumElements();
  bme_UnknownItems unknown(mesh, noun, bme_Unknown::Refuse);
  const bme_ElementClass* type = nullptr;
  const shp_Shape* shape = nullptr;
  wip_Poll poll(bme_kWordsBetween);
  for (const unsigned word : words) {
    poll.Advance();
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

/// Throws nex_TextException unless words of faces and edges can address the elements.
void bme_CheckAddressable(const bme_Mesh& mesh, std::span<const unsigned> elements);
/// Elements below this are both in the mesh and addressable.
unsigned bme_NumAddressable(const bme_Mesh& mesh);

/// word(shape, element, label) of each label of a face or an edge; bme_kNotFound when the element does not
/// have it. text(label) is for messages.
template<class Label, class Word, class Text>
std::vector<unsigned> bme_WordsOfLabels(const bme_Mesh& mesh, std::span<const Label> labels, bme_Noun noun,
                                        bme_Unknown treatment, Word word, Text text) {
  std::vector<int> elements(labels.size());
  std::ranges::transform(labels, elements.begin(), &Label::element);
  std::vector<unsigned> words(labels.size());
  mesh.ElementData().GetMeshElemIndices(elements, words);
  bme_UnknownItems unknown(mesh, noun, treatment);
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const shp_Shape* shape =
        words[i] < bme_NumAddressable(mesh) ? mesh.ElementData().GetElemClass(words[i]).Shape() : nullptr;
    words[i] = shape ? word(*shape, words[i], labels[i]) : bme_kNotFound;
    if (words[i] == bme_kNotFound) unknown.Add(text(labels[i]));
  }
  unknown.Settle();
  std::erase(words, bme_kNotFound);
  return words;
}

/// The words of the list whose nodes touch the others; localNodes(shape, word) are theirs.
template<class List, class LocalNodes>
List bme_ListTouching(const List& list, const bme_FEMNodeList& nodes, bme_Touching touching,
                      LocalNodes localNodes) {
  const bme_NodeMarks marks(nodes);
  std::vector<unsigned> words;
  bme_ForEachWord(list.Mesh(), list.Words(), localNodes, [&](unsigned word, std::span<const int> ofWord) {
    if (marks.Touch(ofWord, touching)) words.push_back(word);
  });
  return {list.Mesh(), std::move(words)};
}

/// User labels of the elements of words, in their order; index + 1 when the labels of the mesh are implicit.
template<class ElementOf>
std::vector<int> bme_ElementLabels(const bme_Mesh& mesh, std::span<const unsigned> words,
                                   ElementOf elementOf) {
  std::vector<int> labels;
  labels.reserve(words.size());
  const bool areImplicit = !mesh.ElementData().HasUserElementLabels();
  bme_ForEachClass(
      mesh, words,
      [&](const bme_ElementClass& type, const shp_Shape*, std::span<const unsigned> some) {
        for (const unsigned word : some) {
          const unsigned element = elementOf(word);
          labels.push_back(
              areImplicit
                  ? static_cast<int>(element) + 1
                  : type.UserElementLabels()[element - static_cast<unsigned>(type.FirstElementIndex())]);
        }
      },
      elementOf);
  return labels;
}
