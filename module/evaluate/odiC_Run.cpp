#include <CoreGeometry/odiC_Run.h>

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace {
/// The fields of an odiC_Field without its numbers.
struct FieldFacts {
  explicit FieldFacts(const cls_ReadVisitor& field)
      : layout(field.GetInt("layout")), numNotNumbers(field.GetInt("numNotNumbers")),
        storage(omu_PrimEnum<res_StorageTypeEnm>(cls_ReadVisitor(field, "storage"))),
        low(cls_ReadVisitor(field, "low").GetArray<double>()),
        high(cls_ReadVisitor(field, "high").GetArray<double>()) {}
  int layout, numNotNumbers;
  res_StorageTypeEnm storage;
  cow_ArrayCOW<double> low, high;
};

template<class To, class Stored> To Converted(Stored value) {
  if constexpr (std::is_same_v<Stored, int>)
    if (value == odiC_kMissingInteger) return std::numeric_limits<To>::quiet_NaN();
  return static_cast<To>(value);
}
} // namespace

odiC_FieldReader::odiC_FieldReader(const cls_Database& model, const cow_String& root,
                                   std::shared_ptr<const odiC_Layout> layout, const odiC_Variable& variable)
    : model_(&model), root_(root), layout_(std::move(layout)), width_(variable.NumComponents()) {
  const cls_ReadView view(model);
  const FieldFacts facts = model.GetValue<FieldFacts>(model.Resolve(root));
  storage_ = facts.storage;
  numNotNumbers_ = facts.numNotNumbers;
  low_.assign(facts.low.Const().begin(), facts.low.Const().end());
  high_.assign(facts.high.Const().begin(), facts.high.Const().end());
  numRows_ = static_cast<long long>(layout_->numRows) * (variable.IsComplex() ? 2 : 1);
  numbers_ = model.Resolve(root
                           + (storage_ == res_STORAGE_FLOAT    ? ".floats"
                              : storage_ == res_STORAGE_DOUBLE ? ".doubles"
                                                               : ".integers"));
}

void odiC_FieldReader::Read(long long firstRow, std::span<double> values) { ReadAs(firstRow, values); }
void odiC_FieldReader::Read(long long firstRow, std::span<float> values) { ReadAs(firstRow, values); }

template<class To> void odiC_FieldReader::ReadAs(long long firstRow, std::span<To> values) {
  const auto rows = static_cast<long long>(values.size()) / width_;
  if (firstRow < 0 || rows > numRows_ - firstRow || rows * width_ != static_cast<long long>(values.size()))
    throw odiC_Exception(model_->File() + ", " + root_ + ": " + std::to_string(values.size())
                         + " numbers from row " + std::to_string(firstRow) + " on; it has "
                         + std::to_string(numRows_) + " rows of " + std::to_string(width_));
  switch (storage_) {
  case res_STORAGE_FLOAT: return ReadStored<float>(firstRow, values);
  case res_STORAGE_DOUBLE: return ReadStored<double>(firstRow, values);
  default: return ReadStored<int>(firstRow, values);
  }
}

template<class Stored, class To> void odiC_FieldReader::ReadStored(long long firstRow, std::span<To> values) {
  // the chunks of the file begin at these numbers
  const auto rowBytes = sizeof(Stored) * static_cast<std::size_t>(width_);
  const auto perChunk =
      static_cast<long long>(std::max<std::size_t>(1, odiC_kChunkBytes / rowBytes)) * width_;
  const long long all = numRows_ * width_;
  long long next = firstRow * width_;
  for (std::size_t done = 0; done < values.size();) {
    const auto left = static_cast<long long>(values.size() - done);
    const long long start = next / perChunk * perChunk;
    if constexpr (std::is_same_v<Stored, To> && !std::is_same_v<Stored, int>) {
      // whole chunks need no copy
      const long long end = next + left == all ? all : (next + left) / perChunk * perChunk;
      if (next == start && end > start) {
        const auto whole = static_cast<std::size_t>(end - start);
        model_->ReadRange(numbers_, static_cast<std::size_t>(start), values.subspan(done, whole));
        done += whole;
        next = end;
        continue;
      }
    }
    long long held = static_cast<long long>(chunk_.size() / sizeof(Stored)); // from chunkStart_ on
    if (chunkStart_ < 0 || next < chunkStart_ || next >= chunkStart_ + held) {
      // who goes on where the last chunk ended reads on: a call of the database costs as much as a third of a chunk
      constexpr int kChunksAhead = 4;
      held = std::min(chunkStart_ >= 0 && start == chunkStart_ + held ? kChunksAhead * perChunk : perChunk,
                      all - start);
      chunkStart_ = -1;
      chunk_.resize(static_cast<std::size_t>(held) * sizeof(Stored));
      model_->ReadRange(numbers_, static_cast<std::size_t>(start),
                        std::span(reinterpret_cast<Stored*>(chunk_.data()), static_cast<std::size_t>(held)));
      chunkStart_ = start;
    }
    const auto part = static_cast<std::size_t>(std::min(left, chunkStart_ + held - next));
    const std::span<To> target = values.subspan(done, part);
    const std::byte* from = chunk_.data() + static_cast<std::size_t>(next - chunkStart_) * sizeof(Stored);
    for (std::size_t i = 0; i < part; ++i) {
      Stored value;
      std::memcpy(&value, from + i * sizeof(Stored), sizeof value);
      target[i] = Converted<To>(value);
    }
    done += part;
    next += static_cast<long long>(part);
  }
}

odiC_Run::odiC_Run(const cls_Database& model, const cow_String& root)
    : model_(&model), root_(root), header_(model.Get<odiC_Results>(root)) {}

odiC_Run odiC_Run::Open(const cls_Database& model, const cow_String& root) {
  if (!model.Has(root)) {
    const std::vector<cow_String> roots = RootsOf(model);
    throw odiC_Exception(model.File() + ": no run " + root + atr_Alternatives(root, roots));
  }
  return {model, root};
}

std::vector<cow_String> odiC_Run::RootsOf(const cls_Database& model, const cow_String& meshRoot) {
  std::vector<cow_String> roots = model.RootsOf({odiC_Results::TypeId()});
  const cow_String folder = meshRoot.empty() ? cow_String(odiC_kRunFolder) : RootOf(meshRoot, "");
  std::erase_if(roots, [&](const cow_String& root) { return !root.starts_with(folder); });
  return roots;
}

cow_String odiC_Run::RootOf(const cow_String& meshRoot, const cow_String& run) {
  const std::size_t folder = meshRoot.starts_with(bme_kMeshFolder) ? std::strlen(bme_kMeshFolder) : 0;
  return odiC_kRunFolder + meshRoot.substr(folder) + "/" + run;
}

void odiC_Run::Fail(const cow_String& what) const {
  throw odiC_Exception(model_->File() + ", " + root_ + ": " + what);
}

const bme_Mesh& odiC_Run::Mesh() const {
  if (!mesh_.IsNull()) return *mesh_;
  if (!model_->Has(header_->meshRoot)) Fail("its mesh " + header_->meshRoot + " is not in the model");
  mesh_ = model_->Get<bme_Mesh>(header_->meshRoot);
  if (!odiC_IsOf(*header_, *mesh_)) {
    const auto text = [](long long nodes, const auto& sizes, const auto& types) {
      cow_String classes;
      for (std::size_t i = 0; i < sizes.size(); ++i)
        classes += ", " + std::to_string(sizes[i]) + " " + types[i];
      return std::to_string(nodes) + " nodes" + classes;
    };
    std::vector<int> sizes;
    std::vector<cow_String> types;
    for (unsigned i = 0; i < mesh_->ElementData().NumClasses(); ++i) {
      sizes.push_back(mesh_->ElementData().GetClass(i).NumElements());
      types.push_back(mesh_->ElementData().GetClass(i).ElemTypeLabel());
    }
    const cow_String there = text(mesh_->NodeData().NumNodes(), sizes, types);
    mesh_ = {};
    Fail("is of a mesh of " + text(header_->numNodes, header_->classSizes, header_->classTypes) + ", and "
         + header_->meshRoot + " has " + there);
  }
  return *mesh_;
}

int odiC_Run::StepIndex(const cow_String& nameOrNumber) const {
  if (const int byName = header_->FindStep(nameOrNumber); byName >= 0) return byName;
  int number = 0;
  const char* end = nameOrNumber.data() + nameOrNumber.size();
  const auto [at, error] = std::from_chars(nameOrNumber.data(), end, number);
  if (error == std::errc() && at == end && number >= 1 && number <= static_cast<int>(header_->steps.size()))
    return number - 1;
  std::vector<cow_String> names;
  for (const odiC_Step& step : header_->steps) names.push_back(step.name);
  Fail("no step \"" + nameOrNumber + '"' + atr_Alternatives(nameOrNumber, names));
}

int odiC_Run::VariableIndex(const cow_String& name) const {
  if (const int found = header_->FindVariable(name); found >= 0) return found;
  std::vector<cow_String> names;
  for (const odiC_Variable& variable : header_->variables) names.push_back(variable.name);
  Fail("no variable \"" + name + '"' + atr_Alternatives(name, names));
}

int odiC_Run::FrameIndex(int step, int frame) const {
  if (step < 0 || step >= static_cast<int>(header_->steps.size()))
    Fail("step " + std::to_string(step + 1) + " of " + std::to_string(header_->steps.size()));
  const odiC_Step& of = header_->steps[static_cast<std::size_t>(step)];
  const int last = of.NumFrames() - 1, chosen = frame == -1 ? last : frame;
  if (chosen < 0 || chosen > last)
    Fail("frame " + std::to_string(frame) + " of step \"" + of.name
         + "\": " + (last < 0 ? cow_String("it has none") : "0 to " + std::to_string(last) + " exist"));
  return chosen;
}

std::shared_ptr<const odiC_Layout> odiC_Run::Layout(int layout) const {
  auto& known = layouts_[layout];
  if (!known) known = model_->Get<odiC_Layout>(odiC_LayoutRoot(root_, layout)).Shared();
  return known;
}

const odiC_PointSet& odiC_Run::PointSet(int pointSet) const {
  auto& known = pointSets_[pointSet];
  if (!known) known = model_->Get<odiC_PointSet>(odiC_PointSetRoot(root_, pointSet)).Shared();
  return *known;
}

bool odiC_Run::HasField(int step, int frame, int variable) const {
  return step >= 0 && step < static_cast<int>(header_->steps.size())
         && header_->steps[static_cast<std::size_t>(step)].Has(frame, variable);
}

int odiC_Run::LayoutOf(int step, int frame, int variable) const {
  if (!HasField(step, frame, variable)) {
    const odiC_Step& of = header_->steps.at(static_cast<std::size_t>(step));
    cow_String with;
    for (int other = 0, count = 0; other < of.NumFrames() && count < 20; ++other)
      if (of.Has(other, variable)) with += (count++ == 0 ? "" : ", ") + std::to_string(other);
    Fail("step \"" + of.name + "\", frame " + std::to_string(frame) + " has no "
         + header_->variables.at(static_cast<std::size_t>(variable)).name
         + (with.empty() ? cow_String(", nor has another one") : "; frames that have it: " + with));
  }
  return model_->GetValue<FieldFacts>(model_->Resolve(odiC_FieldRoot(root_, step + 1, frame, variable)))
      .layout;
}

odiC_FieldReader odiC_Run::Field(int step, int frame, int variable) const {
  const auto layout = Layout(LayoutOf(step, frame, variable));
  return {*model_, odiC_FieldRoot(root_, step + 1, frame, variable), layout,
          header_->variables[static_cast<std::size_t>(variable)]};
}

odiC_FieldReader odiC_Run::FieldOnMesh(int step, int frame, int variable) const {
  const int layout = LayoutOf(step, frame, variable);
  if (!layoutsOnMesh_.contains(layout)) {
    std::vector<int> pointSetCounts(static_cast<std::size_t>(header_->numPointSets));
    for (int i = 0; i < header_->numPointSets; ++i)
      pointSetCounts[static_cast<std::size_t>(i)] = PointSet(i).count;
    if (const cow_String wrong = odiC_WhatIsWrong(*Layout(layout), Mesh(), pointSetCounts); !wrong.empty())
      Fail("layout " + std::to_string(layout) + " does not fit " + header_->meshRoot + ": " + wrong);
    layoutsOnMesh_.insert(layout);
  }
  return Field(step, frame, variable);
}

odiC_History odiC_Run::History(int step, int history) const {
  return *model_->Get<odiC_History>(odiC_HistoryRoot(root_, step + 1, history));
}
