#include <BasicUtils/cls_StoredArray.h>

#include "db_File.h"
#include "db_Reader.h"
#include "db_Value.h"

#include <algorithm>

cls_ArraySize cls_SizeOf(const cls_Database& database, const cls_Location& field) {
  db_File& file = db_Access::FileOf(database);
  db_Reader session(file);
  const auto place = session.PlaceOf(field);
  const cls_Cell& cell = place->Cell();
  if (const auto* blob = std::get_if<cls_Blob>(&cell)) {
    if (blob->empty()) place->Fail("is not an array");
    const auto kind = static_cast<cls_ArrayKind>(blob->front());
    const std::size_t size = db_ElementSize(kind);
    if (size == 0) place->Fail("is not an array of numbers");
    unsigned width = 1;
    const std::size_t numbers = cls_DecodeArray(*blob, kind, &width).size() / size;
    return {numbers, width, std::max<std::size_t>(1, numbers)};
  }
  const auto* id = std::get_if<long long>(&cell);
  if (!id) place->Fail("is not an array");
  const db_Array array = file.LoadArray(*id);
  return {static_cast<std::size_t>(array.count), array.width,
          static_cast<std::size_t>(array.chunkRows) * array.width};
}

void cls_ForEachPiece(const cls_Database& database, const cls_Location& field, cls_ArrayKind kind,
                      std::size_t elementSize, const std::function<void(std::span<const std::byte>)>& see) {
  db_File& file = db_Access::FileOf(database);
  db_Reader session(file);
  const auto place = session.PlaceOf(field); // holds the bytes
  const db_NumberArray numbers = place->Numbers(kind);
  if (numbers.stored)
    file.ForEachChunk(*numbers.stored, elementSize, see);
  else if (!numbers.bytes.empty())
    see(cls_Blob(numbers.bytes.begin(), numbers.bytes.end())); // numbers must be aligned
}
