// dst_Check.h: everything that can be found wrong with a split model
#pragma once

#include <CoreGeometry/DistributedExport.h>
#include <CoreGeometry/chk_Findings.h>

class dst_Exchange;

/// A finding about one file of a split, or about several parts.
struct dst_Finding : chk_Finding {
  cow_String file; ///< of the index or a part; empty when it is about all of them
};

/// Checks each file as a model of its own, and how they fit: one identity, hashes, every element once, every node in all
/// parts that say so with the same coordinates, label, sets and results, and what the index says about each part. Who holds a
/// node is found anew and not believed. All ranks call it, and all have the findings, the same for any number of ranks.
///
/// Errors     nex_TextException "part 17: ..." for a file that another process is writing; wip_Cancelled. What is wrong
///            with the files is a finding.
/// Cost       each part is read twice, once for itself; 28 bytes for each node and 12 for each element of a part are sent
///            to the part that compares the copies, which sorts as many.
CORE_GEOMETRY_DISTRIBUTED_API std::vector<dst_Finding> dst_Check(const cow_String& folder,
                                                                 dst_Exchange& exchange);
/// In one process; beyond `memory` bytes messages wait in a temporary file.
CORE_GEOMETRY_DISTRIBUTED_API std::vector<dst_Finding> dst_Check(const cow_String& folder,
                                                                 std::size_t memory = std::size_t{256} << 20);
