#include "exo_ExportResults.h"

#include <CoreGeometry/odiC_Values.h>
#include <algorithm>
#include <cmath>
#include <set>

namespace {
/// A part of a variable that is written to one object of the file.
struct Part {
  int variable;
  bool isImaginary;
  odiC_LayoutBlock key;        ///< position, class, section point, region and values of an entity
  bool isAveraged = false;     ///< what elements have at their nodes, as means at nodes
  std::vector<int> entities{}; ///< of the object in the order of the file, as the layout counts them
  std::vector<int> facets{};
};

bool IsRounded(double value) {
  return std::isfinite(value) && static_cast<double>(static_cast<float>(value)) != value;
}

/// What an import gives frames as their increments: their numbers from 1 in the file, of which steps have neighbours.
bool AreNumbersOfFrames(std::span<const int> increments) {
  return std::ranges::adjacent_find(increments, [](int a, int b) { return b != a + 1; }) == increments.end();
}

bool AreOfOnePart(const odiC_LayoutBlock& a, const odiC_LayoutBlock& b) {
  return a.position == b.position && a.classIndex == b.classIndex && a.sectionPoint == b.sectionPoint
         && a.region == b.region && a.valuesPerEntity == b.valuesPerEntity;
}

class Results final : public exo_OutResults {
public:
  Results(const odiC_Run& run, bool atNodes, const exo_OutMesh& file, std::span<const exo_SetEntries> sets,
          fmt_Ledger& ledger)
      : run_(run), atNodes_(atNodes), file_(file), sets_(sets) {
    for (int step = 0; step < static_cast<int>(Steps().size()); ++step)
      for (int frame = 0; frame < Steps()[static_cast<std::size_t>(step)].NumFrames(); ++frame)
        AddFrame(step, frame);
    AddHistories();
    AddSteps();
    for (const auto& [what, entry] : lost_) ledger.push_back({what, entry.first, entry.second});
  }

  double Global(std::size_t frame, std::size_t global) override { return globalValues_[global][frame]; }

  bool Begin(std::size_t frame, std::size_t field) override {
    const Part& part = parts_[field];
    const odiC_When& when = frames_[frame];
    if (!run_.HasField(when.step, when.frame, part.variable)) return false;
    if (when.step != open_.step || when.frame != open_.frame) sources_.clear();
    open_ = when;
    if (part.isAveraged) return BeginAverage(part, when);
    odiC_SourcePointer& source = sources_[{part.variable, part.isImaginary}];
    if (!source) source = SourceOf(part, when);
    const std::vector<odiC_LayoutBlock>& blocks = source->Layout().blocks;
    const auto found = std::ranges::find_if(
        blocks, [&](const odiC_LayoutBlock& block) { return AreOfOnePart(part.key, block); });
    if (found == blocks.end()) return false;
    source_ = source.get();
    part_ = &part;
    block_ = &*found;
    isWhole_ = part.entities.empty() && found->entities.IsEmpty();
    return true;
  }

  void Read(std::int64_t first, std::int64_t, std::span<double> rows) override {
    if (part_->isAveraged) {
      const auto from =
          average_.begin() + static_cast<std::ptrdiff_t>(first) * Variable(part_->variable).NumComponents();
      std::copy_n(from, rows.size(), rows.begin());
      return;
    }
    const int each = block_->valuesPerEntity;
    if (isWhole_) return source_->Read(block_->firstRow + static_cast<int>(first) * each, rows);
    const std::size_t width =
        static_cast<std::size_t>(each) * static_cast<std::size_t>(source_->NumComponents());
    auto at = static_cast<std::size_t>(first);
    for (std::size_t done = 0; done < rows.size(); done += width, ++at) {
      const std::span<double> row = rows.subspan(done, width);
      const int place = PlaceOf(at);
      if (place < 0)
        std::ranges::fill(row, std::nan(""));
      else
        source_->Read(block_->firstRow + place * each, row);
    }
  }

private:
  /// Of several means at a node, of each component the one farthest from zero.
  bool BeginAverage(const Part& part, const odiC_When& when) {
    part_ = &part;
    const odiC_SourcePointer source = ValuesOf(part).AtNodes().Open(when);
    const auto width = static_cast<std::size_t>(source->NumComponents());
    average_.assign(file_.xyz.size() / 3 * width, std::nan(""));
    odiC_ForEachRange(*source, [&](const odiC_Range& range) {
      if (range.block.sectionPoint != part.key.sectionPoint) return;
      for (const odiC_RowRun& rows : range.rows)
        for (int row = rows.first; row < rows.End(); ++row) {
          const auto node = static_cast<std::size_t>(odiC_PlaceOf(source->Layout(), row).entity);
          for (std::size_t c = 0; c < width; ++c) {
            const double value = range.values[static_cast<std::size_t>(row - range.firstRow) * width + c];
            double& kept = average_[node * width + c];
            if (std::isnan(kept) || std::abs(value) > std::abs(kept)) kept = value;
          }
        }
    });
    return true;
  }

  const std::vector<odiC_Step>& Steps() const { return run_.Header().steps; }
  const odiC_Variable& Variable(int index) const {
    return run_.Header().variables[static_cast<std::size_t>(index)];
  }
  void Lose(const cow_String& what, long long count, const cow_String& detail = {}) {
    auto& [all, details] = lost_[what];
    all += count;
    if (!detail.empty() && (", " + details + ",").find(", " + detail + ",") == cow_String::npos)
      details += (details.empty() ? "" : ", ") + detail;
  }

  void AddFrame(int step, int frame) {
    const odiC_Step& of = Steps()[static_cast<std::size_t>(step)];
    frames_.push_back({step, frame, of.values[static_cast<std::size_t>(frame)]});
    times.push_back((of.domain == odiC_TIME ? of.startTime : 0) + frames_.back().value);
    for (int variable = 0; variable < static_cast<int>(run_.Header().variables.size()); ++variable) {
      if (!of.Has(frame, variable)) continue;
      const odiC_FieldReader field = run_.Field(step, frame, variable);
      isDouble = isDouble || field.Storage() == res_STORAGE_DOUBLE;
      if (!seen_.insert({variable, &field.Layout()}).second) continue;
      for (const odiC_LayoutBlock& block : field.Layout().blocks)
        for (const bool isImaginary : {false, true})
          if (!isImaginary || Variable(variable).IsComplex()) AddPart(variable, isImaginary, block);
    }
  }

  void AddPart(int variable, bool isImaginary, const odiC_LayoutBlock& block) {
    for (const Part& known : parts_)
      if (known.variable == variable && known.isImaginary == isImaginary && AreOfOnePart(known.key, block))
        return;
    Part part{variable, isImaginary, block};
    part.key.entities = {};
    part.key.faces = {};
    if (atNodes_ && block.position == res_ELEMENT_NODAL) {
      part.isAveraged = true;
      part.key.position = res_NODAL;
      part.key.classIndex = -1;
      part.key.valuesPerEntity = 1;
      part.key.region = {};
      for (const Part& known : parts_)
        if (known.variable == variable && known.isImaginary == isImaginary
            && AreOfOnePart(known.key, part.key))
          return;
    }
    exo_OutField field;
    if (!FindObject(part, field))
      return Lose(cow_String("values at ")
                      + omu_FindText(omu_EnumTable<res_OutputPositionEnm>::entries, block.position),
                  block.NumRows(), Variable(variable).name);
    const auto kind = static_cast<std::size_t>(field.kind);
    for (const cow_String& name : NamesOf(part)) {
      const auto at = std::ranges::find(names[kind], name);
      field.scalars.push_back(static_cast<int>(at - names[kind].begin()));
      if (at == names[kind].end()) names[kind].push_back(name);
    }
    parts_.push_back(std::move(part));
    fields.push_back(std::move(field));
  }

  /// The block or set of the file that has the places of a part.
  bool FindObject(Part& part, exo_OutField& field) const {
    const odiC_LayoutBlock& key = part.key;
    const bool isOfElements = key.position == res_WHOLE_ELEMENT || key.position == res_ELEMENT_CENTROID
                              || key.position == res_INTEGRATION_POINT;
    if (key.region.empty()) {
      if (key.position == res_NODAL) {
        field.numEntities = static_cast<std::int64_t>(file_.xyz.size() / 3);
        return true;
      }
      if (!isOfElements) return false;
      const exo_OutBlock& block = file_.blocks[static_cast<std::size_t>(key.classIndex)];
      field.kind = exo_ValueKind::Blocks;
      field.id = block.id;
      field.numEntities = block.numElements;
      return true;
    }
    const bool areSides = key.position == res_ELEMENT_FACE;
    const exo_SetKind kind = key.position == res_NODAL ? exo_SetKind::Nodes
                             : areSides                ? exo_SetKind::Sides
                                                       : exo_SetKind::Elements;
    const auto set = std::ranges::find_if(
        sets_, [&](const exo_SetEntries& one) { return one.kind == kind && one.root == key.region; });
    if (set == sets_.end() || (!areSides && !isOfElements && key.position != res_NODAL)
        || key.position == res_INTEGRATION_POINT)
      return false;
    field.kind = kind == exo_SetKind::Nodes   ? exo_ValueKind::NodeSets
                 : kind == exo_SetKind::Sides ? exo_ValueKind::SideSets
                                              : exo_ValueKind::ElementSets;
    field.id = set->id;
    field.numEntities = static_cast<std::int64_t>(set->entities.size());
    const bool areEdges = Variable(part.variable).name.ends_with(" (edges)");
    const bme_ElementClass* type =
        key.classIndex >= 0 ? &run_.Mesh().ElementData().GetClass(static_cast<unsigned>(key.classIndex))
                            : nullptr;
    for (std::size_t i = 0; i < set->entities.size(); ++i) {
      int entity = set->entities[i];
      if (type) {
        entity -= type->FirstElementIndex();
        if (entity < 0 || entity >= type->NumElements() || (areSides && (set->areEdges[i] != 0) != areEdges))
          entity = -1;
      }
      part.entities.push_back(entity);
      if (areSides) part.facets.push_back(set->facets[i]);
    }
    return true;
  }

  /// Position in the block of the i-th entity of the object; -1 when it has no value.
  int PlaceOf(std::size_t i) const {
    const int entity = part_->entities.empty() ? static_cast<int>(i) : part_->entities[i];
    if (entity < 0) return -1;
    int at = block_->Find(entity);
    if (at < 0 || part_->facets.empty()) return at;
    for (; at < block_->numEntities && block_->Entity(at) == entity; ++at)
      if (block_->faces.Const()[static_cast<std::size_t>(at)] == part_->facets[i]) return at;
    return -1;
  }

  /// Of the scalars of a row: point after point, in a point the components.
  std::vector<cow_String> NamesOf(const Part& part) {
    const odiC_Variable& variable = Variable(part.variable);
    cow_String stem = variable.name;
    for (const char* ending : {" (nodes)", " (elements)", " (edges)"})
      if (stem.ends_with(ending)) stem.resize(stem.size() - cow_String(ending).size());
    const cow_String section = odiC_SectionPointName(run_, part.key);
    if (!section.empty()) stem += "_" + section;
    if (variable.IsComplex()) stem += part.isImaginary ? "_im" : "_re";
    std::vector<cow_String> all;
    const bool hasPoints = part.key.position == res_INTEGRATION_POINT && part.key.valuesPerEntity > 1;
    for (int point = 1; point <= part.key.valuesPerEntity; ++point)
      for (int k = 0; k < variable.NumComponents(); ++k) {
        const cow_String component = variable.ComponentName(k);
        cow_String name = stem;
        if (!component.empty()) name.append("_").append(component);
        if (hasPoints) name.append("_").append(std::to_string(point));
        all.push_back(Short(name));
      }
    if (variable.IsIntegral()) Lose("whole numbers, written as reals", 1, variable.name);
    if (part.key.position == res_INTEGRATION_POINT && part.key.valuesPerEntity == 1)
      Lose("single integration points, written as whole elements", 1, variable.name);
    if (part.key.position == res_ELEMENT_CENTROID)
      Lose("centroids, written as whole elements", 1, variable.name);
    return all;
  }

  /// At most 80 characters, with a number in place of the end that is cut.
  cow_String Short(const cow_String& name) {
    constexpr std::size_t kLongest = 80;
    if (name.size() <= kLongest) return name;
    auto [known, isNew] = shortened_.try_emplace(name, static_cast<int>(shortened_.size()) + 1);
    if (isNew) Lose("ends of names of variables", 1, name);
    const cow_String number = "~" + std::to_string(known->second);
    return name.substr(0, kLongest - number.size()) + number;
  }

  odiC_Values ValuesOf(const Part& part) const {
    const odiC_Values values(run_, Variable(part.variable).name);
    return Variable(part.variable).IsComplex() ? values.Display(part.isImaginary ? res_IMAGINARY : res_REAL)
                                               : values;
  }
  odiC_SourcePointer SourceOf(const Part& part, const odiC_When& when) const {
    return ValuesOf(part).Open(when);
  }

  void AddHistories() {
    for (int step = 0; step < static_cast<int>(Steps().size()); ++step)
      for (int i = 0; i < Steps()[static_cast<std::size_t>(step)].numHistories; ++i) {
        const odiC_History history = run_.History(step, i);
        const bool isOfFrames =
            history.values.size() == Steps()[static_cast<std::size_t>(step)].values.size();
        if (history.position != res_WHOLE_MODEL || !isOfFrames) {
          Lose("histories of parts of the model, or with times of their own", 1, history.name);
          continue;
        }
        const cow_String name = Short(history.name);
        const auto at = static_cast<std::size_t>(std::ranges::find(globals, name) - globals.begin());
        if (at == globals.size()) {
          globals.push_back(name);
          globalValues_.emplace_back(frames_.size(), std::nan(""));
        }
        for (std::size_t frame = 0; frame < frames_.size(); ++frame)
          if (frames_[frame].step == step)
            globalValues_[at][frame] = history.values[static_cast<std::size_t>(frames_[frame].frame)];
        rounded_ += std::ranges::count_if(history.values, IsRounded);
      }
  }

  void AddSteps() {
    rounded_ += std::ranges::count_if(times, IsRounded);
    if (!isDouble) Lose("digits of times and histories behind single precision", rounded_);
    const std::vector<odiC_Step>& steps = Steps();
    if (steps.size() > 1) Lose("names and kinds of steps", static_cast<long long>(steps.size()));
    for (const odiC_Step& step : steps) {
      Lose("increments, modes, eigenvalues, dampings or descriptions of frames",
           static_cast<long long>(!AreNumbersOfFrames(step.increments) + !step.modes.empty()
                                  + !step.eigenvalues.empty() + !step.dampings.empty()
                                  + !step.descriptions.empty()));
      if (steps.size() == 1 && (step.name != "Step-1" || step.kind != odiC_UNDEFINED_STEP))
        Lose("names and kinds of steps", 1, step.name);
    }
    Lose("categories with section points", static_cast<long long>(run_.Header().categories.size()));
    for (const odiC_Variable& variable : run_.Header().variables) {
      if (!variable.unit.empty()) Lose("units of variables", 1);
      if (variable.coordSystem == res_LOCAL || variable.coordSystem == res_USER_SPECIFIED)
        Lose("axes of variables that are not global", 1, variable.name);
    }
    std::erase_if(lost_, [](const auto& one) { return one.second.first == 0; });
  }

  const odiC_Run& run_;
  bool atNodes_;
  const exo_OutMesh& file_;
  std::span<const exo_SetEntries> sets_;
  std::vector<odiC_When> frames_;
  std::vector<Part> parts_; ///< of each field
  std::set<std::pair<int, const odiC_Layout*>> seen_;
  std::vector<std::vector<double>> globalValues_; ///< of each global, a value a frame
  std::map<cow_String, std::pair<long long, cow_String>> lost_;
  std::map<cow_String, int> shortened_;
  long long rounded_ = 0; ///< times and numbers of histories that single precision does not hold

  odiC_When open_{-1, -1};
  std::map<std::pair<int, bool>, odiC_SourcePointer> sources_; ///< of the frame that is open
  odiC_Source* source_ = nullptr;
  std::vector<double> average_; ///< of all nodes, of an averaged part
  const Part* part_ = nullptr;
  const odiC_LayoutBlock* block_ = nullptr;
  bool isWhole_ = false;
};
} // namespace

std::unique_ptr<exo_OutResults> exo_ResultsOf(const odiC_Run& run, bool atNodes, const exo_OutMesh& file,
                                              std::span<const exo_SetEntries> sets, fmt_Ledger& ledger) {
  auto results = std::make_unique<Results>(run, atNodes, file, sets, ledger);
  if (results->times.empty()) return nullptr;
  if (bme_Placement(run.Mesh()).IsTurned())
    ledger.push_back({"placed axes of results", 1, "vectors and tensors stay in the axes of the mesh"});
  return results;
}
