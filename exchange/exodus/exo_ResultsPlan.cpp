#include "exo_ResultsPlan.h"

#include "exo_Sets.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/bme_EntityList.h>
#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/exo_Types.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>
#include <cctype>
#include <exodusII.h>
#include <map>
#include <set>

namespace {
/// The objects of a kind in a file that can have variables, with what our model has in their place.
struct Object {
  ex_entity_type type;
  std::int64_t id;
  std::int64_t numEntities;
  std::vector<std::int64_t> order;
  odiC_LayoutBlock block; ///< without values per entity
  int shapePoints = 0;    ///< as fmt_BlockNames
  bool areEdges = false;
  /// A set whose sides are of several classes has one object a class; they share the row of the truth table.
  std::size_t row = 0;
};

const char* TextOf(res_OutputPositionEnm position) {
  return omu_FindText(omu_EnumTable<res_OutputPositionEnm>::entries, position);
}

void Check(const exo_File& file, int status, const cow_String& what) {
  thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
  if (status < 0) throw nex_TextException(file.Name() + ": reading " + what + ": " + exo_WhyFailed());
}

class Planner {
public:
  Planner(const exo_File& file, const fmt_Import& import, const fmt_ResultsOptions& options)
      : file_(file), import_(import), options_(options), places_(exo_PlaceBlocks(file)) {}

  exo_ResultsPlan Run() {
    FindSides();
    PlanAll();
    CheckNames();
    for (const exo_PlannedVariable& planned : planned_) Describe(planned);
    Note("scalars that are named alike and not grouped", numAlike_, alike_);
    Note("values on sides without a face or edge here", numUnknownSides_, {});
    Note("entries that a set has twice", numTwice_, "their first value is kept: " + setsOfTwice_);
    plan_.variables = std::move(planned_);
    return std::move(plan_);
  }

private:
  void Note(const char* what, long long count, const cow_String& detail) {
    if (count > 0) plan_.ledger.push_back({what, count, detail});
  }

  /// Our objects of a kind, and how many the file has.
  std::vector<Object> ObjectsOf(ex_entity_type type, std::size_t& numInFile) {
    std::vector<Object> objects;
    numInFile = 1;
    if (type == EX_NODAL) {
      odiC_LayoutBlock nodes;
      nodes.position = res_NODAL;
      nodes.numEntities = static_cast<int>(file_.NumNodes());
      objects.push_back({type, 0, file_.NumNodes(), {}, nodes});
    } else if (type == EX_ELEM_BLOCK) {
      numInFile = places_.size();
      for (std::size_t i = 0; i < numInFile; ++i) {
        const exo_BlockPlace& place = places_[i];
        if (place.classIndex < 0) continue;
        odiC_LayoutBlock elements;
        elements.position = res_WHOLE_ELEMENT;
        elements.classIndex = place.classIndex;
        elements.numEntities = static_cast<int>(place.block->numElements);
        const bme_ElementClass& made = Class(place.classIndex);
        // the points of a pyramid are not those of the hexahedron that it is here
        const bool isKnown = made.Shape() && made.Shape()->NumIntPts() > 0 && bme_PyramidNodes(made) == 0;
        objects.push_back({type,
                           place.block->id,
                           place.block->numElements,
                           {},
                           elements,
                           isKnown ? made.Shape()->NumIntPts() : -1,
                           false,
                           i});
      }
    } else {
      AddSets(type, objects, numInFile);
    }
    return objects;
  }

  const bme_ElementClass& Class(int index) const {
    return import_.mesh->ElementData().GetClass(static_cast<unsigned>(index));
  }

  /// By the element labels that the blocks have become.
  void FindSides() {
    for (exo_BlockPlace& place : places_) {
      if (place.classIndex < 0) continue;
      const auto numNodes = static_cast<int>(place.block->nodesPerElement);
      const fmt_ImportedBlock& made = import_.blocks[static_cast<std::size_t>(place.classIndex)];
      exo_TypeMap types;
      if (made.supported) types.Override(place.block->type, numNodes, made.label);
      place.sides = types.Find(place.block->type, numNodes, file_.NumDims()).sides;
    }
  }

  void AddSets(ex_entity_type type, std::vector<Object>& objects, std::size_t& numInFile) {
    const exo_SetKind kind = type == EX_NODE_SET   ? exo_SetKind::Nodes
                             : type == EX_SIDE_SET ? exo_SetKind::Sides
                                                   : exo_SetKind::Elements;
    numInFile = 0;
    std::size_t named = import_.blocks.size(); // the sets of blocks come first
    for (const exo_Set& set : file_.Sets()) {
      const cow_String region = import_.sets.at(named++).Root();
      if (set.kind != kind) continue;
      const std::size_t row = numInFile++;
      std::vector<long long> entries, sides;
      file_.ReadSet(set, entries, sides);
      const long long numTwiceBefore = numTwice_;
      for (auto& [place, members] : Members(kind, entries, sides)) {
        std::ranges::stable_sort(members, {}, [](const Member& m) { return std::pair(m.entity, m.facet); });
        const auto same = [](const Member& a, const Member& b) {
          return a.entity == b.entity && a.facet == b.facet;
        };
        const auto firstTwice = std::unique(members.begin(), members.end(), same);
        numTwice_ += members.end() - firstTwice;
        members.erase(firstTwice, members.end());
        Object made{type, set.id, set.numEntries, {}, {}, 0, place.second, row};
        made.block.position = kind == exo_SetKind::Nodes   ? res_NODAL
                              : kind == exo_SetKind::Sides ? res_ELEMENT_FACE
                                                           : res_WHOLE_ELEMENT;
        made.block.classIndex = place.first;
        made.block.region = region;
        made.block.numEntities = static_cast<int>(members.size());
        std::vector<int> entities, faces;
        for (const Member& member : members) {
          entities.push_back(member.entity);
          if (kind == exo_SetKind::Sides) faces.push_back(member.facet);
          made.order.push_back(member.inFile);
        }
        made.block.entities = cow_ArrayCOW<int>(entities);
        made.block.faces = cow_ArrayCOW<int>(faces);
        objects.push_back(std::move(made));
      }
      if (numTwice_ > numTwiceBefore) setsOfTwice_ += (setsOfTwice_.empty() ? "" : ", ") + region;
    }
    std::stable_partition(objects.begin(), objects.end(), [](const Object& one) { return !one.areEdges; });
  }

  struct Member {
    int entity, facet;
    std::int64_t inFile;
  };
  /// The entries of a set by element class, -1 for nodes, edges apart from faces.
  std::map<std::pair<int, bool>, std::vector<Member>>
  Members(exo_SetKind kind, std::span<const long long> entries, std::span<const long long> sides) {
    std::map<std::pair<int, bool>, std::vector<Member>> members;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      const auto inFile = static_cast<std::int64_t>(i);
      if (kind == exo_SetKind::Nodes) {
        members[{-1, false}].push_back({static_cast<int>(entries[i] - 1), 0, inFile});
        continue;
      }
      const exo_BlockPlace& block = exo_BlockOf(places_, entries[i] - 1);
      if (block.classIndex < 0) continue;
      exo_Side side{res_SURFACE_FACET, 0};
      if (kind == exo_SetKind::Sides) {
        const bool isThere = sides[i] >= 1 && sides[i] <= static_cast<long long>(block.sides.size());
        side = isThere ? block.sides[static_cast<std::size_t>(sides[i] - 1)] : exo_Side();
        numUnknownSides_ += side.kind == res_SURFACE_ELEMENT;
        if (side.kind == res_SURFACE_ELEMENT) continue;
      }
      members[{block.classIndex, side.kind == res_SURFACE_EDGE}].push_back(
          {static_cast<int>(entries[i] - 1 - block.firstInFile), side.facet, inFile});
    }
    return members;
  }

  void PlanAll() {
    for (const ex_entity_type type : {EX_NODAL, EX_ELEM_BLOCK, EX_NODE_SET, EX_SIDE_SET, EX_ELEM_SET})
      Plan(type);
    for (exo_PlannedVariable& planned : planned_)
      std::ranges::stable_sort(planned.sources, {}, [](const exo_Source& source) {
        const odiC_LayoutBlock& block = source.block;
        return std::tuple(block.position, block.classIndex, block.sectionPoint, block.region);
      });
  }

  void Plan(ex_entity_type type) {
    const std::vector<cow_String> names = exo_VariableNames(file_, type);
    if (names.empty()) return;
    std::size_t numInFile = 0;
    const std::vector<Object> objects = ObjectsOf(type, numInFile);
    std::vector<int> table(names.size() * numInFile, 1);
    if (type != EX_NODAL && !table.empty())
      Check(file_,
            ex_get_truth_table(file_.Id(), type, static_cast<int>(numInFile), static_cast<int>(names.size()),
                               table.data()),
            "the truth table");
    std::vector<fmt_BlockNames> blocks;
    for (const Object& object : objects) {
      fmt_BlockNames& block = blocks.emplace_back();
      const auto* row = table.data() + object.row * names.size();
      for (std::size_t i = 0; i < names.size(); ++i)
        block.isPresent.push_back(static_cast<char>(row[i] != 0));
      block.shapePoints = object.shapePoints;
    }
    const auto groups = fmt_GroupNames(names, blocks, file_.NumDims(), options_.rules);
    for (std::size_t b = 0; b < objects.size(); ++b)
      for (const fmt_Group& group : groups[b])
        if (IsWanted(group, names)) AddSource(type, objects[b], group, names);
    FindAlike(names, groups);
    known_.insert(names.begin(), names.end());
    for (const auto& ofBlock : groups)
      for (const fmt_Group& group : ofBlock) {
        known_.insert(group.name);
        pointCounts_.insert(group.numPoints);
      }
  }

  /// What the user names is in the file.
  void CheckNames() {
    for (const cow_String& name : exo_VariableNames(file_, EX_GLOBAL)) known_.insert(name);
    const auto lower = [](cow_String text) {
      for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      return text;
    };
    const auto expect = [&](const cow_String& name, const auto& isIt) {
      if (std::ranges::any_of(known_, isIt)) return;
      throw nex_TextException(
          file_.Name() + ": no variable \"" + name + '"'
          + atr_Alternatives(name, std::vector<cow_String>(known_.begin(), known_.end())));
    };
    for (const cow_String& name : options_.variables)
      expect(name, [&](const cow_String& one) { return one == name; });
    for (const fmt_GroupRules::Own& own : options_.rules.own)
      for (const cow_String& name : own.scalars)
        expect(name, [&](const cow_String& one) { return lower(one) == lower(name); });
    for (const cow_String& name : options_.rules.ungrouped) // of a variable, or of one of its scalars
      if (lower(name) != "all")
        expect(name, [&](const cow_String& one) { return lower(one).starts_with(lower(name)); });
    const auto count = static_cast<int>(options_.pointOrder.size());
    if (count > 0 && !pointCounts_.contains(count))
      throw nex_TextException(file_.Name() + ": the order of " + std::to_string(count)
                              + " points is given, and no variable has values at so many");
  }

  bool IsWanted(const fmt_Group& group, std::span<const cow_String> names) const {
    if (options_.variables.empty()) return true;
    const auto has = [&](const cow_String& name) { return std::ranges::count(options_.variables, name) > 0; };
    return has(group.name) || std::ranges::any_of(group.scalars, [&](int i) {
             return has(names[static_cast<std::size_t>(i)]);
           });
  }

  /// Scalars stem_1, stem_2, ... that no block has integration points for.
  void FindAlike(std::span<const cow_String> names, const std::vector<std::vector<fmt_Group>>& groups) {
    std::set<cow_String> alone, stems;
    for (const auto& ofBlock : groups)
      for (const fmt_Group& group : ofBlock)
        if (group.type == res_SCALAR && group.numPoints == 0 && group.scalars.size() == 1)
          alone.insert(group.name);
    for (const cow_String& name : names)
      if (name.ends_with("_1") && alone.contains(name)
          && alone.contains(name.substr(0, name.size() - 1) + "2") && stems.insert(name).second) {
        ++numAlike_;
        alike_ += (alike_.empty() ? "" : ", ") + name;
      }
  }

  void AddSource(ex_entity_type type, const Object& object, const fmt_Group& group,
                 std::span<const cow_String> names) {
    odiC_Variable variable(group.name, group.type);
    variable.pair = group.pair;
    const std::size_t pairs = variable.IsComplex() ? 2 : 1,
                      points = static_cast<std::size_t>(std::max(1, group.numPoints));
    if (group.type == res_VECTOR) variable.components.resize(group.scalars.size() / points / pairs);
    auto at = std::ranges::find_if(planned_, [&](const exo_PlannedVariable& one) {
      return base_.at(one.variable.name) == group.name && one.variable.IsLike(variable)
             && !HasPlace(one, object, group) && !MixesEdges(one, object);
    });
    if (at == planned_.end()) {
      if (base_.contains(variable.name))
        variable.name += type == EX_NODAL || type == EX_NODE_SET ? " (nodes)"
                         : object.areEdges                       ? " (edges)"
                                                                 : " (elements)";
      const cow_String stem = variable.name;
      for (int n = 2; base_.contains(variable.name); ++n) variable.name = stem + " " + std::to_string(n);
      base_[variable.name] = group.name;
      planned_.push_back({variable, {}, -1, -1});
      at = planned_.end() - 1;
    }
    if (object.areEdges) at->variable.description = "on edges of elements: facets are those of edges";
    exo_Source source{type,          object.id,    object.numEntities, object.order,
                      group.scalars, object.block, object.areEdges};
    if (group.numPoints > 0) {
      source.block.position = res_INTEGRATION_POINT;
      source.block.valuesPerEntity = group.numPoints;
      if (group.numPoints != object.shapePoints) source.block.pointSet = exo_kNeedsPointSet;
    }
    std::vector<cow_String>& from = scalars_[at->variable.name];
    for (const int scalar : group.scalars)
      if (const cow_String& name = names[static_cast<std::size_t>(scalar)];
          std::ranges::count(from, name) == 0)
        from.push_back(name);
    at->sources.push_back(std::move(source));
  }

  /// Whether the variable has values of that block already: then this is another one of the same name.
  static bool HasPlace(const exo_PlannedVariable& planned, const Object& object, const fmt_Group& group) {
    const res_OutputPositionEnm position =
        group.numPoints > 0 ? res_INTEGRATION_POINT : object.block.position;
    return std::ranges::any_of(planned.sources, [&](const exo_Source& source) {
      return source.block.position == position && source.block.classIndex == object.block.classIndex
             && source.block.region == object.block.region;
    });
  }

  /// Facets are those of edges or those of faces; a layout does not tell which.
  static bool MixesEdges(const exo_PlannedVariable& planned, const Object& object) {
    return std::ranges::any_of(planned.sources, [&](const exo_Source& source) {
      return source.block.HasFaces() && object.block.HasFaces() && source.areEdges != object.areEdges;
    });
  }

  void Describe(const exo_PlannedVariable& planned) {
    fmt_PlannedVariable told{planned.variable, {}, scalars_[planned.variable.name]};
    std::vector<std::pair<cow_String, std::vector<int>>> places; // with their classes
    for (const exo_Source& source : planned.sources) {
      cow_String text = TextOf(source.block.position);
      if (source.block.position == res_INTEGRATION_POINT)
        text += " (" + std::to_string(source.block.valuesPerEntity) + ")";
      if (!source.block.region.empty()) text += " of " + source.block.region;
      if (places.empty() || places.back().first != text) places.push_back({text, {}});
      if (source.block.classIndex >= 0) places.back().second.push_back(source.block.classIndex);
    }
    for (const auto& [text, classes] : places)
      told.positions.push_back(classes.empty() ? text
                                               : text + (classes.size() == 1 ? " in class " : " in classes ")
                                                     + bme_CompactLabels(classes));
    plan_.told.push_back(std::move(told));
  }

  const exo_File& file_;
  const fmt_Import& import_;
  const fmt_ResultsOptions& options_;
  std::vector<exo_PlannedVariable> planned_;
  std::map<cow_String, cow_String> base_;                 ///< name of the group of each variable
  std::map<cow_String, std::vector<cow_String>> scalars_; ///< of each variable
  std::vector<exo_BlockPlace> places_;
  long long numUnknownSides_ = 0, numAlike_ = 0, numTwice_ = 0;
  cow_String alike_, setsOfTwice_;
  std::set<cow_String> known_; ///< names of scalars and of what they are grouped to
  std::set<int> pointCounts_;  ///< of what has values at points
  exo_ResultsPlan plan_;
};
} // namespace

std::vector<cow_String> exo_VariableNames(const exo_File& file, int kind) {
  const auto type = static_cast<ex_entity_type>(kind);
  int count = 0;
  Check(file, ex_get_variable_param(file.Id(), type, &count), "variables");
  std::vector<cow_String> names;
  for (int i = 1; i <= count; ++i) {
    std::vector<char> text(static_cast<std::size_t>(ex_inquire_int(file.Id(), EX_INQ_DB_MAX_USED_NAME_LENGTH))
                           + 257);
    Check(file, ex_get_variable_name(file.Id(), type, i, text.data()), "names of variables");
    names.emplace_back(text.data());
    while (!names.back().empty() && names.back().back() == ' ') names.back().pop_back();
  }
  return names;
}

exo_ResultsPlan exo_PlanResults(const exo_File& file, const fmt_Import& import,
                                const fmt_ResultsOptions& options) {
  return Planner(file, import, options).Run();
}
