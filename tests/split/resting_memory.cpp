// Memory of a rank at rest: a split model is open, and one of its parts.
//    resting_memory SPLIT PART
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_Model.h>
#include <CoreGeometry/dst_SerialExchange.h>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <malloc.h>
#include <unistd.h>

namespace {
long Resident() {
  malloc_trim(0);
  long all = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> all >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}
} // namespace

int main(int argc, char** argv) try {
  if (argc != 3) return 2;
  const DDB_CoreGeometry library;
  const dst_Library distributed;
  dst_SerialExchange exchange(".");
  const long before = Resident();
  const dst_Model model(argv[1], exchange);
  const dst_Mesh mesh = model.Mesh();
  const dst_OpenPart& open = mesh.Part(static_cast<unsigned>(std::atoi(argv[2])));
  long touched = 0; // what is read with its first use
  for (unsigned i = 0; i < open.mesh->ElementData().NumClasses(); ++i)
    touched += open.mesh->ElementData().GetClass(i).ElementConnectivity().Const().back();
  touched += open.mesh->NodeData().Coordinates().Const().back() > 0;
  const long bytes = Resident() - before;
  std::cout << "{\"bytes\": " << bytes << ", \"elements\": " << open.part->NumElements()
            << ", \"nodes\": " << open.part->NumNodes() << ", \"shared\": " << open.part->NumShared()
            << ", \"touched\": " << touched << "}\n";
  return 0;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
