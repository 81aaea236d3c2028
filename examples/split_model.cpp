// split_model.cpp: a stored mesh in parts, asked as a whole
//
//   split_model bracket.cgdb
#include <BasicUtils/cls_Database.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/dst_Faces.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_Locate.h>
#include <CoreGeometry/dst_Measures.h>
#include <CoreGeometry/dst_SerialExchange.h>
#include <CoreGeometry/dst_Split.h>
#include <iostream>

int main(int argc, char** argv) try {
  const DDB_CoreGeometry library;
  const dst_Library distributed;
  const cow_String file = argc > 1 ? argv[1] : "bracket.cgdb", folder = "parts.split";
  const cls_Database model = cls_Database::Open(file);
  const std::vector<cow_String> meshes = model.RootsOf({bme_Mesh::TypeId()});
  if (meshes.empty()) throw nex_TextException(file + ": holds no mesh");
  const dst_SplitReport report = dst_Split(*dst_ModelSource(model, meshes.front()), folder, {.parts = 8});
  std::cout << report.index.NumParts() << " parts of " << report.index.NumElements() << " elements\n";

  // one part after the other in this process; with dst_MpiExchange the parts of this rank
  dst_SerialExchange exchange("/tmp");
  const dst_Mesh mesh = dst_Model(folder, exchange).Mesh();
  std::cout << "volume " << dst_CalculateMeasures(mesh).volume.Total() << '\n';

  const dst_FaceSets faces = dst_ComputeFaces(mesh);
  std::int64_t numOuter = 0;
  exchange.ForEachPart(
      [&](unsigned part) { numOuter += static_cast<std::int64_t>(faces[part].external.size()); });
  exchange.Sum({&numOuter, 1}); // a number that all ranks have
  std::cout << numOuter << " outer faces\n";

  const std::vector<double> point = {0.031, 0.016, 0.002};
  const dst_Hit hit = dst_Locate(mesh, point).front();
  if (hit.element.IsFound())
    std::cout << "element " << hit.element.number << " of the whole, in part " << hit.element.part << '\n';
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
