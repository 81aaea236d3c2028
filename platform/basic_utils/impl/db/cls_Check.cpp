#include <BasicUtils/cls_Check.h>

#include "db_Value.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_Poll.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>

namespace {
constexpr const char* kRestore = cls_kRestoreAdvice;
constexpr const char* kRewrite =
    "put the root again, or move the file and its journal away and put a backup there";
constexpr const char* kCompact = "\"compact\" removes it";

class Check {
public:
  explicit Check(db_File& file) : file_(file) {}

  std::vector<cls_Finding> Run() {
    Guarded({}, [&] { Pages(); });
    if (!found_.empty()) return std::move(found_); // rows of damaged pages would be reported once more
    const db_Reader session(file_);                // one view of the file for everything that follows
    Guarded({}, [&] { file_.LoadClasses(); });
    Totals();
    Layouts();
    Guarded({}, [&] { Objects(); });
    Guarded({}, [&] { Arrays(); });
    if (std::none_of(found_.begin(), found_.end(), IsFault)) Guarded({}, [&] { Roots(); });
    Guarded({}, [&] { References(); });
    return std::move(found_);
  }

private:
  struct Place {
    cow_String className{};
    long long object = 0;
    cow_String field{};
  };

  void Add(const Place& place, cow_String what, cow_String advice,
           cls_Finding::Weight weight = cls_Finding::Weight::Fault) {
    found_.push_back(
        {weight, place.className, place.object, place.field, std::move(what), std::move(advice)});
  }

  /// Runs a check; an exception becomes a finding.
  template<class Work> void Guarded(const Place& place, const Work& work) {
    try {
      work();
    } catch (const cls_BusyException&) {
      throw;
    } catch (const wip_Cancelled&) {
      throw;
    } catch (const db_PlaceException& failure) {
      Add({failure.className, failure.object, failure.field}, Stripped(failure.Message()), kRestore);
    } catch (const nex_TextException& failure) {
      Add(place, Stripped(failure.Message()), kRestore);
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception& failure) {
      Add(place, failure.what(), kRestore);
    }
  }

  /// The message without the file's name.
  cow_String Stripped(const cow_String& message) const {
    const cow_String prefix = file_.Connection().File() + ": ";
    return message.starts_with(prefix) ? message.substr(prefix.size()) : message;
  }

  void Pages() {
    std::vector<cow_String> wrong;
    // a lack of memory looks like damage here: only what is found twice is damage
    for (int attempt = 0; attempt < 2 && (attempt == 0 || !wrong.empty()); ++attempt) {
      wrong.clear();
      const db_Use pages(file_.Statement("PRAGMA integrity_check(100)"));
      while (pages->Step())
        if (pages->Text(0) != "ok") wrong.emplace_back(pages->Text(0));
    }
    for (const cow_String& what : wrong) Add({}, "database pages: " + what, kRestore);
  }

  void Layouts() {
    for (const auto& type : file_.Classes())
      Guarded({type->name}, [&] {
        if (file_.RecordOf(*type).IsCurrent()) return;
        if (const long long count = file_.NumObjects(*type); count > 0)
          Add({type->name},
              std::to_string(count) + " objects are stored in the superseded layout of version "
                  + std::to_string(type->version),
              "none needed; \"upgrade\" rewrites them", cls_Finding::Weight::Note);
      });
  }

  void Objects() {
    std::vector<long long> rows;
    {
      const db_Use objects(file_.Statement("SELECT id FROM object WHERE class IS NOT NULL ORDER BY id"));
      while (objects->Step()) rows.push_back(objects->Int(0));
    }
    auto& progress = thr_ThreadSingleton<wip_WIP>::Instance();
    std::map<const db_Class*, long long> counted;
    for (const long long row : rows) {
      progress.CheckCancelled();
      Guarded({"", row}, [&] {
        const db_StoredRow object = file_.Load(row);
        ++counted[object.type];
        Object(object);
      });
    }
    if (std::any_of(found_.begin(), found_.end(), IsFault)) return;
    for (const auto& type : file_.Classes())
      if (const long long stored = file_.NumObjects(*type); stored != counted[type.get()])
        Add({type->name},
            "has " + std::to_string(stored) + " rows for " + std::to_string(counted[type.get()]) + " objects",
            kRestore);
  }

  /// Counts what one object refers to.
  void Object(const db_StoredRow& object) {
    for (std::size_t i = 0; i < object.cells.size(); ++i) {
      const auto& attribute = object.type->attributes[i];
      Guarded({object.type->name, object.id, attribute.name}, [&] {
        for (const long long child : db_ChildRows(object.cells[i], attribute.type)) {
          if (!file_.Has(child)) {
            Add({object.type->name, object.id, attribute.name},
                "refers to object " + std::to_string(child) + ", which is missing", kRestore);
            continue;
          }
          const long long owner = file_.LoadIdentity(child).owner;
          if (owner == 0)
            ++references_[child];
          else if (owner != object.id)
            Add({object.type->name, object.id, attribute.name},
                "holds object " + std::to_string(child) + ", which belongs to another object", kRestore);
        }
      });
    }
  }

  /// Objects know how many references there are to them.
  void References() {
    if (file_.Format() == db_File::kFirstFormat) return; // an upgrade counts them
    for (const db_RootRow& root : file_.Roots()) ++references_[root.object];
    std::vector<long long> rows;
    {
      const db_Use objects(file_.Statement("SELECT id FROM object ORDER BY id"));
      while (objects->Step()) rows.push_back(objects->Int(0));
    }
    long long unreached = 0;
    for (const long long row : rows)
      Guarded({"", row}, [&] {
        const db_Identity object = file_.LoadIdentity(row);
        const auto found = references_.find(row);
        const long long refs = found == references_.end() ? 0 : found->second;
        if (object.refs != refs)
          Add({"", row},
              "counts " + std::to_string(object.refs) + " references, but there are " + std::to_string(refs),
              kRewrite);
        else if (refs == 0 && object.owner == 0)
          ++unreached;
      });
    if (unreached > 0)
      Add({}, std::to_string(unreached) + " stored objects are not reached from any root", kCompact,
          cls_Finding::Weight::Note);
  }

  /// No row came or went unseen.
  void Totals() {
    if (file_.Format() == db_File::kFirstFormat) return;
    const auto check = [&](const std::string& table, const std::string& quoted, const char* column) {
      Guarded({}, [&] {
        db_Total total;
        db_Statement rows(file_.Connection(), "SELECT " + std::string(column) + " FROM " + quoted);
        while (rows.Step()) total.Add(rows.Int(0), 1);
        file_.ExpectTotal(table, total);
      });
    };
    for (const char* const table : {"class", "field", "object", "array", "chunk", "root"})
      check(table, "\"" + std::string(table) + "\"", "sum");
    for (const auto& type : file_.Classes()) check(db_File::TableOf(*type), type->table, "\"$sum\"");
  }

  void Arrays() {
    std::vector<long long> rows;
    {
      const db_Use arrays(file_.Statement("SELECT id FROM object WHERE class IS NULL ORDER BY id"));
      while (arrays->Step()) rows.push_back(arrays->Int(0));
    }
    std::vector<std::byte> part;
    long long chunks = 0;
    for (const long long row : rows)
      Guarded({"array", row}, [&] {
        const db_Array array = file_.LoadArray(row);
        chunks += array.NumChunks();
        const std::size_t size = db_ElementSize(array.kind);
        const auto rowBytes = array.width * size;
        const std::size_t step = std::max<std::size_t>(1, db_File::kChunkBytes / rowBytes) * array.width;
        for (std::size_t first = 0, count = static_cast<std::size_t>(array.count); first < count;
             first += step) {
          wip_Poll::Now();
          part.resize(std::min(step, count - first) * size);
          file_.ReadPart(array, size, first, part);
        }
      });
    const db_Use stored(file_.Statement("SELECT count(*) FROM chunk"));
    if (stored->Step() && stored->Int(0) > chunks)
      Add({"array"}, std::to_string(stored->Int(0) - chunks) + " chunks belong to no array", kRestore);
  }

  static bool IsFault(const cls_Finding& finding) { return finding.weight == cls_Finding::Weight::Fault; }

  void Roots() {
    for (const db_RootRow& root : file_.Roots())
      Guarded({}, [&] {
        db_Reader session(file_);
        session.Read(root.object, session.LoadObject(root.object, 0)->record->TypeId());
      });
  }

  db_File& file_;
  std::vector<cls_Finding> found_;
  std::map<long long, long long> references_; ///< to each object, counted
};
} // namespace

std::vector<cls_Finding> cls_Check(const cls_Database& database) {
  return Check(db_Access::FileOf(database)).Run();
}
