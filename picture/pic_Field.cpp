#include <CoreGeometry/pic_Field.h>

#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_Mesh.h>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace {
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

void Expect(std::size_t found, std::size_t wanted, const cow_String& what) {
  if (found == wanted) return;
  cow_String text = what + ": there are ";
  text += std::to_string(found) + " values for a picture, not " + std::to_string(wanted);
  throw nex_TextException(text);
}

void CheckSizes(const bme_Mesh& mesh, const pic_Values& values) {
  if (values.place == pic_Values::Place::Nodes)
    return Expect(values.ofNodes.size(), mesh.NodeData().NumNodes(), "nodes");
  const bme_ElementData& elements = mesh.ElementData();
  Expect(values.ofClasses.size(), elements.NumClasses(), "element classes");
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    const bme_ElementClass& type = elements.GetClass(i);
    const int each = values.place == pic_Values::Place::Elements ? 1 : type.NumNodesPerElem();
    if (values.ofClasses[i].empty()) continue;
    Expect(values.ofClasses[i].size(),
           static_cast<std::size_t>(type.NumElements()) * static_cast<std::size_t>(each),
           type.ElemTypeLabel() + " \"" + type.CategoryLabel() + '"');
  }
}
} // namespace

pic_Field::pic_Field(const bme_Mesh& mesh, const bme_Outside& outside, const pic_Values& values)
    : place_(values.place), numFaces_(outside.faces.size()), low_(std::numeric_limits<double>::infinity()),
      high_(-low_) {
  CheckSizes(mesh, values);
  wip_Poll poll(1U << 16U);
  first_.reserve(1 + outside.faces.size() + outside.lines.size());
  for (const bme_OuterFace& face : outside.faces) {
    poll.Advance();
    Add(mesh, values, bme_ElementOf(face.word), face.nodes.Nodes());
  }
  for (const bme_OuterLine& line : outside.lines) Add(mesh, values, line.element, line.nodes.Nodes());
  for (const bme_OuterPoint& point : outside.points)
    ofPoints_.push_back(IsOfNodes() ? values.ofNodes[point.node] : kNone);
}

void pic_Field::Put(double value) {
  values_.push_back(value);
  if (std::isnan(value)) hasMissing_ = true;
  if (!std::isfinite(value)) return;
  low_ = std::min(low_, value);
  high_ = std::max(high_, value);
}

void pic_Field::Add(const bme_Mesh& mesh, const pic_Values& values, unsigned element,
                    std::span<const int> nodes) {
  if (IsOfNodes()) {
    for (const int node : nodes) Put(values.ofNodes[static_cast<std::size_t>(node)]);
  } else {
    unsigned classIndex = 0, inClass = 0;
    mesh.ElementData().GetClassAndElemIndex(element, classIndex, inClass);
    const std::span<const double> all = values.ofClasses[classIndex];
    if (all.empty() || place_ == pic_Values::Place::Elements) {
      Put(all.empty() ? kNone : all[inClass]);
    } else {
      const bme_ElementClass& type = mesh.ElementData().GetClass(classIndex);
      const std::span<const int> own = type.Connectivity(static_cast<int>(inClass));
      for (const int node : nodes)
        Put(all[inClass * own.size() + static_cast<std::size_t>(std::ranges::find(own, node) - own.begin())]);
    }
  }
  first_.push_back(values_.size());
}

double pic_AutoScale(double diagonal, double largest) {
  constexpr double kLeast = 1e-30, kMost = 1e300;
  if (!(largest > 0)) return 0;
  constexpr double kRounding = 1 + 1e-12; // of the tenth and the quotient
  const double wanted = std::min(kRounding * (0.1 * diagonal / largest), kMost);
  if (!(wanted > kLeast)) return kLeast;
  char text[32];
  const auto [end, failed] = std::to_chars(text, text + sizeof text, wanted, std::chars_format::scientific);
  const char *const stop = end, *power = std::find<const char*>(text, stop, 'e');
  double factor = kLeast;
  for (const char digit : {'1', '2', '5'}) { // as decimal texts are read, so that each is the nearest number
    std::string rounded(1, digit);
    rounded.append(power, stop);
    double one = 0;
    std::from_chars(rounded.data(), rounded.data() + rounded.size(), one);
    if (one <= wanted) factor = one;
  }
  return factor;
}

std::vector<float> pic_Displaced(std::span<const float> coordinates, std::span<const double> displacement,
                                 double factor) {
  std::vector<float> moved(coordinates.begin(), coordinates.end());
  if (displacement.empty()) return moved;
  Expect(displacement.size(), coordinates.size(), "displacement of the nodes");
  for (std::size_t i = 0; i + 2 < moved.size(); i += 3) {
    std::array<float, 3> to{};
    for (std::size_t k = 0; k < 3; ++k)
      to[k] = static_cast<float>(static_cast<double>(coordinates[i + k]) + factor * displacement[i + k]);
    if (std::ranges::all_of(to, [](float x) { return std::isfinite(x); }))
      std::ranges::copy(to, moved.begin() + static_cast<std::ptrdiff_t>(i));
  }
  return moved;
}

std::string pic_NumberText(double value, int digits) {
  if (!std::isfinite(value)) return std::isnan(value) ? "no number" : value > 0 ? "inf" : "-inf";
  char text[64];
  auto [end, failed] =
      std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, digits - 1);
  int power = 0;
  const char* e = std::find(text, end, 'e');
  std::from_chars(e[1] == '+' ? e + 2 : e + 1, end, power);
  constexpr int kShort = 6;
  if (value != 0 && power >= -3 && power < kShort) {
    double rounded = 0;
    std::from_chars(text, end, rounded);
    end = std::to_chars(text, text + sizeof text, rounded, std::chars_format::fixed,
                        std::max(0, digits - 1 - power))
              .ptr;
  }
  return value == 0 ? "0" : std::string(text, end);
}
