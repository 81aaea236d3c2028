#include <BasicUtils/cls_OpenBytes.h>

#include "db_File.h"

cls_Database cls_OpenBytes(const cow_String& file, std::span<const std::byte> bytes) {
  return db_Access::Make(db_File::OfBytes(file, bytes));
}
