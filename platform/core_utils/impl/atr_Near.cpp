#include <CoreUtils/atr_Near.h>

#include <algorithm>
#include <array>
#include <cctype>

namespace {
cow_String LowerCase(cow_String text) {
  std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

std::size_t Distance(const cow_String& a, const cow_String& b) {
  // three rows of the table: i letters of a against j letters of b
  std::array<std::vector<std::size_t>, 3> rows;
  for (auto& row : rows) row.resize(b.size() + 1);
  for (std::size_t i = 0; i <= a.size(); ++i) {
    auto &row = rows[i % 3], &above = rows[(i + 2) % 3], &twoAbove = rows[(i + 1) % 3];
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        row[j] = i + j;
        continue;
      }
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (a[i - 1] != b[j - 1] ? 1 : 0)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        row[j] = std::min(row[j], twoAbove[j - 2] + 1);
    }
  }
  return rows[a.size() % 3][b.size()];
}
} // namespace

std::vector<cow_String> atr_NearNames(const cow_String& word, std::span<const cow_String> names,
                                      std::size_t most) {
  const cow_String wanted = LowerCase(word);
  const std::size_t allowed = wanted.size() < 5 ? 1 : std::max<std::size_t>(2, wanted.size() / 3);
  std::vector<std::pair<std::size_t, cow_String>> near;
  for (const cow_String& name : names) {
    const cow_String other = LowerCase(name);
    const std::size_t longer = std::max(other.size(), wanted.size()),
                      shorter = std::min(other.size(), wanted.size());
    if (!wanted.empty() && other.starts_with(wanted))
      near.emplace_back(1, name);
    else if (longer - shorter <= allowed && shorter > 0)
      if (const std::size_t distance = Distance(wanted, other); distance <= allowed && distance < longer)
        near.emplace_back(distance, name);
  }
  std::ranges::stable_sort(near, {}, &std::pair<std::size_t, cow_String>::first);
  std::vector<cow_String> nearest;
  for (std::size_t i = 0; i < std::min(most, near.size()); ++i) nearest.push_back(std::move(near[i].second));
  return nearest;
}

cow_String atr_Alternatives(const cow_String& word, std::span<const cow_String> names) {
  constexpr std::size_t kMost = 12;
  const auto joined = [](std::span<const cow_String> some) {
    cow_String list;
    for (const cow_String& name : some) list += (list.empty() ? "" : ", ") + name;
    return list;
  };
  if (names.empty()) return "; there is none";
  const std::vector<cow_String> near = atr_NearNames(word, names);
  if (!near.empty()) return "; did you mean " + joined(near) + "?";
  const std::size_t shown = std::min(kMost, names.size());
  return "; there is " + joined(names.first(shown))
         + (shown < names.size() ? " and " + std::to_string(names.size() - shown) + " more" : "");
}
