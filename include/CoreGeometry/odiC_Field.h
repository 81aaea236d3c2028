// odiC_Field.h: values of a variable in a frame, and of a quantity over a step
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <CoreGeometry/odiC_Stored.h>
#include <CoreGeometry/res_DataType.h>
#include <CoreGeometry/res_OutputPosition.h>
#include <vector>

inline constexpr std::size_t odiC_kChunkBytes = std::size_t{256} << 10; ///< of field arrays
inline constexpr int odiC_kMissingInteger = -2147483647 - 1;

/// Rows of numbers, stored in small chunks: a field is read by parts.
template<class T> class odiC_Rows {
public:
  static constexpr cls_AttributeType kStoredAs = cls_kArrayType<T>;

  odiC_Rows() = default;
  odiC_Rows(cow_ArrayCOW<T> values, unsigned width) : values_(std::move(values)), width_(width) {}
  explicit odiC_Rows(const cls_ReadVisitor& visitor) { values_ = visitor.GetArray<T>(&width_); }

  bool IsEmpty() const noexcept { return values_.IsEmpty(); }
  std::span<const T> Const() const noexcept { return values_.Const(); }
  unsigned Width() const noexcept { return width_; } ///< numbers a row
  const cow_ArrayCOW<T>& Values() const noexcept { return values_; }
  void DBWrite(const cls_WriteVisitor& visitor) const {
    visitor.PutArray(values_, width_ == 0 ? 1 : width_, odiC_kChunkBytes);
  }

private:
  cow_ArrayCOW<T> values_;
  unsigned width_ = 1;
};

/// One variable in one frame: rows of components, in the order of its layout. Of a complex one all rows of the first
/// numbers come first, then all of the second.
///
/// Stored as  step, frame, variable, layout, storage, low, high, numNotNumbers, floats, doubles, integers
class CORE_GEOMETRY_API odiC_Field : public odiC_Stored<odiC_Field> {
public:
  static constexpr const char* kName = "odiC_Field";
  static constexpr unsigned short kOrdinal = 9;

  odiC_Field() = default;
  explicit odiC_Field(const cls_ReadVisitor& visitor);

  int step = 0, frame = 0, variable = 0, layout = 0; ///< positions in the run; steps count from 1
  res_StorageTypeEnm storage = res_STORAGE_FLOAT;
  std::vector<double> low,
      high;                ///< least and largest number of each component, not a number when it has none
  int numNotNumbers = 0;   ///< numbers that are not; of integers the missing ones
  odiC_Rows<float> floats; ///< one of the three has the numbers
  odiC_Rows<double> doubles;
  odiC_Rows<int> integers;

private:
  friend odiC_Stored<odiC_Field>;
  static constexpr auto StoredFields();
};
extern template class odiC_Stored<odiC_Field>;

/// One quantity over a whole step.
///
/// Stored as  name, description, variable, position, region, label, point, domainValues, values
class CORE_GEOMETRY_API odiC_History : public odiC_Stored<odiC_History> {
public:
  static constexpr const char* kName = "odiC_History";
  static constexpr unsigned short kOrdinal = 10;

  odiC_History() = default;
  explicit odiC_History(const cls_ReadVisitor& visitor);

  cow_String name, description;
  int variable = -1;
  res_OutputPositionEnm position = res_WHOLE_MODEL;
  cow_String region;
  int label = 0, point = 0; ///< of a node or element, and the point in it from 1; 0 for none
  std::vector<double> domainValues, values;

private:
  friend odiC_Stored<odiC_History>;
  static constexpr auto StoredFields();
};
extern template class odiC_Stored<odiC_History>;
