#include <CoreGeometry/dtu_DatumContainer.h>

#include "dtu_Component.h"
#include <CoreGeometry/dtmC_DatumRef.h>
#include <CoreGeometry/dtu_6dofNodeDatumCsys.h>
#include <algorithm>
#include <cls_Fields.h>
#include <limits>
#include <memory>

namespace {
constexpr unsigned kMaxId = std::numeric_limits<int>::max();

cow_String IdText(long long id) { return "datum " + std::to_string(id); }

/// A reference to the same axis as the other one, if the datum has axes.
dtmC_DatumRef ReferenceTo(const dtu_Datum& datum, const cow_List<cow_String>& owners, int axisId) {
  return {static_cast<int>(datum.GetOwnerFeatID()), static_cast<int>(datum.GetInstFeatID()), owners,
          datum.GetDatumType() == dtu_CSYS ? axisId : 0};
}
} // namespace

dtu_DatumNames::dtu_DatumNames(const cls_ReadVisitor& visitor) {
  int position = 0;
  for (const cow_String& name : visitor.GetTexts()) names_.Insert(position++, name);
}

void dtu_DatumNames::DBWrite(const cls_WriteVisitor& visitor) const {
  std::vector<cow_String> texts;
  for (const auto& [id, name] : names_) texts.push_back(name);
  visitor.PutTexts(texts);
}

void dtu_DatumNames::Set(int id, const cow_String& name) {
  Erase(id);
  names_.Insert(id, name);
  ids_.Insert(name, id);
}

void dtu_DatumNames::Erase(int id) {
  if (const cow_String* name = Find(id)) ids_.Erase(cow_String(*name));
  names_.Erase(id);
}

constexpr auto dtu_DatumContainer::StoredFields() {
  return cls_Fields{cls_Field{"_ownerNames", &dtu_DatumContainer::ownerNames_},
                    cls_Field{"_datums", &dtu_DatumContainer::datums_},
                    cls_Field{"_names", &dtu_DatumContainer::names_},
                    cls_Field{"_next_feat_id", &dtu_DatumContainer::nextId_}};
}

unsigned dtu_DatumContainer::TypeId() noexcept { return dtu_kDatumContainer; }
unsigned dtu_DatumContainer::DynTypeId() const noexcept { return TypeId(); }
void* dtu_DatumContainer::Ctor(cls_ReadVisitor& visitor) { return new dtu_DatumContainer(visitor); }
void dtu_DatumContainer::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<dtu_DatumContainer>(registrar, "dtu_DatumContainer", dtu_kVersion, StoredFields());
}

dtu_DatumContainer::dtu_DatumContainer(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
  if (names_.Count() != Count())
    visitor.Refuse(std::to_string(Count()) + " datums have " + std::to_string(names_.Count()) + " names");
  const dtu_DatumNames stored = names_;
  names_ = {};
  int position = 0;
  for (const auto& [id, datum] : datums_) {
    const cow_String& name = *stored.Find(position++);
    if (id <= 0 || datum->GetOwnerFeatID() != static_cast<unsigned>(id))
      visitor.Refuse(IdText(datum->GetOwnerFeatID()) + " is kept by the identifier " + std::to_string(id));
    if (name.empty()) visitor.Refuse(IdText(id) + " has no name");
    if (const int* other = names_.Find(name))
      visitor.Refuse(IdText(id) + " has the name \"" + name + "\" of " + IdText(*other));
    names_.Set(id, name);
    nextId_ = std::max(nextId_, static_cast<unsigned>(id) + 1);
  }
}

void dtu_DatumContainer::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

const dtu_Datum* dtu_DatumContainer::Find(int id) const {
  return datums_.Has(id) ? &datums_.Get(id) : nullptr;
}

const dtu_Datum* dtu_DatumContainer::Find(const cow_String& name) const {
  const int* id = names_.Find(name);
  return id ? &datums_.Get(*id) : nullptr;
}

const dtu_Datum* dtu_DatumContainer::Find(const dtmC_DatumRef& reference) const {
  const dtu_Datum* datum = reference.IsNullRef() ? nullptr : Find(reference.DatumId());
  return datum && reference == ReferenceTo(*datum, OwnerNames(), reference.AxisId()) ? datum : nullptr;
}

std::vector<int> dtu_DatumContainer::OfKind(dtu_DatumType kind) const {
  std::vector<int> ids;
  for (const auto& [id, datum] : datums_)
    if (datum->GetDatumType() == kind) ids.push_back(id);
  return ids;
}

const dtu_Datum& dtu_DatumContainer::Get(int id) const {
  if (const dtu_Datum* datum = Find(id)) return *datum;
  throw nex_TextException("there is no " + IdText(id));
}

const cow_String& dtu_DatumContainer::NameOf(int id) const {
  Get(id);
  return *names_.Find(id);
}

int dtu_DatumContainer::IdOf(const cow_String& name) const {
  if (const int* id = names_.Find(name)) return *id;
  throw nex_TextException("there is no datum \"" + name + "\"");
}

bool dtu_DatumContainer::operator==(const dtu_DatumContainer& other) const {
  return ownerNames_ == other.ownerNames_ && names_ == other.names_
         && std::ranges::equal(datums_, other.datums_, [](const auto& mine, const auto& others) {
              return mine.first == others.first && *mine.second == *others.second;
            });
}

void dtu_DatumContainer::ExpectFreeName(const cow_String& name) const {
  if (name.empty()) throw nex_TextException("a datum needs a name");
  if (const int* id = names_.Find(name))
    throw nex_TextException("the name \"" + name + "\" is that of " + IdText(*id));
}

int dtu_DatumContainer::Add(const dtu_Datum& datum, const cow_String& name) {
  const unsigned id = datum.GetOwnerFeatID() != 0 ? datum.GetOwnerFeatID() : nextId_;
  if (id > kMaxId)
    throw nex_TextException(datum.GetOwnerFeatID() != 0
                                ? IdText(id) + " is above the largest identifier, 2147483647"
                                : "no identifier is left above 2147483647 for the datum \"" + name + "\"");
  const int key = static_cast<int>(id);
  if (datums_.Has(key)) throw nex_TextException(IdText(id) + " is there already, \"" + NameOf(key) + "\"");
  ExpectFreeName(name);
  std::unique_ptr<dtu_Datum> copy(datum.Copy());
  copy->featId_ = id;
  datums_.Insert(key, Datums::Handle(copy.release()));
  names_.Set(key, name);
  nextId_ = std::max(nextId_, id + 1);
  return key;
}

void dtu_DatumContainer::Replace(int id, const dtu_Datum& datum) {
  Get(id);
  std::unique_ptr<dtu_Datum> copy(datum.Copy());
  copy->featId_ = static_cast<unsigned>(id);
  datums_.Insert(id, Datums::Handle(copy.release()));
}

void dtu_DatumContainer::Rename(int id, const cow_String& name) {
  if (NameOf(id) == name) return;
  ExpectFreeName(name);
  names_.Set(id, name);
}

void dtu_DatumContainer::Remove(int id) {
  Get(id);
  datums_.Erase(id);
  names_.Erase(id);
}

void dtu_DatumContainer::TransformData(const gsl_Matrix& matrix) {
  std::vector<int> ids;
  for (const auto& [id, datum] : datums_) ids.push_back(id);
  for (const int id : ids) datums_.GetToModify(id).TransformData(matrix);
}

void dtu_DatumContainer::UpdateOutlines(const gsl_BBox& box) {
  for (const dtu_DatumType kind : {dtu_AXIS, dtu_PLANE})
    for (const int id : OfKind(kind)) datums_.GetToModify(id).UpdateOutline(box);
}

template<class Csys> Csys& dtu_DatumContainer::ToRegenerate(int id, const char* kind) {
  if (!dynamic_cast<const Csys*>(&Get(id)))
    throw nex_TextException(IdText(id) + ", \"" + NameOf(id) + "\", is no coordinate system that follows "
                            + kind);
  return static_cast<Csys&>(datums_.GetToModify(id));
}

bool dtu_DatumContainer::Regenerate(int id, const dtu_NodesCoordPackage& coords, bool display) {
  return ToRegenerate<dtu_DynamicDatumCsys>(id, "three nodes").Regenerate(coords, display);
}

void dtu_DatumContainer::Regenerate(int id, const dtu_6dofNodeCoord& coords, bool display) {
  ToRegenerate<dtu_6dofNodeDatumCsys>(id, "one node").Regenerate(coords, display);
}
