#include <CoreGeometry/bme_Mesh.h>

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/typ_ArchCompTable.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/bme_Messages.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Vector.h>
#include <StoredTest.h>
#include <sstream>

namespace {
bme_NodeData* Cube() {
  auto* nodes = new bme_NodeData;
  for (int i = 0; i < 8; ++i) nodes->AppendNode(float(i & 1), float(i >> 1 & 1), float(i >> 2), 10 * (i + 1));
  return nodes;
}

bme_ElementData* Elements() {
  const int brick[] = {0, 1, 3, 2, 4, 5, 7, 6}, pyramid[] = {0, 1, 3, 2, 4};
  cow_ArrayCOW<int> bricks, pyramids;
  bricks.Append(brick);
  pyramids.Append(pyramid);
  bme_ElementClass* classes[] = {new bme_ElementClass("C3D8R", cls_xp2DArrayInt(8, bricks)),
                                 new bme_ElementClass("PYRAMID5", cls_xp2DArrayInt(5, pyramids))};
  classes[0]->SetUserElementLabels(std::vector<int>{100});
  classes[1]->SetUserElementLabels(std::vector<int>{-3});
  return new bme_ElementData(classes, 2);
}

gsl_Matrix Shift(double x, double y, double z) {
  gsl_Matrix matrix;
  matrix.SetTranslation(gsl_Vector(x, y, z));
  return matrix;
}

class MeshFile : public StoredTest {};
} // namespace

TEST(bme_Mesh, AnEmptyMeshHasAnEmptyBoxAndSphere) {
  const bme_Mesh mesh(bme_NATIVE_MESH);
  EXPECT_TRUE(mesh.GetBBox().IsEmpty());
  EXPECT_EQ(mesh.BoundingSphere().radius, -0.5);
  EXPECT_EQ(mesh.BoundingSphere().x, -0.5);
  EXPECT_TRUE(mesh.BoundingSphere().IsEmpty());
  EXPECT_EQ(mesh.ChangeCount(), 1U);
  EXPECT_EQ(mesh.Transform(), nullptr);
}

TEST(bme_Mesh, PrintsItsSummary) {
  const bme_Mesh mesh(7, Cube(), Elements(), bme_ORPHAN_MESH, nullptr);
  std::ostringstream out;
  mesh.Print(out);
  EXPECT_EQ(out.str(), "Mesh ID : 7\n"
                       "  Number of nodes:           8\n"
                       "  Number of element classes: 2\n"
                       "  Element class #: 0\n"
                       "    Number of elements :         1\n"
                       "    Element type label:          C3D8R\n"
                       "    Number of nodes per element: 8\n"
                       "  Element class #: 1\n"
                       "    Number of elements :         1\n"
                       "    Element type label:          PYRAMID5\n"
                       "    Unsupported shape\n"
                       "\n");
}

TEST(bme_Mesh, ATransformMovesItsOwnNodesOnly) {
  bme_Mesh mesh(1, Cube(), Elements(), bme_ORPHAN_MESH, nullptr);
  const bme_Mesh other = mesh;
  EXPECT_EQ(&other.NodeData(), &mesh.NodeData()) << "copies share";
  const bme_Mesh deep(mesh, 5);
  mesh.ApplyTransform(Shift(10, 0, 0));
  EXPECT_EQ(mesh.GetBBox().Max()[0], 11);
  EXPECT_EQ(mesh.BoundingSphere().x, 10.5);
  EXPECT_EQ(other.GetBBox().Max()[0], 1);
  EXPECT_EQ(deep.GetBBox().Max()[0], 1);
  EXPECT_EQ(deep.Id(), 5);
  EXPECT_EQ(deep.TimeStamp(), mesh.TimeStamp());
  EXPECT_EQ(mesh.Transform(), nullptr) << "the placement is another thing";
  EXPECT_EQ(mesh.ChangeCount(), 1U);
  mesh.InvalidateMeshData();
  EXPECT_EQ(mesh.ChangeCount(), 2U);
  EXPECT_EQ(bme_Mesh(mesh, 6).ChangeCount(), 1U);
  const bme_Mesh copy = mesh;
  EXPECT_EQ(copy.ChangeCount(), 1U);
  EXPECT_EQ(std::unique_ptr<bme_Mesh>(mesh.VirtualCopy())->ChangeCount(), 1U);
  mesh = copy;
  EXPECT_EQ(mesh.ChangeCount(), 3U) << "it only grows, and the content is another";
}

namespace {
/// Node data that mirrors x on every access.
class Mirrored : public bme_NodeData {
public:
  bool GetNodalCoord(unsigned node, float& x, float& y, float& z) const override {
    const bool known = bme_NodeData::GetNodalCoord(node, x, y, z);
    x = -x;
    return known;
  }
  bool SetNodalCoord(unsigned node, float x, float y, float z) override {
    return bme_NodeData::SetNodalCoord(node, -x, y, z);
  }
  bme_NodeData* Copy() const override { return new Mirrored(*this); }
};
} // namespace

TEST(bme_Mesh, ATransformGoesThroughTheOperationsOfDerivedNodeData) {
  auto* nodes = new Mirrored;
  nodes->AppendNode(-3, 0, 0);
  bme_Mesh mesh(1, nodes, nullptr, bme_ORPHAN_MESH, nullptr);
  const bme_Mesh copy = mesh;
  mesh.ApplyTransform(Shift(1, 2, 0));
  EXPECT_EQ(mesh.GetBBox().Min()[0], 4);
  EXPECT_EQ(mesh.NodeData().Coordinates().Const()[0], -4);
  EXPECT_EQ(copy.GetBBox().Min()[0], 3) << "a detached copy keeps the dynamic class";
}

TEST_F(MeshFile, MeshesComeBackAndShareTheirNodesInTheFileAsWell) {
  const gsl_Matrix identity;
  {
    cls_Database db = Create();
    cls_WritePass pass(db);
    const bme_Mesh mesh(7, Cube(), Elements(), bme_NATIVE_MESH, nullptr), second = mesh;
    const bme_Mesh given(9, nullptr, nullptr, bme_ODB_MESH, &identity);
    pass.Put("mesh", mesh);
    pass.Put("second", second);
    pass.Put("given", given);
    pass.Commit();
    const auto classes = db.Classes();
    EXPECT_EQ(std::ranges::find(classes, "bme_NodeData", &cls_Database::StoredClass::name)->objects, 2)
        << "one for two meshes, and that of the third";
  }
  std::ostringstream trace;
  aio_SetDebugStream(&trace);
  typ_DebugFlags::SetDebugFlags(812, 2);
  const cls_Database db = cls_Database::Open(file_);
  const auto mesh = db.Get<bme_Mesh>("mesh");
  typ_DebugFlags::SetDebugFlags(812, 0);
  aio_SetDebugStream(nullptr);
  EXPECT_EQ(trace.str(), "Reading bme_Mesh\nDone with bme_ElementClass\nDone with bme_ElementClass\n");
  EXPECT_EQ(mesh->ChangeCount(), 1U);
  EXPECT_NE(db.Get<bme_Mesh>("given")->Transform(), nullptr) << "a given identity is not none";
  EXPECT_EQ(mesh->NodeData().GetMeshNodeIndex(30), 2U);
  EXPECT_EQ(mesh->NodeData().NextFreeLabel(), 81);
  EXPECT_EQ(mesh->BoundingSphere().x, 0.5);
  EXPECT_EQ(mesh->ElementData().GetClass(1).NumNodesPerElem(), 5);
  EXPECT_EQ(mesh->GetMeshElemIndexFromLabel(-3), 1U);
  bme_Mesh moved = *mesh;
  moved.ApplyTransform(Shift(5, 0, 0));
  EXPECT_EQ(mesh->GetBBox().Max()[0], 1);
}

TEST_F(MeshFile, WrongStoredMeshesAreRefusedWithTheirPlace) {
  cls_Database db = Create();
  const auto message = [&](const cow_String& root) { return ThrownBy([&] { db.Get<bme_Mesh>(root); }); };
  {
    cls_WritePass pass(db);
    cls_Row matrix, mesh, nodes;
    matrix.SetDoubles("_matrix", {}, 4);
    mesh.SetInt("id", 1)
        .Set("nodeData", {})
        .Set("elemData", {})
        .SetText("meshType", "Orphan Mesh")
        .SetDouble("timeStamp", 0);
    mesh.SetEmbedded("transform", pass.PutRow(gsl_PersistentMatrix::TypeId(), 203, matrix));
    pass.PutRow("type", bme_Mesh::TypeId(), 508, mesh);
    nodes.SetFloats("coordinates", std::vector<float>{1, 2, 3, 4})
        .SetInts("userNodeLabels", {})
        .SetInt("numDim", 3);
    pass.PutRow("nodes", bme_NodeData::TypeId(), 203, nodes);
    // two classes under keys that are not their positions, with more elements than can be counted
    std::vector<std::pair<long long, long long>> classes;
    for (const int key : {-1, 1}) {
      cls_Row controls, type, data;
      for (const char* field : {"hrGlsStiffness", "bendingHrGls", "drillingHrGls", "weightFactor",
                                "displHrGls", "rotHrGls", "OOPDispHrGls"})
        controls.SetDouble(field, 0);
      controls.SetText("elemLib", "Standard").SetText("kineSplit", "Centroid").SetText("stressRate", "Polar");
      controls.SetText("hrGlsControl", "Default Hourglass Control").SetText("soAccuracy", "Accuracy off");
      for (const char* field :
           {"firstElementIndex", "meshIndex", "classIndex", "regionClassIndex", "regionIndex"})
        type.SetInt(field, 0);
      type.SetInt("numElements", 2000000000).SetText("elemTypeLabel", "NOSUCH").SetText("categoryLabel", "");
      type.SetText("orientationFreq", "None").SetTexts("locationLabel", {});
      type.SetInts("DDBuserElementLabel", {}).SetInts("DDBconnectivity", {});
      type.SetEmbedded("elemCtrlParams", pass.PutRow(bme_ElemCtrlParams::TypeId(), 203, controls));
      classes.emplace_back(key, pass.PutRow(bme_ElementClass::TypeId(), 862, type));
      data.SetOwnedMap("classes", classes);
      pass.PutRow(key < 0 ? "one" : "tooMany", bme_ElementData::TypeId(), 319, data);
    }
    pass.Commit();
  }
  EXPECT_EQ(message("type"),
            "omu_PrimEnum(const cls_ReadVisitor&) - str not allowed: Orphan Mesh  Permissible: Orphan "
            "mesh, Odb mesh, Native mesh, Invalid mesh");
  EXPECT_EQ(db.Get<bme_ElementData>("one")->GetElemClass(7).ClassIndex(), 0);
  const cow_String tooMany = ThrownBy([&] { db.Get<bme_ElementData>("tooMany"); });
  EXPECT_EQ(tooMany.find(file_ + ": object "), 0U);
  EXPECT_NE(tooMany.find(" of bme_ElementData, field classes: element class 1 (NOSUCH): "), cow_String::npos)
      << tooMany;
  EXPECT_NE(message("nodes").find("is of class bme_NodeData, not bme_Mesh"), cow_String::npos);
  EXPECT_NE(
      ThrownBy([&] { db.Get<bme_NodeData>("nodes"); }).find("of bme_NodeData, field coordinates: 4 numbers"),
      cow_String::npos);
}

TEST(bme_Messages, GoToTheChannelOfTheThread) {
  struct Sink : wip_WIPBase {
    cow_String errors, statuses;
    void Error(const cow_String& message) override { errors += message; }
    void Status(const cow_String& message) override { statuses += message; }
  } sink;
  auto& channel = thr_ThreadSingleton<wip_WIP>::Instance();
  channel.SetSink(&sink);
  bme_Report(bme_COMPUTING_NORMALS);
  bme_Report(bme_FACE_LIST_ERROR, "12");
  channel.SetSink(nullptr);
  EXPECT_EQ(sink.statuses, "Computing element face normals...");
  EXPECT_EQ(sink.errors, "Face list computation error for node 12");
}
