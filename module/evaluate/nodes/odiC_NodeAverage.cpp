#include "odiC_NodeGroups.h"

#include "odiC_CarryKernels.h"
#include "odiC_RowChecks.h"

#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Field.h>
#include <algorithm>
#include <limits>
#include <set>
#include <tuple>
#include <unordered_map>

namespace {
constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }
constexpr double kNone = std::numeric_limits<double>::quiet_NaN(),
                 kInfinity = std::numeric_limits<double>::infinity();

/// The options, or an odiC_Exception for a number outside its range.
const odiC_ToNodes& Checked(const odiC_ToNodes& options) {
  const auto expect = [](const char* what, double value, double most, const char* unit) {
    if (!(value >= 0 && value <= most))
      throw odiC_Exception(std::string(what) + " " + std::to_string(value) + " is not one of 0 to "
                           + std::to_string(static_cast<int>(most)) + unit);
  };
  expect("threshold", options.threshold, 100, " percent");
  expect("angle between normals", options.normals, 180, " degrees");
  return options;
}

/// Sums of one group, target by target; what was left out of them, and with a threshold the least and largest number.
struct Sums {
  std::vector<double> values, low, high;
  std::unordered_map<std::size_t, double> leftOut; ///< weights, by position in the values
  std::vector<double> range;                       ///< of each component
};
} // namespace

/// What does not depend on values: groups, and the places of the result.
struct odiC_NodeAverage::Plan {
  Plan(const bme_Mesh& mesh, const odiC_Places& places, const odiC_ToNodes& toNodes,
       std::span<const odiC_ElementGroup> regions)
      : options(Checked(toNodes)), groups(mesh, places, toNodes, regions), source(places.SharedLayout()),
        result(source) {
    if (KeepsElements())
      KeepElementNodes(places);
    else
      MakeNodeBlocks();
    for (const odiC_NodeGroup& group : groups.groups)
      allBlocks.insert(allBlocks.end(), group.blocks.begin(), group.blocks.end());
    std::ranges::sort(allBlocks);
    allBlocks.erase(std::unique(allBlocks.begin(), allBlocks.end()), allBlocks.end());
  }

  void MakeNodeBlocks();
  void KeepElementNodes(const odiC_Places& places);
  bool KeepsElements() const noexcept { return options.threshold < 100 || options.isPerElement; }
  std::size_t NumTargets(const odiC_NodeGroup& group) const {
    const auto numFurther =
        static_cast<std::size_t>(std::ranges::count_if(group.levels, [](int level) { return level > 0; }));
    return At(static_cast<int>(groups.mesh.NodeData().NumNodes())) + numFurther;
  }
  /// The target of each of the group's nodes.
  std::size_t Target(const odiC_NodeGroup& group, std::size_t at) const {
    if (group.levels.empty() || group.levels[at] == 0) return At(group.nodes[at]);
    const auto numPlain = static_cast<std::size_t>(
        std::ranges::lower_bound(group.levels, 1, {}, [](int level) { return std::min(level, 1); })
        - group.levels.begin());
    return groups.mesh.NodeData().NumNodes() + at - numPlain;
  }
  std::size_t RowsPerElement(int block) const { return At(source->blocks[At(block)].valuesPerEntity); }

  odiC_ToNodes options;
  odiC_NodeGroups groups;
  std::shared_ptr<const odiC_Layout> source;
  odiC_Places result;
  std::vector<int> groupOfBlock;                 ///< of the result
  std::vector<std::vector<std::size_t>> targets; ///< of the rows of a block of the result; empty: its nodes
  std::vector<int> allBlocks;
};

struct odiC_NodeAverage::Impl {
  explicit Impl(std::shared_ptr<const Plan> made) : plan(std::move(made)) {}

  Sums& SumsOf(int ofGroup) { return sums[plan->KeepsElements() ? At(ofGroup) : 0]; }
  const Sums& SumsOf(int ofGroup) const { return sums[plan->KeepsElements() ? At(ofGroup) : 0]; }
  template<class T> void Add(int block, int firstEntity, std::span<const T> rows);
  template<class T> void AddTo(int toGroup, int block, int firstEntity, int count, const T* rows);
  template<class T>
  void Note(Sums& into, std::span<const int> targets, const double* weight, bool isWhole, const T* rows);

  std::shared_ptr<const Plan> plan;
  std::vector<Sums> sums;
  int group = -1;
  std::size_t width = 0;
  long long numNotNumbers = 0;
};

void odiC_NodeAverage::Plan::MakeNodeBlocks() {
  struct Made {
    odiC_LayoutBlock block;
    int group;
    std::vector<std::size_t> targets;
  };
  std::vector<Made> made;
  std::set<std::pair<int, cow_String>> names;
  for (std::size_t i = 0; i < groups.groups.size(); ++i) {
    const odiC_NodeGroup& one = groups.groups[i];
    const int numLevels = one.levels.empty() ? 1 : 1 + std::ranges::max(one.levels);
    for (int level = 0; level < numLevels; ++level) {
      Made& next = made.emplace_back();
      next.group = static_cast<int>(i);
      std::vector<int> nodes;
      for (std::size_t k = 0; k < one.nodes.size(); ++k)
        if (one.levels.empty() || one.levels[k] == level) {
          nodes.push_back(one.nodes[k]);
          if (level > 0) next.targets.push_back(Target(one, k));
        }
      cow_String name = one.region;
      if (!one.name.empty()) name += (name.empty() ? "" : ", ") + one.name;
      if (level > 0) name += (name.empty() ? "side " : ", side ") + std::to_string(level + 1);
      const cow_String stem = name;
      for (int number = 2; !names.emplace(one.sectionPoint, name).second; ++number)
        name = stem + " (" + std::to_string(number) + ")";
      next.block.position = res_NODAL;
      next.block.category = one.category;
      next.block.sectionPoint = one.sectionPoint;
      next.block.region = name;
      next.block.numEntities = static_cast<int>(nodes.size());
      if (nodes.size() < groups.mesh.NodeData().NumNodes()) next.block.entities = cow_ArrayCOW<int>(nodes);
    }
  }
  std::ranges::sort(made, {},
                    [](const Made& one) { return std::tie(one.block.sectionPoint, one.block.region); });
  odiC_Layout layout;
  for (Made& one : made) {
    layout.Add(std::move(one.block));
    groupOfBlock.push_back(one.group);
    targets.push_back(std::move(one.targets));
  }
  const bool isFull = layout.blocks.size() == 1 && layout.blocks[0].entities.IsEmpty();
  layout.completeness = layout.numRows == 0 ? res_EMPTY_FIELD : isFull ? res_FULL_FIELD : res_PARTIAL_FIELD;
  result = odiC_Places::All(std::make_shared<const odiC_Layout>(std::move(layout)));
}

void odiC_NodeAverage::Plan::KeepElementNodes(const odiC_Places& places) {
  odiC_Layout layout;
  layout.completeness = source->completeness;
  std::vector<odiC_RowRun> rows;
  for (std::size_t block = 0; block < source->blocks.size(); ++block) {
    if (groups.runs[block].empty()) continue;
    odiC_LayoutBlock one = source->blocks[block];
    one.position = res_ELEMENT_NODAL;
    one.valuesPerEntity = groups.ClassOf(static_cast<int>(block)).NumNodesPerElem();
    const int firstRow = layout.numRows, perElement = one.valuesPerEntity;
    for (const odiC_ElementRun& run : groups.runs[block])
      rows.push_back({firstRow + run.first * perElement, run.count * perElement});
    layout.Add(std::move(one));
    groupOfBlock.push_back(-1);
  }
  if (layout.blocks.size() < source->blocks.size()) layout.completeness = res_PARTIAL_FIELD;
  result = places.IsEmpty() ? odiC_Places(std::make_shared<const odiC_Layout>())
                            : odiC_Places(std::make_shared<const odiC_Layout>(std::move(layout)));
  for (const odiC_RowRun& run : rows) result.Add(run.first, run.count);
}

template<class T>
void odiC_NodeAverage::Impl::Note(Sums& into, std::span<const int> nodes, const double* weight, bool isWhole,
                                  const T* rows) {
  for (std::size_t node = 0; node < nodes.size(); ++node)
    for (std::size_t k = 0; k < width; ++k) {
      if (nodes[node] < 0) continue;
      const double value = rows[(isWhole ? 0 : node * width) + k];
      const std::size_t at = At(nodes[node]) * width + k;
      if (value != value) {
        into.leftOut[at] += weight ? *weight : 1;
        ++numNotNumbers;
      } else if (!into.low.empty()) {
        into.low[at] = std::min(into.low[at], value);
        into.high[at] = std::max(into.high[at], value);
      }
    }
}

/// Rows of elements that have a node several times: there each of them gets the mean of the element's values.
template<class T>
std::vector<T> WithMeans(const T* rows, std::span<const int> targets, int count, std::size_t width,
                         const std::function<std::size_t(int)>& element, std::size_t numNodes) {
  const std::size_t perElement = numNodes * width;
  std::vector<T> means(rows, rows + At(count) * perElement);
  std::vector<double> sums(perElement);
  std::vector<int> times(numNodes);
  for (int k = 0; k < count; ++k) {
    const std::span<const int> own = targets.subspan(element(k) * numNodes, numNodes);
    if (std::ranges::none_of(own, odiC_IsRepeat)) continue;
    T* row = &means[At(k) * perElement];
    std::copy_n(row, perElement, sums.begin());
    std::ranges::fill(times, 1);
    for (std::size_t node = 0; node < numNodes; ++node) {
      if (!odiC_IsRepeat(own[node])) continue;
      const std::size_t first = odiC_FirstOf(own[node]);
      ++times[first];
      for (std::size_t c = 0; c < width; ++c) sums[first * width + c] += sums[node * width + c];
    }
    for (std::size_t node = 0; node < numNodes; ++node)
      for (std::size_t c = 0; c < width; ++c)
        row[node * width + c] = static_cast<T>(sums[node * width + c] / times[node]);
  }
  return means;
}

template<class T>
void odiC_NodeAverage::Impl::AddTo(int toGroup, int block, int firstEntity, int count, const T* rows) {
  const odiC_NodeGroups& groups = plan->groups;
  const odiC_NodeGroup& one = groups.groups[At(toGroup)];
  const odiC_LayoutBlock& from = plan->source->blocks[At(block)];
  const bme_ElementClass& type = groups.ClassOf(block);
  const std::size_t numNodes = At(type.NumNodesPerElem()), perElement = plan->RowsPerElement(block) * width;
  const bool isWhole = from.position != res_ELEMENT_NODAL;
  const std::vector<double>* weights =
      groups.weights.empty() ? nullptr : &groups.weights[At(from.classIndex)];
  const std::span<const int> nodes = groups.Targets(one, block);
  Sums& into = SumsOf(toGroup);
  std::vector<T> means;
  if (!isWhole && groups.HasRepeats(one, block)) {
    const auto element = [&](int k) { return At(from.Entity(firstEntity + k)); };
    means = WithMeans(rows, nodes, count, width, element, numNodes);
    rows = means.data();
  }
  groups.ForEachRunIn(one, block, firstEntity, count, [&](int first, int number) {
    const T* part = rows + At(first - firstEntity) * perElement;
    const odiC_ScatterJob job{nodes.data(),
                              from.entities.IsEmpty() ? nullptr : &from.entities.Const()[At(first)],
                              weights && !weights->empty() ? weights->data() : nullptr,
                              At(first),
                              At(number),
                              numNodes,
                              width,
                              isWhole};
    const bool isAnyLeftOut = odiC_ScatterRows(odiC_BestRowBody(), job, part, into.values.data());
    if (!isAnyLeftOut && into.low.empty()) return;
    for (int k = 0; k < number; ++k) {
      const std::size_t element = At(from.Entity(first + k));
      Note(into, nodes.subspan(element * numNodes, numNodes), job.weights ? job.weights + element : nullptr,
           job.isWhole, part + At(k) * perElement);
    }
  });
}

template<class T> void odiC_NodeAverage::Impl::Add(int block, int firstEntity, std::span<const T> rows) {
  const std::size_t perElement = plan->RowsPerElement(block) * width;
  const std::size_t count = odiC_NumRows(rows.size(), perElement, rows.size(), perElement);
  const std::vector<odiC_NodeGroup>& groups = plan->groups.groups;
  for (int k = 0; k < static_cast<int>(groups.size()); ++k)
    if ((group < 0 || group == k)
        && std::ranges::find(groups[At(k)].blocks, block) != groups[At(k)].blocks.end())
      AddTo(k, block, firstEntity, static_cast<int>(count), rows.data());
}

odiC_NodeAverage::odiC_NodeAverage(bme_LastingMesh mesh, const odiC_Places& places,
                                   const odiC_ToNodes& options, std::span<const odiC_ElementGroup> regions)
    : impl_(std::make_unique<Impl>(std::make_shared<const Plan>(mesh, places, options, regions))) {}
odiC_NodeAverage::odiC_NodeAverage(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
odiC_NodeAverage odiC_NodeAverage::Again() const {
  return odiC_NodeAverage(std::make_unique<Impl>(impl_->plan));
}
odiC_NodeAverage::odiC_NodeAverage(odiC_NodeAverage&&) noexcept = default;
odiC_NodeAverage& odiC_NodeAverage::operator=(odiC_NodeAverage&&) noexcept = default;
odiC_NodeAverage::~odiC_NodeAverage() = default;

const odiC_Places& odiC_NodeAverage::Places() const noexcept { return impl_->plan->result; }
int odiC_NodeAverage::NumGroups() const noexcept {
  return static_cast<int>(impl_->plan->groups.groups.size());
}
const cow_String& odiC_NodeAverage::GroupName(int group) const {
  return impl_->plan->groups.groups[At(group)].name;
}
int odiC_NodeAverage::NumNodesOfSeveral() const noexcept { return impl_->plan->groups.numNodesOfSeveral; }
long long odiC_NodeAverage::NumNotNumbers() const noexcept { return impl_->numNotNumbers; }
int odiC_NodeAverage::GroupOf(int block) const noexcept { return impl_->plan->groupOfBlock[At(block)]; }
std::span<const int> odiC_NodeAverage::BlocksOf(int group) const {
  return group < 0 ? std::span<const int>(impl_->plan->allBlocks)
                   : impl_->plan->groups.groups[At(group)].blocks;
}

void odiC_NodeAverage::Begin(int group, int numComponents) {
  const bool keeps = impl_->plan->KeepsElements();
  impl_->group = keeps ? -1 : group;
  impl_->width = At(numComponents);
  impl_->numNotNumbers = 0;
  impl_->sums.resize(keeps ? impl_->plan->groups.groups.size() : 1);
  for (std::size_t k = 0; k < impl_->sums.size(); ++k) {
    const odiC_NodeGroup& one = impl_->plan->groups.groups[keeps ? k : At(group)];
    const std::size_t count = impl_->plan->NumTargets(one) * impl_->width;
    Sums& sums = impl_->sums[k];
    sums.values.assign(count, 0);
    sums.leftOut.clear();
    if (!keeps) continue;
    sums.low.assign(count, kInfinity);
    sums.high.assign(count, -kInfinity);
  }
}
void odiC_NodeAverage::Add(int block, int firstEntity, std::span<const float> rows) {
  impl_->Add(block, firstEntity, rows);
}
void odiC_NodeAverage::Add(int block, int firstEntity, std::span<const double> rows) {
  impl_->Add(block, firstEntity, rows);
}

void odiC_NodeAverage::Finish() {
  Impl& impl = *impl_;
  for (int k = 0; k < NumGroups(); ++k) {
    if (impl.group >= 0 && impl.group != k) continue;
    const odiC_NodeGroup& group = impl.plan->groups.groups[At(k)];
    Sums& sums = impl.SumsOf(k);
    if (group.levels.empty() && sums.leftOut.empty() && sums.low.empty()) {
      odiC_DivideRows(odiC_BestRowBody(), impl.width, group.nodes, group.shares.data(), sums.values.data());
      continue;
    }
    std::vector<double> low(impl.width, kInfinity), high(impl.width, -kInfinity);
    for (std::size_t i = 0; i < group.nodes.size(); ++i) {
      const std::size_t first = impl.plan->Target(group, i) * impl.width;
      for (std::size_t c = 0; c < impl.width; ++c) {
        double share = group.shares[i];
        if (!sums.leftOut.empty())
          if (const auto left = sums.leftOut.find(first + c); left != sums.leftOut.end())
            share = left->second >= share * (1 - 1e-12) ? 0 : share - left->second;
        double& value = sums.values[first + c];
        value = share > 0 ? value / share : kNone;
        if (sums.low.empty()) continue;
        low[c] = std::min(low[c], sums.low[first + c]);
        high[c] = std::max(high[c], sums.high[first + c]);
      }
    }
    sums.range.resize(impl.width);
    for (std::size_t c = 0; c < impl.width; ++c) sums.range[c] = high[c] - low[c];
  }
}

void odiC_NodeAverage::Read(int firstRow, std::span<double> values) const {
  const odiC_Layout& layout = *impl_->plan->result.SharedLayout();
  const int block = odiC_BlockOf(layout, firstRow);
  const odiC_LayoutBlock& one = layout.blocks[At(block)];
  const std::vector<std::size_t>& targets = impl_->plan->targets[At(block)];
  const Sums& sums = impl_->SumsOf(impl_->plan->groupOfBlock[At(block)]);
  const std::size_t width = impl_->width;
  if (targets.empty() && one.entities.IsEmpty()) {
    std::copy_n(&sums.values[At(firstRow - one.firstRow) * width], values.size(), values.begin());
    return;
  }
  for (std::size_t i = 0; i < values.size() / width; ++i) {
    const std::size_t at = At(firstRow - one.firstRow) + i;
    const std::size_t target = targets.empty() ? At(one.Entity(static_cast<int>(at))) : targets[at];
    std::copy_n(&sums.values[target * width], width, &values[i * width]);
  }
}

void odiC_NodeAverage::Keep(int block, int firstEntity, std::span<const double> rows,
                            std::span<double> values) const {
  const Impl& impl = *impl_;
  const std::size_t width = impl.width, perElement = impl.plan->RowsPerElement(block) * width;
  const std::size_t numNodes = At(impl.plan->groups.ClassOf(block).NumNodesPerElem());
  const std::size_t count = odiC_NumRows(rows.size(), perElement, values.size(), numNodes * width);
  const bool isWhole = impl.plan->source->blocks[At(block)].position != res_ELEMENT_NODAL;
  for (std::size_t k = 0; k < impl.plan->groups.groups.size(); ++k) {
    const odiC_NodeGroup& group = impl.plan->groups.groups[k];
    if (std::ranges::find(group.blocks, block) == group.blocks.end()) continue;
    const std::span<const int> targets = impl.plan->groups.Targets(group, block);
    const Sums& sums = impl.sums[k];
    impl.plan->groups.ForEachRunIn(
        group, block, firstEntity, static_cast<int>(count), [&](int first, int number) {
          for (int at = first; at < first + number; ++at) {
            const std::size_t element = At(impl.plan->groups.Element(block, at)), i = At(at - firstEntity);
            for (std::size_t node = 0; node < numNodes; ++node)
              for (std::size_t c = 0; c < width; ++c) {
                double& value = values[(i * numNodes + node) * width + c];
                value = rows[i * perElement + (isWhole ? 0 : node * width) + c];
                int target = targets[element * numNodes + node];
                if (odiC_IsRepeat(target)) target = targets[element * numNodes + odiC_FirstOf(target)];
                if (target < 0) continue;
                const std::size_t here = At(target) * width + c;
                // of ranges that are 0 the ratio is 0, too; without a number there is none
                if (100 * (sums.high[here] - sums.low[here]) <= impl.plan->options.threshold * sums.range[c])
                  value = sums.values[here];
              }
          }
        });
  }
}

namespace {
/// Calls take(position of the entity, rows) for the places of a block, in pieces of one chunk.
template<class Take>
void ForEachPiece(odiC_Source& from, int block, std::vector<double>& buffer, const Take& take) {
  const odiC_LayoutBlock& one = from.Layout().blocks[At(block)];
  const odiC_Places places = from.Places().WholeEntities();
  const int perPiece = std::max(1, odiC_BlockRows(from.NumComponents()) / one.valuesPerEntity);
  for (const odiC_RowRun& run : places.Runs()) {
    const int end = std::min(run.End(), one.firstRow + one.NumRows());
    for (int row = std::max(run.first, one.firstRow); row < end; row += perPiece * one.valuesPerEntity) {
      const int count = std::min(perPiece * one.valuesPerEntity, end - row);
      buffer.resize(At(count) * At(from.NumComponents()));
      from.Read(row, buffer);
      take((row - one.firstRow) / one.valuesPerEntity, std::span<const double>(buffer));
    }
  }
}

class CarriedRows final : public odiC_Source {
public:
  CarriedRows(odiC_SourcePointer from, odiC_Carrier carrier)
      : odiC_Source(carrier.Places(), from->NumComponents()), from_(std::move(from)),
        carrier_(std::move(carrier)) {}
  void Read(int firstRow, std::span<double> values) override {
    const int block = odiC_BlockOf(Layout(), firstRow);
    const odiC_LayoutBlock& to = Layout().blocks[At(block)];
    const odiC_LayoutBlock& from = from_->Layout().blocks[At(carrier_.SourceBlock(block))];
    // faces are entities of their own, as many for each element: a range may begin and end between them
    const std::size_t width = At(NumComponents()), perElement = At(to.NumRows() / from.numEntities) * width;
    const std::size_t begin = At(firstRow - to.firstRow) * width, first = begin / perElement;
    const std::size_t count = (begin + values.size() + perElement - 1) / perElement - first;
    rows_.resize(count * At(from.valuesPerEntity) * width);
    from_->Read(from.firstRow + static_cast<int>(first) * from.valuesPerEntity, rows_);
    if (values.size() == count * perElement) return carrier_.Apply(block, NumComponents(), rows_, values);
    carried_.resize(count * perElement);
    carrier_.Apply(block, NumComponents(), rows_, carried_);
    std::copy_n(&carried_[begin - first * perElement], values.size(), values.begin());
  }

private:
  odiC_SourcePointer from_;
  odiC_Carrier carrier_;
  std::vector<double> rows_, carried_;
};

class AveragedRows final : public odiC_Source {
public:
  AveragedRows(odiC_SourcePointer from, odiC_NodeAverage average)
      : odiC_Source(average.Places(), from->NumComponents()), from_(std::move(from)),
        average_(std::move(average)) {}
  void Read(int firstRow, std::span<double> values) override {
    const int block = odiC_BlockOf(Layout(), firstRow), group = average_.GroupOf(block);
    if (group != group_) {
      average_.Begin(group, NumComponents());
      for (const int source : average_.BlocksOf(group))
        ForEachPiece(*from_, source, rows_,
                     [&](int first, std::span<const double> rows) { average_.Add(source, first, rows); });
      average_.Finish();
      group_ = group;
    }
    if (group >= 0) return average_.Read(firstRow, values);
    const int source = average_.BlocksOf(group)[At(block)];
    const odiC_LayoutBlock &to = Layout().blocks[At(block)], &from = from_->Layout().blocks[At(source)];
    const int first = (firstRow - to.firstRow) / to.valuesPerEntity;
    rows_.resize(values.size() / At(to.valuesPerEntity) * At(from.valuesPerEntity));
    from_->Read(from.firstRow + first * from.valuesPerEntity, rows_);
    average_.Keep(source, first, rows_, values);
  }

private:
  static constexpr int kNoGroup = -2;
  odiC_SourcePointer from_;
  odiC_NodeAverage average_;
  int group_ = kNoGroup;
  std::vector<double> rows_;
};
} // namespace

odiC_SourcePointer odiC_Carried(odiC_SourcePointer from, odiC_Carrier carrier) {
  return std::make_unique<CarriedRows>(std::move(from), std::move(carrier));
}
odiC_SourcePointer odiC_Averaged(odiC_SourcePointer from, odiC_NodeAverage average) {
  return std::make_unique<AveragedRows>(std::move(from), std::move(average));
}
