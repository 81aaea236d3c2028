#include <CoreGeometry/bme_EntityList.h>

#include "bme_ListMaking.h"

#include <charconv>
#include <iterator>
#include <numeric>

cow_String bme_CompactLabels(std::span<const int> labels) {
  constexpr std::size_t kShortest = 3;
  cow_String text;
  for (std::size_t i = 0; i < labels.size();) {
    const long long step = i + 1 < labels.size() ? static_cast<long long>(labels[i + 1]) - labels[i] : 0;
    std::size_t end = i + 1;
    while (step != 0 && end < labels.size() && static_cast<long long>(labels[end]) - labels[end - 1] == step)
      ++end;
    if (!text.empty()) text += ",";
    text += std::to_string(labels[i]);
    if (end - i < kShortest) {
      ++i;
      continue;
    }
    text += ":" + std::to_string(labels[end - 1]);
    if (step != 1) text += ":" + std::to_string(step);
    i = end;
  }
  return text;
}

namespace {
/// Reads a text of labels part by part.
class LabelReader {
public:
  explicit LabelReader(std::string_view text) : text_(text) {}

  std::vector<int> Read() {
    if (text_.find_first_not_of(' ') == std::string_view::npos) return {};
    for (std::size_t at = 0; at <= text_.size();) {
      const std::size_t end = std::min(text_.find(',', at), text_.size());
      ++number_;
      ReadPart(text_.substr(at, end - at));
      at = end + 1;
    }
    return std::move(labels_);
  }

private:
  static constexpr long long kMost = 100'000'000;

  [[noreturn]] void Fail(const cow_String& why) const {
    throw nex_TextException("labels, part " + std::to_string(number_) + ", \"" + cow_String(part_)
                            + "\": " + why);
  }

  void ReadPart(std::string_view part) {
    part_ = Trimmed(part);
    long long numbers[3] = {0, 0, 1}; // first, last, step
    std::size_t count = 0;
    for (std::string_view rest = part_;;) {
      if (count == 3) Fail("a range is FIRST:LAST or FIRST:LAST:STEP");
      const std::size_t colon = rest.find(':');
      numbers[count++] = Number(Trimmed(rest.substr(0, colon)));
      if (colon == std::string_view::npos) break;
      rest.remove_prefix(colon + 1);
    }
    if (count == 1) numbers[1] = numbers[0];
    const auto [first, last, step] = numbers;
    if (step == 0) Fail("the step is 0");
    if ((last - first) * (step > 0 ? 1 : -1) < 0)
      Fail("steps of " + std::to_string(step) + " lead from " + std::to_string(first) + " away from "
           + std::to_string(last));
    const long long steps = (last - first) / step;
    if (steps >= kMost - static_cast<long long>(labels_.size()))
      Fail("more than " + std::to_string(kMost) + " labels");
    for (long long i = 0; i <= steps; ++i) labels_.push_back(static_cast<int>(first + i * step));
  }

  long long Number(std::string_view text) const {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) Fail(cow_String(text) + " does not fit 32 bits");
    if (error != std::errc() || end != text.data() + text.size())
      Fail("\"" + cow_String(text) + "\" is not a whole number");
    return value;
  }

  static std::string_view Trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    text.remove_suffix(text.size() - 1 - text.find_last_not_of(' '));
    return text;
  }

  std::string_view text_, part_;
  int number_ = 0;
  std::vector<int> labels_;
};
} // namespace

std::vector<int> bme_LabelsOfText(std::string_view text) { return LabelReader(text).Read(); }

std::vector<unsigned> bme_CombineWords(bme_SetOperation operation, const bme_Mesh& meshA,
                                       std::span<const unsigned> a, const bme_Mesh& meshB,
                                       std::span<const unsigned> b, bool areAddresses) {
  if (&meshA != &meshB)
    throw nex_TextException("lists of two meshes, with the identifiers " + std::to_string(meshA.Id())
                            + " and " + std::to_string(meshB.Id()) + ", cannot be combined");
  std::vector<unsigned> result;
  const auto combine = [&](auto order) {
    const auto out = std::back_inserter(result);
    switch (operation) {
    case bme_SetOperation::Union: std::ranges::set_union(a, b, out, {}, order, order); break;
    case bme_SetOperation::Intersection: std::ranges::set_intersection(a, b, out, {}, order, order); break;
    case bme_SetOperation::Difference: std::ranges::set_difference(a, b, out, {}, order, order); break;
    case bme_SetOperation::SymmetricDifference:
      std::ranges::set_symmetric_difference(a, b, out, {}, order, order);
      break;
    }
  };
  if (areAddresses)
    combine(bme_MeshOrder);
  else
    combine(std::identity());
  return result;
}

std::vector<int> bme_CornersOfElement(const shp_Shape& shape) {
  std::vector<int> corners;
  for (int ring = 0; ring < shape.NumRings(); ++ring)
    for (int face = 0; face < shape.NumFaces() && !shape.FaceNodes(face, ring).empty(); ++face) {
      const auto ofFace = bme_Corners(shape, static_cast<unsigned>(face), ring);
      corners.insert(corners.end(), ofFace.begin(), ofFace.end());
    }
  if (corners.empty()) {
    corners.resize(static_cast<std::size_t>(shape.NumNodes()));
    std::iota(corners.begin(), corners.end(), 0);
  }
  std::ranges::sort(corners);
  corners.erase(std::unique(corners.begin(), corners.end()), corners.end());
  return corners;
}

std::vector<unsigned> bme_UpTo(unsigned count) {
  std::vector<unsigned> all(count);
  std::iota(all.begin(), all.end(), 0U);
  return all;
}

void bme_UnknownItems::Add(const cow_String& item) {
  constexpr std::size_t kNamed = 20;
  if (count_++ < kNamed)
    named_ += (named_.empty() ? "" : ", ") + item;
  else if (count_ == kNamed + 1)
    named_ += ", ...";
}

void bme_UnknownItems::Settle() const {
  if (count_ == 0 || treatment_ == bme_Unknown::Skip) return;
  throw nex_TextException("mesh " + std::to_string(mesh_.Id()) + what_ + std::to_string(count_) + " "
                          + (count_ == 1 ? noun_.one : noun_.several) + ": " + named_);
}

std::vector<unsigned> bme_CheckedIndices(const bme_Mesh& mesh, bme_Noun noun, unsigned count,
                                         std::vector<unsigned> indices) {
  bme_UnknownItems unknown(mesh, noun, bme_Unknown::Refuse);
  for (const unsigned index : indices)
    if (index >= count) unknown.Add(index);
  unknown.Settle();
  return indices;
}

std::vector<unsigned> bme_KnownIndices(const bme_Mesh& mesh, bme_Noun noun, std::span<const int> labels,
                                       std::vector<unsigned> indices, bme_Unknown treatment) {
  bme_UnknownItems unknown(mesh, noun, treatment);
  for (std::size_t i = 0; i < labels.size(); ++i)
    if (indices[i] == bme_kNotFound) unknown.Add(labels[i]);
  unknown.Settle();
  std::erase(indices, bme_kNotFound);
  return indices;
}

cow_String bme_NameOf(const rgnC_Region& region) {
  cow_String owners;
  for (const cow_String& owner : region.OwnerNames()) owners += (owners.empty() ? " of " : "/") + owner;
  return "region \"" + region.Name() + "\"" + owners;
}

std::vector<unsigned> bme_NodeMarks::Marked() const {
  std::vector<unsigned> nodes;
  for (std::size_t i = 0; i < marks_.size(); ++i)
    if (marks_[i] != 0) nodes.push_back(static_cast<unsigned>(i));
  return nodes;
}

void bme_CheckAddressable(const bme_Mesh& mesh, std::span<const unsigned> elements) {
  if (!elements.empty() && elements.back() >= bme_kMaxWordElements)
    throw nex_TextException("mesh " + std::to_string(mesh.Id()) + ": element index "
                            + std::to_string(elements.back()) + " does not fit the words of faces and edges");
}

unsigned bme_NumAddressable(const bme_Mesh& mesh) {
  return std::min(mesh.ElementData().NumElements(), bme_kMaxWordElements);
}
