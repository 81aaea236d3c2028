#include <BasicUtils/cls_CreateModel.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_StoredMesh.h>
#include <CoreGeometry/fmt_Format.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  cls_CreateModel("part.cgdb", {}, [&](const cls_Database&, cls_WritePass& pass) {
    pass.Put("meshes/bracket", *fmt_ReadMesh("bracket.exo").mesh);
  });

  const cls_Database model = cls_Database::Open("part.cgdb");
  const bme_StoredMesh mesh(model, "meshes/bracket"); // sizes and types only
  const std::vector<int> labels{1010, 4020};
  for (const unsigned node : mesh.FindNodes(labels)) {
    const int index = static_cast<int>(node);
    const std::vector<float> xyz = mesh.Coordinates(std::span(&index, 1));
    std::cout << "node index " << node << ": " << xyz[0] << ' ' << xyz[1] << ' ' << xyz[2] << '\n';
  }

  // any array field by its path, without the rest of the object
  const std::vector<int> firstRow =
      model.GetRange<int>("meshes/bracket.elemData.classes[2].DDBconnectivity", 0, 20);
  // a field that reads itself, such as a list of texts or an array
  const auto nodeLabels =
      model.GetValue<cls_xp1DArrayListInt>(model.Resolve("meshes/bracket.nodeData.userNodeLabels"));
  std::cout << "first corner of the first " << mesh.Classes()[2].kind.ElemTypeLabel() << ": node "
            << nodeLabels.ConstGet(firstRow[0]) << '\n';
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
