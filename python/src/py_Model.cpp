// A model file, without the rules of the mapping that Python shows: those are in _model.py.
#include "py_Model.h"

#include "py_Arrays.h"
#include "py_Csys.h"
#include "py_Lists.h"
#include "py_Tables.h"
#include "py_Work.h"

#include <BasicUtils/cls_CreateModel.h>
#include <BasicUtils/cls_Dump.h>
#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_RegenerateDatums.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/dtu_DatumContainer.h>
#include <CoreGeometry/fmt_Import.h>
#include <CoreGeometry/odiC_CheckModel.h>
#include <CoreGeometry/odiC_PutMesh.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <CoreUtils/atr_Near.h>
#include <map>
#include <nanobind/stl/pair.h>
#include <sstream>
#include <variant>

namespace {
using Database = py_Database;
template<class Call> auto Use(Database& self, Call call) { return py_UseModel(self, std::move(call)); }

struct PutMesh {
  cow_String name;
  py_Mesh mesh;
};
struct PutSet {
  cow_String mesh, name;
  py_Set set;
};
struct PutDatum {
  cow_String mesh, name;
  std::optional<py_Csys> csys; ///< none: removes it
};
struct Remove {
  cow_String root;
};
struct RemoveRun {
  cow_String root;
};
using Change = std::variant<PutMesh, PutSet, PutDatum, Remove, RemoveRun>;

std::vector<Change> ToChanges(const nb::list& changes) {
  std::vector<Change> made;
  for (const nb::handle change : changes) {
    const auto kind = nb::cast<std::string>(change[0]);
    const auto text = [&](int i) { return nb::cast<std::string>(change[i]); };
    if (kind == "mesh")
      made.emplace_back(PutMesh{text(1), nb::cast<py_Mesh>(change[2])});
    else if (kind == "set")
      made.emplace_back(PutSet{text(1), text(2), nb::cast<py_Set>(change[3])});
    else if (kind == "datum")
      made.emplace_back(PutDatum{
          text(1), text(2), change[3].is_none() ? std::optional<py_Csys>() : nb::cast<py_Csys>(change[3])});
    else if (kind == "remove run")
      made.emplace_back(RemoveRun{text(1)});
    else
      made.emplace_back(Remove{text(1)});
  }
  return made;
}

/// Applies changes to a model that nobody else can change meanwhile.
class Applying {
public:
  Applying(const cls_Database& model, cls_WritePass& pass) : model_(model), pass_(pass) {
    for (const cow_String& root : model.RootsOf({bme_Mesh::TypeId()}))
      ids_[root] = bme_StoredMeshId(model, root);
    for (const auto& [root, id] : ids_) nextId_ = std::max(nextId_, id + 1);
  }
  void Apply(const std::vector<Change>& changes) {
    for (const Change& change : changes) std::visit([&](const auto& one) { Do(one); }, change);
    for (auto& [root, datums] : datums_) {
      if (const auto mesh = meshes_.find(root); mesh != meshes_.end())
        bme_RegenerateDatums(datums, *mesh->second);
      pass_.Put(root, datums);
    }
  }
  /// What could not follow the meshes that took the place of others.
  const std::vector<cow_String>& Remarks() const noexcept { return remarks_; }

private:
  /// The mesh, and sets of it, under an identifier.
  static fmt_Import Renumbered(const py_Mesh& mesh, const bme_NamedSet* set, int id) {
    fmt_Import import;
    import.mesh = std::make_unique<bme_Mesh>(*mesh);
    if (set) import.sets.push_back(*set);
    fmt_Renumber(import, static_cast<unsigned>(id));
    return import;
  }

  void Do(const PutMesh& change) {
    const cow_String root = bme_kMeshFolder + change.name;
    const auto [at, isNew] = ids_.try_emplace(root, nextId_);
    if (isNew) ++nextId_;
    const bool isRenumbered = change.mesh->Id() != at->second;
    const odiC_LeftBehind left =
        odiC_PutMesh(model_, pass_, root,
                     isRenumbered ? *Renumbered(change.mesh, nullptr, at->second).mesh : *change.mesh);
    for (const cow_String& run : left.runs)
      remarks_.push_back(run + " is removed: it is of a mesh of other sizes or types");
    for (const auto& [path, reason] : left.datums)
      remarks_.emplace_back(path).append(" keeps its frame: ").append(reason);
    meshes_[bme_kDatumFolder + change.name] = change.mesh;
  }

  void Do(const PutSet& change) {
    const auto at = ids_.find(bme_kMeshFolder + change.mesh);
    if (at == ids_.end())
      throw py_Error("KeyError",
                     "there is no mesh \"" + change.mesh + "\" for the set \"" + change.name + '"');
    bme_NamedSet set = Renumbered(change.set.mesh, &change.set.set, at->second).sets.front();
    set.name = change.name;
    set.root.clear();
    set.data.SetLabel(change.name);
    bme_PutSet(pass_, change.mesh, set);
  }

  void Do(const PutDatum& change) {
    const cow_String root = bme_kDatumFolder + change.mesh;
    const auto [at, isNew] = datums_.try_emplace(root);
    if (isNew && model_.Has(root)) at->second = *model_.Get<dtu_DatumContainer>(root);
    if (isNew && !model_.Has(root)) at->second.SetOwnerNames({change.mesh});
    if (const dtu_Datum* old = at->second.Find(change.name); old && change.csys)
      return at->second.Replace(at->second.IdOf(change.name), change.csys->csys);
    if (change.csys)
      at->second.Add(change.csys->csys, change.name);
    else
      at->second.Remove(at->second.IdOf(change.name));
  }

  void Do(const Remove& change) {
    pass_.Remove(change.root);
    ids_.erase(change.root);
  }

  void Do(const RemoveRun& change) { odiC_RemoveRun(model_, pass_, change.root); }

  const cls_Database& model_;
  cls_WritePass& pass_;
  std::map<cow_String, int> ids_;
  int nextId_ = 0;
  std::map<cow_String, dtu_DatumContainer> datums_;
  std::map<cow_String, py_Mesh> meshes_; ///< that are put, by the root of their coordinate systems
  std::vector<cow_String> remarks_;
};

std::vector<cow_String> Commit(Database& self, const nb::list& list) {
  const std::vector<Change> changes = ToChanges(list);
  return Use(self, [&](cls_Database& model) {
    cls_WritePass pass(model);
    Applying applying(model, pass);
    applying.Apply(changes);
    pass.Commit();
    return applying.Remarks();
  });
}

void Create(const std::string& file, int pageSize, const nb::list& list) {
  const std::vector<Change> changes = ToChanges(list);
  py_Run([&] {
    cls_CreateModel(file, {.pageSize = pageSize}, [&](const cls_Database& model, cls_WritePass& pass) {
      Applying(model, pass).Apply(changes);
    });
  });
}

/// The root of the mesh and the name of each set, without reading meshes.
std::vector<std::pair<cow_String, cow_String>> SetRoots(Database& self) {
  return Use(self, [](const cls_Database& model) {
    std::vector<std::pair<cow_String, cow_String>> roots;
    for (const cow_String& mesh : model.RootsOf({bme_Mesh::TypeId()}))
      for (const bme_NamedSet& set : bme_SetsOfMesh(model, mesh)) roots.emplace_back(mesh, set.Root());
    return roots;
  });
}

nb::list Sets(Database& self, const std::string& meshRoot, const py_Mesh& mesh) {
  nb::list sets;
  for (bme_NamedSet& set :
       Use(self, [&](const cls_Database& model) { return bme_SetsOfMesh(model, meshRoot); })) {
    const cow_String root = set.Root();
    sets.append(nb::make_tuple(root, py_Set{mesh, std::move(set)}));
  }
  return sets;
}

nb::dict Datums(Database& self, const std::string& root) {
  const auto found = Use(self, [&](const cls_Database& model) {
    std::vector<std::pair<cow_String, py_Csys>> systems;
    const dtu_DatumContainer datums = *model.Get<dtu_DatumContainer>(root);
    for (const auto& [id, datum] : datums)
      if (const auto* csys = dynamic_cast<const dtu_DatumCsys*>(&datums.Get(id)))
        systems.emplace_back(datums.NameOf(id), py_Csys{*csys});
    return systems;
  });
  nb::dict byName;
  for (const auto& [name, csys] : found) byName[name.c_str()] = csys;
  return byName;
}

nb::list Classes(Database& self) {
  const nb::object type = nb::module_::import_("coregeometry._tables").attr("StoredClass");
  nb::list list;
  for (const auto& one : Use(self, [](const cls_Database& model) { return model.Classes(); }))
    list.append(type(one.name, one.typeId, one.version, one.objects, one.outdated));
  return list;
}

cow_String ClassName(Database& self, const std::string& root) {
  return Use(self, [&](const cls_Database& model) {
    const unsigned id = model.TypeId(root);
    for (const auto& one : model.Classes())
      if (one.typeId == id) return one.name;
    return cow_String();
  });
}

nb::list Check(Database& self) {
  return py_Findings(Use(self, [](cls_Database& model) { return odiC_CheckModel(model); }));
}

template<class T>
nb::object ReadNumbers(Database& self, const std::string& path, std::size_t first, std::size_t count) {
  std::vector<T> numbers(count);
  Use(self, [&](const cls_Database& model) { model.ReadRange(path, first, std::span(numbers)); });
  return py_Array(std::move(numbers));
}

nb::object ReadRange(Database& self, const std::string& path, std::size_t first, std::size_t count,
                     const std::string& dtype) {
  using Read = nb::object (*)(Database&, const std::string&, std::size_t, std::size_t);
  return py_Choose<Read>("dtype", dtype,
                         {{"float32", &ReadNumbers<float>},
                          {"float64", &ReadNumbers<double>},
                          {"int32", &ReadNumbers<int>},
                          {"uint32", &ReadNumbers<unsigned>}})(self, path, first, count);
}
} // namespace

void py_BindModel(nb::module_& module) {
  nb::class_<Database>(module, "Database")
      .def_prop_ro("file_size",
                   [](Database& self) {
                     return Use(self, [](const cls_Database& model) { return model.FileSize(); });
                   })
      .def_prop_ro("is_outdated",
                   [](Database& self) {
                     return Use(self, [](const cls_Database& model) { return model.IsOutdated(); });
                   })
      .def("roots",
           [](Database& self) {
             return Use(self, [](const cls_Database& model) {
               const cow_List<cow_String> roots = model.Roots();
               return std::vector<cow_String>(roots.begin(), roots.end());
             });
           })
      .def(
          "roots_of",
          [](Database& self, const std::string& kind) {
            return Use(self, [&](const cls_Database& model) {
              return model.RootsOf({py_Choose<unsigned>("kind", kind,
                                                        {{"mesh", bme_Mesh::TypeId()},
                                                         {"region", rgnC_Region::TypeId()},
                                                         {"datums", dtu_DatumContainer::TypeId()},
                                                         {"csys", dtu_DatumCsys::TypeId()}})});
            });
          },
          nb::arg("kind"))
      .def("runs",
           [](Database& self) {
             return Use(self, [](const cls_Database& model) { return odiC_Run::RootsOf(model); });
           })
      .def("class_name", &ClassName, nb::arg("root"))
      .def(
          "mesh",
          [](Database& self, const std::string& root) {
            return Use(self, [&](const cls_Database& model) { return py_Mesh(*model.Get<bme_Mesh>(root)); });
          },
          nb::arg("root"))
      .def(
          "csys",
          [](Database& self, const std::string& root) {
            return Use(self,
                       [&](const cls_Database& model) { return py_Csys{*model.Get<dtu_DatumCsys>(root)}; });
          },
          nb::arg("root"))
      .def("set_roots", &SetRoots)
      .def("sets", &Sets, nb::arg("mesh_root"), nb::arg("mesh"),
           nb::sig("def sets(self, mesh_root: str, mesh: Mesh) -> list[tuple[str, NamedSet]]"))
      .def("datums", &Datums, nb::arg("root"),
           nb::sig("def datums(self, root: str) -> dict[str, CoordinateSystem]"))
      .def("commit", &Commit, nb::arg("changes"),
           nb::sig("def commit(self, changes: list[tuple[typing.Any, ...]]) -> list[str]"))
      .def("classes", &Classes, nb::sig("def classes(self) -> list[coregeometry._tables.StoredClass]"))
      .def(
          "upgrade",
          [](Database& self, const std::optional<std::string>& backup) {
            return Use(self, [&](cls_Database& model) {
              return model.Upgrade([&] {
                if (backup) model.Backup(*backup);
              });
            });
          },
          nb::arg("backup").none())
      .def("compact", [](Database& self) { Use(self, [](cls_Database& model) { model.Compact(); }); })
      .def(
          "backup",
          [](Database& self, const std::string& file) {
            Use(self, [&](const cls_Database& model) { model.Backup(file); });
          },
          nb::arg("file"))
      .def("dump",
           [](Database& self) {
             const std::string text = Use(self, [](const cls_Database& model) {
               std::ostringstream out;
               cls_Dump(model, out);
               return out.str();
             });
             return nb::bytes(text.data(), text.size());
           })
      .def("check", &Check, nb::sig("def check(self) -> list[coregeometry._tables.Finding]"))
      .def("read_range", &ReadRange, nb::arg("path"), nb::arg("first"), nb::arg("count"), nb::arg("dtype"),
           nb::rv_policy::automatic,
           nb::sig("def read_range(self, path: str, first: int, count: int, dtype: str) -> "
                   "numpy.typing.NDArray[typing.Any]"));
  module.def(
      "open_database",
      [](const std::string& file, bool mayWrite, int timeout, bool memoryMap) {
        auto opened = py_Run([&] {
          auto model = std::make_shared<Database>(cls_Database::Open(
              file, mayWrite ? cls_Database::Mode::ReadWrite : cls_Database::Mode::ReadOnly));
          model->database.SetBusyTimeout(timeout);
          model->database.UseMemoryMap(memoryMap);
          return model;
        });
        return opened;
      },
      nb::arg("file"), nb::arg("may_write"), nb::arg("timeout_ms"), nb::arg("memory_map"));
  module.def(
      "create_database", &Create, nb::arg("file"), nb::arg("page_size"), nb::arg("changes"),
      nb::sig(
          "def create_database(file: str, page_size: int, changes: list[tuple[typing.Any, ...]]) -> None"));
  module.def(
      "diff_databases",
      [](Database& first, Database& second, double tolerance) {
        return py_Differences(py_Run([&] {
          if (&first == &second) return std::vector<cls_Difference>();
          const std::scoped_lock lock(first.mutex, second.mutex);
          return cls_Diff(first.database, second.database, tolerance);
        }));
      },
      nb::arg("first"), nb::arg("second"), nb::arg("tolerance"),
      nb::sig("def diff_databases(first: Database, second: Database, tolerance: float) -> "
              "list[coregeometry._tables.Difference]"));
  module.def(
      "alternatives",
      [](const std::string& word, const std::vector<std::string>& names) {
        return atr_Alternatives(word, names);
      },
      nb::arg("word"), nb::arg("names"));
}
