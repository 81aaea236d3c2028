// bme_EntityWord.h: the 32-bit words that address faces and edges of elements, and the index for "not found"
#pragma once

/// The index that every mesh query returns for "not found". No face or edge has it as its word.
inline constexpr unsigned bme_kNotFound = 4294967295U;

/// Bits 0 to 25 hold the mesh element index, bits 26 to 28 the face. The rest is the side of a shell's face
/// (bit 29, set for the back) or the edge of the face (bits 29 and 30).
inline constexpr unsigned bme_kMaxWordElements = 1U << 26;
inline constexpr unsigned bme_kMaxWordFaces = 8;

constexpr unsigned bme_FaceWord(unsigned element, unsigned face, bool isBack = false) noexcept {
  return element | face << 26 | unsigned{isBack} << 29;
}
constexpr unsigned bme_EdgeWord(unsigned element, unsigned face, unsigned edge) noexcept {
  return element | face << 26 | edge << 29;
}
constexpr unsigned bme_ElementOf(unsigned word) noexcept { return word & (bme_kMaxWordElements - 1); }
constexpr unsigned bme_FaceOf(unsigned word) noexcept { return word >> 26 & 7; }
constexpr bool bme_IsBack(unsigned faceWord) noexcept { return (faceWord >> 29 & 1) != 0; }
constexpr unsigned bme_EdgeOf(unsigned edgeWord) noexcept { return edgeWord >> 29 & 3; }

/// Sort key of words in mesh order: by element, then face, then side or edge.
constexpr unsigned bme_MeshOrder(unsigned word) noexcept {
  return bme_ElementOf(word) << 6 | bme_FaceOf(word) << 3 | word >> 29;
}
