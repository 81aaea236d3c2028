// bme_LinkFaces.h: equal faces of solids, brought together
#pragma once

#include <span>

class bme_Mesh;

/// Joins the slots of equal faces of all solids to cycles in ascending order: next[slot] is the next one. It must be
/// the slot itself before. A face has the slot firstSlot[class] + position in the class * faces + face. Faces with less
/// than three different corners stay alone. False, and nothing is joined, when an element has a corner beyond the nodes, or
/// there are more elements than words address.
///
/// Errors     wip_Cancelled; some slots are joined then.
/// Threads    uses a lent wip_Executor; the result is the same with any number of threads.
bool bme_LinkFaces(const bme_Mesh& mesh, std::span<const unsigned> firstSlot, std::span<unsigned> next);
