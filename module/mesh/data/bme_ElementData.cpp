#include <CoreGeometry/bme_ElementData.h>

#include "bme_Component.h"
#include "bme_FindLabels.h"

#include <CoreGeometry/bme_FEMElemList.h>
#include <cls_Fields.h>
#include <limits>

namespace {
static_assert(bme_kNotFound == omi_LabelTable::kNotFound);

void CheckGiven(bool isNull, int position) {
  if (isNull) throw nex_AssertionException("element class " + std::to_string(position) + " is null");
}
} // namespace

constexpr auto bme_ElementData::StoredFields() {
  return cls_Fields{cls_Field{"classes", &bme_ElementData::classes_}};
}

unsigned bme_ElementData::TypeId() noexcept { return bme_TypeId(4); }
unsigned bme_ElementData::DynTypeId() const noexcept { return TypeId(); }
void* bme_ElementData::Ctor(cls_ReadVisitor& visitor) { return new bme_ElementData(visitor); }
void bme_ElementData::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<bme_ElementData>(registrar, "bme_ElementData", 319, StoredFields());
}

bme_ElementData::bme_ElementData() : uid_(cls_Uid::AllocateUid()) {}
bme_ElementData::bme_ElementData(bme_ElementClass** classes, unsigned count) : bme_ElementData() {
  for (bme_ElementClass** at = classes; at != classes + count; ++at)
    classes_.Insert(classes_.Count(), cow_COW<bme_ElementClass>(*at));
  for (const auto& [position, elements] : classes_) CheckGiven(elements.IsNull(), position);
  Init();
}
bme_ElementData::bme_ElementData(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
  try {
    Init();
  } catch (const nex_TextException& failure) {
    cls_ReadVisitor(visitor, "classes").Refuse(failure.Message());
  }
}
bme_ElementData::~bme_ElementData() = default;

void bme_ElementData::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

void bme_ElementData::Init() {
  Number();
  labelRange_.isValid = false;
}

void bme_ElementData::Number() {
  // ascending keys are 0 to the count - 1 when the first and the last are
  if (classes_.Count() != 0
      && (classes_.begin()->first != 0 || std::prev(classes_.end())->first != classes_.Count() - 1)) {
    Classes renumbered;
    for (const auto& [position, elements] : Classes(classes_))
      renumbered.Insert(renumbered.Count(), elements);
    classes_ = renumbered;
  }
  firstOfClass_.assign(1, 0);
  for (int position = 0; position < classes_.Count(); ++position) {
    const bme_ElementClass& elements = classes_.Get(position);
    const unsigned first = firstOfClass_.back();
    const unsigned long long total =
        static_cast<unsigned long long>(first) + static_cast<unsigned>(elements.NumElements());
    if (total > static_cast<unsigned>(std::numeric_limits<int>::max()))
      throw nex_TextException("element class " + std::to_string(position) + " (" + elements.ElemTypeLabel()
                              + "): the mesh would have " + std::to_string(total)
                              + " elements, more than 2147483647");
    // a class that is right already stays shared
    if (elements.ClassIndex() != position || elements.FirstElementIndex() != static_cast<int>(first)) {
      bme_ElementClass& changed = classes_.GetToModify(position);
      changed.SetClassIndex(position);
      changed.SetFirstElementIndex(static_cast<int>(first));
    }
    firstOfClass_.push_back(static_cast<unsigned>(total));
  }
  labels_.isValid = false;
}

const bme_ElementClass& bme_ElementData::GetClass(unsigned classIndex) const {
  if (classIndex >= NumClasses()) throw nex_OutOfRangeException(classIndex, NumClasses());
  return classes_.Get(static_cast<int>(classIndex));
}

const bme_ElementClass& bme_ElementData::GetElemClass(unsigned element) const {
  if (element >= NumElements()) throw nex_OutOfRangeException(element, NumElements());
  return GetClass(GetClassIndex(element));
}

unsigned bme_ElementData::GetClassIndex(unsigned element) const noexcept {
  if (element >= NumElements()) return bme_kNotFound;
  return static_cast<unsigned>(std::ranges::upper_bound(firstOfClass_, element) - firstOfClass_.begin()) - 1;
}

unsigned bme_ElementData::GetClassElemIndex(unsigned element) const noexcept {
  const unsigned classIndex = GetClassIndex(element);
  return classIndex == bme_kNotFound ? bme_kNotFound : element - firstOfClass_[classIndex];
}

bool bme_ElementData::GetClassAndElemIndex(unsigned element, unsigned& classIndex,
                                           unsigned& inClass) const noexcept {
  classIndex = GetClassIndex(element);
  inClass = classIndex == bme_kNotFound ? bme_kNotFound : element - firstOfClass_[classIndex];
  return classIndex != bme_kNotFound;
}

unsigned bme_ElementData::GetMeshElemIndexFromClass(unsigned classIndex, unsigned inClass) const noexcept {
  if (classIndex >= NumClasses() || inClass >= firstOfClass_[classIndex + 1] - firstOfClass_[classIndex])
    return bme_kNotFound;
  return firstOfClass_[classIndex] + inClass;
}

void bme_ElementData::LabelRange::Add(std::span<const int> labels) {
  if (labels.empty()) return;
  const auto [low, high] = std::ranges::minmax(labels);
  smallest = std::min<long long>(smallest, low);
  largest = std::max<long long>(largest, high);
}

bool bme_ElementData::AreLabelsImplicit() const {
  return std::any_of(classes_.begin(), classes_.end(), [](const auto& entry) {
    return entry.second->NumElements() > 0 && !entry.second->HasUserElementLabels();
  });
}

const bme_ElementData::LabelRange& bme_ElementData::RangeOfLabels() const {
  LabelRange& range = labelRange_.content;
  if (!labelRange_.isValid) {
    range = LabelRange();
    range.areImplicit = AreLabelsImplicit();
    if (!range.areImplicit)
      for (const auto& [position, elements] : classes_) range.Add(elements->UserElementLabels());
    labelRange_.isValid = true;
  }
  nextAvailableLabel_ = std::max(nextAvailableLabel_, range.largest + 1);
  return range;
}

const omi_LabelTable& bme_ElementData::Labels() const {
  if (labels_.isValid) return labels_.content;
  omi_LabelTable table;
  if (!RangeOfLabels().areImplicit) {
    omi_LabelSurvey survey; // the form of the table is chosen once, for all classes
    for (const auto& [position, elements] : classes_) survey.Add(elements->UserElementLabels());
    table.Reserve(survey);
    for (const auto& [position, elements] : classes_)
      table.Insert(elements->UserElementLabels(), firstOfClass_[static_cast<std::size_t>(position)]);
  }
  labels_.content = std::move(table);
  labels_.isValid = true;
  return labels_.content;
}

unsigned bme_ElementData::GetMeshElemIndexFromLabel(unsigned label) const {
  const omi_LabelTable& table = Labels();
  if (table.IsEmpty()) return label >= 1 && label <= NumElements() ? label - 1 : bme_kNotFound;
  return table.Find(static_cast<int>(label));
}

void bme_ElementData::GetMeshElemIndices(std::span<const int> labels, std::span<unsigned> indices) const {
  const omi_LabelTable& table = Labels();
  if (!table.IsEmpty())
    bme_FindLabels(table, labels, indices);
  else
    std::ranges::transform(labels, indices.begin(), [&](int label) {
      return GetMeshElemIndexFromLabel(static_cast<unsigned>(label));
    });
}

int bme_ElementData::CheckUserElementLabels(const cow_List<int>& labels) const {
  const omi_LabelTable& table = Labels();
  int position = 0;
  for (const int label : labels) {
    if (table.Find(label) == bme_kNotFound) break;
    ++position;
  }
  return position;
}

bool bme_ElementData::HasUserElementLabels() const {
  return NumElements() > 0 && !RangeOfLabels().areImplicit;
}

int bme_ElementData::CheckedLabel(long long label) const {
  if (label < std::numeric_limits<int>::min() || label > std::numeric_limits<int>::max())
    throw nex_TextException("no element label is left: " + std::to_string(label) + " does not fit 32 bits");
  return static_cast<int>(label);
}

int bme_ElementData::GetNextAvailableLabel() const {
  RangeOfLabels();
  return CheckedLabel(nextAvailableLabel_);
}

int bme_ElementData::GetNextAvailableInternalLabel() const {
  return CheckedLabel(std::min(-1LL, RangeOfLabels().smallest - 1));
}

int bme_ElementData::GetMaximalUserLabel() const {
  const LabelRange& range = RangeOfLabels();
  return HasUserElementLabels() ? static_cast<int>(range.largest) : static_cast<int>(NumElements());
}

bme_ElementClass& bme_ElementData::GetClassToModify(unsigned classIndex) {
  if (classIndex >= NumClasses()) throw nex_OutOfRangeException(classIndex, NumClasses());
  labels_.isValid = labelRange_.isValid = false;
  return classes_.GetToModify(static_cast<int>(classIndex));
}

bool bme_ElementData::AddElementClass(bme_ElementClass* elements) {
  if (!elements) return false;
  classes_.Insert(classes_.Count(), cow_COW<bme_ElementClass>(elements));
  Init();
  return true;
}

void bme_ElementData::AppendClasses(const bme_ElementData& other) {
  for (const auto& [position, elements] : Classes(other.classes_))
    classes_.Insert(classes_.Count(), elements);
  Init();
}

void bme_ElementData::ReplaceElemClasses(const Classes& classes) {
  for (const auto& [position, elements] : classes) CheckGiven(elements.IsNull(), position);
  classes_ = classes;
  Init();
}

bool bme_ElementData::RemoveElementClass(unsigned classIndex) {
  if (!RemoveElementClassNoInit(classIndex)) return false;
  Init();
  return true;
}

bool bme_ElementData::RemoveElementClassNoInit(unsigned classIndex) {
  if (classIndex >= NumClasses()) return false;
  Classes kept;
  for (const auto& [position, elements] : classes_)
    if (position != static_cast<int>(classIndex)) kept.Insert(kept.Count(), elements);
  classes_ = kept;
  return true;
}

bool bme_ElementData::AddElements(unsigned classIndex, const cow_List<int>& connectivity) {
  return AddElements(classIndex, connectivity, cow_List<int>());
}

bool bme_ElementData::AddElements(unsigned classIndex, const cow_List<int>& connectivity,
                                  const cow_List<int>& labels) {
  if (classIndex >= NumClasses()) return false;
  const bme_ElementClass& elements = classes_.Get(static_cast<int>(classIndex));
  const int columns = elements.NumNodesPerElem();
  if (!elements.IsSupported() || connectivity.Size() % columns != 0) return false;
  const int added = connectivity.Size() / columns;
  std::vector<int> newLabels;
  if (elements.HasUserElementLabels()) {
    newLabels.assign(labels.begin(), labels.end());
    if (labels.Size() != added) {
      const int first = GetNextAvailableLabel();
      CheckedLabel(static_cast<long long>(first) + added - 1);
      newLabels.resize(static_cast<std::size_t>(added));
      for (int i = 0; i < added; ++i) newLabels[static_cast<std::size_t>(i)] = first + i;
    }
  }
  const std::vector<int> nodes(connectivity.begin(), connectivity.end());
  if (!classes_.GetToModify(static_cast<int>(classIndex)).AppendElements(nodes, newLabels)) return false;
  Number();
  if (labelRange_.isValid) {
    if (AreLabelsImplicit())
      labelRange_.content = {.areImplicit = true};
    else
      labelRange_.content.Add(newLabels);
  }
  return true;
}

bool bme_ElementData::RemoveElements(const bme_FEMElemList& elements) {
  const std::span<const unsigned> words = elements.Words();
  if (words.empty()) return true;
  if (words.back() >= NumElements()) return false;
  std::vector<int> inClass;
  for (std::size_t i = 0; i < words.size();) {
    const unsigned position = GetClassIndex(words[i]);
    inClass.clear();
    for (; i < words.size() && words[i] < firstOfClass_[position + 1]; ++i)
      inClass.push_back(static_cast<int>(words[i] - firstOfClass_[position]));
    GetClassToModify(position).RemoveElements(static_cast<int>(inClass.size()), inClass.data());
  }
  Init();
  return true;
}

bool bme_ElementData::InvertElementsConnectivities() {
  bool all = true;
  for (int position = 0; position < classes_.Count(); ++position)
    if (classes_.Get(position).IsSupported())
      classes_.GetToModify(position).InvertElementsConnectivities();
    else
      all = false;
  return all;
}

void bme_ElementData::UpdateConnectivity(const int* newNodeIndex) {
  for (int position = 0; position < classes_.Count(); ++position)
    classes_.GetToModify(position).UpdateConnectivity(newNodeIndex);
}
