#include "EntityMeshes.h"

#include "StoredTest.h"

#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_FEMEdgeList.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/rgnC_Region.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <type_traits>

namespace {
// What refers to a mesh is not made from one that is gone at the end of the line.
template<class... Arguments>
constexpr bool kMakeAll[] = {std::is_constructible_v<bme_FEMNodeList, Arguments...>,
                             std::is_constructible_v<bme_FEMElemList, Arguments...>,
                             std::is_constructible_v<bme_FEMFaceList, Arguments...>,
                             std::is_constructible_v<bme_FEMEdgeList, Arguments...>,
                             std::is_constructible_v<bme_FEMConnect, Arguments...>,
                             std::is_constructible_v<bme_ElementLocator, Arguments...>};
template<class Mesh>
concept CanList = requires(Mesh&& mesh) {
  bme_FEMNodeList::All(std::forward<Mesh>(mesh));
}
|| requires(Mesh&& mesh) { bme_FEMFaceList::All(std::forward<Mesh>(mesh)); };
static_assert(std::ranges::count(kMakeAll<bme_Mesh&>, true) == 6);
static_assert(std::ranges::count(kMakeAll<bme_Mesh>, true) == 0);
static_assert(std::ranges::count(kMakeAll<const bme_Mesh>, true) == 0);
static_assert(CanList<bme_Mesh&> && !CanList<bme_Mesh>);

using Words = std::vector<unsigned>;
template<class List> Words WordsOf(const List& list) { return {list.begin(), list.end()}; }

rgnC_SubsetData Subset(int mesh, res_SetTypeEnm type, const std::vector<int>& ids,
                       const std::vector<int>& facets = {}) {
  using Ids = rgnC_SubsetData::Ids;
  return {mesh, rgnC_SubsetData::kNoClass, 0, 0, type, false, Ids(ids), Ids(facets)};
}

/// The same laws for each kind of list.
template<class List> void CheckSetLaws(const bme_Mesh& mesh, const bme_Mesh& other) {
  const List all = List::All(mesh);
  std::mt19937 random(5);
  const auto some = [&] {
    Words words;
    for (const unsigned word : all)
      if (random() % 3 != 0)
        words.insert(words.begin() + static_cast<long>(random() % (words.size() + 1)), {word, word});
    return List(mesh, words);
  };
  for (int round = 0; round < 20; ++round) {
    const List a = some(), b = some();
    const std::set<unsigned> inA(a.begin(), a.end()), inB(b.begin(), b.end());
    Words both, either, onlyA, one, notA;
    for (const unsigned word : all) {
      const bool isA = inA.contains(word), isB = inB.contains(word);
      EXPECT_EQ(a.Contains(word), isA);
      if (isA && isB) both.push_back(word);
      if (isA || isB) either.push_back(word);
      if (isA && !isB) onlyA.push_back(word);
      if (isA != isB) one.push_back(word);
      if (!isA) notA.push_back(word);
    }
    EXPECT_EQ(WordsOf(a.Intersection(b)), both);
    EXPECT_EQ(WordsOf(a.Union(b)), either);
    EXPECT_EQ(WordsOf(a.Difference(b)), onlyA);
    EXPECT_EQ(WordsOf(a.SymmetricDifference(b)), one);
    EXPECT_EQ(WordsOf(a.Complement()), notA);
  }
  EXPECT_EQ(all.Complement(), List(mesh));
  EXPECT_EQ(ThrownBy([&] { (void)all.Union(List(other)); }),
            "lists of two meshes, with the identifiers 1 and 2, cannot be combined");
}
} // namespace

TEST(bme_EntityLists, FollowTheLawsOfSets) {
  const auto make = [](unsigned id) {
    MeshMaker maker;
    return maker.Box(2, 2, 1)
        .Class("S4", 4, {0, 1, 4, 3})
        .Class("B31", 2, {0, 1})
        .Class("MASS", 1, {2})
        .Make(id);
  };
  const auto mesh = make(1), other = make(2);
  CheckSetLaws<bme_FEMNodeList>(*mesh, *other);
  CheckSetLaws<bme_FEMElemList>(*mesh, *other);
  CheckSetLaws<bme_FEMFaceList>(*mesh, *other);
  CheckSetLaws<bme_FEMEdgeList>(*mesh, *other);
  EXPECT_EQ(bme_FEMFaceList::All(*mesh).Count(), 4U * 6 + 1);
  EXPECT_EQ(bme_FEMEdgeList::All(*mesh).Count(), 4U * 24 + 4 + 1);
}

TEST(bme_EntityLists, AreMadeFromLabelsAndGiveThemBack) {
  MeshMaker maker;
  maker.Nodes(4).Class("B31", 2, {0, 1, 1, 2}, {30, -7}).Class("S3", 3, {0, 1, 2}, {12});
  const auto mesh = maker.Make();
  const std::vector<int> nodeLabels = {5, -5, 100, 1};
  mesh->NodeDataToModify().SetUserNodeLabels(nodeLabels.data());
  using Labels = std::vector<int>;
  EXPECT_EQ(WordsOf(bme_FEMNodeList::FromLabels(*mesh, Labels{1, -5, 1})), (Words{1, 3}));
  EXPECT_EQ(bme_FEMNodeList(*mesh, {3, 1}).Labels(), (Labels{-5, 1}));
  const auto elements = bme_FEMElemList::FromLabels(*mesh, Labels{12, 30});
  EXPECT_EQ(WordsOf(elements), (Words{0, 2}));
  EXPECT_EQ(elements.Labels(), (Labels{30, 12}));
  const Labels unknown = {12, 30, 1, 2, 3};
  EXPECT_EQ(WordsOf(bme_FEMElemList::FromLabels(*mesh, unknown, bme_Unknown::Skip)), (Words{0, 2}));
  EXPECT_EQ(ThrownBy([&] { bme_FEMElemList::FromLabels(*mesh, unknown); }),
            "mesh 1 does not have 3 element labels: 1, 2, 3");
  Labels many(25);
  for (int i = 0; i < 25; ++i) many[static_cast<std::size_t>(i)] = 200 + i;
  EXPECT_EQ(
      ThrownBy([&] { bme_FEMNodeList::FromLabels(*mesh, many); }),
      "mesh 1 does not have 25 node labels: 200, 201, 202, 203, 204, 205, 206, 207, 208, 209, 210, 211, 212, "
      "213, 214, 215, 216, 217, 218, 219, ...");
  EXPECT_EQ(ThrownBy([&] { bme_FEMElemList(*mesh, {0, 3}); }), "mesh 1 does not have 1 element index: 3");

  const auto plain = MeshMaker().Box(1, 1, 2).Make();
  EXPECT_EQ(bme_FEMElemList::FromLabels(*plain, Labels{2}).Labels(), Labels{2}) << "implicit element labels";
  EXPECT_TRUE(bme_FEMNodeList::FromLabels(*plain, Labels{1}, bme_Unknown::Skip).IsEmpty());
  EXPECT_EQ(bme_FEMNodeList(*plain, {4}).Labels(), Labels{5});
}

TEST(bme_EntityLists, OfFacesAndEdgesAreMadeFromLabelsOfElementsAndGiveThemBack) {
  MeshMaker maker;
  const auto mesh = maker.Nodes(8)
                        .Class("C3D8", 8, {0, 1, 2, 3, 4, 5, 6, 7}, {70})
                        .Class("S4", 4, {0, 1, 2, 3, 4, 5, 6, 7}, {-4, 12})
                        .Class("B31", 2, {0, 1}, {8})
                        .Class("NOSUCH", 2, {0, 1}, {9})
                        .Make();
  using Faces = std::vector<bme_FaceLabel>;
  using Edges = std::vector<bme_EdgeLabel>;
  const Faces faces = {{12, 0, true}, {70, 5}, {-4, 0}, {12, 0}, {70, 0}, {70, 5}};
  const auto ofFaces = bme_FEMFaceList::FromLabels(*mesh, faces);
  EXPECT_EQ(WordsOf(ofFaces), (Words{bme_FaceWord(0, 0), bme_FaceWord(0, 5), bme_FaceWord(1, 0),
                                     bme_FaceWord(2, 0), bme_FaceWord(2, 0, true)}));
  EXPECT_EQ(ofFaces.Labels(), (Faces{{70, 0}, {70, 5}, {-4, 0}, {12, 0}, {12, 0, true}}));
  const Edges edges = {{8, 0, 0}, {12, 0, 3}, {70, 5, 2}};
  const auto ofEdges = bme_FEMEdgeList::FromLabels(*mesh, edges);
  EXPECT_EQ(WordsOf(ofEdges), (Words{bme_EdgeWord(0, 5, 2), bme_EdgeWord(2, 0, 3), bme_EdgeWord(3, 0, 0)}));
  EXPECT_EQ(ofEdges.Labels(), (Edges{{70, 5, 2}, {12, 0, 3}, {8, 0, 0}}));

  const Faces wrong = {{70, 6}, {70, 0, true}, {71, 0}, {70, -1}, {-4, 0}, {8, 0}, {9, 0}, {12, 64}};
  EXPECT_EQ(bme_FEMFaceList::FromLabels(*mesh, wrong, bme_Unknown::Skip).Labels(), (Faces{{-4, 0}}));
  EXPECT_EQ(
      ThrownBy([&] { bme_FEMFaceList::FromLabels(*mesh, wrong); }),
      "mesh 1 does not have 7 element faces: 70 face 6, 70 face 0 back, 71 face 0, 70 face -1, 8 face 0, "
      "9 face 0, 12 face 64");
  const Edges none = {{70, 6, 0}, {70, 0, 4}, {70, -1, 0}, {12, 0, -1}, {9, 0, 0}, {13, 0, 0}, {8, 0, 1}};
  EXPECT_TRUE(bme_FEMEdgeList::FromLabels(*mesh, none, bme_Unknown::Skip).IsEmpty());
  EXPECT_EQ(ThrownBy([&] { bme_FEMEdgeList::FromLabels(*mesh, none); }).substr(0, 64),
            "mesh 1 does not have 7 element edges: 70 face 6 edge 0, 70 face ");
  const Faces many(25, {3, 1});
  const cow_String message = ThrownBy([&] { bme_FEMFaceList::FromLabels(*mesh, many); });
  EXPECT_NE(message.find(" 25 element faces"), cow_String::npos) << message;
  EXPECT_EQ(std::ranges::count(message, ','), 20) << "twenty names and the dots: " << message;

  const auto plain = MeshMaker().Box(1, 1, 2).Make();
  EXPECT_EQ(bme_FEMFaceList::FromLabels(*plain, bme_FEMFaceList::All(*plain).Labels()),
            bme_FEMFaceList::All(*plain));
  EXPECT_EQ(bme_FEMEdgeList::FromLabels(*plain, bme_FEMEdgeList::All(*plain).Labels()),
            bme_FEMEdgeList::All(*plain));
}

TEST(bme_EntityLists, WriteLabelsAsRanges) {
  const auto text = [](const std::vector<int>& labels) { return bme_CompactLabels(labels); };
  EXPECT_EQ(text({}), "");
  EXPECT_EQ(text({1, 3, 5, 7, 205}), "1:7:2,205");
  EXPECT_EQ(text({1, 2, 4, 5, 6}), "1,2,4:6");
  EXPECT_EQ(text({-2147483647 - 1, 0, 2147483647}), "-2147483648,0,2147483647");
}

TEST(bme_EntityLists, ReadLabelsThatTheyWrote) {
  std::mt19937 random(3);
  for (int round = 0; round < 200; ++round) {
    std::vector<int> labels;
    for (unsigned run = random() % 5; run > 0; --run) {
      const int first = static_cast<int>(random()) / 4, step = static_cast<int>(random() % 7) - 3;
      for (int i = static_cast<int>(random() % 6); i >= 0; --i) labels.push_back(first + i * step);
    }
    if (round % 10 == 0) labels.insert(labels.end(), {-2147483647 - 1, 2147483647});
    EXPECT_EQ(bme_LabelsOfText(bme_CompactLabels(labels)), labels);
  }
  EXPECT_EQ(bme_LabelsOfText(" 1 : 6 : 2 , 9 "), (std::vector<int>{1, 3, 5, 9})) << "6 is not met";
  for (const auto& [text, message] :
       {std::pair{"1,,2", "labels, part 2, \"\": \"\" is not a whole number"},
        {"1:x", "labels, part 1, \"1:x\": \"x\" is not a whole number"},
        {"1,2:", "labels, part 2, \"2:\": \"\" is not a whole number"},
        {"1:2:3:4", "labels, part 1, \"1:2:3:4\": a range is FIRST:LAST or FIRST:LAST:STEP"},
        {"1:9:0", "labels, part 1, \"1:9:0\": the step is 0"},
        {"9:1", "labels, part 1, \"9:1\": steps of 1 lead from 9 away from 1"},
        {"2147483648", "labels, part 1, \"2147483648\": 2147483648 does not fit 32 bits"},
        {"0,1:100000000", "labels, part 2, \"1:100000000\": more than 100000000 labels"}})
    EXPECT_EQ(ThrownBy([&, t = text] { bme_LabelsOfText(t); }), message);
}

namespace {
/// Some of the list's words become the same list again, by way of a set in which each class comes once.
template<class List> void CheckSetOf(const bme_Mesh& mesh, const char* what) {
  const List all = List::All(mesh);
  std::mt19937 random(11);
  for (const unsigned share : {1U, 3U, 50U}) {
    Words words;
    for (const unsigned word : all)
      if (random() % share == 0) words.push_back(word);
    if constexpr (std::is_same_v<List, bme_FEMFaceList>)
      for (const unsigned word : Words(words))
        if (mesh.ElementData().GetElemClass(bme_ElementOf(word)).Shape()->NumGeomDims() == 2)
          words.push_back(word | 1U << 29); // the back
    const List list(mesh, words);
    const rgnC_SetData set = list.ToSet();
    EXPECT_EQ(List::FromSet(mesh, set), list) << what;
    std::set<int> classes;
    for (int i = 0; i < set.NumSubset(); ++i) {
      EXPECT_TRUE(classes.insert(set.SubSet(i).ClassIndex()).second) << what;
      EXPECT_TRUE(std::ranges::is_sorted(set.SubSet(i).IdArray())) << what;
      EXPECT_EQ(set.SubSet(i).SubsetIndex(), i);
    }
  }
  EXPECT_EQ(List(mesh).ToSet().NumSubset(), 0);
}
} // namespace

TEST(bme_EntityLists, BecomeSetsAndBack) {
  MeshMaker maker;
  maker.Box(2, 2, 2).Class("S4", 4, {0, 1, 4, 3, 1, 2, 5, 4}, {}).Class("B31", 2, {0, 1, 1, 2});
  maker.Class("C3D6", 6, {0, 1, 3, 9, 10, 12}).Class("C3D4", 4, {0, 1, 3, 9}).Class("CPS3", 3, {0, 1, 3});
  const auto mesh = maker.Make(5);
  CheckSetOf<bme_FEMNodeList>(*mesh, "nodes");
  CheckSetOf<bme_FEMElemList>(*mesh, "elements");
  CheckSetOf<bme_FEMFaceList>(*mesh, "faces");
  CheckSetOf<bme_FEMEdgeList>(*mesh, "edges");
}

TEST_F(StoredTest, ListsStandThereWithTheRegionThatNamesThem) {
  const auto mesh = MeshMaker().Box(1, 1, 1).Make();
  cls_Database model = Create();
  for (const int round : {0, 1}) { // a second time they are replaced
    cls_WritePass pass(model);
    bme_PutSet(pass, "box", "corner", bme_FEMNodeList(*mesh, {unsigned(round)}).ToSet());
    bme_PutSet(pass, "box", "skin", bme_FEMFaceList::All(*mesh).ToSet());
    pass.Commit();
  }
  const ddr_DatabaseRoot::Scope here(model);
  const auto corner = model.Get<rgnC_Region>("regions/box/corner"),
             skin = model.Get<rgnC_Region>("regions/box/skin");
  EXPECT_EQ(corner->OwnerNames(), cow_List<cow_String>{"box"});
  EXPECT_EQ(corner->GetSetTypeBits(), 1 << rgnC_NODE_SET);
  EXPECT_EQ(skin->GetSetTypeBits(), 1 << rgnC_MESH_SURFACE);
  EXPECT_EQ(corner->ConstSet().GetSetLabel(), "corner");
  EXPECT_EQ(WordsOf(bme_FEMNodeList::FromRegion(*mesh, *corner)), Words{1});
  EXPECT_EQ(bme_FEMFaceList::FromRegion(*mesh, *skin), bme_FEMFaceList::All(*mesh));
}

TEST(bme_EntityLists, AreMadeFromSets) {
  MeshMaker maker;
  const auto mesh = maker.Box(1, 1, 1).Class("S4", 4, {0, 1, 3, 2}).Make();
  rgnC_SetData set;
  set.AppendSubset(Subset(1, res_NODE_SET, {3, 1}));
  set.AppendSubset(Subset(2, res_NODE_SET, {7}));
  set.AppendSubset(Subset(1, res_SURFACE_FACET, {0, 1, 1}, {4, 0, 1}));
  set.AppendSubset(Subset(1, res_SURFACE_EDGE, {0}, {4 * 2 + 3}));
  EXPECT_EQ(WordsOf(bme_FEMNodeList::FromSet(*mesh, set)), (Words{1, 3}));
  EXPECT_EQ(WordsOf(bme_FEMFaceList::FromSet(*mesh, set)),
            (Words{bme_FaceWord(0, 4), bme_FaceWord(1, 0), bme_FaceWord(1, 0, true)}));
  EXPECT_EQ(WordsOf(bme_FEMEdgeList::FromSet(*mesh, set)), Words{bme_EdgeWord(0, 2, 3)});
  EXPECT_EQ(WordsOf(bme_FEMElemList::FromSet(*mesh, set)), (Words{0, 1}));
  rgnC_SetData wrong;
  wrong.AppendSubset(Subset(1, res_SURFACE_FACET, {1, 5, 0}, {2, 0, 6}));
  wrong.AppendSubset(Subset(1, res_SURFACE_EDGE, {1, 1, 0, 0}, {3, 4, 23, -1}));
  EXPECT_EQ(WordsOf(bme_FEMFaceList::FromSet(*mesh, wrong, bme_Unknown::Skip)), Words{bme_FaceWord(0, 0)});
  EXPECT_EQ(ThrownBy([&] { bme_FEMFaceList::FromSet(*mesh, wrong); }),
            "mesh 1 does not have 2 facets of element indices: 1, 5");
  EXPECT_EQ(WordsOf(bme_FEMEdgeList::FromSet(*mesh, wrong, bme_Unknown::Skip)),
            (Words{bme_EdgeWord(0, 5, 3), bme_EdgeWord(1, 0, 3)}));
  EXPECT_EQ(ThrownBy([&] { bme_FEMEdgeList::FromSet(*mesh, wrong); }),
            "mesh 1 does not have 2 edges of element indices: 1, 0");
}

namespace {
/// What the list of a set holds, or the message.
template<class List>
cow_String TextOf(const bme_Mesh& mesh, const rgnC_SetData& set, bme_Unknown unknown = bme_Unknown::Refuse) {
  cow_String text;
  const cow_String failure = ThrownBy([&] {
    for (const unsigned word : List::FromSet(mesh, set, unknown))
      text.append(" ").append(std::to_string(word));
  });
  return failure == kNothingThrown ? text : failure;
}
} // namespace

TEST(bme_EntityLists, AreMadeFromSetsOfOtherKindsOrSayWhyNot) {
  MeshMaker maker; // a hexahedron, a shell on its bottom and a beam on one of its edges
  const auto mesh = maker.Box(1, 1, 1).Class("S4", 4, {0, 1, 3, 2}).Class("B31", 2, {0, 1}).Make();
  const auto text = [](unsigned word) { return std::string(" ").append(std::to_string(word)); };
  const std::string shell = text(bme_FaceWord(1, 0)), all = " 0 1 2 3 4 5 6 7", no = "no",
                    element = "ELEMENT_SET of mesh 1", facet = "SURFACE_FACET of mesh 1",
                    surface = "SURFACE_ELEMENT of mesh 1", edge = "SURFACE_EDGE of mesh 1",
                    unnamed =
                        "mesh 1: no faces are named, so none can be chosen of 1 solid, by element index: 0";
  struct Case {
    std::vector<rgnC_SubsetData> subsets;
    std::string holds, nodes, elements, faces, edges; ///< "no": none of them in a set that holds such
  };
  for (const Case& c : std::initializer_list<Case>{
           {{Subset(1, res_ELEMENT_SET, {2})}, element, " 0 1", " 2", no, no},
           {{Subset(1, res_NODE_SET, {5})}, "NODE_SET of mesh 1", " 5", no, no, no},
           {{Subset(1, res_SURFACE_ELEMENT, {1})}, surface, " 0 1 2 3", " 1", shell, no},
           {{Subset(1, res_SURFACE_ELEMENT, {1, 0})}, surface, all, " 0 1", unnamed, no},
           {{Subset(1, res_SURFACE_ELEMENT, {2, 1})},
            surface,
            " 0 1 2 3",
            " 1 2",
            "mesh 1 does not have 1 face of an element index: 2",
            no},
           {{Subset(1, res_SURFACE_FACET, {0}, {1}), Subset(1, res_SURFACE_ELEMENT, {1})},
            facet + ", " + surface,
            all,
            " 0 1",
            text(bme_FaceWord(0, 1)) + shell,
            no},
           {{Subset(1, res_SURFACE_EDGE, {2}, {0})}, edge, " 0 1", " 2", no, text(bme_EdgeWord(2, 0, 0))},
           {{Subset(2, res_NODE_SET, {5}), Subset(2, res_NODE_SET, {6}), Subset(1, res_NODE_SET, {})},
            "NODE_SET of mesh 2",
            no,
            no,
            no,
            no},
           {{}, "", "", "", "", ""},
           {{Subset(2, res_SURFACE_FACET, {})}, "", "", "", "", ""}}) {
    rgnC_SetData set;
    for (const rgnC_SubsetData& subset : c.subsets) set.AppendSubset(subset);
    const auto expected = [&](const char* what, const std::string& words) {
      return words == no
                 ? std::string("mesh 1: no ").append(what).append(" in a set that holds ").append(c.holds)
                 : words;
    };
    EXPECT_EQ(TextOf<bme_FEMNodeList>(*mesh, set), expected("nodes", c.nodes));
    EXPECT_EQ(TextOf<bme_FEMElemList>(*mesh, set), expected("elements", c.elements));
    EXPECT_EQ(TextOf<bme_FEMFaceList>(*mesh, set), expected("faces", c.faces));
    EXPECT_EQ(TextOf<bme_FEMEdgeList>(*mesh, set), expected("edges", c.edges));
    EXPECT_EQ(TextOf<bme_FEMEdgeList>(*mesh, set, bme_Unknown::Skip), c.edges == no ? "" : c.edges);
    if (c.faces == unnamed) {
      EXPECT_EQ(TextOf<bme_FEMFaceList>(*mesh, set, bme_Unknown::Skip), shell);
    }
  }
}

namespace {
class RegionLists : public StoredTest {};

/// From a region as from its set; the message when the mesh does not have what is in it.
template<class List>
void CheckRegion(const bme_Mesh& mesh, const rgnC_Region& region, const cow_String& ofOthers) {
  const List list = List::FromRegion(mesh, region, bme_Unknown::Skip);
  EXPECT_EQ(list, List::FromSet(mesh, region.ConstSet(), bme_Unknown::Skip));
  EXPECT_FALSE(list.IsEmpty());
  EXPECT_EQ(ThrownBy([&] { (void)List::FromRegion(mesh, region); }),
            "region \"Skin\" of Assembly/Part-1: mesh 1 does not have 1 " + ofOthers + ": 99");
  rgnC_Region undefined, gone = region;
  undefined.SetName("Empty");
  gone.SetSetData(rgnC_SetDataShortcut("sets/Gone"));
  EXPECT_EQ(ThrownBy([&] { (void)List::FromRegion(mesh, undefined); }),
            "region \"Empty\": Cannot retrieve set - shortcut is undefined");
  const cow_String failure = ThrownBy([&] { (void)List::FromRegion(mesh, gone, bme_Unknown::Skip); });
  EXPECT_EQ(failure.find("region \"Skin\" of Assembly/Part-1: "), 0U) << failure;
  EXPECT_NE(failure.find("sets/Gone"), cow_String::npos) << failure;
}
} // namespace

TEST_F(RegionLists, HaveWhatTheRegionRefersTo) {
  MeshMaker maker;
  const auto mesh = maker.Box(1, 1, 1).Class("S4", 4, {0, 1, 3, 2}).Make();
  rgnC_SetData set;
  set.AppendSubset(Subset(1, res_NODE_SET, {3, 99}));
  set.AppendSubset(Subset(1, res_SURFACE_FACET, {0, 99}, {4, 0}));
  set.AppendSubset(Subset(1, res_SURFACE_EDGE, {0}, {4 * 2 + 3}));
  rgnC_SetData edges;
  edges.AppendSubset(Subset(1, res_SURFACE_EDGE, {0, 99}, {4 * 2 + 3, 0}));
  const auto regionOf = [](const cow_String& path) {
    rgnC_Region region;
    region.SetName("Skin");
    region.SetOwnerNames({"Assembly", "Part-1"});
    region.SetSetData(rgnC_SetDataShortcut(path));
    return region;
  };
  cls_Database model = Create();
  {
    cls_WritePass pass(model);
    pass.Put("sets/Skin", set);
    pass.Put("sets/Edges", edges);
    pass.Commit();
  }
  EXPECT_EQ(
      ThrownBy([&] { bme_FEMNodeList::FromRegion(*mesh, regionOf("sets/Skin")); }).find("region \"Skin"), 0U)
      << "no database";
  const ddr_DatabaseRoot::Scope here(model);
  CheckRegion<bme_FEMNodeList>(*mesh, regionOf("sets/Skin"), "node index");
  CheckRegion<bme_FEMElemList>(*mesh, regionOf("sets/Skin"), "element index");
  CheckRegion<bme_FEMFaceList>(*mesh, regionOf("sets/Skin"), "facet of an element index");
  CheckRegion<bme_FEMEdgeList>(*mesh, regionOf("sets/Edges"), "edge of an element index");
}

TEST(bme_EntityLists, FollowFromEachOther) {
  MeshMaker maker;
  const auto mesh =
      maker.Box(3, 1, 1).Class("C3D10", 10, {0, 1, 4, 8, 20, 21, 22, 23, 24, 25}).Nodes(26).Make();
  const bme_FEMElemList first(*mesh, {0}), tetrahedron(*mesh, {3});
  const bme_FEMNodeList corners = bme_FEMNodeList::OfElements(tetrahedron, bme_NodesOf::Corners);
  EXPECT_EQ(WordsOf(corners), (Words{0, 1, 4, 8}));
  EXPECT_EQ(bme_FEMNodeList::OfElements(tetrahedron).Count(), 10U);
  EXPECT_EQ(WordsOf(bme_FEMElemList::OfNodes(corners, bme_Touching::AnyNode)), (Words{0, 1, 3}));
  EXPECT_TRUE(bme_FEMElemList::OfNodes(corners, bme_Touching::AllNodes).IsEmpty());
  const bme_FEMNodeList ofFirst = bme_FEMNodeList::OfElements(first);
  EXPECT_EQ(bme_FEMElemList::OfNodes(ofFirst, bme_Touching::AllNodes), first);
  const bme_FEMFaceList faces = bme_FEMFaceList::OfElements(tetrahedron);
  EXPECT_EQ(faces.Count(), 4U);
  EXPECT_EQ(bme_FEMNodeList::OfFaces(faces, bme_NodesOf::Corners), corners);
  EXPECT_EQ(bme_FEMNodeList::OfFaces(faces).Count(), 10U);
  EXPECT_EQ(bme_FEMElemList::OfFaces(faces), tetrahedron);
  const bme_FEMEdgeList edges = bme_FEMEdgeList::OfFaces(faces);
  EXPECT_EQ(edges, bme_FEMEdgeList::OfElements(tetrahedron));
  EXPECT_EQ(bme_FEMNodeList::OfEdges(edges, bme_NodesOf::Corners), corners);
  EXPECT_EQ(bme_FEMNodeList::OfEdges(edges).Count(), 10U);
  EXPECT_EQ(bme_FEMElemList::OfEdges(edges), tetrahedron);
  const bme_LocalNodes edge = edges.EdgeNodes(0);
  EXPECT_EQ((std::vector<int>(edge.Nodes().begin(), edge.Nodes().end())), (std::vector<int>{0, 22, 4}));
  EXPECT_EQ(WordsOf(bme_FEMNodeList::InBox(*mesh, gsl_BBox(gsl_Point(0.5, 0, 0), gsl_Point(1, 0, 1)))),
            (Words{1, 9}));
  const gsl_BBox half(gsl_Point(1, -1, -1), gsl_Point(3, 2, 2));
  EXPECT_EQ(WordsOf(bme_FEMElemList::InBox(*mesh, half, bme_Touching::AllNodes)), (Words{1, 2}));
  EXPECT_EQ(WordsOf(bme_FEMElemList::InBox(*mesh, half, bme_Touching::AnyNode)), (Words{0, 1, 2, 3}));
}

TEST(bme_EntityLists, OfFacesAndEdgesInBoxesAreThoseWithNodesThere) {
  MeshMaker maker;
  // a tetrahedron with middle nodes in the first cube, and one of its nodes missing; a shell and a beam
  maker.Box(3, 2, 2);
  const auto firstMiddle = static_cast<int>(maker.xyz.size() / 3);
  maker.Class(
      "C3D10", 10,
      {0, 1, 4, 12, firstMiddle, firstMiddle + 1, firstMiddle + 2, firstMiddle + 3, firstMiddle + 4, 99});
  for (const float value : {.5F, 0.F, 0.F, .5F, .5F, 0.F, 0.F, .5F, 0.F, 0.F, 0.F, .5F, .5F, 0.F, .5F})
    maker.xyz.push_back(value);
  const auto mesh = maker.Class("S4", 4, {0, 1, 5, 4}).Class("B31", 2, {2, 3}).Make();
  const std::span<const float> xyz = mesh->NodeData().Coordinates().Const();
  const bme_FEMFaceList faces = bme_FEMFaceList::All(*mesh);
  const bme_FEMEdgeList edges = bme_FEMEdgeList::All(*mesh);
  const auto check = [&](const gsl_BBox& box) {
    const auto isIn = [&](int node) {
      const auto at = 3 * static_cast<std::size_t>(node);
      if (at >= xyz.size()) return false;
      for (unsigned a = 0; a < 3; ++a)
        if (double{xyz[at + a]} < box.Min()[a] || double{xyz[at + a]} > box.Max()[a]) return false;
      return true;
    };
    const auto chosen = [&](const auto& list, auto nodesOf, bme_Touching touching) {
      Words words;
      for (std::size_t i = 0; i < list.Count(); ++i) {
        const bme_LocalNodes nodes = nodesOf(i);
        const auto inside = std::ranges::count_if(nodes.Nodes(), isIn);
        if (touching == bme_Touching::AnyNode ? inside > 0 : inside == nodes.count) words.push_back(list[i]);
      }
      return words;
    };
    for (const auto touching : {bme_Touching::AnyNode, bme_Touching::AllNodes}) {
      EXPECT_EQ(WordsOf(bme_FEMFaceList::InBox(*mesh, box, touching)),
                chosen(
                    faces, [&](std::size_t i) { return faces.FaceNodes(i); }, touching));
      EXPECT_EQ(WordsOf(bme_FEMEdgeList::InBox(*mesh, box, touching)),
                chosen(
                    edges, [&](std::size_t i) { return edges.EdgeNodes(i); }, touching));
    }
  };
  std::mt19937 random(2);
  for (int round = 0; round < 50; ++round) {
    gsl_Point low, high;
    for (unsigned a = 0; a < 3; ++a) {
      low[a] = static_cast<int>(random() % 7) / 2.0 - 0.5;
      high[a] = low[a] + static_cast<int>(random() % 5) / 2.0;
    }
    check(gsl_BBox(low, high));
  }
  const gsl_BBox bottom(gsl_Point(0, 0, 0), gsl_Point(3, 2, 0));
  EXPECT_EQ(bme_FEMFaceList::InBox(*mesh, bottom, bme_Touching::AllNodes).Count(), 6U + 1 + 1)
      << "of cubes, of the tetrahedron, the shell";
  const gsl_BBox away(gsl_Point(8, 0, 0), gsl_Point(9, 2, 0));
  EXPECT_TRUE(bme_FEMFaceList::InBox(*mesh, away, bme_Touching::AnyNode).IsEmpty());
}

TEST(bme_EntityLists, HaveWordsForEveryShape) {
  for (const auto& [label, key] : thr_ThreadSingleton<shp_ShapeDictionary>::Instance().LabelTable()) {
    const shp_Shape& shape = *thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(label);
    ASSERT_LE(shape.NumFaces(), static_cast<int>(bme_kMaxWordFaces)) << label;
    ASSERT_LE(shape.MaxEdgesPerFace(), 4) << label;
    ASSERT_LE(shape.MaxNodesPerFace(), static_cast<int>(bme_LocalNodes().nodes.size())) << label;
    for (const int corners : shape.CornersPerFace()) ASSERT_LE(corners, 4) << label;
    MeshMaker maker;
    std::vector<int> row;
    while (static_cast<int>(row.size()) < shape.NumNodes()) row.push_back(static_cast<int>(row.size()));
    const auto mesh = maker.Nodes(shape.NumNodes()).Class(label, row.size(), row).Make();
    // making a list checks each word
    const bme_FEMFaceList faces = bme_FEMFaceList::All(*mesh);
    const bme_FEMEdgeList edges = bme_FEMEdgeList::All(*mesh);
    const bme_FEMNodeList nodes =
        bme_FEMNodeList::OfElements(bme_FEMElemList::All(*mesh), bme_NodesOf::Corners);
    for (const unsigned node : bme_FEMNodeList::OfEdges(edges, bme_NodesOf::Corners))
      EXPECT_TRUE(nodes.Contains(node)) << label;
    for (const unsigned node : bme_FEMNodeList::OfFaces(faces, bme_NodesOf::Corners))
      EXPECT_TRUE(nodes.Contains(node)) << label;
  }
}

TEST(bme_EntityLists, RemoveTheirElements) {
  MeshMaker maker;
  maker.Nodes(6)
      .Class("B31", 2, {0, 1, 1, 2, 2, 3}, {7, 8, 9})
      .Class("S3", 3, {0, 1, 2}, {4})
      .Class("MASS", 1, {5}, {1});
  const auto mesh = maker.Make();
  const bme_Mesh before = *mesh;
  const bme_FEMElemList some(*mesh, {0, 2, 3});
  EXPECT_TRUE(mesh->ElementDataToModify().RemoveElements(some));
  const bme_ElementData& left = mesh->ElementData();
  EXPECT_EQ(bme_FEMElemList::All(*mesh).Labels(), (std::vector<int>{8, 1}));
  EXPECT_EQ(left.NumClasses(), 3U);
  EXPECT_EQ(left.GetMeshElemIndexFromLabel(1), 1U);
  EXPECT_EQ(left.GetMeshElemIndexFromLabel(4), bme_kNotFound);
  EXPECT_EQ(before.ElementData().NumElements(), 5U);
  EXPECT_FALSE(mesh->ElementDataToModify().RemoveElements(some)) << "the last one is gone";
  EXPECT_EQ(left.NumElements(), 2U);
}
