// dst_BorderFaces.h: faces that elements of other parts may have, too, and what all parts know about them together
#pragma once

#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/dst_Model.h>
#include <array>

/// A face by its nodes in the whole mesh. Different ones in ascending order, filled up with bme_kNotFound.
struct dst_FaceKey {
  std::array<unsigned, 4> corners;
  std::array<unsigned, bme_LocalNodes::kMost> nodes; ///< unused unless all nodes count

  auto operator<=>(const dst_FaceKey&) const = default;
};

/// What is known about a face, in one part or in all.
struct dst_FaceFacts {
  static constexpr unsigned kMost = 3; ///< three solids stand for more as well
  enum Flag : unsigned { kCovered = 1, kOfOthers = 2 };

  unsigned numSolids = 0, flags = 0;
  void Add(const dst_FaceFacts& other) noexcept {
    numSolids = std::min(kMost, numSolids + other.numSolids);
    flags |= other.flags;
  }
  unsigned Word() const noexcept { return numSolids | flags << 2U; }
  static dst_FaceFacts FromWord(unsigned word) noexcept { return {word & 3U, word >> 2U}; }
};

/// The faces of some elements of a part whose corners one other part holds, too.
class dst_BorderFaces {
public:
  struct Face {
    dst_FaceKey key;
    unsigned word;
    bool isSolid;
    unsigned flags; ///< of its elements
  };
  /// Faces with the same key.
  struct Group {
    std::size_t first, end;
    unsigned referee; ///< the part that counts for all
  };

  dst_BorderFaces(const dst_OpenPart& part, const bme_FaceOptions& options)
      : part_(part), options_(options) {}
  void Add(const bme_FEMElemList& elements, unsigned flags = 0); ///< surfaces, too, when they cover solids
  void Arrange();                                                ///< after all are added
  const std::vector<Group>& Groups() const noexcept { return groups_; }
  std::span<const Face> Faces(const Group& group) const noexcept {
    return std::span(faces_).subspan(group.first, group.end - group.first);
  }
  dst_FaceFacts FactsOf(const Group& group) const noexcept;

private:
  const dst_OpenPart& part_;
  const bme_FaceOptions& options_;
  std::vector<Face> faces_;
  std::vector<Group> groups_;
};

/// Makes the border faces of a part, the same at each call.
using dst_MakeBorderFaces = std::function<dst_BorderFaces(const dst_OpenPart& part)>;
/// Calls settle(part number, border faces, facts of each group in all parts) for each own part, in the work of it.
void dst_SettleBorderFaces(
    const dst_Mesh& mesh, const bme_FaceOptions& options, const dst_MakeBorderFaces& make,
    const std::function<void(unsigned, const dst_BorderFaces&, std::span<const dst_FaceFacts>)>& settle);
