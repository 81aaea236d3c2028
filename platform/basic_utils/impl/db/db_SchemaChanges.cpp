// What an upgrade does besides converting layouts: classes and folders get other names, classes go, rows that
// would become different objects are no longer shared.
#include "db_Reader.h"
#include "db_Writer.h"

#include <algorithm>
#include <cstring>

void db_Writer::RenameClass(const cow_String& from, const cow_String& to) {
  Guarded([&] {
    bool found = false;
    for (const auto& type : file_.Classes()) {
      if (type->name != from) continue;
      file_.RenameClass(*type, to);
      found = true;
    }
    if (found) file_.ReloadClasses();
  });
}

void db_Writer::DeleteClass(unsigned typeId) {
  Guarded([&] {
    std::map<long long, std::vector<long long>> holders; // of each object of the class
    for (const auto& type : file_.Classes()) {
      if (type->typeId != typeId) continue;
      db_Statement objects(file_.Connection(), "SELECT \"$object\" FROM " + type->table);
      while (objects.Step()) holders[objects.Int(0)];
    }
    ForEachReference([&](long long parent, long long child) {
      if (const auto found = holders.find(child); found != holders.end()) found->second.push_back(parent);
    });
    for (const db_RootRow& root : file_.Roots())
      if (holders.contains(root.object)) {
        file_.RemoveRoot(root.name, root.object);
        Refer(root.object, -1);
      }
    for (const auto& [row, parents] : holders)
      for (const long long parent : parents)
        if (file_.Has(row) && file_.Has(parent)) Replace(parent, row, 0);
    CollectGarbage();
    bool found = false;
    for (const auto& type : file_.Classes()) {
      if (type->typeId != typeId) continue;
      file_.DeleteClass(*type);
      found = true;
    }
    if (found) file_.ReloadClasses();
  });
}

namespace {
/// Lets the cells that name a child name another row, or nothing for 0; how many there were.
long long ReplaceIn(db_StoredRow& stored, long long child, long long by) {
  long long replaced = 0;
  for (std::size_t i = 0; i < stored.cells.size(); ++i) {
    const auto type = stored.type->attributes[i].type;
    cls_Cell& cell = stored.cells[i];
    if (const auto* named = std::get_if<long long>(&cell)) {
      const bool isObject = type == cls_AttributeType::Object || type == cls_AttributeType::Shortcut;
      if (isObject && *named == child) {
        cell = by != 0 ? cls_Cell(by) : cls_Cell();
        ++replaced;
      }
      continue;
    }
    const auto* blob = std::get_if<cls_Blob>(&cell);
    if (!blob || (type != cls_AttributeType::Object && type != cls_AttributeType::ObjectMap)) continue;
    // entries of `width` numbers, the row last
    const bool isMap = type == cls_AttributeType::ObjectMap;
    const auto kind = isMap ? cls_ArrayKind::Map : cls_ArrayKind::RowIds;
    const std::size_t width = isMap ? 2 : 1;
    const auto bytes = cls_DecodeArray(*blob, kind);
    std::vector<long long> entries(bytes.size() / sizeof(long long)), kept;
    if (!entries.empty()) std::memcpy(entries.data(), bytes.data(), bytes.size());
    for (std::size_t at = 0; at + width <= entries.size(); at += width) {
      const bool isChild = entries[at + width - 1] == child;
      if (isChild) ++replaced;
      if (isChild && by == 0) continue;
      for (std::size_t j = 0; j < width; ++j)
        kept.push_back(isChild && j == width - 1 ? by : entries[at + j]);
    }
    if (kept != entries)
      cell = cls_EncodeArray(kind, static_cast<unsigned>(width), std::as_bytes(std::span(kept)));
  }
  return replaced;
}
} // namespace

void db_Writer::Replace(long long row, long long child, long long by) {
  db_StoredRow stored = file_.Load(row);
  const long long replaced = ReplaceIn(stored, child, by);
  file_.DeleteCells(stored);
  InsertCells(row, *stored.type, stored.uid, stored.cells);
  if (by != 0) Refer(by, replaced);
  if (file_.LoadIdentity(child).owner == row)
    DeleteEmbedded(child);
  else
    Refer(child, -replaced);
}

long long db_Writer::Duplicate(long long row, long long owner) {
  db_StoredRow stored = file_.Load(row);
  const std::vector<cls_Cell> old = stored.cells;
  const cls_Uid uid = cls_Uid::AllocateUid();
  const long long copy = Insert(uid, stored.type, owner);
  for (std::size_t field = 0; field < old.size(); ++field)
    for (const long long child : db_ChildRows(old[field], stored.type->attributes[field].type))
      if (file_.LoadIdentity(child).owner == row)
        ReplaceIn(stored, child, Duplicate(child, copy));
      else
        Refer(child);
  InsertCells(copy, *stored.type, uid, stored.cells);
  return copy;
}

void db_Writer::SplitByReferrer(std::vector<std::pair<long long, unsigned>>& outdated) {
  const std::map<long long, unsigned> classes(outdated.begin(), outdated.end());
  if (classes.empty()) return;
  std::map<long long, std::vector<long long>> holders; // of outdated rows, each once; 0 for the roots
  ForEachReference([&](long long parent, long long child) {
    if (!classes.contains(child)) return;
    std::vector<long long>& ofChild = holders[child];
    if (ofChild.empty() || ofChild.back() != parent) ofChild.push_back(parent);
  });
  for (const db_RootRow& root : file_.Roots())
    if (const auto found = holders.find(root.object); found != holders.end() && found->second.back() != 0)
      found->second.push_back(0);
  for (const auto& [row, parents] : holders) {
    if (parents.size() < 2) continue;
    Guarded([&, shared = row, &ofRow = parents] {
      std::vector<std::pair<std::vector<cls_Cell>, long long>> results; // and the row that becomes each
      for (const long long parent : ofRow) {
        db_Reader session(file_);
        const auto holder =
            parent != 0 ? session.LoadObject(parent, file_.Load(parent).owner) : std::shared_ptr<db_Object>();
        auto cells = session.LoadObject(shared, 0, holder.get())->cells;
        auto same = std::ranges::find(results, cells, &std::pair<std::vector<cls_Cell>, long long>::first);
        if (same == results.end()) {
          const long long own = results.empty() ? shared : Duplicate(shared, 0);
          if (!results.empty()) outdated.emplace_back(own, classes.at(shared));
          same = results.insert(results.end(), {std::move(cells), own});
        }
        if (same->second == shared) continue;
        if (parent != 0)
          Replace(parent, shared, same->second);
        else
          for (const db_RootRow& root : file_.Roots())
            if (root.object == shared) PutRoot(root.name, same->second);
      }
    });
  }
}

void db_Writer::RenameFolder(const cow_String& from, const cow_String& to) {
  Guarded([&] {
    for (const auto& [name, row, sum] : file_.Roots()) {
      if (!name.starts_with(from + "/")) continue;
      const cow_String renamed = to + name.substr(from.size());
      if (file_.FindRoot(renamed)) {
        cow_String what = file_.Connection().File() + ": root \"";
        what.append(name).append("\" cannot become \"").append(renamed).append("\": there is one already");
        throw nex_TextException(what);
      }
      file_.RemoveRoot(name, row);
      file_.PutRoot(renamed, row);
    }
  });
}
