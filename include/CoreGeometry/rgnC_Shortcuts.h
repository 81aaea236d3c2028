// rgnC_Shortcuts.h: path references to sets and analytic surfaces
#pragma once

#include <CoreGeometry/rgnC_SetData.h>
#include <CoreGeometry/shp_AnalyticSurface.h>
#include <DiagnosticExtractor/ddr_Shortcut.h>

// A shortcut is a value; its implementation is a path, or a step from another shortcut to a member or to an
// element of a list. The region module registers all of them, under the identifiers below.

using rgnC_SetDataShortcut = ddr_Shortcut<rgnC_SetData>;
using rgnC_SetDataIMPLSC = ddr_ShortcutImpl<rgnC_SetData>;
/// The parent is a list, or a map, of sets.
using rgnC_SetDataInSetDataListShortcut = ddr_SequenceShortcut<rgnC_SetData, rgnC_SetData>;

using shp_AnalyticSurfaceShortcut = ddr_Shortcut<shp_AnalyticSurface>;
using shp_AnalyticSurfaceIMPLSC = ddr_ShortcutImpl<shp_AnalyticSurface>;
using shp_AnalyticSurfaceSegmentListShortcut = ddr_Shortcut<shp_AnalyticSurfaceSegmentList>;
using shp_AnalyticSurfaceSegmentListIMPLSC = ddr_ShortcutImpl<shp_AnalyticSurfaceSegmentList>;
using shp_AnalyticSurfaceSegmentShortcut = ddr_Shortcut<shp_AnalyticSurfaceSegment>;
using shp_AnalyticSurfaceSegmentIMPLSC = ddr_ShortcutImpl<shp_AnalyticSurfaceSegment>;
/// The member is "analyticSurfaceProfile".
using shp_AnalyticSurfaceSegmentListInAnalyticSurfaceShortcut =
    ddr_MemberShortcut<shp_AnalyticSurface, shp_AnalyticSurfaceSegmentList>;
using shp_AnalyticSurfaceSegmentInAnalyticSurfaceSegmentListShortcut =
    ddr_SequenceShortcut<shp_AnalyticSurfaceSegmentList, shp_AnalyticSurfaceSegment>;

template<> struct ddr_StoredClass<shp_AnalyticSurfaceSegmentListInAnalyticSurfaceShortcut> {
  static constexpr unsigned typeId = 39059460;
  static constexpr const char* name = "shp_AnalyticSurfaceSegmentListInAnalyticSurfaceShortcut";
};
template<> struct ddr_StoredClass<shp_AnalyticSurfaceSegmentInAnalyticSurfaceSegmentListShortcut> {
  static constexpr unsigned typeId = 39059461;
  static constexpr const char* name = "shp_AnalyticSurfaceSegmentInAnalyticSurfaceSegmentListShortcut";
};
template<> struct ddr_StoredClass<rgnC_SetDataInSetDataListShortcut> {
  static constexpr unsigned typeId = 39059462;
  static constexpr const char* name = "rgnC_SetDataInSetDataListShortcut";
};
template<> struct ddr_StoredClass<shp_AnalyticSurfaceShortcut> {
  static constexpr unsigned typeId = 39059463;
  static constexpr const char* name = "shp_AnalyticSurfaceShortcut";
};
template<> struct ddr_StoredClass<shp_AnalyticSurfaceSegmentListShortcut> {
  static constexpr unsigned typeId = 39059464;
  static constexpr const char* name = "shp_AnalyticSurfaceSegmentListShortcut";
};
template<> struct ddr_StoredClass<shp_AnalyticSurfaceSegmentShortcut> {
  static constexpr unsigned typeId = 39059465;
  static constexpr const char* name = "shp_AnalyticSurfaceSegmentShortcut";
};
template<> struct ddr_StoredClass<rgnC_SetDataShortcut> {
  static constexpr unsigned typeId = 39059466;
  static constexpr const char* name = "rgnC_SetDataShortcut";
};
template<> struct ddr_StoredClass<shp_AnalyticSurfaceIMPLSC> {
  static constexpr unsigned typeId = 39059467;
  static constexpr const char* name = "shp_AnalyticSurfaceIMPLSC";
};
template<> struct ddr_StoredClass<shp_AnalyticSurfaceSegmentListIMPLSC> {
  static constexpr unsigned typeId = 39059468;
  static constexpr const char* name = "shp_AnalyticSurfaceSegmentListIMPLSC";
};
template<> struct ddr_StoredClass<shp_AnalyticSurfaceSegmentIMPLSC> {
  static constexpr unsigned typeId = 39059469;
  static constexpr const char* name = "shp_AnalyticSurfaceSegmentIMPLSC";
};
template<> struct ddr_StoredClass<rgnC_SetDataIMPLSC> {
  static constexpr unsigned typeId = 39059470;
  static constexpr const char* name = "rgnC_SetDataIMPLSC";
};
