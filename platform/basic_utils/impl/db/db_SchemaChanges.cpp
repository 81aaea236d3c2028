// What an upgrade does besides converting layouts: classes and folders get other names, classes go.
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
        if (file_.Has(row) && file_.Has(parent)) Forget(parent, row);
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

void db_Writer::Forget(long long row, long long child) {
  db_StoredRow stored = file_.Load(row);
  long long forgotten = 0;
  for (std::size_t i = 0; i < stored.cells.size(); ++i) {
    const auto type = stored.type->attributes[i].type;
    cls_Cell& cell = stored.cells[i];
    if (const auto* named = std::get_if<long long>(&cell)) {
      const bool isObject = type == cls_AttributeType::Object || type == cls_AttributeType::Shortcut;
      if (isObject && *named == child) {
        cell = {};
        ++forgotten;
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
    for (std::size_t at = 0; at + width <= entries.size(); at += width)
      if (entries[at + width - 1] != child)
        for (std::size_t j = 0; j < width; ++j) kept.push_back(entries[at + j]);
      else
        ++forgotten;
    if (kept.size() != entries.size())
      cell = cls_EncodeArray(kind, static_cast<unsigned>(width), std::as_bytes(std::span(kept)));
  }
  file_.DeleteCells(stored);
  InsertCells(row, *stored.type, stored.uid, stored.cells);
  if (file_.LoadIdentity(child).owner == row)
    DeleteEmbedded(child);
  else
    Refer(child, -forgotten);
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
