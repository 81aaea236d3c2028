// cls_Dump.h: everything in a database as text
#pragma once

#include <BasicUtils/cls_Database.h>
#include <iosfwd>

/// Writes every root with everything it reaches, field by field, one value a line, one row of an array a
/// line. The same content gives the same text: roots are sorted, shared objects are numbered in the order in
/// which they are met ("#2" where one stands, "= #2" where it stands again), numbers are the shortest texts
/// that give them back; identifiers of objects and time stamps are left out. Old layouts appear as what they
/// are converted to.
///
/// Errors     as reading.
CORE_GEOMETRY_PLATFORM_API void cls_Dump(const cls_Database& database, std::ostream& out);
