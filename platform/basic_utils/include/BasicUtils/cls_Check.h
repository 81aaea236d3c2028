// cls_Check.h: what is wrong with a database
#pragma once

#include <BasicUtils/cls_Database.h>

/// Something that a check has found.
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

/// What to do with a damaged file. A journal beside it must go with it: SQLite would play it back into the
/// next file of that name.
inline constexpr const char* cls_kRestoreAdvice =
    "move the file away, together with the journal beside it (its name with -journal) if there is one, and "
    "put a backup in "
    "its place; \"dump\" shows what can still be read";

/// Checks a whole database: SQLite's own check of every page, every checksum, the number of rows of every
/// table, how often each object is referred to, and that every root can be read with everything it reaches.
/// What cannot be reached after some damage is not reported again for each place that needs it.
///
/// Errors     cls_BusyException, wip_Cancelled; what is wrong with the file is a finding.
CORE_GEOMETRY_PLATFORM_API std::vector<cls_Finding> cls_Check(const cls_Database& database);
