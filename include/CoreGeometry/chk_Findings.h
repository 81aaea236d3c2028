// chk_Findings.h: what the checks of stored objects find
#pragma once

#include <BasicUtils/cls_Check.h>
#include <CoreGeometry/CoreGeometryExport.h>
#include <span>

class bme_Mesh;

/// A finding about one root of a model, with the labels of the nodes or elements that it is about.
struct chk_Finding : cls_Finding {
  cow_String root;
  std::vector<long long> labels; ///< the first kMostLabels of them
  long long count = 0;           ///< of all of them
  static constexpr std::size_t kMostLabels = 20;
};

/// Collects the findings about one root.
class CORE_GEOMETRY_API chk_Findings {
public:
  chk_Findings(cow_String root, std::vector<chk_Finding>& findings)
      : root_(std::move(root)), findings_(findings) {}

  void Add(cow_String className, cow_String field, cow_String what, cow_String advice,
           std::span<const long long> labels = {}, cls_Finding::Weight weight = cls_Finding::Weight::Fault);

private:
  cow_String root_;
  std::vector<chk_Finding>& findings_;
};

/// Reports elements that are inverted, without size, or with a Jacobian that is not positive at integration
/// points or nodes. Every node of an element must exist. Returns the elements without size, ascending.
///
/// Threads    uses a lent wip_Executor; the findings are the same with any number of threads.
CORE_GEOMETRY_API std::vector<unsigned> chk_Elements(const bme_Mesh& mesh, chk_Findings& findings);

/// Reports, as notes, duplicate elements, nodes without elements, nodes at the same place (within a
/// ten-thousandth of an edge) or on the side of an element that they do not belong to, and of shells free
/// edges, edges of more than two elements, and neighbours with opposite normals. Every node of an element
/// must exist. Sides of elements without size are not searched.
CORE_GEOMETRY_API void chk_Topology(const bme_Mesh& mesh, std::span<const unsigned> withoutSize,
                                    chk_Findings& findings);

/// Reports inconsistencies of a mesh: wrong lengths, connectivity outside the node table, duplicate labels,
/// coordinates that are not finite, unknown element types.
CORE_GEOMETRY_API void chk_Mesh(const bme_Mesh& mesh, chk_Findings& findings);
