#include <CaeUtils/omu_PrimEnum.h>

#include <CoreUtils/atr_String.h>

omu_ValueErrorException::~omu_ValueErrorException() = default;
omu_PrimEnumBase::~omu_PrimEnumBase() = default;

namespace {
constexpr const char* kSource = "generated/include/omu_PrimEnum";

cow_String Permissible(omu_EnumEntries table) {
  cow_String list;
  for (const omu_EnumEntry& entry : table) list.append(list.empty() ? "" : ", ").append(entry.text);
  return list;
}

int Find(omu_EnumEntries table, const cow_String& text, const char* message, int line) {
  if (const auto* entry = omu_FindValue(table, text)) return entry->value;
  nex_Exception::Throw(omu_ValueErrorException(atr_Format(message, {text, Permissible(table)})), kSource,
                       line);
}
} // namespace

const char* omu_FindText(omu_EnumEntries table, int value) noexcept {
  for (const omu_EnumEntry& entry : table)
    if (entry.value == value) return entry.text;
  return nullptr;
}

const omu_EnumEntry* omu_FindValue(omu_EnumEntries table, std::string_view text) noexcept {
  for (const omu_EnumEntry& entry : table)
    if (entry.text == text) return &entry;
  return nullptr;
}

int omu_ReadValue(omu_EnumEntries table, const cls_ReadVisitor& visitor) {
  return Find(table, visitor.GetText(),
              "omu_PrimEnum(const cls_ReadVisitor&) - str not allowed: %s  Permissible: %s", 95);
}

int omu_ValueOfText(omu_EnumEntries table, const cow_String& text) {
  return Find(table, text, "omu_PrimEnum(const cow_String&) - str not allowed: %s  Permissible: %s", 110);
}

int omu_ValueOfPrim(omu_EnumEntries table, const omu_PrimEnumBase& other) {
  return Find(table, other.Text(), "omu_PrimEnum(const omu_PrimEnumBase&) - str not allowed: %s", 125);
}

int omu_CheckedValue(omu_EnumEntries table, int value) {
  if (omu_FindText(table, value)) return value;
  nex_Exception::Throw(
      omu_ValueErrorException(atr_Format("omu_PrimEnum(Enum) - Enum value not allowed: %d  Permissible: %s",
                                         {static_cast<long long>(value), Permissible(table)})),
      kSource, 140);
}

namespace {
std::vector<omu_EnumRegistrar::Entry>& Enumerations() {
  static std::vector<omu_EnumRegistrar::Entry> entries;
  return entries;
}
} // namespace

void omu_EnumRegistrar::Register(const Entry& entry) { Enumerations().push_back(entry); }
std::span<const omu_EnumRegistrar::Entry> omu_EnumRegistrar::Entries() { return Enumerations(); }
void omu_EnumRegistrar::Clear() { Enumerations().clear(); }
