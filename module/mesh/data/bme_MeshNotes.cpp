#include <CoreGeometry/bme_MeshNotes.h>

#include "bme_Component.h"

#include <cls_Fields.h>
#include <numeric>

constexpr auto bme_Annotation::StoredFields() {
  return cls_Fields{cls_Field{"noted", &bme_Annotation::noted},
                    cls_Field{"number", &bme_Annotation::number},
                    cls_Field{"typeName", &bme_Annotation::typeName},
                    cls_Field{"columns", &bme_Annotation::columns},
                    cls_Field{"values", &bme_Annotation::values},
                    cls_Field{"counts", &bme_Annotation::counts},
                    cls_Field{"order", &bme_Annotation::order},
                    cls_Field{"properties", &bme_Annotation::properties},
                    cls_Field{"propertyValues", &bme_Annotation::propertyValues}};
}

unsigned bme_Annotation::TypeId() noexcept { return bme_TypeId(10); }
unsigned bme_Annotation::DynTypeId() const noexcept { return TypeId(); }
void* bme_Annotation::Ctor(cls_ReadVisitor& visitor) { return new bme_Annotation(visitor); }
void bme_Annotation::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<bme_Annotation>(registrar, "bme_Annotation", 1, StoredFields());
}

bme_Annotation::bme_Annotation() : uid_(cls_Uid::AllocateUid()) {}
bme_Annotation::bme_Annotation(bme_NotedEnm what, int numberOfIt)
    : noted(what), number(numberOfIt), uid_(cls_Uid::AllocateUid()) {}
bme_Annotation::bme_Annotation(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
  const auto numNames = static_cast<std::size_t>(properties.List().Size());
  if (numNames != propertyValues.Size())
    visitor.Refuse("has " + std::to_string(numNames) + " names of properties for "
                   + std::to_string(propertyValues.Size()) + " values");
  const auto numColumns = static_cast<std::size_t>(columns.List().Size());
  if (numColumns > 0 && numColumns != values.NumColumns())
    visitor.Refuse("has " + std::to_string(numColumns) + " names for " + std::to_string(values.NumColumns())
                   + " columns");
}
bme_Annotation::~bme_Annotation() = default;

void bme_Annotation::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

bool bme_Annotation::operator==(const bme_Annotation& other) const {
  return cls_SameFields(*this, other, StoredFields());
}

bool bme_Annotation::IsEmpty() const noexcept {
  return typeName.empty() && values.Const().empty() && order.IsEmpty() && propertyValues.IsEmpty();
}

cow_String bme_Annotation::Misfit(std::size_t numEntries) const {
  const auto of = [&](const char* what, std::size_t count) {
    return std::to_string(count) + " " + what + " for " + std::to_string(numEntries) + " entries";
  };
  if (!order.IsEmpty() && order.Size() != numEntries) return of("positions", order.Size());
  if (!counts.IsEmpty() && counts.Size() != numEntries) return of("counts", counts.Size());
  if (values.Const().empty()) return {};
  const std::span<const int> each = counts.Const();
  if (std::ranges::any_of(each, [](int count) { return count < 0; })) return "negative counts";
  const auto wanted =
      each.empty() ? static_cast<long long>(numEntries) : std::accumulate(each.begin(), each.end(), 0LL);
  return static_cast<long long>(values.NumRows()) == wanted ? cow_String() : of("rows", values.NumRows());
}

constexpr auto bme_MeshNotes::StoredFields() {
  return cls_Fields{cls_Field{"title", &bme_MeshNotes::title},
                    cls_Field{"coordinateNames", &bme_MeshNotes::coordinateNames},
                    cls_Field{"programs", &bme_MeshNotes::programs},
                    cls_Field{"information", &bme_MeshNotes::information},
                    cls_Field{"annotations", &bme_MeshNotes::annotations}};
}

unsigned bme_MeshNotes::TypeId() noexcept { return bme_TypeId(11); }
unsigned bme_MeshNotes::DynTypeId() const noexcept { return TypeId(); }
void* bme_MeshNotes::Ctor(cls_ReadVisitor& visitor) { return new bme_MeshNotes(visitor); }
void bme_MeshNotes::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<bme_MeshNotes>(registrar, "bme_MeshNotes", 1, StoredFields());
}

bme_MeshNotes::bme_MeshNotes() : uid_(cls_Uid::AllocateUid()) {}
bme_MeshNotes::bme_MeshNotes(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
  if (programs.List().Size() % 4 != 0)
    visitor.Refuse("has " + std::to_string(programs.List().Size())
                   + " texts about programs, not four for each");
}
bme_MeshNotes::~bme_MeshNotes() = default;

void bme_MeshNotes::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

bool bme_MeshNotes::operator==(const bme_MeshNotes& other) const {
  return cls_SameFields(*this, other, StoredFields());
}

bool bme_MeshNotes::IsEmpty() const noexcept {
  return title.empty() && coordinateNames.List().IsEmpty() && programs.List().IsEmpty()
         && information.List().IsEmpty() && annotations.Size() == 0;
}
