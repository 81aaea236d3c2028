// dst_Source.h: a mesh that is read in ranges, to be split
#pragma once

#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <CoreGeometry/dst_ClassRange.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/rgnC_SetData.h>
#include <functional>
#include <memory>
#include <vector>

class cls_Database;
class dst_SplitFolder;
class cls_WritePass;

/// A set of a source, without its entries.
struct dst_SetFacts {
  struct Subset {
    std::uint64_t numEntries = 0;
    bool hasFacets = false;
  };
  cow_String root;             ///< of the contents: "sets/Wing/skin"
  rgnC_SetData shell;          ///< its subsets are empty
  std::vector<Subset> subsets; ///< one for each of them

  CORE_GEOMETRY_DISTRIBUTED_API static bool IsOfNodes(const rgnC_SubsetData& subset) noexcept;
};

/// Everything about a mesh but its nodes, elements and set entries.
struct dst_SourceFacts {
  cow_String file;  ///< empty for a mesh in memory
  cow_String mesh;  ///< its name: "Wing" of "meshes/Wing"
  bme_Mesh shell{}; ///< without nodes and elements
  std::uint64_t numNodes = 0;
  bool hasNodeLabels = false;
  std::vector<dst_ClassRange> classes{}; ///< numbered one after the other
  std::vector<dst_SetFacts> sets{};
  std::vector<cow_String>
      leftOut{}; ///< what stands beside the mesh and does not go into a split, for a report
  std::vector<cow_String> warnings{}; ///< about what is in it, for a report

  std::uint64_t NumElements() const noexcept { return classes.empty() ? 0 : classes.back().EndElement(); }
  bool HasElementLabels() const noexcept; ///< false: they are implicit
};

/// A mesh that is read in ranges: nobody needs to hold all of it.
///
/// Numbering  nodes from 0; elements from 0, class after class.
/// Errors     nex_TextException naming the file; what lies outside is a caller's mistake.
/// Threads    one at a time.
class CORE_GEOMETRY_DISTRIBUTED_API dst_Source {
public:
  static constexpr unsigned kNoNode = 4294967295U; ///< of a row that is not filled

  virtual ~dst_Source();
  const dst_SourceFacts& Facts() const noexcept { return facts_; }

  virtual void ReadCoordinates(std::uint64_t firstNode,
                               std::span<float> xyz) const = 0; ///< three for each node
  virtual void ReadNodeLabels(std::uint64_t firstNode,
                              std::span<int> labels) const = 0; ///< only when it has any
  /// Whole rows of a class; its elements count from 0.
  virtual void ReadConnectivity(unsigned classIndex, std::uint64_t firstElement,
                                std::span<unsigned> nodes) const = 0;
  virtual void ReadElementLabels(unsigned classIndex, std::uint64_t firstElement,
                                 std::span<int> labels) const = 0;
  /// Entries of a subset: nodes or elements, and facet ids where it has any.
  virtual void ReadEntries(unsigned set, unsigned subset, std::uint64_t first, std::span<unsigned> numbers,
                           std::span<int> facets) const = 0;
  /// Stores in the index what stands beside mesh and sets, such as regions and datums.
  virtual void PutBeside(cls_WritePass& index) const = 0;
  /// Stores the regions of the sets in a part.
  virtual void PutRegions(cls_WritePass& part) const = 0;
  /// Runs of results of the mesh; none unless the source has them.
  std::span<const odiC_Run> Runs() const noexcept { return runs_; }

protected:
  dst_Source() = default;
  dst_Source(const dst_Source&) = delete;
  dst_Source& operator=(const dst_Source&) = delete;
  dst_SourceFacts facts_;
  std::vector<odiC_Run> runs_;
};

/// A mesh of a model file, by its root "meshes/<name>", which is read in ranges; one set at a time is read whole. The
/// model must outlive the source, and nobody can change it meanwhile. A model of older layouts is read whole.
CORE_GEOMETRY_DISTRIBUTED_API std::unique_ptr<dst_Source> dst_ModelSource(const cls_Database& model,
                                                                          const cow_String& meshRoot);

/// The mesh of another split with its results, to be split anew: files in a folder, by default one for temporary files,
/// which is removed with the source, take nodes, elements and results in the order of the whole. Memory is for one part,
/// for the entries of all sets, and for some fields.
CORE_GEOMETRY_DISTRIBUTED_API std::unique_ptr<dst_Source> dst_SplitSource(const dst_SplitFolder& split,
                                                                          const cow_String& workFolder = {});

/// What a mesh in memory does not know itself.
struct dst_MeshBeside {
  cow_String file{};                               ///< that it was read from
  std::function<void(cls_WritePass& index)> put{}; ///< stores what belongs to it beside its sets
  std::vector<odiC_Run> runs{};                    ///< of a model that `put` keeps
  std::vector<cow_String> leftOut{}, warnings{};   ///< for the facts of the source
};

/// A mesh in memory, which the source shares, with its sets.
CORE_GEOMETRY_DISTRIBUTED_API std::unique_ptr<dst_Source> dst_MeshSource(const cow_String& name,
                                                                         const bme_Mesh& mesh,
                                                                         std::vector<bme_NamedSet> sets = {},
                                                                         const dst_MeshBeside& beside = {});
