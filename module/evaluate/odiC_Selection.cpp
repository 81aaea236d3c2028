#include "odiC_Where.h"

#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {
[[noreturn]] void Fail(const odiC_Run& run, const cow_String& what) {
  throw odiC_Exception(run.Model().File() + ", " + run.Root() + ": " + what);
}

cow_String Number(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.9g", value);
  return text;
}

/// The last frame of a step that has values of a variable; -1 when none has.
int LastWith(const odiC_Step& step, int variable) {
  int frame = step.NumFrames() - 1;
  while (frame >= 0 && !step.Has(frame, variable)) --frame;
  return frame;
}

bool IsOfCategory(const odiC_Run& run, int classIndex, const cow_String& name) {
  const cow_String& label =
      run.Mesh().ElementData().GetClass(static_cast<unsigned>(classIndex)).CategoryLabel();
  for (const odiC_Category& category : run.Header().categories)
    if (category.name == name) return std::ranges::count(category.elementCategories, label) > 0;
  return label == name;
}

void CheckCategory(const odiC_Run& run, const cow_String& name) {
  std::vector<cow_String> names;
  for (const odiC_Category& category : run.Header().categories) names.push_back(category.name);
  const bme_ElementData& elements = run.Mesh().ElementData();
  for (unsigned i = 0; i < elements.NumClasses(); ++i) names.push_back(elements.GetClass(i).CategoryLabel());
  std::ranges::sort(names);
  names.erase(std::unique(names.begin(), names.end()), names.end());
  if (std::ranges::count(names, name) == 0)
    Fail(run, "no category \"" + name + '"' + atr_Alternatives(name, names));
}

void CheckSectionPoint(const odiC_Run& run, const cow_String& label) {
  std::vector<cow_String> labels;
  for (const odiC_Category& category : run.Header().categories)
    labels.insert(labels.end(), category.sectionPoints.begin(), category.sectionPoints.end());
  const bme_ElementData& elements = run.Mesh().ElementData();
  for (unsigned i = 0; i < elements.NumClasses(); ++i)
    for (const cow_String& one : elements.GetClass(i).LocationLabels()) labels.push_back(one);
  if (std::ranges::count(labels, label) == 0)
    Fail(run, "no section point \"" + label + '"' + atr_Alternatives(label, labels));
}

/// Whether a block is at the section point of the least or the largest offset; without offsets the first or last.
bool IsOutermost(const odiC_Run& run, const odiC_LayoutBlock& block, bool isTop) {
  if (block.sectionPoint < 0) return true;
  const auto count = static_cast<int>(odiC_SectionPointsOf(run, block).size());
  int best = isTop ? count - 1 : 0;
  odiC_LayoutBlock other = block;
  for (int k = 0; k < count; ++k) {
    const int point = isTop ? count - 1 - k : k; // of equal ones the outermost in order
    other.sectionPoint = point;
    const double offset = odiC_SectionOffset(run, other);
    other.sectionPoint = best;
    const double bestOffset = odiC_SectionOffset(run, other);
    if (isTop ? offset > bestOffset : offset < bestOffset) best = point;
  }
  return block.sectionPoint == best;
}
} // namespace

odiC_Entities odiC_EntitiesOfRegion(const odiC_Run& run, const cow_String& name) {
  if (const auto known = run.regions_.find(name); known != run.regions_.end()) return *known->second;
  const std::vector<bme_NamedSet> sets = bme_SetsOfMesh(run.Model(), run.Header().meshRoot);
  const bme_NamedSet* set = bme_FindSet(sets, name, run.Model().File() + ", " + run.Header().meshRoot);
  if (!set) {
    std::vector<cow_String> names;
    names.reserve(sets.size());
    for (const bme_NamedSet& one : sets) names.push_back(one.Root());
    Fail(run, "no set \"" + name + '"' + atr_Alternatives(name, names));
  }
  odiC_Entities chosen;
  chosen.region = set->Root();
  switch (set->kind) {
  case rgnC_NODE_SET: chosen.nodes = bme_FEMNodeList::FromSet(run.Mesh(), set->data); break;
  case rgnC_ELEMENT_SET: chosen.elements = bme_FEMElemList::FromSet(run.Mesh(), set->data); break;
  default: chosen.faces = bme_FEMFaceList::FromSet(run.Mesh(), set->data);
  }
  run.regions_.emplace(name, std::make_shared<const odiC_Entities>(chosen));
  return chosen;
}

std::vector<cow_String> odiC_SectionPointsOf(const odiC_Run& run, const odiC_LayoutBlock& block) {
  const std::vector<odiC_Category>& categories = run.Header().categories;
  if (block.category >= 0 && static_cast<std::size_t>(block.category) < categories.size())
    return categories[static_cast<std::size_t>(block.category)].sectionPoints;
  std::vector<cow_String> labels;
  if (block.classIndex >= 0)
    for (const cow_String& label :
         run.Mesh().ElementData().GetClass(static_cast<unsigned>(block.classIndex)).LocationLabels())
      labels.push_back(label);
  return labels;
}

cow_String odiC_SectionPointName(const odiC_Run& run, const odiC_LayoutBlock& block) {
  if (block.sectionPoint < 0) return {};
  const std::vector<cow_String> labels = odiC_SectionPointsOf(run, block);
  const auto at = static_cast<std::size_t>(block.sectionPoint);
  return at < labels.size() ? labels[at] : std::to_string(block.sectionPoint + 1);
}

double odiC_SectionOffset(const odiC_Run& run, const odiC_LayoutBlock& block) {
  const std::vector<odiC_Category>& categories = run.Header().categories;
  if (block.sectionPoint < 0 || block.category < 0
      || static_cast<std::size_t>(block.category) >= categories.size())
    return std::nan("");
  const std::vector<double>& offsets = categories[static_cast<std::size_t>(block.category)].offsets;
  const auto at = static_cast<std::size_t>(block.sectionPoint);
  return at < offsets.size() ? offsets[at] : std::nan("");
}

template<class Change> odiC_Selection odiC_Selection::With(const Change& change) const {
  odiC_Selection narrowed = *this;
  change(narrowed);
  return narrowed;
}

odiC_Selection odiC_Selection::Narrowed(odiC_WherePointer where) const {
  return With([&](odiC_Selection& made) {
    made.where_ = where_ ? odiC_WhereBoth(odiC_Junction::And, where_, std::move(where)) : std::move(where);
  });
}

odiC_Selection odiC_Selection::Step(cow_String nameOrNumber) const {
  return With([&](odiC_Selection& made) { made.when_.step = std::move(nameOrNumber); });
}
odiC_Selection odiC_Selection::Frame(int frame) const {
  return With([&](odiC_Selection& made) { made.when_.frame = frame; });
}
odiC_Selection odiC_Selection::Frames(int first, int last, int stride) const {
  if (stride < 1) throw odiC_Exception("frames by steps of " + std::to_string(stride) + ", not of 1 or more");
  return With([&](odiC_Selection& made) {
    made.when_.first = first;
    made.when_.last = last;
    made.when_.stride = stride;
  });
}
odiC_Selection odiC_Selection::Value(double value, odiC_AtValue how) const {
  return With([&](odiC_Selection& made) {
    made.when_.value = value;
    made.when_.how = how;
  });
}
odiC_Selection odiC_Selection::Mode(int mode) const {
  return With([&](odiC_Selection& made) { made.when_.mode = mode; });
}

odiC_Selection odiC_Selection::Position(res_OutputPositionEnm position) const {
  return Narrowed(odiC_WhereBlock(
      [position](const odiC_Run&, const odiC_LayoutBlock& block) { return block.position == position; }));
}
odiC_Selection odiC_Selection::Class(int classIndex) const {
  return Narrowed(odiC_WhereClasses([classIndex](const odiC_Run& run, int index) {
    const int count = static_cast<int>(run.Mesh().ElementData().NumClasses());
    if (classIndex < 0 || classIndex >= count)
      Fail(run, "element class " + std::to_string(classIndex) + " of " + std::to_string(count));
    return index == classIndex;
  }));
}
odiC_Selection odiC_Selection::Category(cow_String name) const {
  return Narrowed(odiC_WhereClasses([name = std::move(name)](const odiC_Run& run, int index) {
    CheckCategory(run, name);
    return IsOfCategory(run, index, name);
  }));
}
odiC_Selection odiC_Selection::Region(cow_String name) const {
  return Narrowed(odiC_WhereEntities(
      [name = std::move(name)](const odiC_Run& run) { return odiC_EntitiesOfRegion(run, name); }));
}
odiC_Selection odiC_Selection::Nodes(std::vector<unsigned> nodes) const {
  return Narrowed(odiC_WhereEntities([nodes = std::move(nodes)](const odiC_Run& run) {
    return odiC_Entities{.nodes = bme_FEMNodeList(run.Mesh(), nodes)};
  }));
}
odiC_Selection odiC_Selection::Elements(std::vector<unsigned> elements) const {
  return Narrowed(odiC_WhereEntities([elements = std::move(elements)](const odiC_Run& run) {
    return odiC_Entities{.elements = bme_FEMElemList(run.Mesh(), elements)};
  }));
}
odiC_Selection odiC_Selection::NodeLabels(std::vector<int> labels, bme_Unknown unknown) const {
  return Narrowed(odiC_WhereEntities([labels = std::move(labels), unknown](const odiC_Run& run) {
    return odiC_Entities{.nodes = bme_FEMNodeList::FromLabels(run.Mesh(), labels, unknown)};
  }));
}
odiC_Selection odiC_Selection::ElementLabels(std::vector<int> labels, bme_Unknown unknown) const {
  return Narrowed(odiC_WhereEntities([labels = std::move(labels), unknown](const odiC_Run& run) {
    return odiC_Entities{.elements = bme_FEMElemList::FromLabels(run.Mesh(), labels, unknown)};
  }));
}
odiC_Selection odiC_Selection::Box(const gsl_BBox& box) const {
  return Narrowed(odiC_WhereEntities([box](const odiC_Run& run) {
    return odiC_Entities{.nodes = bme_FEMNodeList::InBox(run.Mesh(), box)};
  }));
}
odiC_Selection odiC_Selection::SectionPoint(cow_String label) const {
  return Narrowed(
      odiC_WhereBlock([label = std::move(label)](const odiC_Run& run, const odiC_LayoutBlock& block) {
        CheckSectionPoint(run, label);
        const std::vector<cow_String> labels = odiC_SectionPointsOf(run, block);
        return block.sectionPoint >= 0 && static_cast<std::size_t>(block.sectionPoint) < labels.size()
               && labels[static_cast<std::size_t>(block.sectionPoint)] == label;
      }));
}
odiC_Selection odiC_Selection::SectionPoint(res_SectionResultsEnm which) const {
  odiC_Selection made = *this;
  if (which != res_USE_ENVELOPE)
    made = Narrowed(odiC_WhereBlock([which](const odiC_Run& run, const odiC_LayoutBlock& block) {
      return (which != res_USE_TOP && IsOutermost(run, block, false))
             || (which != res_USE_BOTTOM && IsOutermost(run, block, true));
    }));
  made.section_ = which;
  return made;
}
odiC_Selection odiC_Selection::Points(std::vector<int> points) const {
  return Narrowed(odiC_WherePoints(std::move(points)));
}
odiC_Selection odiC_Selection::Or(const odiC_Selection& other) const {
  return With([&](odiC_Selection& made) {
    made.where_ = where_ && other.where_ ? odiC_WhereBoth(odiC_Junction::Or, where_, other.where_) : nullptr;
  });
}
odiC_Selection odiC_Selection::Without(const odiC_Selection& other) const {
  const auto isAny = [](const odiC_Run&, const odiC_LayoutBlock&) { return true; };
  const odiC_WherePointer all = odiC_WhereBlock(isAny);
  return With([&](odiC_Selection& made) {
    made.where_ =
        odiC_WhereBoth(odiC_Junction::Without, where_ ? where_ : all, other.where_ ? other.where_ : all);
  });
}

odiC_Selection odiC_Selection::Component(cow_String name) const {
  return With([&](odiC_Selection& made) {
    made.what_.component = std::move(name);
    made.what_.invariant.reset();
  });
}
odiC_Selection odiC_Selection::Invariant(res_InvariantEnm invariant) const {
  return With([&](odiC_Selection& made) {
    made.what_.invariant = invariant;
    made.what_.component.reset();
  });
}
odiC_Selection odiC_Selection::System(res_CoordSystemEnm system) const {
  return With([&](odiC_Selection& made) { made.what_.system = system; });
}
odiC_Selection odiC_Selection::System(cow_String datumRoot) const {
  return With([&](odiC_Selection& made) {
    made.what_.system = res_USER_SPECIFIED;
    made.what_.datum = std::move(datumRoot);
  });
}
odiC_Selection odiC_Selection::Display(res_ComplexDisplayEnm display, double angle) const {
  return With([&](odiC_Selection& made) {
    made.what_.display = display;
    made.what_.angle = angle;
    made.what_.isPeak = false;
  });
}
odiC_Selection odiC_Selection::Peak() const {
  return With([&](odiC_Selection& made) { made.what_.isPeak = true; });
}

odiC_When odiC_Selection::AtValueOf(const odiC_Run& run, int step, std::span<const int> frames) const {
  const odiC_Step& of = run.Header().steps[static_cast<std::size_t>(step)];
  const auto value = [&](std::size_t i) { return of.values[static_cast<std::size_t>(frames[i])]; };
  const double wanted = *when_.value, low = value(0), high = value(frames.size() - 1);
  const bool isExact = when_.how == odiC_AtValue::Exact;
  const double slack = when_.how == odiC_AtValue::Nearest ? 0 : 1e-9 * (high - low);
  if (!(wanted >= low - slack && wanted <= high + slack) && when_.how != odiC_AtValue::Nearest)
    Fail(run, "value " + Number(wanted) + " lies outside " + Number(low) + " to " + Number(high)
                  + " of step \"" + of.name + '"');
  std::size_t above = 0; // the first that is not below
  while (above < frames.size() && value(above) < wanted) ++above;
  const std::size_t below = above == 0 ? 0 : above - 1;
  above = std::min(above, frames.size() - 1);
  const bool isNearBelow = wanted - value(below) <= value(above) - wanted || above == below;
  const std::size_t near = isNearBelow ? below : above;
  odiC_When when{step, frames[near], value(near)};
  if (isExact && std::abs(value(near) - wanted) > slack)
    Fail(run, "no frame with value " + Number(wanted) + " in step \"" + of.name + "\"; its neighbours are "
                  + Number(value(below)) + " and " + Number(value(above)));
  if (when_.how == odiC_AtValue::Interpolated) {
    if (of.kind == odiC_FREQUENCY || of.kind == odiC_BUCKLING)
      Fail(run, "step \"" + of.name + "\": modes cannot be interpolated");
    if (std::abs(value(near) - wanted) > 0 && value(below) < wanted && wanted < value(above)) {
      when.frame = frames[below];
      when.next = frames[above];
      when.value = wanted;
      when.share = (wanted - value(below)) / (value(above) - value(below));
    }
  }
  return when;
}

std::vector<odiC_When> odiC_Selection::FramesOf(const odiC_Run& run, int variable) const {
  const std::vector<odiC_Step>& steps = run.Header().steps;
  int firstStep = 0, endStep = static_cast<int>(steps.size());
  if (when_.step) {
    firstStep = run.StepIndex(*when_.step);
    endStep = firstStep + 1;
  }
  // the last step that has the variable, or the only one
  std::vector<int> with;
  for (int step = firstStep; step < endStep; ++step)
    if (LastWith(steps[static_cast<std::size_t>(step)], variable) >= 0) with.push_back(step);
  const bool isLast = when_.frame == -1;
  if (!with.empty() && (isLast || (when_.value && with.size() == 1))) {
    firstStep = with.back();
    endStep = firstStep + 1;
  }
  if (when_.value && endStep - firstStep > 1) {
    std::vector<cow_String> names;
    names.reserve(with.size());
    for (const int step : with) names.push_back(steps[static_cast<std::size_t>(step)].name);
    Fail(run, "value " + Number(*when_.value) + " of which step" + atr_Alternatives("", names));
  }
  std::vector<odiC_When> chosen;
  for (int step = firstStep; step < endStep; ++step) {
    const odiC_Step& of = steps[static_cast<std::size_t>(step)];
    const auto add = [&](int frame) {
      chosen.push_back({step, frame, of.values[static_cast<std::size_t>(frame)]});
    };
    if (isLast && !with.empty()) {
      add(LastWith(of, variable));
      continue;
    }
    if (when_.frame) {
      const bool isOnly = endStep - firstStep == 1;
      if (!isOnly && *when_.frame >= of.NumFrames()) continue;
      const int frame = run.FrameIndex(step, *when_.frame);
      if (of.Has(frame, variable))
        add(frame);
      else if (isOnly)
        run.LayoutOf(step, frame, variable); // says which frames have it
      continue;
    }
    std::vector<int> frames;
    const int last = when_.last < 0 ? of.NumFrames() + when_.last : std::min(when_.last, of.NumFrames() - 1);
    for (int frame = when_.first < 0 ? std::max(0, of.NumFrames() + when_.first) : when_.first; frame <= last;
         frame += when_.stride)
      if (of.Has(frame, variable)) {
        const auto at = static_cast<std::size_t>(frame);
        if (!when_.mode || (at < of.modes.size() && of.modes[at] == *when_.mode)) frames.push_back(frame);
      }
    if (when_.value && !frames.empty())
      chosen.push_back(AtValueOf(run, step, frames));
    else
      for (const int frame : frames) add(frame);
  }
  if (chosen.empty()) {
    const cow_String name = run.Header().variables.at(static_cast<std::size_t>(variable)).name;
    cow_String what = when_.frame  ? "no frame " + std::to_string(*when_.frame)
                      : when_.mode ? "no frame of mode " + std::to_string(*when_.mode)
                                   : cow_String("none of the frames");
    Fail(run,
         what + (when_.step ? " of step \"" + *when_.step + '"' : cow_String()) + " has values of " + name);
  }
  return chosen;
}

odiC_Places odiC_Selection::PlacesIn(const odiC_Run& run, std::shared_ptr<const odiC_Layout> layout) const {
  return where_ ? where_->In(run, layout, odiC_Sense::Exact) : odiC_Places::All(std::move(layout));
}
odiC_Places odiC_Selection::ContributionsIn(const odiC_Run& run,
                                            std::shared_ptr<const odiC_Layout> layout) const {
  return where_ ? where_->In(run, layout, odiC_Sense::Most) : odiC_Places::All(std::move(layout));
}
odiC_Places odiC_Selection::ResultIn(const odiC_Run& run, std::shared_ptr<const odiC_Layout> layout) const {
  return where_ ? where_->In(run, layout, odiC_Sense::ResultMost) : odiC_Places::All(std::move(layout));
}
