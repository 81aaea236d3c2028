#include "dst_Hash.h"

#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/dst_Part.h>

void dst_Hash::AddBytes(std::span<const std::byte> bytes) {
  const uti_FingerprintBits own = uti_Fingerprint(bytes);
  const std::array<std::uint64_t, 5> chain{state_[0], state_[1], bytes.size(), own[0], own[1]};
  state_ = uti_Fingerprint(std::as_bytes(std::span(chain)));
}

cow_String dst_Hash::Text() const {
  constexpr char kDigits[] = "0123456789abcdef";
  cow_String text;
  for (const std::uint64_t word : state_)
    for (int shift = 60; shift >= 0; shift -= 4) text += kDigits[word >> shift & 15];
  return text;
}

cow_String dst_HashOf(const bme_Mesh& mesh, const dst_Part& part) {
  dst_Hash hash;
  hash.Add(mesh.NodeData().Coordinates().Const());
  hash.Add(mesh.NodeData().UserNodeLabels().Const());
  for (const auto& [index, elements] : mesh.ElementData().ElementClasses()) {
    hash.Add(elements->ElementConnectivity().Const());
    hash.Add(elements->UserElementLabels());
  }
  hash.Add(part.NodeNumbers());
  hash.Add(part.ElementNumbers());
  hash.Add(part.SharedNodes());
  for (unsigned shared = 0; shared < part.NumShared(); ++shared) hash.Add(part.OtherHolders(shared));
  return hash.Text();
}
