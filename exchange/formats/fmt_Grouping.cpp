#include <CoreGeometry/fmt_Grouping.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <map>
#include <set>

namespace {
cow_String Lower(cow_String text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

/// What is grouped at one stage, under a key without case: its scalars at every point.
struct Entry {
  cow_String name; ///< as spelled
  int numPoints = 0;
  std::vector<int> scalars;
  res_DataTypeEnm type = res_SCALAR;
  res_PairEnm pair = res_NO_PAIR;
  bool isFinal = false; ///< the user's own group, or one that stays as it is
};
/// Name without case, and what tells groups of one name apart.
using Key = std::pair<cow_String, cow_String>;
using Entries = std::map<Key, Entry>;
std::vector<Key> KeysOf(const Entries& entries) {
  std::vector<Key> keys;
  for (const auto& [key, entry] : entries) keys.push_back(key);
  return keys;
}

/// "stem_12" without leading zeros.
bool SplitPoint(const cow_String& name, cow_String& stem, int& point) {
  const std::size_t at = name.rfind('_');
  if (at == cow_String::npos || at == 0 || at + 1 == name.size() || name[at + 1] == '0') return false;
  const char* end = name.data() + name.size();
  const auto [stop, error] = std::from_chars(name.data() + at + 1, end, point);
  stem = name.substr(0, at);
  return error == std::errc() && stop == end && point > 0;
}

/// Stems in a block with points 1 to n: the scalar of each point.
std::map<cow_String, std::vector<int>> PointsOf(std::span<const cow_String> names,
                                                const fmt_BlockNames& block,
                                                const std::set<cow_String>& excluded) {
  std::map<cow_String, std::map<int, int>> found;
  for (std::size_t i = 0; i < names.size(); ++i) {
    cow_String stem;
    int point = 0;
    const cow_String name = Lower(names[i]);
    if (block.isPresent[i] != 0 && !excluded.contains(name) && SplitPoint(name, stem, point)
        && !excluded.contains(stem))
      found[stem].emplace(point, static_cast<int>(i));
  }
  std::map<cow_String, std::vector<int>> whole;
  for (const auto& [stem, points] : found)
    if (points.rbegin()->first == static_cast<int>(points.size()))
      for (const auto& [point, scalar] : points) whole[stem].push_back(scalar);
  return whole;
}

struct Form {
  res_DataTypeEnm inSpace, inPlane;
  std::vector<std::vector<const char*>> endings; ///< of each component in stored order, every spelling
};
const std::vector<Form>& Forms() {
  static const std::vector<Form> forms = {
      {res_MATRIX, res_MATRIX, {{"xx"}, {"xy"}, {"xz"}, {"yx"}, {"yy"}, {"yz"}, {"zx"}, {"zy"}, {"zz"}}},
      {res_TENSOR_3D_FULL,
       res_TENSOR_3D_FULL,
       {{"xx"}, {"yy"}, {"zz"}, {"xy", "yx"}, {"zx", "xz"}, {"yz", "zy"}}},
      {res_TENSOR_3D_PLANAR, res_TENSOR_2D_PLANAR, {{"xx"}, {"yy"}, {"zz"}, {"xy", "yx"}}},
      {res_TENSOR_3D_SURFACE, res_TENSOR_2D_SURFACE, {{"xx"}, {"yy"}, {"xy", "yx"}}},
      {res_VECTOR, res_VECTOR, {{"x"}, {"y"}, {"z"}}},
  };
  return forms;
}
constexpr std::array<std::string_view, 4> kSeparators = {"_", ".", " ", ""};

/// Entries stem + ending, one for each component, that are scalars with the same points and pair; nothing when one lacks.
std::vector<Entries::iterator> ComponentsAt(Entries& entries, const Form& form, std::size_t wanted,
                                            const cow_String& stem, const Entries::iterator& start) {
  std::vector<Entries::iterator> parts;
  for (std::size_t k = 0; k < wanted; ++k)
    for (const char* spelling : form.endings[k]) {
      const auto part = entries.find({stem + spelling, start->first.second});
      if (part == entries.end() || part->second.isFinal || part->second.type != res_SCALAR
          || part->second.numPoints != start->second.numPoints)
        continue;
      parts.push_back(part);
      break;
    }
  if (parts.size() != wanted) parts.clear();
  return parts;
}

/// The entry that has these as its components.
Entry Joined(std::span<const Entries::iterator> parts, cow_String name, res_DataTypeEnm type) {
  const Entry& first = parts.front()->second;
  Entry made{std::move(name), first.numPoints, {}, type, first.pair};
  for (std::size_t k = 0; k < first.scalars.size(); ++k)
    for (const auto& part : parts) made.scalars.push_back(part->second.scalars[k]);
  return made;
}

/// Replaces the entries that are the components of one vector or tensor by it; larger forms first.
void GroupComponents(Entries& entries, int numDims, const std::set<cow_String>& excluded) {
  for (const Form& form : Forms()) {
    const bool isVector = form.inSpace == res_VECTOR;
    const std::size_t wanted = isVector ? static_cast<std::size_t>(numDims) : form.endings.size();
    if (wanted < 2) continue;
    for (const Key& key : KeysOf(entries)) {
      const auto start = entries.find(key);
      if (start == entries.end()) continue;
      for (const std::string_view separator : kSeparators) {
        const cow_String ending = cow_String(separator) + form.endings[0][0];
        if (!key.first.ends_with(ending)) continue;
        const cow_String stem = key.first.substr(0, key.first.size() - ending.size());
        const bool isLongEnough = stem.size() >= (isVector && separator.empty() ? 2U : 1U);
        const auto parts = ComponentsAt(entries, form, wanted, stem + cow_String(separator), start);
        if (!isLongEnough || excluded.contains(stem) || parts.empty()) break;
        const res_DataTypeEnm type = numDims == 2 ? form.inPlane : form.inSpace;
        Entry made = Joined(parts, start->second.name.substr(0, stem.size()), type);
        for (const auto& part : parts) entries.erase(part);
        entries.emplace(Key{stem, key.second + std::to_string(type)}, std::move(made));
        break;
      }
    }
  }
}

/// Replaces stem_re and stem_im by the pair, when they are alike.
void GroupPairs(Entries& entries, const std::set<cow_String>& excluded) {
  for (const Key& key : KeysOf(entries))
    for (const char* separator : {"_", "."}) {
      const cow_String& name = key.first;
      const cow_String real = cow_String(separator) + "re", imaginary = cow_String(separator) + "im";
      if (!name.ends_with(real) || name.size() <= real.size()) continue;
      const cow_String stem = name.substr(0, name.size() - real.size());
      const auto first = entries.find(key), second = entries.find({stem + imaginary, key.second});
      if (excluded.contains(stem) || first == entries.end() || second == entries.end()) continue;
      const Entry &a = first->second, &b = second->second;
      if (a.isFinal || b.isFinal || a.type != b.type || a.numPoints != b.numPoints || a.pair != res_NO_PAIR)
        continue;
      Entry made{a.name.substr(0, stem.size()), a.numPoints, {}, a.type, res_REAL_AND_IMAGINARY};
      const std::size_t points = static_cast<std::size_t>(std::max(1, a.numPoints)),
                        width = a.scalars.size() / points;
      for (std::size_t point = 0; point < points; ++point)
        for (const Entry* one : {&a, &b})
          for (std::size_t k = 0; k < width; ++k) made.scalars.push_back(one->scalars[point * width + k]);
      entries.erase(first);
      entries.erase(second);
      entries.emplace(Key{stem, key.second + "c"}, std::move(made));
    }
}

/// The user's own groups that a block has all scalars of.
void AddOwnGroups(Entries& entries, const fmt_GroupRules& rules) {
  for (const fmt_GroupRules::Own& own : rules.own) {
    Entry made;
    made.name = own.name;
    made.isFinal = true;
    std::vector<Entries::iterator> parts;
    for (const cow_String& scalar : own.scalars) {
      const auto part = entries.find({Lower(scalar), {}});
      if (part == entries.end() || part->second.isFinal) break;
      parts.push_back(part);
      made.scalars.push_back(part->second.scalars[0]);
    }
    if (parts.size() != own.scalars.size()) continue;
    made.type = own.type.value_or(parts.size() == 6   ? res_TENSOR_3D_FULL
                                  : parts.size() == 4 ? res_TENSOR_3D_PLANAR
                                                      : res_VECTOR);
    for (const auto& part : parts) entries.erase(part);
    entries.emplace(Key{Lower(own.name), "own"}, std::move(made));
  }
}
} // namespace

void fmt_GroupRules::AddOwn(const cow_String& text) {
  const auto fail = [&](std::size_t at, const cow_String& what) {
    throw nex_TextException(what + "\n  " + text + "\n  " + cow_String(at, ' ') + "^");
  };
  const std::size_t equals = text.find('='), colon = text.find(':', equals == cow_String::npos ? 0 : equals);
  if (equals == cow_String::npos || equals == 0)
    fail(std::min(equals, text.size()), "a group is NAME=a,b,c[:TYPE]");
  Own made{text.substr(0, equals), {}, {}};
  const std::size_t end = std::min(colon, text.size());
  for (std::size_t at = equals + 1; at <= end;) {
    const std::size_t comma = std::min(text.find(',', at), end);
    if (comma == at) fail(at, "the name of a scalar is missing");
    made.scalars.push_back(text.substr(at, comma - at));
    at = comma + 1;
  }
  if (colon != cow_String::npos) {
    const omu_EnumEntry* type =
        omu_FindValue(omu_EnumTable<res_DataTypeEnm>::entries, text.substr(colon + 1));
    if (!type) fail(colon + 1, "no data type is called \"" + text.substr(colon + 1) + '"');
    made.type = static_cast<res_DataTypeEnm>(type->value);
    if (odiC_ComponentsOf(*made.type).size() != made.scalars.size())
      fail(colon + 1, text.substr(colon + 1) + " has " + std::to_string(odiC_ComponentsOf(*made.type).size())
                          + " components, not " + std::to_string(made.scalars.size()));
  } else if (made.scalars.size() != 2 && made.scalars.size() != 3 && made.scalars.size() != 4
             && made.scalars.size() != 6) {
    fail(equals + 1, "give the type of " + std::to_string(made.scalars.size()) + " components, as :MATRIX");
  }
  own.push_back(std::move(made));
}

std::vector<std::vector<fmt_Group>> fmt_GroupNames(std::span<const cow_String> names,
                                                   std::span<const fmt_BlockNames> blocks, int numDims,
                                                   const fmt_GroupRules& rules) {
  std::set<cow_String> excluded;
  for (const cow_String& name : rules.ungrouped) excluded.insert(Lower(name));
  const bool groupNothing = excluded.contains("all");
  for (const fmt_GroupRules::Own& own : rules.own)
    for (const cow_String& scalar : own.scalars) excluded.insert(Lower(scalar));

  // stems whose points are the integration points of some block are points in every block
  std::set<cow_String> pointed;
  for (const fmt_BlockNames& block : blocks)
    for (const auto& [stem, scalars] : PointsOf(names, block, excluded))
      if (scalars.size() >= 2 && static_cast<int>(scalars.size()) == block.shapePoints) pointed.insert(stem);

  std::vector<std::vector<fmt_Group>> groups;
  for (const fmt_BlockNames& block : blocks) {
    Entries entries;
    std::set<int> taken;
    if (!groupNothing && block.shapePoints != 0)
      for (const auto& [stem, scalars] : PointsOf(names, block, excluded)) {
        if (!pointed.contains(stem)) continue;
        Entry made;
        made.name = names[static_cast<std::size_t>(scalars[0])].substr(0, stem.size());
        made.numPoints = static_cast<int>(scalars.size());
        made.scalars = scalars;
        taken.insert(scalars.begin(), scalars.end());
        entries.emplace(Key{stem, {}}, std::move(made));
      }
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (block.isPresent[i] == 0 || taken.contains(static_cast<int>(i))) continue;
      // a single value beside points of the same stem, or two names that differ in case alone
      Entry one{names[i], 0, {static_cast<int>(i)}};
      for (Key key{Lower(names[i]), {}}; !entries.emplace(key, one).second; key.second += ' ') {
      }
    }
    AddOwnGroups(entries, rules);
    if (!groupNothing) {
      GroupPairs(entries, excluded); // stress_xx_re
      GroupComponents(entries, numDims, excluded);
      GroupPairs(entries, excluded); // stress_re_xx
    }
    auto& made = groups.emplace_back();
    for (auto& [key, entry] : entries)
      made.push_back({entry.name, entry.type, entry.pair, entry.numPoints, std::move(entry.scalars)});
    std::ranges::sort(made, {},
                      [](const fmt_Group& group) { return *std::ranges::min_element(group.scalars); });
  }
  return groups;
}
