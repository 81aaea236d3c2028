#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/fmt_Format.h>
#include <filesystem>
#include <iostream>

int main(int argc, char** argv) try {
  const DDB_CoreGeometry library;
  const fmt_Import read = fmt_ReadMesh(argc > 1 ? argv[1] : "bracket.exo");
  const bme_Mesh& mesh = *read.mesh;

  const auto faces = bme_ComputeFaces(bme_FEMElemList::All(mesh));
  if (!faces) return 1;
  const bme_FEMNodeList outerNodes = bme_FEMNodeList::OfFaces(faces->external);
  std::cout << faces->external.Count() << " faces and " << outerNodes.Count() << " of "
            << mesh.NodeData().NumNodes() << " nodes are outside\n";
  std::cout << "volume " << bme_CalculateMeasures(mesh).volume.Total() << '\n';

  const bme_ElementLocator locator(mesh);
  const bme_ElementHit hit = locator.Find({0.031, 0.016, 0.002});
  if (hit.element != bme_kNotFound) {
    const bme_FEMElemList owner(mesh, {hit.element});
    std::cout << "the point lies in element " << owner.Labels()[0] << '\n';
  }

  const cow_String file = "first.cgdb"; // a model that is there keeps what else is in it
  cls_Database model = std::filesystem::exists(file) ? cls_Database::Open(file, cls_Database::Mode::ReadWrite)
                                                     : cls_Database::Create(file);
  cls_WritePass pass(model); // one transaction: all of it or nothing
  pass.Put("meshes/bracket", mesh);
  bme_PutSet(pass, "bracket", "outside", faces->external.ToSet());
  pass.Commit();
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
