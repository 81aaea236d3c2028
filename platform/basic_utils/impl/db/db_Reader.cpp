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
  if (ownTransaction_) file_.Connection().RollBack(); // nothing was written
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

db_StoredRow db_Reader::Load(long long id) {
  const auto known = ahead_.extract(id);
  return known.empty() ? file_.Load(id) : std::move(known.mapped());
}

std::shared_ptr<db_Object> db_Reader::LoadObject(long long id, long long owner, const db_Object* parent) {
  db_StoredRow stored = Load(id);
  if (owner != kAnyOwner && stored.owner != owner)
    file_.Connection().Damaged(db_File::NameOf(stored) + " belongs to another object");
  return UpToDate(std::move(stored), parent);
}

std::shared_ptr<db_Object> db_Reader::LoadChild(long long id, const db_Object& parent) {
  db_StoredRow stored = Load(id);
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
    const long long id = left.back();
    left.pop_back();
    const db_StoredRow& row = ahead_.emplace(id, file_.Load(id)).first->second;
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

namespace {
/// One walk along a path such as "meshes/part.elementData.classes[2]".
class PathWalk {
public:
  PathWalk(db_Reader& reader, std::string_view path) : reader_(reader), path_(path) {}

  cls_Location Run() {
    std::size_t at = FindRoot();
    while (at < path_.size()) {
      if (path_[at] == '.')
        at = TakeMember(at + 1);
      else if (path_[at] == '[')
        at = TakeIndex(at + 1);
      else
        Fail("\"" + cow_String(path_.substr(at)) + "\" is neither a member nor an index");
    }
    // a field that is one object is that object
    if (const auto owned = FieldObject()) location_ = {*owned, -1, -1};
    return location_;
  }

private:
  [[noreturn]] void Fail(const cow_String& what) const {
    throw nex_TextException(reader_.File().Connection().File() + ": path \"" + cow_String(path_)
                            + "\": " + what);
  }

  /// Enters the root and returns where its name ends. A name may itself contain dots and brackets: the
  /// longest known one wins.
  std::size_t FindRoot() {
    db_File& file = reader_.File();
    std::size_t end = path_.size();
    std::optional<long long> row = file.FindRoot(path_); // mostly; without a look at all roots in any format
    if (!row) end = path_.find_last_of(".[", file.LongestRoot());
    while (!row && end != std::string_view::npos) {
      row = file.FindRoot(path_.substr(0, end));
      if (row || end == 0) break;
      end = path_.find_last_of(".[", end - 1);
    }
    if (!row) Fail("no such root");
    location_ = {*row, -1, -1};
    // mostly the whole path: the object is read by who asked where it is
    if (end < path_.size() || file.LoadIdentity(*row).owner != 0) object_ = reader_.LoadObject(*row, 0);
    return end;
  }

  /// Goes into an object that a cell names.
  void Enter(long long row) {
    reader_.Enter(row);
    reader_.Leave();
    object_ = reader_.LoadObject(row, db_Reader::kAnyOwner);
    location_ = {row, -1, -1};
  }

  const cls_ClassMetadata::Attribute& Field() const {
    return object_->record->Attributes()[static_cast<std::size_t>(location_.field)];
  }
  const cls_Cell& Cell() const { return object_->cells[static_cast<std::size_t>(location_.field)]; }

  /// The object that the present field is, when it is one.
  std::optional<long long> FieldObject() const {
    if (location_.field < 0 || Field().type != cls_AttributeType::Object) return std::nullopt;
    const auto* row = std::get_if<long long>(&Cell());
    return row ? std::optional(*row) : std::nullopt;
  }

  std::size_t TakeMember(std::size_t begin) {
    const std::size_t end = std::min(path_.find_first_of(".[", begin), path_.size());
    const std::string_view member = path_.substr(begin, end - begin);
    if (location_.field >= 0) {
      const auto owned = FieldObject();
      if (!owned) Fail("\"" + cow_String(member) + "\" follows a field that is no object");
      Enter(*owned);
    }
    const cls_ClassMetadata& record = *object_->record;
    location_.field = record.Find(record.MemberField(member));
    if (location_.field < 0) Fail(record.Name() + " has no member \"" + cow_String(member) + "\"");
    return end;
  }

  std::size_t TakeIndex(std::size_t begin) {
    const std::size_t end = path_.find(']', begin);
    const std::string_view digits =
        end == std::string_view::npos ? std::string_view() : path_.substr(begin, end - begin);
    long long index = 0;
    const char* const last = digits.data() + digits.size();
    if (digits.empty() || std::from_chars(digits.data(), last, index).ptr != last)
      Fail("\"[\" is not followed by an index and \"]\"");
    if (location_.field < 0) Fail("an index needs a list before it");
    const cow_String list = Field().name;
    const long long row = ElementOf(index);
    if (row == 0) Fail("index " + std::to_string(index) + " is outside " + list);
    Enter(row);
    return end + 1;
  }

  /// Row of an element of the present list or map; 0 when it has none of that index.
  long long ElementOf(long long index) const {
    const auto* cell = std::get_if<cls_Blob>(&Cell());
    if (!cell) Fail(Field().name + " is not a list");
    const auto numbers = [&](cls_ArrayKind kind) {
      const std::span<const std::byte> bytes = cls_DecodeArray(*cell, kind);
      std::vector<long long> values(bytes.size() / sizeof(long long));
      std::memcpy(values.data(), bytes.data(), values.size() * sizeof(long long));
      return values;
    };
    if (Field().type == cls_AttributeType::ObjectMap) {
      const std::vector<long long> entries = numbers(cls_ArrayKind::Map);
      for (std::size_t i = 0; i + 1 < entries.size(); i += 2)
        if (entries[i] == index) return entries[i + 1];
      return 0;
    }
    if (Field().type != cls_AttributeType::Object) Fail(Field().name + " is not a list of objects");
    const std::vector<long long> rows = numbers(cls_ArrayKind::RowIds);
    return index >= 0 && index < static_cast<long long>(rows.size()) ? rows[static_cast<std::size_t>(index)]
                                                                     : 0;
  }

  db_Reader& reader_;
  std::string_view path_;
  std::shared_ptr<db_Object> object_; ///< the one that the location names so far, or whose field it names
  cls_Location location_;
};
} // namespace

cls_Location db_Reader::Resolve(std::string_view path) { return PathWalk(*this, path).Run(); }

std::shared_ptr<db_ReadPlace> db_Reader::PlaceOf(std::shared_ptr<db_Object> object) {
  auto place = std::make_shared<db_ReadPlace>();
  place->reader = this;
  place->holder = std::move(object);
  return place;
}

std::shared_ptr<db_ReadPlace> db_Reader::PlaceOf(const cls_Location& location) {
  auto place = PlaceOf(LoadObject(location.row, kAnyOwner));
  place->cell = location.field;
  place->element = location.element;
  return place;
}
