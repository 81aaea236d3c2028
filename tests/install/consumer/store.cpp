// A program outside the project: stores a mesh with an installed copy of the library and reads it back.
#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_Mesh.h>
#include <cstdio>

int main(int, char** arguments) {
  const DDB_CoreGeometry library;
  const cow_String file = cow_String(arguments[0]) + ".cgdb";
  std::remove(file.c_str());
  auto* nodes = new bme_NodeData;
  nodes->AppendNode(1, 2, 3, 42);
  const bme_Mesh mesh(1, nodes, nullptr, bme_NATIVE_MESH, nullptr);
  cls_Database db = cls_Database::Create(file);
  {
    cls_WritePass pass(db);
    pass.Put("mesh", mesh);
    pass.Commit();
  }
  return db.Get<bme_Mesh>("mesh")->NodeData().GetMeshNodeIndex(42) == 0 ? 0 : 1;
}
