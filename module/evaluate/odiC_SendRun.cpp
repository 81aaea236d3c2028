#include <CoreGeometry/odiC_SendRun.h>

#include "odiC_SendLayout.h"
#include "odiC_TurnVariable.h"

#include <BasicUtils/cls_WritePass.h>
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <algorithm>
#include <cmath>

namespace {
void CheckTurn(const std::array<double, 9>& m) {
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j) {
      const double product = m[3 * i] * m[3 * j] + m[3 * i + 1] * m[3 * j + 1] + m[3 * i + 2] * m[3 * j + 2];
      constexpr double kTolerance = 1e-6;
      if (!(std::abs(product - (i == j ? 1 : 0)) < kTolerance))
        throw nex_AssertionException("the turn of an image is no rotation or mirror");
    }
}

class RunSender {
public:
  RunSender(const odiC_Run& run, std::span<const odiC_Image> images, const bme_Mesh& oldMesh,
            const bme_Mesh& newMesh, const cls_Database& model, cls_WritePass& pass, const cow_String& root)
      : run_(run), images_(images), old_(oldMesh), new_(newMesh),
        layouts_(run, images, oldMesh, newMesh, remarks_), writer_(model, pass, root, newMesh) {}

  std::vector<cow_String> Send() {
    SendHeader();
    const std::vector<odiC_Step>& steps = run_.Header().steps;
    for (int s = 0; s < static_cast<int>(steps.size()); ++s) {
      const odiC_Step& step = steps[static_cast<std::size_t>(s)];
      writer_.BeginStep(step);
      for (int f = 0; f < step.NumFrames(); ++f) {
        writer_.BeginFrame(step.Frame(f));
        for (int v = 0; v < static_cast<int>(variables_.size()); ++v)
          if (step.Has(f, v)) SendField(s, f, v);
      }
      for (int h = 0; h < step.numHistories; ++h) SendHistory(run_.History(s, h));
    }
    writer_.Commit();
    return {remarks_.begin(), remarks_.end()};
  }

private:
  void Remark(const cow_String& what) { remarks_.insert(run_.Header().name + ": " + what); }

  void SendHeader() {
    const odiC_Results& old = run_.Header();
    writer_.Describe(old);
    // the run may be replaced by the new one: what has a number is read before it is written
    for (int i = 0; i < old.numLayouts; ++i) run_.Layout(i);
    for (int i = 0; i < old.numPointSets; ++i) run_.PointSet(i);
    for (int i = 0; i < old.numPointSets; ++i) writer_.AddPointSet(run_.PointSet(i));
    for (const odiC_Variable& variable : old.variables) {
      variables_.emplace_back(variable, images_);
      numbers_.push_back(-1);
      if (!variables_.back().WhyNot().empty())
        Remark("variable " + variable.name + " is left out, since " + variables_.back().WhyNot());
      else
        numbers_.back() = writer_.AddVariable(variables_.back().Result());
      if (variable.dataType == res_VECTOR && !variables_.back().IsNone() && variables_.back().IsMirrored())
        Remark("vectors are mirrored as arrows are; rotations and moments have the other sign then");
    }
  }

  void SendField(int step, int frame, int variable) {
    const auto v = static_cast<std::size_t>(variable);
    if (numbers_[v] < 0) return;
    const odiC_SentLayout& sent = layouts_.Send(run_.LayoutOf(step, frame, variable));
    if (sent.rows.empty()) return;
    const int layout = writer_.AddLayout(sent.layout);
    const auto field = run_.Model().Get<odiC_Field>(odiC_FieldRoot(run_.Root(), step + 1, frame, variable));
    const bool isComplex = variables_[v].Result().IsComplex();
    if (field->storage == res_STORAGE_FLOAT)
      writer_.PutField(numbers_[v], layout, Sent(field->floats, sent, variables_[v], isComplex));
    else if (field->storage == res_STORAGE_DOUBLE)
      writer_.PutField(numbers_[v], layout, Sent(field->doubles, sent, variables_[v], isComplex));
    else
      writer_.PutField(numbers_[v], layout, Sent(field->integers, sent, variables_[v], isComplex));
  }

  template<class T>
  static cow_ArrayCOW<T> Sent(const odiC_Rows<T>& old, const odiC_SentLayout& sent,
                              const odiC_TurnVariable& variable, bool isComplex) {
    if (sent.isSame && variable.IsNone()) return old.Values();
    const std::size_t width = old.Width(), planes = isComplex ? 2 : 1,
                      oldRows = old.Const().size() / (width * planes),
                      newWidth = variable.IsNone() ? width : variable.Result().components.size();
    cow_ArrayCOW<T> values;
    values.ResizeUninitialised(planes * sent.rows.size() * newWidth);
    const std::span<T> made = values.Modify();
    const res_DataTypeEnm type = variable.Result().dataType;
    const bool isRotation = type == res_QUATERNION_2D || type == res_QUATERNION_3D;
    std::vector<T> block;
    for (std::size_t plane = 0; plane < planes; ++plane)
      wip_InBlocks(sent.rows.size(), kBlock, [&](std::size_t first, std::size_t end) {
        block.resize((end - first) * width);
        const std::span<const T> all = old.Const().subspan(plane * oldRows * width, oldRows * width);
        for (std::size_t i = first; i < end; ++i) {
          T* const to = block.data() + (i - first) * width;
          if (sent.rows[i] < 0)
            Add(sent.sums[static_cast<std::size_t>(-1 - sent.rows[i])], all, width, isRotation, to);
          else
            std::copy_n(all.data() + static_cast<std::size_t>(sent.rows[i]) * width, width, to);
        }
        const std::size_t at = plane * sent.rows.size() + first;
        Put<T>(sent, variable, first, block, made.subspan(at * newWidth, (end - first) * newWidth));
      });
    return values;
  }

  /// Of whole numbers the one that all have, or none. Quaternions are added with the signs that bring them to the side of
  /// the first one, as q and -q are one rotation, and made a rotation again.
  template<class T>
  static void Add(const odiC_SentLayout::Sum& sum, std::span<const T> all, std::size_t width, bool isRotation,
                  T* to) {
    const auto at = [&](std::size_t i, std::size_t k) {
      return all[static_cast<std::size_t>(sum.rows[i]) * width + k];
    };
    if constexpr (std::is_same_v<T, int>) {
      for (std::size_t k = 0; k < width; ++k) {
        to[k] = at(0, k);
        for (std::size_t i = 1; i < sum.rows.size(); ++i)
          if (at(i, k) != at(0, k)) to[k] = odiC_kMissingInteger;
      }
    } else {
      const auto product = [&](std::size_t i) {
        double dot = 0;
        for (std::size_t k = 0; k < width; ++k)
          dot += static_cast<double>(at(i, k)) * static_cast<double>(at(0, k));
        return dot;
      };
      double square = 0;
      for (std::size_t k = 0; k < width; ++k) {
        double value = 0;
        for (std::size_t i = 0; i < sum.rows.size(); ++i)
          value += (isRotation && product(i) < 0 ? -1 : 1) * sum.weights[i] * static_cast<double>(at(i, k));
        to[k] = static_cast<T>(value);
        square += value * value;
      }
      for (std::size_t k = 0; k < width && isRotation && square > 0; ++k)
        to[k] = static_cast<T>(static_cast<double>(to[k]) / std::sqrt(square));
    }
  }

  /// Rows from the first one on, which come image by image.
  template<class T>
  static void Put(const odiC_SentLayout& sent, const odiC_TurnVariable& variable, std::size_t first,
                  std::span<const T> rows, std::span<T> made) {
    if constexpr (!std::is_same_v<T, int>) {
      if (!variable.IsNone()) {
        const std::size_t newWidth = variable.Result().components.size(), count = made.size() / newWidth,
                          width = rows.size() / count;
        const auto imageOf = [&](std::size_t i) { return sent.images.empty() ? 0 : sent.images[first + i]; };
        for (std::size_t begin = 0, end = 0; begin < count; begin = end) {
          for (end = begin; end < count && imageOf(end) == imageOf(begin);) ++end;
          variable.Turn<T>(imageOf(begin), rows.subspan(begin * width, (end - begin) * width),
                           made.subspan(begin * newWidth, (end - begin) * newWidth));
        }
        return;
      }
    }
    std::ranges::copy(rows, made.begin());
  }

  void SendHistory(odiC_History history) { // of whole regions once
    if (history.variable >= 0) {
      const auto v = static_cast<std::size_t>(history.variable);
      const bool isTurned = v < variables_.size() && !variables_[v].IsNone();
      if (v >= numbers_.size() || numbers_[v] < 0 || isTurned)
        return Remark("history " + history.name + " is left out, since its axes turned");
      history.variable = numbers_[v];
    }
    if (history.label == 0) return writer_.AddHistory(std::move(history));
    for (std::size_t i = 0; i < images_.size(); ++i) SendHistory(history, i);
  }

  /// Of a copy, at the entity that it has there.
  void SendHistory(odiC_History history, std::size_t image) {
    odiC_LayoutBlock block;
    block.position = history.position;
    const bool isOfNode = block.IsNodal();
    const unsigned index = isOfNode ? old_.NodeData().GetMeshNodeIndex(history.label)
                                    : old_.ElementData().GetMeshElemIndexFromLabel(history.label);
    const odiC_Image& copy = images_[image];
    if (const auto named = copy.regions.find(history.region); named != copy.regions.end())
      history.region = named->second;
    const bme_Renumbering& map = *copy.renumbering;
    const std::vector<int>& to = isOfNode ? map.nodes.to : map.elements.to;
    if (index >= to.size() || to[index] < 0)
      return Remark("histories of nodes and elements that are gone are left out");
    if (!isOfNode && history.point > 1 && !map.turns.empty() && map.turns[index] != 0)
      return Remark("histories of points of turned elements are left out");
    const std::vector<unsigned> now{static_cast<unsigned>(to[index])};
    history.label =
        isOfNode ? bme_FEMNodeList(new_, now).Labels()[0] : bme_FEMElemList(new_, now).Labels()[0];
    writer_.AddHistory(std::move(history));
  }

  static constexpr std::size_t kBlock = 8192; ///< rows at a time

  const odiC_Run& run_;
  std::span<const odiC_Image> images_;
  const bme_Mesh &old_, &new_;
  std::set<cow_String> remarks_;
  odiC_LayoutSender layouts_;
  odiC_RunWriter writer_;
  std::vector<odiC_TurnVariable> variables_;
  std::vector<int> numbers_; ///< of variables in the new run, -1 for those that are left out
};
} // namespace

std::vector<cow_String> odiC_SendRun(const odiC_Run& run, std::span<const odiC_Image> images,
                                     const bme_Mesh& oldMesh, const bme_Mesh& newMesh,
                                     const cls_Database& model, cls_WritePass& pass, const cow_String& root) {
  if (images.empty()) throw nex_AssertionException("a run is sent to no image of its mesh");
  for (const odiC_Image& image : images) CheckTurn(image.turn);
  if (!odiC_IsOf(run.Header(), oldMesh))
    throw odiC_Exception(run.Model().File() + ", " + run.Root() + ": is of a mesh of other sizes or types");
  return RunSender(run, images, oldMesh, newMesh, model, pass, root).Send();
}
