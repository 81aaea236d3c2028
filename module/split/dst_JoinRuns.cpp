#include "dst_Runs.h"

#include <BasicUtils/cls_WritePass.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/uti_Fingerprint.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>
#include <cstring>

namespace {
/// A field of the whole, which the parts fill.
struct Wanted {
  int step, frame, variable, layout;
  std::size_t numRows, width, planes;
  dst_FieldValues values;
};

template<class T> dst_FieldValues Zeros(std::size_t size) {
  cow_ArrayCOW<T> made;
  made.ResizeUninitialised(size);
  std::ranges::fill(made.Modify(), T());
  return made;
}

dst_FieldValues Zeros(res_StorageTypeEnm storage, std::size_t size) {
  return storage == res_STORAGE_FLOAT    ? Zeros<float>(size)
         : storage == res_STORAGE_DOUBLE ? Zeros<double>(size)
                                         : Zeros<int>(size);
}

std::vector<int> Numbered(int count) {
  std::vector<int> numbers(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) numbers[static_cast<std::size_t>(i)] = i;
  return numbers;
}

/// What was put last for a variable: the same numbers are stored once.
struct Last {
  uti_FingerprintBits bits{};
  std::size_t size = 0;
  cow_ArrayStamp stamp;
};

class RunJoiner {
public:
  RunJoiner(const dst_SplitFolder& split, const odiC_Run& facts, cls_WritePass& pass, std::size_t memory)
      : split_(split), facts_(facts), root_(facts.Root().substr(std::strlen(dst_kSplitFolder))), pass_(pass),
        memory_(memory) {}

  void Join() {
    const odiC_Results& header = facts_.Header();
    for (int i = 0; i < header.numPointSets; ++i) pass_.Put(odiC_PointSetRoot(root_, i), facts_.PointSet(i));
    for (int i = 0; i < header.numLayouts; ++i) pass_.Put(odiC_LayoutRoot(root_, i), *facts_.Layout(i));
    for (int s = 0; s < static_cast<int>(header.steps.size()); ++s) {
      const odiC_Step& step = header.steps[static_cast<std::size_t>(s)];
      for (int h = 0; h < step.numHistories; ++h) {
        const odiC_History history = facts_.History(s, h);
        pass_.Put(odiC_HistoryRoot(root_, s + 1, h), history);
      }
      for (int f = 0; f < step.NumFrames(); ++f)
        for (int v = 0; v < static_cast<int>(header.variables.size()); ++v)
          if (step.Has(f, v)) Want(s, f, v);
    }
    Fill();
    pass_.Put(root_, header);
  }

private:
  void Want(int step, int frame, int variable) {
    const auto field = Facts(step, frame, variable);
    const odiC_Variable& of = facts_.Header().variables[static_cast<std::size_t>(variable)];
    Wanted wanted{step,
                  frame,
                  variable,
                  field->layout,
                  static_cast<std::size_t>(facts_.Layout(field->layout)->numRows),
                  static_cast<std::size_t>(of.NumComponents()),
                  of.IsComplex() ? 2U : 1U,
                  {}};
    const std::size_t size = wanted.numRows * wanted.width * wanted.planes;
    if (!wanted_.empty() && held_ + size * sizeof(double) > memory_) Fill();
    held_ += size * sizeof(double);
    wanted.values = Zeros(field->storage, size);
    wanted_.push_back(std::move(wanted));
  }

  void Fill() {
    for (unsigned part = 0; part < split_.NumParts(); ++part) {
      thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
      Take(part);
    }
    for (Wanted& one : wanted_) Put(one);
    wanted_.clear();
    held_ = 0;
  }

  cow_CountedHld<odiC_Field> Facts(int step, int frame, int variable) const {
    return facts_.Model().Get<odiC_Field>(odiC_FieldRoot(facts_.Root(), step + 1, frame, variable));
  }

  void Put(Wanted& one) {
    odiC_Field made = *Facts(one.step, one.frame, one.variable);
    Last& last = last_[one.variable];
    const auto put = [&]<class T>(cow_ArrayCOW<T>& values, odiC_Rows<T>& rows) {
      const uti_FingerprintBits bits = uti_Fingerprint(std::as_bytes(values.Const()));
      if (last.size == values.Size() && last.size > 0 && last.bits == bits && last.stamp.id != 0)
        values.SetStamp(last.stamp);
      last = {bits, values.Size(), {}};
      rows = odiC_Rows<T>(std::move(values), static_cast<unsigned>(one.width));
      pass_.Put(odiC_FieldRoot(root_, one.step + 1, one.frame, one.variable), made);
      last.stamp = rows.Values().Stamp();
    };
    if (auto* floats = std::get_if<cow_ArrayCOW<float>>(&one.values))
      put(*floats, made.floats);
    else if (auto* doubles = std::get_if<cow_ArrayCOW<double>>(&one.values))
      put(*doubles, made.doubles);
    else
      put(std::get<cow_ArrayCOW<int>>(one.values), made.integers);
  }

  void Take(unsigned number) {
    const cls_Database model = split_.OpenPartFile(number);
    const auto part = model.Get<dst_Part>(dst_kPartRoot);
    const odiC_Run run = odiC_Run::Open(model, root_);
    std::map<int, std::vector<int>> rows;
    for (Wanted& one : wanted_) {
      if (!rows.contains(one.layout))
        rows[one.layout] = dst_Cut(*facts_.Layout(one.layout), split_.Index(), *part).rows;
      const std::vector<int>& to = rows[one.layout];
      if (to.empty()) continue;
      odiC_FieldReader field = run.Field(one.step, one.frame, one.variable);
      dst_FieldValues own = dst_ReadRows(field, Numbered(field.Layout().numRows));
      if (field.Layout().numRows != static_cast<int>(to.size()) || own.index() != one.values.index())
        throw nex_TextException(model.File() + ", " + root_ + ", step \""
                                + run.Header().steps[static_cast<std::size_t>(one.step)].name + "\", frame "
                                + std::to_string(one.frame) + ": "
                                + run.Header().variables[static_cast<std::size_t>(one.variable)].name
                                + " was changed; split again");
      std::visit(
          [&](auto& values) { Scatter(std::get<std::decay_t<decltype(values)>>(own), to, one, values); },
          one.values);
    }
  }

  template<class T>
  static void Scatter(const cow_ArrayCOW<T>& own, std::span<const int> rows, const Wanted& of,
                      cow_ArrayCOW<T>& whole) {
    const std::span<const T> from = own.Const();
    const std::span<T> to = whole.Modify();
    for (std::size_t plane = 0; plane < of.planes; ++plane)
      for (std::size_t i = 0; i < rows.size(); ++i)
        std::ranges::copy(from.subspan((plane * rows.size() + i) * of.width, of.width),
                          to.begin()
                              + static_cast<std::ptrdiff_t>(
                                  (plane * of.numRows + static_cast<std::size_t>(rows[i])) * of.width));
  }

  const dst_SplitFolder& split_;
  const odiC_Run& facts_; ///< in the index
  cow_String root_;
  cls_WritePass& pass_;
  std::size_t memory_, held_ = 0;
  std::map<int, Last> last_; ///< of each variable
  std::vector<Wanted> wanted_;
};
} // namespace

void dst_JoinRuns(const dst_SplitFolder& split, cls_WritePass& pass, std::size_t memory) {
  const cls_Database index = split.OpenIndexFile();
  for (const cow_String& root : index.RootsOf({odiC_Results::TypeId()})) {
    const odiC_Run facts = odiC_Run::Open(index, root);
    RunJoiner(split, facts, pass, memory).Join();
  }
}
