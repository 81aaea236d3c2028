#include "dst_FindingList.h"

#include <algorithm>
#include <cstring>

namespace {
/// Appends numbers as they are, and texts and lists with their lengths.
class Writer {
public:
  template<class Number> void operator()(const Number& value) {
    const std::span<const std::byte> bytes = std::as_bytes(std::span(&value, 1));
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  }
  void operator()(const cow_String& text) {
    (*this)(text.size());
    for (const char c : text) (*this)(c);
  }
  void operator()(const std::vector<long long>& values) {
    (*this)(values.size());
    for (const long long value : values) (*this)(value);
  }
  std::vector<std::byte> Take() { return std::move(bytes_); }

private:
  std::vector<std::byte> bytes_;
};

class Reader {
public:
  explicit Reader(std::span<const std::byte> bytes) : bytes_(bytes) {}
  template<class Number> void operator()(Number& value) {
    std::memcpy(&value, bytes_.data(), sizeof(Number));
    bytes_ = bytes_.subspan(sizeof(Number));
  }
  void operator()(cow_String& text) {
    text.resize(Size());
    for (char& c : text) (*this)(c);
  }
  void operator()(std::vector<long long>& values) {
    values.resize(Size());
    for (long long& value : values) (*this)(value);
  }
  std::size_t Size() {
    std::size_t size = 0;
    (*this)(size);
    return size;
  }

private:
  std::span<const std::byte> bytes_;
};
} // namespace

template<class Archive, class E> void dst_FindingList::Fields(Archive& archive, E& entry) {
  auto& finding = entry.finding;
  archive(entry.place);
  archive(entry.kind);
  archive(finding.weight);
  archive(finding.className);
  archive(finding.object);
  archive(finding.field);
  archive(finding.what);
  archive(finding.advice);
  archive(finding.root);
  archive(finding.labels);
  archive(finding.count);
  archive(finding.file);
}

void dst_FindingList::Add(const dst_FindingPlace& place, dst_Finding finding) {
  entries_.push_back({place, {}, std::move(finding)});
}

void dst_FindingList::AddOf(const cow_String& kind, const dst_FindingPlace& place, dst_Finding finding) {
  if (++kinds_[kind] <= kMost) entries_.push_back({place, kind, std::move(finding)});
}

std::vector<std::byte> dst_FindingList::Bytes() const {
  Writer writer;
  writer(kinds_.size());
  for (const auto& [kind, count] : kinds_) {
    writer(kind);
    writer(count);
  }
  writer(entries_.size());
  for (const Entry& entry : entries_) Fields(writer, entry);
  return writer.Take();
}

dst_FindingList::Merged dst_FindingList::Merge(std::span<const std::vector<std::byte>> lists) {
  Merged merged;
  std::vector<Entry> entries;
  for (const std::vector<std::byte>& bytes : lists) {
    Reader reader(bytes);
    for (std::size_t left = reader.Size(); left > 0; --left) {
      cow_String kind;
      std::int64_t count = 0;
      reader(kind);
      reader(count);
      merged.kinds[kind] += count;
    }
    for (std::size_t left = reader.Size(); left > 0; --left) Fields(reader, entries.emplace_back());
  }
  std::ranges::stable_sort(entries, {}, &Entry::place);
  std::map<cow_String, std::int64_t> told;
  for (Entry& entry : entries)
    if (entry.kind.empty() || ++told[entry.kind] <= kMost)
      merged.findings.push_back(std::move(entry.finding));
  return merged;
}
