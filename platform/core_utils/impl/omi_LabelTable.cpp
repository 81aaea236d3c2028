#include <CoreUtils/omi_LabelTable.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::size_t CountNegative(std::span<const int> labels) {
  return static_cast<std::size_t>(std::ranges::count_if(labels, [](int label) { return label < 0; }));
}

/// Labels from 0 on are their own keys; negative ones become keys that no table of such labels holds.
std::span<const unsigned> AsKeys(std::span<const int> labels) {
  return {reinterpret_cast<const unsigned*>(labels.data()), labels.size()};
}

} // namespace

/// Labels by sign, in their order: the keys and the indices, which count up from the first one.
struct omi_LabelTable::Parted {
  std::vector<unsigned> keys[2], indices[2];

  Parted(std::span<const int> labels, std::size_t negative, unsigned firstIndex) {
    for (const int sign : {0, 1})
      for (auto* part : {&keys[sign], &indices[sign]})
        part->resize(sign ? negative : labels.size() - negative);
    std::size_t filled[2] = {0, 0};
    for (const int label : labels) { // no branch on the sign: it may come in any order
      const bool sign = label < 0;
      keys[sign][filled[sign]] = Magnitude(label);
      indices[sign][filled[sign]++] = firstIndex++;
    }
  }
};

void omi_LabelSurvey::Add(std::span<const int> labels) {
  const std::size_t negative = CountNegative(labels);
  if (negative == 0) return bySign_[0].Add(AsKeys(labels));
  const omi_LabelTable::Parted parted(labels, negative, 0);
  for (const int sign : {0, 1}) bySign_[sign].Add(parted.keys[sign]);
}

void omi_LabelTable::Insert(std::span<const int> labels, unsigned firstIndex) {
  const std::size_t negative = CountNegative(labels);
  if (negative == 0) return bySign_[0].Insert(AsKeys(labels), firstIndex);
  const Parted parted(labels, negative, firstIndex);
  for (const int sign : {0, 1}) {
    omi_KeySurvey survey;
    survey.Add(parted.keys[sign]);
    bySign_[sign].Reserve(survey);
    bySign_[sign].Insert(parted.keys[sign], parted.indices[sign]);
  }
}

unsigned omi_LabelTable::FindNegative(int label) const noexcept { return bySign_[1].Find(Magnitude(label)); }

void omi_LabelTable::Find(std::span<const int> labels, std::span<unsigned> out) const {
  if (labels.size() != out.size())
    throw std::invalid_argument("omi_LabelTable: room for " + std::to_string(out.size()) + " indices of "
                                + std::to_string(labels.size()) + " labels");
  const std::size_t n = labels.size();
  if (bySign_[1].IsEmpty()) return bySign_[0].Lookup(AsKeys(labels), out, kNotFound);
  // No branch on the sign: it may come in any order.
  const auto table = [this](int label) -> const omi_UintTable& { return bySign_[label < 0]; };
  if (bySign_[0].bucketCount_ == 0 || bySign_[1].bucketCount_ == 0) {
    for (std::size_t i = 0; i < n; ++i) out[i] = table(labels[i]).Find(Magnitude(labels[i]));
    return;
  }
  constexpr std::size_t kAhead = omi_UintTable::kAhead;
  const omi_UintTable::Bucket* homes[kAhead];
  for (std::size_t i = 0; i < n + kAhead; ++i) {
    const omi_UintTable::Bucket*& home = homes[i % kAhead];
    if (i >= kAhead) {
      const int label = labels[i - kAhead];
      out[i - kAhead] = table(label).FindFrom(home, Magnitude(label));
    }
    if (i < n) __builtin_prefetch(home = table(labels[i]).Home(Magnitude(labels[i])));
  }
}
