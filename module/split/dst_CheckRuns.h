// dst_CheckRuns.h: whether the results of all parts fit together
#pragma once

#include <CoreGeometry/dst_SplitFolder.h>
#include <functional>

/// Says of each part whose run is missing or has other rows than the part must have, and of each node whose values are
/// not equal, bit for bit, in all parts that hold it.
///
/// Cost       the values at shared nodes are read once; a record of 20 bytes for each of them and each variable goes
///            through buckets, which keep `memory` bytes; `file` is made when that is too little.
void dst_CheckRuns(const dst_SplitFolder& split, const cow_String& file, std::size_t memory,
                   const std::function<void(unsigned part, const cow_String& what)>& add);
