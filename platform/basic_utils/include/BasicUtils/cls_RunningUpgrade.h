// cls_RunningUpgrade.h: adding objects to a database that is being upgraded
#pragma once

#include <BasicUtils/cls_Database.h>

class db_Writer;

/// The upgrade of a whole database that runs on the calling thread. Objects that are put here belong to its
/// transaction.
///
/// Objects are converted each time they are read, perhaps more than once in an upgrade: a conversion must
/// check whether a root exists before it puts it.
class CORE_GEOMETRY_PLATFORM_API cls_RunningUpgrade {
public:
  cls_RunningUpgrade(const cls_Database& database, db_Writer& writer) noexcept; ///< used by the database
  ~cls_RunningUpgrade();
  cls_RunningUpgrade(const cls_RunningUpgrade&) = delete;
  cls_RunningUpgrade& operator=(const cls_RunningUpgrade&) = delete;

  /// Null unless cls_Database::Upgrade is running: merely reading an object changes nothing.
  static const cls_RunningUpgrade* Current() noexcept;

  const cls_Database& Database() const noexcept { return database_; }
  template<class T> void Put(const cow_String& root, const T& object) const {
    PutReference(root, &object, [](const void* source, const cls_WriteVisitor& visitor) {
      static_cast<const T*>(source)->DBWrite(visitor);
    });
  }

private:
  void PutReference(const cow_String& root, const void* object,
                    void (*write)(const void* object, const cls_WriteVisitor&)) const;

  const cls_Database& database_;
  db_Writer& writer_;
};
