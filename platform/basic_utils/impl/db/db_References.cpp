// Counting references, and deleting what nothing refers to.
//
// Each object's row says how many roots and fields refer to it. Nothing is deleted on the word of an index:
// an object goes when its own checked row counts no reference any more, and what it refers to is read from
// its checked fields.
#include "db_Writer.h"

void db_Writer::CollectGarbage() {
  std::map<long long, long long> changes;
  for (const auto& [row, change] : references_) changes[row] += change;
  references_.clear();
  while (!changes.empty()) {
    const auto next = changes.extract(changes.begin());
    if (next.mapped() == 0) continue;
    const db_Identity old = file_.LoadIdentity(next.key());
    db_Identity now = old;
    now.refs += next.mapped();
    if (now.refs < 0)
      file_.Connection().Damaged("object " + std::to_string(old.id) + " counts " + std::to_string(old.refs)
                                 + " references, but " + std::to_string(-next.mapped()) + " were given up");
    if (now.refs > 0 || now.owner != 0)
      file_.UpdateIdentity(old, now);
    else
      Delete(old, changes);
  }
}

void db_Writer::Delete(const db_Identity& object, std::map<long long, long long>& changes) {
  if (object.type == 0) {
    file_.DeleteArray(file_.LoadArray(object.id));
  } else {
    const db_StoredRow stored = file_.Load(object.id);
    for (std::size_t field = 0; field < stored.cells.size(); ++field)
      for (const long long child : db_ChildRows(stored.cells[field], stored.type->attributes[field].type)) {
        const db_Identity part = file_.LoadIdentity(child);
        if (part.owner == object.id)
          Delete(part, changes);
        else if (part.owner == 0)
          --changes[child];
        else
          file_.Connection().Damaged(db_File::NameOf(stored) + " holds object " + std::to_string(child)
                                     + ", which belongs to another object");
      }
    file_.DeleteCells(stored);
  }
  file_.DeleteIdentity(object);
}

void db_Writer::DeleteEmbedded(long long row) {
  std::map<long long, long long> changes;
  Delete(file_.LoadIdentity(row), changes);
  references_.insert(references_.end(), changes.begin(), changes.end());
}

void db_Writer::CollectUnreferenced() {
  const db_Use objects(file_.Statement("SELECT id FROM object WHERE refs = 0 AND owner IS NULL"));
  std::vector<long long> rows;
  while (objects->Step()) rows.push_back(objects->Int(0));
  CollectGarbage();
  for (const long long row : rows)
    if (file_.Has(row)) {
      const db_Identity object = file_.LoadIdentity(row);
      if (object.refs == 0 && object.owner == 0) DeleteEmbedded(row);
    }
}

void db_Writer::ForEachReference(const std::function<void(long long parent, long long child)>& use) {
  std::vector<long long> rows;
  {
    const db_Use objects(file_.Statement("SELECT id FROM object WHERE class IS NOT NULL ORDER BY id"));
    while (objects->Step()) rows.push_back(objects->Int(0));
  }
  for (const long long row : rows) {
    const db_StoredRow stored = file_.Load(row);
    for (std::size_t field = 0; field < stored.cells.size(); ++field)
      for (const long long child : db_ChildRows(stored.cells[field], stored.type->attributes[field].type))
        use(row, child);
  }
}

long long db_Writer::ReferrerOf(long long row) {
  if (!referrers_) { // upgrading changes none of these
    auto& all = referrers_.emplace();
    ForEachReference([&](long long parent, long long child) { all.emplace(child, parent); });
  }
  const auto found = referrers_->find(row);
  return found == referrers_->end() ? 0 : found->second;
}
