#include "msh_Gmsh.h"

#include "msh_Parts.h"
#include "msh_Source.h"

#include <CoreUtils/omi_Duplicates.h>
#include <CoreUtils/omi_LabelTable.h>
#include <algorithm>
#include <map>
#include <tuple>

namespace {
cow_String Of(const char* section, const char* part, std::int64_t number) {
  return cow_String(section) + ", " + part + " " + std::to_string(number + 1);
}

class Reader {
public:
  Reader(const cow_String& file, const fmt_ReadOptions& options) : source_(file), options_(options) {
    result_.fileName = file;
  }

  msh_Contents Run() {
    source_.ReadFormat();
    while (source_.In().SkipBlanks()) ReadSection();
    source_.At({});
    if (!result_.coordinates) source_.In().Fail("there is no section $Nodes");
    if (!hasElements_) source_.In().Fail("there is no section $Elements");
    AddLedger();
    return std::move(result_);
  }

private:
  using Section = void (Reader::*)();
  struct Row {
    std::string_view name;
    Section old, current; ///< of versions 2 and 4
  };

  void ReadSection() {
    static constexpr Row kSections[] = {
        {"$PhysicalNames", &Reader::ReadNames, &Reader::ReadNames},
        {"$Entities", nullptr, &Reader::ReadEntities},
        {"$PartitionedEntities", nullptr, &Reader::ReadPartitionedEntities},
        {"$Nodes", &Reader::ReadOldNodes, &Reader::ReadNodes},
        {"$Elements", &Reader::ReadOldElements, &Reader::ReadElements},
    };
    source_.At({});
    const cow_String name(source_.In().Word());
    if (!name.starts_with('$') || name.size() < 2 || name.starts_with("$End"))
      source_.In().Fail("no section begins here");
    const auto* row = std::ranges::find(kSections, name, &Row::name);
    const Section read = row == std::end(kSections) ? nullptr : source_.IsOld() ? row->old : row->current;
    source_.At(name);
    source_.In().Line();
    const cow_String end = "$End" + name.substr(1);
    if (read) {
      (this->*read)();
      source_.At(name);
      source_.Expect(end);
      return;
    }
    if (name == "$NodeData" || name == "$ElementData" || name == "$ElementNodeData")
      CountView(name);
    else if (name != "$Comments")
      ++skipped_[name];
    if (!source_.In().SkipPast(end)) source_.In().Fail("the file ends before " + end);
  }

  /// Each stands for one field at one time; the name of the view is the first of its texts.
  void CountView(const cow_String& name) {
    std::vector<cow_String>& names = views_[name];
    cow_String start(source_.In().Peek(256));
    const std::size_t open = start.find('"'), close = start.find('"', open + 1);
    names.push_back(close == cow_String::npos ? cow_String() : start.substr(open + 1, close - open - 1));
  }

  void AddLedger() {
    for (const auto& [name, count] : skipped_) result_.ledger.push_back({"sections " + name, count, {}});
    for (const auto& [name, names] : views_) {
      cow_String detail;
      for (std::size_t i = 0; i < names.size(); ++i)
        if (std::find(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(i), names[i])
            == names.begin() + static_cast<std::ptrdiff_t>(i))
          detail += (detail.empty() ? "\"" : ", \"") + names[i] + '"';
      result_.ledger.push_back({"results " + name, static_cast<long long>(names.size()), detail});
    }
    if (reversed_ > 0)
      result_.ledger.push_back({"reversed directions of entities in their groups", reversed_, {}});
  }

  void ReadNames() {
    fmt_Input& in = source_.In();
    const int count = in.Number<int>("a number of names");
    for (int i = 0; i < count; ++i) {
      const int dims = in.Number<int>("a dimension"), tag = in.Number<int>("a tag");
      if (dims < 0 || dims > 3) in.Fail("dimension " + std::to_string(dims) + " is outside 0..3");
      std::string_view name = in.Line();
      const std::size_t open = name.find('"'), close = name.rfind('"');
      if (open == close) in.Fail("the name of a group must stand in quotes");
      name = name.substr(open + 1, close - open - 1);
      result_.names.push_back({dims, tag, cow_String(name)});
    }
  }

  void ReadEntities() {
    constexpr const char* kCount = "a number of entities";
    std::int64_t counts[4];
    source_.Sizes(counts, kCount);
    for (int dims = 0; dims < 4; ++dims)
      for (std::int64_t i = 0; i < counts[dims]; ++i) ReadEntity(dims, i, false);
  }

  void ReadPartitionedEntities() {
    source_.Size("a number of partitions");
    const std::int64_t numGhosts = source_.Size("a number of ghost entities");
    for (std::int64_t i = 0; i < numGhosts; ++i) {
      source_.Int("a tag");
      source_.Int("a partition");
    }
    std::int64_t counts[4];
    source_.Sizes(counts, "a number of entities");
    for (int dims = 0; dims < 4; ++dims)
      for (std::int64_t i = 0; i < counts[dims]; ++i) ReadEntity(dims, i, true);
  }

  void ReadEntity(int dims, std::int64_t position, bool isPart) {
    const int tag = source_.Int("the tag of an entity");
    if (isPart) {
      source_.Int("the dimension of the entity it is part of");
      source_.Int("the tag of the entity it is part of");
      SkipInts("partitions of an entity");
    }
    double box[6];
    source_.Reals(std::span(box).first(dims == 0 ? 3 : 6), "a coordinate");
    std::vector<int> groups(CountOfInts("groups of an entity"));
    source_.Ints(groups, "the tag of a group");
    if (dims > 0) SkipInts("entities at the boundary of another");
    for (int& group : groups) {
      reversed_ += group < 0;
      group = std::abs(group);
    }
    std::ranges::sort(groups);
    groups.erase(std::unique(groups.begin(), groups.end()), groups.end());
    if (!entities_.try_emplace({dims, tag}, std::move(groups)).second)
      source_.In().Fail("entity " + std::to_string(tag) + " of dimension " + std::to_string(dims)
                        + " is given twice, at last at position " + std::to_string(position + 1));
  }
  std::size_t CountOfInts(const char* what) {
    return source_.CheckCount(source_.Size("a count"), sizeof(int), 1, what);
  }
  void SkipInts(const char* what) {
    for (std::size_t left = CountOfInts(what); left > 0; --left) source_.Int("a tag");
  }

  void BeginNodes(std::int64_t count, std::size_t bytesEach) {
    if (result_.coordinates) source_.In().Fail("there are two such sections");
    const std::size_t numNodes = source_.CheckCount(count, bytesEach, 4, "nodes");
    result_.coordinates.emplace(result_.fileName, numNodes, options_);
    result_.nodeLabels.Reserve(numNodes);
  }

  void AddNodeTag(std::int64_t tag) {
    const auto label = static_cast<int>(tag);
    if (tag < 1 || label != tag)
      source_.In().Fail("tag " + std::to_string(tag) + " of a node is outside 1..2147483647");
    result_.nodeLabels.Append(label);
    areTagsCounting_ &= result_.nodeLabels.Size() == static_cast<std::size_t>(tag);
  }

  void EndNodes() {
    if (areTagsCounting_) return;
    const std::span<const int> labels = result_.nodeLabels.Const(), all[] = {labels};
    if (const auto twice = omi_FindDuplicate(all))
      source_.In().Fail("tag " + std::to_string(twice->label) + " is given twice, to nodes "
                        + std::to_string(twice->first + 1) + " and " + std::to_string(twice->second + 1));
    omi_LabelSurvey survey;
    survey.Add(labels);
    indexOf_.Reserve(survey);
    indexOf_.Insert(labels, 0);
  }

  void ReadOldNodes() {
    const auto count = source_.In().Number<std::int64_t>("a number of nodes");
    source_.In().Line();
    BeginNodes(count, sizeof(int) + 3 * sizeof(double));
    constexpr std::size_t kRows = 4096;
    std::vector<double> xyz;
    for (std::size_t left = static_cast<std::size_t>(count); left > 0; left -= xyz.size() / 3) {
      xyz.resize(3 * std::min(left, kRows));
      for (std::size_t i = 0; i < xyz.size(); i += 3) {
        AddNodeTag(source_.Int("the tag of a node"));
        source_.Reals(std::span(xyz).subspan(i, 3), "a coordinate");
      }
      result_.coordinates->Add(std::span<const double>(xyz));
    }
    EndNodes();
  }

  void ReadNodes() {
    std::int64_t header[4]; // blocks, nodes, least and largest tag
    source_.Sizes(header, "a number of blocks or nodes, or a tag");
    BeginNodes(header[1], source_.SizeBytes() + 3 * sizeof(double));
    std::int64_t left = header[1];
    for (std::int64_t block = 0; block < header[0]; ++block) {
      source_.At(Of("$Nodes", "block", block));
      const int dims = source_.Int("the dimension of an entity");
      source_.Int("the tag of an entity");
      const int isParametric = source_.Int("0 or 1, whether there are parameters");
      const std::int64_t count = source_.Size("a number of nodes");
      if (dims < 0 || dims > 3 || isParametric < 0 || isParametric > 1)
        source_.In().Fail("there is no entity of dimension " + std::to_string(dims)
                          + " with parameters: " + std::to_string(isParametric));
      if (count < 0 || count > left)
        source_.In().Fail(std::to_string(count) + " nodes, where " + std::to_string(left)
                          + " are left of those announced");
      left -= count;
      const auto numbers = std::size_t{3} + (isParametric ? static_cast<std::size_t>(dims) : 0U);
      ReadNodeBlock(static_cast<std::size_t>(count), numbers);
    }
    source_.At("$Nodes");
    if (left > 0) source_.In().Fail(std::to_string(left) + " nodes fewer than announced");
    EndNodes();
  }

  void ReadNodeBlock(std::size_t count, std::size_t columns) {
    std::vector<std::int64_t> tags;
    const std::size_t tagsAtOnce = source_.RowsAtOnce(1);
    for (std::size_t left = count; left > 0; left -= tags.size()) {
      tags.resize(std::min(left, tagsAtOnce));
      source_.Sizes(tags, "the tag of a node");
      for (const std::int64_t tag : tags) AddNodeTag(tag);
    }
    std::vector<double> numbers;
    const std::size_t rowsAtOnce = std::max<std::size_t>(source_.RowsAtOnce(columns), 4096);
    for (std::size_t left = count, rows; left > 0; left -= rows) {
      rows = std::min(left, rowsAtOnce);
      numbers.resize(rows * columns);
      source_.Reals(numbers, "a coordinate");
      for (std::size_t i = 0; columns > 3 && i < rows; ++i)
        std::copy_n(&numbers[i * columns], 3, &numbers[3 * i]);
      result_.coordinates->Add(std::span<const double>(numbers).first(3 * rows));
    }
  }

  std::span<const int> GroupsOf(int dims, int entity) const {
    const auto at = entities_.find({dims, entity});
    return at == entities_.end() ? std::span<const int>() : std::span<const int>(at->second);
  }

  const msh_Type& TypeOf(int number) const {
    const msh_Type* type = msh_FindType(number);
    if (!type) source_.In().Fail("element type " + std::to_string(number) + " is not known");
    return *type;
  }

  msh_Part& PartOf(const msh_Type& type, int entity, std::span<const int> groups) {
    const int group = groups.empty() ? 0 : groups[0];
    const auto [at, isNew] = partOf_.try_emplace({type.number, entity, group}, result_.parts.size());
    if (isNew) result_.parts.push_back({&type, entity, {groups.begin(), groups.end()}});
    return result_.parts[at->second];
  }

  void BeginElements() {
    hasElements_ = true;
    if (!result_.coordinates) source_.In().Fail("there are no nodes yet");
  }

  int ElementTag(std::int64_t tag) const {
    const auto label = static_cast<int>(tag);
    if (tag < 1 || label != tag)
      source_.In().Fail("tag " + std::to_string(tag) + " of an element is outside 1..2147483647");
    return label;
  }

  /// Index of the node with a tag.
  template<class Tag> int IndexOf(Tag tag, std::int64_t element) const {
    if (areTagsCounting_) {
      if (tag >= 1 && static_cast<std::size_t>(tag) <= result_.nodeLabels.Size())
        return static_cast<int>(tag) - 1;
    } else if (static_cast<int>(tag) == tag) {
      if (const unsigned index = indexOf_.Find(static_cast<int>(tag)); index != omi_LabelTable::kNotFound)
        return static_cast<int>(index);
    }
    source_.In().Fail("element " + std::to_string(element) + ": node " + std::to_string(tag)
                      + " is not in $Nodes");
  }

  void ReadElements() {
    BeginElements();
    std::int64_t header[4]; // blocks, elements, least and largest tag
    source_.Sizes(header, "a number of blocks or elements, or a tag");
    std::int64_t left = header[1];
    for (std::int64_t block = 0; block < header[0]; ++block) {
      source_.At(Of("$Elements", "block", block));
      const int dims = source_.Int("the dimension of an entity"),
                entity = source_.Int("the tag of an entity");
      const msh_Type& type = TypeOf(source_.Int("an element type"));
      const std::int64_t count = source_.Size("a number of elements");
      if (dims != type.NumDims())
        source_.In().Fail("elements " + type.Name() + " in an entity of dimension " + std::to_string(dims));
      if (count > left)
        source_.In().Fail(std::to_string(count) + " elements, where " + std::to_string(left)
                          + " are left of those announced");
      left -= count;
      const auto columns = static_cast<std::size_t>(type.numNodes) + 1;
      ReadRows(PartOf(type, entity, GroupsOf(dims, entity)),
               source_.CheckCount(count, source_.SizeBytes() * columns, columns, "elements"), columns);
    }
    source_.At("$Elements");
    if (left > 0) source_.In().Fail(std::to_string(left) + " elements fewer than announced");
  }

  void ReadRows(msh_Part& part, std::size_t count, std::size_t columns) {
    std::vector<std::int64_t> numbers;
    const std::size_t rowsAtOnce = source_.RowsAtOnce(columns);
    for (std::size_t left = count, rows; left > 0; left -= rows) {
      rows = std::min(left, rowsAtOnce);
      numbers.resize(rows * columns);
      source_.Sizes(numbers, "the tag of an element or a node");
      int* label = part.labels.Add(rows).data();
      int* node = part.rows.Add(rows * (columns - 1)).data();
      for (std::size_t i = 0; i < numbers.size(); i += columns) {
        *label++ = ElementTag(numbers[i]);
        for (std::size_t k = 1; k < columns; ++k) *node++ = IndexOf(numbers[i + k], numbers[i]);
      }
    }
  }

  void ReadOldElements() {
    BeginElements();
    fmt_Input& in = source_.In();
    auto left = static_cast<std::int64_t>(
        source_.CheckCount(in.Number<std::int64_t>("a number of elements"), sizeof(int), 4, "elements"));
    in.Line();
    int header[3] = {}; // tag, type, number of tags; in binary type, elements that follow, number of tags
    for (int follow = 0; left > 0; left -= follow) {
      source_.Ints(header, "a number");
      follow = source_.IsBinary() ? header[1] : 1;
      const msh_Type& type = TypeOf(header[source_.IsBinary() ? 0 : 1]);
      if (follow < 1 || follow > left)
        source_.In().Fail(std::to_string(follow) + " elements, where " + std::to_string(left)
                          + " are left of those announced");
      constexpr int kMostTags = 1 << 20; // one for each partition it touches
      if (header[2] < 0 || header[2] > kMostTags)
        source_.In().Fail(std::to_string(header[2]) + " tags of an element");
      ReadOldRows(type, follow, static_cast<std::size_t>(header[2]), header[0]);
    }
  }

  /// Rows of a tag, which in text was read before, the tags of group and entity and others, and the nodes.
  void ReadOldRows(const msh_Type& type, int count, std::size_t numTags, int firstTag) {
    const auto numNodes = static_cast<std::size_t>(type.numNodes);
    const std::size_t before = source_.IsBinary() ? 1 : 0, columns = before + numTags + numNodes;
    source_.CheckCount(count, columns * sizeof(int), columns, "elements");
    const std::size_t rowsAtOnce = source_.RowsAtOnce(columns);
    for (std::size_t left = static_cast<std::size_t>(count), rows; left > 0; left -= rows) {
      rows = std::min(left, rowsAtOnce);
      numbers_.resize(rows * columns);
      source_.Ints(numbers_, "the tag of a group or a node");
      for (const int* row = numbers_.data(); row != numbers_.data() + numbers_.size(); row += columns) {
        const int tag = ElementTag(source_.IsBinary() ? row[0] : firstTag);
        int group = numTags > 0 ? row[before] : 0;
        reversed_ += group < 0;
        group = std::abs(group);
        const int entity = numTags > 1 ? row[before + 1] : 0;
        if (!part_ || partKey_ != std::tuple(type.number, entity, group)) {
          partKey_ = {type.number, entity, group};
          part_ = &PartOf(type, entity, {&group, group == 0 ? std::size_t{0} : std::size_t{1}});
        }
        part_->labels.Add(1)[0] = tag;
        const std::span<int> nodes = part_->rows.Add(numNodes);
        for (std::size_t k = 0; k < numNodes; ++k) nodes[k] = IndexOf(row[before + numTags + k], tag);
      }
    }
  }

  msh_Source source_;
  const fmt_ReadOptions& options_;
  msh_Contents result_;
  std::map<std::pair<int, int>, std::vector<int>> entities_; ///< groups by dimension and tag
  std::map<std::tuple<int, int, int>, std::size_t> partOf_;  ///< by type, entity and group
  std::tuple<int, int, int> partKey_;
  msh_Part* part_ = nullptr; ///< with that key
  std::vector<int> numbers_; ///< of the rows that are read
  bool hasElements_ = false;
  bool areTagsCounting_ = true; ///< 1, 2, 3, ...
  omi_LabelTable indexOf_;      ///< of nodes, unless their tags count
  std::map<cow_String, long long> skipped_;
  std::map<cow_String, std::vector<cow_String>> views_;
  long long reversed_ = 0;
};
} // namespace

msh_Contents msh_ReadContents(const cow_String& file, const fmt_ReadOptions& options) {
  return Reader(file, options).Run();
}
