#include "exo_OutNotes.h"

#include <algorithm>
#include <numeric>

namespace {
std::vector<cow_String> VectorOf(const cls_xpListString& texts) {
  return {texts.List().begin(), texts.List().end()};
}
} // namespace

exo_OutNotes::exo_OutNotes(const bme_MeshNotes* notes, exo_OutMesh& out) : notes_(notes), out_(out) {
  if (!notes_) return;
  for (const bme_Annotation& one : notes_->annotations.List())
    if (!one.IsEmpty() && !waiting_.emplace(std::pair(one.noted, one.number), &one).second) ++numTwice_;
}

const bme_Annotation* exo_OutNotes::Take(bme_NotedEnm noted, int number, std::size_t numEntries) {
  const auto at = waiting_.find({noted, number});
  if (at == waiting_.end()) return nullptr;
  const bme_Annotation* note = at->second;
  if (!note->Misfit(numEntries).empty()) return nullptr;
  waiting_.erase(at);
  return note;
}

void exo_OutNotes::Add(const bme_Annotation& note, exo_OutBlock& block) {
  block.attributes = note.values.Const();
  block.attributeNames = VectorOf(note.columns);
  AddProperties(note, std::nullopt, out_.blocks.size() - 1);
}

void exo_OutNotes::Add(const bme_Annotation& note, std::span<const int> stored, exo_OutSet& set) {
  const std::span<const int> places = note.order.Const(), counts = note.counts.Const();
  std::vector<std::size_t> order(stored.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (!places.empty())
    std::ranges::stable_sort(order, {},
                             [&](std::size_t i) { return places[static_cast<std::size_t>(stored[i])]; });
  const auto arrange = [&](std::vector<int>& numbers) {
    if (places.empty() || numbers.empty()) return;
    std::vector<int> arranged(numbers.size());
    std::ranges::transform(order, arranged.begin(), [&](std::size_t i) { return numbers[i]; });
    numbers = std::move(arranged);
  };
  arrange(set.entries);
  arrange(set.sides);
  const std::span<const double> factors = note.values.Const();
  if (!factors.empty()) {
    std::vector<std::size_t> starts(counts.size());
    for (std::size_t i = 1; i < starts.size(); ++i)
      starts[i] = starts[i - 1] + static_cast<std::size_t>(counts[i - 1]);
    for (const std::size_t i : order) {
      const auto entry = static_cast<std::size_t>(stored[i]);
      const auto part = counts.empty()
                            ? factors.subspan(entry, 1)
                            : factors.subspan(starts[entry], static_cast<std::size_t>(counts[entry]));
      set.factors.insert(set.factors.end(), part.begin(), part.end());
    }
  }
  const auto position = std::ranges::count(out_.sets, set.kind, &exo_OutSet::kind);
  AddProperties(note, set.kind, static_cast<std::size_t>(position));
}

void exo_OutNotes::AddProperties(const bme_Annotation& note, std::optional<exo_SetKind> of,
                                 std::size_t position) {
  std::size_t i = 0;
  for (const cow_String& name : note.properties.List()) {
    auto at = std::ranges::find_if(
        out_.properties, [&](const exo_OutProperty& one) { return one.of == of && one.name == name; });
    if (at == out_.properties.end()) at = out_.properties.insert(at, {of, name, {}});
    at->values.resize(std::max(at->values.size(), position + 1));
    at->values[position] = note.propertyValues.Const()[i++];
  }
}

void exo_OutNotes::Finish(fmt_Ledger& ledger) {
  if (!notes_) return;
  for (exo_OutProperty& one : out_.properties)
    one.values.resize(
        one.of ? static_cast<std::size_t>(std::ranges::count(out_.sets, *one.of, &exo_OutSet::kind))
               : out_.blocks.size());
  const auto note = [&](const char* what, long long count, const char* detail) {
    if (count > 0) ledger.push_back({what, count, detail});
  };
  const std::vector<cow_String> names = VectorOf(notes_->coordinateNames);
  if (static_cast<int>(names.size()) == out_.numDims)
    out_.coordinateNames = names;
  else
    note("names of coordinates", static_cast<long long>(names.size()), "not one for each dimension");
  out_.programs = VectorOf(notes_->programs);
  out_.information = VectorOf(notes_->information);
  const auto longer = [](const std::vector<cow_String>& texts, std::size_t most) {
    return std::ranges::count_if(texts, [&](const cow_String& text) { return text.size() > most; });
  };
  note("ends of records and lines",
       longer(out_.programs, exo_kLongestRecord) + longer(out_.information, exo_kLongestLine),
       "longer than the format allows");
  note("annotations", numTwice_ + static_cast<long long>(waiting_.size()),
       "of classes or sets that are not there, or have another number of entries now");
}
