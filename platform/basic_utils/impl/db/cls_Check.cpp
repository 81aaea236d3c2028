#include <BasicUtils/cls_Check.h>

#include "db_Value.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>
#include <cstring>

namespace {
constexpr const char* kRestore = "restore the file from a backup; \"dump\" shows what can still be read";
constexpr const char* kRewrite = "put the root again, or restore the file from a backup";
constexpr const char* kCompact = "\"compact\" removes it";

class Check {
public:
  explicit Check(db_File& file) : file_(file) {}

  std::vector<cls_Finding> Run() {
    Guarded({}, [&] { Pages(); });
    if (!found_.empty()) return std::move(found_); // rows of damaged pages would be reported once more
    const db_Reader session(file_);                // one view of the file for everything that follows
    Guarded({}, [&] { file_.LoadClasses(); });
    Layouts();
    Guarded({}, [&] { Objects(); });
    Guarded({}, [&] { Arrays(); });
    if (std::none_of(found_.begin(), found_.end(), IsFault)) Guarded({}, [&] { Roots(); });
    Guarded({}, [&] { Unreached(); });
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
    const db_Use keys(file_.Statement("PRAGMA foreign_key_check"));
    while (keys->Step())
      Add({},
          "a row of table " + cow_String(keys->Text(0)) + " refers to a missing row of table "
              + cow_String(keys->Text(2)),
          kRestore);
  }

  void Layouts() {
    for (const auto& type : file_.Classes())
      Guarded({type->name}, [&] {
        if (file_.RecordOf(*type).IsCurrent()) return;
        db_Statement count(file_.Connection(), "SELECT count(*) FROM " + type->table);
        if (count.Step() && count.Int(0) > 0)
          Add({type->name},
              std::to_string(count.Int(0)) + " objects are stored in the superseded layout of version "
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
    for (const long long row : rows) {
      progress.CheckCancelled();
      Guarded({"", row}, [&] { Object(file_.Load(row)); });
    }
  }

  /// The references of one object against the table of references.
  void Object(const db_StoredRow& object) {
    std::vector<long long> needed, listed;
    for (std::size_t i = 0; i < object.cells.size(); ++i) {
      const auto& attribute = object.type->attributes[i];
      Guarded({object.type->name, object.id, attribute.name}, [&] {
        for (const long long child : Children(object.cells[i], attribute.type)) {
          const db_Use found(file_.Statement("SELECT owner FROM object WHERE id = ?1"));
          found->Bind(1, child);
          if (!found->Step())
            Add({object.type->name, object.id, attribute.name},
                "refers to object " + std::to_string(child) + ", which is missing", kRestore);
          else if (found->Type(0) == SQLITE_NULL)
            needed.push_back(child);
          else if (found->Int(0) != object.id)
            Add({object.type->name, object.id, attribute.name},
                "holds object " + std::to_string(child) + ", which belongs to another object", kRestore);
        }
      });
    }
    {
      const db_Use references(file_.Statement("SELECT child FROM ref WHERE parent = ?1 ORDER BY child"));
      references->Bind(1, object.id);
      while (references->Step()) listed.push_back(references->Int(0));
    }
    std::sort(needed.begin(), needed.end());
    needed.erase(std::unique(needed.begin(), needed.end()), needed.end());
    const auto report = [&](std::span<const long long> some, std::span<const long long> others,
                            const char* what, const char* advice) {
      for (const long long child : some)
        if (!std::binary_search(others.begin(), others.end(), child))
          Add({object.type->name, object.id}, what + std::to_string(child), advice);
    };
    report(needed, listed, "the table of references lacks the reference to object ", kRewrite);
    report(listed, needed, "the table of references has a reference that the object lacks, to object ",
           kRewrite);
  }

  /// Rows of objects and arrays that a cell names.
  static std::vector<long long> Children(const cls_Cell& cell, cls_AttributeType type) {
    std::vector<long long> rows;
    const auto* blob = std::get_if<cls_Blob>(&cell);
    const auto decode = [&](cls_ArrayKind kind) {
      const auto bytes = cls_DecodeArray(*blob, kind);
      rows.resize(bytes.size() / sizeof(long long));
      if (!rows.empty()) std::memcpy(rows.data(), bytes.data(), bytes.size());
    };
    switch (type) {
    case cls_AttributeType::IntArray:
    case cls_AttributeType::UintArray:
    case cls_AttributeType::FloatArray:
    case cls_AttributeType::DoubleArray:
    case cls_AttributeType::Object:
    case cls_AttributeType::Shortcut:
      if (const auto* row = std::get_if<long long>(&cell))
        rows.push_back(*row);
      else if (blob && type == cls_AttributeType::Object)
        decode(cls_ArrayKind::RowIds);
      break;
    case cls_AttributeType::ObjectMap:
      if (blob) decode(cls_ArrayKind::Map);
      for (std::size_t i = 0; i < rows.size() / 2; ++i) rows[i] = rows[2 * i + 1];
      rows.resize(rows.size() / 2);
      break;
    default: break;
    }
    return rows;
  }

  void Arrays() {
    std::vector<long long> rows;
    {
      const db_Use arrays(file_.Statement("SELECT id FROM object WHERE class IS NULL ORDER BY id"));
      while (arrays->Step()) rows.push_back(arrays->Int(0));
    }
    std::vector<std::byte> part;
    for (const long long row : rows)
      Guarded({"array", row}, [&] {
        const db_Array array = file_.LoadArray(row);
        const std::size_t size = db_ElementSize(array.kind);
        const auto rowBytes = array.width * size;
        const std::size_t step = std::max<std::size_t>(1, db_File::kChunkBytes / rowBytes) * array.width;
        for (std::size_t first = 0, count = static_cast<std::size_t>(array.count); first < count;
             first += step) {
          part.resize(std::min(step, count - first) * size);
          file_.ReadPart(array, size, first, part);
        }
        const db_Use chunks(file_.Statement("SELECT count(*) FROM chunk WHERE array = ?1"));
        chunks->Bind(1, row);
        const long long rowsStored = array.count / array.width;
        const long long expected = (rowsStored + array.chunkRows - 1) / array.chunkRows;
        if (chunks->Step() && chunks->Int(0) != expected)
          Add({"array", row},
              "has " + std::to_string(chunks->Int(0)) + " chunks instead of " + std::to_string(expected),
              kRestore);
      });
  }

  static bool IsFault(const cls_Finding& finding) { return finding.weight == cls_Finding::Weight::Fault; }

  void Roots() {
    std::vector<cow_String> names;
    {
      const db_Use roots(file_.Statement("SELECT name FROM root ORDER BY name"));
      while (roots->Step()) names.emplace_back(roots->Text(0));
    }
    for (const cow_String& name : names)
      Guarded({}, [&] {
        db_Reader session(file_);
        const long long row = file_.Root(name);
        session.Read(row, session.LoadObject(row, 0)->record->TypeId());
      });
  }

  void Unreached() {
    const db_Use unreached(file_.Statement(
        "WITH RECURSIVE live(id) AS (SELECT object FROM root UNION SELECT child FROM ref JOIN live ON "
        "parent = live.id UNION SELECT o.id FROM object o JOIN live ON o.owner = live.id) "
        "SELECT count(*) FROM object WHERE id NOT IN (SELECT id FROM live)"));
    if (unreached->Step() && unreached->Int(0) > 0)
      Add({}, std::to_string(unreached->Int(0)) + " stored objects are not reached from any root", kCompact,
          cls_Finding::Weight::Note);
  }

  db_File& file_;
  std::vector<cls_Finding> found_;
};
} // namespace

std::vector<cls_Finding> cls_Check(const cls_Database& database) {
  return Check(db_Access::FileOf(database)).Run();
}
