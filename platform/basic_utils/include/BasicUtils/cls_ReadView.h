// cls_ReadView.h: many reads of one state of a database
#pragma once

#include <BasicUtils/cls_Database.h>

class db_Reader;

/// During its lifetime the database is read as it was at the first read, and the file is locked and unlocked
/// once instead of for each call. No other process can commit meanwhile: do not keep a view while waiting for
/// something.
class CORE_GEOMETRY_PLATFORM_API cls_ReadView {
public:
  explicit cls_ReadView(const cls_Database& database);
  ~cls_ReadView();
  cls_ReadView(const cls_ReadView&) = delete;
  cls_ReadView& operator=(const cls_ReadView&) = delete;

private:
  std::unique_ptr<db_Reader> reader_;
};
