#include <CoreGeometry/bme_ElementClass.h>

#include "bme_Component.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <CoreUtils/aio_ostream.h>
#include <CoreUtils/omi_timers.h>
#include <cls_Fields.h>
#include <cstdlib>
#include <limits>

constexpr auto bme_ElementClass::StoredArrays() {
  using C = bme_ElementClass;
  return cls_Fields{cls_Field{"DDBuserElementLabel", &C::userLabels_},
                    cls_Field{"DDBconnectivity", &C::connectivity_}};
}
constexpr auto bme_ElementClass::StoredFacts() {
  using C = bme_ElementClass;
  return cls_Fields{cls_Field{"numElements", &C::numElements_},
                    cls_Field{"firstElementIndex", &C::firstElementIndex_},
                    cls_Field{"elemTypeLabel", &C::elemTypeLabel_},
                    cls_Field{"elemCtrlParams", &C::elemCtrlParams_},
                    cls_Field{"meshIndex", &C::meshIndex_},
                    cls_Field{"classIndex", &C::classIndex_},
                    cls_Field{"regionClassIndex", &C::regionClassIndex_},
                    cls_Field{"regionIndex", &C::regionIndex_},
                    cls_Field{"categoryLabel", &C::categoryLabel_},
                    cls_Field{"orientationFreq", &C::orientationFreq_},
                    cls_Field{"locationLabel", &C::locationLabels_}};
}
constexpr auto bme_ElementClass::StoredFields() { return StoredFacts() + StoredArrays(); }

unsigned bme_ElementClass::TypeId() noexcept { return bme_TypeId(2); }
unsigned bme_ElementClass::DynTypeId() const noexcept { return TypeId(); }
void* bme_ElementClass::Ctor(cls_ReadVisitor& visitor) { return new bme_ElementClass(visitor); }
void bme_ElementClass::CowDtor(void* object) { delete static_cast<bme_ElementClass*>(object); }
void bme_ElementClass::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<bme_ElementClass>(registrar, "bme_ElementClass", 862, StoredFields()).AddDtor(&CowDtor);
}

namespace {
/// Seconds spent reading labels and connectivity of classes, over the whole process.
double theReadTime = 0;

cow_String Describe(const bme_ElementClass& elements) {
  return "element class " + std::to_string(elements.ClassIndex()) + " (" + elements.ElemTypeLabel() + ")";
}

int CheckedCount(std::size_t elements) {
  if (elements > static_cast<std::size_t>(std::numeric_limits<int>::max()))
    throw nex_TextException("an element class of " + std::to_string(elements)
                            + " elements is more than 2147483647");
  return static_cast<int>(elements);
}

cow_ArrayCOW<int> Unfilled(std::size_t count) {
  cow_ArrayCOW<int> values;
  values.ResizeUninitialised(count);
  std::ranges::fill(values.Modify(), -1);
  return values;
}
} // namespace

bme_ElementClass::bme_ElementClass() : uid_(cls_Uid::AllocateUid()) {}

bme_ElementClass::bme_ElementClass(const cow_String& elemType, cls_xp2DArrayInt connectivity)
    : numElements_(CheckedCount(connectivity.NumRows())), elemTypeLabel_(elemType),
      connectivity_(std::move(connectivity)), uid_(cls_Uid::AllocateUid()) {
  FindShape();
}

bme_ElementClass::bme_ElementClass(int numElements, const cow_String& elemType, int** connectivity)
    : numElements_(numElements), elemTypeLabel_(elemType), uid_(cls_Uid::AllocateUid()) {
  const shp_Shape* shape = Shape();
  if (!shape)
    throw nex_TextException("element type " + elemType
                            + " has no shape, so the length of its connectivity rows is not known");
  const auto columns = static_cast<std::size_t>(shape->NumNodes());
  cow_ArrayCOW<int> rows;
  rows.Reserve(static_cast<std::size_t>(numElements) * columns);
  for (int** row = connectivity; row != connectivity + numElements; ++row)
    rows.Append(std::span<const int>(*row, columns));
  connectivity_ = cls_xp2DArrayInt(columns, std::move(rows));
  FindShape();
}

bme_ElementClass::bme_ElementClass(int numElements, const cow_String& elemType, int meshIndex,
                                   int regionClassIndex, int regionIndex, const cow_String& category,
                                   int classIndex, bme_OrientationFreqEnm frequency)
    : numElements_(numElements), elemTypeLabel_(elemType), meshIndex_(meshIndex), classIndex_(classIndex),
      regionClassIndex_(regionClassIndex), regionIndex_(regionIndex), categoryLabel_(category),
      orientationFreq_(frequency), uid_(cls_Uid::AllocateUid()) {
  if (const shp_Shape* shape = Shape()) {
    const auto columns = static_cast<std::size_t>(shape->NumNodes());
    connectivity_ = cls_xp2DArrayInt(columns, Unfilled(columns * static_cast<std::size_t>(numElements)));
  }
  FindShape();
}

bme_ElementClass::bme_ElementClass(int numElements, const cow_String& elemType,
                                   const cow_2DArray<int>& connectivity, int meshIndex, int regionClassIndex,
                                   int regionIndex, const cow_String& category,
                                   bme_OrientationFreqEnm frequency)
    : numElements_(numElements), elemTypeLabel_(elemType), meshIndex_(meshIndex),
      regionClassIndex_(regionClassIndex), regionIndex_(regionIndex), categoryLabel_(category),
      orientationFreq_(frequency), connectivity_(connectivity.Cols(), connectivity.Data()),
      uid_(cls_Uid::AllocateUid()) {
  FindShape();
}

bme_ElementClass::bme_ElementClass(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFacts());
  const omi_Stopwatch watch;
  cls_ReadFields(visitor, *this, StoredArrays());
  const double seconds = watch.Seconds();
  try {
    FindShape();
  } catch (const nex_TextException& failure) {
    visitor.Refuse(failure.Message());
  }
  if (std::getenv("TWL_TIMING") != nullptr) {
    theReadTime += seconds;
    aio_DebugStream() << "It took " << theReadTime << " to read DDB connectivity." << std::endl;
  }
  if (bme_Traces(2)) aio_DebugStream() << "Done with bme_ElementClass\n";
}

bme_ElementClass::~bme_ElementClass() = default;

void bme_ElementClass::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

const shp_Shape* bme_ElementClass::Shape() const {
  return thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(elemTypeLabel_);
}

void bme_ElementClass::FindShape() {
  const shp_Shape* shape = Shape();
  unsupported_ = shape == nullptr;
  const std::size_t length = connectivity_.Values().Size(),
                    count = static_cast<std::size_t>(std::max(numElements_, 0));
  std::size_t columns = 0;
  if (shape)
    columns = static_cast<std::size_t>(shape->NumNodes());
  else if (count > 0 && length % count == 0)
    columns = length / count;
  if (numElements_ < 0 || (shape && length != count * columns))
    throw nex_TextException(Describe(*this) + ": " + std::to_string(length) + " node numbers do not make "
                            + std::to_string(numElements_) + " elements of " + std::to_string(columns)
                            + " nodes");
  if (!userLabels_.IsEmpty() && userLabels_.Size() != count)
    throw nex_TextException(Describe(*this) + ": " + std::to_string(userLabels_.Size()) + " labels for "
                            + std::to_string(count) + " elements");
  if (columns != 0 || length == 0) connectivity_.SetColumns(columns);
  for (omi_BlkBitVect& marks : marks_) marks.Resize(count);
}

void bme_ElementClass::CheckElement(int element) const {
  if (element < 0 || element >= numElements_) throw nex_OutOfRangeException(element, numElements_);
}

std::span<const int> bme_ElementClass::Connectivity(int element) const {
  CheckElement(element);
  return connectivity_.NumColumns() == 0 ? std::span<const int>()
                                         : connectivity_.Row(static_cast<std::size_t>(element));
}

int bme_ElementClass::GetStackDirection(int element) const {
  CheckElement(element);
  int direction = 0;
  for (int bit = 0; bit < 3; ++bit)
    direction |= int{marks_[bit].Test(static_cast<std::size_t>(element))} << bit;
  return direction;
}

bool bme_ElementClass::SetStackDirection(int element, int direction) {
  if (element < 0 || element >= numElements_ || direction < 0 || direction > 7) return false;
  for (int bit = 0; bit < 3; ++bit)
    marks_[bit].Set(static_cast<std::size_t>(element), (direction >> bit & 1) != 0);
  return true;
}

void bme_ElementClass::SetElemType(const cow_String& elemType) {
  bme_ElementClass changed = *this;
  changed.elemTypeLabel_ = elemType;
  changed.FindShape();
  *this = changed;
}

void bme_ElementClass::SetRegion(int regionIndex, int regionClassIndex) noexcept {
  regionIndex_ = regionIndex;
  regionClassIndex_ = regionClassIndex;
}

bool bme_ElementClass::SetUserElementLabels(std::span<const int> labels) {
  return SetUserElementLabels(cls_xp1DArrayListInt(labels));
}

bool bme_ElementClass::SetUserElementLabels(cls_xp1DArrayListInt labels) {
  if (!labels.IsEmpty() && labels.Size() != static_cast<std::size_t>(numElements_)) return false;
  userLabels_ = std::move(labels);
  return true;
}

bool bme_ElementClass::AppendElements(std::span<const int> connectivity, std::span<const int> labels) {
  const std::size_t columns = connectivity_.NumColumns();
  if (unsupported_ || connectivity.size() % columns != 0) return false;
  const std::size_t added = connectivity.size() / columns;
  // a class without elements takes labels or not, as they come
  const bool labelled = numElements_ == 0 ? !labels.empty() : HasUserElementLabels();
  if (labels.size() != (labelled ? added : 0)) return false;
  const int count = CheckedCount(static_cast<std::size_t>(numElements_) + added);
  connectivity_.ValuesToModify().Append(connectivity);
  userLabels_.Append(labels);
  numElements_ = count;
  for (omi_BlkBitVect& marks : marks_) marks.Resize(static_cast<std::size_t>(numElements_));
  return true;
}

bool bme_ElementClass::RemoveElement(int element) { return RemoveElements(1, &element); }

bool bme_ElementClass::RemoveElements(int count, const int* elements) {
  if (count < 0) return false;
  const std::span<const int> removed(elements, static_cast<std::size_t>(count));
  for (const int element : removed)
    if (element < 0 || element >= numElements_) return false;
  std::vector<bool> gone(static_cast<std::size_t>(numElements_));
  for (const int element : removed) gone[static_cast<std::size_t>(element)] = true;
  omi_BlkBitVect keep(gone.size());
  for (std::size_t i = 0; i < gone.size(); ++i)
    if (!gone[i]) keep.Set(i);
  KeepElements(keep);
  return true;
}

void bme_ElementClass::KeepElements(const omi_BlkBitVect& keep) {
  const std::size_t columns = connectivity_.NumColumns(), kept = keep.Count();
  const cls_xp2DArrayInt oldRows = connectivity_;
  const cls_xp1DArrayListInt oldLabels = userLabels_;
  cow_ArrayCOW<int> rows;
  rows.Reserve(kept * columns);
  std::vector<int> labels;
  labels.reserve(oldLabels.IsEmpty() ? 0 : kept);
  for (std::size_t i = 0; i < keep.Size(); ++i) {
    if (!keep.Test(i)) continue;
    if (columns != 0) rows.Append(oldRows.Row(i));
    if (!oldLabels.IsEmpty()) labels.push_back(oldLabels.Const()[i]);
  }
  connectivity_ = cls_xp2DArrayInt(columns, std::move(rows));
  userLabels_ = cls_xp1DArrayListInt(labels);
  numElements_ = static_cast<int>(kept);
  for (omi_BlkBitVect& marks : marks_) marks.Keep(keep);
}

bool bme_ElementClass::ResetConnectArraySz(int numElements) {
  if (numElements < 0) return false;
  const auto count = static_cast<std::size_t>(numElements), old = static_cast<std::size_t>(numElements_);
  if (count < old) {
    omi_BlkBitVect keep(old);
    for (std::size_t i = 0; i < count; ++i) keep.Set(i);
    KeepElements(keep);
    return true;
  }
  if (HasUserElementLabels()) {
    const long long last = std::max(0, *std::ranges::max_element(userLabels_.Const()));
    if (last + static_cast<long long>(count - old) > std::numeric_limits<int>::max())
      throw nex_TextException(Describe(*this) + ": no element label is left above 2147483647");
    for (std::size_t i = 0; i < count - old; ++i)
      userLabels_.Append(static_cast<int>(last + 1 + static_cast<long long>(i)));
  }
  connectivity_.ValuesToModify().Append(Unfilled((count - old) * connectivity_.NumColumns()).Const());
  numElements_ = numElements;
  for (omi_BlkBitVect& marks : marks_) marks.Resize(count);
  return true;
}

bme_ElementClass bme_ElementClass::WithoutElements() const {
  bme_ElementClass empty = *this;
  empty.numElements_ = 0;
  empty.connectivity_ = cls_xp2DArrayInt(connectivity_.NumColumns(), {});
  empty.userLabels_ = cls_xp1DArrayListInt();
  for (omi_BlkBitVect& marks : empty.marks_) marks = omi_BlkBitVect();
  return empty;
}

bool bme_ElementClass::Split(const cow_List<int>& groups,
                             mdl_MapInt2ObjCow<bme_ElementClass>& classes) const {
  if (groups.Size() != numElements_) return false;
  std::map<int, std::vector<std::size_t>> members;
  std::size_t element = 0;
  for (const int group : groups) {
    if (group < 0) return false;
    members[group].push_back(element++);
  }
  const bme_ElementClass empty = WithoutElements();
  const std::size_t columns = connectivity_.NumColumns();
  const std::span<const int> labels = userLabels_.Const();
  mdl_MapInt2ObjCow<bme_ElementClass> result;
  for (const auto& [group, elements] : members) {
    cow_COW<bme_ElementClass> part(new bme_ElementClass(empty));
    bme_ElementClass& made = part.Modify();
    made.uid_ = cls_Uid::AllocateUid();
    made.classIndex_ = group;
    made.numElements_ = static_cast<int>(elements.size());
    cow_ArrayCOW<int> rows;
    rows.Reserve(elements.size() * columns);
    std::vector<int> ownLabels;
    ownLabels.reserve(labels.empty() ? 0 : elements.size());
    for (const std::size_t i : elements) {
      if (columns != 0) rows.Append(connectivity_.Row(i));
      if (!labels.empty()) ownLabels.push_back(labels[i]);
    }
    made.connectivity_ = cls_xp2DArrayInt(columns, std::move(rows));
    made.userLabels_ = cls_xp1DArrayListInt(ownLabels);
    for (int bit = 0; bit < 3; ++bit) {
      omi_BlkBitVect& marks = made.marks_[bit];
      marks.Resize(elements.size());
      for (std::size_t k = 0; k < elements.size(); ++k)
        if (marks_[bit].Test(elements[k])) marks.Set(k);
    }
    result.Insert(group, std::move(part));
  }
  classes = std::move(result);
  return true;
}

bool bme_ElementClass::InvertElementConnectivity(int element) {
  const shp_Shape* shape = Shape();
  if (!shape || element < 0 || element >= numElements_) return false;
  const auto columns = static_cast<std::size_t>(shape->NumNodes());
  shape->ReverseElemConnectivity(
      connectivity_.Modify().subspan(static_cast<std::size_t>(element) * columns, columns));
  return true;
}

bool bme_ElementClass::InvertElementsConnectivities() {
  const shp_Shape* shape = Shape();
  if (!shape) return false;
  const auto columns = static_cast<std::size_t>(shape->NumNodes());
  for (std::span<int> rows = connectivity_.Modify(); !rows.empty(); rows = rows.subspan(columns))
    shape->ReverseElemConnectivity(rows.first(columns));
  return true;
}

void bme_ElementClass::UpdateConnectivity(const int* newNodeIndex) {
  for (int& node : connectivity_.Modify())
    if (node >= 0) node = newNodeIndex[node];
}
