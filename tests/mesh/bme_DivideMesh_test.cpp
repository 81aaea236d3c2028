// Elements of another order, split and refined: what is the same afterwards, on meshes of every family.
#include "EntityMeshes.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_DivideMesh.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/chk_Findings.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <functional>
#include <set>

namespace {
/// Wedges, two in each cube, and a collapsed hexahedron on the side of one.
MeshMaker Wedges() {
  MeshMaker maker;
  maker.Box(2, 2, 2);
  const std::vector<int> rows(maker.classes[0]->ElementConnectivity().Const().begin(),
                              maker.classes[0]->ElementConnectivity().Const().end());
  delete maker.classes[0];
  maker.classes.clear();
  std::vector<int> wedges;
  for (std::size_t i = 0; i < rows.size(); i += 8)
    for (const int k : {0, 1, 2, 4, 5, 6, 0, 2, 3, 4, 6, 7})
      wedges.push_back(rows[i + static_cast<std::size_t>(k)]);
  maker.Class("C3D6", 6, wedges);
  for (const float x : {3.F, 0.5F, 0.5F}) maker.xyz.push_back(x); // node 27
  maker.Class("C3D8R", 8, {2, 5, 14, 11, 27, 27, 27, 27});
  return maker;
}

MeshMaker Plate(const char* quadrilaterals, const char* triangles, const char* lines) {
  MeshMaker maker;
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 4; ++x)
      for (const int value : {x, y, 0}) maker.xyz.push_back(static_cast<float>(value));
  maker.Class(quadrilaterals, 4, {0, 1, 5, 4, 1, 2, 6, 5, 4, 5, 9, 8});
  maker.Class(triangles, 3, {2, 3, 7, 2, 7, 6});
  if (*lines != 0) maker.Class(lines, 2, {9, 10, 10, 11});
  return maker;
}

class bme_DivideMeshTest : public testing::Test {
protected:
  const DDB_CoreGeometry library_;

  static std::map<std::string, bme_MeshAndSets> Meshes() {
    std::map<std::string, bme_MeshAndSets> meshes;
    const auto add = [&](const char* name, MeshMaker maker) {
      for (std::size_t i = 0; i < maker.xyz.size() && maker.xyz[2] == 0; i += 3) // sheared: volumes stay
        maker.xyz[i] += 0.25F * maker.xyz[i + 1];
      meshes[name] = {*maker.Make()};
    };
    add("hexahedra", MeshMaker().Box(3, 2, 2));
    add("tetrahedra", MeshMaker().Box(2, 2, 2, true));
    add("wedges", Wedges());
    add("shells", Plate("S4R", "S3", "B31"));
    add("plane", Plate("CPS4", "CPS3", ""));
    std::vector<std::pair<std::string, bme_MeshAndSets>> quadratic;
    for (auto& [name, all] : meshes) {
      std::vector<int> labels(all.mesh.NodeData().NumNodes()); // without the order of the indices
      for (std::size_t i = 0; i < labels.size(); ++i)
        labels[i] = static_cast<int>(1 + 7 * i % labels.size() + (labels.size() % 7 == 0 ? i * 1000 : 0));
      all.mesh.NodeDataToModify().SetUserNodeLabels(labels.data());
      AddSets(all);
      quadratic.emplace_back(name + ", quadratic", bme_ChangeOrder(all, true).result);
    }
    for (auto& one : quadratic) meshes.insert(std::move(one));
    return meshes;
  }
  static void AddSets(bme_MeshAndSets& all) {
    const auto add = [&](const char* name, rgnC_SetData data) {
      data.SetIndex(static_cast<int>(all.sets.size()) + 1);
      all.sets.push_back({name, bme_KindOf(data), data});
    };
    std::vector<unsigned> low, some;
    for (unsigned i = 0; i < all.mesh.NodeData().NumNodes(); ++i)
      if (all.mesh.NodeData()[i].y == 0) low.push_back(i);
    for (unsigned e = 0; e < all.mesh.ElementData().NumElements(); e += 2) some.push_back(e);
    add("low", bme_FEMNodeList(all.mesh, low).ToSet());
    add("some", bme_FEMElemList(all.mesh, some).ToSet());
    if (const auto faces = bme_ComputeFaces(bme_FEMElemList::All(all.mesh)))
      add("outside", faces->external.ToSet());
  }
};

std::vector<chk_Finding> FaultsOf(const bme_Mesh& mesh) {
  std::vector<chk_Finding> found;
  chk_Findings findings("m", found);
  chk_Mesh(mesh, findings);
  chk_Elements(mesh, findings);
  std::erase_if(found, [](const chk_Finding& one) { return one.weight != cls_Finding::Weight::Fault; });
  return found;
}
double SizeOf(const bme_Mesh& mesh) {
  const bme_Measures measures = bme_CalculateMeasures(mesh);
  return measures.length.SignedTotal() + 10 * measures.area.SignedTotal()
         + 100 * measures.volume.SignedTotal();
}
std::set<std::pair<int, int>> EndsOf(const bme_FEMEdgeList& edges) {
  std::set<std::pair<int, int>> ends;
  for (std::size_t i = 0; i < edges.Count(); ++i) {
    const bme_LocalNodes nodes = edges.EdgeNodes(i);
    const std::pair<int, int> both = std::minmax({nodes.Nodes().front(), nodes.Nodes().back()});
    if (both.first != both.second) ends.insert(both);
  }
  return ends;
}
std::size_t NumOutside(const bme_Mesh& mesh) {
  return bme_ComputeFaces(bme_FEMElemList::All(mesh))->external.Count();
}
} // namespace

TEST_F(bme_DivideMeshTest, SizesSetsAndNeighboursStayTheSame) {
  using Edit = std::function<bme_Edited(const bme_MeshAndSets&)>;
  const std::pair<const char*, Edit> edits[] = {
      {"quadratic", [](const bme_MeshAndSets& all) { return bme_ChangeOrder(all, true); }},
      {"linear", [](const bme_MeshAndSets& all) { return bme_ChangeOrder(all, false); }},
      {"split", [](const bme_MeshAndSets& all) { return bme_SplitElements(all); }},
      {"refine", [](const bme_MeshAndSets& all) { return bme_RefineMesh(all); }},
      {"split, then refine", [](const bme_MeshAndSets& all) {
         bme_Edited split = bme_SplitElements(all), refined = bme_RefineMesh(split.result);
         refined.renumbering = split.renumbering.Then(refined.renumbering);
         return refined;
       }}};
  for (const auto& [name, before] : Meshes())
    for (const auto& [what, edit] : edits) {
      SCOPED_TRACE(name + ": " + what);
      const bme_Edited edited = edit(before);
      const bme_MeshAndSets& after = edited.result;
      EXPECT_TRUE(edited.remarks.empty()) << edited.remarks[0];
      EXPECT_TRUE(FaultsOf(after.mesh).empty());
      EXPECT_NEAR(SizeOf(after.mesh), SizeOf(before.mesh), 1e-3);
      const bme_Renumbering& map = edited.renumbering;
      ASSERT_EQ(map.nodes.to.size(), before.mesh.NodeData().NumNodes());
      ASSERT_EQ(map.nodes.from.size(), after.mesh.NodeData().NumNodes());
      // new nodes are where they are said to be
      std::size_t made = 0;
      for (unsigned i = 0; i < after.mesh.NodeData().NumNodes(); ++i) {
        double x = 0;
        if (map.nodes.from[i] >= 0) {
          x = before.mesh.NodeData()[static_cast<unsigned>(map.nodes.from[i])].x;
        } else {
          for (auto k = map.made.starts[made]; k < map.made.starts[made + 1]; ++k)
            x += map.made.weights[k] * before.mesh.NodeData()[map.made.parents[k]].x;
          ++made;
        }
        ASSERT_NEAR(after.mesh.NodeData()[i].x, x, 1e-5) << i;
      }
      ASSERT_EQ(made + 1, map.made.starts.size());
      // sets: nodes of y = 0, all pieces of the elements, and all of the outside
      const auto low = bme_FEMNodeList::FromSet(after.mesh, after.sets[0].data);
      std::size_t numLow = 0;
      for (unsigned i = 0; i < after.mesh.NodeData().NumNodes(); ++i)
        numLow += after.mesh.NodeData()[i].y == 0;
      EXPECT_EQ(low.Count(), numLow);
      EXPECT_EQ(bme_Send(bme_FEMNodeList::FromSet(before.mesh, before.sets[0].data), map, after.mesh), low);
      const auto some = bme_FEMElemList::FromSet(before.mesh, before.sets[1].data),
                 now = bme_FEMElemList::FromSet(after.mesh, after.sets[1].data);
      EXPECT_EQ(bme_Send(some, map, after.mesh), now);
      for (unsigned e = 0; e < after.mesh.ElementData().NumElements(); ++e)
        EXPECT_EQ(now.Contains(e), some.Contains(static_cast<unsigned>(map.elements.from[e]))) << e;
      if (before.sets.size() > 2) {
        const auto outside = bme_ComputeFaces(bme_FEMElemList::All(after.mesh))->external;
        EXPECT_EQ(bme_FEMFaceList::FromSet(after.mesh, after.sets[2].data), outside);
        const auto faces = bme_FEMFaceList::FromSet(before.mesh, before.sets[2].data);
        EXPECT_EQ(bme_Send(faces, map, after.mesh), outside);
        const auto edges = bme_FEMEdgeList::OfFaces(faces), cut = bme_Send(edges, map, after.mesh);
        EXPECT_EQ(EndsOf(cut).size(), EndsOf(edges).size() * (std::string(what).ends_with("refine") ? 2 : 1));
      }
    }
}

TEST_F(bme_DivideMeshTest, NumbersOfNodesAndElementsAreThoseOfTheBox) {
  const auto meshes = Meshes();
  const bme_MeshAndSets& box = meshes.at("hexahedra"); // 3 x 2 x 2
  struct Case {
    bme_Edited edited;
    unsigned nodes, elements, outside;
    const char* type;
  };
  const Case cases[] = {{bme_ChangeOrder(box, true), 36 + 75, 12, 32, "C3D20"},
                        {bme_RefineMesh(box), 7 * 5 * 5, 96, 128, "C3D8"},
                        {bme_SplitElements(box), 36, 72, 64, "C3D4"},
                        {bme_ChangeOrder(box, true, {{"C3D8", "C3D27"}}), 7 * 5 * 5, 12, 32, "C3D27"},
                        {bme_ChangeOrder(bme_SplitElements(box).result, true), 0, 72, 64, "C3D10"}};
  for (const Case& one : cases) {
    const bme_Mesh& mesh = one.edited.result.mesh;
    SCOPED_TRACE(one.type);
    if (one.nodes != 0) {
      EXPECT_EQ(mesh.NodeData().NumNodes(), one.nodes);
    }
    EXPECT_EQ(mesh.ElementData().NumElements(), one.elements);
    EXPECT_EQ(NumOutside(mesh), one.outside);
    EXPECT_EQ(mesh.ElementData().GetClass(0).ElemTypeLabel(), one.type);
  }
  // there and back is the same mesh, and labels of elements stay with their first piece
  for (const auto& [name, all] : meshes) {
    const bme_Edited back = bme_ChangeOrder(bme_ChangeOrder(all, true).result, false);
    if (name.find("quadratic") != std::string::npos) continue;
    for (unsigned c = 0; c < all.mesh.ElementData().NumClasses(); ++c)
      EXPECT_TRUE(std::ranges::equal(back.result.mesh.ElementData().GetClass(c).ElementConnectivity().Const(),
                                     all.mesh.ElementData().GetClass(c).ElementConnectivity().Const()));
    EXPECT_EQ(back.result.mesh.NodeData().NumNodes(), all.mesh.NodeData().NumNodes());
    const bme_Edited fine = bme_RefineMesh(all);
    for (unsigned e = 0; e < all.mesh.ElementData().NumElements(); ++e) {
      const auto first = static_cast<unsigned>(fine.renumbering.elements.to[e]);
      EXPECT_EQ(bme_FEMElemList(fine.result.mesh, {first}).Labels(), bme_FEMElemList(all.mesh, {e}).Labels());
    }
  }
}

TEST_F(bme_DivideMeshTest, TypesAreFoundByTheirNamesAndWhatCannotBeIsSaid) {
  const std::tuple<const char*, std::size_t, const char*, const char*> types[] = {
      {"C3D8RH", 8, "C3D20RH", "C3D4"}, {"C3D8I", 8, "C3D20", "C3D4"},    {"C3D6", 6, "C3D15", "C3D4"},
      {"CPE4R", 4, "CPE8R", "CPE3"},    {"S4", 4, "S8R", "S3"},           {"M3D4R", 4, "M3D8R", "M3D3"},
      {"B31OS", 2, "B32OS", "B31OS"},   {"T3D2", 2, "T3D3", "T3D2"},      {"DC3D8", 8, "DC3D20", "DC3D4"},
      {"SC8R", 8, "SC8R", "SC8R"},      {"COH3D8", 8, "COH3D8", "COH3D8"}};
  for (const auto& [label, columns, quadratic, split] : types) {
    SCOPED_TRACE(label);
    MeshMaker maker;
    std::vector<int> row;
    const shp_Shape& shape = *thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(label);
    for (std::size_t i = 0; i < columns; ++i) {
      row.push_back(static_cast<int>(i));
      for (const double value : shape.NodeCoordinates()[i]) maker.xyz.push_back(static_cast<float>(value));
    }
    maker.Class(label, columns, row);
    const bme_MeshAndSets all{*maker.Make()};
    const bme_Edited order = bme_ChangeOrder(all, true), simplices = bme_SplitElements(all);
    EXPECT_EQ(order.result.mesh.ElementData().GetClass(0).ElemTypeLabel(), quadratic);
    EXPECT_EQ(order.remarks.size(), std::string(label) == quadratic ? 1U : 0U);
    EXPECT_EQ(simplices.result.mesh.ElementData().GetClass(0).ElemTypeLabel(), split);
  }
  bme_MeshAndSets box = Meshes().at("hexahedra");
  std::vector<int> labels(box.mesh.NodeData().NumNodes());
  for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = 2147483640 - 40 + static_cast<int>(i);
  bme_MeshAndSets large = box;
  large.mesh.NodeDataToModify().SetUserNodeLabels(labels.data());
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[&] {
         bme_ChangeOrder(box, true, {{"C3D8", "S8R"}});
       },
       "S8R for C3D8: it is no type of the same kind with 8 nodes"},
      {[&] { bme_RefineMesh(large); },
       "node labels from 2147483636 on for 139 new nodes are above 2147483647"}};
  for (const auto& [call, message] : cases) EXPECT_EQ(ThrownBy(call), message);
}

TEST_F(bme_DivideMeshTest, NewNodesAreMovedToASurface) {
  // the outside of a box blown up to a ball: the coarse one gets the mid nodes of the fine one
  const auto ball = [](int count) {
    MeshMaker maker;
    maker.Box(count, count, count);
    for (std::size_t i = 0; i < maker.xyz.size(); i += 3) {
      std::array<double, 3> p{};
      double most = 0, length = 0;
      for (std::size_t k = 0; k < 3; ++k) {
        p[k] = 2. * maker.xyz[i + k] / count - 1;
        most = std::max(most, std::abs(p[k]));
        length += p[k] * p[k];
      }
      for (std::size_t k = 0; k < 3; ++k)
        maker.xyz[i + k] = static_cast<float>(most == 0 ? 0 : p[k] * most / std::sqrt(length));
    }
    return bme_MeshAndSets{*maker.Make()};
  };
  const auto volume = [](const bme_Edited& edited) {
    return bme_CalculateMeasures(edited.result.mesh).volume.Total();
  };
  const bme_MeshAndSets coarse = ball(4), fine = ball(24);
  const bme_Edited straight = bme_ChangeOrder(coarse, true);
  const auto surface = bme_ComputeFaces(bme_FEMElemList::All(fine.mesh))->external;
  const bme_Projected curved = bme_ProjectNodes(straight, surface, 0.02);
  const double exact = 4 * M_PI / 3;
  EXPECT_LT(std::abs(volume(curved) - exact), std::abs(volume(straight) - exact) / 10);
  EXPECT_EQ(curved.moved.size(), 192U); // the edges of 96 quadrilaterals
  EXPECT_TRUE(curved.folded.empty());
  EXPECT_GT(curved.largest, 0.01);
  for (const unsigned node : curved.moved) {
    const auto p = curved.result.mesh.NodeData()[node];
    EXPECT_NEAR(std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z), 1, 2e-3);
  }
  bme_MeshAndSets larger = fine; // too far away
  for (float& x : larger.mesh.NodeDataToModify().CoordinatesToModify()) x *= 1.05F;
  const auto away = bme_ComputeFaces(bme_FEMElemList::All(larger.mesh))->external;
  EXPECT_TRUE(bme_ProjectNodes(straight, away, 0.02).moved.empty());
  EXPECT_EQ(ThrownBy([&] { bme_ProjectNodes(straight, surface, 0); }),
            "a distance of 0.000000 is none within which nodes are on a surface");
}
