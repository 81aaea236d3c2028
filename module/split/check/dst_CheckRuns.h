// dst_CheckRuns.h: whether the results of all parts fit together
#pragma once

#include "dst_Referees.h"

#include <CoreGeometry/dst_SplitFolder.h>
#include <functional>

/// A finding about a part, of the part itself or, about values, of the referee of their node.
using dst_AddToRuns =
    std::function<void(unsigned checker, unsigned part, bool isOfValues, const cow_String& what)>;

/// Says of each part whose run is missing or has other rows than the part must have, and of each node whose values are
/// not equal, bit for bit, in all parts that hold it. All ranks call it.
///
/// Cost       the values at shared nodes are read once; a record of 20 bytes for each of them and each variable goes
///            to the referee of the node.
void dst_CheckRuns(const dst_SplitFolder& split, dst_Exchange& exchange, const dst_Referees& referees,
                   const dst_AddToRuns& add);
