// cls_ReadView.h: many reads of a database as one
#pragma once

#include <BasicUtils/cls_Database.h>

class db_Reader;

/// While it lives, the database is read as it was at the first read, and the file is locked and unlocked once
/// instead of for each call. No other process can commit meanwhile: views are for reading, not for waiting.
class CORE_GEOMETRY_PLATFORM_API cls_ReadView {
public:
  explicit cls_ReadView(const cls_Database& database);
  ~cls_ReadView();
  cls_ReadView(const cls_ReadView&) = delete;
  cls_ReadView& operator=(const cls_ReadView&) = delete;

private:
  std::unique_ptr<db_Reader> reader_;
};
