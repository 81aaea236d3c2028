// One object of every persistent class of datums, regions, references and analytic surfaces, written by one
// process and read by another.
//
//   reread write FILE    stores them
//   reread read FILE     reads them, compares them with fresh ones, stores what was read once more and
//   compares
//                        the two files row by row
#include <BasicUtils/cls_MetadataRegistrar.h>
#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bdo_EOReference.h>
#include <CoreGeometry/bdo_Theory.h>
#include <CoreGeometry/dtmC_DatumRef.h>
#include <CoreGeometry/dtu_6dofNodeDatumCsys.h>
#include <CoreGeometry/dtu_DatumAxis.h>
#include <CoreGeometry/dtu_DatumPlane.h>
#include <CoreGeometry/dtu_DatumPoint.h>
#include <CoreGeometry/rgnC_RegionPair.h>
#include <CoreGeometry/shp_AnalyticRigidSurfaceData.h>
#include <filesystem>
#include <functional>
#include <iostream>
#include <set>
#include <sqlite3.h>

namespace {
int theFailures = 0;
void Expect(bool holds, const std::string& what) {
  if (holds) return;
  std::cerr << what << '\n';
  ++theFailures;
}

struct Case {
  cow_String root;
  std::function<void(cls_WritePass&)> write;
  std::function<void(const cls_Database& from, cls_WritePass& to)> read;
};

/// A pass for each root, since what roots share is shared within one pass only.
template<class Put> void StoreEach(cls_Database& db, const std::vector<Case>& cases, Put put) {
  for (const Case& one : cases) {
    cls_WritePass pass(db);
    put(one, pass);
    pass.Commit();
  }
}

/// Written as what it is, read as `Base`.
template<class Base, class T> Case As(const cow_String& root, T object) {
  const auto shared = std::make_shared<T>(std::move(object));
  return {root, [=](cls_WritePass& pass) { pass.Put(root, *shared); },
          [=](const cls_Database& from, cls_WritePass& to) {
            const cow_CountedHld<Base> read = from.Get<Base>(root);
            const Base& built = *shared;
            Expect(*read == built, root + " is not equal to what was stored");
            if constexpr (requires { built.DynTypeId(); })
              Expect(read->DynTypeId() == built.DynTypeId(), root + " is of another class");
            if constexpr (std::is_same_v<T, rgnC_SetData>)
              Expect(&read->SubSet(0) == &read->SubSet(1), root + ": its subsets are no longer one");
            to.Put(root, read);
          }};
}
template<class T> Case Of(const cow_String& root, T object) { return As<T>(root, std::move(object)); }

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

std::vector<Case> Cases() {
  const dtu_DatumCsys csys(9, 10, {1, 2, 3}, {0, 1, 0}, {0, 0, 2}, {1, 0, 0}, dtu_SPHERICAL);
  dtu_DynamicDatumCsys dynamic(11, 12, 1, 2, 3, 10, 20, 30, dtu_CYLINDRICAL, true);
  dynamic.Regenerate({{{1, 0, 0}, {0, 1, 0}, {-1, 0, 0}}}, false);
  dtu_6dofNodeDatumCsys sixDof(13, 14, 4, 99, dtu_SPHERICAL, &csys);
  sixDof.Regenerate({{1, 2, 3}, {0.1F, 0.2F, 0.3F}}, false);
  rgnC_RegionList regions;
  regions.ListToModify().Append(Region("A")).Append(Region("B"));
  using Profile = shp_AnalyticSurfaceSegmentListShortcut;
  const shp_AnalyticSurfaceShortcut surface("surfaces/Die");
  const Profile profile(new shp_AnalyticSurfaceSegmentListInAnalyticSurfaceShortcut(surface, "profile"));
  return {
      Of("datums/base", dtu_Datum(1, 2, dtu_PLANE)),
      As<dtu_Datum>("datums/point", dtu_DatumPoint(3, 4, {1, 2, 3})),
      As<dtu_Datum>("datums/axis", WithOutline(dtu_DatumAxis(5, 6, {1, 2, 3}, {0, 2, 0}))),
      As<dtu_Datum>("datums/plane", WithOutline(dtu_DatumPlane(7, 8, {1, 2, 3}, {1, 1, 0}))),
      As<dtu_Datum>("datums/csys", csys),
      As<dtu_DatumCsys>("datums/dynamic", dynamic),
      As<dtu_Datum>("datums/sixDof", sixDof),
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

/// Every row of the file as text, but for checksums and the identifiers of embedded objects.
std::vector<std::string> Rows(const std::string& file) {
  sqlite3* db = nullptr;
  sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
  const auto query = [&](const std::string& sql) {
    std::vector<std::string> rows;
    const auto take = [](void* to, int, char** values, char**) {
      static_cast<std::vector<std::string>*>(to)->emplace_back(values[0] ? values[0] : "NULL");
      return 0;
    };
    Expect(sqlite3_exec(db, sql.c_str(), take, &rows, nullptr) == SQLITE_OK, sql + ": " + sqlite3_errmsg(db));
    return rows;
  };
  std::vector<std::string> all = query("SELECT quote(uid) FROM object WHERE owner IS NULL ORDER BY id");
  for (const std::string& table :
       query("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name")) {
    const std::string columns =
        query("SELECT group_concat('quote(\"' || name || '\")', ' || '', '' || ') FROM "
              "pragma_table_info('"
              + table + "') WHERE name NOT IN ('$sum', 'sum', 'content', 'uid')")[0];
    for (const std::string& row : query("SELECT " + columns + " FROM \"" + table + "\" ORDER BY 1"))
      all.push_back(table + ": " + row);
  }
  sqlite3_close(db);
  return all;
}

void Write(const std::string& file) {
  std::filesystem::remove(file);
  cls_Database db = cls_Database::Create(file, {512}); // small, one is kept for each release
  StoreEach(db, Cases(), [](const Case& one, cls_WritePass& pass) { one.write(pass); });
}

void Read(const std::string& file) {
  const std::string again = file + ".again";
  std::filesystem::remove(again);
  const cls_Database db = cls_Database::Open(file);
  cls_Database copy = cls_Database::Create(again, {4096});
  StoreEach(copy, Cases(), [&](const Case& one, cls_WritePass& pass) { one.read(db, pass); });
  const std::vector<std::string> wanted = Rows(file), found = Rows(again);
  Expect(wanted.size() > 100 && wanted.size() == found.size(), "another number of rows");
  for (std::size_t i = 0; i < std::min(wanted.size(), found.size()); ++i)
    Expect(wanted[i] == found[i], wanted[i] + "\n  came back as " + found[i]);

  std::set<unsigned> stored;
  for (const auto& type : db.Classes()) stored.insert(type.typeId);
  for (const auto& [key, record] : omi_Singleton<cls_MetadataRegistrar>::Instance().Registry().Records()) {
    const unsigned component = record.TypeId() >> 16;
    const bool isOurs = component == 770 || component == 596 || component == 775 || component == 584
                        || component == 831
                        || component == 0; // two regions classes are older than the scheme
    if (isOurs && record.IsCurrent())
      Expect(stored.contains(record.TypeId()), record.Name() + " is not tried");
  }
}
} // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const DDB_CoreGeometry library;
  try {
    if (std::string(argv[1]) == "write")
      Write(argv[2]);
    else
      Read(argv[2]);
  } catch (const std::exception& error) {
    Expect(false, error.what());
  }
  return theFailures == 0 ? 0 : 1;
}
