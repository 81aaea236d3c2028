#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/odiC_RunWriter.h>

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Run.h>
#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {
template<class T> bool IsNumber(T value) {
  if constexpr (std::is_same_v<T, int>)
    return value != odiC_kMissingInteger;
  else
    return !std::isnan(value);
}

/// Least and largest number of each component, and how many are none.
template<class T> void FindRange(odiC_Field& field, std::span<const T> values, std::size_t width) {
  using Limits = std::numeric_limits<T>;
  constexpr T kMost = Limits::has_infinity ? Limits::infinity() : Limits::max(),
              kLeast = Limits::has_infinity ? -Limits::infinity() : Limits::lowest();
  std::vector<T> low(width, kMost), high(width, kLeast);
  for (std::size_t at = 0; at < values.size(); at += width)
    for (std::size_t k = 0; k < width; ++k) {
      const T value = values[at + k];
      field.numNotNumbers += !IsNumber(value);
      if (!IsNumber(value)) continue;
      low[k] = std::min(low[k], value);
      high[k] = std::max(high[k], value);
    }
  for (std::size_t k = 0; k < width; ++k) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    field.low.push_back(low[k] > high[k] ? kNone : static_cast<double>(low[k]));
    field.high.push_back(low[k] > high[k] ? kNone : static_cast<double>(high[k]));
  }
}

template<class T> odiC_Rows<T>& RowsOf(odiC_Field& field) {
  if constexpr (std::is_same_v<T, float>)
    return field.floats;
  else if constexpr (std::is_same_v<T, double>)
    return field.doubles;
  else
    return field.integers;
}

/// Joins values to bytes.
class Bytes {
public:
  template<class T>
  requires std::is_trivially_copyable_v<T> Bytes& operator<<(const T& value) {
    return Append(std::span<const T>(&value, 1));
  }
  Bytes& operator<<(const cow_String& text) {
    *this << text.size();
    return Append(std::span<const char>(text.data(), text.size()));
  }
  template<class T> Bytes& Append(std::span<const T> values) {
    const auto bytes = std::as_bytes(values);
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
  }
  uti_FingerprintBits Bits() const { return uti_Fingerprint(bytes_); }

private:
  std::vector<std::byte> bytes_;
};

uti_FingerprintBits BitsOf(const odiC_Layout& layout) {
  Bytes bytes;
  bytes << layout.completeness << layout.blocks.size();
  for (const odiC_LayoutBlock& block : layout.blocks) {
    bytes << block.position << block.classIndex << block.category << block.sectionPoint << block.pointSet
          << block.valuesPerEntity << block.numEntities << block.region << block.entities.Size();
    bytes.Append(block.entities.Const()).Append(block.faces.Const());
  }
  return bytes.Bits();
}

uti_FingerprintBits BitsOf(const odiC_PointSet& points) {
  Bytes bytes;
  bytes << points.name << points.elemTypeLabel << points.count << points.isoCoordinates.size();
  bytes.Append<double>(points.isoCoordinates).Append<double>(points.weights);
  return bytes.Bits();
}

cow_ArrayStamp StampOf(const odiC_Field& field) {
  return !field.floats.IsEmpty()    ? field.floats.Values().Stamp()
         : !field.doubles.IsEmpty() ? field.doubles.Values().Stamp()
                                    : field.integers.Values().Stamp();
}
} // namespace

odiC_RunWriter::odiC_RunWriter(const cls_Database& model, cls_WritePass* pass, const cow_String& root,
                               const odiC_MeshSizes& mesh)
    : model_(model), pass_(pass), root_(root), mesh_(mesh) {
  const cow_String folder = odiC_kRunFolder;
  const std::size_t slash = root.rfind('/');
  if (!root.starts_with(folder) || slash == cow_String::npos || slash <= folder.size()
      || slash + 1 == root.size())
    throw odiC_Exception(model.File() + ": a run is stored as results/<mesh>/<run>, not \"" + root + '"');
  header_.name = root.substr(slash + 1);
  header_.meshRoot = bme_kMeshFolder + root.substr(folder.size(), slash - folder.size());
  header_.meshId = mesh.meshId;
  header_.numNodes = mesh.numNodes;
  for (const odiC_MeshSizes::Class& type : mesh.classes) {
    header_.classSizes.push_back(type.numElements);
    header_.classTypes.push_back(type.type);
  }
}

odiC_RunWriter::odiC_RunWriter(const cls_Database& model, cls_WritePass& pass, const cow_String& root,
                               const odiC_MeshSizes& mesh)
    : odiC_RunWriter(model, &pass, root, mesh) {
  for (const cow_String& one : model.Roots())
    if (one.starts_with(root + "/")) replaced_.insert(one);
}

odiC_RunWriter::odiC_RunWriter(cls_Database& model, const cow_String& root, const odiC_MeshSizes& mesh)
    : odiC_RunWriter(model, nullptr, root, mesh) {
  own_ = &model;
  if (!model.Has(root)) return;
  header_ = *model.Get<odiC_Results>(root);
  if (!odiC_IsOf(header_, mesh)) Fail("is of a mesh of other sizes or types");
  const odiC_Run run = odiC_Run::Open(model, root);
  for (int i = 0; i < header_.numLayouts; ++i) {
    rowsOfLayouts_.push_back(run.Layout(i)->numRows);
    layouts_.push_back(BitsOf(*run.Layout(i)));
  }
  for (int i = 0; i < header_.numPointSets; ++i) {
    pointSetCounts_.push_back(run.PointSet(i).count);
    pointSets_.push_back(BitsOf(run.PointSet(i)));
  }
  step_ = static_cast<int>(header_.steps.size()) - 1;
  if (step_ >= 0) frame_ = header_.steps.back().NumFrames() - 1;
}

void odiC_RunWriter::Fail(const cow_String& what) const {
  cow_String place = model_.File() + ", " + root_;
  if (step_ >= 0) place += ", step \"" + header_.steps[static_cast<std::size_t>(step_)].name + '"';
  if (frame_ >= 0) place += ", frame " + std::to_string(frame_);
  throw odiC_Exception(place + ": " + what);
}

void odiC_RunWriter::Put(const cow_String& root, Pending pending) {
  if (!pass_) return pending_.push_back(std::move(pending));
  pending(*pass_);
  replaced_.erase(root);
}

template<class T> void odiC_RunWriter::Add(const cow_String& root, T object) {
  Put(root,
      [root, held = std::make_shared<T>(std::move(object))](cls_WritePass& pass) { pass.Put(root, *held); });
}

void odiC_RunWriter::Describe(const odiC_Results& like) {
  header_.description = like.description;
  header_.program = like.program;
  header_.units = like.units;
  header_.timeStamp = like.timeStamp;
  for (const odiC_Category& category : like.categories) AddCategory(category);
}

int odiC_RunWriter::AddVariable(const odiC_Variable& variable) {
  if (const cow_String wrong = variable.WhatIsWrong(); !wrong.empty()) Fail(wrong);
  if (const int known = header_.FindVariable(variable.name); known >= 0) {
    Expect(header_.variables[static_cast<std::size_t>(known)].IsLike(variable),
           "variable \"" + variable.name + "\" exists with another type");
    return known;
  }
  header_.variables.push_back(variable);
  return static_cast<int>(header_.variables.size()) - 1;
}

int odiC_RunWriter::AddCategory(const odiC_Category& category) {
  odiC_Category whole = category;
  const std::size_t count = category.sectionPoints.size();
  if (whole.offsets.empty()) whole.offsets.assign(count, std::numeric_limits<double>::quiet_NaN());
  if (whole.plies.empty()) whole.plies.assign(count, 0);
  if (const cow_String wrong = whole.WhatIsWrong(); !wrong.empty()) Fail(wrong);
  for (std::size_t i = 0; i < header_.categories.size(); ++i)
    if (const odiC_Category& known = header_.categories[i]; known.name == whole.name) {
      Expect(known.sectionPoints == whole.sectionPoints && known.elementCategories == whole.elementCategories,
             "category \"" + whole.name + "\" exists with other section points or element categories");
      return static_cast<int>(i);
    }
  header_.categories.push_back(std::move(whole));
  return static_cast<int>(header_.categories.size()) - 1;
}

int odiC_RunWriter::AddPointSet(const odiC_PointSet& points) {
  if (const cow_String wrong = points.WhatIsWrong(); !wrong.empty()) Fail(wrong);
  const uti_FingerprintBits bits = BitsOf(points);
  if (const auto known = std::ranges::find(pointSets_, bits); known != pointSets_.end())
    return static_cast<int>(known - pointSets_.begin());
  pointSets_.push_back(bits);
  pointSetCounts_.push_back(points.count);
  Add(odiC_PointSetRoot(root_, header_.numPointSets), points);
  return header_.numPointSets++;
}

int odiC_RunWriter::AddLayout(const odiC_Layout& layout) {
  if (const cow_String wrong = odiC_WhatIsWrong(layout, mesh_, pointSetCounts_); !wrong.empty()) Fail(wrong);
  const uti_FingerprintBits bits = BitsOf(layout);
  if (const auto known = std::ranges::find(layouts_, bits); known != layouts_.end())
    return static_cast<int>(known - layouts_.begin());
  layouts_.push_back(bits);
  rowsOfLayouts_.push_back(layout.numRows);
  Add(odiC_LayoutRoot(root_, header_.numLayouts), layout);
  return header_.numLayouts++;
}

void odiC_RunWriter::BeginStep(const cow_String& name, odiC_StepKindEnm kind, odiC_DomainEnm domain,
                               double startTime) {
  Expect(header_.FindStep(name) < 0, "step \"" + name + "\" exists already");
  odiC_Step step;
  step.name = name;
  step.kind = kind;
  step.domain = domain;
  step.startTime = startTime;
  header_.steps.push_back(std::move(step));
  step_ = static_cast<int>(header_.steps.size()) - 1;
  frame_ = -1;
}

void odiC_RunWriter::BeginStep(const odiC_Step& like) {
  BeginStep(like.name, like.kind, like.domain, like.startTime);
  header_.steps.back().description = like.description;
  header_.steps.back().isPerturbation = like.isPerturbation;
}

odiC_Step& odiC_RunWriter::LastStep() {
  Expect(!header_.steps.empty(), "a step comes before its frames");
  return header_.steps.back();
}

void odiC_RunWriter::GoTo(int step, int frame) {
  Expect(step >= 0 && step < static_cast<int>(header_.steps.size()), "no step " + std::to_string(step + 1));
  const int count = header_.steps[static_cast<std::size_t>(step)].NumFrames();
  Expect(frame >= 0 && frame < count, "no frame " + std::to_string(frame) + " in the " + std::to_string(count)
                                          + " of step " + std::to_string(step + 1));
  step_ = step;
  frame_ = frame;
}

void odiC_RunWriter::BeginFrame(const odiC_Frame& frame) {
  try {
    LastStep().Add(frame, static_cast<int>(header_.variables.size()));
  } catch (const odiC_Exception&) {
    throw;
  } catch (const nex_TextException& error) {
    Fail(error.Message());
  }
  step_ = static_cast<int>(header_.steps.size()) - 1;
  frame_ = LastStep().NumFrames() - 1;
}

template<class T>
void odiC_RunWriter::PutAny(int variable, int layout, cow_ArrayCOW<T> values, res_StorageTypeEnm storage) {
  Expect(step_ >= 0 && frame_ >= 0, "a frame comes before its fields");
  odiC_Step& step = header_.steps[static_cast<std::size_t>(step_)];
  const int frame = frame_, number = step_ + 1;
  Expect(variable >= 0 && variable < static_cast<int>(header_.variables.size()),
         "no variable " + std::to_string(variable));
  const odiC_Variable& of = header_.variables[static_cast<std::size_t>(variable)];
  Expect(layout >= 0 && layout < header_.numLayouts, of.name + ": no layout " + std::to_string(layout));
  Expect(!step.Has(frame, variable), of.name + " is in this frame already");
  Expect(of.IsIntegral() == std::is_same_v<T, int>,
         of.name + (of.IsIntegral() ? " takes whole numbers" : " takes reals"));
  const auto width = static_cast<std::size_t>(of.NumComponents());
  const std::size_t wanted = static_cast<std::size_t>(rowsOfLayouts_[static_cast<std::size_t>(layout)])
                             * width * (of.IsComplex() ? 2 : 1);
  Expect(values.Size() == wanted, of.name + ": " + std::to_string(values.Size()) + " numbers for a layout of "
                                      + std::to_string(wanted));
  LastArray& last = last_[variable];
  const uti_FingerprintBits bits = uti_Fingerprint(std::as_bytes(values.Const()));
  if (last.count == values.Size() && last.bits == bits && last.storage == storage && last.count != 0) {
    if (last.field) // not written yet: the same array
      values = RowsOf<T>(*last.field).Values();
    else if (last.stamp.id != 0)
      values.SetStamp(last.stamp);
  }
  auto field = std::make_shared<odiC_Field>();
  field->step = number;
  field->frame = frame;
  field->variable = variable;
  field->layout = layout;
  field->storage = storage;
  FindRange(*field, values.Const(), width);
  last.bits = bits;
  last.count = values.Size();
  last.storage = storage;
  last.field = field;
  RowsOf<T>(*field) = odiC_Rows<T>(std::move(values), static_cast<unsigned>(width));
  const cow_String root = odiC_FieldRoot(root_, number, frame, variable);
  Put(root, [root, field](cls_WritePass& pass) { pass.Put(root, *field); });
  if (pass_) KeepStamps();
  step.SetPresent(frame, variable, static_cast<int>(header_.variables.size()));
}

void odiC_RunWriter::PutField(int variable, int layout, cow_ArrayCOW<float> values) {
  PutAny(variable, layout, std::move(values), res_STORAGE_FLOAT);
}
void odiC_RunWriter::PutField(int variable, int layout, cow_ArrayCOW<double> values) {
  PutAny(variable, layout, std::move(values), res_STORAGE_DOUBLE);
}
void odiC_RunWriter::PutField(int variable, int layout, cow_ArrayCOW<int> values) {
  const bool isTruth = variable >= 0 && variable < static_cast<int>(header_.variables.size())
                       && header_.variables[static_cast<std::size_t>(variable)].dataType == res_BOOLEAN;
  PutAny(variable, layout, std::move(values), isTruth ? res_STORAGE_BOOLEAN : res_STORAGE_INTEGER);
}

void odiC_RunWriter::AddHistory(odiC_History history) {
  PutHistory(static_cast<int>(header_.steps.size()) - 1, LastStep().numHistories, std::move(history));
}

void odiC_RunWriter::PutHistory(int step, int history, odiC_History made) {
  Expect(step >= 0 && step < static_cast<int>(header_.steps.size()), "no step " + std::to_string(step + 1));
  odiC_Step& of = header_.steps[static_cast<std::size_t>(step)];
  Expect(history >= 0 && history <= of.numHistories, "no history " + std::to_string(history));
  Expect(made.domainValues.size() == made.values.size(),
         "history \"" + made.name + "\" has " + std::to_string(made.values.size()) + " values at "
             + std::to_string(made.domainValues.size()) + " places");
  of.numHistories = std::max(of.numHistories, history + 1);
  Add(odiC_HistoryRoot(root_, step + 1, history), std::move(made));
}

void odiC_RunWriter::KeepStamps() {
  for (auto& [variable, last] : last_) {
    if (last.field) last.stamp = StampOf(*last.field);
    last.field.reset(); // the numbers are the file's now
  }
}

void odiC_RunWriter::Commit() {
  if (pass_) {
    for (const cow_String& root : std::exchange(replaced_, {})) pass_->Remove(root);
    return pass_->Put(root_, header_);
  }
  cls_WritePass pass(*own_);
  for (const Pending& put : pending_) put(pass);
  pass.Put(root_, header_);
  pass.Commit();
  KeepStamps();
  pending_.clear();
}

void odiC_RemoveRun(const cls_Database& model, cls_WritePass& pass, const cow_String& root) {
  for (const cow_String& one : model.Roots())
    if (one == root || one.starts_with(root + "/")) pass.Remove(one);
}
