#include <BasicUtils/typ_ArchCompTable.h>

namespace {
std::map<unsigned short, typ_ArchCompEntry>& Components() {
  static std::map<unsigned short, typ_ArchCompEntry> components;
  return components;
}
std::map<unsigned, int>& Levels() {
  static std::map<unsigned, int> levels;
  return levels;
}
} // namespace

void typ_ArchCompTable::InsertEntry(unsigned short component, typ_ArchCompEntry entry) {
  Components().insert_or_assign(component, entry);
}
const std::map<unsigned short, typ_ArchCompEntry>& typ_ArchCompTable::Entries() { return Components(); }
void typ_ArchCompTable::Clear() { Components().clear(); }

int typ_DebugFlags::GetDebugFlags(unsigned component) {
  const auto found = Levels().find(component);
  return found == Levels().end() ? 0 : found->second;
}
void typ_DebugFlags::SetDebugFlags(unsigned component, int level) { Levels()[component] = level; }
