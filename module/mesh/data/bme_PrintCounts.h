// bme_PrintCounts.h: the summary of a mesh, in memory or in a file
#pragma once

#include <CoreGeometry/bme_ElementClass.h>
#include <CoreUtils/aio_ostream.h>

struct bme_CountedClass {
  int numElements;
  const bme_ElementClass* type;
};
void bme_PrintCounts(aio_ostream& out, int id, unsigned numNodes, std::span<const bme_CountedClass> classes);
