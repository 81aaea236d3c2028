#include "exo_File.h"
#include "exo_Streams.h"

#include "exo_ClassicHeader.h"
#include "exo_Layout.h"

#include <BasicUtils/nex_Exception.h>
#include <algorithm>
#include <cctype>
#include <cstring>
#include <exodusII.h>
#include <filesystem>

namespace {
namespace fs = std::filesystem;

cow_String Trimmed(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  const auto isBlank = [](unsigned char c) { return std::isspace(c) != 0; };
  while (!text.empty() && isBlank(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  while (!text.empty() && isBlank(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  return cow_String(text);
}

struct KindOfSet {
  exo_SetKind kind;
  ex_entity_type type;
  ex_inquiry count;
  const char* name;
  const char *entries, *sides, *factors, *properties; ///< stems of the file's variables
};
constexpr const char* kAxes[] = {"coordx", "coordy", "coordz"};

constexpr KindOfSet kKinds[] = {{exo_SetKind::Nodes, EX_NODE_SET, EX_INQ_NODE_SETS, "node set", "node_ns",
                                 nullptr, "dist_fact_ns", "ns_prop"},
                                {exo_SetKind::Sides, EX_SIDE_SET, EX_INQ_SIDE_SETS, "side set", "elem_ss",
                                 "side_ss", "dist_fact_ss", "ss_prop"},
                                {exo_SetKind::Elements, EX_ELEM_SET, EX_INQ_ELEM_SETS, "element set",
                                 "elem_els", nullptr, "dist_fact_els", "els_prop"}};

const KindOfSet& Find(exo_SetKind kind) { return *std::ranges::find(kKinds, kind, &KindOfSet::kind); }
} // namespace

cow_String exo_WhyFailed() {
  if (exerrval == EX_NULLENTITY) return "empty entity";
  if (exerrval >= EX_MEMFAIL && exerrval <= EX_BADPARAM) return "Exodus II error " + std::to_string(exerrval);
  return nc_strerror(exerrval);
}

exo_File::Handle::Handle(const cow_String& file) {
  std::error_code error;
  if (!fs::is_regular_file(file, error)) {
    if (fs::exists(file, error) && !fs::is_directory(file, error))
      damage = "is not a regular file"; // a pipe would have to be waited for
    return;
  }
  // the libraries take a name such as http://... for an address, and connect to it; never a path from the root
  const cow_String path = fs::absolute(file, error).string();
  const char* const name = path.c_str();
  damage = exo_CheckClassicHeader(name);
  if (!damage.empty()) return;
  exo_QuietLibrary();
  // ex_open ends the process at some files that NetCDF cannot open
  exerrval = nc_open(name, NC_NOWRITE, &id);
  if (exerrval != NC_NOERR) {
    id = -1;
    return;
  }
  damage = exo_CheckLayout(id, static_cast<std::int64_t>(fs::file_size(name, error)));
  nc_close(id);
  id = -1;
  if (!damage.empty()) return;
  int realSize = sizeof(double);
  float version = 0;
  id = ex_open(name, EX_READ, &realSize, &storedRealSize, &version);
}

exo_File::Handle::~Handle() {
  if (id >= 0) ex_close(id);
}

exo_File::exo_File(const cow_String& name) : name_(name), handle_(name), id_(handle_.id) {
  if (id_ < 0) {
    std::error_code error;
    if (!fs::exists(name, error))
      Fail(name.find("://") == cow_String::npos ? "no such file"
                                                : "is an address, not a file; fetch it first");
    if (fs::is_directory(name, error)) Fail("is a folder");
    if (fs::is_regular_file(name, error) && fs::file_size(name, error) == 0) Fail("is empty");
    if (!handle_.damage.empty()) Fail(handle_.damage);
    Fail("not an Exodus II file (" + exo_WhyFailed() + ")");
  }
  CheckTexts();
  UseWideNumbers(HasWideNumbers());
  hasDoubles_ = handle_.storedRealSize == sizeof(double);
  const std::int64_t dims = Inquire(EX_INQ_DIM, "number of dimensions");
  if (dims < 1 || dims > 3) Fail("a mesh of " + std::to_string(dims) + " dimensions, not 1 to 3");
  numDims_ = static_cast<int>(dims);
  numNodes_ = Inquire(EX_INQ_NODES, "number of nodes");
  numElements_ = Inquire(EX_INQ_ELEM, "number of elements");
  constexpr std::int64_t kMost = 2147483647;
  if (numNodes_ > kMost) Fail(std::to_string(numNodes_) + " nodes, more than " + std::to_string(kMost));
  if (numElements_ > kMost)
    Fail(std::to_string(numElements_) + " elements, more than " + std::to_string(kMost));
  CheckCoordinates();
  ReadTitle();
  const std::int64_t longestName = ex_inquire_int(id_, EX_INQ_DB_MAX_USED_NAME_LENGTH);
  ex_set_max_name_length(id_, static_cast<int>(std::clamp<std::int64_t>(longestName, 32, NC_MAX_NAME)));
  ReadBlocks();
  ReadSets();
}

exo_File::~exo_File() = default;

void exo_File::Fail(const cow_String& why) const { throw nex_TextException(name_ + ": " + why); }

void exo_File::Check(int status, std::string_view what) const {
  if (status < 0) Fail("reading " + cow_String(what) + ": " + exo_WhyFailed());
}

std::int64_t exo_File::Inquire(int what, std::string_view name) const {
  const std::int64_t value = ex_inquire_int(id_, what);
  if (value < 0) Fail("reading the " + cow_String(name) + ": " + exo_WhyFailed());
  return value;
}

bool exo_File::HasWideNumbers() const noexcept { return (ex_int64_status(id_) & EX_BULK_INT64_DB) != 0; }

/// Whether numbers of nodes and elements are handed over with 64 bits.
void exo_File::UseWideNumbers(bool wide) const {
  constexpr int kAlways = EX_MAPS_INT64_API | EX_IDS_INT64_API | EX_INQ_INT64_API;
  Check(ex_set_int64_status(id_, kAlways | (wide ? EX_BULK_INT64_API : 0)), "integer sizes");
}

// The Exodus II library copies titles and type names into buffers of the longest length that the format
// allows.
void exo_File::CheckTexts() const {
  std::size_t length = 0;
  if (nc_inq_attlen(id_, NC_GLOBAL, "title", &length) == NC_NOERR && length > MAX_LINE_LENGTH + 1)
    Fail("a title of " + std::to_string(length) + " characters, more than "
         + std::to_string(MAX_LINE_LENGTH));
  int variables = 0;
  Check(nc_inq_nvars(id_, &variables), "number of variables");
  for (int i = 0; i < variables; ++i)
    if (nc_inq_attlen(id_, i, "elem_type", &length) == NC_NOERR && length > MAX_STR_LENGTH + 1)
      Fail("an element type name of " + std::to_string(length) + " characters, more than "
           + std::to_string(MAX_STR_LENGTH));
}

// Before memory is asked for: a count that stands alone may be any number.
void exo_File::CheckCoordinates() const {
  if (exo_NumValues(id_, "coord")) return CheckStored("coord", numNodes_ * numDims_);
  for (int axis = 0; axis < numDims_; ++axis) CheckStored(kAxes[axis], numNodes_);
}

void exo_File::CheckStored(const cow_String& variable, std::int64_t wanted) const {
  const std::int64_t values = exo_NumValues(id_, variable).value_or(0);
  if (values < wanted)
    Fail("variable " + variable + " has " + std::to_string(values) + " values, fewer than the "
         + std::to_string(wanted) + " that the counts of the file tell");
}

void exo_File::ReadTitle() {
  char text[MAX_LINE_LENGTH + 2] = {};
  if (nc_get_att_text(id_, NC_GLOBAL, "title", text) == NC_NOERR) title_ = Trimmed(text);
}

void exo_File::ReadBlocks() {
  const std::int64_t count = Inquire(EX_INQ_ELEM_BLK, "number of element blocks");
  std::vector<std::int64_t> ids(static_cast<std::size_t>(count));
  if (count > 0) Check(ex_get_ids(id_, EX_ELEM_BLOCK, ids.data()), "element block ids");
  CheckIds(ids, "element block");
  std::int64_t total = 0;
  for (const std::int64_t id : ids) {
    ex_block raw = {};
    raw.id = id;
    raw.type = EX_ELEM_BLOCK;
    const cow_String where = "element block " + std::to_string(id);
    Check(ex_get_block_param(id_, &raw), where);
    exo_Block block;
    block.id = id;
    block.type = Trimmed(std::string_view(raw.topology, strnlen(raw.topology, sizeof raw.topology)));
    block.numElements = raw.num_entry;
    block.nodesPerElement = raw.num_nodes_per_entry;
    block.numAttributes = raw.num_attribute;
    block.position = static_cast<std::int64_t>(blocks_.size()) + 1;
    const cow_String upper = cow_ToUpper(block.type);
    block.isRagged = upper.starts_with("NSIDED") || upper.starts_with("NFACED");
    block.name = NameOf(EX_ELEM_BLOCK, id);
    if (block.numElements < 0 || block.nodesPerElement < 0) Fail(where + ": a negative count");
    blocks_.push_back(std::move(block));
    const exo_Block& made = blocks_.back();
    total += made.numElements;
    if (made.isRagged || made.numElements == 0) continue;
    if (made.nodesPerElement == 0) Fail(where + ": elements without nodes");
    std::int64_t values = 0;
    if (__builtin_mul_overflow(made.numElements, made.nodesPerElement, &values))
      Fail(where + ": too many nodes");
    CheckStored("connect" + std::to_string(blocks_.size()), values);
  }
  if (total != numElements_)
    Fail("its blocks have " + std::to_string(total) + " elements, its header says "
         + std::to_string(numElements_));
}

// The Exodus II library finds blocks and sets by their id: the second of two would be read as the first.
void exo_File::CheckIds(std::span<const std::int64_t> ids, const cow_String& what) const {
  std::vector<std::int64_t> sorted(ids.begin(), ids.end());
  std::ranges::sort(sorted);
  const auto twice = std::ranges::adjacent_find(sorted);
  if (twice != sorted.end()) Fail("two of its " + what + "s have the id " + std::to_string(*twice));
}

cow_String exo_File::NameOf(int type, std::int64_t id) const {
  std::vector<char> name(NC_MAX_NAME + 1);
  if (ex_get_name(id_, static_cast<ex_entity_type>(type), id, name.data()) < 0) return {};
  return Trimmed(name.data());
}

void exo_File::ReadSets() {
  UseWideNumbers(true);
  for (const KindOfSet& kind : kKinds) {
    const std::int64_t count = Inquire(kind.count, "number of " + cow_String(kind.name) + "s");
    if (count == 0) continue;
    std::vector<std::int64_t> ids(static_cast<std::size_t>(count));
    Check(ex_get_ids(id_, kind.type, ids.data()), cow_String(kind.name) + " ids");
    CheckIds(ids, kind.name);
    std::int64_t position = 0;
    for (const std::int64_t id : ids) {
      const cow_String where = cow_String(kind.name) + " " + std::to_string(id);
      std::int64_t numEntries = 0, numFactors = 0;
      Check(ex_get_set_param(id_, kind.type, id, &numEntries, &numFactors), where);
      if (numEntries < 0 || numFactors < 0) Fail(where + ": a negative count");
      ++position;
      // the library does not know those of element sets
      numFactors = exo_NumValues(id_, kind.factors + std::to_string(position)).value_or(0);
      sets_.push_back({kind.kind, id, NameOf(kind.type, id), numEntries, position, numFactors});
    }
  }
  UseWideNumbers(HasWideNumbers());
}

void exo_File::ReadSet(const exo_Set& set, std::vector<long long>& entries,
                       std::vector<long long>& sides) const {
  const KindOfSet& kind = Find(set.kind);
  const cow_String position = std::to_string(set.position);
  CheckStored(kind.entries + position, set.numEntries);
  entries.resize(static_cast<std::size_t>(set.numEntries));
  sides.resize(kind.sides ? entries.size() : 0);
  if (entries.empty()) return;
  ReadNumbers(kind.entries + position, entries);
  if (kind.sides) ReadNumbers(kind.sides + position, sides);
}

// The Exodus II library reads the whole variable, however long it is.
void exo_File::ReadNumbers(const cow_String& variable, std::span<long long> numbers,
                           std::size_t first) const {
  int number = 0, numDims = 0;
  exerrval = nc_inq_varid(id_, variable.c_str(), &number);
  if (exerrval == NC_NOERR) exerrval = nc_inq_varndims(id_, number, &numDims);
  if (exerrval == NC_NOERR && numDims != 1) exerrval = NC_EBADDIM;
  const std::size_t count = numbers.size();
  if (exerrval == NC_NOERR) exerrval = nc_get_vara_longlong(id_, number, &first, &count, numbers.data());
  Check(exerrval == NC_NOERR ? 0 : -1, variable);
}

void exo_File::ReadCoordinates(std::int64_t first, std::span<double> x, std::span<double> y,
                               std::span<double> z) const {
  // by name: the Exodus II library takes variable 0, the first of the file, for one that is not there
  int whole = 0;
  const bool isWhole = nc_inq_varid(id_, "coord", &whole) == NC_NOERR;
  const std::span<double> axes[] = {x, y, z};
  for (std::size_t axis = 0; axis < static_cast<std::size_t>(numDims_); ++axis) {
    const std::size_t start[] = {isWhole ? axis : static_cast<std::size_t>(first),
                                 static_cast<std::size_t>(first)},
                      count[] = {isWhole ? 1 : axes[axis].size(), axes[axis].size()};
    int variable = whole;
    exerrval = isWhole ? NC_NOERR : nc_inq_varid(id_, kAxes[axis], &variable);
    if (exerrval == NC_NOERR) exerrval = nc_get_vara_double(id_, variable, start, count, axes[axis].data());
    Check(exerrval == NC_NOERR ? 0 : -1, "coordinates");
  }
}

void exo_File::ReadConnectivity(const exo_Block& block, std::int64_t first, std::int64_t count,
                                int* nodes) const {
  Check(ex_get_partial_conn(id_, EX_ELEM_BLOCK, block.id, first + 1, count, nodes, nullptr, nullptr),
        "connectivity of block " + std::to_string(block.id));
}

void exo_File::ReadConnectivity(const exo_Block& block, std::int64_t first, std::int64_t count,
                                std::int64_t* nodes) const {
  Check(ex_get_partial_conn(id_, EX_ELEM_BLOCK, block.id, first + 1, count, nodes, nullptr, nullptr),
        "connectivity of block " + std::to_string(block.id));
}

void exo_File::ReadNodeLabels(std::int64_t first, std::span<std::int64_t> labels) const {
  Check(ex_get_partial_id_map(id_, EX_NODE_MAP, first + 1, static_cast<std::int64_t>(labels.size()),
                              labels.data()),
        "node number map");
}

void exo_File::ReadElementLabels(std::int64_t first, std::span<std::int64_t> labels) const {
  Check(ex_get_partial_id_map(id_, EX_ELEM_MAP, first + 1, static_cast<std::int64_t>(labels.size()),
                              labels.data()),
        "element number map");
}

int exo_File::FindMap(bool isOfNodes, std::string_view name) const {
  const std::vector<cow_String> names = ReadTexts(isOfNodes ? "nmap_names" : "emap_names");
  const auto at = std::ranges::find(names, name);
  return at == names.end() ? 0 : static_cast<int>(at - names.begin()) + 1;
}

void exo_File::ReadMap(bool isOfNodes, int map, std::int64_t first, std::span<long long> numbers) const {
  const cow_String variable = (isOfNodes ? "node_map" : "elem_map") + std::to_string(map);
  CheckStored(variable, isOfNodes ? numNodes_ : numElements_);
  ReadNumbers(variable, numbers, static_cast<std::size_t>(first));
}

std::optional<std::int64_t> exo_File::CountOf(const cow_String& dimension) const {
  int number = 0;
  std::size_t length = 0;
  if (nc_inq_dimid(id_, dimension.c_str(), &number) != NC_NOERR
      || nc_inq_dimlen(id_, number, &length) != NC_NOERR)
    return std::nullopt;
  return static_cast<std::int64_t>(length);
}

cow_ArrayCOW<double> exo_File::ReadWhole(const cow_String& variable, std::int64_t count) const {
  constexpr std::int64_t kPerByte = 140; ///< numbers that a compressed file may hold
  const std::int64_t values = exo_NumValues(id_, variable).value_or(0);
  if (values != count)
    Fail("variable " + variable + " has " + std::to_string(values) + " values, not the "
         + std::to_string(count) + " that the counts of the file tell");
  if (count / kPerByte > static_cast<std::int64_t>(fs::file_size(name_)))
    Fail("variable " + variable + " has " + std::to_string(values) + " values, more than fit the file");
  cow_ArrayCOW<double> numbers;
  if (count == 0) return numbers;
  numbers.ResizeUninitialised(static_cast<std::size_t>(count));
  int number = 0;
  exerrval = nc_inq_varid(id_, variable.c_str(), &number);
  if (exerrval == NC_NOERR) exerrval = nc_get_var_double(id_, number, numbers.Modify().data());
  Check(exerrval == NC_NOERR ? 0 : -1, variable);
  return numbers;
}

cow_ArrayCOW<double> exo_File::ReadFactors(const exo_Set& set) const {
  return ReadWhole(Find(set.kind).factors + std::to_string(set.position), set.numFactors);
}

cow_ArrayCOW<double> exo_File::ReadAttributes(const exo_Block& block) const {
  std::int64_t count = 0;
  if (block.numAttributes < 0 || __builtin_mul_overflow(block.numElements, block.numAttributes, &count))
    Fail("block " + std::to_string(block.id) + " has " + std::to_string(block.numAttributes) + " attributes");
  return ReadWhole("attrib" + std::to_string(block.position), count);
}

/// Rows of characters, as long as the last dimension says.
std::vector<cow_String> exo_File::ReadTexts(const cow_String& variable) const {
  constexpr std::int64_t kLongest = 1 << 16;
  int number = 0, rank = 0;
  nc_type type = NC_NAT;
  if (nc_inq_varid(id_, variable.c_str(), &number) != NC_NOERR) return {};
  std::vector<int> dims(NC_MAX_VAR_DIMS);
  exerrval = nc_inq_var(id_, number, nullptr, &type, &rank, dims.data(), nullptr);
  if (exerrval == NC_NOERR && (type != NC_CHAR || rank < 2)) exerrval = NC_EBADTYPE;
  std::vector<std::size_t> start(static_cast<std::size_t>(rank), 0), length(start), count(start);
  std::int64_t numRows = 1;
  bool isHuge = false;
  for (std::size_t d = 0; d < length.size() && exerrval == NC_NOERR; ++d) {
    exerrval = nc_inq_dimlen(id_, dims[d], &length[d]);
    count[d] = 1;
    if (d + 1 < length.size()) isHuge |= __builtin_mul_overflow(numRows, length[d], &numRows);
  }
  Check(exerrval == NC_NOERR ? 0 : -1, variable);
  count.back() = length.back();
  if (isHuge || numRows > static_cast<std::int64_t>(fs::file_size(name_))
      || count.back() > static_cast<std::size_t>(kLongest))
    Fail("variable " + variable + " has more texts, or longer ones, than fit the file");
  std::vector<cow_String> texts;
  cow_String text(count.back(), '\0');
  for (std::int64_t row = 0; row < numRows; ++row) {
    auto rest = static_cast<std::size_t>(row);
    for (std::size_t d = length.size() - 1; d-- > 0; rest /= length[d]) start[d] = rest % length[d];
    exerrval = nc_get_vara_text(id_, number, start.data(), count.data(), text.data());
    Check(exerrval == NC_NOERR ? 0 : -1, variable);
    cow_String& made = texts.emplace_back(text.substr(0, text.find('\0')));
    made.resize(made.find_last_not_of(' ') + 1);
  }
  return texts;
}

std::vector<cow_String> exo_File::AttributeNames(const exo_Block& block) const {
  return ReadTexts("attrib_name" + std::to_string(block.position));
}
std::vector<cow_String> exo_File::CoordinateNames() const { return ReadTexts("coor_names"); }
std::vector<cow_String> exo_File::Programs() const {
  std::vector<cow_String> texts = ReadTexts("qa_records");
  if (texts.size() % 4 != 0)
    Fail("variable qa_records has " + std::to_string(texts.size()) + " texts, not four for each record");
  return texts;
}
std::vector<cow_String> exo_File::Information() const { return ReadTexts("info_records"); }

std::vector<exo_Property> exo_File::SetProperties(exo_SetKind kind) const {
  return Properties(Find(kind).properties,
                    static_cast<std::size_t>(std::ranges::count(sets_, kind, &exo_Set::kind)));
}

std::vector<exo_Property> exo_File::Properties(const cow_String& stem, std::size_t count) const {
  std::vector<exo_Property> properties;
  int number = 0;
  for (int i = 2; nc_inq_varid(id_, (stem + std::to_string(i)).c_str(), &number) == NC_NOERR; ++i) {
    const cow_String variable = stem + std::to_string(i);
    std::size_t length = 0;
    nc_type type = NC_NAT;
    exo_Property& made = properties.emplace_back();
    if (nc_inq_att(id_, number, "name", &type, &length) == NC_NOERR && type == NC_CHAR
        && length <= NC_MAX_NAME) {
      made.name.resize(length);
      nc_get_att_text(id_, number, "name", made.name.data());
      made.name = Trimmed(made.name);
    }
    CheckStored(variable, static_cast<std::int64_t>(count));
    made.values.resize(count);
    if (count > 0) ReadNumbers(variable, made.values);
  }
  return properties;
}
