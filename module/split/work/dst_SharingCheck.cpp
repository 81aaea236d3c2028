#include "dst_SharingCheck.h"

#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/uti_Fingerprint.h>
#include <algorithm>

void dst_SharingCheck::Add(const dst_Part& part) {
  std::map<unsigned, std::vector<unsigned>> nodes; // by neighbours: all holders and number of each
  std::vector<unsigned> record;
  for (unsigned shared = 0; shared < part.NumShared(); ++shared) {
    const std::span<const unsigned> others = part.OtherHolders(shared);
    record.assign(others.begin(), others.end());
    record.insert(std::ranges::lower_bound(record, part.Number()), part.Number());
    record.push_back(part.NodeNumbers()[part.SharedNodes()[shared]]);
    for (const unsigned other : others) nodes[other].insert(nodes[other].end(), record.begin(), record.end());
  }
  for (const auto& [other, words] : nodes)
    own_[part.Number()][other] = static_cast<Hash>(uti_Fingerprint(std::as_bytes(std::span(words)))[0]);
}

void dst_SharingCheck::Settle() {
  std::int64_t sum = 0; // 0 when each pair has added and subtracted the same
  exchange_.ForEachPart([&](unsigned part) {
    for (const auto& [other, hash] : own_[part])
      sum += part < other ? std::int64_t{hash} : -std::int64_t{hash};
  });
  exchange_.Sum({&sum, 1});
  if (sum != 0) Name();
}

/// Throws what part differs from what other one.
void dst_SharingCheck::Name() {
  exchange_.SetNumParts(exchange_.NumParts()); // forgets the messages of the call
  exchange_.ForEachPart([&](unsigned part) {
    for (const auto& [other, hash] : own_[part]) exchange_.SendRecord(part, other, hash);
  });
  exchange_.Deliver();
  exchange_.ForEachPart([&](unsigned part) {
    std::map<unsigned, Hash> theirs;
    for (const dst_Message& message : exchange_.Received(part))
      theirs[message.from] = message.As<Hash>().front();
    const auto differs = std::ranges::mismatch(own_[part], theirs);
    if (differs.in1 == own_[part].end() && differs.in2 == theirs.end()) return;
    const unsigned other = differs.in1 == own_[part].end() ? differs.in2->first
                           : differs.in2 == theirs.end()   ? differs.in1->first
                                                           : std::min(differs.in1->first, differs.in2->first);
    throw nex_TextException("the nodes that it shares with part " + std::to_string(other)
                            + " are not those that part " + std::to_string(other)
                            + " shares with it; check the split");
  });
  exchange_.Agree();
}
