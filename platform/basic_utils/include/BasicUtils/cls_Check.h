// cls_Check.h: checks a database for damage
#pragma once

#include <BasicUtils/cls_Database.h>

/// One result of a check.
struct cls_Finding {
  enum class Weight {
    Note, ///< worth knowing, nothing is wrong
    Fault ///< something stored is damaged, missing or makes no sense
  };
  Weight weight = Weight::Fault;
  cow_String className; ///< empty when it is about the file as a whole
  long long object = 0; ///< row of the object, 0 for none
  cow_String field;     ///< empty when it is about the whole object
  cow_String what;      ///< one sentence
  cow_String advice;    ///< what to do about it
};

/// What to do with a damaged file. A journal beside it must be moved with it: SQLite would apply it to the
/// next file of that name.
inline constexpr const char* cls_kRestoreAdvice =
    "move the file away, together with the journal beside it (its name with -journal) if there is one, and "
    "put a backup in "
    "its place; \"dump\" shows what can still be read";

/// Checks a whole database: SQLite's own check of every page, every checksum, the number of rows of every
/// table, how often each object is referred to, and that every root can be read with everything it reaches.
/// Damage is reported once, not again for each object that cannot be read because of it.
///
/// Errors     cls_BusyException, wip_Cancelled; what is wrong with the file is a finding.
CORE_GEOMETRY_PLATFORM_API std::vector<cls_Finding> cls_Check(const cls_Database& database);
