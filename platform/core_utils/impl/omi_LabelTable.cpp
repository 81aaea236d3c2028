#include <CoreUtils/omi_LabelTable.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

unsigned omi_LabelTable::FindNegative(int label) const noexcept { return bySign_[1].Find(Magnitude(label)); }

void omi_LabelTable::Find(std::span<const int> labels, std::span<unsigned> out) const {
  if (labels.size() != out.size())
    throw std::invalid_argument("omi_LabelTable: room for " + std::to_string(out.size()) + " indices of "
                                + std::to_string(labels.size()) + " labels");
  const std::size_t n = labels.size();
  if (bySign_[1].IsEmpty()) // negative labels read as keys that are not there
    return bySign_[0].Lookup(std::span(reinterpret_cast<const unsigned*>(labels.data()), n), out, kNotFound);
  // Part a stretch of labels by sign, without a branch on it: it may come in any order.
  constexpr std::size_t kStretch = 512;
  unsigned keys[2][kStretch], places[2][kStretch], found[kStretch];
  for (std::size_t i = 0; i < n; i += kStretch) {
    std::size_t filled[2] = {0, 0};
    for (std::size_t k = 0; k < std::min(kStretch, n - i); ++k) {
      const bool sign = labels[i + k] < 0;
      keys[sign][filled[sign]] = Magnitude(labels[i + k]);
      places[sign][filled[sign]++] = static_cast<unsigned>(k);
    }
    for (const int sign : {0, 1}) {
      bySign_[sign].Lookup({keys[sign], filled[sign]}, {found, filled[sign]}, kNotFound);
      for (std::size_t k = 0; k < filled[sign]; ++k) out[i + places[sign][k]] = found[k];
    }
  }
}

void omi_LabelTable::Insert(std::span<const int> labels, unsigned firstIndex) {
  const auto negative = static_cast<std::size_t>(
      std::count_if(labels.begin(), labels.end(), [](int label) { return label < 0; }));
  if (negative == 0) { // labels from 0 on are their own keys
    bySign_[0].Insert(std::span(reinterpret_cast<const unsigned*>(labels.data()), labels.size()), firstIndex);
    return;
  }
  // Part the labels by sign, in order.
  std::vector<unsigned> keys[2], indices[2];
  for (const int sign : {0, 1}) {
    const std::size_t n = sign ? negative : labels.size() - negative;
    keys[sign].resize(n);
    indices[sign].resize(n);
  }
  std::size_t filled[2] = {0, 0};
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const bool sign = labels[i] < 0;
    keys[sign][filled[sign]] = Magnitude(labels[i]);
    indices[sign][filled[sign]++] = firstIndex + static_cast<unsigned>(i);
  }
  for (const int sign : {0, 1}) {
    const std::span<const unsigned> itsKeys(keys[sign].data(), filled[sign]);
    omi_KeySurvey survey;
    survey.Add(itsKeys);
    bySign_[sign].Reserve(survey);
    bySign_[sign].Insert(itsKeys, std::span<const unsigned>(indices[sign].data(), filled[sign]));
  }
}
