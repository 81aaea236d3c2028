#include "shp_LabelIndex.h"

#include <bit>
#include <cstring>
#include <stdexcept>

namespace {
constexpr std::size_t kLongestLabel = 16;

template<class Word> std::uint64_t Load(const char* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

/// The letters a to z among eight bytes in upper case, others as they are.
constexpr std::uint64_t ToUpper(std::uint64_t bytes) {
  constexpr std::uint64_t kEach = 0x0101010101010101, kHighBits = 0x80 * kEach;
  const std::uint64_t low = bytes & ~kHighBits; // sums below stay within their byte
  const std::uint64_t fromA = low + (0x80 - 'a') * kEach;
  const std::uint64_t beyondZ = low + (0x80 - 'z' - 1) * kEach;
  return bytes ^ ((fromA & ~beyondZ & ~bytes & kHighBits) >> 2);
}
static_assert(ToUpper(0x617a7b605a41e1fa) == 0x415a7b605a41e1fa);
} // namespace

shp_LabelIndex::shp_LabelIndex(const omi_Btree<cow_String, LongKey>& labelTable)
    : slots_(std::bit_ceil(2 * labelTable.size() + 1)), shift_(64 - std::countr_zero(slots_.size())) {
  for (const auto& [label, key] : labelTable) {
    if (label.size() > kLongestLabel)
      throw std::length_error("element label " + label + " is longer than 16 bytes");
    const Words words = Pack(label);
    SlotOf(words) = {words, {&label, &key, nullptr}};
  }
}

shp_LabelIndex::Words shp_LabelIndex::Pack(std::string_view label) noexcept {
  // Two loads that overlap cover any size of their range; with the size, the words tell labels apart.
  const char* text = label.data();
  const std::size_t size = label.size();
  Words words{};
  if (size >= 8)
    words = {Load<std::uint64_t>(text), Load<std::uint64_t>(text + size - 8)};
  else if (size >= 4)
    words = {Load<std::uint32_t>(text), Load<std::uint32_t>(text + size - 4)};
  else if (size > 0)
    words = {Load<std::uint8_t>(text) | Load<std::uint8_t>(text + size / 2) * 0x100U,
             Load<std::uint8_t>(text + size - 1)};
  return {ToUpper(words[0]), ToUpper(words[1]), size};
}

shp_LabelIndex::Slot& shp_LabelIndex::SlotOf(const Words& label) noexcept {
  // multiplying by odd constants carries every byte into the top bits
  const std::uint64_t hash =
      (label[0] ^ std::rotl(label[1] * 0x9e3779b97f4a7c15, 32) ^ label[2]) * 0xd6e8feb86659fd93;
  const std::size_t last = slots_.size() - 1;
  for (std::size_t at = hash >> shift_;; at = (at + 1) & last) {
    Slot& slot = slots_[at];
    if (slot.label == label || !slot.entry.label) return slot;
  }
}

shp_LabelIndex::Entry* shp_LabelIndex::Find(std::string_view label) noexcept {
  if (label.size() > kLongestLabel) return nullptr;
  Entry& entry = SlotOf(Pack(label)).entry;
  return entry.label ? &entry : nullptr;
}
