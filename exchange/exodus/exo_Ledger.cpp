#include <CoreGeometry/fmt_Ledger.h>

#include "exo_File.h"

#include <algorithm>
#include <cctype>
#include <exodusII.h>
#include <string_view>

namespace {
struct Inquiry {
  const char* what;
  int code;
};
constexpr Inquiry kInquiries[] = {
    {"edge sets", EX_INQ_EDGE_SETS},
    {"face sets", EX_INQ_FACE_SETS},
    {"edge blocks", EX_INQ_EDGE_BLK},
    {"face blocks", EX_INQ_FACE_BLK},
    {"further node number maps", EX_INQ_NODE_MAP},
    {"further element number maps", EX_INQ_ELEM_MAP},
    {"edge number maps", EX_INQ_EDGE_MAP},
    {"face number maps", EX_INQ_FACE_MAP},
    {"coordinate frames", EX_INQ_COORD_FRAMES},
    {"time steps", EX_INQ_TIME},
};

struct Variables {
  ex_entity_type type;
  const char* what;
};
constexpr Variables kVariables[] = {
    {EX_GLOBAL, "global variables"},      {EX_NODAL, "nodal variables"},
    {EX_ELEM_BLOCK, "element variables"}, {EX_NODE_SET, "node set variables"},
    {EX_SIDE_SET, "side set variables"},  {EX_ELEM_SET, "element set variables"},
    {EX_EDGE_BLOCK, "edge variables"},    {EX_FACE_BLOCK, "face variables"},
    {EX_EDGE_SET, "edge set variables"},  {EX_FACE_SET, "face set variables"},
};

/// Names, without their trailing number, of the variables that the counts above or the mesh itself account
/// for.
constexpr std::string_view kKnownNames[] = {
    // the mesh
    "coord",
    "coordx",
    "coordy",
    "coordz",
    "coor_names",
    "connect",
    "node_num_map",
    "elem_num_map",
    "eb_status",
    "eb_prop",
    "eb_names",
    // sets and their names
    "node_ns",
    "dist_fact_ns",
    "ns_status",
    "ns_prop",
    "ns_names",
    "elem_ss",
    "side_ss",
    "dist_fact_ss",
    "ss_status",
    "ss_prop",
    "ss_names",
    "elem_els",
    "dist_fact_els",
    "els_status",
    "els_prop",
    "els_names",
    "edge_es",
    "ornt_es",
    "dist_fact_es",
    "es_status",
    "es_prop",
    "es_names",
    "face_fs",
    "ornt_fs",
    "dist_fact_fs",
    "fs_status",
    "fs_prop",
    "fs_names",
    // edge and face blocks, further maps
    "ebconn",
    "edgconn",
    "ed_status",
    "ed_prop",
    "ed_names",
    "fbconn",
    "facconn",
    "fa_status",
    "fa_prop",
    "fa_names",
    "ebepecnt",
    "fbepecnt",
    "node_map",
    "nm_prop",
    "nmap_names",
    "elem_map",
    "em_prop",
    "emap_names",
    "edge_map",
    "edm_prop",
    "edmap_names",
    "face_map",
    "fam_prop",
    "famap_names",
    "ed_num_map",
    "fa_num_map",
    // attributes
    "attrib",
    "attrib_name",
    "eattrb",
    "eattrib_name",
    "fattrb",
    "fattrib_name",
    "nattrib_name",
    "nsattrib_name",
    "ssattrib_name",
    "esattrb",
    "esattrib_name",
    "fsattrb",
    "fsattrib_name",
    "elsattrib_name",
    // frames, records, time steps, variables
    "frame_coordinates",
    "frame_ids",
    "frame_tags",
    "qa_records",
    "info_records",
    "time_whole",
    "name_glo_var",
    "vals_glo_var",
    "name_nod_var",
    "vals_nod_var",
    "name_elem_var",
    "elem_var_tab",
    "name_nset_var",
    "nset_var_tab",
    "name_sset_var",
    "sset_var_tab",
    "name_elset_var",
    "elset_var_tab",
    "name_edge_var",
    "edge_var_tab",
    "name_face_var",
    "face_var_tab",
    "name_eset_var",
    "eset_var_tab",
    "name_fset_var",
    "fset_var_tab",
};

constexpr std::string_view kSetAttributes[] = {"nsattrb", "ssattrb", "elsattrb"};

std::string_view WithoutNumber(std::string_view name) {
  while (!name.empty() && std::isdigit(static_cast<unsigned char>(name.back())) != 0) name.remove_suffix(1);
  return name;
}

std::vector<cow_String> VariableNames(int file) {
  int count = 0;
  nc_inq_nvars(file, &count);
  std::vector<cow_String> names;
  for (int i = 0; i < count; ++i) {
    char name[NC_MAX_NAME + 1] = {};
    if (nc_inq_varname(file, i, name) == NC_NOERR) names.emplace_back(name);
  }
  return names;
}

void Note(fmt_Ledger& ledger, const char* what, long long count, cow_String detail = {}) {
  if (count != 0) ledger.push_back({what, count, std::move(detail)});
}
} // namespace

fmt_Ledger exo_ListNotCarried(const exo_File& file) {
  fmt_Ledger ledger;
  for (const Inquiry& inquiry : kInquiries) {
    const long long count = ex_inquire_int(file.Id(), inquiry.code);
    Note(ledger, inquiry.what, std::max(-1LL, count));
  }
  for (const Variables& variables : kVariables) {
    int count = 0;
    if (ex_get_variable_param(file.Id(), variables.type, &count) < 0) count = -1;
    Note(ledger, variables.what, count);
  }
  int format = 0;
  nc_inq_format(file.Id(), &format);
  if (format == NC_FORMAT_NETCDF4) Note(ledger, "groups", ex_inquire_int(file.Id(), EX_INQ_NUM_CHILD_GROUPS));

  long long attributes = 0;
  for (const exo_Block& block : file.Blocks()) {
    if (!block.isRagged) continue;
    attributes += block.numElements > 0 ? block.numAttributes : 0;
    Note(ledger, "elements with a varying number of nodes", block.numElements,
         "block " + std::to_string(block.id) + " (" + block.type + ")");
  }
  Note(ledger, "element attributes", attributes, "of elements with a varying number of nodes");

  long long assemblies = 0, blobs = 0, orderMaps = 0, unknown = 0, ofNodes = 0, ofSets = 0;
  cow_String unknownNames;
  for (const cow_String& name : VariableNames(file.Id())) {
    const std::string_view stem = WithoutNumber(name);
    if (stem.starts_with("assembly_")) {
      assemblies += stem == "assembly_entity" ? 1 : 0;
    } else if (stem.starts_with("blob_")) {
      blobs += stem == "blob_entity" ? 1 : 0;
    } else if (stem == "nattrb") {
      ++ofNodes;
    } else if (std::ranges::find(kSetAttributes, stem) != std::end(kSetAttributes)) {
      ++ofSets;
    } else if (name == "elem_map") {
      ++orderMaps;
    } else if (std::ranges::find(kKnownNames, stem) == std::end(kKnownNames) && !stem.starts_with("vals_")) {
      ++unknown;
      unknownNames += (unknownNames.empty() ? "" : ", ") + name;
    }
  }
  Note(ledger, "attributes of nodes", ofNodes, "arrays");
  Note(ledger, "attributes of sets", ofSets, "arrays");
  Note(ledger, "assemblies", assemblies);
  Note(ledger, "blobs", blobs);
  Note(ledger, "element order maps", orderMaps);
  Note(ledger, "other variables of the file", unknown, unknownNames);
  return ledger;
}
