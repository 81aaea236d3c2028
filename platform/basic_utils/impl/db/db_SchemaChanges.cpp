// What an upgrade does besides converting layouts: classes and folders get other names, classes go.
#include "db_Sum.h"
#include "db_Writer.h"

#include <algorithm>
#include <cstring>

void db_Writer::RenameClass(const cow_String& from, const cow_String& to) {
  Guarded([&] {
    bool found = false;
    for (const auto& type : file_.Classes()) {
      if (type->name != from) continue;
      const long long typeId = type->typeId, version = type->version;
      file_.Statement("UPDATE class SET name = ?2, sum = ?3 WHERE id = ?1")
          .BindAll(type->id, std::string_view(to),
                   db_Sum().Add(type->id).Add(typeId).Add(version).Add(std::string_view(to)).Value())
          .Run();
      db_Class renamed;
      renamed.name = to;
      renamed.version = type->version;
      file_.Connection().Execute(
          ("ALTER TABLE " + type->table + " RENAME TO " + db_File::QuotedTableOf(renamed)).c_str());
      found = true;
    }
    if (found) file_.ReloadClasses();
  });
}

void db_Writer::DeleteClass(unsigned typeId) {
  Guarded([&] {
    bool found = false;
    for (const auto& type : file_.Classes()) {
      if (type->typeId != typeId) continue;
      found = true;
      std::vector<long long> rows;
      {
        db_Statement objects(file_.Connection(), "SELECT \"$object\" FROM " + type->table);
        while (objects.Step()) rows.push_back(objects.Int(0));
      }
      for (const long long row : rows) {
        if (!Exists(row)) continue; // went with the object that embedded it
        std::vector<long long> holders;
        {
          const db_Use named(file_.Statement("SELECT parent FROM ref WHERE child = ?1 UNION "
                                             "SELECT owner FROM object WHERE id = ?1 AND owner IS NOT NULL"));
          named->Bind(1, row);
          while (named->Step()) holders.push_back(named->Int(0));
        }
        for (const long long holder : holders) Forget(holder, row);
        AddChildren(row, candidates_);
        file_.Statement("DELETE FROM root WHERE object = ?1").BindAll(row).Run();
        file_.Statement("DELETE FROM ref WHERE child = ?1").BindAll(row).Run();
        file_.Statement("DELETE FROM object WHERE id = ?1").BindAll(row).Run();
      }
      file_.Statement("DELETE FROM field WHERE class = ?1").BindAll(type->id).Run();
      file_.Statement("DELETE FROM class WHERE id = ?1").BindAll(type->id).Run();
      file_.Connection().Execute(("DROP TABLE " + type->table).c_str());
    }
    if (found) file_.ReloadClasses();
  });
}

void db_Writer::Forget(long long row, long long child) {
  db_StoredRow stored = file_.Load(row);
  for (std::size_t i = 0; i < stored.cells.size(); ++i) {
    const auto type = stored.type->attributes[i].type;
    cls_Cell& cell = stored.cells[i];
    if (const auto* named = std::get_if<long long>(&cell)) {
      const bool isObject = type == cls_AttributeType::Object || type == cls_AttributeType::Shortcut;
      if (isObject && *named == child) cell = {};
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
    if (kept.size() != entries.size())
      cell = cls_EncodeArray(kind, static_cast<unsigned>(width), std::as_bytes(std::span(kept)));
  }
  db_Statement(file_.Connection(), "DELETE FROM " + stored.type->table + " WHERE \"$object\" = ?1")
      .BindAll(row)
      .Run();
  InsertCells(row, *stored.type, stored.uid, stored.cells);
}

void db_Writer::RenameFolder(const cow_String& from, const cow_String& to) {
  Guarded([&] {
    std::vector<std::pair<cow_String, long long>> roots;
    {
      const db_Use found(file_.Statement("SELECT name, object FROM root ORDER BY name"));
      while (found->Step())
        if (found->Text(0).starts_with(from + "/")) roots.emplace_back(found->Text(0), found->Int(1));
    }
    for (const auto& [name, row] : roots) {
      const cow_String renamed = to + name.substr(from.size());
      if (file_.FindRoot(renamed)) {
        cow_String what = file_.Connection().File() + ": root \"";
        what.append(name).append("\" cannot become \"").append(renamed).append("\": there is one already");
        throw nex_TextException(what);
      }
      file_.Statement("DELETE FROM root WHERE name = ?1").BindAll(std::string_view(name)).Run();
      PutRoot(renamed, row);
    }
  });
}
