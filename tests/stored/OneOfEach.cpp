#include "OneOfEach.h"

#include <CoreGeometry/bdo_EOReference.h>
#include <CoreGeometry/bdo_Theory.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/bme_MeshNotes.h>
#include <CoreGeometry/dtmC_DatumRef.h>
#include <CoreGeometry/dtu_6dofNodeDatumCsys.h>
#include <CoreGeometry/dtu_DatumAxis.h>
#include <CoreGeometry/dtu_DatumContainer.h>
#include <CoreGeometry/dtu_DatumPlane.h>
#include <CoreGeometry/dtu_DatumPoint.h>
#include <CoreGeometry/gsl_ModelSegment.h>
#include <CoreGeometry/gsl_ObjectArray.h>
#include <CoreGeometry/gsl_PersistentMatrix.h>
#include <CoreGeometry/gsl_PersistentVector.h>
#include <CoreGeometry/gsl_Segment.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Field.h>
#include <CoreGeometry/odiC_Layout.h>
#include <CoreGeometry/odiC_Results.h>
#include <CoreGeometry/rgnC_RegionPair.h>
#include <CoreGeometry/shp_AnalyticRigidSurfaceData.h>
#include <cmath>
#include <memory>

namespace {
/// Written as what it is, read as `Base`.
template<class Base, class T> StoredObject As(const cow_String& root, T object) {
  const auto shared = std::make_shared<T>(std::move(object));
  return {root, [=](cls_WritePass& pass) { pass.Put(root, *shared); },
          [=](const cls_Database& from, cls_WritePass& to) -> cow_String {
            const cow_CountedHld<Base> read = from.Get<Base>(root);
            to.Put(root, read);
            const Base& built = *shared;
            if constexpr (requires { *read == built; })
              if (!(*read == built)) return root + " is not equal to what was stored";
            if constexpr (requires { built.DynTypeId(); })
              if (read->DynTypeId() != built.DynTypeId()) return root + " is of another class";
            if constexpr (std::is_same_v<T, rgnC_SetData>)
              if (&read->SubSet(0) != &read->SubSet(1)) return root + ": its subsets are no longer one";
            return {};
          }};
}
template<class T> StoredObject Of(const cow_String& root, T object) { return As<T>(root, std::move(object)); }

/// A plane or a line with what both can be told.
template<class T> T Told(const gsl_Vector& direction, decltype(T().Method()) method) {
  T object(gsl_Point(1.5, -2.25, std::nan("")), direction);
  object.SetMethod(method);
  object.SetOk(false);
  object.SetFlipped(true);
  object.SetParentIds(std::vector<int>{5, -6});
  object.SetOwnerFeatId(77);
  return object;
}
template<class Array, class T> Array ArrayOf(const T& object) {
  Array array;
  array.SetGrowthRatio(1.5);
  array.Append(object);
  return array;
}

bme_Mesh Mesh() {
  const std::vector<float> xyz = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1};
  const std::vector<int> nodeLabels = {10, 20, 30, 40, 50, 60, 70, 80}, nodes = {0, 1, 2, 3, 4, 5, 6, 7},
                         labels = {7};
  gsl_Matrix shift;
  shift.SetTranslation({1, 2, 3});
  bme_Mesh mesh = bme_MeshBuilder(xyz, nodeLabels)
                      .Add({.type = "C3D8R", .connectivity = nodes, .labels = labels, .category = "solid"})
                      .Build(4, bme_NATIVE_MESH, &shift);
  bme_ElementClass& bricks = mesh.ElementDataToModify().GetClassToModify(0);
  bme_ElemCtrlParams controls;
  controls.SetStressRate(bme_SPIN);
  bricks.SetElemControlParams(controls);
  bricks.SetLocationLabels(cow_List<cow_String>().Append("top").Append("bottom"));
  return mesh;
}

bme_MeshNotes Notes() {
  bme_MeshNotes notes;
  notes.title = "Wing/left";
  notes.coordinateNames.ListToModify().Append("x").Append("y").Append("z");
  notes.programs.ListToModify().Append("mesher").Append("1.2").Append("2026-11-22").Append("07:00:00");
  notes.information.ListToModify().Append("first line").Append("");
  bme_Annotation bricks(bme_CLASS_NOTED, 0), skin(bme_SURFACE_NOTED, 4);
  bricks.typeName = "BRICK";
  bricks.columns.ListToModify().Append("thickness").Append("");
  bricks.values = cls_xp2DArrayDouble(2, cow_ArrayCOW<double>(std::vector<double>{0.1, 1e300}));
  bricks.properties.ListToModify().Append("MATERIAL");
  bricks.propertyValues.Append(-5);
  skin.values = cls_xp2DArrayDouble(1, cow_ArrayCOW<double>(std::vector<double>{1, 2, 3, 4, 5}));
  skin.counts.Append(std::vector<int>{3, 2});
  skin.order.Append(std::vector<int>{1, 0});
  notes.annotations.ListToModify().Append(bricks).Append(skin);
  return notes;
}

rgnC_SubsetData Subset() {
  const int ids[] = {9, 7, 8}, facets[] = {0, 1, 5};
  return {1, 2, 3, 4, res_SURFACE_FACET, true, rgnC_SubsetData::Ids(ids), rgnC_SubsetData::Ids(facets)};
}

rgnC_SetData Set() {
  rgnC_SetData set;
  set.SetIndex(4);
  set.SetLabel("Skin");
  set.SetType(res_SURFACE_SET);
  set.SetInternal(true);
  set.SetUnsorted(true);
  set.SetConstructionOk(true);
  const cow_COW<rgnC_SubsetData> shared(Subset().Copy());
  set.AppendSubset(shared);
  set.AppendSubset(shared);
  return set;
}

rgnC_Region Region(const cow_String& name) {
  rgnC_Region region;
  region.SetName(name);
  region.SetInternal(true);
  region.SetOwnerNames({"Assembly", "Wing"});
  region.SetSpace(3);
  region.SetSetTypeBits(16);
  region.SetSetData(rgnC_SetDataShortcut("sets/" + name));
  return region;
}

shp_AnalyticSurface Surface() {
  using Segment = shp_AnalyticSurfaceSegment;
  shp_AnalyticSurface surface;
  surface.SetType(shp_AnalyticSurface::REVOLUTION);
  surface.SetFilletRadius(0.1);
  surface.SetName("Die");
  surface.SetProfile({{Segment::START, {{{1, 2, 3}}}}, {Segment::CIRCLE, {{{4, 5, 6}}, {{7, 8, 9}}}}});
  surface.SetLocalCoordData({{{1, 0, 0}}, {{0, 2, 0}}});
  return surface;
}

shp_AnalyticRigidSurfaceData OldSurface() {
  shp_AnalyticRigidSurfaceData data(shp_EXTSEGS);
  data.SetElement(1, 2, 3);
  data.SetSurfaceName("Punch");
  data.SetLocalCoordDef({{{7, 8, 9}}});
  data.SetDataPairList({{{{1, 2, 3}}, shp_CIRCL}, {{{4, 5, 6}}, shp_PARAB}});
  return data;
}

template<class T> T WithOutline(T datum) {
  datum.UpdateOutline({{0, 0, 0}, {4, 4, 4}});
  return datum;
}

odiC_Results Results() {
  odiC_Results run;
  run.name = "a";
  run.meshRoot = "meshes/Wing";
  run.numNodes = 12;
  run.classSizes = {2};
  run.classTypes = {"C3D8R"};
  run.units = "mm, N, s";
  run.variables = {odiC_Variable("S", res_TENSOR_3D_SURFACE, "MPa")};
  run.variables[0].isEngineeringShear = true;
  odiC_Category skin;
  skin.name = "skin";
  skin.elementCategories = {"Part \"A\""};
  skin.sectionPoints = {"bottom", "top"};
  skin.offsets = {-1, 1};
  skin.plies = {0, 0};
  run.categories = {skin};
  odiC_Step step;
  step.name = "Pull";
  step.kind = odiC_FREQUENCY;
  step.domain = odiC_FREQUENCY_DOMAIN;
  step.Add({.value = 0.5, .mode = 1, .description = "first", .eigenvalue = 9.8}, 1);
  step.SetPresent(0, 0, 1);
  step.numHistories = 1;
  run.steps = {step};
  run.numLayouts = run.numPointSets = 1;
  return run;
}

odiC_Layout Places() {
  odiC_LayoutBlock nodes, faces;
  nodes.position = res_NODAL;
  nodes.numEntities = 3;
  nodes.entities = cow_ArrayCOW<int>(std::vector{1, 4, 5});
  nodes.region = "Skin";
  faces.position = res_ELEMENT_FACE;
  faces.classIndex = 0;
  faces.numEntities = 2;
  faces.entities = cow_ArrayCOW<int>(std::vector{1, 1});
  faces.faces = cow_ArrayCOW<int>(std::vector{0, 2});
  odiC_Layout layout;
  layout.completeness = res_PARTIAL_FIELD;
  layout.Add(nodes);
  layout.Add(faces);
  return layout;
}

odiC_PointSet Points() {
  odiC_PointSet points;
  points.name = "one";
  points.elemTypeLabel = "C3D8R";
  points.count = 1;
  points.isoCoordinates = {0, 0, 0.25};
  points.weights = {8};
  return points;
}

odiC_Field Stress() {
  odiC_Field field;
  field.step = 1;
  field.low = {-1, 0, 2};
  field.high = {1, 2.5, 3};
  field.numNotNumbers = 1;
  field.floats = {cow_ArrayCOW<float>(std::vector{-1.F, 0.F, 2.F, 1.F, 2.5F, 3.F}), 3};
  return field;
}

odiC_History Energy() {
  odiC_History history;
  history.name = "ALLIE";
  history.variable = 0;
  history.domainValues = {0, 0.5};
  history.values = {0, 12.5};
  return history;
}
} // namespace

std::vector<StoredObject> OneOfEach() {
  const dtu_DatumCsys csys(9, 10, {1, 2, 3}, {0, 1, 0}, {0, 0, 2}, {1, 0, 0}, dtu_SPHERICAL);
  dtu_DynamicDatumCsys dynamic(11, 12, 1, 2, 3, 10, 20, 30, dtu_CYLINDRICAL, true);
  dynamic.Regenerate({{{1, 0, 0}, {0, 1, 0}, {-1, 0, 0}}}, false);
  dtu_6dofNodeDatumCsys sixDof(13, 14, 4, 99, dtu_SPHERICAL, &csys);
  sixDof.Regenerate({{1, 2, 3}, {0, 0, 0}}, false);
  dtu_DatumContainer datums;
  datums.SetOwnerNames({"Assembly", "Wing"});
  datums.Add(sixDof, "spar");
  datums.Add(dtu_DatumPoint(0, 4, {1, 2, 3}), "tip");
  rgnC_RegionList regions;
  regions.ListToModify().Append(Region("A")).Append(Region("B"));
  using Profile = shp_AnalyticSurfaceSegmentListShortcut;
  const shp_AnalyticSurfaceShortcut surface("surfaces/Die");
  const Profile profile(new shp_AnalyticSurfaceSegmentListInAnalyticSurfaceShortcut(surface, "profile"));
  const gsl_Point point(1.5, -2.25, 0.1);
  gsl_Matrix turn;
  turn.SetRow(0, {0, -1, 0});
  turn.SetRow(1, {0.6, 0, 0.8});
  turn.SetTranslation({1, 2, 3});
  const gsl_Dot dot(4, 99), at(1e-300, 1e300, 0.1);
  gsl_Dot moved = at; // of one identifier, but elsewhere
  moved.SetValues(8, 9, 10);
  const auto line = Told<gsl_StLine>({1, 2, 3}, gsl_FROM_DATUM_CSYS);
  const auto plane = Told<gsl_Plane>({0, 0, 9}, gsl_FROM_ELEM_FACE);
  return {
      Of("geometry/point", point),
      Of("geometry/vector", gsl_PersistentVector(gsl_Vector(3, 4, 12))),
      Of("geometry/matrix", gsl_PersistentMatrix(turn)),
      Of("geometry/identity", gsl_PersistentMatrix(gsl_Matrix())),
      Of("geometry/noMatrix", gsl_PersistentMatrix()),
      Of("geometry/line", line),
      Of("geometry/plane", plane),
      Of("geometry/segment", gsl_Segment(point, gsl_Point(4, 5, 6))),
      Of("geometry/box", gsl_BBox(gsl_Point(1, 2, 3), gsl_Point(4, 5, 6))),
      Of("geometry/dot", dot),
      Of("geometry/modelSegment", gsl_ModelSegment(at, moved)),
      Of("geometry/dots", ArrayOf<gsl_DotArray>(dot)),
      Of("geometry/lines", ArrayOf<gsl_LineArray>(line)),
      Of("geometry/planes", ArrayOf<gsl_PlaneArray>(plane)),
      Of("failure", odiC_Exception("frame 3: no field \"S\"")),
      Of("results/Wing/a", Results()),
      Of(odiC_LayoutRoot("results/Wing/a", 0), Places()),
      Of(odiC_PointSetRoot("results/Wing/a", 0), Points()),
      Of(odiC_FieldRoot("results/Wing/a", 1, 0, 0), Stress()),
      Of(odiC_HistoryRoot("results/Wing/a", 1, 0), Energy()),
      Of("meshes/mesh", Mesh()),
      Of("notes/mesh", Notes()),
      Of("datums/base", dtu_Datum(1, 2, dtu_PLANE)),
      As<dtu_Datum>("datums/point", dtu_DatumPoint(3, 4, {1, 2, 3})),
      As<dtu_Datum>("datums/axis", WithOutline(dtu_DatumAxis(5, 6, {1, 2, 3}, {0, 2, 0}))),
      As<dtu_Datum>("datums/plane", WithOutline(dtu_DatumPlane(7, 8, {1, 2, 3}, {1, 1, 0}))),
      As<dtu_Datum>("datums/csys", csys),
      As<dtu_DatumCsys>("datums/dynamic", dynamic),
      As<dtu_Datum>("datums/sixDof", sixDof),
      Of("datums/Wing", datums),
      Of("nodes", dtu_NodesPackage(1, 2, 3, 10, 20, 30, true)),
      Of("sets/Skin", Set()),
      Of("subset", Subset()),
      Of("regions/Skin", Region("Skin")),
      Of("pair", rgnC_RegionPair(Region("A"), Region("B"), true, false, true)),
      Of("regionList", rgnC_RegionListPropAttr(regions, true)),
      Of("toSet", rgnC_SetDataShortcut("sets/Skin")),
      Of("toSetInList",
         rgnC_SetDataShortcut(new rgnC_SetDataInSetDataListShortcut(rgnC_SetDataShortcut("list"), 2))),
      Of("toSurface", surface),
      Of("toProfile", profile),
      Of("toProfileByPath", Profile("surfaces/Die.profile")),
      Of("toSegment", shp_AnalyticSurfaceSegmentShortcut(
                          new shp_AnalyticSurfaceSegmentInAnalyticSurfaceSegmentListShortcut(profile, 1))),
      Of("toSegmentByPath", shp_AnalyticSurfaceSegmentShortcut("surfaces/Die.profile[1]")),
      Of("surfaces/Die", Surface()),
      Of("oldSurface", OldSurface()),
      Of("eoReference", bdo_EOReference("Part", "Wing")),
      Of("theory", bdo_Theory(bdo_2D_SPACE, bdo_EULERIAN, bdo_TYPE_ASSEMBLY, true)),
      Of("datumRef", dtmC_DatumRef(5, 6, "Wing", 7)),
  };
}

void WriteOneOfEach(cls_Database& database) {
  for (const StoredObject& one : OneOfEach()) {
    cls_WritePass pass(database);
    one.write(pass);
    pass.Commit();
  }
}
