#include <CoreGeometry/odiC_Convert.h>

#include <algorithm>
#include <iterator>

namespace {
/// A value and its code. Going to the code, the row of the value counts; going back, the first row of the
/// code that is not marked as one way.
struct Row {
  int value;
  int code;
  bool oneWay = false;
};

// Values without names are those that the database knows and the positions have no text for.
constexpr Row kPositions[] = {
    {res_NODAL, odm_NODAL},
    {res_INTEGRATION_POINT, odm_INTEGRATION_POINT},
    {res_ELEMENT_NODAL, odm_ELEMENT_NODAL},
    {res_ELEMENT_CENTROID, odm_ELEMENT_CENTROID},
    {res_WHOLE_ELEMENT, odm_ELEMENT_CENTROID, true},
    {res_ELEMENT_FACE, odm_ELEMENT_FACE},
    {13, odm_SURFACE_NODAL},
    {res_SURFACE_NODAL, odm_SURFACE_NODAL, true},
    {14, odm_SURFACE_CENTROID},
    {11, odm_SURFACE_CENTROID, true},
};
constexpr Row kDataTypes[] = {
    {res_SCALAR, odm_SCALAR},
    {res_VECTOR, odm_VECTOR},
    {res_QUATERNION_3D, odm_QUATERNION},
    {res_QUATERNION_2D, odm_QUATERNION, true},
    {res_TENSOR, odm_TENSOR},
    {res_TENSOR_3D_FULL, odm_TENSOR, true},
    {res_TENSOR_3D_PLANAR, odm_TENSOR, true},
    {res_TENSOR_3D_SURFACE, odm_TENSOR, true},
    {res_TENSOR_2D_PLANAR, odm_TENSOR, true},
    {res_TENSOR_2D_SURFACE, odm_TENSOR, true},
};
constexpr int kUnknownDataType = 15;

template<std::size_t Size> int CodeOf(const Row (&table)[Size], int value, int otherwise) {
  const auto row = std::ranges::find(table, value, &Row::value);
  return row != std::end(table) ? row->code : otherwise;
}
template<std::size_t Size> int ValueOf(const Row (&table)[Size], int code, int otherwise) {
  const auto row = std::ranges::find_if(table, [=](const Row& r) { return r.code == code && !r.oneWay; });
  return row != std::end(table) ? row->value : otherwise;
}
} // namespace

odm_PositionEnm odiC_ConvertResToOdm(res_OutputPositionEnm position) noexcept {
  return static_cast<odm_PositionEnm>(CodeOf(kPositions, position, odm_UNDEFINED_POSITION));
}
res_OutputPositionEnm odiC_ConvertOdmToRes(odm_PositionEnm position) noexcept {
  return static_cast<res_OutputPositionEnm>(ValueOf(kPositions, position, res_UNDEFINED_POSITION));
}
odm_DataTypeEnm odiC_ConvertResToOdm(res_DataTypeEnm type) noexcept {
  return static_cast<odm_DataTypeEnm>(CodeOf(kDataTypes, type, odm_UNDEFINED_DATA_TYPE));
}
res_DataTypeEnm odiC_ConvertOdmToRes(odm_DataTypeEnm type) noexcept {
  return static_cast<res_DataTypeEnm>(ValueOf(kDataTypes, type, kUnknownDataType));
}
