// Splits a block of hexahedra that is never held as a whole: its ranges are computed.
//    split_in_ranges NX NY NZ PARTS METHOD MEMORY_MB FOLDER
#include "BlockInRanges.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_Split.h>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <sys/resource.h>

int main(int argc, char** argv) try {
  if (argc != 8) return 2;
  const auto number = [&](int i) { return std::strtoull(argv[i], nullptr, 10); };
  const std::string_view method = argv[5];
  const DDB_CoreGeometry library;
  const dst_Library distributed;
  const Block block({number(1), number(2), number(3)});
  const dst_SplitReport report = dst_Split(block, argv[7],
                                           {.parts = static_cast<unsigned>(number(4)),
                                            .method = method == "metis"   ? dst_Method::Metis
                                                      : method == "curve" ? dst_Method::Curve
                                                                          : dst_Method::Auto,
                                            .memory = number(6) << 20});
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  std::cout << report.index.NumElements() << " elements, " << report.index.NumParts() << " parts, balance "
            << report.balance << ", copies " << report.copies << ", chunks " << report.numChunks
            << ", pieces " << report.numPieces << ", peak " << used.ru_maxrss / 1024 << " MB, processor "
            << used.ru_utime.tv_sec + used.ru_stime.tv_sec << " s\n";
  return 0;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
