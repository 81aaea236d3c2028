#include <CoreGeometry/dst_Index.h>

#include "dst_Component.h"
#include "dst_Numbers.h"

#include <algorithm>
#include <cls_Fields.h>
#include <cmath>
#include <numeric>

constexpr auto dst_Index::StoredFields() {
  return cls_Fields{cls_Field{"identity", &dst_Index::identity_},
                    cls_Field{"source", &dst_Index::source_},
                    cls_Field{"fingerprint", &dst_Index::fingerprint_},
                    cls_Field{"mesh", &dst_Index::mesh_},
                    cls_Field{"method", &dst_Index::method_},
                    cls_Field{"seed", &dst_Index::seed_},
                    cls_Field{"numNodes", &dst_Index::numNodes_},
                    cls_Field{"numElements", &dst_Index::numElements_},
                    cls_Field{"hasNodeLabels", &dst_Index::hasNodeLabels_},
                    cls_Field{"box", &dst_Index::box_},
                    cls_Field{"classes", &dst_Index::classes_},
                    cls_Field{"partElements", &dst_Index::partElements_},
                    cls_Field{"partNodes", &dst_Index::partNodes_},
                    cls_Field{"partOwned", &dst_Index::partOwned_},
                    cls_Field{"partShared", &dst_Index::partShared_},
                    cls_Field{"partBoxes", &dst_Index::partBoxes_},
                    cls_Field{"nodeLabelRanges", &dst_Index::nodeLabelRanges_},
                    cls_Field{"elementLabelRanges", &dst_Index::elementLabelRanges_},
                    cls_Field{"neighbourStarts", &dst_Index::neighbourStarts_},
                    cls_Field{"neighbours", &dst_Index::neighbours_},
                    cls_Field{"partHashes", &dst_Index::partHashes_},
                    cls_Field{"setRoots", &dst_Index::setRoots_},
                    cls_Field{"subsetStarts", &dst_Index::subsetStarts_},
                    cls_Field{"subsetEntries", &dst_Index::subsetEntries_}};
}

unsigned dst_Index::TypeId() noexcept { return dst_TypeId(1); }
unsigned dst_Index::DynTypeId() const noexcept { return TypeId(); }
void* dst_Index::Ctor(cls_ReadVisitor& visitor) { return new dst_Index(visitor); }
void dst_Index::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<dst_Index>(registrar, "dst_Index", 1, StoredFields());
}

dst_Index::dst_Index() : uid_(cls_Uid::AllocateUid()) {
  neighbourStarts_.Append(0U);
  subsetStarts_.Append(0U);
}

dst_Index::dst_Index(const dst_Origin& origin, std::uint64_t numNodes, bool hasNodeLabels,
                     std::span<const dst_ClassRange> classes)
    : dst_Index() {
  identity_ = origin.identity;
  source_ = origin.source;
  fingerprint_ = origin.fingerprint;
  mesh_ = origin.mesh;
  method_ = origin.method;
  seed_ = origin.seed;
  numNodes_ = dst_Stored(numNodes, "node");
  hasNodeLabels_ = hasNodeLabels;
  std::uint64_t first = 0;
  for (dst_ClassRange one : classes) {
    one.SetNumbers(first, one.NumElements());
    first = one.EndElement();
    classes_.ListToModify().Append(one);
  }
  numElements_ = dst_Stored(first, "element");
}

dst_Index::dst_Index(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
  if (const cow_String wrong = WhatIsWrong(); !wrong.empty()) visitor.Refuse(wrong);
}
dst_Index::~dst_Index() = default;

void dst_Index::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

bool dst_Index::operator==(const dst_Index& other) const {
  return cls_SameFields(*this, other, StoredFields());
}

cow_String dst_Index::WhatIsWrong() const {
  const std::size_t parts = partElements_.Size();
  const auto rows = [](std::span<const unsigned> starts, std::size_t count, std::size_t numbers) {
    return starts.size() == count + 1 && starts.front() == 0 && starts.back() == numbers
           && std::ranges::is_sorted(starts);
  };
  if (partNodes_.Size() != parts || partOwned_.Size() != parts || partShared_.Size() != parts
      || partBoxes_.Size() != 6 * parts || nodeLabelRanges_.Size() != 2 * parts
      || elementLabelRanges_.Size() != 2 * parts
      || static_cast<std::size_t>(partHashes_.List().Size()) != parts
      || !rows(neighbourStarts_.Const(), parts, neighbours_.Size()))
    return "what is stored about " + std::to_string(parts) + " parts does not fit";
  if (const auto sum =
          std::accumulate(partElements_.Const().begin(), partElements_.Const().end(), std::uint64_t{0});
      parts > 0 && sum != numElements_)
    return "parts of " + std::to_string(sum) + " elements in a mesh of " + std::to_string(numElements_);
  if (std::ranges::any_of(neighbours_.Const(), [&](unsigned part) { return part >= parts; }))
    return "a neighbour is not one of " + std::to_string(parts) + " parts";
  if (!rows(subsetStarts_.Const(), NumSets(), subsetEntries_.Size()))
    return "what is stored about " + std::to_string(NumSets()) + " sets does not fit";
  for (const double entries : subsetEntries_.Const())
    if (!(entries >= 0 && entries <= 9007199254740992.0 && entries == std::floor(entries)))
      return std::to_string(entries) + " entries of a set";
  if (!box_.IsEmpty() && box_.Size() != 6) return "a box of " + std::to_string(box_.Size()) + " numbers";
  std::uint64_t first = 0;
  for (const dst_ClassRange& one : classes_.List()) {
    if (one.FirstElement() != first)
      return "class " + one.ElemTypeLabel() + " begins at element " + std::to_string(one.FirstElement())
             + ", not " + std::to_string(first);
    first = one.EndElement();
  }
  return first == numElements_ ? cow_String()
                               : "classes of " + std::to_string(first) + " elements in a mesh of "
                                     + std::to_string(numElements_);
}

dst_Origin dst_Index::Origin() const { return {identity_, source_, fingerprint_, mesh_, method_, seed_}; }

bool dst_Index::HasElementLabels() const noexcept {
  return numElements_ > 0 && std::ranges::all_of(classes_.List(), [](const dst_ClassRange& one) {
           return one.NumElements() == 0 || one.HasLabels();
         });
}

namespace {
gsl_BBox BoxOf(std::span<const float> box) {
  return box.size() == 6 && box[0] <= box[3]
             ? gsl_BBox(gsl_Point(box[0], box[1], box[2]), gsl_Point(box[3], box[4], box[5]))
             : gsl_BBox();
}
} // namespace

gsl_BBox dst_PartFacts::Box() const { return BoxOf(box); }
gsl_BBox dst_Index::Box() const { return BoxOf(box_.Const()); }
void dst_Index::SetBox(std::span<const float, 6> box) {
  box_ = cls_xp1DArrayList<float>(std::span<const float>(box));
}

unsigned dst_Index::ClassOf(std::uint64_t element) const {
  unsigned found = 0;
  while (Class(found).EndElement() <= element) ++found;
  return found;
}

std::uint64_t dst_Index::NumEntries(unsigned set, unsigned subset) const {
  return static_cast<std::uint64_t>(subsetEntries_.Const()[FirstSubset(set) + subset]);
}

dst_PartFacts dst_Index::Part(unsigned part) const {
  dst_PartFacts facts{.numElements = partElements_.ConstGet(part),
                      .numNodes = partNodes_.ConstGet(part),
                      .numOwned = partOwned_.ConstGet(part),
                      .numShared = partShared_.ConstGet(part)};
  std::ranges::copy(partBoxes_.Const().subspan(std::size_t{6} * part, 6), facts.box);
  std::ranges::copy(nodeLabelRanges_.Const().subspan(std::size_t{2} * part, 2), facts.nodeLabels);
  std::ranges::copy(elementLabelRanges_.Const().subspan(std::size_t{2} * part, 2), facts.elementLabels);
  const unsigned first = neighbourStarts_.Const()[part], end = neighbourStarts_.Const()[part + 1];
  const auto row = neighbours_.Const().subspan(first, end - first);
  facts.neighbours.assign(row.begin(), row.end());
  facts.hash = partHashes_.List().ConstGet(static_cast<int>(part));
  return facts;
}

void dst_Index::AddPart(const dst_PartFacts& facts) {
  partElements_.Append(dst_Stored(facts.numElements, "element"));
  partNodes_.Append(dst_Stored(facts.numNodes, "node"));
  partOwned_.Append(dst_Stored(facts.numOwned, "node"));
  partShared_.Append(dst_Stored(facts.numShared, "node"));
  partBoxes_.Append(facts.box);
  nodeLabelRanges_.Append(facts.nodeLabels);
  elementLabelRanges_.Append(facts.elementLabels);
  neighbours_.Append(facts.neighbours);
  neighbourStarts_.Append(dst_Stored(neighbours_.Size(), "neighbour"));
  partHashes_.ListToModify().Append(facts.hash);
}

void dst_Index::AddSet(const cow_String& root, std::span<const std::uint64_t> entriesOfSubsets) {
  setRoots_.ListToModify().Append(root);
  for (const std::uint64_t entries : entriesOfSubsets) subsetEntries_.Append(static_cast<double>(entries));
  subsetStarts_.Append(dst_Stored(subsetEntries_.Size(), "subset"));
}
