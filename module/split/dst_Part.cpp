#include <CoreGeometry/dst_Part.h>

#include "dst_Component.h"

#include <CoreGeometry/bme_EntityWord.h>
#include <algorithm>
#include <cls_Fields.h>

constexpr auto dst_Part::StoredFields() {
  return cls_Fields{cls_Field{"identity", &dst_Part::identity_},
                    cls_Field{"part", &dst_Part::part_},
                    cls_Field{"numParts", &dst_Part::numParts_},
                    cls_Field{"nodeNumbers", &dst_Part::nodeNumbers_},
                    cls_Field{"elementNumbers", &dst_Part::elementNumbers_},
                    cls_Field{"sharedNodes", &dst_Part::sharedNodes_},
                    cls_Field{"holderStarts", &dst_Part::holderStarts_},
                    cls_Field{"holders", &dst_Part::holders_},
                    cls_Field{"positionSubsets", &dst_Part::positionSubsets_},
                    cls_Field{"positionStarts", &dst_Part::positionStarts_},
                    cls_Field{"positions", &dst_Part::positions_}};
}

unsigned dst_Part::TypeId() noexcept { return dst_TypeId(2); }
unsigned dst_Part::DynTypeId() const noexcept { return TypeId(); }
void* dst_Part::Ctor(cls_ReadVisitor& visitor) { return new dst_Part(visitor); }
void dst_Part::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<dst_Part>(registrar, "dst_Part", 1, StoredFields());
}

dst_Part::dst_Part() : uid_(cls_Uid::AllocateUid()) {}
dst_Part::dst_Part(cow_String identity, unsigned part, unsigned numParts, Arrays arrays)
    : identity_(std::move(identity)), part_(part), numParts_(numParts),
      nodeNumbers_(std::move(arrays.nodeNumbers)), elementNumbers_(std::move(arrays.elementNumbers)),
      sharedNodes_(std::move(arrays.sharedNodes)), holderStarts_(std::move(arrays.holderStarts)),
      holders_(std::move(arrays.holders)), positionSubsets_(std::move(arrays.positionSubsets)),
      positionStarts_(std::move(arrays.positionStarts)), positions_(std::move(arrays.positions)),
      uid_(cls_Uid::AllocateUid()) {
  if (const cow_String wrong = WhatIsWrong(); !wrong.empty()) throw nex_TextException(wrong);
}
dst_Part::dst_Part(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
  if (const cow_String wrong = WhatIsWrong(); !wrong.empty()) visitor.Refuse(wrong);
}
dst_Part::~dst_Part() = default;

void dst_Part::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

bool dst_Part::operator==(const dst_Part& other) const {
  return cls_SameFields(*this, other, StoredFields());
}

namespace {
/// Position of the first number that is not above the one before it, the length when all ascend.
std::size_t FirstNotAscending(std::span<const unsigned> numbers) {
  const auto at = std::ranges::adjacent_find(numbers, std::greater_equal<>());
  return at == numbers.end() ? numbers.size() : static_cast<std::size_t>(at - numbers.begin()) + 1;
}

unsigned Find(std::span<const unsigned> ascending, std::uint64_t number) noexcept {
  const auto at = std::ranges::lower_bound(ascending, number);
  return at != ascending.end() && *at == number ? static_cast<unsigned>(at - ascending.begin())
                                                : bme_kNotFound;
}

cow_String WhatIsWrongWithRows(const char* name, std::size_t rows, std::span<const unsigned> starts,
                               std::size_t numbers) {
  const bool fits = starts.size() == rows + 1 && starts.front() == 0 && starts.back() == numbers
                    && std::ranges::is_sorted(starts);
  return fits || (rows == 0 && starts.empty() && numbers == 0)
             ? cow_String()
             : std::to_string(numbers) + " " + name + " do not fit to " + std::to_string(rows) + " rows";
}
} // namespace

cow_String dst_Part::WhatIsWrong() const {
  if (part_ >= numParts_ && numParts_ > 0)
    return "part " + std::to_string(part_) + " of " + std::to_string(numParts_);
  for (const auto& [name, numbers] :
       {std::pair("node numbers", nodeNumbers_.Const()),
        std::pair("element numbers", elementNumbers_.Const()),
        std::pair("shared nodes", sharedNodes_.Const()), std::pair("subsets", positionSubsets_.Const())})
    if (const std::size_t at = FirstNotAscending(numbers); at < numbers.size())
      return cow_String(name) + ": " + std::to_string(numbers[at]) + " at position " + std::to_string(at)
             + " does not follow the one before";
  if (!sharedNodes_.IsEmpty() && sharedNodes_.Const().back() >= NumNodes())
    return "shared node " + std::to_string(sharedNodes_.Const().back()) + " of " + std::to_string(NumNodes())
           + " nodes";
  cow_String wrong = WhatIsWrongWithRows("holders", NumShared(), holderStarts_.Const(), holders_.Size());
  if (wrong.empty())
    wrong =
        WhatIsWrongWithRows("positions", positionSubsets_.Size(), positionStarts_.Const(), positions_.Size());
  for (unsigned shared = 0; wrong.empty() && shared < NumShared(); ++shared) {
    const std::span<const unsigned> others = OtherHolders(shared);
    if (others.empty() || others.back() >= numParts_ || FirstNotAscending(others) < others.size()
        || std::ranges::binary_search(others, part_))
      wrong = "holders of node " + std::to_string(NodeNumber(SharedNodes()[shared]));
  }
  return wrong;
}

unsigned dst_Part::FindNode(std::uint64_t number) const noexcept { return Find(NodeNumbers(), number); }
unsigned dst_Part::FindElement(std::uint64_t number) const noexcept { return Find(ElementNumbers(), number); }
unsigned dst_Part::FindShared(unsigned node) const noexcept { return Find(SharedNodes(), node); }

std::span<const unsigned> dst_Part::OtherHolders(unsigned shared) const noexcept {
  const std::span<const unsigned> starts = holderStarts_.Const();
  return holders_.Const().subspan(starts[shared], starts[shared + 1] - starts[shared]);
}

unsigned dst_Part::OwnerOfShared(unsigned shared) const {
  const std::span<const unsigned> others = OtherHolders(shared);
  std::vector<unsigned> all(others.begin(), others.end());
  all.insert(std::ranges::lower_bound(all, part_), part_);
  return dst_OwnerOf(NodeNumber(SharedNodes()[shared]), all);
}

unsigned dst_Part::OwnerOfNode(unsigned node) const {
  const unsigned shared = FindShared(node);
  return shared == bme_kNotFound ? part_ : OwnerOfShared(shared);
}

std::vector<unsigned> dst_Part::Neighbours() const {
  std::vector<bool> isNeighbour(numParts_);
  for (const unsigned part : holders_.Const()) isNeighbour[part] = true;
  std::vector<unsigned> found;
  for (unsigned part = 0; part < numParts_; ++part)
    if (isNeighbour[part]) found.push_back(part);
  return found;
}

std::span<const unsigned> dst_Part::PositionsOf(unsigned subset) const noexcept {
  const unsigned row = Find(positionSubsets_.Const(), subset);
  if (row == bme_kNotFound) return {};
  const std::span<const unsigned> starts = positionStarts_.Const();
  return positions_.Const().subspan(starts[row], starts[row + 1] - starts[row]);
}

unsigned dst_OwnerOf(std::uint64_t node, std::span<const unsigned> holders) {
  // Steele, Lea, Flood, Fast splittable pseudorandom number generators, 2014: the mixing function
  std::uint64_t mixed = node + 0x9e3779b97f4a7c15ULL;
  mixed = (mixed ^ mixed >> 30) * 0xbf58476d1ce4e5b9ULL;
  mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111ebULL;
  return holders[(mixed ^ mixed >> 31) % holders.size()];
}
