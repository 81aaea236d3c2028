// dst_PartSets.h: the sets of a mesh from the files of its parts
#pragma once

#include <CoreGeometry/dst_Source.h>
#include <CoreGeometry/fmt_Ranges.h>
#include <map>

/// Sets of all files, one after the other, with numbers in the whole. Those of blocks, the first ones, are all elements
/// of a class and are not held.
class dst_PartSets {
public:
  /// Adds the entries that a file has, whose nodes and elements have these numbers in the whole.
  void Take(const fmt_Ranges& ranges, std::span<const unsigned> nodeNumbers,
            std::span<const unsigned> elementNumbers, unsigned part, const cow_String& file);
  /// Makes the sets, in the order of their roots. Of several files a node has the entries of the one with the most of
  /// it; entries are put into ascending order, which a warning tells that changes the order in a file.
  void Finish(dst_SourceFacts& facts, bool areSeveral);
  void Read(unsigned set, unsigned subset, std::uint64_t first, std::span<unsigned> numbers,
            std::span<int> facets) const;
  std::span<const bme_NamedSet> All() const noexcept { return sets_; }

private:
  struct Entry {
    unsigned number = 0; ///< in the whole
    int more = 0;        ///< the part of a node, the facet of an element
  };
  struct Subset {
    std::vector<Entry> entries;
    bool hasFacets = false;
  };
  using Key = std::pair<int, int>; ///< class, and place of the kind in the order of an import
  static void Order(std::vector<Entry>& entries, bool areNodes);
  void AddBlock(std::size_t set, const dst_SourceFacts& facts);
  void AddSet(std::size_t set, dst_SourceFacts& facts, bool areSeveral);

  std::vector<bme_NamedSet> sets_; ///< those of blocks without entries
  std::size_t numBlocks_ = 0;
  std::vector<std::map<Key, Subset>> gathered_; ///< of each set
  std::vector<char> isOrdered_;                 ///< of each set: in every file
  std::vector<std::uint64_t> firsts_;           ///< of each set of a block: its first element
  std::vector<unsigned> order_;                 ///< of the sets by their roots
};
