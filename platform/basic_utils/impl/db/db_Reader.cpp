#include "db_Reader.h"

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <charconv>
#include <cstring>
#include <set>

namespace {
constexpr int kDeepestNesting = 500;

cls_ClassRegistrar& Registry() { return omi_Singleton<cls_MetadataRegistrar>::Instance().Registry(); }

/// Brings a row of a superseded layout up to date, one named successor after the other.
cls_Row Upgraded(cls_Row row, const cow_String& file) {
  for (int steps = 0; !Registry().Find(row.typeId, row.version)->IsCurrent(); ++steps) try {
      if (steps > 100) throw nex_TextException("layouts name each other as successors without end");
      row = Registry().ConvertOnce(row);
    } catch (const nex_TextException& failure) {
      throw nex_TextException(file + ": " + failure.Message());
    }
  return row;
}

/// The cells of an object but for its arrays.
cls_Row CellsOf(const db_Object& object) {
  cls_Row row;
  row.typeId = object.record->TypeId();
  row.version = object.record->Version();
  row.uid = object.uid;
  for (std::size_t i = 0; i < object.cells.size(); ++i)
    if (!std::holds_alternative<cls_Blob>(object.cells[i]))
      row.Set(object.record->Attributes()[i].name, object.cells[i]);
  return row;
}
} // namespace

db_Reader::db_Reader(db_File& file) : file_(file), ownTransaction_(!file.Connection().InTransaction()) {
  if (!ownTransaction_) return;
  file_.Connection().Begin("BEGIN");
  try {
    file_.Refresh();
  } catch (...) {
    file_.Connection().RollBack();
    throw;
  }
}

db_Reader::~db_Reader() {
  if (ownTransaction_) sqlite3_exec(file_.Connection().Handle(), "COMMIT", nullptr, nullptr, nullptr);
}

void db_Reader::Enter(long long row) {
  if (++depth_ > kDeepestNesting) {
    --depth_;
    file_.Connection().Damaged("object " + std::to_string(row) + " is nested more than "
                               + std::to_string(kDeepestNesting) + " levels deep");
  }
}

long long db_Reader::RowOf(const void* object) const noexcept {
  const auto found = rows_.find(object);
  return found == rows_.end() ? 0 : found->second;
}

std::shared_ptr<db_Object> db_Reader::LoadObject(long long id, long long owner, const db_Object* parent) {
  db_StoredRow stored = file_.Load(id);
  if (stored.owner != owner)
    file_.Connection().Damaged(db_File::NameOf(stored) + " belongs to another object");
  return UpToDate(std::move(stored), parent);
}

std::shared_ptr<db_Object> db_Reader::LoadChild(long long id, const db_Object& parent) {
  db_StoredRow stored = file_.Load(id);
  if (stored.owner != 0 && stored.owner != parent.id)
    file_.Connection().Damaged(db_File::NameOf(stored) + " belongs to another object");
  return UpToDate(std::move(stored), &parent);
}

std::shared_ptr<db_Object> db_Reader::UpToDate(db_StoredRow stored, const db_Object* parent) {
  const cls_ClassMetadata* record = &file_.RecordOf(*stored.type);
  auto object = std::make_shared<db_Object>();
  object->id = stored.id;
  object->owner = stored.owner;
  object->uid = stored.uid;
  object->record = record;
  if (record->IsCurrent()) {
    object->cells = std::move(stored.cells);
    return object;
  }
  cls_Row row;
  row.typeId = record->TypeId();
  row.version = record->Version();
  row.uid = stored.uid;
  const cls_Row parentRow = parent ? CellsOf(*parent) : cls_Row();
  row.parent = parent ? &parentRow : nullptr;
  for (std::size_t i = 0; i < stored.cells.size(); ++i)
    row.Set(record->Attributes()[i].name, std::move(stored.cells[i]));
  row = Upgraded(std::move(row), file_.Connection().File());
  object->record = Registry().Current(record->TypeId());
  for (const auto& attribute : object->record->Attributes()) object->cells.push_back(row.Get(attribute.name));
  return object;
}

std::shared_ptr<void> db_Reader::Read(long long row, unsigned typeId, long long owner,
                                      const db_Object* parent) {
  const cls_ClassRegistrar& registry = Registry();
  const auto check = [&](unsigned stored) {
    if (registry.IsA(stored, typeId)) return;
    const auto* wanted = registry.Current(typeId);
    throw nex_TextException(file_.Connection().File() + ": object " + std::to_string(row) + " is of class "
                            + registry.Current(stored)->Name() + ", not "
                            + (wanted ? wanted->Name() : "class " + std::to_string(typeId)));
  };
  auto found = objects_.find(row);
  if (found == objects_.end()) {
    const auto object = LoadObject(row, owner, parent);
    check(object->record->TypeId());
    Enter(row);
    struct Forget { // a failed read leaves nothing behind
      db_Reader& reader;
      long long row;
      bool failed = true;
      ~Forget() {
        reader.Leave();
        if (failed) reader.objects_.erase(row);
      }
    } forget{*this, row};
    objects_.emplace(row, Known{nullptr, object->record->TypeId()});
    cls_ReadVisitor visitor(PlaceOf(object));
    void* made = object->record->Create()(visitor);
    found = objects_.find(row);
    found->second.object = std::shared_ptr<void>(made, object->record->Destroy());
    rows_.emplace(made, row);
    forget.failed = false;
  } else if (!found->second.object) {
    file_.Connection().Damaged("object " + std::to_string(row) + " owns itself");
  }
  check(found->second.typeId);
  return {found->second.object, registry.Upcast(found->second.object.get(), found->second.typeId, typeId)};
}

void db_Reader::Expect(long long root) {
  if (!thr_ThreadSingleton<wip_WIP>::Instance().HasSink()) return;
  expected_ = 0;
  std::set<long long> seen{root};
  std::vector<long long> left{root};
  while (!left.empty()) {
    const db_StoredRow row = file_.Load(left.back());
    left.pop_back();
    for (std::size_t field = 0; field < row.cells.size(); ++field) {
      const auto type = row.type->attributes[field].type;
      for (const long long child : db_ChildRows(row.cells[field], type)) {
        if (!seen.insert(child).second) continue;
        if (db_HoldsNumbers(type)) {
          const db_Array array = file_.LoadArray(child);
          expected_ += static_cast<double>(array.count) * static_cast<double>(db_ElementSize(array.kind));
        } else {
          left.push_back(child);
        }
      }
    }
  }
  done_ = 0;
}

void db_Reader::Done(std::size_t bytes) {
  auto& progress = thr_ThreadSingleton<wip_WIP>::Instance();
  progress.CheckCancelled();
  done_ += static_cast<double>(bytes);
  if (expected_ > 0) progress.Progress(std::min(1.0, done_ / expected_));
}

cls_Location db_Reader::Resolve(std::string_view path) {
  const auto fail = [&](const cow_String& what) {
    throw nex_TextException(file_.Connection().File() + ": path \"" + cow_String(path) + "\": " + what);
  };
  // a root name may itself contain dots and brackets: the longest known one wins
  std::size_t end = path.size();
  std::optional<long long> row = file_.FindRoot(path); // mostly; without a look at all roots in any format
  if (!row) end = path.find_last_of(".[", file_.LongestRoot());
  while (!row && end != std::string_view::npos) {
    row = file_.FindRoot(path.substr(0, end));
    if (row || end == 0) break;
    end = path.find_last_of(".[", end - 1);
  }
  if (!row) fail("no such root");
  cls_Location location{*row, -1, -1};
  auto object = LoadObject(*row, 0);
  // the object that the location names so far, when it names one
  const auto step = [&](long long next, long long owner) {
    Enter(next);
    Leave();
    object = LoadObject(next, owner);
    location = {next, -1, -1};
  };
  const auto ownerOf = [&](long long next) { return file_.Load(next).owner; };
  while (end < path.size()) {
    std::size_t stop = end + 1;
    if (path[end] == '.') {
      stop = std::min(path.find_first_of(".[", end + 1), path.size());
      const std::string_view member = path.substr(end + 1, stop - end - 1);
      if (location.field >= 0) {
        const auto* next = std::get_if<long long>(&object->cells[static_cast<std::size_t>(location.field)]);
        if (!next
            || object->record->Attributes()[static_cast<std::size_t>(location.field)].type
                   != cls_AttributeType::Object)
          fail("\"" + cow_String(member) + "\" follows a field that is no object");
        step(*next, ownerOf(*next));
      }
      location.field = object->record->Find(object->record->MemberField(member));
      if (location.field < 0) fail(object->record->Name() + " has no member \"" + cow_String(member) + "\"");
    } else if (path[end] == '[') {
      stop = path.find(']', end);
      long long index = 0;
      const auto digits =
          stop == std::string_view::npos ? std::string_view() : path.substr(end + 1, stop - end - 1);
      if (digits.empty()
          || std::from_chars(digits.data(), digits.data() + digits.size(), index).ptr
                 != digits.data() + digits.size())
        fail("\"[\" is not followed by an index and \"]\"");
      ++stop;
      if (location.field < 0) fail("an index needs a list before it");
      const auto& attribute = object->record->Attributes()[static_cast<std::size_t>(location.field)];
      const auto* cell = std::get_if<cls_Blob>(&object->cells[static_cast<std::size_t>(location.field)]);
      if (!cell) fail(attribute.name + " is not a list");
      long long next = 0;
      const auto read = [](std::span<const std::byte> bytes, std::size_t at) {
        long long value;
        std::memcpy(&value, bytes.data() + at * sizeof value, sizeof value);
        return value;
      };
      if (attribute.type == cls_AttributeType::ObjectMap) {
        const auto entries = cls_DecodeArray(*cell, cls_ArrayKind::Map);
        for (std::size_t i = 0; i + 1 < entries.size() / 8; i += 2)
          if (read(entries, i) == index) next = read(entries, i + 1);
      } else if (attribute.type == cls_AttributeType::Object) {
        const auto ids = cls_DecodeArray(*cell, cls_ArrayKind::RowIds);
        if (index >= 0 && static_cast<std::size_t>(index) < ids.size() / 8)
          next = read(ids, static_cast<std::size_t>(index));
      } else {
        fail(attribute.name + " is not a list of objects");
      }
      if (next == 0) fail("index " + std::to_string(index) + " is outside " + attribute.name);
      step(next, ownerOf(next));
    } else {
      fail("\"" + cow_String(path.substr(end)) + "\" is neither a member nor an index");
    }
    end = stop;
  }
  // a field that is one object is that object
  if (location.field >= 0
      && object->record->Attributes()[static_cast<std::size_t>(location.field)].type
             == cls_AttributeType::Object)
    if (const auto* next = std::get_if<long long>(&object->cells[static_cast<std::size_t>(location.field)]))
      location = {*next, -1, -1};
  return location;
}

std::shared_ptr<db_ReadPlace> db_Reader::PlaceOf(std::shared_ptr<db_Object> object) {
  auto place = std::make_shared<db_ReadPlace>();
  place->reader = this;
  place->holder = std::move(object);
  return place;
}

std::shared_ptr<db_ReadPlace> db_Reader::PlaceOf(const cls_Location& location) {
  auto place = PlaceOf(LoadObject(location.row, file_.Load(location.row).owner));
  place->cell = location.field;
  place->element = location.element;
  return place;
}
