#include "exo_Layout.h"

#include <netcdf.h>
#include <vector>

namespace {
// attributes of one number each
constexpr const char* kVersion = "version";
constexpr const char *kWordSize = "floating_point_word_size", *kOldWordSize = "floating point word size";
constexpr const char* kMarks[] = {kVersion,       kWordSize,   kOldWordSize,         "api_version",
                                  "int64_status", "file_size", "maximum_name_length"};

/// A kind of block or set: the dimension that counts them, and the stem of its variables.
struct Kind {
  const char *count, *stem;
};
constexpr Kind kKinds[] = {{"num_el_blk", "eb"},     {"num_node_sets", "ns"}, {"num_side_sets", "ss"},
                           {"num_elem_sets", "els"}, {"num_ed_blk", "ed"},    {"num_fa_blk", "fa"},
                           {"num_edge_sets", "es"},  {"num_face_sets", "fs"}};

bool Has(int file, const char* mark) {
  int number = 0;
  return nc_inq_attid(file, NC_GLOBAL, mark, &number) == NC_NOERR;
}

cow_String CheckMarks(int file) {
  for (const char* mark : kMarks) {
    std::size_t length = 0;
    if (nc_inq_attlen(file, NC_GLOBAL, mark, &length) == NC_NOERR && length != 1)
      return cow_String("its mark \"") + mark + "\" has " + std::to_string(length) + " values, not one";
  }
  float version = 0;
  if (nc_get_att_float(file, NC_GLOBAL, kVersion, &version) != NC_NOERR)
    return "not an Exodus II file (without a version)";
  if (!(version >= 2.0F)) return "an Exodus file older than version 2";
  int bytes = 0;
  const char* wordSize = Has(file, kWordSize) ? kWordSize : kOldWordSize;
  if (nc_get_att_int(file, NC_GLOBAL, wordSize, &bytes) != NC_NOERR)
    return "not an Exodus II file (without the size of its numbers)";
  if (bytes != 4 && bytes != 8) return "numbers of " + std::to_string(bytes) + " bytes, not 4 or 8";
  return {};
}
} // namespace

std::optional<std::int64_t> exo_NumValues(int file, const cow_String& variable) {
  int number = 0, rank = 0;
  if (nc_inq_varid(file, variable.c_str(), &number) != NC_NOERR) return std::nullopt;
  if (nc_inq_varndims(file, number, &rank) != NC_NOERR) return std::nullopt;
  std::vector<int> dims(static_cast<std::size_t>(rank));
  if (nc_inq_vardimid(file, number, dims.data()) != NC_NOERR) return std::nullopt;
  std::int64_t values = 1;
  for (const int dim : dims) {
    std::size_t length = 0;
    if (nc_inq_dimlen(file, dim, &length) != NC_NOERR) return std::nullopt;
    if (__builtin_mul_overflow(values, length, &values)) return std::nullopt;
  }
  return values;
}

cow_String exo_CheckLayout(int file, std::int64_t fileBytes) {
  cow_String damage = CheckMarks(file);
  if (!damage.empty()) return damage;
  for (const Kind& kind : kKinds) {
    int dim = 0;
    std::size_t length = 0;
    if (nc_inq_dimid(file, kind.count, &dim) != NC_NOERR) continue;
    if (nc_inq_dimlen(file, dim, &length) != NC_NOERR) continue;
    const auto count = static_cast<std::int64_t>(length);
    if (count > fileBytes)
      return cow_String(kind.count) + " = " + std::to_string(count) + ", more than fit its "
             + std::to_string(fileBytes) + " bytes";
    for (const char* list : {"_prop1", "_status"}) {
      const auto values = exo_NumValues(file, cow_String(kind.stem) + list);
      if (values && *values != count)
        return cow_String(kind.stem) + list + " has " + std::to_string(*values) + " values, but " + kind.count
               + " = " + std::to_string(count);
    }
  }
  return {};
}
