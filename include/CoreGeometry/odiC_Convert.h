// odiC_Convert.h: positions and data types to and from the codes of the output database
#pragma once

#include <CaeUtils/odm_Enums.h>
#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/res_DataType.h>
#include <CoreGeometry/res_OutputPosition.h>

/// Conversions never fail: any value is accepted and unknown ones have an answer. Back and forth is lossy: an
/// element as a whole and its centroid have one code, what belongs to no place on an element has none, all
/// tensors are one, and some answers (13, 14, 15) have no text.
CORE_GEOMETRY_API odm_PositionEnm odiC_ConvertResToOdm(res_OutputPositionEnm position) noexcept;
CORE_GEOMETRY_API res_OutputPositionEnm odiC_ConvertOdmToRes(odm_PositionEnm position) noexcept;
CORE_GEOMETRY_API odm_DataTypeEnm odiC_ConvertResToOdm(res_DataTypeEnm type) noexcept;
CORE_GEOMETRY_API res_DataTypeEnm odiC_ConvertOdmToRes(odm_DataTypeEnm type) noexcept;
