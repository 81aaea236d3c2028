// Checksums of rows, and how many rows of each table there must be.
#include "db_File.h"

// Format 1 had no names of tables in its checksums.
db_Sum db_File::SumOf(std::string_view table) const {
  return format_ == kFirstFormat ? db_Sum() : db_Sum(table);
}

long long db_File::SumOf(const db_Identity& identity) const {
  return SumOf("object")
      .Add(identity.id)
      .Add(identity.uid)
      .Add(identity.type)
      .Add(identity.owner)
      .Add(identity.refs)
      .Value();
}

long long db_File::SumOfRoot(std::string_view name, long long object) const {
  return SumOf("root").Add(name).Add(object).Value();
}

long long db_File::SumOf(const db_Array& array) const {
  db_Sum sum = SumOf("array");
  sum.Add(array.id).Add(array.uid).Add(static_cast<long long>(array.kind));
  sum.Add(static_cast<long long>(array.width)).Add(array.count).Add(array.chunkRows);
  if (format_ != kFirstFormat) sum.Add(array.firstChunk);
  return sum.Value();
}

long long db_File::SumOfChunk(const db_Array& array, long long seq, std::span<const std::byte> bytes) const {
  const long long content = db_SumOf(bytes);
  if (format_ == kFirstFormat) return content;
  return SumOf("chunk")
      .Add(array.id)
      .Add(seq)
      .Add(static_cast<long long>(array.kind))
      .Add(static_cast<long long>(array.width))
      .Add(content)
      .Value();
}

void db_File::Count(std::string_view table, long long sum, int count) {
  auto found = changes_.find(table);
  if (found == changes_.end()) found = changes_.emplace(std::string(table), db_Total()).first;
  found->second.Add(sum, count);
}

db_Total db_File::StoredTotal(std::string_view table) {
  const db_Use found(Statement("SELECT rows, content, sum FROM total WHERE name = ?1"));
  found->Bind(1, table);
  const cow_String name = "total of table " + cow_String(table);
  if (!found->Step()) connection_.Damaged(name + " is missing");
  if (db_IsWrong(SumOf("total").Add(table).Add(found->Int(0)).Add(found->Int(1)).Value(), found->Int(2)))
    connection_.Damaged(name);
  return {found->Int(0), static_cast<unsigned long long>(found->Int(1))};
}

db_Total db_File::TotalOf(std::string_view table) {
  db_Total total = StoredTotal(table);
  if (const auto change = changes_.find(table); change != changes_.end()) {
    total.rows += change->second.rows;
    total.content += change->second.content;
  }
  return total;
}

void db_File::ExpectTotal(std::string_view table, const db_Total& found) {
  const db_Total expected = TotalOf(table);
  if (!db_IsWrong(found == expected ? 0 : 1, 0)) return;
  connection_.Damaged("table " + cow_String(table) + " has " + std::to_string(found.rows) + " rows"
                      + (found.rows == expected.rows ? ", not those that were written"
                                                     : " instead of " + std::to_string(expected.rows)));
}

void db_File::StoreTotals() {
  const bool rootsVerified = verifiedRoots_ && *verifiedRoots_ == StoredTotal("root");
  for (const auto& [table, change] : changes_) {
    if (change == db_Total()) continue;
    const db_Total total = TotalOf(table);
    const auto content = static_cast<long long>(total.content);
    Statement("UPDATE total SET rows = ?2, content = ?3, sum = ?4 WHERE name = ?1")
        .BindAll(std::string_view(table), total.rows, content,
                 SumOf("total").Add(std::string_view(table)).Add(total.rows).Add(content).Value())
        .Run();
    if (rootsVerified && table == "root") verifiedRoots_ = total;
  }
  changes_.clear();
}

void db_File::AddTotal(std::string_view table) {
  Statement("INSERT INTO total VALUES(?1, 0, 0, ?2)")
      .BindAll(table, SumOf("total").Add(table).Add(0LL).Add(0LL).Value())
      .Run();
}

void db_File::DropTotal(std::string_view table) {
  Statement("DELETE FROM total WHERE name = ?1").BindAll(table).Run();
  if (const auto change = changes_.find(table); change != changes_.end()) changes_.erase(change);
}

long long db_File::NumObjects(const db_Class& type) {
  if (format_ == kFirstFormat) {
    db_Statement count(connection_, "SELECT count(*) FROM " + type.table);
    return count.Step() ? count.Int(0) : 0;
  }
  return TotalOf(TableOf(type)).rows;
}
