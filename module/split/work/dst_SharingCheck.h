// dst_SharingCheck.h: whether parts name the same nodes as shared
#pragma once

#include <CoreGeometry/dst_Faces.h>
#include <map>

/// A call whose answer depends on shared nodes adds all parts and settles before it delivers. Each part hashes the nodes
/// that it shares with each neighbour, with all their holders; the two hashes of a pair must be the same. Otherwise what
/// one of them sends about a node would be left out silently.
class dst_SharingCheck {
public:
  explicit dst_SharingCheck(dst_Exchange& exchange) : exchange_(exchange), own_(exchange.MyParts()) {}

  void Add(const dst_Part& part); ///< an own part
  /// All ranks call it. One number is summed up.
  /// Errors     nex_TextException naming a pair that differs.
  void Settle();

private:
  using Hash = std::uint32_t;
  void Name();

  dst_Exchange& exchange_;
  dst_OfParts<std::map<unsigned, Hash>> own_; ///< by neighbours
};
