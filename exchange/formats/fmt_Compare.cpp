#include "fmt_Differences.h"

#include "exo_Plugin.h"

#include <algorithm>
#include <cmath>
#include <map>

cow_String fmt_TextOf(double number) {
  char text[40];
  for (const int digits : {9, 17}) {
    std::snprintf(text, sizeof text, "%.*g", digits, number);
    if (std::strtod(text, nullptr) == number) break;
  }
  return text;
}

void fmt_ArrayDifference::Note(std::size_t index, const cow_String& a, const cow_String& b, double by) {
  if (found_.numbers++ == 0) {
    found_.place = placeOf_(index);
    found_.first = a;
    found_.second = b;
  }
  if (!(by <= found_.largest)) found_.largest = by;
}

void fmt_ArrayDifference::Finish(std::vector<fmt_Difference>& differences) {
  if (found_.numbers > 0) differences.push_back(found_);
}

void fmt_Differences::Lists(const cow_String& place, std::span<const cow_String> a,
                            std::span<const cow_String> b) {
  for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
    const cow_String at = place + " " + std::to_string(i + 1);
    if (i < a.size() && i < b.size())
      Texts(at, a[i], b[i]);
    else
      Presence(at, i < a.size(), '"' + (i < a.size() ? a[i] : b[i]) + '"');
  }
}

namespace {
class Comparer {
public:
  Comparer(const fmt_Import& first, const fmt_Import& second, double tolerance)
      : first_(first), second_(second), a_(*first.mesh), b_(*second.mesh), tolerance_(tolerance) {}

  fmt_Comparison Run() {
    found_.Texts("title", first_.title, second_.title);
    CompareNodes();
    CompareClasses();
    CompareSets();
    return {std::move(found_.all), {}};
  }

private:
  void CompareNodes() {
    const bme_NodeData &a = a_.NodeData(), &b = b_.NodeData();
    found_.Counts("dimensions", a.Dimension(), b.Dimension());
    if (!found_.Counts("number of nodes", a.NumNodes(), b.NumNodes())) return;
    const std::span<const float> xyz = a.Coordinates().Const(), others = b.Coordinates().Const();
    double scale = 0;
    for (const auto& all : {xyz, others})
      for (const float x : all)
        if (std::isfinite(x)) scale = std::max(scale, std::abs(static_cast<double>(x)));
    fmt_ArrayDifference found(
        [](std::size_t i) {
          return "coordinates: " + cow_String(1, "xyz"[i % 3]) + " of node " + std::to_string(i / 3 + 1);
        },
        tolerance_, scale);
    found.Add(xyz, others);
    found.Finish(found_.all);
    found_.Arrays("node labels", "node", a.UserNodeLabels().Const(), b.UserNodeLabels().Const());
  }

  void CompareClasses() {
    const bme_ElementData &a = a_.ElementData(), &b = b_.ElementData();
    if (!found_.Counts("number of classes", a.NumClasses(), b.NumClasses())) return;
    for (unsigned i = 0; i < a.NumClasses(); ++i) {
      const bme_ElementClass &one = a.GetClass(i), &other = b.GetClass(i);
      const cow_String place = "class " + std::to_string(i);
      found_.Texts(place + ": type", one.ElemTypeLabel(), other.ElemTypeLabel());
      found_.Texts(place + ": category", one.CategoryLabel(), other.CategoryLabel());
      if (found_.Counts(place + ": nodes of an element", one.NumNodesPerElem(), other.NumNodesPerElem()))
        found_.Arrays(place + ", connectivity", "node", one.ElementConnectivity().Const(),
                      other.ElementConnectivity().Const());
      found_.Arrays(place + ", element labels", "element", one.UserElementLabels(),
                    other.UserElementLabels());
    }
  }

  void CompareSets() {
    std::map<std::pair<cow_String, int>, std::pair<const bme_NamedSet*, const bme_NamedSet*>> pairs;
    for (const bme_NamedSet& set : first_.sets) pairs[{set.name, set.kind}].first = &set;
    for (const bme_NamedSet& set : second_.sets) pairs[{set.name, set.kind}].second = &set;
    for (const auto& [key, pair] : pairs) {
      const auto [one, other] = pair;
      const cow_String place = "set \"" + key.first + '"';
      if (!one || !other) {
        found_.Presence(place, one != nullptr, "there");
        continue;
      }
      const auto subsets = [](const bme_NamedSet& set) {
        std::map<std::pair<int, int>, const rgnC_SubsetData*> all;
        for (int i = 0; i < set.data.NumSubset(); ++i)
          all[{set.data.SubSet(i).ClassIndex(), set.data.SubSet(i).SubsetType()}] = &set.data.SubSet(i);
        return all;
      };
      const auto ours = subsets(*one), theirs = subsets(*other);
      found_.Counts(place + ": parts", static_cast<long long>(ours.size()),
                    static_cast<long long>(theirs.size()));
      for (const auto& [part, subset] : ours) {
        const auto at = theirs.find(part);
        const cow_String where = place + ", class " + std::to_string(part.first);
        if (at == theirs.end()) {
          found_.Presence(where, true, "there");
          continue;
        }
        found_.Arrays(where, "entry", subset->IdArray(), at->second->IdArray());
        found_.Arrays(where, "facet", subset->FacetIdArray(), at->second->FacetIdArray());
      }
    }
  }

  const fmt_Import &first_, &second_;
  const bme_Mesh &a_, &b_;
  double tolerance_;
  fmt_Differences found_;
};

void CheckTolerance(double tolerance) {
  if (!(tolerance >= 0))
    throw nex_TextException("a tolerance of " + fmt_TextOf(tolerance) + ", not 0 or more");
}
} // namespace

fmt_Comparison fmt_CompareImports(const fmt_Import& first, const fmt_Import& second, double tolerance) {
  CheckTolerance(tolerance);
  return Comparer(first, second, tolerance).Run();
}

fmt_Comparison fmt_CompareFiles(const cow_String& first, const cow_String& second, double tolerance) {
  CheckTolerance(tolerance);
  const fmt_Format &one = fmt_Recognise(first), &other = fmt_Recognise(second);
  if (one.name == "exodus" && other.name == "exodus")
    return exo_Plugin().compareFiles(first, second, tolerance);
  return fmt_CompareImports(fmt_ReadMesh(first, one), fmt_ReadMesh(second, other), tolerance);
}
