// cls_Dump.h: everything in a database as text
#pragma once

#include <BasicUtils/cls_Database.h>
#include <iosfwd>

/// Writes every root with everything it reaches, field by field, one line per value or row of an array. The
/// same content gives the same text: roots are sorted; shared objects are numbered in the order of their
/// first use ("#2" there, "= #2" where it is used again); numbers have the shortest text that gives them
/// back; uids of objects and time stamps are left out. Old layouts appear in their converted form.
///
/// Errors     as reading.
CORE_GEOMETRY_PLATFORM_API void cls_Dump(const cls_Database& database, std::ostream& out);
