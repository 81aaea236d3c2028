// res_Field.h: completeness, limits and section of a field of results
#pragma once

#include <CaeUtils/omu_PrimEnum.h>

/// How much of the model a field covers.
enum res_FieldCompletenessEnm : int { res_FULL_FIELD = 0, res_PARTIAL_FIELD = 1, res_EMPTY_FIELD = 2 };
template<> struct omu_EnumTable<res_FieldCompletenessEnm> {
  static constexpr const char* name = "res_FieldCompletenessEnm";
  static constexpr omu_EnumEntry entries[] = {
      {res_FULL_FIELD, "FULL_FIELD"}, {res_PARTIAL_FIELD, "PARTIAL_FIELD"}, {res_EMPTY_FIELD, "EMPTY_FIELD"}};
};

/// Which limits of the displayed values are fixed. One stored text is misspelt, and must stay so for stored
/// files.
enum res_ClampTypeEnm : int {
  res_NO_CLAMPS = 0,
  res_MINIMUM_CLAMP = 1,
  res_MAXIMUM_CLAMP = 2,
  res_BOTH_CLAMPS = 3
};
template<> struct omu_EnumTable<res_ClampTypeEnm> {
  static constexpr const char* name = "res_ClampTypeEnm";
  static constexpr omu_EnumEntry entries[] = {{res_NO_CLAMPS, "NO_CLAMPS"},
                                              {res_MINIMUM_CLAMP, "MINIMUM_CLAMP"},
                                              {res_MAXIMUM_CLAMP, "MAXINUM_CLAMP"},
                                              {res_BOTH_CLAMPS, "BOTH_CLAMPS"}};
};

/// Section points whose results are used.
enum res_SectionResultsEnm : int {
  res_USE_BOTTOM = 0,
  res_USE_TOP = 1,
  res_USE_BOTTOM_AND_TOP = 2,
  res_USE_ENVELOPE = 3
};
template<> struct omu_EnumTable<res_SectionResultsEnm> {
  static constexpr const char* name = "res_SectionResultsEnm";
  static constexpr omu_EnumEntry entries[] = {{res_USE_BOTTOM, "USE_BOTTOM"},
                                              {res_USE_TOP, "USE_TOP"},
                                              {res_USE_BOTTOM_AND_TOP, "USE_BOTTOM_AND_TOP"},
                                              {res_USE_ENVELOPE, "USE_ENVELOPE"}};
};
