#include <CoreGeometry/pic_Page.h>

#include "pic_PageAssets.h"

#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_Mesh.h>
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <numeric>

namespace {
constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

void AppendBase64(std::string& text, std::span<const unsigned char> bytes) {
  text.reserve(text.size() + 4 * ((bytes.size() + 2) / 3));
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    unsigned bits = 0;
    for (std::size_t k = 0; k < 3; ++k) bits = bits << 8U | (k < count ? bytes[i + k] : 0U);
    for (std::size_t k = 0; k < 4; ++k) text += k <= count ? kDigits[bits >> (18 - 6 * k) & 63U] : '=';
  }
}

/// The letter by which the page knows the kind of an array.
template<class T> constexpr char kKind = '?';
template<> constexpr char kKind<float> = 'f';
template<> constexpr char kKind<std::int32_t> = 'i';
template<> constexpr char kKind<std::uint32_t> = 'u';
template<> constexpr char kKind<std::uint16_t> = 'h';
template<> constexpr char kKind<std::uint8_t> = 'b';

std::string Json(std::string_view text) {
  std::string quoted(1, '"');
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code >= 0x20 && c != '"' && c != '\\' && c != '<') { // nothing that ends a script
      quoted += c;
      continue;
    }
    constexpr char kHex[] = "0123456789abcdef";
    quoted += "\\u00";
    quoted += kHex[code >> 4U];
    quoted += kHex[code & 15U];
  }
  return quoted += '"';
}
std::string Json(double value) {
  if (!std::isfinite(value)) return "null";
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}
std::string Json(std::size_t value) { return std::to_string(value); }
std::string Json(bool value) { return value ? "true" : "false"; }

/// "[a,b,c]" of what are JSON texts.
std::string JsonList(std::span<const std::string> items) {
  std::string list(1, '[');
  for (const std::string& item : items) list.append(list.size() > 1 ? "," : "").append(item);
  return list += ']';
}
std::string Json(const pic_Colour& colour) {
  return JsonList(std::array{Json(colour.red), Json(colour.green), Json(colour.blue)});
}

/// A group of the page: what of each array belongs to it.
struct Group {
  std::string name;
  pic_Colour colour;
  bool isShown = true;
  std::array<std::size_t, 2> faces{}, lines{}, points{};
  std::array<std::size_t, 3> edges{}; ///< features from the first to the second, others to the third
  std::string Text() const {
    std::string text = "{\"name\":" + Json(name);
    text.append(",\"colour\":").append(Json(colour)).append(",\"isShown\":").append(Json(isShown));
    const auto add = [&](const char* key, std::span<const std::size_t> bounds) {
      std::vector<std::string> items;
      for (const std::size_t bound : bounds) items.push_back(Json(bound));
      text.append(",\"").append(key).append("\":").append(JsonList(items));
    };
    add("faces", faces);
    add("lines", lines);
    add("points", points);
    add("edges", edges);
    return text += '}';
  }
};

/// Positions of items in order of their groups, and where each group begins and ends.
template<class Items> std::vector<std::size_t> ByGroup(const Items& items) {
  std::vector<std::size_t> order(items.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::stable_sort(order, {}, [&](std::size_t i) { return items[i].group; });
  return order;
}
} // namespace

class pic_Page::Writer {
public:
  Writer(uti_OutputFile& output, const bme_Mesh& mesh, const bme_Outside& classes)
      : output_(output), mesh_(mesh), classes_(classes), pageNodes_(mesh.NodeData().NumNodes(), -1) {
    if (!IsBuilt())
      throw nex_TextException(output.Name()
                              + ": pages cannot be written, the library was built without three.js");
    file_.open(output.Path().c_str(), std::ios::binary);
    rest_ = pic_kPageAssets.page;
    PutPageUpTo("@LICENCE@");
    Put(pic_kPageAssets.licence);
    PutPageUpTo("@THREE@");
    Put(pic_kPageAssets.three);
    PutPageUpTo("@CONTROLS@");
    Put(pic_kPageAssets.controls);
    PutPageUpTo("@DATA@");
    faceOrder_ = ByGroup(classes.faces);
    lineOrder_ = ByGroup(classes.lines);
    PutOutside("classes", classes, groups_, 0, true);
    PutEdges();
  }

  void AddSets(const bme_Outside& sets, std::size_t firstGroup, bool areShown) {
    if (haveSets_ || numFrames_ > 0)
      throw nex_AssertionException("the sets of a page come once, before frames");
    haveSets_ = true;
    PutOutside("sets", sets, sets_, firstGroup, areShown);
  }

  void AddFrame(const cow_String& text, const pic_Field* field, std::span<const double> displacement) {
    Begin();
    std::string name = "f";
    name += std::to_string(numFrames_++);
    const char* place = nullptr;
    if (field) {
      place = field->IsOfNodes() ? "nodes" : field->IsOfElements() ? "faces" : "corners";
      Reach(field->Low(), field->High());
      PutArray(name + ".values", field->IsOfNodes() ? NodeValues(*field) : CornerValues(*field));
    }
    if (!displacement.empty()) {
      if (displacement.size() != 3 * pageNodes_.size())
        throw nex_TextException(output_.Name() + ": a displacement has not three numbers for each node");
      std::vector<float> moved;
      for (const int node : nodes_)
        for (std::size_t k = 0; k < 3; ++k) {
          const auto shift = static_cast<float>(displacement[3 * static_cast<std::size_t>(node) + k]);
          moved.push_back(std::isfinite(shift) ? shift : 0);
        }
      PutArray(name + ".displacement", moved);
    }
    std::string frame = "{\"text\":" + Json(text);
    frame.append(",\"place\":").append(place ? Json(std::string_view(place)) : "null");
    frame.append(",\"hasDisplacement\":").append(Json(!displacement.empty())).append("}");
    frames_.push_back(frame);
  }

  void Reach(double low, double high) {
    low_ = std::min(low_, low);
    high_ = std::max(high_, high);
  }

  void End(const pic_PageView& view, const pic_Results& results) {
    if (!haveSets_) PutOutside("sets", {}, sets_, 0, false);
    haveSets_ = true;
    Begin();
    Put("<script type=\"application/json\" id=\"facts\">");
    Put(Facts(view, results));
    Put("</script>\n");
    PutPageUpTo("@VIEWER@");
    Put(pic_kPageAssets.viewer);
    Put(rest_);
    file_.close();
    if (!file_) Fail();
    output_.Commit();
  }

private:
  [[noreturn]] void Fail() const {
    throw nex_TextException(output_.Name() + ": cannot be written: " + std::strerror(errno));
  }
  void Put(std::string_view text) {
    if (!file_.write(text.data(), static_cast<std::streamsize>(text.size()))) Fail();
  }
  void PutPageUpTo(std::string_view mark) {
    const std::size_t at = rest_.find(mark);
    Put(rest_.substr(0, at));
    rest_.remove_prefix(at + mark.size());
  }
  template<class T> void PutArray(const std::string& name, const std::vector<T>& values) {
    constexpr std::size_t kPiece = 3U << 16U; // of bytes, without remainder in base 64
    Put("<script type=\"text/plain\" data-kind=\"");
    Put(std::string(1, kKind<T>));
    Put("\" id=\"" + name + "\">");
    const std::span bytes(reinterpret_cast<const unsigned char*>(values.data()), values.size() * sizeof(T));
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += kPiece) {
      wip_Poll::Now();
      text.clear();
      AppendBase64(text, bytes.subspan(at, std::min(kPiece, bytes.size() - at)));
      Put(text);
    }
    Put("</script>\n");
  }

  std::uint32_t PageNode(int node) {
    int& page = pageNodes_[static_cast<std::size_t>(node)];
    if (page < 0) {
      page = static_cast<int>(nodes_.size());
      nodes_.push_back(node);
    }
    return static_cast<std::uint32_t>(page);
  }
  std::int32_t LabelOf(unsigned element) const {
    unsigned classIndex = 0, inClass = 0;
    mesh_.ElementData().GetClassAndElemIndex(element, classIndex, inClass);
    const bme_ElementClass& type = mesh_.ElementData().GetClass(classIndex);
    return mesh_.ElementData().HasUserElementLabels() && type.HasUserElementLabels()
               ? type.UserElementLabels()[inClass]
               : static_cast<std::int32_t>(element) + 1;
  }

  /// One kind of things of an outside, with their nodes.
  template<class Items, class ElementOf>
  void PutItems(const std::string& name, bool areFaces, const Items& items,
                const std::vector<std::size_t>& order, std::size_t firstGroup, std::vector<Group>& groups,
                std::array<std::size_t, 2> Group::*range, ElementOf&& elementOf) {
    std::vector<std::uint8_t> sizes, corners;
    std::vector<std::uint32_t> nodes;
    std::vector<std::int32_t> labels;
    std::vector<std::uint16_t> owners;
    for (const std::size_t i : order) {
      const auto& item = items[i];
      const auto group = static_cast<std::size_t>(item.group);
      if (group < firstGroup) continue;
      auto& bounds = groups[group - firstGroup].*range;
      if (bounds[0] == bounds[1]) bounds = {sizes.size(), sizes.size()};
      ++bounds[1];
      sizes.push_back(static_cast<std::uint8_t>(item.nodes.count));
      corners.push_back(static_cast<std::uint8_t>(item.nodes.corners));
      for (const int node : item.nodes.Nodes()) nodes.push_back(PageNode(node));
      labels.push_back(LabelOf(elementOf(item)));
      owners.push_back(static_cast<std::uint16_t>(mesh_.ElementData().GetClassIndex(elementOf(item))));
    }
    const auto named = [&](const char* array, const char* line) {
      return name + "." + (areFaces ? array : line);
    };
    PutArray(named("sizes", "lineSizes"), sizes);
    if (areFaces) PutArray(name + ".corners", corners);
    PutArray(named("nodes", "lineNodes"), nodes);
    PutArray(named("labels", "lineLabels"), labels);
    PutArray(named("owners", "lineOwners"), owners);
  }

  void PutOutside(const std::string& name, const bme_Outside& outside, std::vector<Group>& groups,
                  std::size_t firstGroup, bool areShown) {
    for (std::size_t i = firstGroup; i < outside.groups.size(); ++i) {
      // sets have other colours than the first classes
      const int colour = static_cast<int>(i) + (&outside == &classes_ ? 0 : 3);
      groups.push_back({outside.groups[i], pic_GroupColour(colour), areShown});
    }
    PutItems(name, true, outside.faces, ByGroup(outside.faces), firstGroup, groups, &Group::faces,
             [](const bme_OuterFace& face) { return bme_ElementOf(face.word); });
    PutItems(name, false, outside.lines, ByGroup(outside.lines), firstGroup, groups, &Group::lines,
             [](const bme_OuterLine& line) { return line.element; });
    std::vector<std::uint32_t> points;
    for (const std::size_t i : ByGroup(outside.points)) {
      const bme_OuterPoint& point = outside.points[i];
      auto& bounds = groups[static_cast<std::size_t>(point.group) - firstGroup].points;
      if (bounds[0] == bounds[1]) bounds = {points.size(), points.size()};
      ++bounds[1];
      points.push_back(PageNode(static_cast<int>(point.node)));
    }
    PutArray(name + ".points", points);
  }

  void PutEdges() {
    std::vector<std::uint32_t> ends;
    std::vector<std::int32_t> middles;
    std::vector<std::size_t> order(classes_.edges.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto groupOf = [&](std::size_t i) {
      return static_cast<std::size_t>(classes_.faces[classes_.edges[i].face].group);
    };
    std::ranges::stable_sort(
        order, {}, [&](std::size_t i) { return std::pair(groupOf(i), !classes_.edges[i].isFeature); });
    for (std::size_t g = 0, at = 0; g < groups_.size(); ++g) {
      auto& bounds = groups_[g].edges;
      bounds.fill(at);
      for (; at < order.size() && groupOf(order[at]) == g; ++at) {
        const bme_OuterEdge& edge = classes_.edges[order[at]];
        if (edge.isFeature) ++bounds[1];
        ++bounds[2];
        for (const int end : edge.ends) ends.push_back(PageNode(end));
        middles.push_back(edge.middle < 0 ? -1 : static_cast<std::int32_t>(PageNode(edge.middle)));
      }
    }
    PutArray("edgeEnds", ends);
    PutArray("edgeMiddles", middles);
  }

  /// The nodes, when all are known.
  void Begin() {
    if (hasNodes_) return;
    hasNodes_ = true;
    const std::span<const float> all = mesh_.NodeData().Coordinates().Const();
    std::vector<float> xyz;
    std::vector<std::int32_t> labels;
    const bool areLabelled = mesh_.NodeData().HasUserNodeLabels();
    const std::span<const int> given = mesh_.NodeData().UserNodeLabels().Const();
    for (const int node : nodes_) {
      const auto i = static_cast<std::size_t>(node);
      for (std::size_t k = 0; k < 3; ++k) xyz.push_back(all[3 * i + k]);
      labels.push_back(areLabelled ? given[i] : node + 1);
    }
    PutArray("xyz", xyz);
    PutArray("nodeLabels", labels);
  }

  std::vector<float> NodeValues(const pic_Field& field) const {
    std::vector<float> values(nodes_.size(), std::nanf(""));
    const auto take = [&](std::span<const int> nodes, std::span<const double> row) {
      for (std::size_t k = 0; k < nodes.size(); ++k)
        values[static_cast<std::size_t>(pageNodes_[static_cast<std::size_t>(nodes[k])])] =
            static_cast<float>(row[k]);
    };
    for (std::size_t i = 0; i < classes_.faces.size(); ++i)
      take(classes_.faces[i].nodes.Nodes(), field.OfFace(i));
    for (std::size_t i = 0; i < classes_.lines.size(); ++i)
      take(classes_.lines[i].nodes.Nodes(), field.OfLine(i));
    return values;
  }
  /// Of faces, then lines, as they stand in the page: one for each node, or one for each of them.
  std::vector<float> CornerValues(const pic_Field& field) const {
    std::vector<float> values;
    const auto take = [&](std::span<const double> row, std::size_t count) {
      for (std::size_t k = 0; k < (field.IsOfElements() ? 1 : count); ++k)
        values.push_back(static_cast<float>(row[row.size() == 1 ? 0 : k]));
    };
    for (const std::size_t i : faceOrder_) take(field.OfFace(i), classes_.faces[i].nodes.count);
    for (const std::size_t i : lineOrder_) take(field.OfLine(i), classes_.lines[i].nodes.count);
    return values;
  }

  static std::string GroupTexts(std::span<const Group> groups) {
    std::vector<std::string> texts;
    for (const Group& group : groups) texts.push_back(group.Text());
    return JsonList(texts);
  }
  std::string Facts(const pic_PageView& view, const pic_Results& results) const {
    const pic_Scale& scale = results.scale;
    const pic_Legend& legend = results.legend;
    const double low = scale.HasFixedLow() ? scale.low : low_,
                 high = scale.HasFixedHigh() ? scale.high : high_;
    std::string name = legend.name;
    if (!legend.invariant.empty()) name.append(", ").append(legend.invariant);
    if (!legend.unit.empty()) name.append(" (").append(legend.unit).append(")");
    std::string table(1, '"');
    AppendBase64(table, pic_ColoursOf(scale.table));
    table += '"';
    std::string summary = std::to_string(mesh_.NodeData().NumNodes());
    summary.append(" nodes, ").append(std::to_string(mesh_.ElementData().NumElements())).append(" elements");
    std::string facts(1, '{');
    const auto add = [&](const char* key, const std::string& value) {
      if (facts.back() != '{') facts += ",\n";
      facts.append("\"").append(key).append("\":").append(value);
    };
    add("title", Json(view.title));
    add("summary", Json(summary));
    add("direction",
        JsonList(std::array{Json(view.direction[0]), Json(view.direction[1]), Json(view.direction[2])}));
    add("hasMeshEdges", Json(view.hasMeshEdges));
    add("rate", Json(view.rate));
    add("classes", GroupTexts(groups_));
    add("sets", GroupTexts(sets_));
    add("frames", JsonList(frames_));
    add("factor", Json(results.factor));
    add("legend", "{\"name\":" + Json(name) + ",\"frame\":" + Json(legend.frame) + "}");
    std::string bounds = "{\"low\":" + (low <= high ? Json(low) : "null");
    bounds.append(",\"high\":").append(low <= high ? Json(high) : "null");
    bounds.append(",\"fixedLow\":").append(Json(scale.HasFixedLow()));
    bounds.append(",\"fixedHigh\":").append(Json(scale.HasFixedHigh()));
    bounds.append(",\"bands\":").append(Json(static_cast<std::size_t>(std::max(0, scale.bands))));
    add("scale", bounds.append(",\"table\":").append(table).append("}"));
    return facts += '}';
  }

  uti_OutputFile& output_;
  const bme_Mesh& mesh_;
  const bme_Outside& classes_;
  std::ofstream file_;
  std::string_view rest_;      ///< of the page
  std::vector<int> pageNodes_; ///< of the nodes of the mesh, -1 for those that are not shown
  std::vector<int> nodes_;     ///< of the mesh, in the order of the page
  std::vector<std::size_t> faceOrder_, lineOrder_;
  std::vector<Group> groups_, sets_;
  std::vector<std::string> frames_;
  bool haveSets_ = false, hasNodes_ = false;
  std::size_t numFrames_ = 0;
  double low_ = std::numeric_limits<double>::infinity(), high_ = -low_;
};

pic_Page::pic_Page(uti_OutputFile& output, const bme_Mesh& mesh, const bme_Outside& classes)
    : writer_(std::make_unique<Writer>(output, mesh, classes)) {}

pic_Page::~pic_Page() = default;

bool pic_Page::IsBuilt() noexcept { return !pic_kPageAssets.page.empty(); }

void pic_Page::AddSets(const bme_Outside& sets, std::size_t firstGroup, bool areShown) {
  writer_->AddSets(sets, firstGroup, areShown);
}

void pic_Page::AddFrame(const cow_String& text, const pic_Field* field,
                        std::span<const double> displacement) {
  writer_->AddFrame(text, field, displacement);
}

void pic_Page::Reach(double low, double high) { writer_->Reach(low, high); }

void pic_Page::End(const pic_PageView& view, const pic_Results& results) { writer_->End(view, results); }
