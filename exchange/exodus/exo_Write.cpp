#include "exo_Write.h"
#include "exo_PartFacts.h"
#include "exo_Streams.h"

#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>
#include <cmath>
#include <exodusII.h>
#include <map>

namespace {
constexpr ex_entity_type kValueTypes[exo_kNumValueKinds] = {EX_NODAL, EX_ELEM_BLOCK, EX_NODE_SET, EX_SIDE_SET,
                                                            EX_ELEM_SET};

ex_entity_type TypeOf(exo_SetKind kind) {
  return kind == exo_SetKind::Nodes ? EX_NODE_SET : kind == exo_SetKind::Sides ? EX_SIDE_SET : EX_ELEM_SET;
}

/// Classic files end at 4 GiB a variable; larger ones become HDF5.
int FormatFor(const exo_OutMesh& mesh) {
  constexpr std::size_t kMostNumbers = std::size_t{1} << 29;
  std::size_t most = mesh.xyz.size() / 3 * (mesh.placement.IsNone() ? 1 : 2);
  for (const exo_OutBlock& block : mesh.blocks) most = std::max(most, block.nodes.size());
  return most > kMostNumbers ? EX_NETCDF4 : EX_LARGE_MODEL;
}

bool IsSingle(std::span<const double> numbers) {
  return std::ranges::all_of(numbers, [](double number) {
    return std::isnan(number) || static_cast<double>(static_cast<float>(number)) == number;
  });
}

/// Real numbers of a file are all of one size.
bool NeedsDoubles(const exo_OutMesh& mesh) {
  if (mesh.results && mesh.results->isDouble) return true;
  return !std::ranges::all_of(mesh.blocks, [](const exo_OutBlock& block) {
    return IsSingle(block.attributes);
  }) || !std::ranges::all_of(mesh.sets, [](const exo_OutSet& set) { return IsSingle(set.factors); });
}

class Writer {
public:
  Writer(const cow_String& name, const cow_String& shownName, const exo_OutMesh& mesh)
      : shownName_(shownName) {
    exo_QuietLibrary();
    const int format = FormatFor(mesh);
    isGivenDouble_ = !mesh.placement.IsNone() || (mesh.results && mesh.results->isDouble);
    int given = isGivenDouble_ ? sizeof(double) : sizeof(float);
    int stored = NeedsDoubles(mesh) ? sizeof(double) : given;
    id_ = ex_create(name.c_str(), EX_CLOBBER | format, &given, &stored);
    Check(id_, "the file");
  }
  ~Writer() {
    if (id_ >= 0) ex_close(id_);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  void Write(const exo_OutMesh& mesh) {
    WriteHeader(mesh);
    if (mesh.part) exo_WritePartFacts(id_, shownName_, mesh, *mesh.part);
    WriteRecords(mesh);
    WriteProperties(mesh);
    WriteCoordinates(mesh);
    std::vector<cow_String> names;
    for (const exo_OutBlock& block : mesh.blocks) {
      WriteBlock(block);
      names.push_back(block.name);
    }
    WriteNames(EX_ELEM_BLOCK, names);
    if (!mesh.nodeLabels.empty())
      Check(ex_put_id_map(id_, EX_NODE_MAP, mesh.nodeLabels.data()), "node number map");
    if (!mesh.elementLabels.empty())
      Check(ex_put_id_map(id_, EX_ELEM_MAP, mesh.elementLabels.data()), "element number map");
    WriteSets(mesh.sets);
    WriteMaps(EX_NODE_MAP, mesh.nodeMaps);
    WriteMaps(EX_ELEM_MAP, mesh.elementMaps);
    if (mesh.results) WriteResults(mesh, *mesh.results);
    const int status = ex_close(id_);
    id_ = -1;
    Check(status, "the end of the file");
  }

private:
  void Check(int status, const cow_String& what) const {
    thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
    if (status < 0) throw nex_TextException(shownName_ + ": writing " + what + ": " + exo_WhyFailed());
  }

  void WriteHeader(const exo_OutMesh& mesh) {
    const auto count = [&](exo_SetKind kind) {
      return std::ranges::count(mesh.sets, kind, &exo_OutSet::kind);
    };
    std::size_t longest = 32;
    const auto regard = [&](const cow_String& name) { longest = std::max(longest, name.size()); };
    std::ranges::for_each(mesh.coordinateNames, regard);
    for (const exo_OutBlock& block : mesh.blocks) {
      regard(block.name);
      std::ranges::for_each(block.attributeNames, regard);
    }
    for (const exo_OutSet& set : mesh.sets) regard(set.name);
    if (mesh.results) {
      std::ranges::for_each(mesh.results->globals, regard);
      for (const std::vector<cow_String>& names : mesh.results->names) std::ranges::for_each(names, regard);
    }
    Check(ex_set_max_name_length(id_, static_cast<int>(std::min(longest, exo_kLongestName))), "names");
    ex_init_params sizes = {};
    mesh.title.copy(sizes.title, exo_kLongestTitle);
    sizes.num_dim = mesh.numDims;
    sizes.num_nodes = static_cast<std::int64_t>(mesh.xyz.size() / 3);
    for (const exo_OutBlock& block : mesh.blocks) sizes.num_elem += block.numElements;
    sizes.num_elem_blk = static_cast<std::int64_t>(mesh.blocks.size());
    sizes.num_node_sets = count(exo_SetKind::Nodes);
    sizes.num_side_sets = count(exo_SetKind::Sides);
    sizes.num_elem_sets = count(exo_SetKind::Elements);
    sizes.num_node_maps = static_cast<std::int64_t>(mesh.nodeMaps.size());
    sizes.num_elem_maps = static_cast<std::int64_t>(mesh.elementMaps.size());
    Check(ex_put_init_ext(id_, &sizes), "the counts");
  }

  void WriteRecords(const exo_OutMesh& mesh) {
    std::vector<cow_String> names = mesh.coordinateNames, records = mesh.programs, lines = mesh.information;
    std::vector<char*> texts = Texts(names, exo_kLongestName);
    if (!texts.empty()) Check(ex_put_coord_names(id_, texts.data()), "names of coordinates");
    texts = Texts(records, exo_kLongestRecord);
    const auto numRecords = static_cast<int>(texts.size() / 4);
    if (numRecords > 0)
      Check(ex_put_qa(id_, numRecords, reinterpret_cast<char*(*)[4]>(texts.data())), "records of programs");
    texts = Texts(lines, exo_kLongestLine);
    if (!texts.empty())
      Check(ex_put_info(id_, static_cast<int>(texts.size()), texts.data()), "lines of information");
  }

  /// Cut to the longest that the format has.
  static std::vector<char*> Texts(std::vector<cow_String>& from, std::size_t longest) {
    std::vector<char*> texts;
    for (cow_String& text : from) {
      text.resize(std::min(text.size(), longest));
      texts.push_back(text.data());
    }
    return texts;
  }

  void WriteProperties(const exo_OutMesh& mesh) {
    std::map<ex_entity_type, std::vector<cow_String>> names;
    const auto typeOf = [](const exo_OutProperty& one) { return one.of ? TypeOf(*one.of) : EX_ELEM_BLOCK; };
    for (const exo_OutProperty& one : mesh.properties) names[typeOf(one)].push_back(one.name);
    for (auto& [type, ofType] : names) {
      std::vector<char*> texts = Texts(ofType, exo_kLongestName);
      Check(ex_put_prop_names(id_, type, static_cast<int>(texts.size()), texts.data()),
            "names of properties");
    }
    for (const exo_OutProperty& one : mesh.properties)
      Check(ex_put_prop_array(id_, typeOf(one), one.name.substr(0, exo_kLongestName).c_str(),
                              one.values.data()),
            "property " + one.name);
  }

  void WriteCoordinates(const exo_OutMesh& mesh) {
    const std::size_t numNodes = mesh.xyz.size() / 3;
    if (numNodes == 0) return;
    if (!isGivenDouble_) return WriteAxes(mesh, mesh.xyz);
    std::vector<double> placed(mesh.xyz.size());
    mesh.placement.Place(mesh.xyz, placed);
    WriteAxes(mesh, std::span<const double>(placed));
  }

  template<class Number> void WriteAxes(const exo_OutMesh& mesh, std::span<const Number> xyz) {
    const std::size_t numNodes = xyz.size() / 3;
    std::vector<Number> axes[3];
    for (std::size_t axis = 0; axis < static_cast<std::size_t>(mesh.numDims); ++axis) {
      axes[axis].resize(numNodes);
      for (std::size_t i = 0; i < numNodes; ++i) axes[axis][i] = xyz[3 * i + axis];
    }
    const auto data = [&](int axis) { return axis < mesh.numDims ? axes[axis].data() : nullptr; };
    Check(ex_put_coord(id_, data(0), data(1), data(2)), "coordinates");
  }

  void WriteBlock(const exo_OutBlock& block) {
    const cow_String what = "block " + std::to_string(block.id);
    const cow_String type = block.type.substr(0, exo_kLongestType);
    const auto numAttributes =
        block.numElements > 0 ? static_cast<std::int64_t>(block.attributes.size()) / block.numElements : 0;
    Check(ex_put_block(id_, EX_ELEM_BLOCK, block.id, type.c_str(), block.numElements, block.nodesPerElement,
                       0, 0, numAttributes),
          what);
    std::vector<cow_String> names = block.attributeNames;
    if (numAttributes > 0 && static_cast<std::int64_t>(names.size()) == numAttributes)
      Check(ex_put_attr_names(id_, EX_ELEM_BLOCK, block.id, Texts(names, exo_kLongestName).data()), what);
    if (!block.nodes.empty())
      Check(ex_put_conn(id_, EX_ELEM_BLOCK, block.id, block.nodes.data(), nullptr, nullptr), what);
    WriteNumbers("attrib" + std::to_string(++numBlocks_), block.attributes);
  }

  /// Defined in one call: the library moves what is written when it defines one more. The numbers go past it to their
  /// variables: it would look each set up in the list of all.
  void WriteSets(std::span<const exo_OutSet> sets) {
    std::vector<ex_set> all;
    std::map<ex_entity_type, std::vector<cow_String>> names;
    for (const exo_OutSet& set : sets) {
      ex_set& made = all.emplace_back();
      made.id = set.id;
      made.type = TypeOf(set.kind);
      made.num_entry = static_cast<std::int64_t>(set.entries.size());
      made.num_distribution_factor = static_cast<std::int64_t>(set.factors.size());
      names[made.type].push_back(set.name);
    }
    if (!all.empty()) Check(ex_put_sets(id_, all.size(), all.data()), "sets");
    std::map<ex_entity_type, int> positions;
    for (const exo_OutSet& set : sets) {
      const cow_String position = std::to_string(++positions[TypeOf(set.kind)]);
      const bool areSides = set.kind == exo_SetKind::Sides;
      const bool areNodes = set.kind == exo_SetKind::Nodes;
      const cow_String ending = (areSides ? "_ss" : areNodes ? "_ns" : "_els") + position;
      WriteNumbers((areNodes ? "node" : "elem") + ending, set.entries);
      if (areSides) WriteNumbers("side" + ending, set.sides);
      WriteNumbers("dist_fact" + ending, std::span<const double>(set.factors));
    }
    for (auto& [type, ofType] : names) WriteNames(type, ofType);
  }

  void WriteNumbers(const cow_String& variable, std::span<const int> numbers) {
    WriteVariable(variable, numbers, &nc_put_var_int);
  }
  void WriteNumbers(const cow_String& variable, std::span<const double> numbers) {
    WriteVariable(variable, numbers, &nc_put_var_double);
  }
  template<class Number>
  void WriteVariable(const cow_String& variable, std::span<const Number> numbers,
                     int (*put)(int, int, const Number*)) {
    if (numbers.empty()) return;
    int number = 0;
    exerrval = nc_inq_varid(id_, variable.c_str(), &number);
    if (exerrval == NC_NOERR) exerrval = put(id_, number, numbers.data());
    Check(exerrval == NC_NOERR ? 0 : -1, variable);
  }

  void WriteNames(ex_entity_type type, std::vector<cow_String>& names) {
    std::vector<char*> texts = Texts(names, exo_kLongestName);
    if (std::ranges::any_of(names, [](const cow_String& name) { return !name.empty(); }))
      Check(ex_put_names(id_, type, texts.data()), "names");
  }

  void WriteMaps(ex_entity_type type, std::span<const exo_OutMap> maps) {
    for (std::size_t i = 0; i < maps.size(); ++i) {
      const auto id = static_cast<std::int64_t>(i) + 1;
      Check(ex_put_num_map(id_, type, id, maps[i].numbers.data()), "map " + maps[i].name);
      WriteName(type, id, maps[i].name);
    }
  }

  void WriteName(ex_entity_type type, std::int64_t id, const cow_String& name) {
    if (!name.empty())
      Check(ex_put_name(id_, type, id, name.substr(0, exo_kLongestName).c_str()), "name \"" + name + '"');
  }

  void WriteResults(const exo_OutMesh& mesh, exo_OutResults& results) {
    WriteVariables(EX_GLOBAL, results.globals);
    for (int kind = 0; kind < exo_kNumValueKinds; ++kind) {
      const std::vector<cow_String>& names = results.names[kind];
      WriteVariables(kValueTypes[kind], names);
      std::vector<int> truth = TruthOf(mesh, results, kind);
      if (!names.empty() && !truth.empty())
        Check(ex_put_truth_table(id_, kValueTypes[kind], static_cast<int>(truth.size() / names.size()),
                                 static_cast<int>(names.size()), truth.data()),
              "the table of variables");
    }
    for (std::size_t frame = 0; frame < results.times.size(); ++frame) {
      const int step = static_cast<int>(frame) + 1;
      PutReals(
          results.times.data() + frame, 1, [&](const void* time) { return ex_put_time(id_, step, time); },
          "time");
      std::vector<double> globals;
      for (std::size_t i = 0; i < results.globals.size(); ++i) globals.push_back(results.Global(frame, i));
      if (!globals.empty())
        PutReals(
            globals.data(), globals.size(),
            [&](const void* values) {
              return ex_put_var(id_, step, EX_GLOBAL, 1, 0, static_cast<std::int64_t>(globals.size()),
                                values);
            },
            "global variables");
      for (std::size_t i = 0; i < results.fields.size(); ++i) WriteField(results, frame, i);
    }
  }

  void WriteVariables(ex_entity_type type, std::vector<cow_String> names) {
    if (names.empty()) return;
    const auto count = static_cast<int>(names.size());
    Check(ex_put_variable_param(id_, type, count), "the count of variables");
    Check(ex_put_variable_names(id_, type, count, Texts(names, exo_kLongestName).data()),
          "names of variables");
  }

  /// For each block or set of the kind, which scalars it has; nothing for nodes, which have all.
  static std::vector<int> TruthOf(const exo_OutMesh& mesh, const exo_OutResults& results, int kind) {
    std::vector<std::int64_t> ids;
    if (kValueTypes[kind] == EX_ELEM_BLOCK)
      for (const exo_OutBlock& block : mesh.blocks) ids.push_back(block.id);
    else
      for (const exo_OutSet& set : mesh.sets)
        if (TypeOf(set.kind) == kValueTypes[kind]) ids.push_back(set.id);
    const std::size_t columns = results.names[kind].size();
    std::vector<int> truth(ids.size() * columns);
    for (const exo_OutField& field : results.fields) {
      const auto at = std::ranges::find(ids, field.id);
      if (static_cast<int>(field.kind) != kind || at == ids.end()) continue;
      for (const int scalar : field.scalars)
        truth[static_cast<std::size_t>(at - ids.begin()) * columns + static_cast<std::size_t>(scalar)] = 1;
    }
    return kValueTypes[kind] == EX_NODAL ? std::vector<int>() : truth;
  }

  /// Slices of the entities, each read once for all of its scalars.
  void WriteField(exo_OutResults& results, std::size_t frame, std::size_t index) {
    constexpr std::int64_t kSlice = 32768;
    const exo_OutField& field = results.fields[index];
    if (!results.Begin(frame, index)) return WriteNothing(frame, field);
    const std::size_t width = field.scalars.size();
    std::vector<double> rows, column;
    for (std::int64_t first = 0; first < field.numEntities; first += kSlice) {
      const auto count = static_cast<std::size_t>(std::min(kSlice, field.numEntities - first));
      rows.resize(count * width);
      results.Read(first, static_cast<std::int64_t>(count), rows);
      column.resize(count);
      for (std::size_t k = 0; k < width; ++k) {
        for (std::size_t i = 0; i < count; ++i) column[i] = rows[i * width + k];
        PutColumn(frame, field, k, first, column);
      }
    }
  }
  void WriteNothing(std::size_t frame, const exo_OutField& field) {
    const std::vector<double> none(static_cast<std::size_t>(field.numEntities), std::nan(""));
    for (std::size_t k = 0; k < field.scalars.size(); ++k) PutColumn(frame, field, k, 0, none);
  }
  void PutColumn(std::size_t frame, const exo_OutField& field, std::size_t k, std::int64_t first,
                 std::span<const double> column) {
    if (column.empty()) return;
    PutReals(
        column.data(), column.size(),
        [&](const void* values) {
          return ex_put_partial_var(id_, static_cast<int>(frame) + 1,
                                    kValueTypes[static_cast<int>(field.kind)], field.scalars[k] + 1, field.id,
                                    first + 1, static_cast<std::int64_t>(column.size()), values);
        },
        "a variable");
  }
  /// In the precision that the library was told to be given.
  template<class Put>
  void PutReals(const double* values, std::size_t count, const Put& put, const char* what) {
    if (isGivenDouble_) return Check(put(values), what);
    const std::vector<float> floats(values, values + count);
    Check(put(floats.data()), what);
  }

  cow_String shownName_;
  int id_ = -1, numBlocks_ = 0;
  bool isGivenDouble_ = false;
};
} // namespace

void exo_Write(uti_OutputFile& output, const exo_OutMesh& mesh) {
  Writer(output.Path(), output.Name(), mesh).Write(mesh);
  output.Commit();
}
