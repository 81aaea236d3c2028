#include <CoreUtils/omi_LabelTable.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

void omi_LabelTable::Find(std::span<const int> labels, std::span<unsigned> out) const {
  if (labels.size() != out.size())
    throw std::invalid_argument("omi_LabelTable: room for " + std::to_string(out.size()) + " indices of "
                                + std::to_string(labels.size()) + " labels");
  constexpr std::size_t kAhead = 32;
  for (std::size_t i = 0; i < labels.size(); ++i) {
    if (i + kAhead < labels.size()) {
      const int later = labels[i + kAhead];
      bySign_[later < 0].Prefetch(Magnitude(later));
    }
    out[i] = Find(labels[i]);
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
