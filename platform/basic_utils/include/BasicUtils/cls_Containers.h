// cls_Containers.h: containers that read and write themselves
#pragma once

#include <BasicUtils/cls_Visitors.h>
#include <BasicUtils/cow_List.h>
#include <algorithm>

/// Stored kind of an array of T.
template<class T> inline constexpr cls_AttributeType cls_kArrayType = cls_AttributeType::IntArray;
template<> inline constexpr cls_AttributeType cls_kArrayType<unsigned> = cls_AttributeType::UintArray;
template<> inline constexpr cls_AttributeType cls_kArrayType<float> = cls_AttributeType::FloatArray;
template<> inline constexpr cls_AttributeType cls_kArrayType<double> = cls_AttributeType::DoubleArray;

/// Stored list of numbers, one flat block, shared until it is changed.
///
/// Cost       copy O(1); Const() never copies; Modify(), Append() and Remove() copy a shared block first.
template<class T> class cls_xp1DArrayList {
public:
  static constexpr cls_AttributeType kStoredAs = cls_kArrayType<T>;

  // make
  cls_xp1DArrayList() = default;
  explicit cls_xp1DArrayList(std::span<const T> values) { values_.Append(values); }
  explicit cls_xp1DArrayList(cow_ArrayCOW<T> values) noexcept : values_(std::move(values)) {}
  explicit cls_xp1DArrayList(const cow_List<T>& list) {
    values_.ResizeUninitialised(static_cast<std::size_t>(list.Size()));
    auto* at = values_.Modify().data();
    list.ForEachBlock([&](std::span<const T> block) { at = std::copy(block.begin(), block.end(), at); });
  }
  explicit cls_xp1DArrayList(const cls_ReadVisitor& visitor) : values_(visitor.GetArray<T>()) {}

  // ask
  std::size_t Size() const noexcept { return values_.Size(); }
  bool IsEmpty() const noexcept { return values_.IsEmpty(); }
  const T& ConstGet(long long index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= Size())
      throw nex_OutOfRangeException(index, static_cast<long long>(Size()));
    return values_.Const()[static_cast<std::size_t>(index)];
  }
  std::span<const T> Const() const noexcept { return values_.Const(); }
  cow_List<T> AsList() const { return cow_List<T>(Const()); }
  void DBWrite(const cls_WriteVisitor& visitor) const { visitor.PutArray(values_, 1); }
  friend bool operator==(const cls_xp1DArrayList& a, const cls_xp1DArrayList& b) {
    return std::ranges::equal(a.Const(), b.Const());
  }

  // change
  std::span<T> Modify() { return values_.Modify(); }
  void Append(std::span<const T> values) { values_.Append(values); }
  void Append(T value) { values_.Append(std::span<const T>(&value, 1)); }
  void Reserve(std::size_t count) { values_.Reserve(count); }
  void Remove(std::size_t index) { values_.Remove(index, 1); }
  void Clear() { values_ = {}; }

private:
  cow_ArrayCOW<T> values_;
};
using cls_xp1DArrayListInt = cls_xp1DArrayList<int>;
using cls_xp1DArrayListUint = cls_xp1DArrayList<unsigned>;

/// Stored table of numbers, row after row in one flat block, shared until it is changed.
template<class T> class cls_xp2DArray {
public:
  static constexpr cls_AttributeType kStoredAs = cls_kArrayType<T>;

  // make
  cls_xp2DArray() = default;
  /// Whole rows of `columns` numbers; throws nex_AssertionException when they are not.
  cls_xp2DArray(std::size_t columns, cow_ArrayCOW<T> values) : values_(std::move(values)) {
    SetColumns(columns);
  }
  explicit cls_xp2DArray(const cls_ReadVisitor& visitor) {
    unsigned width = 0;
    values_ = visitor.GetArray<T>(&width);
    columns_ = width;
  }

  // ask
  std::size_t NumRows() const noexcept { return columns_ == 0 ? 0 : values_.Size() / columns_; }
  std::size_t NumColumns() const noexcept { return columns_; }
  std::span<const T> Row(std::size_t row) const { return Const().subspan(row * columns_, columns_); }
  std::span<const T> Const() const noexcept { return values_.Const(); }
  const cow_ArrayCOW<T>& Values() const noexcept { return values_; }
  void DBWrite(const cls_WriteVisitor& visitor) const {
    visitor.PutArray(values_, static_cast<unsigned>(std::max<std::size_t>(1, columns_)));
  }
  friend bool operator==(const cls_xp2DArray& a, const cls_xp2DArray& b) {
    return a.columns_ == b.columns_ && std::ranges::equal(a.Const(), b.Const());
  }

  // change
  std::span<T> Modify() { return values_.Modify(); }
  cow_ArrayCOW<T>& ValuesToModify() noexcept { return values_; }
  /// Takes the same numbers as rows of another length.
  void SetColumns(std::size_t columns) {
    if (columns == 0 ? !values_.IsEmpty() : values_.Size() % columns != 0)
      throw nex_AssertionException(std::to_string(values_.Size()) + " numbers are no rows of "
                                   + std::to_string(columns));
    columns_ = columns;
  }

private:
  std::size_t columns_ = 0;
  cow_ArrayCOW<T> values_;
};
using cls_xp2DArrayDouble = cls_xp2DArray<double>;
using cls_xp2DArrayInt = cls_xp2DArray<int>;

/// Stored list of texts.
class cls_xpListString {
public:
  static constexpr cls_AttributeType kStoredAs = cls_AttributeType::StringList;

  cls_xpListString() = default;
  explicit cls_xpListString(cow_List<cow_String> texts) : texts_(std::move(texts)) {}
  explicit cls_xpListString(const cls_ReadVisitor& visitor) {
    for (cow_String& text : visitor.GetTexts()) texts_.Append(std::move(text));
  }

  const cow_List<cow_String>& List() const noexcept { return texts_; }
  cow_List<cow_String>& ListToModify() noexcept { return texts_; }
  void DBWrite(const cls_WriteVisitor& visitor) const {
    visitor.PutTexts(std::vector<cow_String>(texts_.begin(), texts_.end()));
  }
  friend bool operator==(const cls_xpListString& a, const cls_xpListString& b) {
    return a.texts_ == b.texts_;
  }

private:
  cow_List<cow_String> texts_;
};
