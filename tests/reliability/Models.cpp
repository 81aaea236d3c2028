#include "Models.h"

#include <BasicUtils/cls_Dump.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <CoreGeometry/odiC_Step.h>
#include <CoreGeometry/rgnC_Region.h>
#include <sstream>
#include <stored/OldModels.h>

namespace {
/// Made once for each length, so that no memory is needed for it while memory runs out.
const cow_CountedHld<bme_Mesh>& Row(int cells) {
  static std::map<int, cow_CountedHld<bme_Mesh>> made;
  cow_CountedHld<bme_Mesh>& mesh = made[cells];
  if (!mesh.IsNull()) return mesh;
  std::vector<float> coordinates;
  std::vector<int> connectivity;
  for (int layer = 0; layer <= cells; ++layer)
    for (const auto& [y, z] : {std::pair{0.F, 0.F}, {1.F, 0.F}, {1.F, 1.F}, {0.F, 1.F}})
      coordinates.insert(coordinates.end(), {static_cast<float>(layer), y, z});
  for (int i = 0; i < 8 * cells; ++i) connectivity.push_back(i / 8 * 4 + i % 8);
  bme_ElementClass* classes[] = {
      new bme_ElementClass("C3D8", cls_xp2DArrayInt(8, cow_ArrayCOW<int>(connectivity)))};
  mesh = cow_CountedHld<bme_Mesh>(
      new bme_Mesh(0, new bme_NodeData(uti_CoordCont3D(cow_ArrayCOW<float>(coordinates))),
                   new bme_ElementData(classes, 1), bme_NATIVE_MESH, nullptr));
  return mesh;
}

cls_Database Writable(const cow_String& file) {
  return cls_Database::Open(file, cls_Database::Mode::ReadWrite);
}

void Put(const cow_String& file, const cow_String& root, int cells) {
  cls_Database db = Writable(file);
  cls_WritePass pass(db);
  pass.Put(root, Row(cells));
  pass.Commit();
}

void WriteOldModel(const cow_String& file) {
  cls_Database db = cls_Database::Create(file, {1024});
  cls_WritePass pass(db);
  OldModels().front().write(pass, 0);
  pass.Commit();
}

/// Another frame of the run "results/Wing/a", a displacement at every node.
void AppendFrame(const cow_String& file) {
  cls_Database db = Writable(file);
  const bme_Mesh& mesh = *Row(60);
  odiC_RunWriter run(db, "results/Wing/a", mesh);
  const int u = run.AddVariable(odiC_Variable("U", res_VECTOR, "mm"));
  const int atNodes = run.AddLayout(odiC_FullLayout(mesh, res_NODAL));
  if (run.Header().steps.empty()) run.BeginStep("Pull");
  const auto frame = run.Header().steps.back().NumFrames();
  run.BeginFrame({.value = 1.0 * frame});
  run.PutField(u, atNodes,
               cow_ArrayCOW<float>(
                   std::vector<float>(3 * mesh.NodeData().NumNodes(), 0.5F * static_cast<float>(frame))));
  run.Commit();
}

constexpr ModelChange kChanges[] = {
    {"create", nullptr, [](const cow_String& file) { cls_Database::Create(file, {1024}); }},
    {"first_write", [](const cow_String& file) { cls_Database::Create(file, {1024}); },
     [](const cow_String& file) { Put(file, "meshes/Wing", 60); }},
    {"second_write", [](const cow_String& file) { WriteModel(file, 60); },
     [](const cow_String& file) { Put(file, "meshes/Tail", 300); }},
    {"replace", [](const cow_String& file) { WriteModel(file, 300); },
     [](const cow_String& file) { Put(file, "meshes/Wing", 120); }},
    {"remove", [](const cow_String& file) { WriteModel(file, 300); },
     [](const cow_String& file) {
       cls_Database db = Writable(file);
       cls_WritePass pass(db);
       pass.Remove("meshes/Wing");
       pass.Commit();
     }},
    {"append_frame",
     [](const cow_String& file) {
       WriteModel(file, 60);
       AppendFrame(file);
     },
     AppendFrame},
    {"upgrade", WriteOldModel, [](const cow_String& file) { Writable(file).Upgrade(); }},
    {"compact",
     [](const cow_String& file) {
       WriteModel(file, 300);
       Put(file, "meshes/Wing", 5);
     },
     [](const cow_String& file) { Writable(file).Compact(); }},
};
} // namespace

void PrintTo(const ModelChange& change, std::ostream* out) { *out << change.name; }

std::span<const ModelChange> ModelChanges() { return kChanges; }

void WriteModel(const cow_String& file, int cells) {
  cls_Database db = cls_Database::Create(file, {1024});
  cls_WritePass pass(db);
  pass.Put("meshes/Wing", Row(cells));
  rgnC_Region region;
  region.SetName("Skin");
  pass.Put("regions/Skin", region);
  pass.Commit();
}

std::string ContentOf(const cow_String& file) {
  if (!std::filesystem::exists(file)) return "";
  return ContentOf([&] { return cls_Database::Open(file); });
}

std::string ContentOf(const std::function<cls_Database()>& open) {
  try {
    std::ostringstream out;
    const cls_Database db = open();
    out << (db.IsOutdated() ? "outdated\n" : "current\n");
    cls_Dump(db, out);
    return out.str();
  } catch (const nex_TextException& failure) {
    return "error: " + failure.Message();
  }
}

std::vector<std::string> FaultsOf(const cow_String& file) {
  std::vector<std::string> faults;
  for (const cls_Finding& finding : cls_Check(cls_Database::Open(file)))
    if (finding.weight == cls_Finding::Weight::Fault) faults.push_back(finding.what);
  return faults;
}
