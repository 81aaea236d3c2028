// bme_FaceTable.h: faces of solids by their corners
#pragma once

#include "bme_ClassWalk.h"

#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

inline constexpr unsigned bme_kNone = bme_kNotFound; ///< ends chains and fills up keys

/// Different corners of a face in ascending order, then bme_kNone.
using bme_FaceKey = std::array<unsigned, 4>;

/// The listed elements of one class of solids, and the corners of its faces.
struct bme_SolidClass {
  bme_SolidClass(const bme_ElementClass& elements, const shp_Shape& ofElements,
                 std::span<const unsigned> listed);

  const int* Row(unsigned element) const noexcept {
    return rows + static_cast<std::size_t>(element - firstElement) * columns;
  }
  std::span<const int> FaceNodes(unsigned word) const noexcept {
    return shape->FaceNodes(static_cast<int>(bme_FaceOf(word)));
  }
  void ChooseCorners();
  /// False after a report that a corner is beyond the nodes.
  bool HasNodes(unsigned element, unsigned numNodes) const;
  /// Number of different corners; the key is in order when it is at least 3.
  unsigned Key(const int* row, unsigned face, bme_FaceKey& key) const noexcept;

  const shp_Shape* shape;
  std::span<const unsigned> words; ///< mesh element indices
  const int* rows;
  std::size_t columns;
  unsigned firstElement;
  unsigned numFaces;
  std::array<std::uint8_t, bme_kMaxWordFaces> numCorners{};
  std::array<std::array<std::uint8_t, 4>, bme_kMaxWordFaces> corners{};
  // the same by corner, for all faces at once
  std::array<std::array<int, bme_kMaxWordFaces>, 4> picks{};
  std::array<int, bme_kMaxWordFaces> isTriangle{}; ///< 0 or all bits
  std::vector<int> elementCorners;
  std::vector<int> everyFace; ///< few corners of which each face has one
};

inline unsigned bme_SolidClass::Key(const int* row, unsigned face, bme_FaceKey& key) const noexcept {
  const auto& local = corners[face];
  const auto order = [&](unsigned& a, unsigned& b) {
    const unsigned low = std::min(a, b);
    b = std::max(a, b);
    a = low;
  };
  auto a = static_cast<unsigned>(row[local[0]]), b = static_cast<unsigned>(row[local[1]]),
       c = static_cast<unsigned>(row[local[2]]), d = bme_kNone;
  if (numCorners[face] == 4) {
    d = static_cast<unsigned>(row[local[3]]);
    order(a, b);
    order(c, d);
    order(a, c);
    order(b, d);
    order(b, c);
  } else {
    order(a, b);
    order(b, c);
    order(a, b);
  }
  key = {a, b, c, d};
  if (a != b && b != c && c != d) [[likely]]
    return numCorners[face];
  const auto end = std::unique(key.begin(), key.begin() + numCorners[face]);
  std::fill(end, key.end(), bme_kNone);
  return static_cast<unsigned>(end - key.begin());
}

/// All classes of solids of a list; looks nodes of words up when corners are not enough.
struct bme_Solids {
  const bme_SolidClass& ClassOf(unsigned word) const noexcept {
    return *(std::ranges::upper_bound(classes, bme_ElementOf(word), {}, &bme_SolidClass::firstElement) - 1);
  }
  bool HaveSameNodes(unsigned wordA, unsigned wordB) const;

  std::vector<bme_SolidClass> classes;
  bool matchAllNodes = false;
};

/// A bit for each node.
class bme_NodeBits {
public:
  explicit bme_NodeBits(std::size_t numNodes) : bits_((numNodes + 63) / 64) {}
  void Set(unsigned node) noexcept { bits_[node / 64] |= std::uint64_t{1} << (node % 64); }
  void SetShared(unsigned node) noexcept { ///< from several threads
    const std::uint64_t bit = std::uint64_t{1} << (node % 64);
    const std::atomic_ref word(bits_[node / 64]);
    if ((word.load(std::memory_order_relaxed) & bit) == 0) word.fetch_or(bit, std::memory_order_relaxed);
  }
  std::size_t Count() const noexcept {
    std::size_t count = 0;
    for (const std::uint64_t bits : bits_) count += static_cast<std::size_t>(std::popcount(bits));
    return count;
  }
  bool Has(unsigned node) const noexcept { return (bits_[node / 64] >> (node % 64) & 1) != 0; }

private:
  std::vector<std::uint64_t> bits_;
};

/// Hash table of the faces that have been seen once: chains of records by smallest corner, several chains for a
/// corner that many faces share. A match removes the waiting face and recycles its record, so the table is
/// bounded by the moving front of the mesh.
class bme_FaceTable {
public:
  /// Empty again, with room for a number of faces whose smallest corners are some nodes from the first on, of which
  /// one in `nodesPerCorner` is a corner.
  void Reset(unsigned firstNode, std::size_t numNodes, std::size_t numFaces, std::size_t nodesPerCorner);

  /// Asks memory for the first record of the key's chain, and answers it.
  unsigned PrefetchFirst(const bme_FaceKey& key) const noexcept {
    const unsigned head = heads_[ChainOf(key)];
    if (head != bme_kNone) __builtin_prefetch(&records_[head], 1);
    return head;
  }
  /// Asks for the record after one that has come; bme_kNone when that one looks like the key's.
  unsigned PrefetchNext(const bme_FaceKey& key, unsigned record) const noexcept {
    if (record == bme_kNone || records_[record].rest[0] == key[1]) return bme_kNone;
    const unsigned next = records_[record].next;
    if (next != bme_kNone) __builtin_prefetch(&records_[next], 1);
    return next;
  }
  /// True when the records do not fit a cache near the processor.
  bool IsLarge() const noexcept { return records_.size() * sizeof(Record) > std::size_t{1} << 20; }
  /// Word of the same face of another element, which leaves the table; bme_kNone when there is none, and the
  /// face waits.
  template<class IsSame> unsigned Match(const bme_FaceKey& key, unsigned word, IsSame isSame) {
    for (unsigned* link = &heads_[ChainOf(key)]; *link != bme_kNone;) {
      Record& record = records_[*link];
      if (record.rest[0] == key[1] && record.rest[1] == key[2] && record.rest[2] == key[3]
          && bme_ElementOf(record.word) != bme_ElementOf(word) && isSame(record.word)) {
        const unsigned freed = *link, partner = record.word;
        *link = record.next;
        record.next = free_;
        free_ = freed;
        return partner;
      }
      link = &record.next;
    }
    Insert(key, word);
    return bme_kNone;
  }

  /// visit(key, word) for every face that still waits.
  template<class Visit> void ForEachWaiting(Visit visit) const {
    for (std::size_t chain = 0; chain < heads_.size(); ++chain)
      for (unsigned at = heads_[chain]; at != bme_kNone; at = records_[at].next) {
        const Record& record = records_[at];
        visit(bme_FaceKey{firstNode_ + static_cast<unsigned>(chain >> chainShift_), record.rest[0],
                          record.rest[1], record.rest[2]},
              record.word);
      }
  }

private:
  struct Record {
    unsigned next;
    unsigned rest[3]; ///< of the key
    unsigned word;
  };
  void Insert(const bme_FaceKey& key, unsigned word);
  std::size_t ChainOf(const bme_FaceKey& key) const noexcept {
    const unsigned others = key[1] ^ key[2] ^ key[3];
    return static_cast<std::size_t>(key[0] - firstNode_) << chainShift_
           | ((others ^ others >> 3) & chainMask_);
  }

  unsigned firstNode_ = 0, chainShift_ = 0, chainMask_ = 0; ///< chains a corner, as a power of 2
  std::vector<unsigned> heads_;
  std::vector<Record> records_;
  unsigned free_ = bme_kNone;
};

inline void bme_FaceTable::Insert(const bme_FaceKey& key, unsigned word) {
  unsigned at = free_;
  if (at != bme_kNone) {
    free_ = records_[at].next;
  } else {
    at = static_cast<unsigned>(records_.size());
    records_.emplace_back();
  }
  unsigned& head = heads_[ChainOf(key)];
  records_[at] = {head, {key[1], key[2], key[3]}, word};
  head = at;
}

/// Bloom filter of matched faces, by hashed key, near the place of a node. A third face of one key finds no record
/// in a table, but its key is in the filter; false positives are recounted exactly in a second pass.
class bme_SeenFaces {
public:
  /// For faces among a number of nodes, of which one in `nodesPerCorner` is a corner.
  bme_SeenFaces(std::size_t numNodes, std::size_t numFaces, std::size_t nodesPerCorner);

  /// True when the face was marked before, or looks like one that was; it is marked now. A filter that several
  /// threads mark is shared.
  bool Mark(const bme_FaceKey& key, std::size_t node, bool isShared) noexcept {
    const auto [place, bits] = PlaceOf(key, node);
    if (isShared)
      return (std::atomic_ref(seen_[place]).fetch_or(bits, std::memory_order_relaxed) & bits) == bits;
    const bool was = (seen_[place] & bits) == bits;
    seen_[place] |= bits;
    return was;
  }
  bool Has(const bme_FaceKey& key, std::size_t node) const noexcept {
    const auto [place, bits] = PlaceOf(key, node);
    return (seen_[place] & bits) == bits;
  }

private:
  struct Place {
    std::size_t word;
    std::uint64_t bits;
  };
  Place PlaceOf(const bme_FaceKey& key, std::size_t node) const noexcept {
    std::uint64_t hash = (key[0] | std::uint64_t{key[2]} << 32) * 0x9E3779B97F4A7C15U;
    hash = (hash ^ hash >> 29 ^ key[3] ^ std::uint64_t{key[1]} << 13) * 0xBF58476D1CE4E5B9U;
    std::uint64_t bits = 0;
    for (const int shift : {58, 52, 46}) bits |= std::uint64_t{1} << (hash >> shift & 63);
    return {(node << shift_) + (hash >> 30 & ((std::uint64_t{1} << shift_) - 1)), bits};
  }
  struct Free {
    void operator()(std::uint64_t* words) const noexcept { std::free(words); }
  };
  unsigned shift_ = 0; ///< words of bits a node, as a power of 2
  std::unique_ptr<std::uint64_t[], Free> seen_;
};

/// Different faces with the elements that have them, counted one element after the other.
class bme_FaceGroups {
public:
  struct Group {
    bme_FaceKey key;
    unsigned next;
    unsigned word; ///< of one that has it
    unsigned lastElement = bme_kNone;
    unsigned count = 0; ///< elements
    bool isCovered = false;
  };

  bme_FaceGroups(std::size_t numNodes, const bme_Solids& solids)
      : heads_(numNodes, bme_kNone), corners_(numNodes), solids_(solids) {}

  void Add(const bme_FaceKey& key, unsigned word);
  bool IsEmpty() const noexcept { return groups_.empty(); }
  std::size_t Count() const noexcept { return groups_.size(); }
  bool IsCorner(unsigned node) const noexcept { return corners_.Has(node); }
  /// Position of the group, bme_kNone when there is none.
  unsigned Find(const bme_FaceKey& key, unsigned word) const;
  unsigned FindByCorners(const bme_FaceKey& key) const noexcept;
  Group& operator[](unsigned group) noexcept { return groups_[group]; }

private:
  std::vector<unsigned> heads_;
  std::vector<Group> groups_;
  bme_NodeBits corners_;
  const bme_Solids& solids_;
};
